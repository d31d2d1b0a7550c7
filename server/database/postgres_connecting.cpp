#include <server/database/postgres_connecting_p.h>

#include <server/database/socket_wait_p.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QVarLengthArray>

#include <libpq-fe.h>

#include <utility>

namespace {

void ignoreNotice(void*, const PGresult*) {}

} // namespace

QString postgresMessage(const char* text)
{
    QString line = QString::fromUtf8(text).simplified();
    for (const char* advice : {" Is the server running", " This probably means", " server closed the connection"}) {
        const int at = line.indexOf(QLatin1String(advice));
        if (at > 0)
            line.truncate(at);
    }
    return line;
}

PostgresConnecting::PostgresConnecting(const PostgresLocation::Options& options)
{
    QVarLengthArray<const char*, 32> keys;
    QVarLengthArray<const char*, 32> values;
    for (const auto& [key, value] : options) {
        keys.append(key.constData());
        values.append(value.constData());
    }
    keys.append(nullptr);
    values.append(nullptr);
    m_connection = PQconnectStartParams(keys.constData(), values.constData(), 0);
    // The library asks for a wait until the socket can be written before the first step.
    m_state = m_connection && PQstatus(m_connection) != CONNECTION_BAD ? Writing : Failed;
    if (m_connection)
        PQsetNoticeReceiver(m_connection, &ignoreNotice, nullptr);
}

PostgresConnecting::~PostgresConnecting()
{
    if (m_connection)
        PQfinish(m_connection);
}

PostgresConnecting::State PostgresConnecting::step()
{
    if (m_state != Reading && m_state != Writing)
        return m_state;
    switch (PQconnectPoll(m_connection)) {
    case PGRES_POLLING_READING:
        m_state = Reading;
        break;
    case PGRES_POLLING_OK:
        m_state = Done;
        break;
    case PGRES_POLLING_FAILED:
        m_state = Failed;
        break;
    default:
        m_state = Writing;
        break;
    }
    return m_state;
}

PostgresConnecting::State PostgresConnecting::finish(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (m_state == Reading || m_state == Writing) {
        const int left = milliseconds - int(clock.elapsed());
        if (left <= 0)
            break;
        if (waitForSocket(socket(), m_state == Writing, left))
            step();
    }
    return m_state;
}

long long PostgresConnecting::socket() const
{
    return PQsocket(m_connection);
}

QString PostgresConnecting::error() const
{
    if (m_state != Failed)
        return QStringLiteral("it does not answer");
    QString text = m_connection ? postgresMessage(PQerrorMessage(m_connection)) : QStringLiteral("out of memory");
    // Where it is stands before it already.
    const QString failed = QStringLiteral(" failed: ");
    if (const int at = text.lastIndexOf(failed); at >= 0)
        text.remove(0, at + failed.size());
    return text;
}

pg_conn* PostgresConnecting::take()
{
    m_state = Failed;
    return std::exchange(m_connection, nullptr);
}
