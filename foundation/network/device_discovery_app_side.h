#pragma once

#include <foundation/network/device_discovery_base.h>
#include <foundation/network/device_identity.h>

#include <QtCore/QPointer>
#include <QtNetwork/QTcpSocket>

/// The asking end of device discovery: sends queries and reports the devices that answer.
///
///     CDeviceDiscoveryAppSide discovery(udpPort, this);
///     connect(&discovery, &CDeviceDiscoveryAppSide::deviceInfoReceived, this, &Finder::onDevice);
///     discovery.sendGetDeviceInfoUdp(QHostAddress(QHostAddress::Broadcast), 0);
///
/// Every result is reported, whatever system it names, as often as it arrives.
class KYR_FOUNDATION_EXPORT CDeviceDiscoveryAppSide : public CDeviceDiscoveryBase
{
    Q_OBJECT

public:
    CDeviceDiscoveryAppSide(quint16 port, QObject* parent);

    /// The query: which network gateway of the own system (or of any, when that is 0) is there?
    QByteArray renderGetDeviceInfo() const;

    /// Sends the query to one address or a broadcast address. Port 0 stands for the constructor's port.
    void sendGetDeviceInfoUdp(const QHostAddress& address, quint16 port);

    /// Sends the query on a connected socket; what its next readyRead brings is the answer. A socket that is not
    /// connected is reported by tcpQueryFailed at once. The socket stays the caller's.
    void sendGetDeviceInfoTcp(QTcpSocket* socket);

    /// Reads all that has arrived on `socket`. True when it is a result, whose values are then in the arguments (0 for
    /// what is absent or out of range); otherwise they are left as they were.
    bool parseDeviceInfoResult(QTcpSocket* socket, CDeviceId& deviceId, CSystemId& systemId, int& deviceType);

    /// The connection whose answer is being reported, within the signals that report it; null for a datagram.
    QTcpSocket* answeringSocket() const { return m_answering; }

    void receiveMessage(DatagramType type, const QMap<Header, QVariant>& headers, const QHostAddress& sender,
                        quint16 senderPort) override;

public Q_SLOTS:
    /// Reads the answer from the socket that signalled it, once for each query.
    void onTcpReadyRead();

Q_SIGNALS:
    void deviceInfoReceived(const QHostAddress& hostAddress, quint16 port, const CDeviceId& deviceId,
                            const CSystemId& systemId, int deviceType);
    /// The socket was not connected, or what it answered is no discovery message.
    void tcpQueryFailed(QTcpSocket* tcpSocket);

private:
    QPointer<QTcpSocket> m_answering;
};
