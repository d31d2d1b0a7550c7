#include <server/database/sql_dialect_p.h>

#include <QtSql/QSqlError>

const SqlDialect& SqlDialect::sqlite()
{
    static const SqlDialect dialect{
        QStringLiteral("QSQLITE"),
        QStringLiteral(":/kyr_server/migrations/sqlite"),
        QStringLiteral("BEGIN IMMEDIATE"),
        QStringLiteral("BEGIN"),
        QStringLiteral("(SELECT value FROM json_each(?))"),
        // A right that was taken away must not be back after a power failure, hence FULL.
        {QStringLiteral("PRAGMA synchronous=FULL"), QStringLiteral("PRAGMA foreign_keys=ON"),
         QStringLiteral("PRAGMA trusted_schema=OFF"), QStringLiteral("PRAGMA cell_size_check=ON"),
         QStringLiteral("PRAGMA cache_size=-16384"), QStringLiteral("PRAGMA temp_store=MEMORY")},
    };
    return dialect;
}

QString SqlDialect::explain(const QString& location, const QSqlError& error)
{
    // The lower byte of SQLite's result code; the rest says more than a person wants to know.
    switch (error.nativeErrorCode().toInt() & 0xff) {
    case 5:
    case 6:
        return location + QLatin1String(" is being changed by another program; try again");
    case 8:
        return location + QLatin1String(" is read-only");
    case 10:
        return location + QLatin1String(" cannot be read or written: the disk reports an error or has no room");
    case 11:
        return location + QLatin1String(" is damaged; restore a backup");
    case 13:
        return location + QLatin1String(" cannot grow: there is no room on the disk");
    case 14:
        return location + QLatin1String(" cannot be opened: no permission, or its folder is missing");
    case 26:
        return location + QLatin1String(" is not a database of this system");
    default:
        return location + QLatin1String(": ") + error.text().simplified();
    }
}
