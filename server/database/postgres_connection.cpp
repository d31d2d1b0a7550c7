#include <server/database/postgres_connection_p.h>

#include <server/database/postgres_connecting_p.h>
#include <server/database/postgres_cursor_p.h>
#include <server/database/socket_wait_p.h>

#include <QtCore/QElapsedTimer>

#include <libpq-fe.h>

#include <utility>

namespace {

constexpr int binary = 1;

// "?" is a place in all statements of this system; PostgreSQL numbers them.
QByteArray numbered(const QString& sql)
{
    QByteArray result;
    int place = 0;
    char within = '\0';
    const QByteArray text = sql.toUtf8();
    result.reserve(text.size() + 16);
    for (const char c : text) {
        if (within != '\0')
            within = c == within ? '\0' : within;
        else if (c == '\'' || c == '"')
            within = c;
        if (c == '?' && within == '\0')
            result += '$' + QByteArray::number(++place);
        else
            result += c;
    }
    return result;
}

} // namespace

// --- Asking

PostgresConnection::PostgresConnection(pg_conn* connection, const QString& location, int answerWait, int writeWait)
    : m_connection(connection)
    , m_location(location)
    , m_answerWait(answerWait)
    , m_writeWait(writeWait)
{
    PQsetnonblocking(m_connection, 1);
}

PostgresConnection::~PostgresConnection()
{
    PQfinish(m_connection);
}

bool PostgresConnection::isLost() const
{
    return m_isLost || PQstatus(m_connection) == CONNECTION_BAD;
}

void PostgresConnection::lose(const QString& reason)
{
    m_isLost = true;
    m_error = m_location + QLatin1String(" is away: ") + reason;
    if (!m_isAwaited && whenLost)
        whenLost();
}

PostgresConnection::Result PostgresConnection::ask(const std::function<int(pg_conn*)>& send, int milliseconds)
{
    if (isLost()) {
        lose(QStringLiteral("the connection has ended"));
        return nullptr;
    }
    QElapsedTimer clock;
    clock.start();
    if (send(m_connection) == 0) {
        lose(postgresMessage(PQerrorMessage(m_connection)));
        return nullptr;
    }
    Result last;
    for (;;) {
        for (int unsent = PQflush(m_connection); unsent != 0 || PQisBusy(m_connection) != 0;
             unsent = PQflush(m_connection)) {
            const qint64 left = milliseconds - clock.elapsed();
            const bool isReady = left > 0 && waitForSocket(socket(), unsent > 0, int(left));
            if (!isReady || unsent < 0 || PQconsumeInput(m_connection) == 0) {
                m_isAwaited = !isReady && unsent == 0;
                lose(isReady || unsent < 0 ? postgresMessage(PQerrorMessage(m_connection))
                                           : QStringLiteral("it does not answer"));
                return nullptr;
            }
        }
        Result result(PQgetResult(m_connection), &PQclear);
        if (!result)
            break;
        // Of several statements the first that failed says why, else the last one counts.
        const ExecStatusType status = last ? PQresultStatus(last.get()) : PGRES_COMMAND_OK;
        if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK)
            last = result;
    }
    if (isLost()) {
        lose(last ? postgresMessage(PQresultErrorField(last.get(), PG_DIAG_MESSAGE_PRIMARY))
                  : postgresMessage(PQerrorMessage(m_connection)));
        return nullptr;
    }
    const bool hadNews = m_hasNews;
    collectNews();
    if (m_hasNews && !hadNews && whenNews)
        whenNews();
    return last && fail(last) ? nullptr : last;
}

bool PostgresConnection::takeLateAnswer()
{
    if (m_isAwaited && PQconsumeInput(m_connection) == 0) {
        m_isAwaited = false;
        lose(postgresMessage(PQerrorMessage(m_connection)));
    }
    while (m_isAwaited && PQisBusy(m_connection) == 0) {
        if (const Result late(PQgetResult(m_connection), &PQclear); late)
            continue;
        m_isAwaited = m_isLost = false;
        collectNews();
        return PQtransactionStatus(m_connection) == PQTRANS_IDLE || run(QStringLiteral("ROLLBACK"));
    }
    return false;
}

QString PostgresConnection::heldByAnother() const
{
    return m_location + QLatin1String(" is being changed by another program; try again");
}

bool PostgresConnection::fail(const Result& result)
{
    m_isHeld = false;
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK)
        return false;
    const QByteArray state = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE);
    // The rest of a transaction in which a statement has failed: that statement's reason stands.
    if (state == "25P02")
        return true;
    if (state == "55P03" || state == "40001" || state == "40P01")
        m_isHeld = true;
    if (m_isHeld)
        m_error = heldByAnother();
    else if (state == "57014")
        m_error = m_location + QLatin1String(" took too long to answer, and the query was cancelled");
    else if (state == "25006")
        m_error = m_location + QLatin1String(" is read-only");
    else if (state == "53100")
        m_error = m_location + QLatin1String(" cannot grow: there is no room on the server's disk");
    else
        m_error = m_location + QLatin1String(": ")
                  + postgresMessage(PQresultErrorField(result.get(), PG_DIAG_MESSAGE_PRIMARY));
    return true;
}

PostgresConnection::Result PostgresConnection::query(const QString& sql, int milliseconds)
{
    const QByteArray text = sql.toUtf8();
    return ask([&](pg_conn* connection) { return PQsendQuery(connection, text.constData()); }, milliseconds);
}

PostgresConnection::Result PostgresConnection::askPrepared(const QByteArray& name, int count, const char* const* values,
                                                           const int* lengths, const int* formats)
{
    return ask(
        [&](pg_conn* connection) {
            return PQsendQueryPrepared(connection, name.constData(), count, values, lengths, formats, binary);
        },
        m_answerWait);
}

std::unique_ptr<SqlCursor> PostgresConnection::prepare(const QString& sql)
{
    auto known = m_prepared.find(sql);
    if (known == m_prepared.end()) {
        const QByteArray name = "kyr" + QByteArray::number(m_prepared.size() + 1);
        const QByteArray text = numbered(sql);
        const auto send = [&](pg_conn* connection) {
            return PQsendPrepare(connection, name.constData(), text.constData(), 0, nullptr);
        };
        if (!ask(send, m_answerWait))
            return nullptr;
        known = m_prepared.insert(sql, name);
    }
    return std::make_unique<PostgresCursor>(this, *known, m_location);
}

void PostgresConnection::forgetPrepared()
{
    // Not within a transaction in which something has failed: then the next time.
    if (run(QStringLiteral("DEALLOCATE ALL")))
        m_prepared.clear();
}

bool PostgresConnection::beginWrite(bool isPatient)
{
    const bool isWaited = isPatient && m_writeWait > 0;
    const Result result = query(isWaited ? dialect().beginWrite : dialect().tryBeginWrite, m_answerWait);
    const bool isBegun = result && PQntuples(result.get()) > 0;
    m_transaction = isBegun ? QString::fromLatin1(PQgetvalue(result.get(), 0, 0)) : QString();
    if (result && !isBegun) {
        m_isHeld = true;
        m_error = heldByAnother();
    }
    return isBegun;
}

bool PostgresConnection::run(const QString& sql)
{
    const bool isCommit = sql == QLatin1String("COMMIT");
    const Result result = query(sql, m_answerWait);
    // A transaction in which something has failed ends well, too: by being undone.
    if (result && (!isCommit || qstrcmp(PQcmdStatus(result.get()), "COMMIT") == 0))
        return true;
    if (isCommit && isLost())
        m_error += QLatin1String("; it is not known whether the change was stored");
    return false;
}

SqlConnection::Outcome PostgresConnection::outcomeOf(const QString& transaction)
{
    const QString status = single(QStringLiteral("SELECT pg_xact_status('%1'::xid8)").arg(transaction));
    if (isLost() || status == QLatin1String("in progress"))
        return Outcome::Pending;
    if (status.isEmpty())
        return Outcome::Unknown;
    return status == QLatin1String("committed") ? Outcome::Stored : Outcome::NotStored;
}

QString PostgresConnection::single(const QString& sql)
{
    const Result result = query(sql, m_answerWait);
    return result && PQntuples(result.get()) > 0 ? QString::fromUtf8(PQgetvalue(result.get(), 0, 0)) : QString();
}

// --- Waits

int PostgresConnection::lockWait(int answerWait, int writeWait)
{
    // To say "busy" leaves time for the word to arrive. 0 would be no limit.
    return qMax(1, qMin(writeWait, answerWait - answerWait / 4));
}

void PostgresConnection::setAnswerWait(int milliseconds)
{
    if (std::exchange(m_answerWait, milliseconds) != milliseconds)
        tellWaits();
}

void PostgresConnection::setWriteWait(int milliseconds)
{
    if (std::exchange(m_writeWait, milliseconds) != milliseconds)
        tellWaits();
}

void PostgresConnection::tellWaits()
{
    run(QStringLiteral("SET statement_timeout=%1;SET lock_timeout=%2")
            .arg(statementWait(m_answerWait))
            .arg(lockWait(m_answerWait, m_writeWait)));
}

// --- The schema

int PostgresConnection::version()
{
    // Asked in two steps: the second table is not there yet in an empty database. Not by to_regclass(), which within a
    // transaction remembers that there was none.
    const Result result = query(
        QStringLiteral("SELECT 1 FROM pg_class WHERE relname='kyr_schema' AND pg_table_is_visible(oid)"), m_answerWait);
    if (!result)
        return -1;
    if (PQntuples(result.get()) == 0)
        return 0;
    const QString version = single(QStringLiteral("SELECT version FROM kyr_schema"));
    return version.isEmpty() ? -1 : version.toInt();
}

bool PostgresConnection::setVersion(int version)
{
    if (version == 1
        && !run(QStringLiteral("CREATE TABLE kyr_schema(version BIGINT NOT NULL);INSERT INTO kyr_schema VALUES(0)")))
        return false;
    return run(QStringLiteral("UPDATE kyr_schema SET version=%1").arg(version));
}

QString PostgresConnection::refusal()
{
    const char* encoding = PQparameterStatus(m_connection, "server_encoding");
    if (encoding == nullptr || qstrcmp(encoding, "UTF8") != 0)
        return m_location
               + QLatin1String(" does not keep texts as UTF-8 (createdb --encoding=UTF8 --template=template0)");
    if (PQserverVersion(m_connection) < 130000)
        return m_location + QLatin1String(" is of PostgreSQL before version 13, which cannot keep an installation");
    const Result others =
        query(QStringLiteral("SELECT 1 FROM pg_class c WHERE c.relnamespace=current_schema()::regnamespace AND "
                             "c.relkind IN ('r','p') AND to_regclass('kyr_schema') IS NULL LIMIT 1"),
              m_answerWait);
    if (!others)
        return m_error;
    if (PQntuples(others.get()) > 0)
        return m_location + QLatin1String(" is not a database of this system");
    // Exit code 0 means stored, whatever the server does for others.
    if (!query(QStringLiteral("SELECT set_config('synchronous_commit','on',false) WHERE "
                              "current_setting('synchronous_commit')='off'"),
               m_answerWait))
        return m_error;
    return {};
}

// --- News

bool PostgresConnection::listen()
{
    return run(QStringLiteral("LISTEN kyr"));
}

long long PostgresConnection::socket() const
{
    return PQsocket(m_connection);
}

bool PostgresConnection::takeNews()
{
    if (isLost())
        return false;
    if (PQconsumeInput(m_connection) == 0 || PQstatus(m_connection) == CONNECTION_BAD) {
        lose(postgresMessage(PQerrorMessage(m_connection)));
        return false;
    }
    collectNews();
    return std::exchange(m_hasNews, false);
}

void PostgresConnection::collectNews()
{
    while (PGnotify* notice = PQnotifies(m_connection)) {
        m_hasNews |= notice->be_pid != PQbackendPID(m_connection);
        PQfreemem(notice);
    }
}

bool PostgresConnection::copyTo(const QString&)
{
    m_error = m_location + QLatin1String(" is copied by PostgreSQL's own tool: pg_dump --format=custom --file=FILE ")
              + m_location;
    return false;
}
