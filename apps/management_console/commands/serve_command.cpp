#include "commands/broker_options.h"
#include "common/default_ports.h"
#include "monitoring/service_manager.h"
#include "server/device_rows.h"
#include "server/device_server.h"
#include "server/door_links.h"
#include "server/server_certificate.h"
#include "shell/command.h"
#include "shell/table_watch.h"

#include <server/audit/audit_trail.h>
#include <server/devices/device_sightings.h>
#include <server/devices/door_controller.h>
#include <server/devices/remote_devices.h>
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

namespace {

constexpr qint64 longestFile = qint64(1024) * 1024; // of a certificate or key
constexpr int servingWaitMs = 250;                  // for an answer of the database, or another program's change
constexpr int longestSession = 31 * 24 * 3600;      // seconds

class ServeCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addValue(QStringLiteral("port"), QStringLiteral("PORT"),
                         QStringLiteral("TLS port for devices and other clients, 0 for any"),
                         QString::number(DefaultPorts::server));
        options.addValue(QStringLiteral("certificate"), QStringLiteral("FILE"),
                         QStringLiteral("certificate of this server with its issuers, PEM"));
        options.addValue(QStringLiteral("key"), QStringLiteral("FILE"), QStringLiteral("its private key, PEM"));
        options.addValue(
            QStringLiteral("system"), QStringLiteral("LABEL"),
            QStringLiteral("installation whose devices may link; devices without an installation always may"));
        options.addValue(QStringLiteral("ping"), QStringLiteral("S"),
                         QStringLiteral("seconds between pings to each device"), QStringLiteral("20"));
        options.addValue(QStringLiteral("token"), QStringLiteral("TEXT"),
                         QStringLiteral("token with which clients log in for notifications; safer in "
                                        "KYR_CONSOLE_SERVE_TOKEN, which other users cannot see"));
        options.addSwitch(
            QStringLiteral("finite-field-dh"),
            QStringLiteral("allow devices that do not know elliptic curves; makes each handshake slower"));
        options.addValue(QStringLiteral("proxy-protocol"), QStringLiteral("ADDRESS/MASK"),
                         QStringLiteral("accept plain connections from a TLS balancer at this address, with the PROXY "
                                        "protocol, version 2; may be repeated"));
        options.addValue(QStringLiteral("proxy-port"), QStringLiteral("PORT"),
                         QStringLiteral("TCP port for balancers, 0 for any"), QString::number(DefaultPorts::balanced));
        options.addValue(QStringLiteral("server-name"), QStringLiteral("NAME"),
                         QStringLiteral("name of this server among several; its events form a chain of this name"),
                         CAuditTrail::defaultChainName());
        addBrokerOptions(options);
        options.addValue(QStringLiteral("metrics-from"), QStringLiteral("ADDRESS/MASK"),
                         QStringLiteral("who may read /metrics, besides this machine; may be repeated"));
        options.addValue(QStringLiteral("session-seconds"), QStringLiteral("N"),
                         QStringLiteral("how long a session lasts, in seconds"), QStringLiteral("3600"));
        options.addValue(QStringLiteral("mail-server"), QStringLiteral("HOST[:PORT]"),
                         QStringLiteral("mail server that sends the mails of the outbox"));
        options.addValue(QStringLiteral("mail-account"), QStringLiteral("ADDRESS"),
                         QStringLiteral("sender and user name at the mail server"));
        options.addValue(QStringLiteral("mail-password-file"), QStringLiteral("FILE"),
                         QStringLiteral("file whose first line is the password; without it there is no log-in"));
        options.addValue(QStringLiteral("mail-token-file"), QStringLiteral("FILE"),
                         QStringLiteral("file whose first line is an access token, instead of a password (XOAUTH2)"));
        options.addSwitch(QStringLiteral("stop"), QStringLiteral("stop serving"));
    }

    void start(AppOptions& options) override
    {
        if (options.isSet(QStringLiteral("stop"))) {
            if (!session().server())
                return fail(QStringLiteral("not serving"));
            session().setServer(nullptr);
            setWaits(CDatabase::defaultAnswerWait, CDatabase::defaultWriteWait);
            return done();
        }
        DeviceServer::Settings settings;
        bool ok = true;
        settings.port = quint16(options.number(QStringLiteral("port"), 0, 0xFFFF));
        settings.pingSeconds = options.number(QStringLiteral("ping"), 1, 86400);
        settings.certificateFile = options.value(QStringLiteral("certificate"));
        settings.token = options.value(QStringLiteral("token"));
        settings.keyFile = options.value(QStringLiteral("key"));
        settings.finiteFieldDh = options.isSet(QStringLiteral("finite-field-dh"));
        settings.proxyPort = quint16(options.number(QStringLiteral("proxy-port"), 0, 0xFFFF));
        settings.proxies = networks(options, QStringLiteral("proxy-protocol"));
        m_metricsFrom = networks(options, QStringLiteral("metrics-from"));
        if (options.isSet(QStringLiteral("system")))
            settings.system = CSystemId::fromLabel(options.value(QStringLiteral("system")), &ok);
        if (!ok)
            options.setError(QStringLiteral("--system takes the label of an installation, such as 0012.3457"));
        m_broker = readBrokerOptions(options, output().files().areHere());
        if (settings.certificateFile.isEmpty() || settings.keyFile.isEmpty())
            options.setError(QStringLiteral("--certificate and --key are needed"));
        m_name = options.value(QStringLiteral("server-name"));
        static const QRegularExpression serverName(QStringLiteral("^[A-Za-z0-9][A-Za-z0-9._-]{0,62}$"));
        if (!serverName.match(m_name).hasMatch())
            options.setError(QStringLiteral("--server-name takes up to 63 letters, digits, \".\", \"_\" and \"-\""));
        m_sessionSeconds = options.number(QStringLiteral("session-seconds"), 1, longestSession);
        if (!options.error().isEmpty())
            return;
        m_mail.server = options.value(QStringLiteral("mail-server"));
        m_mail.account = options.value(QStringLiteral("mail-account"));
        if (m_mail.server.isEmpty() != m_mail.account.isEmpty())
            return options.setError(QStringLiteral("--mail-server and --mail-account go together"));
        const QString tokenFile = options.value(QStringLiteral("mail-token-file"));
        if (output().files().areHere() && !tokenFile.isEmpty())
            m_mail.tokenFile = QFileInfo(tokenFile).absoluteFilePath();
        readFirstLine(options.value(QStringLiteral("mail-password-file")),
                      [this, settings, tokenFile](const QString& password) {
                          m_mail.password = password;
                          readFirstLine(tokenFile, [this, settings](const QString& token) {
                              m_mail.token = token;
                              readCertificate(settings);
                          });
                      });
    }

private:
    using Networks = QList<QPair<QHostAddress, int>>;

    void readFirstLine(const QString& name, const std::function<void(const QString&)>& then)
    {
        if (name.isEmpty())
            return then(QString());
        readFile(name, longestFile, [then](const QByteArray& bytes) {
            then(QString::fromUtf8(bytes.split('\n').constFirst().trimmed()));
        });
    }

    void readCertificate(const DeviceServer::Settings& settings)
    {
        if (output().files().areHere())
            return serve(settings);
        // The client's files: this process sees copies, for as long as it takes to read them.
        readFile(settings.certificateFile, longestFile, [this, settings](const QByteArray& certificate) {
            readFile(settings.keyFile, longestFile, [this, settings, certificate](const QByteArray& key) {
                const QTemporaryDir folder;
                DeviceServer::Settings copied = settings;
                copied.certificateFile = folder.filePath(QStringLiteral("certificate.pem"));
                copied.keyFile = folder.filePath(QStringLiteral("key.pem"));
                QString error;
                const auto save = [&error](const QString& name, const QByteArray& content) {
                    return saveFile(
                        name, [&content](QIODevice& file) { file.write(content); }, error);
                };
                if (!save(copied.certificateFile, certificate) || !save(copied.keyFile, key))
                    return fail(error);
                serve(copied);
            });
        });
    }

    void serve(const DeviceServer::Settings& settings)
    {
        if (session().server())
            return fail(
                QStringLiteral("already serving on port %1 (serve --stop ends that)").arg(session().server()->port()));
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        installation->setSessionLength(m_sessionSeconds);
        auto server = std::make_unique<DeviceServer>();
        QString error;
        QString warning;
        if (!checkServerCertificate(settings.certificateFile, settings.keyFile, error, warning)
            || !server->start(settings, error))
            return fail(error);
        if (!warning.isEmpty()) {
            warn(warning);
            qWarning("serve: %s", qUtf8Printable(warning));
        }
        // Whoever runs an event loop for others waits for no database longer.
        setWaits(servingWaitMs, servingWaitMs);
        const quint16 port = server->port();
        const quint16 proxyPort = server->proxyPort();
        session().setServer(std::move(server), m_name);
        if (m_broker)
            session().startBridge(*m_broker);
        session().watchServer(m_metricsFrom);
        if (const QString fault = model()->database()->changeFault(); !fault.isEmpty())
            warn(QStringLiteral("nothing can be stored, no event either: ") + fault);
        if (!m_mail.server.isEmpty() && !session().startMail(m_mail, error))
            warn(error);
        if (isJson())
            output().line(QStringLiteral("{\"port\":%1%2}")
                              .arg(port)
                              .arg(proxyPort != 0 ? QStringLiteral(",\"proxyPort\":%1").arg(proxyPort) : QString()));
        else
            output().line(QStringLiteral("Serving devices on port %1%2.")
                              .arg(port)
                              .arg(proxyPort != 0 ? QStringLiteral(", and behind a balancer on port %1").arg(proxyPort)
                                                  : QString()));
        ServiceManager::ready();
        done();
    }

    void setWaits(int forAnswers, int forOthers)
    {
        if (CSqlAccessControl* installation = model()) {
            installation->database()->setAnswerWait(forAnswers);
            installation->database()->setWriteWait(forOthers);
        }
    }

    static Networks networks(AppOptions& options, const QString& name)
    {
        Networks read;
        const QStringList texts = options.values(name);
        for (const QString& text : texts) {
            read += QHostAddress::parseSubnet(text);
            if (read.constLast().second < 0)
                options.setError(QStringLiteral("--%1 takes an address or a network, such as 192.0.2.0/24, not \"%2\"")
                                     .arg(name, text));
        }
        return read;
    }

    int m_sessionSeconds = 0;
    QString m_name;
    std::optional<CNotificationBridge::Settings> m_broker;
    Networks m_metricsFrom;
    CMailOutbox::Settings m_mail;
};

class DevicesCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addSwitch(QStringLiteral("refused"), QStringLiteral("show who was refused, and why"));
        options.addSwitch(QStringLiteral("watch"),
                          QStringLiteral("show the table again whenever it changes, until Ctrl+C"));
        TableOptions::add(options);
        options.addSwitch(QStringLiteral("all"),
                          QStringLiteral("with --json: include absent devices (the plain table always does)"));
        options.addSwitch(
            QStringLiteral("absent"),
            QStringLiteral("only devices that have a door and are not linked; exit code 1 if there are any"));
    }

    void start(AppOptions& options) override
    {
        QString error;
        if (!session().remote(error))
            return fail(error);
        const bool wantsRefused = options.isSet(QStringLiteral("refused"));
        if (!session().server() && (wantsRefused || rows().isEmpty()))
            return fail(QStringLiteral("not serving (see: help serve)"));
        m_isAll = options.isSet(QStringLiteral("all"));
        const bool isAbsent = options.isSet(QStringLiteral("absent"));
        const auto view = wantsRefused ? &DevicesCommand::refusals
                          : isAbsent   ? &DevicesCommand::absent
                                       : &DevicesCommand::links;
        if (options.isSet(QStringLiteral("watch")))
            return watch([this, view] { return (this->*view)(); },
                         {QStringLiteral("lastHeard"), QStringLiteral("sent"), QStringLiteral("received")});
        const Table table = (this->*view)();
        print(table);
        if (isAbsent)
            return done(table.isEmpty() ? 0 : 1);
        done();
    }

private:
    // Those that are linked here, and those of other servers.
    QList<QVariantMap> rows()
    {
        QString error;
        return deviceRows(session().server(), session().doors(), session().remote(error));
    }

    // To programs a row has always been a link; people see at a glance what is missing.
    Table links()
    {
        const bool isAll = m_isAll || !isJson();
        return devices([isAll](bool isLinked) { return isAll || isLinked; });
    }

    Table absent()
    {
        return devices([](bool isLinked) { return !isLinked; });
    }

    // Those that are linked, and those that have a door and are not: with what was heard of them last.
    Table devices(const std::function<bool(bool isLinked)>& isWanted)
    {
        Table table({{QStringLiteral("label"), QStringLiteral("Label")},
                     {QStringLiteral("state"), QStringLiteral("State")},
                     {QStringLiteral("accessPoint"), {}},
                     {QStringLiteral("door"), QStringLiteral("Door")},
                     {QStringLiteral("peer"), QStringLiteral("From")},
                     {QStringLiteral("lastHeard"), QStringLiteral("Last heard")},
                     {QStringLiteral("since"), QStringLiteral("Since")},
                     {QStringLiteral("type"), {}},
                     {QStringLiteral("typeName"), QStringLiteral("Type")},
                     {QStringLiteral("system"), QStringLiteral("System")},
                     {QStringLiteral("handshakeMs"), QStringLiteral("Handshake ms")},
                     {QStringLiteral("sent"), QStringLiteral("Sent")},
                     {QStringLiteral("received"), QStringLiteral("Received")},
                     {QStringLiteral("upToDate"), QStringLiteral("Up to date")},
                     {QStringLiteral("revision"), {}},
                     {QStringLiteral("fault"), {}},
                     {QStringLiteral("server"), QStringLiteral("Server")}});
        QMap<QString, QVariantMap> shown; // by label, in the order of ids
        const QList<QVariantMap> linked = rows();
        for (QVariantMap row : linked) {
            row.insert(QStringLiteral("state"), QStringLiteral("linked"));
            shown.insert(row.value(QStringLiteral("label")).toString(), row);
        }
        addDoors(shown);
        for (const QVariantMap& row : qAsConst(shown)) {
            if (isWanted(row.value(QStringLiteral("state")) == QLatin1String("linked")))
                table.addRowOf(row);
        }
        return table;
    }

    // What this server knows of doors and of those who are absent; nothing when it does not serve.
    void addDoors(QMap<QString, QVariantMap>& shown)
    {
        QString error;
        CSqlAccessControl* installation = session().model(error);
        const CDoorController* controller = session().doors();
        if (!installation || !controller)
            return;
        const QList<CDoorController::Status> all = controller->statuses();
        QList<CItemId> doors;
        for (const CDoorController::Status& status : all)
            doors.append(status.accessPoint);
        const QMap<CItemId, QString> names = CModelReader(installation).labels(doors);
        const QMap<quint32, CDeviceSightings::Sighting> sightings = session().sightings()->all();
        for (const CDoorController::Status& status : all) {
            QVariantMap& row = shown[status.device.toLabel()];
            if (row.isEmpty()) {
                row = absentRow(status, sightings.value(status.device.value()));
                row.insert(QStringLiteral("state"), QStringLiteral("absent"));
            }
            if (status.accessPoint != CItemId())
                row.insert(QStringLiteral("accessPoint"), QString::number(status.accessPoint.value()));
            row.insert(QStringLiteral("door"), names.value(status.accessPoint));
        }
    }

    static QVariantMap absentRow(const CDoorController::Status& status, const CDeviceSightings::Sighting& last)
    {
        return {{QStringLiteral("label"), status.device.toLabel()},
                {QStringLiteral("typeName"), QString()},
                {QStringLiteral("system"), QString()},
                {QStringLiteral("peer"), last.address},
                {QStringLiteral("since"), QString()},
                {QStringLiteral("lastHeard"), last.at.isValid() ? isoTime(last.at) : QStringLiteral("never")},
                {QStringLiteral("upToDate"), status.isUpToDate},
                {QStringLiteral("revision"), QString::fromLatin1(status.revision)},
                {QStringLiteral("fault"), status.fault}};
    }

    Table refusals()
    {
        Table table({{QStringLiteral("time"), QStringLiteral("Time")},
                     {QStringLiteral("peer"), QStringLiteral("From")},
                     {QStringLiteral("device"), QStringLiteral("Claimed to be")},
                     {QStringLiteral("reason"), QStringLiteral("Reason")}});
        const auto refusals = session().server() ? session().server()->refusals() : QVector<DeviceServer::Refusal>();
        for (const DeviceServer::Refusal& refusal : refusals)
            table.addRow({isoTime(refusal.time), refusal.peer, refusal.device, refusal.reason});
        return table;
    }

    bool m_isAll = false;
};

} // namespace

extern const CommandEntry serveCommand = {"serve", "Accepts devices that call this console, in the background.",
                                          &makeCommand<ServeCommand>, true};

extern const CommandEntry devicesCommand = {"devices", "Shows the linked, absent and refused devices.",
                                            &makeCommand<DevicesCommand>};
