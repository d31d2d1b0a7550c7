#include <foundation/core/string_utils.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/held_sockets_p.h>
#include <foundation/network/listen_backlog_p.h>
#include <foundation/network/proxy_header_p.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/socket_owner_p.h>
#include <foundation/network/tls_door.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QQueue>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <QtNetwork/QSslCipher>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslDiffieHellmanParameters>
#include <QtNetwork/QSslKey>

#include <algorithm>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <utility>

#include <algorithm>

namespace {

constexpr char endOfHead[] = "\r\n\r\n";
constexpr int endOfHeadLength = sizeof endOfHead - 1;

// False when the head does not begin as a request does.
bool parseRequest(const QByteArray& head, CTlsDoor::Request& request)
{
    const QList<QByteArray> words = head.mid(0, head.indexOf('\n')).trimmed().split(' ');
    if (words.size() != 3 || words.at(0).isEmpty() || !words.at(2).startsWith("HTTP/1."))
        return false;
    request.method = words.at(0);
    request.path = words.at(1);
    request.head = head;
    request.webSocket = request.header("upgrade").toLower() == "websocket";
    request.last = request.header("connection").toLower() == "close" || words.at(2) == "HTTP/1.0";
    return true;
}

// -1 when it is not told, or not in digits alone.
qint64 lengthOfBody(const CTlsDoor::Request& request)
{
    const QByteArray text = request.header("content-length");
    if (!request.header("transfer-encoding").isNull())
        return -1;
    if (text.isNull())
        return 0;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return !text.isEmpty() && text.size() < 18 && std::all_of(text.begin(), text.end(), isDigit) ? text.toLongLong()
                                                                                                 : -1;
}

QByteArray readFile(const QString& name, QString& error)
{
    QFile file(name);
    if (file.open(QIODevice::ReadOnly))
        return file.readAll();
    error = QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString());
    return QByteArray();
}

bool belongTogether(const QSslCertificate& certificate, const QSslKey& key)
{
    const QByteArray certificateDer = certificate.toDer();
    const QByteArray keyDer = key.toDer();
    const auto* bytes = reinterpret_cast<const unsigned char*>(certificateDer.constData());
    X509* const x509 = d2i_X509(nullptr, &bytes, certificateDer.size());
    bytes = reinterpret_cast<const unsigned char*>(keyDer.constData());
    EVP_PKEY* const privateKey = d2i_AutoPrivateKey(nullptr, &bytes, keyDer.size());
    const bool result = x509 && privateKey && X509_check_private_key(x509, privateKey) == 1;
    EVP_PKEY_free(privateKey);
    X509_free(x509);
    ERR_clear_error(); // it would be taken for one of the next connection's
    return result;
}

// The group ffdhe2048 of RFC 7919. What Qt 5 would take has 1024 bits, which OpenSSL refuses.
QSslDiffieHellmanParameters finiteField()
{
    return QSslDiffieHellmanParameters::fromEncoded(
        QByteArrayLiteral("-----BEGIN DH PARAMETERS-----\n"
                          "MIIBCAKCAQEA//////////+t+FRYortKmq/cViAnPTzx2LnFg84tNpWp4TZBFGQz\n"
                          "+8yTnc4kmz75fS/jY2MMddj2gbICrsRhetPfHtXV/WVhJDP1H18GbtCFY2VVPe0a\n"
                          "87VXE15/V8k1mE8McODmi3fipona8+/och3xWKE2rec1MKzKT0g6eXq8CrGCsyT7\n"
                          "YdEIqUuyyOP7uWrat2DX9GgdT0Kj3jlN9K5W7edjcrsZCwenyO4KbXCeAvzhzffi\n"
                          "7MA0BM0oNC9hkXL+nOmFg/+OTxIy7vKBg8P+OxtMb61zO7X8vC7CIAXFjvGDfRaD\n"
                          "ssbzSibBsu/6iGtCOGEoXJf//////////wIBAg==\n"
                          "-----END DH PARAMETERS-----\n"));
}

// Of those that the system allows. Each takes time in each handshake, as Qt hands the list to OpenSSL as text.
QList<QSslCipher> ciphers(bool finiteFieldDh)
{
    QList<QSslCipher> result;
    const QList<QSslCipher> allowed = QSslConfiguration::defaultConfiguration().ciphers();
    for (const QSslCipher& cipher : allowed) {
        const QString name = cipher.name();
        const bool isSealed = name.contains(QLatin1String("GCM")) || name.contains(QLatin1String("CHACHA20"));
        if (name.startsWith(QLatin1String("TLS_")) // of TLS 1.3
            || (isSealed
                && (name.startsWith(QLatin1String("ECDHE-"))
                    || (finiteFieldDh && name.startsWith(QLatin1String("DHE-RSA-"))))))
            result += cipher;
    }
    return result;
}

// Its peer is whom a balancer announces.
class VisitorSocket : public QSslSocket
{
public:
    using QSslSocket::QSslSocket;

    void announce(const QHostAddress& address, quint16 port)
    {
        setPeerAddress(address);
        setPeerPort(port);
    }
};

// A connection that has said nothing yet. It costs a descriptor, no socket with its buffers.
class SilentVisitor : public QObject
{
public:
    SilentVisitor(qintptr descriptor, const QElapsedTimer& since, QObject* parent)
        : QObject(parent)
        , notifier(descriptor, QSocketNotifier::Read)
        , accepted(since)
        , m_descriptor(descriptor)
    {
    }
    ~SilentVisitor() override
    {
        if (m_descriptor >= 0)
            QTcpSocket().setSocketDescriptor(m_descriptor); // closes it
    }
    /// The descriptor is the caller's then.
    qintptr take()
    {
        notifier.setEnabled(false);
        return std::exchange(m_descriptor, -1);
    }

    QSocketNotifier notifier; // it talks, or has gone
    const QElapsedTimer accepted;

private:
    qintptr m_descriptor;
};

QHostAddress plainAddress(const QHostAddress& address)
{
    bool isIPv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(ipv4) : address;
}

} // namespace

struct CTlsDoor::Private
{
    struct Visitor
    {
        QElapsedTimer accepted;
        bool ready = false;    // TLS is up, or the balancer has announced it
        bool answered = false; // has made an ordinary request and may make more
        bool asked = false;    // waits for the answer to one
        qint64 size = 0;       // bytes of the request that stand in the socket, or will: 0 before its head was read
        qint64 unwanted = 0;   // bytes of its body to be thrown away
        Request request;       // whose body is on its way
    };

    QSslConfiguration configuration;
    QHash<QSslSocket*, Visitor> visitors;
    HeldSockets held{ConnectionLimits::visitors, nullptr};       // those who are to say something
    HeldSockets announcing{ConnectionLimits::visitors, nullptr}; // those a balancer is to tell of
    HeldSockets sending{ConnectionLimits::bodies, nullptr};      // of the first, those whose request has begun
    HeldSockets waiting{ConnectionLimits::visitors, nullptr};    // for their answer
    qint64 longestBody = 0;
    HeldSockets arriving{ConnectionLimits::arrivingVisitors, nullptr}; // before all this: SilentVisitors, new ones
    HeldSockets silent{ConnectionLimits::visitors, nullptr};           // and those who are no longer new
    QQueue<QPair<qintptr, QElapsedTimer>> queue;                       // have begun to talk, wait for their turn
    bool full = false;                                                 // of these: does not accept for now
    // Whose turn it is and whose TLS goes on, for a while.
    QList<QPair<QSslSocket*, QDeadlineTimer>> talking;
    QTimer turn; // runs until the first of them has kept others waiting for long enough
    QList<QPair<QHostAddress, int>> proxies;
    bool finiteFieldDh = false;

    void release(QSslSocket* socket)
    {
        for (HeldSockets* each : {&held, &announcing, &sending, &waiting})
            each->release(socket);
    }
};

QByteArray CTlsDoor::Request::header(const QByteArray& name) const
{
    for (int begin = head.indexOf('\n') + 1; begin > 0;) {
        const int end = head.indexOf('\n', begin);
        const QByteArray line = head.mid(begin, end < 0 ? -1 : end - begin);
        const int colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name.toLower())
            return line.mid(colon + 1).trimmed() + QByteArray("");
        begin = end + 1;
    }
    return QByteArray();
}

CTlsDoor::CTlsDoor(QObject* parent)
    : QTcpServer(parent)
    , d(std::make_unique<Private>())
{
    // Without a free descriptor the server stops accepting, and would never begin again by itself.
    connect(this, &QTcpServer::acceptError, this, [this] {
        qWarning("CTlsDoor: Cannot accept: %s", qUtf8Printable(errorString()));
        QTimer::singleShot(ConnectionTiming::current().acceptPause, this, &QTcpServer::resumeAccepting);
    });
    d->turn.setSingleShot(true);
    d->turn.setTimerType(Qt::PreciseTimer);
    connect(&d->turn, &QTimer::timeout, this, &CTlsDoor::startWaiting);
    const auto dropping = [this](QObject* object, bool crowded) {
        auto* const socket = static_cast<QSslSocket*>(object);
        const Private::Visitor visitor = d->visitors.value(socket);
        drop(socket, visitor.asked                         ? QStringLiteral("no answer in time")
                     : crowded                             ? QStringLiteral("too many connections without a request")
                     : visitor.size + visitor.unwanted > 0 ? QStringLiteral("no whole request in time")
                     : visitor.answered                    ? QString()
                     : visitor.ready                       ? QStringLiteral("no request in time")
                                                           : QStringLiteral("no TLS in time"));
    };
    for (const HeldSockets* held : {&d->held, &d->sending, &d->waiting})
        connect(held, &HeldSockets::dropping, this, dropping);
    const auto droppingSilent = [this](QObject* object, bool crowded) {
        QTcpSocket socket;
        if (socket.setSocketDescriptor(static_cast<SilentVisitor*>(object)->take()))
            report(peerText(&socket), crowded ? QStringLiteral("too many connections without a request")
                                              : QStringLiteral("no TLS in time"));
    };
    connect(&d->silent, &HeldSockets::dropping, this, droppingSilent);
    connect(&d->arriving, &HeldSockets::dropping, this, [this, droppingSilent](QObject* object, bool crowded) {
        if (crowded)
            return droppingSilent(object, crowded);
        auto* const visitor = static_cast<SilentVisitor*>(object);
        awaitWords(d->silent, visitor->take(), visitor->accepted, ConnectionTiming::current().request);
    });
    connect(&d->announcing, &HeldSockets::dropping, this, [this](QObject* object, bool crowded) {
        drop(static_cast<QSslSocket*>(object), crowded ? QStringLiteral("too many connections without a PROXY header")
                                                       : QStringLiteral("no PROXY header in time"));
    });
}

CTlsDoor::~CTlsDoor()
{
    // Their last signals would find half a server.
    for (auto visitor = d->visitors.cbegin(); visitor != d->visitors.cend(); ++visitor) {
        release(visitor.key());
        visitor.key()->disconnect();
    }
    for (const auto& waiting : qAsConst(d->queue))
        QTcpSocket().setSocketDescriptor(waiting.first); // closes it
}

bool CTlsDoor::setCertificate(const QString& certificateFile, const QString& keyFile, QString& error)
{
    error.clear();
    const QList<QSslCertificate> chain = QSslCertificate::fromData(readFile(certificateFile, error), QSsl::Pem);
    const QByteArray keyText = readFile(keyFile, error);
    QSslKey key(keyText, QSsl::Rsa);
    if (key.isNull())
        key = QSslKey(keyText, QSsl::Ec);
    if (error.isEmpty() && chain.isEmpty())
        error = QStringLiteral("\"%1\" holds no certificate").arg(certificateFile);
    if (error.isEmpty() && key.isNull())
        error = QStringLiteral("\"%1\" holds no key").arg(keyFile);
    if (error.isEmpty() && !belongTogether(chain.constFirst(), key))
        error = QStringLiteral("the key in \"%1\" does not belong to the certificate in \"%2\"")
                    .arg(keyFile, certificateFile);
    if (!error.isEmpty())
        return false;
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    // Devices prove themselves after the upgrade. Nobody's certificate is checked here, and the system's authorities
    // would be loaded for each connection anew.
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setCaCertificates({});
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setCiphers(ciphers(d->finiteFieldDh));
    configuration.setDiffieHellmanParameters(d->finiteFieldDh ? finiteField() : QSslDiffieHellmanParameters());
    setSslConfiguration(configuration);
    return true;
}

void CTlsDoor::setSslConfiguration(const QSslConfiguration& configuration)
{
    d->configuration = configuration;
}

void CTlsDoor::setFiniteFieldDh(bool allowed)
{
    d->finiteFieldDh = allowed;
}

void CTlsDoor::setProxies(const QList<QPair<QHostAddress, int>>& networks)
{
    d->proxies = networks;
}

void CTlsDoor::setLongestBody(int bytes)
{
    d->longestBody = qBound(0, bytes, 0x100000);
}

bool CTlsDoor::open(quint16 port)
{
    if (!listen(QHostAddress::Any, port))
        return false;
    // A whole installation may knock in one instant; those that find the queue full try again only after a second.
    setListenBacklog(socketDescriptor(), ConnectionLimits::listenBacklog);
    return true;
}

int CTlsDoor::visitors() const
{
    return static_cast<int>(d->visitors.size() + d->queue.size()) + d->arriving.size() + d->silent.size();
}

QString CTlsDoor::peerText(const QAbstractSocket* socket)
{
    return peerText(socket->peerAddress(), socket->peerPort());
}

QString CTlsDoor::peerText(const QHostAddress& address, quint16 port)
{
    return plainAddress(address).toString() + QLatin1Char(':') + QString::number(port);
}

void CTlsDoor::incomingConnection(qintptr descriptor)
{
    QElapsedTimer accepted;
    accepted.start();
    if (d->proxies.isEmpty())
        awaitWords(d->arriving, descriptor, accepted, ConnectionTiming::current().arriving);
    else
        start(descriptor, accepted);
}

void CTlsDoor::awaitWords(HeldSockets& place, qintptr descriptor, const QElapsedTimer& accepted, int milliseconds)
{
    auto* const visitor = new SilentVisitor(descriptor, accepted, this);
    place.add(visitor, milliseconds);
    connect(&visitor->notifier, &QSocketNotifier::activated, this, [this, visitor, &place] {
        place.release(visitor);
        d->queue.enqueue({visitor->take(), visitor->accepted});
        visitor->deleteLater();
        if (!d->turn.isActive())
            startWaiting();
        if (d->queue.size() >= ConnectionLimits::waitingVisitors && !d->full) {
            d->full = true;
            pauseAccepting();
        }
    });
}

void CTlsDoor::startWaiting()
{
    while (!d->talking.isEmpty() && d->talking.constFirst().second.hasExpired())
        d->talking.removeFirst();
    while (!d->queue.isEmpty() && d->talking.size() < ConnectionLimits::talkingVisitors) {
        const auto next = d->queue.dequeue();
        start(next.first, next.second);
    }
    if (!d->queue.isEmpty())
        d->turn.start(static_cast<int>(d->talking.constFirst().second.remainingTime()) + 1);
    if (d->full && d->queue.size() < ConnectionLimits::waitingVisitors / 2) {
        d->full = false;
        resumeAccepting();
    }
}

// Makes room for the next one. From the event loop: it may be one of many at once, and in the middle of something.
void CTlsDoor::endTalking(const QSslSocket* socket)
{
    const auto entry = std::find_if(d->talking.begin(), d->talking.end(),
                                    [socket](const auto& other) { return other.first == socket; });
    if (entry == d->talking.end())
        return;
    d->talking.erase(entry);
    if (!d->queue.isEmpty())
        d->turn.start(0);
}

void CTlsDoor::release(QSslSocket* socket)
{
    d->release(socket);
    endTalking(socket);
}

void CTlsDoor::start(qintptr descriptor, const QElapsedTimer& accepted)
{
    auto* socket = new VisitorSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    setLowDelay(socket);
    socket->setReadBufferSize(qint64(2) * ConnectionLimits::requestHead);
    socket->setSslConfiguration(d->configuration);
    Private::Visitor visitor;
    visitor.accepted = accepted;
    d->visitors.insert(socket, visitor);
    connect(socket, &QSslSocket::readyRead, this, [this, socket] { onReadable(socket); });
    if (!d->proxies.isEmpty()) {
        d->announcing.add(socket, ConnectionTiming::current().proxyHeader);
        connect(socket, &QSslSocket::disconnected, this, [this, socket] {
            drop(socket, d->visitors.value(socket).ready ? QString() : QStringLiteral("no PROXY header"));
        });
        const QHostAddress peer = plainAddress(socket->peerAddress());
        const auto contains = [peer](const QPair<QHostAddress, int>& network) { return peer.isInSubnet(network); };
        if (std::none_of(d->proxies.cbegin(), d->proxies.cend(), contains))
            drop(socket, QStringLiteral("no trusted balancer"));
        return;
    }
    d->held.add(socket, ConnectionTiming::current().request);
    d->talking.append({socket, QDeadlineTimer(ConnectionTiming::current().talking, Qt::PreciseTimer)});
    connect(socket, &QSslSocket::encrypted, this, [this, socket] {
        d->visitors[socket].ready = true;
        endTalking(socket);
    });
    connect(socket, &QSslSocket::disconnected, this, [this, socket] {
        // A socket that has disconnected may have forgotten that it was encrypted.
        const bool failed = !d->visitors.value(socket).ready;
        drop(socket,
             failed ? QStringLiteral("TLS failed: %1").arg(CStringUtils::printable(socket->errorString())) : QString());
    });
    socket->startServerEncryption();
}

bool CTlsDoor::takeProxyHeader(QSslSocket* socket)
{
    ProxyHeader header;
    switch (ProxyHeader::parse(socket->peek(ProxyHeader::longest), header)) {
    case ProxyHeader::Incomplete:
        return false;
    case ProxyHeader::Invalid:
        drop(socket, QStringLiteral("no PROXY header"));
        return false;
    case ProxyHeader::Complete:
        break;
    }
    socket->read(header.size);
    if (!header.address.isNull())
        static_cast<VisitorSocket*>(socket)->announce(header.address, header.port);
    d->announcing.release(socket);
    d->held.add(socket, ConnectionTiming::current().request);
    d->visitors[socket].ready = true;
    return true;
}

// From the event loop: a receiver may delete the door.
void CTlsDoor::report(const QString& peer, const QString& reason)
{
    QMetaObject::invokeMethod(
        this, [this, peer, reason] { Q_EMIT dropped(peer, reason); }, Qt::QueuedConnection);
}

void CTlsDoor::drop(QSslSocket* socket, const QString& reason)
{
    if (!d->visitors.remove(socket))
        return;
    release(socket);
    const QString peer = peerText(socket);
    discard(socket);
    if (!reason.isEmpty())
        report(peer, reason);
}

void CTlsDoor::onReadable(QSslSocket* socket)
{
    const auto visitor = d->visitors.find(socket);
    if (visitor == d->visitors.end() || visitor->asked)
        return;
    if (!visitor->ready && (d->proxies.isEmpty() || !takeProxyHeader(socket)))
        return;
    if (visitor->size > 0 || visitor->unwanted > 0)
        return readBody(socket);
    const QByteArray head = socket->peek(ConnectionLimits::requestHead);
    const int end = head.indexOf(endOfHead);
    if (end < 0) {
        if (head.size() >= ConnectionLimits::requestHead)
            drop(socket, QStringLiteral("request too long"));
        return;
    }
    Request request;
    if (!parseRequest(head.left(end), request))
        return drop(socket, QStringLiteral("no HTTP request"));
    request.accepted = visitor->accepted;
    visitor->size = end + endOfHeadLength;
    visitor->request = request;
    if (awaitsBody(socket))
        readBody(socket);
    else
        handIn(socket);
}

// False when nothing of a body is to be read.
bool CTlsDoor::awaitsBody(QSslSocket* socket)
{
    Private::Visitor& visitor = d->visitors[socket];
    Request& request = visitor.request;
    const qint64 length = request.webSocket ? 0 : lengthOfBody(request);
    if (length == 0)
        return false;
    const bool expects = request.header("expect").toLower() == "100-continue";
    request.bodyUnread = length < 0 || length > d->longestBody;
    request.last = request.last || request.bodyUnread;
    if (request.bodyUnread && (length < 0 || expects || d->longestBody == 0 || length > ConnectionLimits::drainedBody))
        return false;
    if (request.bodyUnread) {
        visitor.unwanted = length;
    } else {
        visitor.size += length;
        socket->setReadBufferSize(qMax(socket->readBufferSize(), visitor.size));
        if (expects)
            socket->write("HTTP/1.1 100 Continue\r\n\r\n");
    }
    d->sending.add(socket, ConnectionTiming::current().request);
    return d->visitors.contains(socket);
}

void CTlsDoor::readBody(QSslSocket* socket)
{
    Private::Visitor& visitor = d->visitors[socket];
    if (visitor.unwanted > 0) {
        socket->read(visitor.size); // the head, once
        visitor.size = 0;
    }
    while (visitor.unwanted > 0 && socket->bytesAvailable() > 0)
        visitor.unwanted -= socket->read(qMin(visitor.unwanted, qint64(ConnectionLimits::requestHead))).size();
    if (visitor.unwanted == 0 && socket->bytesAvailable() >= visitor.size)
        handIn(socket);
}

void CTlsDoor::handIn(QSslSocket* socket)
{
    Private::Visitor& visitor = d->visitors[socket];
    Request request = visitor.request;
    visitor.request = Request();
    // One that asks and asks and never reads the answers does not get more of them.
    request.last = request.last || socket->bytesToWrite() > ConnectionLimits::writeBacklog;
    const QPointer<CTlsDoor> alive(this);
    HandOver<QTcpSocket> offer(socket);
    if (request.webSocket) {
        d->visitors.remove(socket);
        d->release(socket);
        socket->disconnect(this);
        socket->setReadBufferSize(0); // the next owner has limits of its own
        Q_EMIT webSocketRequested(socket, request);
        if (offer.isLeft())
            discard(socket);
        return;
    }
    visitor.asked = true;
    const int head = static_cast<int>(request.head.size()) + endOfHeadLength;
    if (visitor.size > head)
        request.body = socket->peek(visitor.size).mid(head);
    d->release(socket);
    d->waiting.add(socket, ConnectionTiming::current().answer);
    Q_EMIT requested(socket, request);
    if (alive && offer.isTaken() && d->visitors.remove(socket)) {
        d->release(socket);
        socket->disconnect(this);
    }
}

void CTlsDoor::answer(QSslSocket* socket, const QByteArray& bytes, bool last)
{
    const auto visitor = d->visitors.find(socket);
    if (visitor == d->visitors.end() || !visitor->asked)
        return;
    socket->read(visitor->size);
    visitor->size = 0;
    visitor->asked = false;
    visitor->answered = true;
    d->waiting.release(socket);
    d->held.add(socket, ConnectionTiming::current().request);
    socket->write(bytes);
    if (last) {
        // The time-out goes on, so that who does not take the answer is dropped too.
        disconnect(socket, &QSslSocket::readyRead, this, nullptr);
        socket->readAll();
        socket->disconnectFromHost();
    } else if (socket->bytesAvailable() > 0) {
        const auto readOn = [this, socket = QPointer<QSslSocket>(socket)] {
            if (socket)
                onReadable(socket);
        };
        QMetaObject::invokeMethod(this, readOn, Qt::QueuedConnection);
    }
}
