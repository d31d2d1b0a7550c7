#pragma once

#include "common/app_options.h"
#include "shell/table.h"

#include <QtCore/QVariant>
#include <QtCore/QVector>

/// KEY=VALUE as an argument: the first "=" separates, the value may be empty.
struct KeyValue
{
    QString key;
    QString value;
};

/// Reads arguments of that form. False, with a mistake in `options`, when one has no "=" or no key, or when a key is
/// given twice.
bool readKeyValues(const QStringList& words, QVector<KeyValue>& read, AppOptions& options);

/// How a table is shown: --columns A,B, --sort COLUMN, --csv FILE with --csv-guard.
class TableOptions
{
public:
    static void add(AppOptions& options);
    /// Options that were not added say nothing.
    void read(AppOptions& options);

    /// Chooses and orders; false with a mistake in one line.
    bool apply(Table& table, QString& mistake) const;
    /// The column that rows are ordered by; empty: none.
    QString sortColumn() const { return m_sort; }
    bool isDescending() const { return m_descending; }
    bool hasColumns() const { return !m_columns.isEmpty(); }
    /// None of them is given.
    bool isPlain() const { return m_columns.isEmpty() && m_sort.isEmpty() && m_csvFile.isNull(); }
    /// Where a CSV file is wanted; null: nowhere.
    QString csvFile() const { return m_csvFile; }
    /// Texts that a spreadsheet would take for formulas are marked in it.
    bool isCsvGuarded() const { return m_isCsvGuarded; }

private:
    QStringList m_columns;
    QString m_sort;
    bool m_descending = false;
    QString m_csvFile;
    bool m_isCsvGuarded = false;
};

/// Which rows of a list are wanted: --filter KEY=VALUE (repeatable, all must match), --after ID, --limit N. The table
/// that shows them has TableOptions.
class ListOptions
{
public:
    static void add(AppOptions& options);
    /// False with a mistake in `options`.
    bool read(AppOptions& options);

    const QVector<KeyValue>& filter() const { return m_filter; }
    qint64 after() const { return m_after; } ///< 0: from the first on
    int limit() const { return m_limit; }    ///< 0: all

    /// Of items that are in memory those that are wanted, in the order of their ids. `leftOut` is the number of those
    /// that only the limit keeps out.
    QVariantList select(const QVariantList& items, int& leftOut) const;

private:
    QVector<KeyValue> m_filter;
    qint64 m_after = 0;
    int m_limit = 0;
};
