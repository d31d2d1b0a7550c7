#include <foundation/core/string_utils.h>
#include <foundation/core/utf8_p.h>
#include <foundation/network/candidate_address_p.h>
#include <foundation/network/candidate_list_p.h>
#include <foundation/network/connection_job.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/redirect_probe_p.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/socket_owner_p.h>
#include <foundation/network/unread_answers_p.h>

#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtCore/QTimerEvent>
#include <QtCore/QUrl>
#include <QtNetwork/QHostInfo>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QNetworkReply>
#include <QtNetwork/QSslError>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>

// A job's life:
//
//     resume -> tryCandidate -+-> (label, empty)                         -> resume
//                             +-> lookUpHostName -> onHostInfoReceived   -> resume
//                             +-> connectTcp     -> onTcpConnected       -> the receiver decides
//                             |                  -> onConnectionError    -> resume
//                             +-> queryUdp       -> the receiver decides
//                             +-> askWebService  -> onProbeFinished -> openWebSocket
//                                                -> onWebSocketDataReceived -> the receiver decides
//                                                -> onConnectionError    -> resume
//     the receiver decides: complete -> resume -> jobFinished(true)
//     5 s without any of it: timerEvent -> resume with the next kind of attempt or the next candidate
//     no candidate left: resume -> jobFinished(false)
//
// Everything that a socket, reply or look-up reports arrives by a queued call, after it has left its own code.

namespace {

constexpr char discoverAddressProperty[] = "discoverAddress";
constexpr int longestShown = 300; // characters of a peer's text in the log

QString discoverAddressOf(const QObject* object)
{
    return object->property(discoverAddressProperty).toString();
}

// What a peer sent, on one line of the log.
QByteArray shown(const QString& text)
{
    return CStringUtils::printable(text, longestShown).toUtf8();
}

// Bounds the answer to a WebSocket's request: QWebSocket itself keeps all its lines, however many come.
class AnswerBounds : public QObject
{
public:
    // The WebSocket is connecting.
    explicit AnswerBounds(QWebSocket* webSocket)
        : QObject(webSocket)
        , m_webSocket(webSocket)
        , m_socket(webSocket->findChild<QTcpSocket*>(QString(), Qt::FindDirectChildrenOnly))
    {
        if (!m_socket)
            return;
        m_wire = m_socket->findChild<QTcpSocket*>(); // beneath TLS
        m_wire = m_wire ? m_wire : m_socket;
        m_webSocket->setReadBufferSize(ConnectionLimits::readBuffer);
        limitPiece();
        connect(m_wire, &QTcpSocket::readyRead, this, &AnswerBounds::onPiece);
        connect(m_webSocket, &QWebSocket::connected, this, &AnswerBounds::onConnected);
    }

private:
    // What QWebSocket has taken already cannot be counted any more. So it is given little at a time, and not often.
    void limitPiece()
    {
        if (m_webSocket->state() != QAbstractSocket::ConnectingState)
            return;
        m_wire->setReadBufferSize(1); // the same size once more would not make a full socket read on
        m_wire->setReadBufferSize(m_wire->bytesAvailable() + ConnectionLimits::answerPiece);
    }

    void onPiece()
    {
        // The socket is not to be bothered while it reads.
        QMetaObject::invokeMethod(this, &AnswerBounds::limitPiece, Qt::QueuedConnection);
        if (m_wire != m_socket && !static_cast<QSslSocket*>(m_socket)->isEncrypted())
            return;
        // Of a line without end nothing is taken, with Qt 6 of lines without end: a full buffer is a sign, too.
        if (++m_pieces > ConnectionLimits::answerPieces || m_socket->bytesAvailable() >= ConnectionLimits::readBuffer)
            giveUp();
    }

    void onConnected()
    {
        disconnect(m_wire, nullptr, this, nullptr);
        m_webSocket->setReadBufferSize(qint64(2 * ConnectionLimits::message)); // a whole frame has to fit in
        deleteLater();
    }

    void giveUp()
    {
        m_wire->disconnect(this);
        qWarning("ConnectionJob: Too long an answer from %s", shown(discoverAddressOf(m_webSocket)).constData());
        QMetaObject::invokeMethod(m_webSocket, &QWebSocket::abort, Qt::QueuedConnection);
    }

    QWebSocket* m_webSocket;
    QTcpSocket* m_socket;
    QTcpSocket* m_wire = nullptr;
    int m_pieces = 0;
};

// Whoever pings and does not read the answers may keep so much waiting, as long as the job or its connector has it.
void boundUnread(QWebSocket* webSocket)
{
    const auto sockets = webSocket->findChildren<QTcpSocket*>(QString(), Qt::FindDirectChildrenOnly);
    for (QTcpSocket* socket : sockets) {
        QObject::connect(new UnreadAnswers(socket, webSocket), &UnreadAnswers::exceeded, webSocket, [webSocket] {
            qWarning("ConnectionJob: Unread answers at %s", shown(discoverAddressOf(webSocket)).constData());
            webSocket->abort();
        });
    }
}

constexpr auto queuedOnce = Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection);

} // namespace

struct ConnectionJob::Private
{
    CandidateList candidates;
    QSet<QString> triedByTcp;
    QSet<QString> triedByUdp;
    quint16 port;
    bool tcpDiscovery;
    bool useSsl;
    QPointer<QNetworkAccessManager> networkAccessManager;
    QString path;
    RedirectProbe* probe = nullptr;
    int stepTimer = 0;
    int lookUp = -1;
    bool success = false;
    bool stepping = false; // inside resume: a further call takes effect when the step returns
    bool stepAgain = false;
    bool over = false; // finished or disposed of
};

ConnectionJob::ConnectionJob(const QStringList& candidates, quint16 port, bool tcpDiscovery, bool useSsl,
                             QNetworkAccessManager* networkAccessManager, const QString& path, QObject* parent)
    : QObject(parent)
    , d(new Private{CandidateList(candidates), {}, {}, port, tcpDiscovery, useSsl, networkAccessManager, path})
{
    qRegisterMetaType<QAbstractSocket::SocketError>(); // travels in queued calls
}

ConnectionJob::~ConnectionJob()
{
    abortLookUp();
}

bool ConnectionJob::hasCandidates() const
{
    return !d->candidates.isEmpty();
}

QString ConnectionJob::currentCandidate() const
{
    return hasCandidates() ? d->candidates.first() : QString();
}

void ConnectionJob::holdClock()
{
    stopStepTimer();
}

void ConnectionJob::letClockGo()
{
    if (!d->over && !d->stepping && d->stepTimer == 0)
        startStepTimer();
}

bool ConnectionJob::isOver() const
{
    return d->over;
}

bool ConnectionJob::isAnsweredBy(const QHostAddress& address, const CDeviceId& deviceId,
                                 const QString& discoverAddress) const
{
    if (d->over || !hasCandidates())
        return false;
    const CandidateAddress candidate = CandidateAddress::parse(d->candidates.first(), d->port);
    if (candidate.kind == CandidateAddress::Kind::Url)
        return discoverAddress == d->candidates.first();
    if (candidate.kind == CandidateAddress::Kind::Address && !candidate.isBroadcast()
        && !CandidateAddress::isSame(candidate.address, address))
        return false;
    const CDeviceId wanted = d->candidates.firstLabel();
    return !wanted.isValid() || wanted == deviceId;
}

void ConnectionJob::complete()
{
    d->candidates.clear();
    d->success = true;
    resume();
}

// A loop, so that any number of candidates that lead nowhere needs neither stack nor event loop.
void ConnectionJob::resume()
{
    if (d->over)
        return;
    d->stepAgain = true;
    if (d->stepping)
        return;
    const QPointer<ConnectionJob> alive(this);
    d->stepping = true;
    while (d->stepAgain) {
        stopStepTimer();
        if (d->candidates.isEmpty()) {
            d->over = true;
            Q_EMIT jobFinished(d->success); // the receiver may delete the job: nothing follows
            return;
        }
        d->stepAgain = false;
        const Step step = tryCandidate();
        if (!alive || d->over)
            return;
        if (step == Step::GoesOn)
            d->stepAgain = true;
    }
    d->stepping = false;
    startStepTimer();
}

void ConnectionJob::dispose()
{
    d->over = true;
    stopStepTimer();
    abortLookUp();
    abortProbe();
    disconnect();
    const auto tcpSockets = findChildren<QTcpSocket*>(QString(), Qt::FindDirectChildrenOnly);
    for (QTcpSocket* socket : tcpSockets)
        discard(socket);
    const auto webSockets = findChildren<QWebSocket*>(QString(), Qt::FindDirectChildrenOnly);
    for (QWebSocket* socket : webSockets)
        discard(socket);
    deleteLater();
}

void ConnectionJob::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != d->stepTimer)
        return;
    if (hasCandidates()) {
        const QString candidate = d->candidates.first();
        abortLookUp(); // a host name gets its time once, and a late answer changes nothing
        // Only an address is tried in a second way.
        const bool isAddress = CandidateAddress::parse(candidate, d->port).kind == CandidateAddress::Kind::Address;
        if (!isAddress || d->triedByUdp.contains(candidate))
            d->candidates.removeFirst();
    }
    resume();
}

ConnectionJob::Step ConnectionJob::tryCandidate()
{
    abortProbe();
    const QString text = d->candidates.first();
    const CandidateAddress candidate = CandidateAddress::parse(text, d->port);
    switch (candidate.kind) {
    case CandidateAddress::Kind::Url:
        return askWebService(text);
    case CandidateAddress::Kind::HostName:
        return lookUpHostName(candidate.host);
    case CandidateAddress::Kind::Address:
        if (!candidate.isBroadcast() && !d->triedByTcp.contains(text))
            return connectTcp(text, candidate.address, candidate.port);
        return queryUdp(text, candidate.address, candidate.port);
    case CandidateAddress::Kind::Label:
    case CandidateAddress::Kind::Nothing:
        break;
    }
    d->candidates.removeFirst();
    return Step::GoesOn;
}

ConnectionJob::Step ConnectionJob::connectTcp(const QString& candidate, const QHostAddress& address, quint16 port)
{
    d->triedByTcp.insert(candidate);
    if (!d->tcpDiscovery || port == 0)
        return Step::GoesOn;
    QTcpSocket* socket = d->useSsl ? new QSslSocket(this) : new QTcpSocket(this);
    socket->setProperty(discoverAddressProperty, candidate);
    setLowDelay(socket);
    socket->setReadBufferSize(ConnectionLimits::readBuffer);
    connect(socket, &QTcpSocket::connected, this, &ConnectionJob::onTcpConnected, queuedOnce);
    connect(socket, &QTcpSocket::errorOccurred, this, &ConnectionJob::onConnectionError, queuedOnce);
    connect(socket, &QTcpSocket::disconnected, this, &ConnectionJob::onConnectionError, queuedOnce);
    qInfo("CDeviceConnector: Start TCP connection for device info to %s:%u", qUtf8Printable(address.toString()), port);
    // In plain text also with TLS: the ends tell each other who they are before it starts.
    socket->connectToHost(address, port);
    return Step::Waits;
}

void ConnectionJob::onTcpConnected()
{
    auto* socket = qobject_cast<QTcpSocket*>(sender());
    if (!d->over && socket && socket->state() == QAbstractSocket::ConnectedState)
        Q_EMIT tcpConnectionEstablished(socket);
}

ConnectionJob::Step ConnectionJob::queryUdp(const QString& candidate, const QHostAddress& address, quint16 port)
{
    if (!d->triedByUdp.contains(candidate)) {
        d->triedByUdp.insert(candidate);
        bool dataSent = false;
        const QPointer<ConnectionJob> alive(this);
        Q_EMIT sendDataUsingUdp(address, port, dataSent);
        if (!alive || d->over || dataSent)
            return Step::Waits;
    }
    d->candidates.removeAll(candidate);
    return Step::GoesOn;
}

// A socket may report an error and a disconnect; after the first of them nothing connects it with the job any more.
void ConnectionJob::onConnectionError()
{
    QObject* socket = sender();
    // A socket with another parent was taken over: its errors are no business of the job.
    if (d->over || !socket || socket->parent() != this)
        return;
    const QString candidate = discoverAddressOf(socket);
    const bool isCurrent = hasCandidates() && d->candidates.first() == candidate;
    if (auto* tcpSocket = qobject_cast<QTcpSocket*>(socket)) {
        if (d->triedByUdp.contains(candidate))
            d->candidates.removeAll(candidate);
        discard(tcpSocket);
    } else if (auto* webSocket = qobject_cast<QWebSocket*>(socket)) {
        d->candidates.removeAll(candidate);
        discard(webSocket);
    }
    // A straggler of an earlier candidate takes no time from the current one.
    if (isCurrent)
        resume();
}

ConnectionJob::Step ConnectionJob::lookUpHostName(const QString& host)
{
    abortLookUp();
    qInfo("ConnectionJob: Look up IP address for hostname %s", shown(host).constData());
    d->lookUp = QHostInfo::lookupHost(host, this, &ConnectionJob::onHostInfoReceived);
    return Step::Waits;
}

void ConnectionJob::abortLookUp()
{
    if (d->lookUp >= 0)
        QHostInfo::abortHostLookup(d->lookUp);
    d->lookUp = -1;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): published with its argument by value
void ConnectionJob::onHostInfoReceived(QHostInfo info)
{
    if (d->over || d->lookUp < 0 || info.lookupId() != d->lookUp || !hasCandidates())
        return;
    d->lookUp = -1;
    const CandidateAddress candidate = CandidateAddress::parse(d->candidates.first(), d->port);
    d->candidates.removeFirst();
    const QPointer<ConnectionJob> alive(this);
    if (info.error() != QHostInfo::NoError) {
        qWarning("ConnectionJob: Error for %s: %s", shown(candidate.host).constData(),
                 qUtf8Printable(info.errorString()));
        Q_EMIT updateResolvedHostname(candidate.host, QHostAddress());
    } else {
        QStringList resolved;
        const auto addresses = info.addresses();
        for (const QHostAddress& address : addresses) {
            resolved += candidate.hasPort ? CandidateAddress::toText(address, candidate.port)
                                          : CandidateAddress::toText(address);
        }
        d->candidates.prepend(resolved);
        for (const QHostAddress& address : addresses) {
            if (alive && !d->over)
                Q_EMIT updateResolvedHostname(candidate.host, address);
        }
        qInfo("ConnectionJob: Resolved IP address %s", qUtf8Printable(resolved.join(QLatin1String(", "))));
    }
    if (alive)
        resume();
}

ConnectionJob::Step ConnectionJob::askWebService(const QString& url)
{
    if (!d->networkAccessManager || d->path.isEmpty()) {
        d->candidates.removeFirst();
        return Step::GoesOn;
    }
    d->probe = new RedirectProbe(QUrl(url), d->networkAccessManager->proxy(), this);
    connect(d->probe, &RedirectProbe::finished, this, &ConnectionJob::onProbeFinished);
    return Step::Waits;
}

void ConnectionJob::abortProbe()
{
    if (d->probe) {
        d->probe->disconnect(this);
        d->probe->deleteLater();
    }
    d->probe = nullptr;
}

void ConnectionJob::onProbeFinished(const QString& location)
{
    abortProbe();
    if (d->over || !hasCandidates())
        return;
    if (!location.isNull())
        qInfo("ConnectionJob: redirect to %s", shown(location).constData());
    openWebSocket(d->candidates.first(), location);
}

void ConnectionJob::openWebSocket(const QString& candidate, const QString& location)
{
    const QString& target = location.startsWith(QLatin1String("http")) ? location : candidate;
    auto* socket = new QWebSocket(QString(), QWebSocketProtocol::Version13, this);
    socket->setProperty(discoverAddressProperty, candidate);
    socket->setMaxAllowedIncomingFrameSize(ConnectionLimits::message);
    socket->setMaxAllowedIncomingMessageSize(ConnectionLimits::message);
    connect(socket, &QWebSocket::binaryMessageReceived, this, &ConnectionJob::onWebSocketDataReceived);
    connect(socket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error), this,
            &ConnectionJob::onConnectionError, queuedOnce);
    connect(socket, &QWebSocket::disconnected, this, &ConnectionJob::onConnectionError, queuedOnce);
    connect(socket, &QWebSocket::sslErrors, this, [](const QList<QSslError>& errors) {
        qWarning("ConnectionJob: SSL errors");
        for (const QSslError& error : errors)
            qWarning("%s [%i]", qUtf8Printable(error.errorString()), static_cast<int>(error.error()));
    });
    socket->open(CandidateAddress::webSocketUrl(target, d->useSsl, d->path));
    setLowDelay(socket);
    new AnswerBounds(socket);
    boundUnread(socket);
}

void ConnectionJob::onWebSocketDataReceived(const QByteArray& data)
{
    auto* socket = qobject_cast<QWebSocket*>(sender());
    if (d->over || !socket)
        return;
    // Only the first message is the job's, and it is told when the socket has left its own code.
    disconnect(socket, &QWebSocket::binaryMessageReceived, this, &ConnectionJob::onWebSocketDataReceived);
    MessageBacklog::begin(socket, ConnectionLimits::strangersBacklog);
    const auto tell = [this, data, guard = QPointer<QWebSocket>(socket)] {
        if (d->over || !guard)
            return;
        HandOver<QWebSocket> offer(guard);
        Q_EMIT webSocketInitialDataReceived(guard, data, discoverAddressOf(guard));
        offer.announce();
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

void ConnectionJob::onIpAddressReceived()
{
    auto* reply = qobject_cast<QNetworkReply*>(sender());
    if (!reply)
        return;
    reply->disconnect(this);
    reply->deleteLater();
    if (d->over)
        return;
    abortLookUp();
    if (hasCandidates())
        d->candidates.removeFirst();
    if (reply->error() != QNetworkReply::NoError) {
        qWarning("ConnectionJob: Error for %s: %s", shown(reply->url().toString()).constData(),
                 shown(reply->errorString()).constData());
    } else {
        const QString body = utf8UpToZero(reply->readAll());
        qInfo("ConnectionJob: Received IP address: %s", shown(body).constData());
        QStringList addresses = body.trimmed().split(QLatin1Char(','), Qt::SkipEmptyParts);
        for (QString& address : addresses)
            address = address.trimmed();
        d->candidates.prepend(addresses);
    }
    resume();
}

void ConnectionJob::startStepTimer()
{
    d->stepTimer = startTimer(ConnectionTiming::current().step, Qt::CoarseTimer);
}

void ConnectionJob::stopStepTimer()
{
    if (d->stepTimer != 0)
        killTimer(d->stepTimer);
    d->stepTimer = 0;
}
