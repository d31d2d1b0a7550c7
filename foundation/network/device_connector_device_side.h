#pragma once

#include <foundation/network/device_connector_base.h>

#include <QtNetwork/QSslError>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>

#include <memory>

/// A device's end of the device link: answers discovery, accepts applications that call, and calls applications.
///
///     CDeviceConnectorDeviceSide connector(udpPort, true, &networkAccessManager, this);
///     connect(&connector, &CDeviceConnectorDeviceSide::newWebSocketConnectionToApplication, this, &Device::talk);
///     connector.setDeviceId(12345);
///     connector.setDeviceType(41);
///     connector.connectToApplication({QStringLiteral("https://console.example/")});
///
/// The device is the TLS server on every TCP connection, also on those it opened itself: it has the certificate, which
/// together with its key stands in the process-wide default TLS configuration.
///
/// A receiver takes a socket over by setting another parent. What nobody takes over is aborted. The signals are not
/// emitted from within the sockets' own signals: a receiver may delete the socket, or the connector.
class KYR_FOUNDATION_EXPORT CDeviceConnectorDeviceSide : public CDeviceConnectorBase
{
    Q_OBJECT

public:
    /// The network access manager (null: URLs are passed over) stays the caller's.
    CDeviceConnectorDeviceSide(quint16 udpPort, bool useSsl, QNetworkAccessManager* networkAccessManager,
                               QObject* parent = nullptr);
    ~CDeviceConnectorDeviceSide() override;

    /// Values of 0x4000000 or more are stored as 0.
    void setDeviceId(quint32 deviceId);
    void setDeviceType(int deviceType);
    /// Values of 0x800000 or more are stored as 0, no system.
    void setSystemId(quint32 systemId);
    void setUdpDiscoveryPort(quint16 port);

    /// Ends a run that is going on and tries these addresses in order: URLs by WebSocket, "address:port" by TCP. An
    /// address without a port leads nowhere.
    void connectToApplication(const QStringList& addresses);

    void onNewOutgoingConnection(QTcpSocket* socket) override;
    void onNewOutgoingWebSocketConnection(QWebSocket* socket, const QByteArray& initialRequest,
                                          const QString& discoverAddress) override;
    /// The end of an outgoing connection's set-up: hands it to the application's receivers.
    void concludeOutgoingConnection(QTcpSocket* socket);

public Q_SLOTS:
    void onNewIncomingConnection();
    void onIncomingConnectionDataReceived();
    void onIncomingConnectionEncrypted();
    void onOutgoingConnectionEncrypted();
    void printSslErrors(const QList<QSslError>& errors);

Q_SIGNALS:
    /// Whether an incoming connection is welcome: a receiver sets `accepted`. It must not delete the connector.
    void isIncomingConnectionAccepted(bool& accepted);
    void newTcpConnectionToApplication(QTcpSocket* socket, bool outgoing);
    /// The application has accepted this device; `discoverAddress` is the URL that led there.
    void newWebSocketConnectionToApplication(QWebSocket* socket, const QString& discoverAddress);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void startTls(QSslSocket* socket);
    void handOver(QTcpSocket* socket, bool outgoing);
    QByteArray answerTo(const QByteArray& initialRequest, const QHostAddress& server) const;
    void concludeOutgoingWebSocketConnection(QWebSocket* socket, const QString& discoverAddress);

    struct Private;
    std::unique_ptr<Private> d;
};
