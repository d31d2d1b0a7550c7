#include "commands/model_command.h"

namespace {

class HelpCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("[COMMAND]"));
        TableOptions::add(options);
    }

    void start(AppOptions& options) override
    {
        const QStringList names = options.positional();
        if (names.isEmpty()) {
            Table table({{QStringLiteral("command"), QStringLiteral("Command")},
                         {QStringLiteral("summary"), QStringLiteral("What it does")}});
            for (const CommandEntry* entry : session().commands())
                table.addRow({QString::fromUtf8(entry->name), QString::fromUtf8(entry->summary)});
            print(table);
            if (!isJson() && tableOptions().csvFile().isNull())
                output().lines(
                    QStringList{QString(), QStringLiteral("`help COMMAND` shows the arguments and options of a "
                                                          "command. Name items by id or label. To begin:")}
                    + firstSteps());
            return done();
        }
        const CommandEntry* entry = session().findCommand(names.constFirst());
        if (!entry)
            return fail(QStringLiteral("there is no command \"%1\"").arg(names.constFirst()));
        const std::unique_ptr<Command> command(entry->create(session(), output()));
        const QString help = command->help(QLatin1String(entry->name), QString::fromUtf8(entry->summary));
        output().lines(help.split(QLatin1Char('\n')));
        done();
    }
};

} // namespace

extern const CommandEntry helpCommand = {"help", "Lists the commands, or the arguments and options of one.",
                                         &makeCommand<HelpCommand>, true};
