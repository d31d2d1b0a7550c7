#include "server/device_server.h"
#include "shell/command.h"

#include <server/devices/door_controller.h>
#include <server/devices/remote_devices.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>

namespace {

// One screen about the server: whoever looks at it knows whether something is wrong.
class StatusCommand : public Command
{
public:
    using Command::Command;

    void start(AppOptions&) override
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        const DeviceServer* server = session().server();
        add("version", "Version", QStringLiteral(KYR_VERSION));
        add("serving", "Serving", server != nullptr);
        add("since", "Since", server ? isoTime(server->since()) : QVariant());
        add("port", "Port", server ? QVariant(int(server->port())) : QVariant());
        addDevices(server);
        addCertificate(server);
        const CDatabase* database = installation->database();
        add("database", "Database", database->location());
        add("backend", "Backend", database->backend());
        const CNotificationBridge* bridge = session().bridge();
        const CNotificationBridge::Status broker = bridge ? bridge->status() : CNotificationBridge::Status();
        add("broker", "Broker", bridge ? broker.broker : QString());
        add("brokerConnected", "Broker connected", bridge ? QVariant(broker.isConnected) : QVariant());
        add("brokerFault", "Broker fault", broker.fault);
        add("brokerWaiting", "Messages for the broker", bridge ? QVariant(broker.waiting) : QVariant());
        add("brokerDropped", "Messages dropped", bridge ? QVariant(broker.dropped) : QVariant());
        QString error;
        const CRemoteDevices* remote = server ? session().remote(error) : nullptr;
        add("expiredCommands", "Commands too late", remote ? QVariant(remote->expiredCommands()) : QVariant());
        add("repeatedCommands", "Commands repeated", remote ? QVariant(remote->repeatedCommands()) : QVariant());
        const CMailOutbox* outbox = session().outbox(error);
        add("mail", "Mail", session().sendsMail() ? QStringLiteral("sent") : QStringLiteral("no mail server"));
        add("mailsWaiting", "Mails waiting", outbox ? outbox->waiting() : 0);
        add("mailsGivenUp", "Mails given up", outbox ? outbox->givenUp() : 0);
        Table table(m_columns);
        table.addRow(m_values);
        printOne(table);
        done();
    }

private:
    void add(const char* key, const char* title, const QVariant& value)
    {
        // What there is nothing to say of is in JSON only.
        m_columns.append({QLatin1String(key), value.toString().isEmpty() ? QString() : QString::fromLatin1(title)});
        m_values.append(value);
    }

    void addDevices(const DeviceServer* server)
    {
        int absent = 0;
        int behind = 0;
        const QList<CDoorController::Status> all =
            session().doors() ? session().doors()->statuses() : QList<CDoorController::Status>();
        for (const CDoorController::Status& status : all) {
            absent += status.isLinked ? 0 : 1;
            behind += status.isUpToDate ? 0 : 1;
        }
        const auto number = [server](qint64 count) { return server ? QVariant(int(count)) : QVariant(); };
        add("links", "Devices linked", number(server ? server->links().size() : 0));
        add("absent", "Devices absent", number(absent));
        add("notUpToDate", "Not up to date", number(behind));
        add("refusals", "Refusals", number(server ? server->refusalCount() : 0));
        const bool isRefused = server && !server->refusals().isEmpty();
        add("lastRefusal", "Last refusal",
            isRefused ? QStringLiteral("%1 %2: %3")
                            .arg(isoTime(server->refusals().constLast().time), server->refusals().constLast().peer,
                                 server->refusals().constLast().reason)
                      : QString());
        add("clients", "Notification clients", number(server ? server->clients() : 0));
    }

    void addCertificate(const DeviceServer* server)
    {
        const QDateTime end = server ? server->certificateEnd() : QDateTime();
        add("certificateEnd", "Certificate ends", isoTime(end));
        const qint64 days = QDateTime::currentDateTimeUtc().daysTo(end);
        if (end.isValid() && days < warnDays)
            warn(days < 0 ? QStringLiteral("the certificate has expired: devices refuse it")
                          : QStringLiteral("the certificate ends in %1 days").arg(days));
    }

    static constexpr int warnDays = 30;
    QVector<Table::Column> m_columns;
    QVariantList m_values;
};

} // namespace

extern const CommandEntry statusCommand = {"status", "Shows the state of the server on one screen.",
                                           &makeCommand<StatusCommand>};
