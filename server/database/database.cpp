#include <server/database/database.h>

#include <server/database/new_file_p.h>
#include <server/database/schema_p.h>
#include <server/database/sql_dialect_p.h>
#include <server/database/sql_statement_p.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QTimer>
#include <QtCore/QUuid>
#include <QtCore/QVariant>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlError>
#include <QtSql/QSqlQuery>

#include <utility>

namespace {

const QString memoryLocation = QStringLiteral("memory");

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}

} // namespace

class CDatabase::Private
{
public:
    enum State
    {
        Closed,
        Awaited, ///< the file is not there; an empty installation in memory stands for it
        Open
    };

    bool fail(const QString& text)
    {
        errorString = text;
        return false;
    }
    void setBusyTimeout() { QSqlQuery(connection).exec(QStringLiteral("PRAGMA busy_timeout=%1").arg(writeWait)); }
    bool connectTo(const QString& name);
    bool openAwaited();
    bool openFile();
    bool copyBeforeMigration(int version);
    bool makeFile();
    bool vacuumInto(const QString& path);
    qint64 dataVersion();
    void disconnect();
    // An empty file is one that a program was killed over before it had made anything.
    bool fileIsThere() const { return QFileInfo(path).isDir() || QFileInfo(path).size() > 0; }

    State state = Closed;
    QString location;
    QString path;
    QList<QStringList> scripts;
    QString errorString;
    QSqlDatabase connection;
    QHash<QString, QSqlQuery> idle;
    int inUse = 0;
    int writeWait = defaultWriteWait;
    int depth = 0;
    qint64 failures = 0;
    int reading = 0;
    bool readBegun = false;
    bool failed = false;
    bool begun = false;
    qint64 seenVersion = 0;
    QTimer watcher;
};

CDatabase::CDatabase(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>())
{
    d->watcher.setInterval(watchInterval);
    connect(&d->watcher, &QTimer::timeout, this, &CDatabase::watch);
}

CDatabase::~CDatabase()
{
    close();
}

// --- Opening

void CDatabase::Private::disconnect()
{
    idle.clear();
    const QString name = connection.connectionName();
    connection = QSqlDatabase();
    if (!name.isEmpty())
        QSqlDatabase::removeDatabase(name);
}

bool CDatabase::Private::connectTo(const QString& name)
{
    const SqlDialect& dialect = SqlDialect::sqlite();
    disconnect();
    if (!QSqlDatabase::isDriverAvailable(dialect.driver))
        return fail(QStringLiteral("Qt's SQLite driver is missing (Debian: libqt5sql5-sqlite)"));
    connection = QSqlDatabase::addDatabase(dialect.driver, QUuid::createUuid().toString());
    connection.setDatabaseName(name);
    if (!connection.open())
        return fail(SqlDialect::explain(location, connection.lastError()));
    setBusyTimeout();
    QSqlQuery query(connection);
    for (const QString& setting : dialect.settings) {
        if (!query.exec(setting))
            return fail(SqlDialect::explain(location, query.lastError()));
    }
    return true;
}

bool CDatabase::Private::openAwaited()
{
    state = Closed;
    if (!connectTo(QStringLiteral(":memory:")) || !Schema::migrate(connection, location, scripts, &errorString))
        return false;
    state = location == memoryLocation ? Open : Awaited;
    return true;
}

// Nothing is written but where the file is older than this program.
bool CDatabase::Private::openFile()
{
    state = Closed;
    const QString refusal = Schema::refusal(path, scripts.size());
    if (!refusal.isEmpty())
        return fail(refusal);
    if (!connectTo(path))
        return false;
    const int version = Schema::version(connection);
    QSqlQuery query(connection);
    if (version < 0 || !query.exec(QStringLiteral("SELECT count(*) FROM sqlite_master")) || !query.next()) {
        const QSqlError error = query.lastError();
        return fail(error.isValid() ? SqlDialect::explain(location, error)
                                    : QString(location + QLatin1String(" cannot be read")));
    }
    query.finish();
    // The header may be older than the log beside the file.
    if (version > scripts.size())
        return fail(Schema::newerText(location, version, scripts.size()));
    if (version < scripts.size()
        && ((version > 0 && !copyBeforeMigration(version))
            || !Schema::migrate(connection, location, scripts, &errorString)))
        return false;
    // Readers then never wait for a writer; a file in another mode works, too.
    query.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    query.finish();
    state = Open;
    seenVersion = dataVersion();
    return true;
}

bool CDatabase::Private::copyBeforeMigration(int version)
{
    const QString copy = path + QStringLiteral(".version-%1").arg(version);
    // What stands there is the same copy: this migration was begun before and not finished.
    if (QFileInfo(copy).size() > 0)
        return true;
    QFile::remove(copy);
    const QString part = copy + QLatin1String(".part");
    QFile::remove(part);
    QString reason;
    if (NewFile::make(part, &reason) != NewFile::Made)
        return fail(QStringLiteral("%1 cannot be copied before its version is raised: %2").arg(location, reason));
    if (!vacuumInto(part))
        return false;
    if (!QFile::rename(part, copy) || !NewFile::sync(copy))
        return fail(QStringLiteral("%1 cannot be made before the version of %2 is raised").arg(copy, location));
    return true;
}

bool CDatabase::Private::vacuumInto(const QString& target)
{
    QSqlQuery query(connection);
    if (query.exec(QLatin1String("VACUUM INTO ") + quoted(target)) && NewFile::sync(target))
        return true;
    errorString = SqlDialect::explain(target, query.lastError());
    QFile::remove(target);
    return false;
}

// At the first change. Of two programs that do it at once one waits for the other's migration.
bool CDatabase::Private::makeFile()
{
    QString reason;
    if (!NewFile::makeFolder(path, &reason) || NewFile::make(path, &reason) == NewFile::Failed)
        return fail(QStringLiteral("%1 cannot be made: %2").arg(location, reason));
    if (openFile())
        return true;
    const QString why = errorString;
    openAwaited();
    return fail(why);
}

bool CDatabase::open(const QString& location, const QString& migrations)
{
    close();
    d->location = location;
    d->errorString.clear();
    d->scripts = Schema::scripts(migrations.isEmpty() ? SqlDialect::sqlite().migrations : migrations);
    if (location.isEmpty())
        return d->fail(QStringLiteral("a database has a name"));
    d->path = location == memoryLocation ? QString() : QFileInfo(location).absoluteFilePath();
    const bool open = d->path.isEmpty() || !d->fileIsThere() ? d->openAwaited() : d->openFile();
    if (!open) {
        d->disconnect();
        return false;
    }
    if (!d->path.isEmpty())
        d->watcher.start();
    return true;
}

void CDatabase::close()
{
    d->watcher.stop();
    d->disconnect();
    d->state = Private::Closed;
    d->depth = d->reading = 0;
    d->failed = d->begun = d->readBegun = false;
}

bool CDatabase::isOpen() const
{
    return d->state != Private::Closed;
}

QString CDatabase::location() const
{
    return d->location;
}

QString CDatabase::backend() const
{
    return d->path.isEmpty() ? memoryLocation : QStringLiteral("sqlite");
}

int CDatabase::version() const
{
    return isOpen() ? d->scripts.size() : 0;
}

bool CDatabase::exists()
{
    return d->state == Private::Open || (d->state == Private::Awaited && d->fileIsThere());
}

qint64 CDatabase::failures() const
{
    return d->failures;
}

QString CDatabase::errorString() const
{
    return d->errorString;
}

void CDatabase::setWriteWait(int milliseconds)
{
    d->writeWait = qMax(0, milliseconds);
    if (isOpen())
        d->setBusyTimeout();
}

int CDatabase::writeWait() const
{
    return d->writeWait;
}

// --- Statements

QSqlQuery CDatabase::takeQuery(const QString& sql, bool* good)
{
    // The file that was waited for: another program has made it.
    if (d->state == Private::Awaited && d->depth == 0 && d->reading == 0 && d->inUse == 0 && d->fileIsThere()) {
        if (!d->openFile())
            qWarning("Database: %s", qUtf8Printable(d->errorString));
    }
    ++d->inUse;
    *good = isOpen();
    const auto known = d->idle.find(sql);
    if (known != d->idle.end()) {
        QSqlQuery query = std::move(*known);
        d->idle.erase(known);
        return query;
    }
    QSqlQuery query(d->connection);
    query.setForwardOnly(true);
    *good = *good && query.prepare(sql);
    return query;
}

void CDatabase::giveQuery(const QString& sql, QSqlQuery&& query, bool good)
{
    --d->inUse;
    if (good && isOpen())
        d->idle.insert(sql, std::move(query));
}

void CDatabase::failed(const QSqlQuery& query)
{
    ++d->failures;
    d->errorString =
        isOpen() || d->errorString.isEmpty() ? SqlDialect::explain(d->location, query.lastError()) : d->errorString;
    // The database may have undone the transaction by itself: what follows must not be stored on its own.
    d->failed = d->depth > 0;
}

// --- Transactions

bool CDatabase::begin()
{
    if (d->depth++ > 0)
        return !d->failed;
    d->failed = true;
    d->begun = false;
    if (!isOpen())
        return false;
    if (d->reading > 0)
        return d->fail(QStringLiteral("a change waits for the end of reading"));
    if (d->state == Private::Awaited && !(d->fileIsThere() ? d->openFile() : d->makeFile()))
        return false;
    QSqlQuery query(d->connection);
    if (!query.exec(SqlDialect::sqlite().beginWrite))
        return d->fail(SqlDialect::explain(d->location, query.lastError()));
    d->begun = true;
    d->failed = false;
    return true;
}

bool CDatabase::end(bool good)
{
    if (d->depth == 0)
        return false;
    d->failed |= !good;
    if (--d->depth > 0)
        return !d->failed;
    if (!std::exchange(d->begun, false))
        return false;
    QSqlQuery query(d->connection);
    if (!d->failed && query.exec(QStringLiteral("COMMIT")))
        return true;
    if (!d->failed)
        d->errorString = SqlDialect::explain(d->location, query.lastError());
    query.exec(QStringLiteral("ROLLBACK"));
    d->failed = false;
    return false;
}

bool CDatabase::beginRead()
{
    // Within a transaction the reads are part of it.
    if (d->reading == 0 && d->depth == 0) {
        if (!SqlStatement(this, SqlDialect::sqlite().beginRead).exec())
            return false;
        d->readBegun = true;
    }
    ++d->reading;
    return true;
}

void CDatabase::endRead()
{
    if (d->reading > 0 && --d->reading == 0 && std::exchange(d->readBegun, false))
        SqlStatement(this, QStringLiteral("COMMIT")).exec();
}

int CDatabase::depth() const
{
    return d->depth;
}

bool CDatabase::hasFailed() const
{
    return d->depth > 0 && d->failed;
}

// --- Watching, health, backup

qint64 CDatabase::Private::dataVersion()
{
    QSqlQuery query(connection);
    return query.exec(QStringLiteral("PRAGMA data_version")) && query.next() ? query.value(0).toLongLong() : 0;
}

void CDatabase::watch()
{
    if (d->depth > 0 || d->reading > 0)
        return;
    if (d->state == Private::Awaited) {
        if (!d->fileIsThere() || d->inUse > 0 || !d->openFile())
            return;
        Q_EMIT changedByOthers();
        return;
    }
    const qint64 version = d->dataVersion();
    if (version == d->seenVersion)
        return;
    d->seenVersion = version;
    Q_EMIT changedByOthers();
}

QStringList CDatabase::check()
{
    QStringList faults;
    if (!isOpen())
        return {d->errorString};
    QSqlQuery query(d->connection);
    if (!query.exec(QStringLiteral("PRAGMA integrity_check")))
        return {SqlDialect::explain(d->location, query.lastError())};
    while (query.next()) {
        const QString fault = query.value(0).toString();
        if (fault != QLatin1String("ok"))
            faults.append(fault);
    }
    if (query.lastError().isValid())
        faults.append(SqlDialect::explain(d->location, query.lastError()));
    if (query.exec(QStringLiteral("PRAGMA foreign_key_check"))) {
        while (query.next())
            faults.append(QStringLiteral("row %1 of %2 refers to a row of %3 that is not there")
                              .arg(query.value(1).toString(), query.value(0).toString(), query.value(2).toString()));
    }
    return faults;
}

bool CDatabase::backup(const QString& file)
{
    if (!isOpen())
        return false;
    if (d->depth > 0)
        return d->fail(QStringLiteral("a backup waits for the end of the transaction"));
    const QString target = QFileInfo(file).absoluteFilePath();
    QString reason;
    switch (NewFile::make(target, &reason)) {
    case NewFile::Made:
        return d->vacuumInto(target);
    case NewFile::Exists:
        return d->fail(file + QLatin1String(" exists"));
    case NewFile::Failed:
        break;
    }
    return d->fail(QStringLiteral("%1 cannot be made: %2").arg(file, reason));
}
