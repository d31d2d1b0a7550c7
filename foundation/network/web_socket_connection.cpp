#include <foundation/network/web_socket_connection.h>

#include <foundation/network/pending_data_p.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/socket_owner_p.h>

#include <QtCore/QTimer>
#include <QtWebSockets/QWebSocket>

#include <limits>

namespace {

constexpr int pongTimeoutMilliseconds = 30000;
constexpr int longestKeepaliveSeconds = std::numeric_limits<int>::max() / 1000;

} // namespace

struct CWebSocketConnection::Private
{
    PendingData pendingData;
    QPointer<QWebSocket> webSocket;
    bool connectionState = false;
    QTimer* keepaliveTimer = nullptr;
    SocketSignals signalsNow;
    SocketSignals writtenNow; // of those signals, the ones that report written bytes
};

CWebSocketConnection::CWebSocketConnection(QWebSocket* webSocket, QObject* parent)
    : CMessageTransfer(parent)
    , d(std::make_unique<Private>())
{
    d->webSocket = webSocket;
    init();
}

CWebSocketConnection* CWebSocketConnection::takeOver(QWebSocket* webSocket, int keepaliveSeconds, QObject* parent)
{
    auto* connection = new CWebSocketConnection(webSocket, parent);
    if (webSocket)
        webSocket->setParent(connection);
    connection->setKeepalive(keepaliveSeconds);
    connection->updateConnectionState();
    return connection;
}

CWebSocketConnection::~CWebSocketConnection()
{
    releaseSocket(d->webSocket, this, d->signalsNow.areHandled());
}

QWebSocket* CWebSocketConnection::webSocket() const
{
    return d->webSocket;
}

void CWebSocketConnection::init()
{
    QWebSocket* const webSocket = d->webSocket;
    if (!webSocket)
        return;
    setLowDelay(webSocket);
    connect(webSocket, &QWebSocket::connected, this, &CWebSocketConnection::updateConnectionState);
    connect(webSocket, &QWebSocket::disconnected, this, &CWebSocketConnection::updateConnectionState);
    connect(webSocket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error), this,
            &CWebSocketConnection::onError);
    connect(webSocket, &QWebSocket::binaryMessageReceived, this, [this](const QByteArray& data) {
        const SocketSignals::Scope inside(d->signalsNow);
        if (trace(data, "RX "))
            Q_EMIT dataReceived(data);
    });
    connect(webSocket, &QWebSocket::bytesWritten, this, &CWebSocketConnection::onBytesWritten);
}

void CWebSocketConnection::close()
{
    QWebSocket* const webSocket = d->webSocket;
    if (!webSocket)
        return;
    const auto close = [webSocket] { webSocket->close(QWebSocketProtocol::CloseCodeNormal, QString()); };
    // A TLS socket that is closed while it reports what it has encrypted goes on with a session that is gone.
    if (d->writtenNow.areHandled())
        QMetaObject::invokeMethod(webSocket, close, Qt::QueuedConnection);
    else
        close();
}

qint64 CWebSocketConnection::sendData(const QByteArray& data)
{
    if (!d->webSocket || !trace(data, "TX ") || !d->webSocket)
        return -1;
    d->pendingData.append(data);
    if (isConnectionUsable())
        return d->webSocket->sendBinaryMessage(data);
    d->pendingData.boundRefused();
    return -1;
}

bool CWebSocketConnection::getConnectionState() const
{
    return d->connectionState;
}

int CWebSocketConnection::getError() const
{
    return d->webSocket ? d->webSocket->error() : -1;
}

QString CWebSocketConnection::getErrorString() const
{
    return d->webSocket ? d->webSocket->errorString() : QStringLiteral("No webSocket");
}

void CWebSocketConnection::setKeepalive(int seconds)
{
    if (seconds >= 1) {
        if (!d->keepaliveTimer) {
            d->keepaliveTimer = new QTimer(this);
            d->keepaliveTimer->setTimerType(Qt::PreciseTimer);
            connect(d->keepaliveTimer, &QTimer::timeout, this, &CWebSocketConnection::sendPing);
        }
        d->keepaliveTimer->stop();
        d->keepaliveTimer->setInterval(qMin(seconds, longestKeepaliveSeconds) * 1000);
        if (isConnectionUsable())
            d->keepaliveTimer->start();
    } else if (d->keepaliveTimer) {
        d->keepaliveTimer->stop();
        d->keepaliveTimer->disconnect();
        d->keepaliveTimer->deleteLater();
        d->keepaliveTimer = nullptr;
    }
}

void CWebSocketConnection::setConnectionState(bool state)
{
    if (state == d->connectionState)
        return;
    const SocketSignals::Scope inside(d->signalsNow);
    d->pendingData.clear();
    d->connectionState = state;
    if (d->keepaliveTimer) {
        if (state)
            d->keepaliveTimer->start();
        else
            d->keepaliveTimer->stop();
    }
    Q_EMIT connectionStateChanged(state);
}

void CWebSocketConnection::updateConnectionState()
{
    setConnectionState(isConnectionUsable());
}

bool CWebSocketConnection::isConnectionUsable() const
{
    return d->webSocket && d->webSocket->state() == QAbstractSocket::ConnectedState;
}

void CWebSocketConnection::sendPing()
{
    if (!isConnectionUsable())
        return;
    QWebSocket* const webSocket = d->webSocket;
    auto* watchdog = new QTimer(this);
    watchdog->setSingleShot(true);
    watchdog->setTimerType(Qt::PreciseTimer);
    // Whoever goes first, the pong, the link or the WebSocket, takes the watchdog along; a WebSocket that was opened
    // again meanwhile must not pay for a ping of its former life.
    const auto retire = [watchdog] { delete watchdog; };
    connect(webSocket, &QWebSocket::pong, watchdog, [webSocket, retire] {
        // A link that is asked for a sign of life is mostly idle.
        QMetaObject::invokeMethod(
            webSocket, [webSocket] { releaseBuffers(webSocket); }, Qt::QueuedConnection);
        retire();
    });
    connect(webSocket, &QWebSocket::disconnected, watchdog, retire);
    connect(webSocket, &QObject::destroyed, watchdog, retire);
    connect(watchdog, &QTimer::timeout, webSocket, [webSocket, watchdog] {
        QObject::disconnect(webSocket, nullptr, watchdog, nullptr);
        watchdog->setParent(nullptr);
        watchdog->deleteLater();
        webSocket->abort();
    });
    watchdog->start(pongTimeoutMilliseconds);
    webSocket->ping();
}

void CWebSocketConnection::onError(QAbstractSocket::SocketError socketError)
{
    const SocketSignals::Scope inside(d->signalsNow);
    d->pendingData.clear();
    Q_EMIT error(socketError);
}

void CWebSocketConnection::onBytesWritten(qint64 bytes)
{
    const SocketSignals::Scope inside(d->signalsNow);
    const SocketSignals::Scope insideWritten(d->writtenNow);
    // Frame headers and control frames are counted in `bytes`, so there may be less data, or none.
    reportTransmitted(d->pendingData, bytes);
}
