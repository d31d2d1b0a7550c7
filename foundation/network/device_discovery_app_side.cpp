#include <foundation/network/device_discovery_app_side.h>

#include <foundation/network/device_discovery_text_p.h>

#include <QtNetwork/QTcpSocket>

namespace {

// What the query asks for: network gateways.
constexpr int queriedDeviceType = 41;

// The content of a result that came from `sender`.
DeviceIdentity receivedDeviceInfo(const QMap<CDeviceDiscoveryBase::Header, QVariant>& headers,
                                  const QHostAddress& sender, quint16 senderPort)
{
    (DiscoveryText() << "CDeviceDiscovery: Received device info from " << sender << ":" << senderPort).log();
    return {CDeviceId(headers.value(CDeviceDiscoveryBase::DeviceId).toUInt()),
            CSystemId(headers.value(CDeviceDiscoveryBase::SystemId).toUInt()),
            headers.value(CDeviceDiscoveryBase::DeviceType).toInt()};
}

} // namespace

CDeviceDiscoveryAppSide::CDeviceDiscoveryAppSide(quint16 port, QObject* parent)
    : CDeviceDiscoveryBase(port, parent)
{
    setObjectName(QStringLiteral("CDeviceDiscoveryAppSide"));
}

QByteArray CDeviceDiscoveryAppSide::renderGetDeviceInfo() const
{
    return renderValues({{DeviceType, queriedDeviceType}, {SystemId, systemId()}}, GetDeviceInfo);
}

void CDeviceDiscoveryAppSide::sendGetDeviceInfoUdp(const QHostAddress& address, quint16 port)
{
    const quint16 usedPort = port != 0 ? port : defaultPort();
    (DiscoveryText() << "CDeviceDiscovery: Send UDP query for device info to " << address << ":" << usedPort).log();
    sendDatagram(renderGetDeviceInfo(), address, usedPort);
}

void CDeviceDiscoveryAppSide::sendGetDeviceInfoTcp(QTcpSocket* socket)
{
    if (!socket)
        return;
    if (socket->state() != QAbstractSocket::ConnectedState) {
        Q_EMIT tcpQueryFailed(socket);
        return;
    }
    connect(socket, &QTcpSocket::readyRead, this, &CDeviceDiscoveryAppSide::onTcpReadyRead, Qt::UniqueConnection);
    socket->write(renderGetDeviceInfo());
}

void CDeviceDiscoveryAppSide::onTcpReadyRead()
{
    auto* socket = qobject_cast<QTcpSocket*>(sender());
    if (!socket)
        return;
    disconnect(socket, &QTcpSocket::readyRead, this, &CDeviceDiscoveryAppSide::onTcpReadyRead);
    DatagramType type = NoDatagram;
    const auto headers = parseHeaders(socket->readAll(), type);
    if (type == NoDatagram) {
        Q_EMIT tcpQueryFailed(socket);
        return;
    }
    const QPointer<CDeviceDiscoveryAppSide> alive(this);
    const auto outer = m_answering; // of a receiver that runs an event loop of its own
    m_answering = socket;
    receiveMessage(type, headers, plainAddress(socket->peerAddress()), socket->peerPort());
    if (alive)
        m_answering = outer;
}

bool CDeviceDiscoveryAppSide::parseDeviceInfoResult(QTcpSocket* socket, CDeviceId& deviceId, CSystemId& systemId,
                                                    int& deviceType)
{
    if (!socket)
        return false;
    DatagramType type = NoDatagram;
    const auto headers = parseHeaders(socket->readAll(), type);
    if (type != DeviceInfoResult)
        return false;
    const DeviceIdentity device = receivedDeviceInfo(headers, plainAddress(socket->peerAddress()), socket->peerPort());
    deviceId = device.id;
    systemId = device.system;
    deviceType = device.type;
    return true;
}

void CDeviceDiscoveryAppSide::receiveMessage(DatagramType type, const QMap<Header, QVariant>& headers,
                                             const QHostAddress& sender, quint16 senderPort)
{
    if (type != DeviceInfoResult)
        return;
    const DeviceIdentity device = receivedDeviceInfo(headers, sender, senderPort);
    Q_EMIT deviceInfoReceived(sender, senderPort, device.id, device.system, device.type);
}
