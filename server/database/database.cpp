#include <server/database/database.h>

#include <server/database/database_place_p.h>
#include <server/database/new_file_p.h>
#include <server/database/postgres_location_p.h>
#include <server/database/schema_p.h>
#include <server/database/sql_statement_p.h>
#include <server/database/sqlite_connection_p.h>

#include <foundation/core/environment_variable.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimer>

#include <unordered_map>
#include <utility>

namespace {

// More statements than the system has; each takes some kilobytes.
constexpr size_t mostIdleCursors = 256;
const QString memoryLocation = QStringLiteral("memory");

// Who keeps others from changing anything for longer is no busy program, but one that stands still; milliseconds.
constexpr int longestHold = 10000;

struct TextHash
{
    // Of what stands at the end, where statements differ: it is asked for twice each time one is used.
    size_t operator()(const QString& text) const
    {
        return qHash(QStringView(text).mid(qMax(0, int(text.size()) - 32)), uint(text.size()));
    }
};

} // namespace

class CDatabase::Private
{
public:
    explicit Private(CDatabase* database)
        : q(database)
    {
    }

    enum State
    {
        Closed,
        Awaited, ///< nothing is stored yet; an empty installation in memory stands for it
        Open,
        Away ///< the server cannot be reached, or the file was moved
    };

    bool fail(const QString& text)
    {
        errorString = text;
        return false;
    }
    void use(std::shared_ptr<SqlConnection> other);
    bool openMemory();
    bool openPlace();
    /// Looks whether the server is still there; else everything fails from now on.
    bool isLost();
    void tryAgain();
    bool isBusy() const { return depth > 0 || reading > 0; }
    bool beginOutermost();
    bool endOutermost();
    void noteChange(bool isStored);

    CDatabase* q;
    State state = Closed;
    QString location;
    QString authority;
    std::unique_ptr<DatabasePlace> place; ///< none for "memory"
    QString errorString;
    std::shared_ptr<SqlConnection> connection;
    int connectionNumber = 0;
    std::unordered_map<QString, std::unique_ptr<SqlCursor>, TextHash> idle;
    int inUse = 0;
    int version = 0;
    int writeWait = defaultWriteWait;
    int answerWait = defaultAnswerWait;
    int depth = 0;
    qint64 failures = 0;
    int reading = 0;
    bool readBegun = false;
    bool failed = false;
    bool begun = false;
    bool isHeld = false;
    QElapsedTimer heldSince;
    bool isRefused = false; ///< by the database, within the transaction
    QString unsettled;      ///< a transaction by its name
    QString changeFault;
    int pause = firstPause;
    QTimer watcher;
    QTimer retry;
    QTimer impatience; ///< while it runs nobody waits for other programs' changes
};

CDatabase::CDatabase(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{
    d->watcher.setInterval(watchInterval);
    d->retry.setSingleShot(true);
    connect(&d->watcher, &QTimer::timeout, this, &CDatabase::watch);
    d->impatience.setSingleShot(true);
    connect(&d->impatience, &QTimer::timeout, this, [this] { setWriteWait(d->writeWait); });
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

// --- Away and back

bool CDatabase::Private::isLost()
{
    QString reason;
    if (state == Closed || !place || !place->isLost(&reason))
        return false;
    failed = depth > 0;
    fail(reason);
    if (state != Away) {
        state = Away;
        qWarning("Database: %s", qUtf8Printable(reason));
        pause = firstPause;
        retry.start(pause);
        // Not from within a statement.
        QTimer::singleShot(0, q, [this] {
            if (state == Away)
                Q_EMIT q->awayChanged(true);
        });
    }
    return true;
}

void CDatabase::Private::tryAgain()
{
    QString reason;
    if (place->isLost(&reason))
        errorString = reason;
    pause = qMin(2 * pause, longestPause);
    retry.start(pause);
}

void CDatabase::comeBack()
{
    // What is half done there is not gone on with here.
    if (d->state != Private::Away || d->isBusy() || d->inUse > 0) {
        d->retry.start(firstPause);
        return;
    }
    if (!(d->place->isThere() ? d->openPlace() : d->openMemory()) || d->isLost()) {
        d->state = Private::Away;
        d->tryAgain();
        return;
    }
    d->retry.stop();
    qInfo("Database: %s is available again", qUtf8Printable(d->location));
    const QPointer<CDatabase> guard(this);
    Q_EMIT awayChanged(false);
    if (guard && settle())
        Q_EMIT changedByOthers();
}

// Not from within begin(): those whom it is told may begin something themselves. False when this is gone.
bool CDatabase::settle()
{
    using Outcome = SqlConnection::Outcome;
    if (d->unsettled.isEmpty() || d->state != Private::Open)
        return true;
    const Outcome outcome = d->connection->outcomeOf(d->unsettled);
    if (outcome == Outcome::Pending)
        return true;
    d->unsettled.clear();
    qWarning("Database: the change whose end %s did not answer %s", qUtf8Printable(d->location),
             outcome == Outcome::Stored      ? "is stored"
             : outcome == Outcome::NotStored ? "was not stored"
                                             : "may be stored or not: nobody knows any more");
    const QPointer<CDatabase> guard(this);
    Q_EMIT settled(outcome == Outcome::Stored);
    return guard;
}

void CDatabase::watch()
{
    if (d->state == Private::Closed || d->state == Private::Away || d->isBusy())
        return;
    if (d->state == Private::Awaited) {
        if (d->place->isThere() && d->inUse == 0 && d->openPlace())
            Q_EMIT changedByOthers();
        else
            d->isLost();
        return;
    }
    d->place->look();
    const bool hasChanged = d->place->hasChanged();
    if (settle() && !d->isLost() && hasChanged)
        Q_EMIT changedByOthers();
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
    const auto known = d->idle.find(sql);
    if (known == d->idle.end())
        return d->connection->prepare(sql);
    std::unique_ptr<SqlCursor> cursor = std::move(known->second);
    d->idle.erase(known);
    return cursor;
}

void CDatabase::giveCursor(const QString& sql, std::unique_ptr<SqlCursor> cursor, int connection)
{
    --d->inUse;
    if (!cursor || connection != d->connectionNumber)
        return;
    // Texts that differ each time, as those with many filters, shall not pile up, here nor at a server.
    if (d->idle.size() >= mostIdleCursors) {
        cursor.reset();
        d->idle.clear();
        if (d->inUse == 0)
            d->connection->forgetPrepared();
        return;
    }
    d->idle.insert_or_assign(sql, std::move(cursor));
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

// --- Transactions

bool CDatabase::begin()
{
    if (d->depth++ > 0)
        return !d->failed;
    d->begun = d->beginOutermost();
    d->failed = !d->begun;
    if (!d->begun)
        d->noteChange(false);
    return d->begun;
}

bool CDatabase::Private::beginOutermost()
{
    isHeld = false;
    if (place)
        place->look();
    if (!q->isOpen() || isLost())
        return false;
    if (reading > 0)
        return fail(QStringLiteral("a change cannot begin before reading has ended"));
    isHeld = q->isUnsettled();
    if (isHeld)
        return fail(location + QLatin1String(" has not answered yet whether an earlier change is stored; try again"));
    if (state == Awaited) {
        QString reason;
        if (!place->isThere() && !place->make(&reason))
            return fail(reason);
        if (!openPlace()) {
            isLost();
            return false;
        }
    }
    if (connection->run(connection->dialect().beginWrite))
        return true;
    isHeld = connection->isHeld();
    fail(connection->error());
    if (isLost())
        return false;
    connection->run(QStringLiteral("ROLLBACK"));
    if (isHeld && writeWait > 0 && !impatience.isActive()) {
        connection->setWriteWait(0);
        impatience.start(writeWait);
    }
    return false;
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
    return d->endOutermost();
}

bool CDatabase::Private::endOutermost()
{
    const bool isTried = !std::exchange(failed, false);
    if (isTried && connection->run(QStringLiteral("COMMIT"))) {
        noteChange(true);
        return true;
    }
    if (isTried)
        errorString = connection->error();
    if (!isLost())
        connection->run(QStringLiteral("ROLLBACK"));
    else if (isTried)
        unsettled = connection->transaction();
    if (isTried || isRefused)
        noteChange(false);
    return false;
}

// One line each time that it gets worse or better.
void CDatabase::Private::noteChange(bool isStored)
{
    isRefused = false;
    if (!isHeld)
        heldSince.invalidate();
    else if (!heldSince.isValid())
        heldSince.start();
    const bool isNoFault =
        (isHeld && !heldSince.hasExpired(longestHold)) || reading > 0 || state == Closed || state == Away;
    if (isStored ? changeFault.isEmpty() : isNoFault)
        return;
    const bool isNew = changeFault.isEmpty();
    changeFault = isStored ? QString() : errorString;
    if (isStored)
        qInfo("Database: changes are stored again");
    else if (isNew)
        qWarning("Database: a change could not be stored: %s", qUtf8Printable(errorString));
}

bool CDatabase::beginRead()
{
    // Within a transaction the reads are part of it.
    if (d->reading == 0 && d->depth == 0) {
        if (!SqlStatement(this, dialectOf(this).beginRead).exec())
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
