#include <server/database/sql_dialect_p.h>

const SqlDialect& SqlDialect::sqlite()
{
    static const SqlDialect dialect{
        QStringLiteral(":/kyr_server/migrations/sqlite"),
        QStringLiteral("BEGIN IMMEDIATE"),
        QStringLiteral("BEGIN IMMEDIATE"),
        QStringLiteral("BEGIN"),
        QStringLiteral("(SELECT value FROM json_each(?))"),
        QStringLiteral("CROSS JOIN"),
        QStringLiteral("SELECT seq FROM sqlite_sequence WHERE name='item'"),
        QStringLiteral("CAST((julianday('now')-2440587.5)*86400000 AS INTEGER)"),
    };
    return dialect;
}

const SqlDialect& SqlDialect::postgresql()
{
    static const SqlDialect dialect{
        QStringLiteral(":/kyr_server/migrations/postgresql"),
        // One writer at a time, as in a file: then the order of the numbers in "change" is the order of the commits,
        // and the chains of the trail have one end. The number is that of this system.
        // The transaction's own number is asked for, too: by it the server tells what became of one whose end it had no
        // time to answer.
        QStringLiteral("BEGIN ISOLATION LEVEL READ COMMITTED;SELECT pg_advisory_xact_lock(1264144945);SELECT "
                       "pg_current_xact_id()"),
        QStringLiteral("BEGIN ISOLATION LEVEL READ COMMITTED;SELECT pg_current_xact_id() WHERE "
                       "pg_try_advisory_xact_lock(1264144945)"),
        QStringLiteral("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"),
        QStringLiteral("(SELECT unnest(translate(?,'[]','{}')::bigint[]))"),
        QStringLiteral("JOIN"),
        QStringLiteral("SELECT CASE WHEN is_called THEN last_value ELSE 0 END FROM item_id_seq"),
        QStringLiteral("CAST(extract(epoch FROM clock_timestamp())*1000 AS BIGINT)"),
    };
    return dialect;
}
