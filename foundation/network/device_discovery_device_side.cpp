#include <foundation/network/device_discovery_device_side.h>

#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/network/device_discovery_text_p.h>

#include <QtNetwork/QTcpSocket>

namespace {

void logQuery(std::string_view transport, const QHostAddress& peer, quint32 systemId)
{
    (DiscoveryText() << "CDeviceDiscovery: Received " << transport << " device info query from " << peer << ", system "
                     << systemId)
        .log();
}

void logAnswer(std::string_view transport, const QHostAddress& peer, quint32 deviceId)
{
    (DiscoveryText() << "CDeviceDiscovery: Send " << transport << " device info to " << peer << ", ID " << deviceId)
        .log();
}

} // namespace

CDeviceDiscoveryDeviceSide::CDeviceDiscoveryDeviceSide(quint16 port, QObject* parent)
    : CDeviceDiscoveryBase(port, parent)
{
    setObjectName(QStringLiteral("CDeviceDiscoveryDeviceSide"));
}

void CDeviceDiscoveryDeviceSide::setDeviceId(quint32 deviceId)
{
    m_deviceId = CDeviceId(deviceId).value();
}

bool CDeviceDiscoveryDeviceSide::isValidDeviceInfoQuery(const QMap<Header, QVariant>& headers,
                                                        quint32* querySystemId) const
{
    const int queryType = headers.value(DeviceType).toInt();
    const quint32 querySystem = CSystemId(headers.value(SystemId).toUInt()).value();
    const quint32 queryDevice = CDeviceId(headers.value(DeviceId).toUInt()).value();
    if (querySystemId)
        *querySystemId = querySystem;

    if (queryType != 0 && queryType != m_deviceType)
        return false;
    if (querySystem != 0 && systemId() != 0 && querySystem != systemId())
        return false;
    return queryDevice == 0 || queryDevice == m_deviceId;
}

QByteArray CDeviceDiscoveryDeviceSide::renderDeviceInfoResult() const
{
    return renderValues({{DeviceType, m_deviceType}, {DeviceId, m_deviceId}, {SystemId, systemId()}}, DeviceInfoResult);
}

void CDeviceDiscoveryDeviceSide::sendDeviceInfoResult(QTcpSocket* socket)
{
    if (socket && socket->state() == QAbstractSocket::ConnectedState)
        socket->write(renderDeviceInfoResult());
}

void CDeviceDiscoveryDeviceSide::checkMessageAndSendDeviceInforResult(QTcpSocket* socket)
{
    if (!socket)
        return;
    DatagramType type = NoDatagram;
    const auto headers = parseHeaders(socket->readAll(), type);
    if (type != GetDeviceInfo)
        return;
    quint32 querySystemId = 0;
    const bool valid = isValidDeviceInfoQuery(headers, &querySystemId);
    const QHostAddress peer = plainAddress(socket->peerAddress());
    logQuery("TCP", peer, querySystemId);
    if (!valid)
        return;
    logAnswer("TCP", peer, m_deviceId);
    socket->write(renderDeviceInfoResult());
}

void CDeviceDiscoveryDeviceSide::receiveMessage(DatagramType type, const QMap<Header, QVariant>& headers,
                                                const QHostAddress& sender, quint16 senderPort)
{
    if (type != GetDeviceInfo)
        return;
    quint32 querySystemId = 0;
    const bool valid = isValidDeviceInfoQuery(headers, &querySystemId);
    logQuery("UDP", sender, querySystemId);
    if (!valid)
        return;
    logAnswer("UDP", sender, m_deviceId);
    sendDatagram(renderDeviceInfoResult(), sender, senderPort);
}
