#pragma once

#include "common/app_options.h"

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

/// Which rows of a list are wanted: --filter KEY=VALUE (repeatable, all must match), --after ID, --limit N.
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
