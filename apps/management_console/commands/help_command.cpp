#include "commands/commands.h"
#include "shell/command.h"

namespace {

class HelpCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override { options.addPositional(QStringLiteral("[COMMAND]")); }

    void start(AppOptions& options) override
    {
        const QStringList names = options.positional();
        if (names.isEmpty()) {
            Table table({{QStringLiteral("command"), QStringLiteral("Command")},
                         {QStringLiteral("summary"), QStringLiteral("What it does")}});
            for (const CommandEntry& entry : commandTable())
                table.addRow({QString::fromUtf8(entry.name), QString::fromUtf8(entry.summary)});
            print(table);
            return done();
        }
        const CommandEntry* entry = findCommand(names.constFirst());
        if (!entry)
            return fail(QStringLiteral("there is no command \"%1\"").arg(names.constFirst()));
        session().lines(commandHelp(*entry, session()).split(QLatin1Char('\n')));
        done();
    }
};

class QuitCommand : public Command
{
public:
    using Command::Command;

    void start(AppOptions&) override { session().quit(); }
};

} // namespace

Command* createHelpCommand(Session& session)
{
    return new HelpCommand(session);
}

Command* createQuitCommand(Session& session)
{
    return new QuitCommand(session);
}
