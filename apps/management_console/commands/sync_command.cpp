#include "shell/command.h"

#include <server/devices/door_controller.h>

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
        options.addPositional(QStringLiteral("[DEVICE]"),
                              QStringLiteral("all that are linked or have a door, without"));
        options.addValue(QStringLiteral("wait"), QStringLiteral("MS"), QStringLiteral("how long to wait for them"),
                         QStringLiteral("10000"));
        options.addSwitch(QStringLiteral("watch"), QStringLiteral("show meanwhile how far each of them is"));
        TableOptions::add(options);
    }

    void start(AppOptions& options) override
    {
        const int waitMs = options.number(QStringLiteral("wait"), 1, 3600000);
        if (!options.error().isEmpty())
            return;
        const QString label = options.positional().value(0);
        CDoorController* doors = session().doors();
        if (!doors)
            return fail(QStringLiteral("no devices are served here: ask the console that serves them (--attach)"));
        const QList<CDoorController::Status> all = doors->statuses();
        for (const CDoorController::Status& status : all) {
            if (label.isEmpty() || status.device.toLabel() == label)
                m_devices.append(status.device);
        }
        if (m_devices.isEmpty() && !label.isEmpty())
            return fail(QStringLiteral("no device \"%1\" is linked or has a door").arg(label));
        connect(doors, &CDoorController::statusChanged, this, &SyncCommand::look);
        QTimer::singleShot(waitMs, this, &SyncCommand::conclude);
        for (const CDeviceId device : qAsConst(m_devices))
            doors->sync(device);
        if (options.isSet(QStringLiteral("watch")))
            watch([this] { return table(); });
        look();
    }

    void cancel() override { fail(QStringLiteral("interrupted")); }

private:
    void look()
    {
        CDoorController* doors = session().doors();
        const bool isOver = !doors || std::all_of(m_devices.cbegin(), m_devices.cend(), [doors](CDeviceId device) {
            const CDoorController::Status status = doors->status(device);
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
        const CDoorController* doors = session().doors();
        if (!doors)
            return fail(QStringLiteral("serving has ended"));
        QStringList faults;
        for (const CDeviceId device : qAsConst(m_devices)) {
            const CDoorController::Status status = doors->status(device);
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
        const CDoorController* doors = session().doors();
        Table table({{QStringLiteral("label"), QStringLiteral("Label")},
                     {QStringLiteral("accessPoint"), QStringLiteral("Door")},
                     {QStringLiteral("upToDate"), QStringLiteral("Up to date")},
                     {QStringLiteral("revision"), {}},
                     {QStringLiteral("fault"), QStringLiteral("Why not")}});
        for (const CDeviceId device : qAsConst(m_devices)) {
            const CDoorController::Status status = doors ? doors->status(device) : CDoorController::Status();
            table.addRow({device.toLabel(),
                          status.accessPoint == CItemId() ? QString() : QString::number(status.accessPoint.value()),
                          status.isUpToDate, QString::fromLatin1(status.revision), status.fault});
        }
        return table;
    }

    QList<CDeviceId> m_devices;
    bool m_isOver = false;
};

} // namespace

extern const CommandEntry syncCommand = {"sync", "Brings devices up to date with the installation.",
                                         &makeCommand<SyncCommand>};
