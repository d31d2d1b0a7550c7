#include "shell/command.h"

#include <server/devices/door_controller.h>
#include <server/devices/remote_devices.h>
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <algorithm>

namespace {

// Brings one device or all up to date, and waits until they are.
class SyncCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(
            QStringLiteral("[DEVICE]"),
            QStringLiteral("DEVICE is a label (default: all devices that are linked or have a door)"));
        options.addValue(QStringLiteral("wait"), QStringLiteral("MS"), QStringLiteral("how long to wait for them"),
                         QStringLiteral("10000"));
        options.addSwitch(QStringLiteral("watch"), QStringLiteral("show the state of each device while it waits"));
        TableOptions::add(options);
    }

    void start(AppOptions& options) override
    {
        const int waitMs = options.number(QStringLiteral("wait"), 1, 3600000);
        if (!options.error().isEmpty())
            return;
        const QString label = options.positional().value(0);
        CDoorController* doors = session().doors();
        QString error;
        CRemoteDevices* remote = session().remote(error);
        if (!remote)
            return fail(error);
        QMap<quint32, CDeviceId> chosen;
        const auto choose = [&chosen, &label](CDeviceId device) {
            if (label.isEmpty() || device.toLabel() == label)
                chosen.insert(device.value(), device);
        };
        const QList<CDoorController::Status> all = doors ? doors->statuses() : QList<CDoorController::Status>();
        for (const CDoorController::Status& status : all)
            choose(status.device);
        const QList<CRemoteDevices::Link> links = remote->links();
        for (const CRemoteDevices::Link& link : links)
            choose(link.device);
        m_devices = chosen.values();
        if (!doors && m_devices.isEmpty())
            return fail(QStringLiteral("no devices are served here: ask the console that serves them (--attach)"));
        if (m_devices.isEmpty() && !label.isEmpty())
            return fail(QStringLiteral("no device \"%1\" is linked or has a door").arg(label));
        if (doors)
            connect(doors, &CDoorController::statusChanged, this, &SyncCommand::look);
        QTimer::singleShot(waitMs, this, &SyncCommand::conclude);
        for (const CDeviceId device : qAsConst(m_devices)) {
            if (doors && doors->status(device).isLinked)
                doors->sync(device);
            else if (remote->isElsewhere(device))
                askRemote(remote, device);
        }
        if (options.isSet(QStringLiteral("watch")))
            watch([this] { return table(); });
        look();
    }

    void cancel() override { fail(QStringLiteral("interrupted")); }

private:
    // What the server of a device says of it stands for its status.
    void askRemote(CRemoteDevices* remote, CDeviceId device)
    {
        CDoorController::Status waiting;
        waiting.device = device;
        waiting.isLinked = true;
        waiting.fault = QStringLiteral("its server has not answered");
        m_remote.insert(device.value(), waiting);
        const QPointer<SyncCommand> guard(this);
        const auto answer = [guard, device](const QString& error, const QJsonObject& result) {
            if (!guard)
                return;
            CDoorController::Status& status = guard->m_remote[device.value()];
            status.isLinked = false; // nothing more is to be waited for
            status.isUpToDate = error.isEmpty() && result.value(QLatin1String("upToDate")).toBool();
            status.accessPoint = result.value(QLatin1String("accessPoint")).toString().toLongLong();
            status.revision = result.value(QLatin1String("revision")).toString().toLatin1();
            status.fault = error.isEmpty() ? result.value(QLatin1String("fault")).toString() : error;
            guard->look();
        };
        remote->ask(device, QStringLiteral("sync"), {}, session().operatorName(), answer);
    }

    CDoorController::Status statusOf(CDeviceId device)
    {
        const auto remote = m_remote.constFind(device.value());
        if (remote != m_remote.cend())
            return *remote;
        return session().doors() ? session().doors()->status(device) : CDoorController::Status();
    }

    void look()
    {
        const bool isOver = std::all_of(m_devices.cbegin(), m_devices.cend(), [this](CDeviceId device) {
            const CDoorController::Status status = statusOf(device);
            return status.isUpToDate || !status.isLinked;
        });
        if (isOver)
            conclude();
    }

    void conclude()
    {
        if (m_isOver)
            return;
        m_isOver = true;
        QStringList faults;
        for (const CDeviceId device : qAsConst(m_devices)) {
            const CDoorController::Status status = statusOf(device);
            if (!status.isUpToDate)
                faults.append(QStringLiteral("%1 (%2)").arg(device.toLabel(), status.fault));
        }
        if (isWatching())
            watchNow();
        else
            print(table());
        if (faults.isEmpty())
            return done();
        fail(QStringLiteral("not up to date: %1").arg(faults.join(QLatin1String(", "))));
    }

    Table table()
    {
        Table table({{QStringLiteral("label"), QStringLiteral("Label")},
                     {QStringLiteral("accessPoint"), {}},
                     {QStringLiteral("door"), QStringLiteral("Door")},
                     {QStringLiteral("upToDate"), QStringLiteral("Up to date")},
                     {QStringLiteral("revision"), {}},
                     {QStringLiteral("fault"), QStringLiteral("Fault")}});
        QList<CItemId> doors;
        for (const CDeviceId device : qAsConst(m_devices))
            doors.append(statusOf(device).accessPoint);
        QString error;
        const CSqlAccessControl* installation = session().model(error);
        const QMap<CItemId, QString> names =
            installation ? CModelReader(installation).labels(doors) : QMap<CItemId, QString>();
        for (const CDeviceId device : qAsConst(m_devices)) {
            const CDoorController::Status status = statusOf(device);
            table.addRow({device.toLabel(),
                          status.accessPoint == CItemId() ? QString() : QString::number(status.accessPoint.value()),
                          names.value(status.accessPoint), status.isUpToDate, QString::fromLatin1(status.revision),
                          status.fault});
        }
        return table;
    }

    QList<CDeviceId> m_devices;
    QMap<quint32, CDoorController::Status> m_remote;
    bool m_isOver = false;
};

} // namespace

extern const CommandEntry syncCommand = {"sync", "Brings devices up to date with the installation.",
                                         &makeCommand<SyncCommand>};
