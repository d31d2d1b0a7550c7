#include <server/database/sqlite_connection_p.h>

#include <server/database/new_file_p.h>
#include <server/database/schema_p.h>

#include <QtCore/QFile>
#include <QtCore/QUuid>
#include <QtSql/QSqlError>

#include <algorithm>
#include <array>
#include <utility>

namespace {

// A right that was taken away must not be back after a power failure, hence FULL.
const char* const settings[] = {"PRAGMA synchronous=FULL",   "PRAGMA foreign_keys=ON",   "PRAGMA trusted_schema=OFF",
                                "PRAGMA cell_size_check=ON", "PRAGMA cache_size=-16384", "PRAGMA temp_store=MEMORY"};

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}

// The lower byte of SQLite's result code; the rest says more than a person wants to know.
int codeOf(const QSqlError& error)
{
    return error.nativeErrorCode().toInt() & 0xff;
}

bool isHeldBy(const QSqlError& error)
{
    constexpr int busy = 5;
    constexpr int locked = 6;
    return codeOf(error) == busy || codeOf(error) == locked;
}

class SqliteCursor : public SqlCursor
{
public:
    SqliteCursor(QSqlQuery&& query, const QString& location)
        : m_query(std::move(query)) // NOLINT(performance-move-const-arg): only Qt 6 has the constructor for it
        , m_location(location)
    {
    }

    void bind(const QVariant& value) override { m_query.bindValue(m_place++, value); }
    bool exec() override
    {
        m_place = 0;
        return m_query.exec();
    }
    bool next() override { return m_query.next(); }
    // The end of the rows, unless the disk said otherwise.
    bool hasFailed() const override { return m_query.lastError().isValid(); }
    qint64 integer(int column) const override { return m_query.value(column).toLongLong(); }
    QString text(int column) const override { return m_query.value(column).toString(); }
    QByteArray bytes(int column) const override { return m_query.value(column).toByteArray(); }
    QVariant value(int column) const override { return m_query.value(column); }
    bool isNull(int column) const override { return m_query.isNull(column); }
    int changed() const override { return m_query.numRowsAffected(); }
    void finish() override
    {
        m_place = 0;
        m_query.finish();
    }
    QString error() const override { return SqliteConnection::explain(m_location, m_query.lastError()); }

private:
    QSqlQuery m_query;
    QString m_location;
    int m_place = 0;
};

// SQLite does not tell this from other reasons for which a file cannot be opened. It needs three for one.
bool areDescriptorsUsedUp()
{
    std::array<QFile, 3> files;
    return std::any_of(files.begin(), files.end(), [](QFile& file) {
        file.setFileName(QStringLiteral("/dev/null"));
        return !file.open(QIODevice::ReadOnly) && file.error() == QFile::ResourceError;
    });
}

} // namespace

std::unique_ptr<SqliteConnection> SqliteConnection::open(const QString& name, const QString& location, QString* error)
{
    const QString driver = QStringLiteral("QSQLITE");
    if (!QSqlDatabase::isDriverAvailable(driver)) {
        *error = QStringLiteral("Qt's SQLite driver is missing (Debian: libqt5sql5-sqlite)");
        return nullptr;
    }
    std::unique_ptr<SqliteConnection> result(new SqliteConnection);
    result->m_location = location;
    result->m_connection = QSqlDatabase::addDatabase(driver, QUuid::createUuid().toString());
    result->m_connection.setDatabaseName(name);
    bool good = result->m_connection.open();
    if (!good)
        result->m_error = explain(location, result->m_connection.lastError());
    for (const char* setting : settings)
        good = good && result->run(QLatin1String(setting));
    if (good)
        return result;
    *error = result->m_error;
    return nullptr;
}

SqliteConnection::~SqliteConnection()
{
    m_kept.clear();
    const QString name = m_connection.connectionName();
    m_connection = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

std::unique_ptr<SqlCursor> SqliteConnection::prepare(const QString& sql)
{
    QSqlQuery query(m_connection);
    query.setForwardOnly(true);
    if (query.prepare(sql))
        return std::make_unique<SqliteCursor>(std::move(query), m_location);
    m_error = explain(m_location, query.lastError());
    return nullptr;
}

bool SqliteConnection::beginWrite(bool isPatient)
{
    if (isPatient || m_writeWait == 0)
        return run(dialect().beginWrite);
    const int wait = m_writeWait;
    setWriteWait(0);
    const bool good = run(dialect().tryBeginWrite);
    setWriteWait(wait);
    return good;
}

bool SqliteConnection::run(const QString& sql)
{
    // What each change begins and ends with is prepared once.
    const bool isKept = sql == dialect().beginWrite || sql == QLatin1String("COMMIT");
    const auto [kept, isNew] = isKept ? m_kept.try_emplace(sql, m_connection) : std::pair(m_kept.end(), false);
    QSqlQuery once(m_connection);
    QSqlQuery& query = isKept ? kept->second : once;
    if (isNew)
        query.prepare(sql);
    if (isKept ? query.exec() : query.exec(sql))
        return true;
    m_isHeld = isHeldBy(query.lastError());
    m_error = explain(m_location, query.lastError());
    if (isKept)
        m_kept.erase(kept);
    return false;
}

qint64 SqliteConnection::number(const QString& sql, qint64 otherwise)
{
    QSqlQuery query(m_connection);
    if (query.exec(sql) && query.next())
        return query.value(0).toLongLong();
    m_error = query.lastError().isValid() ? explain(m_location, query.lastError())
                                          : QString(m_location + QLatin1String(" cannot be read"));
    return otherwise;
}

void SqliteConnection::setWriteWait(int milliseconds)
{
    m_writeWait = milliseconds;
    run(QStringLiteral("PRAGMA busy_timeout=%1").arg(milliseconds));
}

int SqliteConnection::version()
{
    return int(number(QStringLiteral("PRAGMA user_version"), -1));
}

// Part of the transaction, as they stand in the file's first page.
bool SqliteConnection::setVersion(int version)
{
    return run(QStringLiteral("PRAGMA application_id=%1").arg(Schema::applicationId))
           && run(QStringLiteral("PRAGMA user_version=%1").arg(version));
}

qint64 SqliteConnection::dataVersion()
{
    return number(QStringLiteral("PRAGMA data_version"), 0);
}

bool SqliteConnection::isReadable()
{
    return number(QStringLiteral("SELECT count(*) FROM sqlite_master"), -1) >= 0;
}

QStringList SqliteConnection::check()
{
    QStringList faults;
    QSqlQuery query(m_connection);
    if (!query.exec(QStringLiteral("PRAGMA integrity_check")))
        return {explain(m_location, query.lastError())};
    while (query.next()) {
        const QString fault = query.value(0).toString();
        if (fault != QLatin1String("ok"))
            faults.append(fault);
    }
    if (query.lastError().isValid())
        faults.append(explain(m_location, query.lastError()));
    if (query.exec(QStringLiteral("PRAGMA foreign_key_check"))) {
        while (query.next())
            faults.append(QStringLiteral("row %1 of %2 refers to a row of %3 that does not exist")
                              .arg(query.value(1).toString(), query.value(0).toString(), query.value(2).toString()));
    }
    return faults;
}

bool SqliteConnection::copyTo(const QString& file)
{
    QSqlQuery query(m_connection);
    if (query.exec(QLatin1String("VACUUM INTO ") + quoted(file)) && NewFile::sync(file))
        return true;
    m_error = explain(file, query.lastError());
    QFile::remove(file);
    return false;
}

QString SqliteConnection::explain(const QString& location, const QSqlError& error)
{
    if (isHeldBy(error))
        return location + QLatin1String(" is being changed by another program; try again");
    switch (codeOf(error)) {
    case 8:
        return location + QLatin1String(" is read-only");
    case 10:
        return location + QLatin1String(" cannot be read or written: the disk reports an error or has no room");
    case 11:
        return location + QLatin1String(" is damaged; restore a backup");
    case 13:
        return location + QLatin1String(" cannot grow: there is no room on the disk");
    case 14:
        if (areDescriptorsUsedUp())
            return location + QLatin1String(" cannot be opened: no file descriptor is free");
        return location + QLatin1String(" cannot be opened: no permission, or its folder is missing");
    case 26:
        return location + QLatin1String(" is not a database of this system");
    default:
        return location + QLatin1String(": ") + error.text().simplified();
    }
}
