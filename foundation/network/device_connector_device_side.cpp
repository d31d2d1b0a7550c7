#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_connector_device_side.h>
#include <foundation/network/device_discovery_device_side.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/handshake_messages_p.h>
#include <foundation/network/held_sockets_p.h>
#include <foundation/network/socket_options_p.h>

#include <kyr_crypto/crypto_service.h>

#include <QtCore/QPointer>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>

#include <functional>

namespace {

constexpr char discoveryPrefix[] = "DISCOVERY";
constexpr int discoveryPrefixLength = sizeof discoveryPrefix - 1;

// Waits for the application's acceptance on a WebSocket; what follows it belongs to the new owner.
class Acceptance : public QObject
{
public:
    Acceptance(QWebSocket* socket, std::function<void()> conclude)
        : QObject(socket)
        , m_socket(socket)
        , m_conclude(std::move(conclude))
    {
        connect(socket, &QWebSocket::binaryMessageReceived, this, &Acceptance::accept);
    }

private:
    void accept()
    {
        disconnect(m_socket, nullptr, this, nullptr);
        MessageBacklog::begin(m_socket, ConnectionLimits::trustedBacklog);
        liftLimits(m_socket); // what stands behind the acceptance in the same packet may be large
        QMetaObject::invokeMethod(this, &Acceptance::handOver, Qt::QueuedConnection);
    }

    void handOver()
    {
        const QPointer<Acceptance> alive(this); // dies with the socket
        m_conclude();
        if (alive)
            deleteLater();
    }

    QWebSocket* m_socket;
    std::function<void()> m_conclude;
};

} // namespace

struct CDeviceConnectorDeviceSide::Private
{
    CDeviceDiscoveryDeviceSide* discovery;
    HeldSockets* startingSockets; // accepted, TLS not up yet
    HeldSockets* refusedSockets;
};

CDeviceConnectorDeviceSide::CDeviceConnectorDeviceSide(quint16 udpPort, bool useSsl,
                                                       QNetworkAccessManager* networkAccessManager, QObject* parent)
    : CDeviceConnectorBase(useSsl, networkAccessManager, parent)
    , d(new Private{new CDeviceDiscoveryDeviceSide(udpPort, this),
                    new HeldSockets(ConnectionLimits::startingConnections, this),
                    new HeldSockets(ConnectionLimits::refusedConnections, this)})
{
    connect(this, &QTcpServer::newConnection, this, &CDeviceConnectorDeviceSide::onNewIncomingConnection);
    connect(d->startingSockets, &HeldSockets::dropping, this, [](QObject* dropped, bool crowded) {
        const auto* socket = static_cast<QTcpSocket*>(dropped);
        qWarning("CDeviceConnectorDeviceSide: Dropped connection of %s:%u due to %s.",
                 qUtf8Printable(socket->peerAddress().toString()), socket->peerPort(),
                 crowded ? "too many connections without TLS" : "TLS handshake timeout");
    });
    enableTcpListening();
}

CDeviceConnectorDeviceSide::~CDeviceConnectorDeviceSide() = default;

void CDeviceConnectorDeviceSide::setDeviceId(quint32 deviceId)
{
    d->discovery->setDeviceId(deviceId);
}

void CDeviceConnectorDeviceSide::setDeviceType(int deviceType)
{
    d->discovery->setDeviceType(deviceType);
}

void CDeviceConnectorDeviceSide::setSystemId(quint32 systemId)
{
    d->discovery->setSystemId(systemId);
}

void CDeviceConnectorDeviceSide::setUdpDiscoveryPort(quint16 port)
{
    d->discovery->bindOnUdpPort(port);
}

void CDeviceConnectorDeviceSide::connectToApplication(const QStringList& addresses)
{
    abortConnectToAddresses();
    const QString path = DeviceRequest::pathOf(
        {CDeviceId(d->discovery->deviceId()), CSystemId(d->discovery->systemId()), d->discovery->deviceType()});
    connectToAddresses({addresses}, 0, true, path);
}

void CDeviceConnectorDeviceSide::startTls(QSslSocket* socket)
{
    connect(socket, QOverload<const QList<QSslError>&>::of(&QSslSocket::sslErrors), this,
            &CDeviceConnectorDeviceSide::printSslErrors);
    socket->flush();
    socket->startServerEncryption();
}

void CDeviceConnectorDeviceSide::printSslErrors(const QList<QSslError>& errors)
{
    qWarning("CDeviceConnectorDeviceSide: SSL errors");
    for (const QSslError& error : errors)
        qWarning("%s", qUtf8Printable(error.errorString()));
}

void CDeviceConnectorDeviceSide::handOver(QTcpSocket* socket, bool outgoing)
{
    const QPointer<CDeviceConnectorDeviceSide> alive(this);
    const QHostAddress peer = socket->peerAddress();
    HandOver<QTcpSocket> offer(socket);
    Q_EMIT newTcpConnectionToApplication(socket, outgoing);
    if (offer.isLeft())
        socket->abort();
    if (!offer.isTaken())
        return;
    offer.release();
    if (alive && outgoing)
        connectionJobCompleted(peer, CDeviceId(), QString());
    offer.announce();
}

// --- Applications that are called ------------------------------------------------------------------------------------

void CDeviceConnectorDeviceSide::onNewOutgoingConnection(QTcpSocket* socket)
{
    d->discovery->sendDeviceInfoResult(socket);
    if (auto* sslSocket = qobject_cast<QSslSocket*>(socket)) {
        connect(sslSocket, &QSslSocket::encrypted, this, &CDeviceConnectorDeviceSide::onOutgoingConnectionEncrypted,
                Qt::QueuedConnection);
        startTls(sslSocket);
    } else {
        concludeOutgoingConnection(socket);
    }
}

void CDeviceConnectorDeviceSide::onOutgoingConnectionEncrypted()
{
    auto* socket = qobject_cast<QSslSocket*>(sender());
    if (socket && socket->state() == QAbstractSocket::ConnectedState)
        concludeOutgoingConnection(socket);
}

void CDeviceConnectorDeviceSide::concludeOutgoingConnection(QTcpSocket* socket)
{
    if (socket)
        handOver(socket, true);
}

QByteArray CDeviceConnectorDeviceSide::answerTo(const QByteArray& initialRequest, const QHostAddress& server) const
{
    ChallengeRequest request;
    if (!ChallengeRequest::parse(initialRequest, request))
        return QByteArray();
    ChallengeAnswer answer{Challenge::textFor(request, CDeviceId(d->discovery->deviceId()), server), {}, {}};
    const QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    const QSslCertificate certificate = configuration.localCertificate();
    const QSslKey key = configuration.privateKey();
    if (!certificate.isNull() && !key.isNull()) {
        answer.certificatePem = certificate.toPem();
        answer.signature = CCryptoService::getRsaSign(answer.challenge, key.toDer());
    }
    return answer.toBytes();
}

void CDeviceConnectorDeviceSide::onNewOutgoingWebSocketConnection(QWebSocket* socket, const QByteArray& initialRequest,
                                                                  const QString& discoverAddress)
{
    if (!socket)
        return;
    const QByteArray answer = answerTo(initialRequest, socket->peerAddress());
    if (answer.isEmpty())
        return; // not an application's request; its own time-out ends the connection, or the job's does
    disconnect(socket, &QWebSocket::binaryMessageReceived, nullptr, nullptr);
    new Acceptance(socket, [this, guard = QPointer<CDeviceConnectorDeviceSide>(this), socket, discoverAddress] {
        if (guard)
            concludeOutgoingWebSocketConnection(socket, discoverAddress);
    });
    socket->sendBinaryMessage(answer);
}

void CDeviceConnectorDeviceSide::concludeOutgoingWebSocketConnection(QWebSocket* socket, const QString& discoverAddress)
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return; // the job goes on by itself
    const QPointer<CDeviceConnectorDeviceSide> alive(this);
    const QHostAddress peer = socket->peerAddress();
    HandOver<QWebSocket> offer(socket);
    Q_EMIT newWebSocketConnectionToApplication(socket, discoverAddress);
    if (offer.isLeft())
        socket->abort();
    if (!offer.isTaken())
        return;
    offer.release();
    if (alive)
        connectionJobCompleted(peer, CDeviceId(), discoverAddress);
    offer.announce();
}

// --- Applications that call ------------------------------------------------------------------------------------------

void CDeviceConnectorDeviceSide::incomingConnection(qintptr descriptor)
{
    bool accepted = false;
    Q_EMIT isIncomingConnectionAccepted(accepted);
    if (accepted) {
        addIncomingConnection(descriptor);
        return;
    }
    // Neither answered nor closed for a while, so that whoever knocks at random has no reason to knock again at once.
    qInfo("Refuse connection");
    auto* socket = new QTcpSocket(this);
    socket->setReadBufferSize(1);
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    if (socket->setSocketDescriptor(descriptor))
        d->refusedSockets->add(socket, ConnectionTiming::current().refused);
    else
        delete socket;
}

void CDeviceConnectorDeviceSide::onNewIncomingConnection()
{
    const QPointer<CDeviceConnectorDeviceSide> alive(this);
    while (QTcpSocket* socket = alive ? nextPendingConnection() : nullptr) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        if (auto* sslSocket = qobject_cast<QSslSocket*>(socket)) {
            connect(socket, &QTcpSocket::readyRead, this,
                    &CDeviceConnectorDeviceSide::onIncomingConnectionDataReceived);
            d->startingSockets->add(sslSocket, ConnectionTiming::current().tls);
        } else {
            handOver(socket, false);
        }
    }
}

void CDeviceConnectorDeviceSide::onIncomingConnectionDataReceived()
{
    auto* socket = qobject_cast<QSslSocket*>(sender());
    if (!socket)
        return;
    disconnect(socket, &QTcpSocket::readyRead, this, &CDeviceConnectorDeviceSide::onIncomingConnectionDataReceived);
    if (socket->peek(discoveryPrefixLength) == discoveryPrefix)
        d->discovery->checkMessageAndSendDeviceInforResult(socket);
    connect(socket, &QSslSocket::encrypted, this, &CDeviceConnectorDeviceSide::onIncomingConnectionEncrypted,
            Qt::QueuedConnection);
    startTls(socket);
}

void CDeviceConnectorDeviceSide::onIncomingConnectionEncrypted()
{
    auto* socket = qobject_cast<QSslSocket*>(sender());
    if (!socket || socket->state() != QAbstractSocket::ConnectedState)
        return;
    d->startingSockets->release(socket);
    handOver(socket, false);
}
