#include <foundation/network/connection_job.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/device_discovery_app_side.h>
#include <foundation/network/device_reception_p.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/held_sockets_p.h>
#include <foundation/network/socket_options_p.h>

#include <QtCore/QMetaMethod>
#include <QtNetwork/QNetworkInterface>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>

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

struct CDeviceConnectorAppSide::Private
{
    CDeviceDiscoveryAppSide* discovery;
    bool udpDisabled;
    DeviceReception* reception;
    HeldSockets* silentSockets; // accepted, have not said who they are
};

CDeviceConnectorAppSide::CDeviceConnectorAppSide(quint16 udpPort, bool useSsl, bool udpDisabled, QObject* parent)
    : CDeviceConnectorBase(useSsl, nullptr, parent)
    , d(new Private{new CDeviceDiscoveryAppSide(udpPort, this), udpDisabled, new DeviceReception(useSsl, this),
                    new HeldSockets(ConnectionLimits::silentConnections, this)})
{
    connect(this, &CDeviceConnectorBase::connectToAddressesFinished, this,
            &CDeviceConnectorAppSide::connectToDevicesFinished);
    connect(d->discovery, &CDeviceDiscoveryAppSide::tcpQueryFailed, this,
            &CDeviceConnectorAppSide::onOutgoingConnectionError);
    connect(d->discovery, &CDeviceDiscoveryAppSide::deviceInfoReceived, this,
            &CDeviceConnectorAppSide::onDeviceInfoReceived);
    connect(this, &QTcpServer::newConnection, this, &CDeviceConnectorAppSide::onNewIncomingConnection);
    connect(d->reception, &DeviceReception::admitted, this,
            [this](const DeviceIdentity& device, QWebSocket* webSocket, const QString& text) {
                Q_EMIT webSocketConnectionEstablished(device.id, device.type, device.system, webSocket, text);
            });
    connect(d->reception, &DeviceReception::refused, this, &CDeviceConnectorAppSide::webSocketConnectionRefused);
    connect(d->silentSockets, &HeldSockets::dropping, this, [](QObject* dropped, bool crowded) {
        const auto* socket = static_cast<QTcpSocket*>(dropped);
        qWarning("CDeviceConnectorAppSide: Dropped connection of %s:%u due to %s.",
                 qUtf8Printable(socket->peerAddress().toString()), socket->peerPort(),
                 crowded ? "too many silent connections" : "silence");
    });
}

CDeviceConnectorAppSide::~CDeviceConnectorAppSide() = default;

void CDeviceConnectorAppSide::setUdpDiscoveryPort(quint16 port)
{
    d->discovery->bindOnUdpPort(port);
}

void CDeviceConnectorAppSide::setSystemId(quint32 systemId)
{
    d->discovery->setSystemId(systemId);
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
    if (d->udpDisabled)
        return;
    d->discovery->sendGetDeviceInfoUdp(hostAddress, port);
    if (hostAddress == QHostAddress(QHostAddress::Broadcast)) {
        const auto addresses = broadcastAddresses();
        for (const QHostAddress& address : addresses)
            d->discovery->sendGetDeviceInfoUdp(address, port);
    }
    dataSent = true;
}

void CDeviceConnectorAppSide::onNewOutgoingConnection(QTcpSocket* socket)
{
    d->discovery->sendGetDeviceInfoTcp(socket);
}

void CDeviceConnectorAppSide::onOutgoingConnectionError(QTcpSocket* socket)
{
    if (socket)
        socket->abort();
}

void CDeviceConnectorAppSide::onDeviceInfoReceived(const QHostAddress& hostAddress, quint16 port,
                                                   const CDeviceId& deviceId, const CSystemId& systemId, int deviceType)
{
    const QPointer<QTcpSocket> socket = d->discovery->answeringSocket();
    const bool byTcp = socket;
    const int run = aborts();
    const auto report = [=] {
        // cppcheck-suppress incorrectLogicOperator ; the socket may have gone meanwhile
        if (run != aborts() || (byTcp && !socket))
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
        d->silentSockets->add(socket, ConnectionTiming::current().silence);
    }
}

void CDeviceConnectorAppSide::onIncomingConnectionDataReceived()
{
    auto* socket = qobject_cast<QTcpSocket*>(sender());
    if (!socket)
        return;
    disconnect(socket, &QTcpSocket::readyRead, this, &CDeviceConnectorAppSide::onIncomingConnectionDataReceived);
    d->silentSockets->release(socket);
    const QHostAddress address = CDeviceDiscoveryBase::plainAddress(socket->peerAddress());
    const quint16 port = socket->peerPort();
    CDeviceId deviceId;
    CSystemId systemId;
    int deviceType = 0;
    if (!d->discovery->parseDeviceInfoResult(socket, deviceId, systemId, deviceType)) {
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
    d->reception->receive(socket, text, CSystemId(d->discovery->systemId()));
}

void CDeviceConnectorAppSide::onNewIncomingWebSocketConnection()
{
    d->reception->takeWebSockets();
}
