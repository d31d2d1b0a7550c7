#include "shell/command.h"
#include "shell/terminal.h"

#include <foundation/core/circular_log_buffer.h>

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
        CCircularLogBuffer* buffer = CCircularLogBuffer::getInstanceUsedAsMessageHandler();
        QStringList lines = QString::fromUtf8(buffer ? buffer->readAll() : QByteArray()).split(QLatin1Char('\n'));
        lines.removeLast(); // behind the last line feed
        if (options.isSet(QStringLiteral("match")))
            lines = lines.filter(options.value(QStringLiteral("match")));
        lines = lines.mid(qMax(0, int(lines.size()) - most));
        if (!isJson()) {
            for (const QString& line : qAsConst(lines))
                output().line(Terminal::printable(line));
            return done();
        }
        // "12:34:56.789 INF text"; lines without that are the rest of a text of several.
        Table table({{QStringLiteral("time"), {}}, {QStringLiteral("level"), {}}, {QStringLiteral("text"), {}}});
        for (const QString& line : qAsConst(lines)) {
            const bool whole = line.size() > 17 && line.at(2) == QLatin1Char(':') && line.at(8) == QLatin1Char('.');
            table.addRow(
                {whole ? line.left(12) : QString(), whole ? line.mid(13, 3) : QString(), whole ? line.mid(17) : line});
        }
        print(table);
        done();
    }
};

} // namespace

extern const CommandEntry logCommand = {"log", "Shows the last lines of the log.", &makeCommand<LogCommand>};
