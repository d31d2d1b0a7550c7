#include <foundation/network/descriptors_p.h>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

static_assert(sizeof(SocketAddress) >= sizeof(sockaddr_storage));

bool setListenBacklog(std::intptr_t descriptor, int length)
{
    return listen(static_cast<int>(descriptor), length) == 0;
}

bool peerAddress(std::intptr_t descriptor, SocketAddress& address)
{
    socklen_t size = sizeof address;
    return getpeername(static_cast<int>(descriptor), reinterpret_cast<sockaddr*>(address.bytes), &size) == 0;
}

bool hasLeft(std::intptr_t descriptor)
{
#ifdef POLLRDHUP
    const short left = POLLRDHUP | POLLHUP | POLLERR;
#else
    const short left = POLLHUP | POLLERR;
#endif
    pollfd state{static_cast<int>(descriptor), left, 0};
    return poll(&state, 1, 0) == 1 && (state.revents & left) != 0;
}

// The lowest free number is given out first.
bool isAmongLast(std::intptr_t descriptor, int spare)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return false;
    const rlim_t kept = std::min(static_cast<rlim_t>(spare), limit.rlim_cur / 4);
    return static_cast<rlim_t>(descriptor) + kept >= limit.rlim_cur;
}

void closeDescriptor(std::intptr_t descriptor)
{
    close(static_cast<int>(descriptor));
}
