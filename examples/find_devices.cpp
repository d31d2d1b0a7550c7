#include <foundation/core/debug.h>
#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/network/device_discovery_app_side.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

// find_devices ADDRESS PORT: asks one address, or a network's broadcast address, which devices are there.
int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(CDebug::messageOutput);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 3)
        qFatal("usage: find_devices ADDRESS PORT");

    int found = 0;
    CDeviceDiscoveryAppSide discovery(0, nullptr);
    QObject::connect(&discovery, &CDeviceDiscoveryAppSide::deviceInfoReceived, &app,
                     [&](const QHostAddress& address, quint16, const CDeviceId& device, const CSystemId&, int type) {
                         ++found;
                         qInfo("device %s of type %d at %s", qPrintable(device.toLabel()), type,
                               qPrintable(address.toString()));
                     });
    discovery.sendGetDeviceInfoUdp(QHostAddress(arguments[1]), arguments[2].toUShort());
    QTimer::singleShot(1000, &app, [&] { app.exit(found > 0 ? 0 : 1); });
    return app.exec();
}
