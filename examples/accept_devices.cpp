#include <foundation/core/debug.h>
#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/tls_door.h>
#include <foundation/network/web_socket_connection.h>

#include <QtCore/QCoreApplication>

// accept_devices PORT CERTIFICATE KEY: says which devices call in, and prints what they send.
int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(CDebug::messageOutput);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 4)
        qFatal("usage: accept_devices PORT CERTIFICATE KEY");
    CTlsDoor door; // nobody who knocks can hold it open
    QString error;
    if (!door.setCertificate(arguments[2], arguments[3], error))
        qFatal("%s", qPrintable(error));

    CDeviceConnectorAppSide connector(0, true, true, nullptr);
    QObject::connect(&connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, &app,
                     [&](const CDeviceId& device, int, const CSystemId&, QWebSocket* socket) {
                         auto* link = CWebSocketConnection::takeOver(socket, 30, &app);
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
                     });
    QObject::connect(&door, &CTlsDoor::webSocketRequested, &connector, [&](QSslSocket* socket) {
        socket->setParent(&connector);
        connector.handleWebSocketRequest(socket, CTlsDoor::peerText(socket));
    });
    if (!door.open(arguments[1].toUShort()))
        qFatal("cannot listen on port %s", qPrintable(arguments[1]));
    qInfo("waiting for devices on port %u", door.serverPort());
    return app.exec();
}
