#include "commands/model_command.h"

#include <foundation/access/lock_messages.h>
#include <server/devices/door_controller.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QPointer>

namespace {

// Opens a door by its device, and waits until the device says that it did.
class OpenCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("DOOR"));
        options.addValue(QStringLiteral("seconds"), QStringLiteral("S"), QStringLiteral("how long the door stays open"),
                         QString::number(CLockOpen::defaultSeconds));
        options.addValue(QStringLiteral("comment"), QStringLiteral("TEXT"),
                         QStringLiteral("comment for the audit trail"));
    }

    void start(AppOptions& options) override
    {
        CLockOpen command;
        command.seconds = options.number(QStringLiteral("seconds"), 1, CLockOpen::mostSeconds);
        command.comment = options.value(QStringLiteral("comment"));
        if (command.comment.size() > CLockOpen::longestText)
            options.setError(QStringLiteral("--comment takes up to %1 characters").arg(CLockOpen::longestText));
        if (!options.error().isEmpty())
            return;
        const QString name = options.positional().constFirst();
        CItemId door;
        if (!find(Named::Door, name, door))
            return;
        const CDeviceId device = CDoorController::deviceOf(model()->database(), door);
        if (!device.isValid())
            return fail(QStringLiteral("\"%1\" has no device (see: doors assign)").arg(name));
        command.operatorName = session().operatorName().left(CLockOpen::longestText);
        QPointer<OpenCommand> guard(this);
        const auto answer = [guard](const QString& error) {
            if (guard && error.isEmpty())
                guard->done();
            else if (guard)
                guard->fail(error);
        };
        if (CDoorController* doors = session().doors())
            return doors->command(device, command, answer);
        QString error;
        if (!CDoorController::askRemote(session().remote(error), device, command, answer))
            fail(QStringLiteral("the device of \"%1\" is not linked to any server").arg(name));
    }
};

} // namespace

extern const CommandEntry openCommand = {"open", "Opens a door by its device.", &makeCommand<OpenCommand>};
