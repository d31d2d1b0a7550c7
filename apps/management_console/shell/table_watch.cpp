#include "shell/table_watch.h"

#include "shell/terminal.h"

TableWatch::TableWatch(Output& output, bool json, const std::function<Table()>& view, const QStringList& restless,
                       QObject* parent)
    : QObject(parent)
    , m_output(output)
    , m_json(json)
    , m_view(view)
    , m_restless(restless)
{
    connect(&m_timer, &QTimer::timeout, this, &TableWatch::look);
    m_timer.start(interval);
}

void TableWatch::look()
{
    const Table table = m_view();
    if (m_json || m_output.rows() == 0)
        return printChanges(table);
    const QStringList lines = table.toText(m_output.colour(), m_output.columns() - 1); // the cursor stands behind it
    if (lines == m_shown)
        return;
    m_shown = lines;
    QStringList shown = fitting(lines, m_output.rows() - 1, false);
    shown.append(QStringLiteral("Last change %1  (Ctrl+C ends)").arg(isoTime(QDateTime::currentDateTime())));
    m_output.redraw(shown);
}

void TableWatch::printChanges(const Table& table)
{
    const QStringList json = m_json ? table.toJsonLines() : QStringList();
    QMap<QString, QString> known;
    for (int row = 0; row < table.rowCount(); ++row) {
        const QString name = table.text(row, 0);
        QString state;
        for (int column = 0; column < table.columnCount(); ++column) {
            if (!m_restless.contains(table.key(column)))
                state += table.text(row, column) + QLatin1Char('\n');
        }
        known.insert(name, state);
        if (m_known.value(name) != state)
            m_output.line(m_json ? json.at(row) : rowAsLine(table, row));
    }
    for (auto gone = m_known.cbegin(); gone != m_known.cend(); ++gone) {
        if (known.contains(gone.key()))
            continue;
        Table last({{table.key(0), table.title(0)}, {QStringLiteral("gone"), {}}});
        last.addRow({gone.key(), true});
        m_output.line(m_json ? last.toJsonLines().constFirst() : gone.key() + QLatin1String("  gone"));
    }
    m_known = known;
}

void TableWatch::end()
{
    m_timer.stop();
    if (!m_shown.isEmpty())
        m_output.redraw({});
}

QString rowAsLine(const Table& table, int row)
{
    QStringList words;
    for (int column = 0; column < table.columnCount(); ++column) {
        if (!table.title(column).isEmpty() && !table.text(row, column).isEmpty())
            words.append(Terminal::printable(table.text(row, column)));
    }
    return words.join(QStringLiteral("  "));
}

QStringList fitting(const QStringList& lines, int rows, bool last)
{
    if (rows < 4 || lines.size() < rows)
        return lines;
    const int room = rows - 2; // beside the header and what is said of the rest
    const int left = int(lines.size()) - 1 - room;
    const QString rest = QStringLiteral("... %1 more").arg(left);
    QStringList shown{lines.constFirst()};
    if (last)
        return shown + QStringList(rest) + lines.mid(lines.size() - room);
    return shown + lines.mid(1, room) + QStringList(rest);
}
