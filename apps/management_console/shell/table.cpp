#include "shell/table.h"

#include "shell/table_text.h"
#include "shell/terminal.h"

#include <foundation/core/qt_compat_p.h>
#include <foundation/formats/csv_writer.h>

#include <QtCore/QIODevice>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTextStream>

#include <algorithm>

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

bool isBefore(const QVariant& a, const QVariant& b)
{
    bool isNumberA = false;
    bool isNumberB = false;
    const QString textA = plainText(a);
    const QString textB = plainText(b);
    const double numberA = textA.toDouble(&isNumberA);
    const double numberB = textB.toDouble(&isNumberB);
    if (isNumberA && isNumberB && numberA != numberB)
        return numberA < numberB;
    if (isNumberA != isNumberB)
        return isNumberA;
    return QString::localeAwareCompare(textA, textB) < 0;
}

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

int Table::column(const QString& name) const
{
    for (int c = 0; c < m_columns.size(); ++c) {
        if (name.compare(m_columns.at(c).key, Qt::CaseInsensitive) == 0
            || name.compare(m_columns.at(c).title, Qt::CaseInsensitive) == 0)
            return name.isEmpty() ? -1 : c;
    }
    return -1;
}

QStringList Table::columnNames() const
{
    QStringList names;
    for (const Column& column : m_columns)
        names.append(column.key.isEmpty() ? column.title : column.key);
    return names;
}

void Table::select(const QVector<int>& columns)
{
    QVector<Column> chosen;
    for (const int c : columns) {
        Column column = m_columns.at(c);
        if (column.title.isEmpty())
            column.title = column.key;
        chosen.append(column);
    }
    m_columns = chosen;
    for (QVariantList& row : m_rows) {
        QVariantList cells;
        for (const int c : columns)
            cells.append(row.value(c));
        row = cells;
    }
}

void Table::sort(int column, bool descending)
{
    std::stable_sort(m_rows.begin(), m_rows.end(), [&](const QVariantList& a, const QVariantList& b) {
        return descending ? isBefore(b.value(column), a.value(column)) : isBefore(a.value(column), b.value(column));
    });
}

QStringList Table::toText(bool colour, int columns) const
{
    QVector<TextColumn> shown;
    for (int c = 0; c < m_columns.size(); ++c) {
        if (m_columns.at(c).title.isEmpty())
            continue;
        TextColumn column{m_columns.at(c).title, {}, !m_rows.isEmpty()};
        for (const QVariantList& row : m_rows) {
            const QVariant value = row.value(c);
            column.cells.append(cellText(value));
            column.isNumeric =
                column.isNumeric && (value.userType() == QMetaType::Int || value.userType() == QMetaType::Double);
        }
        shown.append(column);
    }
    return alignedLines(shown, colour, columns);
}

QString Table::toJson() const
{
    QJsonArray rows;
    for (const QVariantList& row : m_rows)
        rows.append(rowObject(m_columns, row));
    return QString::fromUtf8(QJsonDocument(rows).toJson(QJsonDocument::Compact));
}

QStringList Table::toJsonLines() const
{
    QStringList lines;
    for (const QVariantList& row : m_rows)
        lines.append(QString::fromUtf8(QJsonDocument(rowObject(m_columns, row)).toJson(QJsonDocument::Compact)));
    return lines;
}

void Table::writeCsv(QIODevice& file, bool isGuarded) const
{
    CCsvWriter writer;
    writer.setFormulaGuard(isGuarded);
    QList<int> order;
    QStringList titles;
    for (int c = 0; c < m_columns.size(); ++c) {
        if (m_columns.at(c).title.isEmpty())
            continue;
        order.append(int(titles.size()));
        titles.append(m_columns.at(c).title);
    }
    writer.setColumns(order);
    QTextStream out(&file);
    QtCompat::setUtf8(out);
    out.setGenerateByteOrderMark(true);
    writer.writeHeader(out, titles);
    for (const QVariantList& row : m_rows) {
        QList<QVariant> values;
        for (int c = 0; c < m_columns.size(); ++c) {
            if (!m_columns.at(c).title.isEmpty())
                values.append(plainText(row.value(c)));
        }
        writer.writeRow(out, values);
    }
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
