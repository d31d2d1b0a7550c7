#include "simulator.h"

#include "common/app_options.h"
#include "common/default_ports.h"
#include "simulated_device.h"

#include <foundation/network/device_discovery_device_side.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtNetwork/QUdpSocket>

namespace {

constexpr int GatewayType = 41; // the type that applications ask for

// The port that all devices share.
class DiscoveryHub : public CDeviceDiscoveryBase
{
public:
    DiscoveryHub(quint16 port, const QVector<SimulatedDevice*>& devices, QObject* parent)
        : CDeviceDiscoveryBase(port, parent)
        , m_devices(devices)
    {
    }

    void receiveMessage(DatagramType type, const QMap<Header, QVariant>& headers, const QHostAddress& sender,
                        quint16 senderPort) override
    {
        for (SimulatedDevice* device : m_devices)
            device->discovery()->receiveMessage(type, headers, sender, senderPort);
    }

private:
    QVector<SimulatedDevice*> m_devices;
};

QByteArray jsonLine(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

Simulator::Simulator(QObject* parent)
    : QObject(parent)
{
}

void Simulator::addOptions(AppOptions& options)
{
    options.addValue(QStringLiteral("count"), QStringLiteral("N"), QStringLiteral("how many devices"),
                     QStringLiteral("1"));
    options.addValue(QStringLiteral("label"), QStringLiteral("LABEL"),
                     QStringLiteral("label of the first, such as 000.123.457; the others follow"));
    options.addValue(QStringLiteral("id"), QStringLiteral("N"), QStringLiteral("the same as a number"),
                     QStringLiteral("12345"));
    options.addValue(QStringLiteral("type"), QStringLiteral("N"), QStringLiteral("device type"),
                     QString::number(GatewayType));
    options.addValue(QStringLiteral("system"), QStringLiteral("LABEL"),
                     QStringLiteral("label of the installation, such as 0012.3457, or 0 for none"),
                     QStringLiteral("0"));
    options.addValue(QStringLiteral("udp-port"), QStringLiteral("PORT"),
                     QStringLiteral("UDP port of all devices, 0 for any"), QString::number(DefaultPorts::Discovery));
    options.addValue(QStringLiteral("tcp-port"), QStringLiteral("PORT"),
                     QStringLiteral("TCP port of the first device, the others follow; 0 for any"),
                     QString::number(DefaultPorts::Device));
}

bool Simulator::setUp(AppOptions& options)
{
    const int count = options.number(QStringLiteral("count"), 1, 10000);
    const int type = options.number(QStringLiteral("type"), 1, 0x7FFFFFFF);
    m_udpPort = quint16(options.number(QStringLiteral("udp-port"), 0, 0xFFFF));
    m_tcpPort = quint16(options.number(QStringLiteral("tcp-port"), 0, 0xFFFF));
    if (m_tcpPort != 0 && m_tcpPort + count - 1 > 0xFFFF)
        options.setError(QStringLiteral("--tcp-port leaves no room for %1 ports").arg(count));

    bool ok = true;
    CDeviceId first;
    const QString label = options.value(QStringLiteral("label"));
    if (label.isEmpty())
        first = CDeviceId(options.number(QStringLiteral("id"), 1, int(CDeviceId::maximum)));
    else
        first = CDeviceId::fromLabel(label, &ok);
    if (!ok)
        options.setError(QStringLiteral("--label \"%1\" is no device label").arg(label));
    else if (first.value() + quint32(count) - 1 > CDeviceId::maximum)
        options.setError(QStringLiteral("there are no %1 device ids from %2 on").arg(count).arg(first.toLabel()));

    ok = true;
    CSystemId system;
    const QString systemLabel = options.value(QStringLiteral("system"));
    if (systemLabel != QLatin1String("0"))
        system = CSystemId::fromLabel(systemLabel, &ok);
    if (!ok)
        options.setError(QStringLiteral("--system \"%1\" is no label of an installation").arg(systemLabel));

    if (!options.positional().isEmpty())
        options.setError(QStringLiteral("unexpected argument \"%1\"").arg(options.positional().constFirst()));
    if (!options.error().isEmpty())
        return false;
    for (int i = 0; i < count; ++i)
        m_devices.append(new SimulatedDevice(CDeviceId(first.value() + quint32(i)), type, system, this));
    return true;
}

bool Simulator::start(QString& error)
{
    m_hub = new DiscoveryHub(m_udpPort, m_devices, this);
    const auto* socket = m_hub->findChild<QUdpSocket*>();
    if (!socket || socket->localPort() == 0) {
        error = QStringLiteral("cannot open UDP port %1").arg(m_udpPort);
        return false;
    }
    m_udpPort = socket->localPort();
    for (int i = 0; i < m_devices.size(); ++i) {
        const quint16 port = m_tcpPort == 0 ? quint16(0) : quint16(m_tcpPort + i);
        if (!m_devices.at(i)->listen(port)) {
            error = QStringLiteral("cannot listen on TCP port %1").arg(port);
            return false;
        }
    }
    return true;
}

QByteArray Simulator::describe() const
{
    QByteArray text;
    for (const SimulatedDevice* device : m_devices) {
        text += jsonLine({{QStringLiteral("device"), device->id().toLabel()},
                          {QStringLiteral("type"), device->type()},
                          {QStringLiteral("system"), device->system().toLabel()},
                          {QStringLiteral("udpPort"), device->udpPort()},
                          {QStringLiteral("tcpPort"), device->tcpPort()}});
    }
    return text
           + jsonLine({{QStringLiteral("ready"), true},
                       {QStringLiteral("devices"), m_devices.size()},
                       {QStringLiteral("udpPort"), m_udpPort}});
}
