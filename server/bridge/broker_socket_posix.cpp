#include <server/bridge/broker_socket_p.h>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Socket
{
    explicit Socket(int given)
        : descriptor(given)
    {
    }
    ~Socket()
    {
        if (descriptor >= 0)
            close(descriptor);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int descriptor;
};

struct AddressesDeleter
{
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
struct SslDeleter
{
    void operator()(SSL* ssl) const { SSL_free(ssl); }
};

bool isAddress(const std::string& host)
{
    in6_addr six{};
    in_addr four{};
    return inet_pton(AF_INET6, host.c_str(), &six) == 1 || inet_pton(AF_INET, host.c_str(), &four) == 1;
}

int left(Clock::time_point until)
{
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    return rest > 0 ? int(rest) : 0;
}

std::string connectTo(int descriptor, const addrinfo& address, const BrokerSocket::Waker& waker,
                      Clock::time_point until, bool* stopped)
{
    if (connect(descriptor, address.ai_addr, address.ai_addrlen) == 0)
        return {};
    if (errno != EINPROGRESS)
        return std::strerror(errno);
    const BrokerSocket::Ready ready = BrokerSocket::wait(descriptor, true, waker, left(until));
    *stopped = ready.woken;
    int error = 0;
    socklen_t size = sizeof error;
    if (!ready.write)
        return "no answer";
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        error = errno;
    return error == 0 ? std::string() : std::strerror(error);
}

std::string handshake(int descriptor, const std::string& host, SSL_CTX* context, const BrokerSocket::Waker& waker,
                      Clock::time_point until, bool* stopped)
{
    const std::unique_ptr<SSL, SslDeleter> ssl(SSL_new(context));
    if (!ssl || SSL_set_fd(ssl.get(), descriptor) != 1)
        return "out of memory";
    if (!isAddress(host))
        SSL_set_tlsext_host_name(ssl.get(), host.c_str());
    for (;;) {
        ERR_clear_error();
        const int result = SSL_connect(ssl.get());
        if (result == 1)
            break;
        const int error = SSL_get_error(ssl.get(), result);
        if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) {
            const long verdict = SSL_get_verify_result(ssl.get());
            if (verdict != X509_V_OK)
                return std::string("its certificate is not accepted: ") + X509_verify_cert_error_string(verdict);
            const unsigned long code = ERR_peek_error();
            const char* reason = code != 0 ? ERR_reason_error_string(code) : nullptr;
            return std::string("TLS failed: ") + (reason ? reason : "the connection was ended");
        }
        const BrokerSocket::Ready ready =
            BrokerSocket::wait(descriptor, error == SSL_ERROR_WANT_WRITE, waker, left(until));
        *stopped = ready.woken;
        if (ready.woken)
            return {};
        if (!ready.read && !ready.write)
            return "no answer to the TLS handshake";
    }
    SSL_shutdown(ssl.get());
    return {};
}

} // namespace

BrokerSocket::Waker::Waker()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_read = ends[0];
    m_write = ends[1];
}

BrokerSocket::Waker::~Waker()
{
    if (m_read < 0)
        return;
    close(m_read);
    close(m_write);
}

void BrokerSocket::Waker::wake()
{
    // A full pipe wakes as well.
    if (m_write >= 0 && write(m_write, "", 1) < 0 && errno != EAGAIN)
        std::abort();
}

void BrokerSocket::Waker::clear()
{
    char buffer[64];
    while (read(m_read, buffer, sizeof buffer) > 0) {
    }
}

BrokerSocket::Ready BrokerSocket::wait(int socket, bool forWriting, const Waker& waker, int milliseconds)
{
    pollfd both[2] = {{waker.descriptor(), POLLIN, 0},
                      {socket, static_cast<short>(forWriting ? POLLIN | POLLOUT : POLLIN), 0}};
    Ready ready;
    if (poll(both, socket >= 0 ? 2 : 1, milliseconds) <= 0)
        return ready;
    ready.woken = both[0].revents != 0;
    // An error shows when the socket is read.
    ready.read = (both[1].revents & (POLLIN | POLLERR | POLLHUP | POLLNVAL)) != 0;
    ready.write = (both[1].revents & (POLLOUT | POLLERR)) != 0;
    return ready;
}

std::string BrokerSocket::probe(const std::string& host, unsigned short port, void* context, Waker& waker,
                                int milliseconds, bool* stopped)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    const std::unique_ptr<addrinfo, AddressesDeleter> addresses(found);
    if (error != 0)
        return std::string("its name cannot be looked up: ") + gai_strerror(error);
    std::string fault = "its name has no address";
    for (const addrinfo* address = addresses.get(); address; address = address->ai_next) {
        const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
        const Socket socket(::socket(address->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (socket.descriptor < 0) {
            fault = std::strerror(errno);
            continue;
        }
        fault = connectTo(socket.descriptor, *address, waker, until, stopped);
        if (fault.empty() && context)
            fault = handshake(socket.descriptor, host, static_cast<SSL_CTX*>(context), waker, until, stopped);
        if (fault.empty() || *stopped)
            return {};
    }
    return fault;
}

void BrokerSocket::keepSignalsAway()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}
