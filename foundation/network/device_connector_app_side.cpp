#include <foundation/network/connection_job.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/device_discovery_app_side.h>
#include <foundation/network/device_handshake_p.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/held_sockets_p.h>
#include <foundation/network/socket_options_p.h>

#include <QtCore/QMetaMethod>
#include <QtNetwork/QNetworkInterface>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

namespace {

// 255.255.255.255 leaves by one interface only. The others are reached by their own broadcast addresses.
QList<QHostAddress> broadcastAddresses()
{
    QList<QHostAddress> result;
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& networkInterface : interfaces) {
        const auto flags = networkInterface.flags();
        if (!flags.testFlag(QNetworkInterface::IsRunning) || !flags.testFlag(QNetworkInterface::CanBroadcast)
            || flags.testFlag(QNetworkInterface::IsLoopBack))
            continue;
        const auto entries = networkInterface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries) {
            if (!entry.broadcast().isNull())
                result += entry.broadcast();
        }
    }
    return result.size() > 1 ? result : QList<QHostAddress>();
}

} // namespace

CDeviceConnectorAppSide::CDeviceConnectorAppSide(quint16 udpPort, bool useSsl, bool udpDisabled, QObject* parent)
    : CDeviceConnectorBase(useSsl, nullptr, parent)
    , m_discovery(new CDeviceDiscoveryAppSide(udpPort, this))
    , m_udpDisabled(udpDisabled)
    , m_webSocketServer(new QWebSocketServer(QString(), QWebSocketServer::SecureMode, this))
    , m_admissionTimer(this)
    , m_silentSockets(new HeldSockets(ConnectionLimits::silentConnections, this))
{
    connect(this, &CDeviceConnectorBase::connectToAddressesFinished, this,
            &CDeviceConnectorAppSide::connectToDevicesFinished);
    connect(m_discovery, &CDeviceDiscoveryAppSide::tcpQueryFailed, this,
            &CDeviceConnectorAppSide::onOutgoingConnectionError);
    connect(m_discovery, &CDeviceDiscoveryAppSide::deviceInfoReceived, this,
            &CDeviceConnectorAppSide::onDeviceInfoReceived);
    connect(this, &QTcpServer::newConnection, this, &CDeviceConnectorAppSide::onNewIncomingConnection);
    connect(m_webSocketServer, &QWebSocketServer::newConnection, this,
            &CDeviceConnectorAppSide::onNewIncomingWebSocketConnection);
    connect(m_silentSockets, &HeldSockets::dropping, this, [](QObject* dropped, bool crowded) {
        const auto* socket = static_cast<QTcpSocket*>(dropped);
        qWarning("CDeviceConnectorAppSide: Dropped connection of %s:%u due to %s.",
                 qUtf8Printable(socket->peerAddress().toString()), socket->peerPort(),
                 crowded ? "too many silent connections" : "silence");
    });
    m_admissionTimer.setSingleShot(true);
    connect(&m_admissionTimer, &QTimer::timeout, this, [this] {
        const auto waiting = m_waiting;
        for (DeviceHandshake* handshake : waiting)
            handshake->fail(QStringLiteral("too many pending handshakes"));
    });
}

CDeviceConnectorAppSide::~CDeviceConnectorAppSide()
{
    qDeleteAll(m_handshakes);
}

void CDeviceConnectorAppSide::setUdpDiscoveryPort(quint16 port)
{
    m_discovery->bindOnUdpPort(port);
}

void CDeviceConnectorAppSide::setSystemId(quint32 systemId)
{
    m_discovery->setSystemId(systemId);
    enableTcpListening();
}

void CDeviceConnectorAppSide::connectToDevices(const QVector<QStringList>& addressGroups)
{
    connectToAddresses(addressGroups, 0, true, QString());
}

void CDeviceConnectorAppSide::abortConnectToDevices()
{
    abortConnectToAddresses();
}

// --- Devices that are called -----------------------------------------------------------------------------------------

void CDeviceConnectorAppSide::onSendDataUsingUdp(const QHostAddress& hostAddress, quint16 port, bool& dataSent)
{
    if (m_udpDisabled)
        return;
    m_discovery->sendGetDeviceInfoUdp(hostAddress, port);
    if (hostAddress == QHostAddress(QHostAddress::Broadcast)) {
        const auto addresses = broadcastAddresses();
        for (const QHostAddress& address : addresses)
            m_discovery->sendGetDeviceInfoUdp(address, port);
    }
    dataSent = true;
}

void CDeviceConnectorAppSide::onNewOutgoingConnection(QTcpSocket* socket)
{
    m_discovery->sendGetDeviceInfoTcp(socket);
}

void CDeviceConnectorAppSide::onOutgoingConnectionError(QTcpSocket* socket)
{
    if (socket)
        socket->abort();
}

void CDeviceConnectorAppSide::onDeviceInfoReceived(const QHostAddress& hostAddress, quint16 port,
                                                   const CDeviceId& deviceId, const CSystemId& systemId, int deviceType)
{
    const QPointer<QTcpSocket> socket = m_discovery->answeringSocket();
    const bool byTcp = socket;
    const auto report = [=] {
        const auto* job = qobject_cast<ConnectionJob*>(socket ? socket->parent() : nullptr);
        if (byTcp && (!socket || (job && job->isOver())))
            return; // the run was aborted meanwhile
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): what is captured as `this` is never null
        reportDevice(hostAddress, port, deviceId, systemId, deviceType, socket);
    };
    QMetaObject::invokeMethod(this, report, Qt::QueuedConnection);
}

void CDeviceConnectorAppSide::reportDevice(const QHostAddress& address, quint16 port, const CDeviceId& deviceId,
                                           const CSystemId& systemId, int deviceType, QTcpSocket* socket)
{
    const QPointer<CDeviceConnectorAppSide> alive(this);
    if (!socket) {
        Q_EMIT deviceInfoReceived(address, port, deviceId, systemId, deviceType, nullptr);
        if (alive)
            connectionJobCompleted(address, deviceId, QString());
        return;
    }
    const QPointer<ConnectionJob> job = qobject_cast<ConnectionJob*>(socket->parent());
    const bool outgoing = job;
    if (outgoing) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
    if (!isSignalConnected(QMetaMethod::fromSignal(&CDeviceConnectorAppSide::deviceInfoReceived)))
        socket->abort();
    HandOver<QTcpSocket> offer(socket);
    Q_EMIT deviceInfoReceived(address, port, deviceId, systemId, deviceType, socket);
    const bool isWanted = alive && job && job->isAnsweredBy(address, deviceId, QString());
    if (offer.isTaken()) {
        offer.release();
        if (alive && job && !isWanted && job->currentCandidate() == socket->property("discoverAddress").toString())
            job->resume(); // nothing comes of this attempt any more
    } else if (offer.isLeft() && isWanted) {
        disconnect(socket, nullptr, job, nullptr); // the receiver may go on with it where it is
        socket->setParent(this);
    } else if (offer.isLeft() && job) {
        socket->abort(); // the job goes on
    }
    if (alive && outgoing)
        connectionJobCompleted(address, deviceId, QString());
    offer.announce();
}

// --- Devices that call by TCP ----------------------------------------------------------------------------------------

void CDeviceConnectorAppSide::incomingConnection(qintptr descriptor)
{
    addIncomingConnection(descriptor);
}

void CDeviceConnectorAppSide::onNewIncomingConnection()
{
    while (QTcpSocket* socket = nextPendingConnection()) {
        socket->setReadBufferSize(ConnectionLimits::readBuffer);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, &CDeviceConnectorAppSide::onIncomingConnectionDataReceived);
        m_silentSockets->add(socket, ConnectionTiming::current().silence);
    }
}

void CDeviceConnectorAppSide::onIncomingConnectionDataReceived()
{
    auto* socket = qobject_cast<QTcpSocket*>(sender());
    if (!socket)
        return;
    disconnect(socket, &QTcpSocket::readyRead, this, &CDeviceConnectorAppSide::onIncomingConnectionDataReceived);
    m_silentSockets->release(socket);
    const QHostAddress address = CDeviceDiscoveryBase::plainAddress(socket->peerAddress());
    const quint16 port = socket->peerPort();
    CDeviceId deviceId;
    CSystemId systemId;
    int deviceType = 0;
    if (!m_discovery->parseDeviceInfoResult(socket, deviceId, systemId, deviceType)) {
        qWarning("CDeviceConnectorAppSide: Dropped connection of %s:%u due to data that is no device info.",
                 qUtf8Printable(address.toString()), port);
        socket->abort();
        return;
    }
    const auto report = [=, guard = QPointer<QTcpSocket>(socket)] {
        if (guard)
            reportDevice(address, port, deviceId, systemId, deviceType, guard);
    };
    QMetaObject::invokeMethod(this, report, Qt::QueuedConnection);
}

// --- Devices that call by WebSocket ----------------------------------------------------------------------------------

void CDeviceConnectorAppSide::handleWebSocketRequest(QSslSocket* socket, const QString& text)
{
    if (!socket)
        return;
    if (DeviceHandshake* earlier = m_handshakes.value({socket->peerAddress(), socket->peerPort()})) {
        if (earlier->socket() == socket)
            return; // the caller heard of more data and asks once more
        earlier->fail(QStringLiteral("another request from its address and port"));
    }
    const CSystemId ownSystem(m_discovery->systemId());
    auto* handshake = new DeviceHandshake(socket, text, ownSystem, useSsl(), m_webSocketServer, this);
    m_handshakes.insert(handshake->key(), handshake);
    connect(handshake, &DeviceHandshake::ready, this, [this, handshake] { admit(handshake); });
    connect(handshake, &DeviceHandshake::failed, this, [this, handshake](const QString& reason) {
        const auto report = [this, device = handshake->request().device.id, origin = handshake->text(), reason] {
            Q_EMIT webSocketConnectionRefused(device, origin, reason);
        };
        QMetaObject::invokeMethod(this, report, Qt::QueuedConnection); // a receiver may delete the connector
        forget(handshake);
    });
    connect(handshake, &DeviceHandshake::proved, this, [this, handshake] { establish(handshake); });
    if (m_handshakes.size() - m_waiting.size() > ConnectionLimits::pendingHandshakes) {
        if (m_waiting.size() >= ConnectionLimits::waitingRequests) {
            handshake->fail(QStringLiteral("too many pending handshakes"));
            return;
        }
        m_waiting.append(handshake);
        if (!m_admissionTimer.isActive())
            m_admissionTimer.start(ConnectionTiming::current().admission);
    }
    handshake->start();
}

// A handshake goes on when it has a place, that is, does not wait for one, and its request is in order. A burst of
// devices that return together passes through the places a few at a time; when none becomes free for a while, because
// those who have them are silent, the ones that wait are turned away.
void CDeviceConnectorAppSide::admit(DeviceHandshake* handshake)
{
    if (handshake->stage() == DeviceHandshake::Stage::Ready && !m_waiting.contains(handshake))
        handshake->upgrade();
}

void CDeviceConnectorAppSide::admitWaiting()
{
    m_admissionTimer.stop();
    while (!m_waiting.isEmpty() && m_handshakes.size() - m_waiting.size() < ConnectionLimits::pendingHandshakes)
        admit(m_waiting.takeFirst());
    if (!m_waiting.isEmpty())
        m_admissionTimer.start(ConnectionTiming::current().admission);
}

void CDeviceConnectorAppSide::forget(DeviceHandshake* handshake)
{
    if (m_handshakes.value(handshake->key()) == handshake)
        m_handshakes.remove(handshake->key());
    const bool hadPlace = !m_waiting.removeOne(handshake);
    handshake->deleteLater();
    if (hadPlace)
        admitWaiting();
    else if (m_waiting.isEmpty())
        m_admissionTimer.stop();
}

void CDeviceConnectorAppSide::onNewIncomingWebSocketConnection()
{
    while (QWebSocket* webSocket = m_webSocketServer->nextPendingConnection()) {
        DeviceHandshake* handshake = m_handshakes.value({webSocket->peerAddress(), webSocket->peerPort()});
        if (handshake && handshake->stage() == DeviceHandshake::Stage::Upgrading)
            handshake->challenge(webSocket);
        else
            DeviceHandshake::drop(webSocket, QStringLiteral("missing request"));
    }
}

void CDeviceConnectorAppSide::establish(DeviceHandshake* handshake)
{
    QWebSocket* const webSocket = handshake->webSocket();
    const DeviceIdentity device = handshake->request().device;
    const QString text = handshake->text();
    forget(handshake);
    HandOver<QWebSocket> offer(webSocket);
    webSocket->sendBinaryMessage(HandshakeMessages::acceptance());
    Q_EMIT webSocketConnectionEstablished(device.id, device.type, device.system, webSocket, text);
    // The receiver may have deleted either of them; nothing below touches the connector.
    if (offer.isTaken())
        offer.conclude();
    else if (offer.isLeft())
        DeviceHandshake::drop(webSocket, QStringLiteral("unhandled websocket"));
}
