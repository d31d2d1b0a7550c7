#include <server/database/database_p.h>

#include <server/database/new_file_p.h>
#include <server/database/postgres_location_p.h>
#include <server/database/schema_p.h>
#include <server/database/sql_statement_p.h>
#include <server/database/sqlite_connection_p.h>

#include <foundation/core/environment_variable.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>

#include <utility>

namespace {

const QString memoryLocation = QStringLiteral("memory");

} // namespace

CDatabase::CDatabase(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{
    d->watcher.setInterval(watchInterval);
    d->retry.setSingleShot(true);
    connect(&d->watcher, &QTimer::timeout, this, &CDatabase::watch);
    d->impatience.setSingleShot(true);
    connect(&d->retry, &QTimer::timeout, this, [this] { d->place->reach(); });
}

CDatabase::~CDatabase()
{
    close();
}

// --- Opening

void CDatabase::Private::use(std::shared_ptr<SqlConnection> other)
{
    idle.clear();
    ++connectionNumber;
    connection = std::move(other);
    if (connection)
        connection->setWriteWait(writeWait);
}

bool CDatabase::Private::openMemory()
{
    state = Closed;
    std::shared_ptr<SqlConnection> memory = SqliteConnection::open(QStringLiteral(":memory:"), location, &errorString);
    const QList<QStringList> scripts = Schema::scripts(SqlDialect::sqlite().migrations);
    if (!memory || !Schema::migrate(*memory, location, scripts, &errorString))
        return false;
    use(std::move(memory));
    state = place ? Awaited : Open;
    return true;
}

bool CDatabase::Private::openPlace()
{
    QString reason;
    std::shared_ptr<SqlConnection> opened = place->open(&reason);
    if (!opened)
        return fail(reason);
    use(std::move(opened));
    state = Open;
    return true;
}

bool CDatabase::open(const QString& location, const QString& migrations)
{
    close();
    d->location = location;
    d->errorString.clear();
    d->place.reset();
    if (location.isEmpty())
        return d->fail(QStringLiteral("the name of the database is missing"));
    const bool isServer = PostgresLocation::isOne(location);
    if (!isServer && location.contains(QLatin1String("://")))
        return d->fail(QStringLiteral("%1 is not a supported kind of database").arg(location));
    const SqlDialect& dialect = isServer ? SqlDialect::postgresql() : SqlDialect::sqlite();
    const QString folder = migrations.isEmpty() ? dialect.migrations : migrations;
    d->version = Schema::scripts(folder).size();
    if (isServer)
        d->place = makePostgresPlace(location, d->authority, folder, &d->errorString);
    else if (location != memoryLocation)
        d->place = makeFilePlace(QFileInfo(location).absoluteFilePath(), location, folder);
    if (!d->place)
        return location == memoryLocation && d->openMemory();
    connect(d->place.get(), &DatabasePlace::noticed, this, &CDatabase::watch);
    connect(d->place.get(), &DatabasePlace::reached, this, &CDatabase::comeBack);
    connect(d->place.get(), &DatabasePlace::missed, this, [this] { d->tryAgain(); });
    d->place->setAnswerWait(d->answerWait);
    QString reason;
    if (!d->place->connectTo(&reason))
        return d->fail(reason);
    if (!(d->place->isThere() ? d->openPlace() : d->openMemory())) {
        d->use(nullptr);
        return false;
    }
    if (d->isLost()) {
        close();
        return false;
    }
    d->watcher.start();
    return true;
}

void CDatabase::close()
{
    d->watcher.stop();
    d->retry.stop();
    d->use(nullptr);
    d->state = Private::Closed;
    d->depth = d->reading = 0;
    d->failed = d->begun = d->readBegun = d->isHeld = false;
    d->unsettled.clear();
    d->changeFault.clear();
    d->impatience.stop();
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
    return d->place ? d->place->backend() : memoryLocation;
}

QString CDatabase::folder() const
{
    if (!d->place)
        return {};
    return PostgresLocation::isOne(d->location) ? defaultFolder() : QFileInfo(d->location).absolutePath();
}

QString CDatabase::defaultFolder()
{
    // The service manager tells a service its folder by this variable; of several the first is meant.
    const QString state = CEnvironmentVariable::valueTrimmed("STATE_DIRECTORY")
                              .section(QLatin1Char(':'), 0, 0, QString::SectionSkipEmpty);
    return state.isEmpty()
               ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QLatin1String("/kyr")
               : state;
}

int CDatabase::version() const
{
    return isOpen() ? d->version : 0;
}

bool CDatabase::exists()
{
    return d->state == Private::Open || d->state == Private::Away
           || (d->state == Private::Awaited && d->place->isThere());
}

bool CDatabase::isAway() const
{
    return d->state == Private::Away;
}

bool CDatabase::isUnsettled() const
{
    return !d->unsettled.isEmpty();
}

QString CDatabase::changeFault() const
{
    return d->changeFault;
}

bool CDatabase::isHeld() const
{
    return d->isHeld;
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
    d->impatience.stop();
    if (d->connection)
        d->connection->setWriteWait(d->writeWait);
}

int CDatabase::writeWait() const
{
    return d->writeWait;
}

void CDatabase::setAnswerWait(int milliseconds)
{
    constexpr int shortest = 10;
    d->answerWait = qMax(shortest, milliseconds);
    if (d->place)
        d->place->setAnswerWait(d->answerWait);
}

int CDatabase::answerWait() const
{
    return d->answerWait;
}

void CDatabase::setAuthority(const QString& file)
{
    d->authority = file;
}

// --- Statements

const SqlDialect& dialectOf(CDatabase* database)
{
    const auto& connection = database->d->connection;
    return connection ? connection->dialect() : SqlDialect::sqlite();
}

std::unique_ptr<SqlCursor> CDatabase::takeCursor(const QString& sql, int* connection)
{
    // What was waited for: another program has made it.
    if (d->state == Private::Awaited && !d->isBusy() && d->inUse == 0 && d->place->isThere()) {
        if (!d->openPlace())
            qWarning("Database: %s", qUtf8Printable(d->errorString));
    }
    ++d->inUse;
    *connection = d->connectionNumber;
    if (!isOpen() || d->isLost())
        return nullptr;
    std::unique_ptr<SqlCursor> cursor = d->idle.take(sql);
    return cursor ? std::move(cursor) : d->connection->prepare(sql);
}

void CDatabase::giveCursor(const QString& sql, std::unique_ptr<SqlCursor> cursor, int connection)
{
    --d->inUse;
    if (!cursor || connection != d->connectionNumber)
        return;
    if (!d->idle.give(sql, std::move(cursor)) && d->inUse == 0)
        d->connection->forgetPrepared();
}

void CDatabase::failed(const SqlCursor* cursor)
{
    ++d->failures;
    if (d->isLost())
        return;
    if (d->connection)
        d->errorString = cursor ? cursor->error() : d->connection->error();
    else if (d->errorString.isEmpty())
        d->errorString = d->location + QLatin1String(" is not open");
    // The database may have undone the transaction by itself: what follows must not be stored on its own.
    d->failed = d->isRefused = d->depth > 0;
}

// --- Health, backup

QStringList CDatabase::check()
{
    if (!isOpen() || d->isLost())
        return {d->errorString};
    return d->connection->check();
}

bool CDatabase::backup(const QString& file)
{
    if (!isOpen() || d->isLost())
        return false;
    if (d->depth > 0)
        return d->fail(QStringLiteral("a backup cannot begin before the transaction has ended"));
    const QString target = QFileInfo(file).absoluteFilePath();
    QString reason;
    switch (NewFile::make(target, &reason)) {
    case NewFile::Made:
        if (d->connection->copyTo(target))
            return true;
        QFile::remove(target);
        return d->fail(d->connection->error());
    case NewFile::Exists:
        return d->fail(file + QLatin1String(" exists"));
    case NewFile::Failed:
        break;
    }
    return d->fail(QStringLiteral("%1 cannot be made: %2").arg(file, reason));
}
