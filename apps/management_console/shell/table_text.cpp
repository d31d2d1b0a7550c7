#include "shell/table_text.h"

#include "shell/terminal.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

// A column of a table that is too wide for the terminal keeps so much.
constexpr int narrowest = 12;
constexpr int gap = 2; // blanks between two columns
constexpr QChar ellipsis(0x2026);

struct Column : TextColumn
{
    int width = 0;
    int least = 0; // that it may be cut to
};
using Columns = QVector<Column>;

void measure(Column& column)
{
    column.width = Terminal::width(column.title);
    for (const QString& cell : qAsConst(column.cells))
        column.width = qMax(column.width, Terminal::width(cell));
}

int total(const Columns& table, int Column::*width)
{
    int sum = -gap;
    for (const Column& column : table)
        sum += column.*width + gap;
    return sum;
}

bool isEmpty(const Column& column)
{
    return std::all_of(column.cells.begin(), column.cells.end(), [](const QString& cell) { return cell.isEmpty(); });
}

// "2026-11-22T03:10:00+01:00" in each cell becomes "2026-11-22 03:10:00", and "Time" becomes "Time +01:00". False when
// it is no column of such times.
bool shortenTimes(Column& column)
{
    static const QRegularExpression form(
        QStringLiteral("^(\\d{4}-\\d\\d-\\d\\d)T(\\d\\d:\\d\\d:\\d\\d)(Z|[+-]\\d\\d:\\d\\d)$"));
    QStringList cells;
    QString offset;
    for (const QString& cell : qAsConst(column.cells)) {
        const QRegularExpressionMatch time = form.match(cell);
        if (!cell.isEmpty() && (!time.hasMatch() || (!offset.isEmpty() && offset != time.captured(3))))
            return false;
        if (!cell.isEmpty())
            offset = time.captured(3);
        cells.append(cell.isEmpty() ? cell : QString(time.captured(1) + QLatin1Char(' ') + time.captured(2)));
    }
    if (offset.isEmpty())
        return false;
    column.cells = cells;
    column.title += QLatin1Char(' ') + offset;
    measure(column);
    return true;
}

// Those at the end for which there is no room go; an ellipsis tells where there was something.
void dropLast(Columns& table, int room)
{
    Column rest;
    rest.title = ellipsis;
    rest.width = rest.least = 1;
    while (table.size() > 1 && total(table, &Column::least) + gap + rest.width > room) {
        const Column dropped = table.takeLast();
        rest.cells.reserve(dropped.cells.size());
        for (int row = 0; row < dropped.cells.size(); ++row) {
            if (row >= rest.cells.size())
                rest.cells.append(QString());
            if (!dropped.cells.at(row).isEmpty())
                rest.cells[row] = ellipsis;
        }
    }
    table.append(rest);
}

// The widest give way first.
void narrow(Columns& table, int room)
{
    int excess = total(table, &Column::width) - room;
    int widest = 0;
    for (const Column& column : qAsConst(table))
        widest = qMax(widest, column.width);
    for (int width = widest; excess > 0 && width > 0; --width) {
        for (Column& column : table) {
            if (excess > 0 && column.width == width && width > column.least) {
                --column.width;
                --excess;
            }
        }
    }
}

void fit(Columns& table, int room)
{
    if (!table.constFirst().cells.isEmpty())
        table.erase(std::remove_if(table.begin() + 1, table.end(), isEmpty), table.end());
    for (Column& column : table) {
        // A time that is cut says nothing.
        const bool isTime = shortenTimes(column);
        column.least = isTime ? column.width : qMin(column.width, narrowest);
    }
    // The first one says what a row is about.
    table.first().least = qMin(table.first().width, qMax(narrowest, room / 2));
    if (total(table, &Column::least) > room)
        dropLast(table, room);
    narrow(table, room);
}

} // namespace

QStringList alignedLines(const QVector<TextColumn>& texts, bool colour, int columns)
{
    if (texts.isEmpty())
        return {};
    const int rows = int(texts.constFirst().cells.size());
    Columns table;
    for (const TextColumn& text : texts) {
        Column column;
        static_cast<TextColumn&>(column) = text;
        measure(column);
        table.append(column);
    }
    const bool isTooWide = columns > 0 && total(table, &Column::width) > columns;
    if (isTooWide)
        fit(table, columns);
    QStringList lines;
    for (int row = -1; row < rows; ++row) {
        QString line;
        for (const Column& column : qAsConst(table)) {
            const QString text = row < 0 ? column.title : column.cells.at(row);
            const QString cell = isTooWide ? Terminal::cut(text, column.width) : text;
            const QString filling(column.width - Terminal::width(cell), QLatin1Char(' '));
            line += column.isNumeric ? QString(filling + cell) : QString(cell + filling);
            line += QString(gap, QLatin1Char(' '));
        }
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        line = Terminal::cut(line, columns);
        if (row < 0 && colour)
            line = QLatin1String("\033[1m") + line + QLatin1String("\033[0m");
        lines.append(line);
    }
    return lines;
}
