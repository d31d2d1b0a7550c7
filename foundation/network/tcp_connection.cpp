#include <foundation/network/tcp_connection.h>

#include <foundation/network/pending_data_p.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/socket_owner_p.h>
#include <foundation/network/tcp_keepalive_p.h>

#include <QtCore/QTimer>
#include <QtNetwork/QHostAddress>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpSocket>

namespace {

// How much longer a TLS handshake may take when open is called in the middle of it.
constexpr int handshakeGraceMilliseconds = 3000;
// Smaller messages are copied into the socket's buffer, where they leave many at a time; larger ones are shared with
// it.
constexpr int sharedFromBytes = 4096;

} // namespace

struct CTcpConnection::Private
{
    PendingData pendingData;
    QPointer<QTcpSocket> socket;
    QString host;
    quint16 port = 0;
    bool connectionState = false;
    int keepaliveSeconds = 0;
    QTimer* handshakeGrace = nullptr;
    SocketSignals signalsNow;
    SocketSignals writtenNow; // of those signals, the ones that report written bytes
};

CTcpConnection::CTcpConnection(QObject* parent)
    : CMessageTransfer(parent)
    , d(std::make_unique<Private>())
{
    setSocket(new QTcpSocket(this));
}

CTcpConnection::CTcpConnection(QTcpSocket* socket, QObject* parent)
    : CMessageTransfer(parent)
    , d(std::make_unique<Private>())
{
    setSocket(socket);
}

CTcpConnection::~CTcpConnection()
{
    releaseSocket(d->socket, this, d->signalsNow.areHandled());
}

QTcpSocket* CTcpConnection::socket() const
{
    return d->socket;
}

void CTcpConnection::setSocket(QTcpSocket* socket)
{
    d->socket = socket;
    initCTcp();
}

void CTcpConnection::initCTcp()
{
    QTcpSocket* const socket = d->socket;
    if (!socket)
        return;
    setLowDelay(socket);
    connect(socket, &QTcpSocket::connected, this, &CTcpConnection::updateConnectionState);
    connect(socket, &QTcpSocket::disconnected, this, &CTcpConnection::updateConnectionState);
    connect(socket, &QTcpSocket::errorOccurred, this, &CTcpConnection::onError);
    connect(socket, &QTcpSocket::readyRead, this, &CTcpConnection::receiveData);
    connect(socket, &QTcpSocket::bytesWritten, this, &CTcpConnection::onBytesWritten);
}

void CTcpConnection::setHost(const QString& host, quint16 port)
{
    d->host = host;
    d->port = port;
}

void CTcpConnection::getHost(QString& host, quint16& port) const
{
    host = d->host;
    port = d->port;
}

void CTcpConnection::open()
{
    if (!d->socket || d->host.isEmpty())
        return;
    switch (d->socket->state()) {
    case QAbstractSocket::HostLookupState:
    case QAbstractSocket::ConnectingState:
    case QAbstractSocket::ConnectedState:
    case QAbstractSocket::ClosingState:
        break;
    default:
        // A grace that was given to an earlier handshake must not end this one.
        if (d->handshakeGrace)
            d->handshakeGrace->stop();
        connectToHost(d->socket, d->host, d->port);
        return;
    }
    if (isConnectionUsable()) {
        updateConnectionState();
        return;
    }
    if (qobject_cast<QSslSocket*>(d->socket) && d->socket->state() == QAbstractSocket::ConnectedState) {
        if (!d->handshakeGrace) {
            d->handshakeGrace = new QTimer(this);
            d->handshakeGrace->setSingleShot(true);
            d->handshakeGrace->setTimerType(Qt::PreciseTimer);
            d->handshakeGrace->setInterval(handshakeGraceMilliseconds);
            connect(d->handshakeGrace, &QTimer::timeout, this, &CTcpConnection::delayedAbort);
        }
        if (!d->handshakeGrace->isActive())
            d->handshakeGrace->start();
        return;
    }
    abortUnfinished();
}

void CTcpConnection::delayedAbort()
{
    const auto* socket = qobject_cast<QSslSocket*>(d->socket);
    if (socket && socket->state() == QAbstractSocket::ConnectedState && !socket->isEncrypted())
        abortUnfinished();
}

void CTcpConnection::abortUnfinished()
{
    const QPointer<CTcpConnection> alive(this);
    d->socket->abort();
    if (alive)
        Q_EMIT error(QAbstractSocket::UnfinishedSocketOperationError);
}

void CTcpConnection::close()
{
    QTcpSocket* const socket = d->socket;
    if (!socket)
        return;
    // A TLS socket that is closed while it reports what it has encrypted goes on with a session that is gone.
    if (d->writtenNow.areHandled() && qobject_cast<QSslSocket*>(socket))
        QMetaObject::invokeMethod(
            socket, [socket] { socket->close(); }, Qt::QueuedConnection);
    else
        socket->close();
}

qint64 CTcpConnection::sendData(const QByteArray& data)
{
    if (!d->socket || !trace(data, "TX ") || !d->socket)
        return -1;
    d->pendingData.append(data);
    const qint64 taken =
        data.size() < sharedFromBytes ? d->socket->write(data.constData(), data.size()) : d->socket->write(data);
    if (taken < 0)
        d->pendingData.boundRefused();
    return taken;
}

bool CTcpConnection::getConnectionState() const
{
    return d->connectionState;
}

int CTcpConnection::getError() const
{
    return d->socket ? d->socket->error() : -1;
}

QString CTcpConnection::getErrorString() const
{
    return d->socket ? d->socket->errorString() : QStringLiteral("No socket");
}

bool CTcpConnection::hasReconnectAdvice() const
{
    return d->socket && d->socket->error() == QAbstractSocket::RemoteHostClosedError;
}

void CTcpConnection::setKeepalive(int seconds)
{
    if (seconds == d->keepaliveSeconds)
        return;
    d->keepaliveSeconds = seconds;
    if (d->connectionState)
        configureTcpKeepAlive();
}

void CTcpConnection::configureTcpKeepAlive() const
{
    const qintptr descriptor = d->socket ? d->socket->socketDescriptor() : -1;
    if (descriptor == -1)
        return;
    if (setTcpKeepalive(descriptor, d->keepaliveSeconds) && d->keepaliveSeconds > 0) {
        qInfo("TCP keepalive after %is for %s:%u", d->keepaliveSeconds, qPrintable(d->socket->peerAddress().toString()),
              d->socket->peerPort());
    }
}

void CTcpConnection::setConnectionState(bool state)
{
    if (state == d->connectionState)
        return;
    const SocketSignals::Scope inside(d->signalsNow);
    d->pendingData.clear();
    d->connectionState = state;
    if (state)
        configureTcpKeepAlive();
    Q_EMIT connectionStateChanged(state);
}

void CTcpConnection::updateConnectionState()
{
    setConnectionState(isConnectionUsable());
}

bool CTcpConnection::isConnectionUsable() const
{
    return d->socket && d->socket->state() == QAbstractSocket::ConnectedState;
}

void CTcpConnection::connectToHost(QTcpSocket* socket, const QString& host, quint16 port)
{
    socket->connectToHost(host, port, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

void CTcpConnection::onError(QAbstractSocket::SocketError socketError)
{
    const SocketSignals::Scope inside(d->signalsNow);
    d->pendingData.clear();
    Q_EMIT error(socketError);
}

void CTcpConnection::onBytesWritten(qint64 bytes)
{
    const SocketSignals::Scope inside(d->signalsNow);
    const SocketSignals::Scope insideWritten(d->writtenNow);
    reportTransmitted(d->pendingData, bytes);
}

void CTcpConnection::receiveData()
{
    const SocketSignals::Scope inside(d->signalsNow);
    const QByteArray data = d->socket ? d->socket->readAll() : QByteArray();
    if (!data.isEmpty() && trace(data, "RX "))
        Q_EMIT dataReceived(data);
}
