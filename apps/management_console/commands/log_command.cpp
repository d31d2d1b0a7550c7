#include "common/log_setup.h"
#include "shell/command.h"
#include "shell/terminal.h"

#include <algorithm>

namespace {

class LogCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addValue(QStringLiteral("lines"), QStringLiteral("N"), QStringLiteral("number of lines"),
                         QStringLiteral("20"));
        options.addValue(QStringLiteral("match"), QStringLiteral("TEXT"),
                         QStringLiteral("only lines that contain this text"));
    }

    void start(AppOptions& options) override
    {
        const int most = options.number(QStringLiteral("lines"), 1, 1000000);
        if (!options.error().isEmpty())
            return;
        const QString wanted = options.value(QStringLiteral("match"));
        QVector<LogLine> lines = keptLog();
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [&wanted](const LogLine& line) { return !line.line.contains(wanted); }),
                    lines.end());
        lines = lines.mid(qMax(0, int(lines.size()) - most));
        if (!isJson()) {
            for (const LogLine& line : qAsConst(lines))
                output().line(Terminal::printable(line.line));
            return done();
        }
        Table table({{QStringLiteral("time"), {}}, {QStringLiteral("level"), {}}, {QStringLiteral("text"), {}}});
        for (const LogLine& line : qAsConst(lines)) {
            const QDateTime time = line.time.toOffsetFromUtc(line.time.offsetFromUtc());
            table.addRow({line.time.isValid() ? time.toString(Qt::ISODateWithMs) : QString(), line.level, line.text});
        }
        print(table);
        done();
    }
};

} // namespace

extern const CommandEntry logCommand = {"log", "Shows the last lines of the log.", &makeCommand<LogCommand>};
