// Who may pass which door: rights are given and taken away.
#include "commands/model_command.h"
#include "commands/time_text.h"

#include <foundation/datatypes/data_type.h>
#include <server/model/sql_access_control.h>

namespace {

class GrantCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("USER-OR-GROUP DOOR..."),
                              QStringLiteral("Adds a right at each door and prints its id, one line per door."));
        options.addValue(QStringLiteral("schedule"), QStringLiteral("SCHEDULE"),
                         QStringLiteral("schedule in which the right holds (default: always)"));
        options.addValue(QStringLiteral("from"), QStringLiteral("T"),
                         QStringLiteral("begin of the right: 2026-11-22T03:10, or a date (the begin of that day)"));
        options.addValue(QStringLiteral("to"), QStringLiteral("T"),
                         QStringLiteral("end of the right: a time, or a date (the end of that day)"));
        options.addSwitch(QStringLiteral("online"), QStringLiteral("the door asks the server each time"));
    }

    void start(AppOptions& options) override
    {
        const QStringList words = options.positional();
        QVariantMap right;
        if (!readPeriod(options, right))
            return;
        if (options.isSet(QStringLiteral("online")))
            right.insert(QStringLiteral("options"), uint(CDataType::AccessRightOptionOnlineAccess));
        CItemId holder;
        QList<CItemId> doors;
        if (!find(Named::UserOrGroup, words.constFirst(), holder) || !findAll(Named::Door, words.mid(1), doors))
            return;
        if (options.isSet(QStringLiteral("schedule"))) {
            CItemId schedule;
            if (!find(Named::Schedule, options.value(QStringLiteral("schedule")), schedule))
                return;
            right.insert(QStringLiteral("timeProfileId"), schedule.value());
        }
        QStringList rights;
        change(
            [&](CSqlAccessControl& model) {
                for (const CItemId door : qAsConst(doors)) {
                    const CItemId id = model.addAccessRight(holder, door, right);
                    if (id == CItemId())
                        return false;
                    rights.append(QString::number(id.value()));
                }
                return true;
            },
            &rights);
    }

private:
    static bool readPeriod(AppOptions& options, QVariantMap& right)
    {
        std::optional<qint64> bounds[2];
        const auto readBound = [&](const char* option, const char* property, CAccessTimeZone::DayEdge edge, int index) {
            const QString name = QLatin1String(option);
            if (!options.isSet(name))
                return true;
            bounds[index] = TimeText::consoleZone().instantFromText(options.value(name), edge);
            if (!bounds[index]) {
                options.setError(TimeText::mistake(QLatin1String("--") + name, options.value(name)));
                return false;
            }
            right.insert(QLatin1String(property), QDateTime::fromSecsSinceEpoch(*bounds[index]));
            return true;
        };
        if (!readBound("from", "validFrom", CAccessTimeZone::DayEdge::Begin, 0)
            || !readBound("to", "validTo", CAccessTimeZone::DayEdge::End, 1))
            return false;
        if (bounds[0] && bounds[1] && *bounds[1] < *bounds[0])
            options.setError(QStringLiteral("--to is before --from"));
        return options.error().isEmpty();
    }
};

class RevokeCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(
            QStringLiteral("USER-OR-GROUP DOOR..."),
            QStringLiteral("Removes all rights of this user or group at these doors; rights of a user's groups stay."));
    }

    void start(AppOptions& options) override
    {
        const QStringList words = options.positional();
        CItemId holder;
        QList<CItemId> doors;
        if (!find(Named::UserOrGroup, words.constFirst(), holder) || !findAll(Named::Door, words.mid(1), doors))
            return;
        watchDoors(doors);
        change([&](CSqlAccessControl& model) { return model.deleteAccessPointsOfUser(doors, holder); });
    }
};

} // namespace

extern const CommandEntry grantCommand = {"grant", "Gives a user or a group rights at doors.",
                                          &makeCommand<GrantCommand>};
extern const CommandEntry revokeCommand = {"revoke", "Removes rights of a user or a group at doors.",
                                           &makeCommand<RevokeCommand>};
