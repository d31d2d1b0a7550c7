#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class QSqlError;

/// What one database says otherwise than another: the only place where they differ. All other statements are
/// understood by both.
struct SqlDialect
{
    /// Of Qt Sql.
    QString driver;
    /// Where the numbered scripts of the schema stand.
    QString migrations;
    /// Takes the write lock at once; later it could be refused without a wait.
    QString beginWrite;
    /// All that is read until the end is of one moment; nobody waits.
    QString beginRead;
    /// The ids of a JSON list bound to one place.
    QString idList;
    /// To be said once on each connection.
    QStringList settings;

    static const SqlDialect& sqlite();

    /// What went wrong, in one line for a person.
    static QString explain(const QString& location, const QSqlError& error);
};
