#include "shell/help_text.h"

#include "shell/terminal.h"

namespace {

// So much room is wanted for what is continued; with less the lines stay as they are.
constexpr int leastRoom = 20;

// Where the last column of a line begins.
int lastColumn(const QString& line)
{
    int begin = 0;
    while (begin < line.size() && line.at(begin) == QLatin1Char(' '))
        ++begin;
    int blanks = int(line.indexOf(QLatin1String("  "), begin));
    while (blanks >= 0 && blanks < line.size() && line.at(blanks) == QLatin1Char(' '))
        ++blanks;
    return blanks < 0 ? begin : blanks;
}

QStringList wrapped(const QString& line, int columns)
{
    const int indent = lastColumn(line);
    if (columns - indent < leastRoom)
        return {line};
    QStringList lines{line.left(indent)};
    bool isBegun = false; // a word stands in the last line
    const QStringList words = line.mid(indent).split(QLatin1Char(' '));
    for (const QString& word : words) {
        if (isBegun && Terminal::width(lines.constLast()) + 1 + Terminal::width(word) > columns) {
            lines.append(QString(indent, QLatin1Char(' ')));
            isBegun = false;
        }
        lines.last() += isBegun ? QString(QLatin1Char(' ') + word) : word;
        isBegun = true;
    }
    return lines;
}

} // namespace

QStringList wrappedHelp(const QStringList& lines, int columns)
{
    QStringList shown;
    for (const QString& line : lines)
        shown += columns > 0 && Terminal::width(line) > columns ? wrapped(line, columns) : QStringList(line);
    return shown;
}
