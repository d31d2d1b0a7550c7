#pragma once

#include <foundation/network/device_discovery_base.h>

#include <QtNetwork/QTcpSocket>

/// The answering end of device discovery: tells applications which device this is.
///
///     CDeviceDiscoveryDeviceSide discovery(udpPort, this);
///     discovery.setDeviceId(12345);
///     discovery.setDeviceType(41);
///
/// UDP queries are answered from then on; queries on TCP when the owner hands their socket over.
class KYR_FOUNDATION_EXPORT CDeviceDiscoveryDeviceSide : public CDeviceDiscoveryBase
{
    Q_OBJECT

public:
    CDeviceDiscoveryDeviceSide(quint16 port, QObject* parent);

    /// The own device; values of 0x4000000 or more are stored as 0.
    void setDeviceId(quint32 deviceId);
    quint32 deviceId() const { return m_deviceId; }
    void setDeviceType(int deviceType) { m_deviceType = deviceType; }
    int deviceType() const { return m_deviceType; }

    /// Whether a query with these headers is meant for this device. A header that is absent or 0 leaves the choice
    /// open. `querySystemId`, if given, receives the system that the query names (0: none) either way.
    bool isValidDeviceInfoQuery(const QMap<Header, QVariant>& headers, quint32* querySystemId) const;

    /// The answer: own type, id and system.
    QByteArray renderDeviceInfoResult() const;

    /// Writes the answer, unasked. Nothing happens with a null socket or one that is not connected.
    void sendDeviceInfoResult(QTcpSocket* socket);

    /// Reads all that has arrived on `socket` and answers if it is a query meant for this device. Whatever it is, the
    /// socket is left open.
    void checkMessageAndSendDeviceInforResult(QTcpSocket* socket);

    void receiveMessage(DatagramType type, const QMap<Header, QVariant>& headers, const QHostAddress& sender,
                        quint16 senderPort) override;

private:
    quint32 m_deviceId = 0;
    int m_deviceType = 0;
};
