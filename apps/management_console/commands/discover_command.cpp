#include "common/default_ports.h"
#include "server/device_rows.h"
#include "shell/command.h"

#include <foundation/network/device_discovery_app_side.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>
#include <QtCore/QUrl>
#include <QtNetwork/QHostInfo>
#include <QtNetwork/QNetworkInterface>
#include <QtNetwork/QTcpSocket>

namespace {

constexpr int askedType = 41;            // what the query asks for; devices of other types do not answer
constexpr int rounds = 3;                // a datagram may get lost, so all are asked again
constexpr qint64 mostAnswerBytes = 4096; // an answer has about 80

struct Target
{
    QString name; // what the user sees
    QHostAddress address;
    quint16 udpPort = 0;
    quint16 tcpPort = 0; // 0: not asked by TCP
    bool broadcast = false;
};

struct Found : DeviceIdentity
{
    QHostAddress address;
    quint16 port = 0;
    QStringList how;
    double milliseconds = 0;
};

QHostAddress plainAddress(const QHostAddress& address)
{
    bool mapped = false;
    const quint32 ip4 = address.toIPv4Address(&mapped);
    return mapped ? QHostAddress(ip4) : address;
}

// The broadcast address of each network this machine is in. The general one leaves by one interface only; loopback has
// one too, though the system does not list it.
QVector<Target> broadcastTargets(quint16 port)
{
    QVector<Target> targets;
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        if (!interface.flags().testFlag(QNetworkInterface::IsRunning))
            continue;
        const auto entries = interface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries) {
            QHostAddress address = entry.broadcast();
            if (interface.flags().testFlag(QNetworkInterface::IsLoopBack) && entry.ip() == QHostAddress::LocalHost)
                address = QHostAddress(QStringLiteral("127.255.255.255"));
            if (!address.isNull())
                targets.append({interface.name() + QLatin1Char(' ') + address.toString(), address, port, 0, true});
        }
    }
    targets.append({QStringLiteral("255.255.255.255"), QHostAddress(QHostAddress::Broadcast), port, 0, true});
    return targets;
}

class DiscoverCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addValue(QStringLiteral("address"), QStringLiteral("A[:PORT]"),
                         QStringLiteral("ask this address or host by UDP and TCP; may be repeated"));
        options.addSwitch(QStringLiteral("broadcast"),
                          QStringLiteral("ask all networks of this machine (the default without --address)"));
        options.addValue(QStringLiteral("wait"), QStringLiteral("MS"), QStringLiteral("how long to wait for answers"),
                         QStringLiteral("1500"));
        options.addValue(QStringLiteral("expect"), QStringLiteral("N"),
                         QStringLiteral("stop when N devices have been found"), QStringLiteral("0"));
        options.addValue(QStringLiteral("port"), QStringLiteral("PORT"), QStringLiteral("UDP port of the devices"),
                         QString::number(DefaultPorts::discovery));
        options.addValue(QStringLiteral("tcp-port"), QStringLiteral("PORT"),
                         QStringLiteral("TCP port of addresses without one, 0 for no TCP"),
                         QString::number(DefaultPorts::device));
        options.addValue(QStringLiteral("system"), QStringLiteral("LABEL"),
                         QStringLiteral("only devices of this installation"));
        TableOptions::add(options);
    }

    void start(AppOptions& options) override
    {
        const quint16 port = quint16(options.number(QStringLiteral("port"), 1, 0xFFFF));
        const quint16 tcpPort = quint16(options.number(QStringLiteral("tcp-port"), 0, 0xFFFF));
        m_expected = options.number(QStringLiteral("expect"), 0, 1000000);
        m_waitMs = options.number(QStringLiteral("wait"), 1, 3600000);
        const QStringList addresses = options.values(QStringLiteral("address"));
        CSystemId system;
        bool ok = true;
        if (options.isSet(QStringLiteral("system")))
            system = CSystemId::fromLabel(options.value(QStringLiteral("system")), &ok);
        if (!ok)
            options.setError(QStringLiteral("--system takes the label of an installation, such as 0012.3457"));
        if (!options.error().isEmpty())
            return;

        m_discovery.setSystemId(system.value());
        connect(&m_discovery, &CDeviceDiscoveryAppSide::deviceInfoReceived, this,
                [this](const QHostAddress& address, quint16 from, CDeviceId id, CSystemId of, int type) {
                    onFound({{id, of, type}, plainAddress(address), from, {}, 0},
                            m_discovery.answeringSocket() ? QStringLiteral("TCP") : QString());
                });
        connect(&m_discovery, &CDeviceDiscoveryAppSide::tcpQueryFailed, this,
                [](QTcpSocket* socket) { socket->abort(); });

        m_clock.start();
        if (addresses.isEmpty() || options.isSet(QStringLiteral("broadcast"))) {
            for (const Target& target : broadcastTargets(port))
                addTarget(target);
        }
        for (const QString& address : addresses)
            resolve(address, port, tcpPort);

        auto* ticks = new QTimer(this);
        connect(ticks, &QTimer::timeout, this, &DiscoverCommand::onTick);
        ticks->start(qBound(5, m_waitMs / (rounds * 4), 250));
    }

    void cancel() override { conclude(); }

private:
    // "A", "A:PORT", "[A6]:PORT" or a host name with or without a port.
    void resolve(const QString& text, quint16 port, quint16 tcpPort)
    {
        QUrl url;
        const bool bareIp6 = text.contains(QLatin1Char(':')) && !QHostAddress(text).isNull();
        url.setAuthority(bareIp6 ? QString(QLatin1Char('[') + text + QLatin1Char(']')) : text);
        if (url.host().isEmpty()) {
            m_failures.append(QStringLiteral("\"%1\" is not an address").arg(text));
            return;
        }
        Target target{text, QHostAddress(url.host()), port, tcpPort};
        if (url.port() > 0)
            target.udpPort = target.tcpPort = quint16(url.port());
        if (!target.address.isNull())
            return addTarget(target);
        m_lookUps.append(target.name);
        QHostInfo::lookupHost(url.host(), this, [this, target](const QHostInfo& info) mutable {
            m_lookUps.removeOne(target.name);
            if (info.addresses().isEmpty())
                m_failures.append(QStringLiteral("\"%1\": %2").arg(target.name, info.errorString()));
            for (const QHostAddress& address : info.addresses()) {
                target.address = address;
                addTarget(target);
            }
        });
    }

    void addTarget(const Target& target)
    {
        m_targets.append(target);
        m_discovery.sendGetDeviceInfoUdp(target.address, target.udpPort);
        if (target.tcpPort == 0)
            return;
        auto* socket = new QTcpSocket(this);
        socket->setReadBufferSize(mostAnswerBytes);
        connect(socket, &QTcpSocket::connected, this, [this, socket] { m_discovery.sendGetDeviceInfoTcp(socket); });
        socket->connectToHost(target.address, target.tcpPort);
    }

    void onFound(Found found, QString how)
    {
        if (how.isEmpty()) {
            how = QStringLiteral("broadcast");
            for (const Target& target : qAsConst(m_targets)) {
                if (!target.broadcast && plainAddress(target.address) == found.address)
                    how = QStringLiteral("UDP");
            }
        }
        // A device without an id is known by its address only.
        QString key = found.id.toLabel();
        if (!found.id.isValid())
            key += found.address.toString() + QLatin1Char(':') + QString::number(found.port);
        auto known = m_found.find(key);
        if (known == m_found.end()) {
            const qint64 microseconds = (m_clock.nsecsElapsed() - m_roundStart) / 1000;
            found.milliseconds = double(microseconds) / 1000;
            known = m_found.insert(key, found);
        }
        if (!known->how.contains(how))
            known->how.append(how);
        if (m_expected > 0 && m_found.size() >= m_expected)
            conclude();
    }

    void onTick()
    {
        const qint64 elapsed = m_clock.elapsed();
        if (elapsed >= m_waitMs)
            return conclude();
        if (elapsed * rounds >= qint64(m_waitMs) * m_round) {
            ++m_round;
            m_roundStart = m_clock.nsecsElapsed();
            for (const Target& target : qAsConst(m_targets))
                m_discovery.sendGetDeviceInfoUdp(target.address, target.udpPort);
        }
        output().progress(QStringLiteral("%1 found, %2 s left")
                              .arg(m_found.size())
                              .arg(double(m_waitMs - elapsed) / 1000, 0, 'f', 1));
    }

    void conclude()
    {
        if (m_concluded)
            return;
        m_concluded = true;
        Table table({{QStringLiteral("label"), QStringLiteral("Label")},
                     {QStringLiteral("type"), {}},
                     {QStringLiteral("typeName"), QStringLiteral("Type")},
                     {QStringLiteral("system"), QStringLiteral("System")},
                     {QStringLiteral("address"), QStringLiteral("Address")},
                     {QStringLiteral("port"), QStringLiteral("Port")},
                     {QStringLiteral("found"), QStringLiteral("Found by")},
                     {QStringLiteral("milliseconds"), QStringLiteral("ms")}});
        for (Found& found : m_found) {
            found.how.sort();
            table.addRow({found.id.toLabel(), found.type, deviceTypeName(found.type), found.system.toLabel(),
                          found.address.toString(), int(found.port), found.how, found.milliseconds});
        }
        if (!m_found.isEmpty() || isJson())
            print(table);
        if (!m_found.isEmpty())
            return done();
        QStringList asked;
        bool onePort = true;
        for (const Target& target : qAsConst(m_targets))
            onePort = onePort && target.udpPort == m_targets.constFirst().udpPort;
        for (const Target& target : qAsConst(m_targets))
            asked.append(onePort ? target.name : QStringLiteral("%1 port %2").arg(target.name).arg(target.udpPort));
        QString whom = asked.join(QLatin1String(", "));
        if (onePort && !asked.isEmpty())
            whom += QStringLiteral(" on port %1").arg(m_targets.constFirst().udpPort);
        for (const QString& name : qAsConst(m_lookUps))
            m_failures.append(QStringLiteral("\"%1\": no name server answered in time").arg(name));
        if (!whom.isEmpty())
            m_failures.prepend(whom);
        fail(QStringLiteral("nothing answered within %1 ms; only devices of type %2 (%3) answer; asked: %4; a firewall "
                            "may block the question or the answer")
                 .arg(m_clock.elapsed())
                 .arg(askedType)
                 .arg(deviceTypeName(askedType), m_failures.join(QLatin1String(", "))));
    }

    CDeviceDiscoveryAppSide m_discovery{0, nullptr}; // on a port that the system chooses
    QVector<Target> m_targets;
    QStringList m_lookUps; // names that are not known to be right or wrong yet
    QStringList m_failures;
    QMap<QString, Found> m_found;
    QElapsedTimer m_clock;
    qint64 m_roundStart = 0;
    int m_round = 1;
    int m_expected = 0;
    int m_waitMs = 0;
    bool m_concluded = false;
};

} // namespace

extern const CommandEntry discoverCommand = {
    "discover", "Finds the network gateways of an installation; other devices do not answer.",
    &makeCommand<DiscoverCommand>, true};
