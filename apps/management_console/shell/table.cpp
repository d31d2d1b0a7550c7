#include "shell/table.h"

#include "shell/terminal.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace {

QString plainText(const QVariant& value)
{
    if (value.userType() == QMetaType::QStringList || value.userType() == QMetaType::QVariantList)
        return value.toStringList().join(QLatin1String(", "));
    if (value.userType() == QMetaType::Double)
        return QString::number(value.toDouble(), 'f', 1);
    return value.toString();
}

// What devices and files say is not to be trusted.
QString cellText(const QVariant& value)
{
    return Terminal::printable(plainText(value));
}

QJsonObject rowObject(const QVector<Table::Column>& columns, const QVariantList& row)
{
    QJsonObject object;
    for (int c = 0; c < columns.size(); ++c)
        object.insert(columns.at(c).key, QJsonValue::fromVariant(row.value(c)));
    return object;
}

} // namespace

QString isoTime(const QDateTime& time)
{
    return time.isValid() ? time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate) : QString();
}

void Table::addRowOf(const QVariantMap& values)
{
    QVariantList row;
    for (const Column& column : qAsConst(m_columns))
        row.append(values.value(column.key));
    addRow(row);
}

QString Table::text(int row, int column) const
{
    return plainText(m_rows.at(row).value(column));
}

QStringList Table::toText(bool colour) const
{
    QVector<int> shown;
    for (int c = 0; c < m_columns.size(); ++c) {
        if (!m_columns.at(c).title.isEmpty())
            shown.append(c);
    }
    QVector<QStringList> cells(m_rows.size() + 1);
    QVector<int> widths;
    QVector<bool> numeric;
    for (int c : qAsConst(shown)) {
        int width = int(m_columns.at(c).title.size());
        bool numbers = !m_rows.isEmpty();
        cells[0].append(m_columns.at(c).title);
        for (int r = 0; r < m_rows.size(); ++r) {
            const QVariant value = m_rows.at(r).value(c);
            const QString text = cellText(value);
            numbers = numbers && (value.userType() == QMetaType::Int || value.userType() == QMetaType::Double);
            width = qMax(width, int(text.size()));
            cells[r + 1].append(text);
        }
        widths.append(width);
        numeric.append(numbers);
    }
    QStringList lines;
    for (const QStringList& row : qAsConst(cells)) {
        QString line;
        for (int c = 0; c < row.size(); ++c) {
            line += numeric.at(c) ? row.at(c).rightJustified(widths.at(c)) : row.at(c).leftJustified(widths.at(c));
            line += QLatin1String("  ");
        }
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        if (lines.isEmpty() && colour)
            line = QLatin1String("\033[1m") + line + QLatin1String("\033[0m");
        lines.append(line);
    }
    return lines;
}

QString Table::toJson() const
{
    QJsonArray rows;
    for (const QVariantList& row : m_rows)
        rows.append(rowObject(m_columns, row));
    return QString::fromUtf8(QJsonDocument(rows).toJson(QJsonDocument::Compact));
}

QStringList Table::toTextOfOne() const
{
    int width = 0;
    for (const Column& column : m_columns)
        width = qMax(width, int(column.title.size()));
    QStringList lines;
    for (int c = 0; c < m_columns.size(); ++c) {
        if (!m_columns.at(c).title.isEmpty())
            lines.append(m_columns.at(c).title.leftJustified(width + 2) + cellText(m_rows.value(0).value(c)));
    }
    return lines;
}

QString Table::toJsonOfOne() const
{
    return QString::fromUtf8(QJsonDocument(rowObject(m_columns, m_rows.value(0))).toJson(QJsonDocument::Compact));
}
