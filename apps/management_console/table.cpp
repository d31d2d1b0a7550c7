#include "table.h"

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
    // What devices and files say must not steer the terminal.
    for (QChar& character : text) {
        if (!character.isPrint() && !character.isSurrogate())
            character = QLatin1Char('?');
    }
    return text;
}

} // namespace

QStringList Table::toText(bool colour) const
{
    QVector<QStringList> cells;
    QVector<int> widths(m_columns.size(), 0);
    QVector<bool> numeric(m_columns.size(), true);
    QStringList titles;
    for (const Column& column : m_columns)
        titles.append(column.title);
    cells.append(titles);
    for (const QVariantList& row : m_rows) {
        QStringList texts;
        for (int c = 0; c < m_columns.size(); ++c) {
            const QVariant value = row.value(c);
            texts.append(cellText(value));
            numeric[c] = numeric[c] && (value.userType() == QMetaType::Int || value.userType() == QMetaType::Double);
        }
        cells.append(texts);
    }
    for (const QStringList& row : cells) {
        for (int c = 0; c < row.size(); ++c)
            widths[c] = qMax(widths[c], row.at(c).size());
    }
    QStringList lines;
    for (const QStringList& row : cells) {
        QString line;
        for (int c = 0; c < row.size(); ++c) {
            const bool right = numeric.at(c) && !m_rows.isEmpty();
            line += right ? row.at(c).rightJustified(widths.at(c)) : row.at(c).leftJustified(widths.at(c));
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
