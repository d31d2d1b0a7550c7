#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

class QIODevice;

/// Whether one value of a column stands before another: numbers by their value, texts in the order of the locale.
bool isBefore(const QVariant& a, const QVariant& b);

/// To the second, with the offset from UTC; empty for none.
QString isoTime(const QDateTime& time);

/// Rows under named columns, shown as aligned text or as a JSON array with an object for each row.
class Table
{
public:
    struct Column
    {
        QString key;   ///< in JSON
        QString title; ///< in text; without one the column is in JSON only
    };

    explicit Table(const QVector<Column>& columns)
        : m_columns(columns)
    {
    }

    /// A value for each column; lists of texts are joined in text form.
    void addRow(const QVariantList& values) { m_rows.append(values); }
    /// Those of the map that bear the keys of the columns.
    void addRowOf(const QVariantMap& values);
    bool isEmpty() const { return m_rows.isEmpty(); }

    int rowCount() const { return m_rows.size(); }
    int columnCount() const { return m_columns.size(); }
    QString key(int column) const { return m_columns.at(column).key; }
    QString title(int column) const { return m_columns.at(column).title; }
    /// The value as it is, line feeds included.
    QString text(int row, int column) const;

    /// The column of that key or title, whatever the case; -1: there is none.
    int column(const QString& name) const;
    /// What columns can be called.
    QStringList columnNames() const;
    /// Keeps these columns alone, in this order; one that is in JSON only gets its key as title.
    void select(const QVector<int>& columns);
    /// Orders the rows by a column; those that are equal in it stay in their order.
    void sort(int column, bool descending);

    /// Aligned under the titles; see alignedLines().
    QStringList toText(bool colour, int columns = 0) const;
    QString toJson() const;
    /// An object for each row.
    QStringList toJsonLines() const;
    /// The titled columns as CSV, in the form that CCsvWriter describes; `isGuarded`: see its setFormulaGuard().
    void writeCsv(QIODevice& file, bool isGuarded) const;

    /// Of a table with one row: a line for each column, and an object instead of an array.
    QStringList toTextOfOne() const;
    QString toJsonOfOne() const;

private:
    QVector<Column> m_columns;
    QVector<QVariantList> m_rows;
};
