#include "simulator.h"

#include "common/app_options.h"
#include "common/default_ports.h"
#include "simulator_control.h"

#include <foundation/network/device_discovery_device_side.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QUdpSocket>

namespace {

constexpr int gatewayType = 41; // the type that applications ask for

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

Simulator::~Simulator()
{
    // They use the access manager.
    delete m_hub;
    qDeleteAll(m_devices);
}

void Simulator::addOptions(AppOptions& options)
{
    options.addValue(QStringLiteral("count"), QStringLiteral("N"), QStringLiteral("number of devices"),
                     QStringLiteral("1"));
    options.addValue(QStringLiteral("label"), QStringLiteral("LABEL"),
                     QStringLiteral("label of the first device, such as 000.123.457; the others follow"));
    options.addValue(QStringLiteral("id"), QStringLiteral("N"), QStringLiteral("the same as a number"),
                     QStringLiteral("12345"));
    options.addValue(QStringLiteral("type"), QStringLiteral("N"), QStringLiteral("device type"),
                     QString::number(gatewayType));
    options.addValue(QStringLiteral("system"), QStringLiteral("LABEL"),
                     QStringLiteral("label of the installation, such as 0012.3457, or 0 for none"),
                     QStringLiteral("0"));
    options.addValue(QStringLiteral("udp-port"), QStringLiteral("PORT"),
                     QStringLiteral("UDP port of all devices, 0 for any"), QString::number(DefaultPorts::discovery));
    options.addValue(QStringLiteral("tcp-port"), QStringLiteral("PORT"),
                     QStringLiteral("TCP port of the first device; the others follow; 0 for any"),
                     QString::number(DefaultPorts::device));
    options.addValue(
        QStringLiteral("call"), QStringLiteral("URL"),
        QStringLiteral(
            "application to call, such as https://host:21719; may be repeated: the first that answers is used"));
    options.addValue(QStringLiteral("certificate"), QStringLiteral("FILE"),
                     QStringLiteral("PEM file of the device certificate; %1 stands for the device's label"));
    options.addValue(QStringLiteral("key"), QStringLiteral("FILE"),
                     QStringLiteral("PEM file of its private key; %1 stands for the device's label"));
    options.addSwitch(QStringLiteral("replay"), QStringLiteral("answer every challenge with an old answer"));
    options.addValue(QStringLiteral("ca"), QStringLiteral("FILE"),
                     QStringLiteral("PEM file of the authorities of applications, instead of the system's own"));
    options.addValue(QStringLiteral("faults"), QStringLiteral("SEED"),
                     QStringLiteral("misbehave at random, but the same way for the same seed (see --control)"));
    options.addValue(QStringLiteral("control"), QStringLiteral("NAME"),
                     QStringLiteral("take commands from a local socket; \"help\" lists them"));
    options.addValue(QStringLiteral("state"), QStringLiteral("DIR"),
                     QStringLiteral("simulate locks; each keeps its list and its events in a subfolder of DIR"));
    options.addSwitch(QStringLiteral("believe-any-server"),
                      QStringLiteral("let locks obey servers whose certificate was not verified (for tests)"));
    options.addValue(QStringLiteral("journal"), QStringLiteral("FILE"),
                     QStringLiteral("append each message to a device to this file, as \"LABEL MESSAGE\""));
}

// The TLS configuration of one device.
bool Simulator::readIdentity(AppOptions& options, const QString& label, QSslConfiguration& tls) const
{
    const auto read = [&options](const QString& name) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly))
            options.setError(QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString()));
        return file.readAll();
    };
    QString certificateFile = options.value(QStringLiteral("certificate"));
    QString keyFile = options.value(QStringLiteral("key"));
    QString caFile = options.value(QStringLiteral("ca"));
    if (caFile.isEmpty())
        caFile = QStringLiteral(":/SSL/ca-chain.pem");
    certificateFile.replace(QLatin1String("%1"), label);
    keyFile.replace(QLatin1String("%1"), label);
    const auto chain = QSslCertificate::fromData(read(certificateFile), QSsl::Pem);
    const QSslKey key(read(keyFile), QSsl::Rsa);
    const auto authorities = QSslCertificate::fromData(read(caFile), QSsl::Pem);
    if (chain.isEmpty())
        options.setError(QStringLiteral("\"%1\" contains no certificate").arg(certificateFile));
    if (key.isNull())
        options.setError(QStringLiteral("\"%1\" contains no RSA key").arg(keyFile));
    tls = QSslConfiguration::defaultConfiguration();
    tls.setLocalCertificateChain(chain);
    tls.setPrivateKey(key);
    tls.setCaCertificates(authorities);
    return options.error().isEmpty();
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
        options.setError(QStringLiteral("--label \"%1\" is not a device label").arg(label));
    else if (first.value() + quint32(count) - 1 > CDeviceId::maximum)
        options.setError(QStringLiteral("there are no %1 device ids from %2 on").arg(count).arg(first.toLabel()));

    ok = true;
    CSystemId system;
    const QString systemLabel = options.value(QStringLiteral("system"));
    if (systemLabel != QLatin1String("0"))
        system = CSystemId::fromLabel(systemLabel, &ok);
    if (!ok)
        options.setError(QStringLiteral("--system \"%1\" is not the label of an installation").arg(systemLabel));

    m_controlName = options.value(QStringLiteral("control"));
    m_faults.rates.on = options.isSet(QStringLiteral("faults"));
    if (m_faults.rates.on)
        m_faults.seed = quint32(options.number(QStringLiteral("faults"), 0, 0x7FFFFFFF));
    const QString journal = options.value(QStringLiteral("journal"));
    m_journal.setFileName(journal);
    if (!journal.isEmpty() && !m_journal.open(QIODevice::Append))
        options.setError(QStringLiteral("cannot write \"%1\": %2").arg(journal, m_journal.errorString()));
    if (!options.error().isEmpty())
        return false;
    if (type != gatewayType)
        qWarning("Devices of type %d will not be found: applications search for type %d only", type, gatewayType);
    const bool withTls = options.isSet(QStringLiteral("certificate")) || options.isSet(QStringLiteral("key"));
    QSslConfiguration before;
    for (int i = 0; i < count; ++i) {
        SimulatedDevice::Settings settings;
        settings.id = CDeviceId(first.value() + quint32(i));
        settings.type = type;
        settings.system = system;
        settings.urls = options.values(QStringLiteral("call"));
        settings.replay = options.isSet(QStringLiteral("replay"));
        settings.accessManager = &m_accessManager;
        if (withTls && !readIdentity(options, settings.id.toLabel(), settings.tls))
            return false;
        settings.faults = m_faults.rates.on || !m_controlName.isEmpty() ? &m_faults : nullptr;
        settings.otherTls = before;
        before = settings.tls;
        settings.journal = m_journal.isOpen() ? &m_journal : nullptr;
        if (options.isSet(QStringLiteral("state")))
            settings.stateFolder = options.value(QStringLiteral("state")) + QLatin1Char('/') + settings.id.toLabel();
        settings.believesAnyServer = options.isSet(QStringLiteral("believe-any-server"));
        m_devices.append(new SimulatedDevice(settings, this));
    }
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
        if (!m_devices.at(i)->startLock(error))
            return false;
        const quint16 port = m_tcpPort == 0 ? quint16(0) : quint16(m_tcpPort + i);
        if (!m_devices.at(i)->start(port)) {
            error =
                QStringLiteral("cannot listen on TCP port %1%2")
                    .arg(port)
                    .arg(m_devices.at(i)->settings().faults
                             ? QStringLiteral(" (or an application is on another machine: faults need it on this one)")
                             : QString());
            return false;
        }
    }
    if (!m_controlName.isEmpty()) {
        m_control = std::make_unique<SimulatorControl>(*this);
        if (!m_control->listen(m_controlName, error))
            return false;
    }
    return true;
}

QByteArray Simulator::describe() const
{
    QByteArray text;
    for (const SimulatedDevice* device : m_devices) {
        text += jsonLine({{QStringLiteral("device"), device->settings().id.toLabel()},
                          {QStringLiteral("type"), device->settings().type},
                          {QStringLiteral("system"), device->settings().system.toLabel()},
                          {QStringLiteral("udpPort"), device->udpPort()},
                          {QStringLiteral("tcpPort"), device->tcpPort()}});
    }
    return text
           + jsonLine({{QStringLiteral("ready"), true},
                       {QStringLiteral("devices"), m_devices.size()},
                       {QStringLiteral("udpPort"), m_udpPort}});
}
