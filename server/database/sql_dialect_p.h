#pragma once

#include <QtCore/QString>

/// What one database says otherwise than another: the only place where they differ. All other statements are
/// understood by both.
struct SqlDialect
{
    /// Where the numbered scripts of the schema stand.
    QString migrations;
    /// Takes the write lock at once; later it could be refused without a wait.
    QString beginWrite;
    /// The same; where another program has the lock it answers nothing, or fails, at once.
    QString tryBeginWrite;
    /// All that is read until the end is of one moment; nobody waits.
    QString beginRead;
    /// The ids of a JSON list bound to one place.
    QString idList;
    /// A join in which the table on the left leads.
    QString leadingJoin;
    /// The highest id that an item was ever given, 0 for none.
    QString lastItemId;
    /// The time by the clock of the database, ms since 1970 UTC: the same for all who share it.
    QString now;

    static const SqlDialect& sqlite();
    static const SqlDialect& postgresql();
};
