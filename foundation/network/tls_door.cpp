#include <foundation/core/accept_guard_p.h>
#include <foundation/core/string_utils.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/descriptors_p.h>
#include <foundation/network/door_certificate_p.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/held_sockets_p.h>
#include <foundation/network/peer_network.h>
#include <foundation/network/proxy_header_p.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/socket_owner_p.h>
#include <foundation/network/tls_door.h>
#include <foundation/network/visitor_turns_p.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QHash>
#include <QtCore/QTimer>
#include <QtNetwork/QSslConfiguration>

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
    VisitorTurns turns; // before all this
    QList<QPair<QHostAddress, int>> proxies;
    QTimer pause; // for want of descriptors
    QDeadlineTimer scarcityTold{0};
    std::unique_ptr<AcceptGuard> guard;
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
    connect(this, &QTcpServer::acceptError, this, &CTlsDoor::pauseForDescriptors);
    d->guard = std::make_unique<AcceptGuard>(this, [this] { pauseForDescriptors(); });
    d->pause.setSingleShot(true);
    connect(&d->pause, &QTimer::timeout, this, [this] {
        if (isListening())
            resumeAccepting();
    });
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
    connect(&d->turns, &VisitorTurns::turn, this, &CTlsDoor::start);
    connect(&d->turns, &VisitorTurns::dropped, this,
            [this](const QHostAddress& address, quint16 port, const QString& reason) {
                report(peerText(address, port), reason);
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
}

bool CTlsDoor::setCertificate(const QString& certificateFile, const QString& keyFile, QString& error)
{
    return configureDoor(d->configuration, certificateFile, keyFile, d->finiteFieldDh, error);
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
    d->guard->watch();
    return true;
}

int CTlsDoor::visitors() const
{
    return static_cast<int>(d->visitors.size()) + d->turns.waiting();
}

QString CTlsDoor::peerText(const QAbstractSocket* socket)
{
    return peerText(socket->peerAddress(), socket->peerPort());
}

QString CTlsDoor::peerText(const QHostAddress& address, quint16 port)
{
    return plainAddress(address).toString() + QLatin1Char(':') + QString::number(port);
}

void CTlsDoor::pauseForDescriptors()
{
    if (d->scarcityTold.hasExpired()) {
        qWarning("CTlsDoor: Cannot accept: out of file descriptors");
        d->scarcityTold.setRemainingTime(ConnectionTiming::current().scarcityTold);
    }
    pauseAccepting();
    if (!d->pause.isActive())
        d->pause.start(ConnectionTiming::current().acceptPause);
}

void CTlsDoor::incomingConnection(qintptr descriptor)
{
    if (isAmongLast(descriptor, ConnectionLimits::spareDescriptors)) {
        closeDescriptor(descriptor);
        return pauseForDescriptors();
    }
    if (d->proxies.isEmpty())
        return d->turns.arrive(descriptor);
    QElapsedTimer accepted;
    accepted.start();
    start(descriptor, accepted);
}

void CTlsDoor::release(QSslSocket* socket)
{
    d->release(socket);
    d->turns.end(socket);
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
    d->turns.begin(socket);
    connect(socket, &QSslSocket::encrypted, this, [this, socket] {
        d->visitors[socket].ready = true;
        d->turns.end(socket);
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
