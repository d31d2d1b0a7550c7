#include "commands/model_command.h"

#include <QtCore/QJsonArray>

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
            if (isJson() || !tableOptions().isPlain())
                print(table);
            else
                showOverview(table);
            return done();
        }
        const CommandEntry* entry = session().findCommand(names.constFirst());
        if (!entry)
            return fail(QStringLiteral("there is no command \"%1\"").arg(names.constFirst()));
        const std::unique_ptr<Command> command(entry->create(session(), output()));
        const QString help = command->help(QLatin1String(entry->name), QString::fromUtf8(entry->summary));
        if (isJson())
            say(QString(), describe(*entry, *command));
        else
            showHelp(help);
        done();
    }

private:
    // Whole sentences: a table would cut them.
    void showOverview(const Table& table)
    {
        int width = 0;
        for (int row = 0; row < table.rowCount(); ++row)
            width = qMax(width, int(table.text(row, 0).size()));
        QStringList lines;
        for (int row = 0; row < table.rowCount(); ++row)
            lines.append(table.text(row, 0).leftJustified(width + 2) + table.text(row, 1));
        lines += QStringList{
            QString(), QStringLiteral("`help COMMAND` shows the arguments and options of a command. Name items by "
                                      "id or label. To begin:")};
        showHelp((lines + firstSteps()).join(QLatin1Char('\n')));
    }

    // For programs that call this one.
    static QJsonObject describe(const CommandEntry& entry, const Command& command)
    {
        QJsonArray calls;
        QStringList verbs;
        for (const Verb& verb : command.verbs())
            verbs.append(QLatin1String(verb.name));
        if (verbs.isEmpty())
            verbs.append(QString());
        for (const QString& verb : qAsConst(verbs)) {
            QStringList arguments = verb.isEmpty() ? QStringList() : QStringList(verb);
            const std::unique_ptr<AppOptions> options = command.optionsBehind(QLatin1String(entry.name), arguments);
            QJsonArray described;
            for (const AppOptions::Option& option : options->options())
                described.append(QJsonObject{{QStringLiteral("name"), option.name},
                                             {QStringLiteral("value"), option.valueName},
                                             {QStringLiteral("description"), option.description}});
            calls.append(QJsonObject{{QStringLiteral("verb"), verb},
                                     {QStringLiteral("arguments"), options->positionalSyntax()},
                                     {QStringLiteral("options"), described}});
        }
        return {{QStringLiteral("command"), QLatin1String(entry.name)},
                {QStringLiteral("summary"), QString::fromUtf8(entry.summary)},
                {QStringLiteral("calls"), calls}};
    }
};

} // namespace

extern const CommandEntry helpCommand = {"help", "Lists the commands, or the arguments and options of one.",
                                         &makeCommand<HelpCommand>, true};
