#include <server/database/postgres_location_p.h>

#include <QtCore/QFileInfo>
#include <QtCore/QUrl>
#include <QtNetwork/QHostAddress>

#include <libpq-fe.h>

#include <memory>

namespace {

// A server that says nothing more is given up by the system's network, too.
constexpr int tcpUserTimeoutMs = 5000;
// A program that stops amid a change keeps all others from changing anything: the server ends that change for it.
constexpr int idleInTransactionMs = 5000;
const QString defaultFolder = QStringLiteral("/var/run/postgresql");

} // namespace

bool PostgresLocation::isOne(const QString& text)
{
    return text.startsWith(QLatin1String("postgresql://")) || text.startsWith(QLatin1String("postgres://"));
}

bool PostgresLocation::parse(const QString& text, const QString& caFile, QString* error)
{
    // Not the library's own words, which may repeat what must not be seen.
    const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> options(
        PQconninfoParse(text.toUtf8().constData(), nullptr), &PQconninfoFree);
    const QString form = QStringLiteral("postgresql://[USER@]HOST[:PORT]/NAME");
    if (!options) {
        *error = QStringLiteral("the location of the database cannot be read; its form is ") + form;
        return false;
    }
    for (const PQconninfoOption* option = options.get(); option->keyword != nullptr; ++option) {
        if (option->val == nullptr || *option->val == '\0')
            continue;
        const QLatin1String key(option->keyword);
        const QString value = QString::fromUtf8(option->val);
        if (key == QLatin1String("host"))
            host = value;
        else if (key == QLatin1String("port"))
            port = value;
        else if (key == QLatin1String("user"))
            user = value;
        else if (key == QLatin1String("dbname"))
            database = value;
        else if (key == QLatin1String("password"))
            *error = QStringLiteral("a password in the location of a database can be read by other users: use "
                                    "PGPASSWORD, or a file that PGPASSFILE names");
        else
            *error = QStringLiteral("the location of the database takes no \"%1\"; its form is %2").arg(key, form);
    }
    if (!error->isEmpty())
        return false;
    if (host.isEmpty())
        host = qEnvironmentVariable("PGHOST", defaultFolder);
    if (database.isEmpty() || host.contains(QLatin1Char(',')) || port.contains(QLatin1Char(','))) {
        *error = QStringLiteral("the location of the database names one host and the database: ") + form;
        return false;
    }
    if (!caFile.isEmpty() && !QFileInfo(caFile).isReadable()) {
        *error = QStringLiteral("%1, the database's authority, cannot be read").arg(caFile);
        return false;
    }
    url = text;
    authority = caFile;
    return true;
}

bool PostgresLocation::isLocal() const
{
    return host.startsWith(QLatin1Char('/')) || host.startsWith(QLatin1Char('@'))
           || host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 || QHostAddress(host).isLoopback();
}

bool PostgresLocation::isName() const
{
    return !host.startsWith(QLatin1Char('/')) && !host.startsWith(QLatin1Char('@')) && QHostAddress(host).isNull();
}

PostgresLocation::Options PostgresLocation::options(int statementWait, int lockWait, const QStringList& addresses) const
{
    Options result;
    const auto add = [&](const char* key, const QString& value) {
        if (!value.isEmpty())
            result.append({key, value.toUtf8()});
    };
    QStringList hosts{host};
    while (hosts.size() < addresses.size())
        hosts.append(host);
    add("host", hosts.join(QLatin1Char(',')));
    add("hostaddr", addresses.join(QLatin1Char(',')));
    add("port", port);
    add("user", user);
    add("dbname", database);
    add("application_name", QStringLiteral("kyr"));
    add("client_encoding", QStringLiteral("UTF8"));
    add("gssencmode", QStringLiteral("disable"));
    add("tcp_user_timeout", QString::number(tcpUserTimeoutMs));
    add("keepalives_idle", QStringLiteral("10"));
    add("keepalives_interval", QStringLiteral("5"));
    add("keepalives_count", QStringLiteral("3"));
    // Whoever sits between here and another machine is to see nothing and to change nothing.
    add("sslmode", isLocal() && authority.isEmpty() ? QStringLiteral("prefer") : QStringLiteral("verify-full"));
    add("sslrootcert", authority);
    add("options",
        QStringLiteral("-c statement_timeout=%1 -c lock_timeout=%2 -c idle_in_transaction_session_timeout=%3 "
                       "-c tcp_keepalives_idle=10 -c tcp_keepalives_interval=5 -c tcp_keepalives_count=3")
            .arg(statementWait)
            .arg(lockWait)
            .arg(idleInTransactionMs));
    return result;
}
