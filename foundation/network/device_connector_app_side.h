#pragma once

#include <foundation/core/system_id.h>
#include <foundation/network/device_connector_base.h>

#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpSocket>
#include <QtWebSockets/QWebSocket>

#include <memory>

/// An application's end of the device link: reaches devices, and lets those in that call and prove who they are.
///
///     CDeviceConnectorAppSide connector(udpPort, true, false, this);
///     connect(&connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, this, &Console::addDevice);
///     connector.setSystemId(system);
///     connector.connectToDevices({{QStringLiteral("192.168.1.20:4001"), QStringLiteral("000.123.457")}});
///
/// The signals that hand out a socket are not emitted from within the socket's own signals: a receiver may delete the
/// socket, or the connector. What a peer may hold before it is trusted is limited in time and number; whoever exceeds
/// a limit loses its connection, with a warning.
class KYR_FOUNDATION_EXPORT CDeviceConnectorAppSide : public CDeviceConnectorBase
{
    Q_OBJECT

public:
    /// Without `useSsl`, TLS and device certificates play no part. With `udpDisabled` no UDP queries are sent.
    CDeviceConnectorAppSide(quint16 udpPort, bool useSsl, bool udpDisabled, QObject* parent = nullptr);
    ~CDeviceConnectorAppSide() override;

    void setUdpDiscoveryPort(quint16 port);
    /// The own installation (values of 0x800000 or more: none). Also enables listening on the TCP port that is set.
    void setSystemId(quint32 systemId);

    /// Starts connection jobs, one for each group. A candidate without a port is asked by UDP only.
    void connectToDevices(const QVector<QStringList>& addressGroups);
    void abortConnectToDevices();

    /// Takes over an incoming socket, with TLS up, whose first bytes are a device's WebSocket request, or will be: the
    /// request line may still be arriving. The caller leaves the socket alone from then on; whoever is turned away is
    /// disconnected and its socket deleted. `text` comes back in webSocketConnectionEstablished.
    void handleWebSocketRequest(QSslSocket* socket, const QString& text);

    void onSendDataUsingUdp(const QHostAddress& hostAddress, quint16 port, bool& dataSent) override;
    void onNewOutgoingConnection(QTcpSocket* socket) override;

public Q_SLOTS:
    void onNewIncomingConnection();
    void onIncomingConnectionDataReceived();
    void onNewIncomingWebSocketConnection();
    void onOutgoingConnectionError(QTcpSocket* socket);
    void onDeviceInfoReceived(const QHostAddress& hostAddress, quint16 port, const CDeviceId& deviceId,
                              const CSystemId& systemId, int deviceType);

Q_SIGNALS:
    /// A device has said who it is; nothing has proved it. `socket` is the connection it said so on, in plain text so
    /// far, and null for UDP. The receiver that wants it sets another parent, or uses it as it is and reads before 16
    /// KiB have come together; one that does not want it aborts it. It is deleted after it has disconnected. When
    /// nothing is connected to this signal, or a job goes on because another device is wanted, the socket is aborted.
    void deviceInfoReceived(const QHostAddress& hostAddress, quint16 port, const CDeviceId& deviceId,
                            const CSystemId& systemId, int deviceType, QTcpSocket* socket);
    /// A device that called in has proved who it is. A receiver takes the WebSocket over by setting another parent;
    /// when none does, it is dropped. `text` is what came with handleWebSocketRequest.
    void webSocketConnectionEstablished(const CDeviceId& deviceId, int deviceType, const CSystemId& systemId,
                                        QWebSocket* webSocket, const QString& text);
    /// A device that called in by WebSocket was turned away. `deviceId` is who it claimed to be, invalid when its
    /// request line could not be read; `text` is what came with handleWebSocketRequest. The log has a warning for each,
    /// without the peer; a host that writes its own turns that off: "kyr.link.refusals.warning=false" is the rule.
    void webSocketConnectionRefused(const CDeviceId& deviceId, const QString& text, const QString& reason);
    void connectToDevicesFinished(bool success);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void reportDevice(const QHostAddress& address, quint16 port, const CDeviceId& deviceId, const CSystemId& systemId,
                      int deviceType, QTcpSocket* socket);

    struct Private;
    std::unique_ptr<Private> d;
};
