#include <foundation/core/debug.h>
#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/web_socket_connection.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>

// Where devices knock: TLS first, then the connector reads the request and lets those in that prove who they are.
class Door : public QTcpServer
{
public:
    Door(const QSslConfiguration& configuration, CDeviceConnectorAppSide& connector)
        : m_configuration(configuration)
        , m_connector(connector)
    {
    }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        socket->setSslConfiguration(m_configuration);
        connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QSslSocket::encrypted, this, [this, socket] {
            socket->disconnect(); // the connector's from here on
            m_connector.handleWebSocketRequest(socket, QString());
        });
        socket->startServerEncryption();
    }

private:
    QSslConfiguration m_configuration;
    CDeviceConnectorAppSide& m_connector;
};

// accept_devices PORT CERTIFICATE KEY: says which devices call in, and prints what they send.
int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(CDebug::messageOutput);
    const QStringList arguments = app.arguments();
    QFile key(arguments.value(3));
    if (arguments.size() != 4 || !key.open(QIODevice::ReadOnly))
        qFatal("usage: accept_devices PORT CERTIFICATE KEY");
    QSslConfiguration configuration;
    configuration.setLocalCertificateChain(QSslCertificate::fromPath(arguments[2]));
    configuration.setPrivateKey(QSslKey(&key, QSsl::Rsa));

    CDeviceConnectorAppSide connector(0, true, true, nullptr);
    QObject::connect(&connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, &app,
                     [&](const CDeviceId& device, int, const CSystemId&, QWebSocket* socket) {
                         auto* link = new CWebSocketConnection(socket, &app);
                         socket->setParent(link); // takes it over
                         link->setKeepalive(30);
                         const QString label = device.toLabel();
                         qInfo("%s is in", qPrintable(label));
                         QObject::connect(link, &CMessageTransfer::dataReceived, link, [label](const QByteArray& data) {
                             qInfo("%s: %s", qPrintable(label), data.constData());
                         });
                         QObject::connect(link, &CMessageTransfer::connectionStateChanged, link, [=](bool connected) {
                             if (!connected) {
                                 qInfo("%s is gone", qPrintable(label));
                                 link->deleteLater();
                             }
                         });
                         link->updateConnectionState();
                     });
    Door door(configuration, connector);
    if (!door.listen(QHostAddress::Any, arguments[1].toUShort()))
        qFatal("cannot listen on port %s", qPrintable(arguments[1]));
    qInfo("waiting for devices on port %u", door.serverPort());
    return app.exec();
}
