// The faults of an installation in PostgreSQL: values that cannot be read, indexes, references.
#include <server/database/postgres_connection_p.h>
#include <server/database/schema_p.h>

#include <QtCore/QRegularExpression>

#include <libpq-fe.h>

namespace {

// For reading a whole table.
constexpr int maintenanceWaitMs = 600000;

} // namespace

QStringList PostgresConnection::check()
{
    QStringList faults;
    const auto rows = [&](const QString& sql) {
        QList<QStringList> found;
        const Result result = query(sql, maintenanceWaitMs);
        if (!result)
            faults.append(m_error);
        for (int row = 0; result && row < PQntuples(result.get()); ++row) {
            QStringList fields;
            for (int column = 0; column < PQnfields(result.get()); ++column)
                fields.append(QString::fromUtf8(PQgetvalue(result.get(), row, column)));
            found.append(fields);
        }
        return found;
    };
    if (!run(QStringLiteral("SET statement_timeout=0")))
        return {m_error};
    // Each table is there, and each value of it can be read.
    static const QRegularExpression made(QStringLiteral("^CREATE TABLE (\\w+)\\("));
    const QList<QStringList> scripts = Schema::scripts(dialect().migrations);
    for (const QStringList& script : scripts) {
        for (const QString& statement : script) {
            const QRegularExpressionMatch match = made.match(statement);
            if (match.hasMatch())
                rows(QStringLiteral("SELECT sum(length(t::text)) FROM %1 t").arg(match.captured(1)));
        }
    }
    const auto indexes = rows(QStringLiteral("SELECT c.relname FROM pg_index i JOIN pg_class c ON c.oid=i.indexrelid "
                                             "WHERE NOT i.indisvalid"));
    for (const QStringList& index : indexes)
        faults.append(QStringLiteral("the index %1 is not valid").arg(index.first()));
    // The server looks after references by itself, unless somebody has told it not to.
    const auto references = rows(QStringLiteral(
        "SELECT r.conrelid::regclass,r.confrelid::regclass,quote_ident(a.attname),quote_ident(b.attname) "
        "FROM pg_constraint r JOIN pg_attribute a ON a.attrelid=r.conrelid AND a.attnum=r.conkey[1] "
        "JOIN pg_attribute b ON b.attrelid=r.confrelid AND b.attnum=r.confkey[1] WHERE r.contype='f' "
        "AND r.connamespace=current_schema()::regnamespace"));
    for (const QStringList& reference : references) {
        const auto missing =
            rows(QStringLiteral("SELECT count(*) FROM %1 c WHERE c.%3 IS NOT NULL AND NOT EXISTS(SELECT "
                                "1 FROM %2 p WHERE p.%4=c.%3) HAVING count(*)>0")
                     .arg(reference[0], reference[1], reference[2], reference[3]));
        for (const QStringList& count : missing)
            faults.append(QStringLiteral("%1 rows of %2 refer to rows of %3 that do not exist")
                              .arg(count.first(), reference[0], reference[1]));
    }
    tellWaits();
    return faults;
}
