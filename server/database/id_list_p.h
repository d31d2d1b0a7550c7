#pragma once

#include <server/database/sql_statement_p.h>

#include <QtCore/QList>

/// Ids that a statement looks for, bound to one place:
///
///     const IdList list(database, users);
///     SqlStatement find(database, QLatin1String("SELECT label FROM item WHERE id IN ") + list.sql());
///     for (find.bind(list.value()).exec(); find.next();)
///
/// The statement has one text for one id and one for any other number of them. One is asked for plainly: a server plans
/// that once, but lists each time anew, as it cannot know how many are in them.
class IdList
{
public:
    /// `count` of them from the place `from`; -1 for all that follow.
    IdList(CDatabase* database, const QList<qint64>& ids, int from = 0, int count = -1);

    const QString& sql() const { return m_sql; }
    const QVariant& value() const { return m_value; }

private:
    QString m_sql;
    QVariant m_value;
};
