#include "shell/table.h"

#include "shell/terminal.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace {

QString cellText(const QVariant& value)
{
    QString text;
    if (value.userType() == QMetaType::QStringList || value.userType() == QMetaType::QVariantList)
        text = value.toStringList().join(QLatin1String(", "));
    else if (value.userType() == QMetaType::Double)
        text = QString::number(value.toDouble(), 'f', 1);
    else
        text = value.toString();
    // What devices and files say is not to be trusted.
    return Terminal::printable(text);
}

} // namespace

QString isoTime(const QDateTime& time)
{
    return time.isValid() ? time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate) : QString();
}

QString Table::text(int row, int column) const
{
    return cellText(m_rows.at(row).value(column));
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
    for (const QVariantList& row : m_rows) {
        QJsonObject object;
        for (int c = 0; c < m_columns.size(); ++c)
            object.insert(m_columns.at(c).key, QJsonValue::fromVariant(row.value(c)));
        rows.append(object);
    }
    return QString::fromUtf8(QJsonDocument(rows).toJson(QJsonDocument::Compact));
}
