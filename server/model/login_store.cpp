#include <server/model/login_store_p.h>

#include <server/database/sql_statement_p.h>

#include <QtCore/QCryptographicHash>

namespace {

// A session from further ahead is from before the clock was set back, and would last as much longer.
constexpr qint64 aheadSeconds = 60;

QByteArray hashOf(const QString& sessionId)
{
    return QCryptographicHash::hash(sessionId.toUtf8(), QCryptographicHash::Sha256);
}

bool changesRow(SqlStatement& statement)
{
    return statement.exec() && statement.changed() > 0;
}

} // namespace

LoginStore::LoginStore(CDatabase* database)
    : m_database(database)
{
}

QStringList LoginStore::names()
{
    SqlStatement statement(m_database, QStringLiteral("SELECT name FROM login ORDER BY name"));
    QStringList result;
    for (statement.exec(); statement.next();)
        result.append(statement.text(0));
    return result;
}

LoginStore::Login LoginStore::find(const QString& name)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT \"user\",permissions,algorithm,parameters,salt,hash,"
                                                      "otp_secret,otp_step FROM login WHERE name=?"));
    Login login;
    if (!statement.bind(name).exec() || !statement.next())
        return login;
    login.name = name;
    login.user = statement.integer(0);
    login.permissions = uint(statement.integer(1));
    login.password = {statement.text(2), statement.text(3), statement.bytes(4), statement.bytes(5)};
    login.secret = statement.isNull(6) ? QByteArray() : statement.bytes(6);
    login.secretStep = statement.integer(7);
    return login;
}

QStringList LoginStore::namesOfUser(qint64 user)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT name FROM login WHERE \"user\"=? ORDER BY name"));
    QStringList result;
    for (statement.bind(user).exec(); statement.next();)
        result.append(statement.text(0));
    return result;
}

unsigned int LoginStore::permissionsOf(qint64 user)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT permissions FROM login WHERE \"user\"=?"));
    unsigned int result = 0;
    for (statement.bind(user).exec(); statement.next();)
        result |= uint(statement.integer(0));
    return result;
}

bool LoginStore::add(const QString& name, qint64 user, const CPasswordHash& password)
{
    SqlStatement statement(m_database,
                           QStringLiteral("INSERT INTO login(name,\"user\",permissions,algorithm,parameters,"
                                          "salt,hash) VALUES(?,?,0,?,?,?,?)"));
    return statement.bind(name)
        .bind(user)
        .bind(password.algorithm)
        .bind(password.parameters)
        .bind(QVariant(password.salt))
        .bind(QVariant(password.hash))
        .exec();
}

bool LoginStore::setPassword(const QString& name, const CPasswordHash& password)
{
    SqlStatement statement(m_database,
                           QStringLiteral("UPDATE login SET algorithm=?,parameters=?,salt=?,hash=? WHERE name=?"));
    statement.bind(password.algorithm)
        .bind(password.parameters)
        .bind(QVariant(password.salt))
        .bind(QVariant(password.hash))
        .bind(name);
    if (!changesRow(statement))
        return false;
    SqlStatement sessions(m_database, QStringLiteral("DELETE FROM session WHERE login=?"));
    return sessions.bind(name).exec();
}

bool LoginStore::setPermissions(const QString& name, unsigned int permissions)
{
    SqlStatement statement(m_database, QStringLiteral("UPDATE login SET permissions=? WHERE name=?"));
    return changesRow(statement.bind(qint64(permissions)).bind(name));
}

bool LoginStore::setSecret(const QString& name, const QByteArray& secret)
{
    SqlStatement statement(m_database, QStringLiteral("UPDATE login SET otp_secret=?,otp_step=0 WHERE name=?"));
    return changesRow(statement.bind(secret.isEmpty() ? QVariant() : QVariant(secret)).bind(name));
}

bool LoginStore::useStep(const QString& name, qint64 step)
{
    SqlStatement statement(m_database, QStringLiteral("UPDATE login SET otp_step=? WHERE name=? AND otp_step<?"));
    return changesRow(statement.bind(step).bind(name).bind(step));
}

bool LoginStore::remove(const QString& name)
{
    SqlStatement statement(m_database, QStringLiteral("DELETE FROM login WHERE name=?"));
    return changesRow(statement.bind(name));
}

bool LoginStore::addSession(const QString& id, const QString& login, const QString& client, const QString& address,
                            unsigned int flags, qint64 now, qint64 expires)
{
    {
        SqlStatement ended(m_database, QStringLiteral("DELETE FROM session WHERE expires<=?"));
        if (!ended.bind(now).exec())
            return false;
    }
    SqlStatement statement(m_database, QStringLiteral("INSERT INTO session(hash,login,client,address,flags,created,"
                                                      "expires) VALUES(?,?,?,?,?,?,?)"));
    return statement.bind(QVariant(hashOf(id)))
        .bind(login)
        .bind(client)
        .bind(address)
        .bind(qint64(flags))
        .bind(now)
        .bind(expires)
        .exec();
}

LoginStore::Session LoginStore::findSession(const QString& id, qint64 now)
{
    SqlStatement statement(
        m_database, QStringLiteral("SELECT s.login,l.\"user\",s.expires,l.permissions,s.created FROM session s JOIN "
                                   "login l ON l.name=s.login WHERE s.hash=?"));
    Session session;
    if (!statement.bind(QVariant(hashOf(id))).exec() || !statement.next() || statement.integer(2) <= now
        || statement.integer(4) > now + aheadSeconds)
        return session;
    session.login = statement.text(0);
    session.user = statement.integer(1);
    session.expires = statement.integer(2);
    session.permissions = uint(statement.integer(3));
    return session;
}

bool LoginStore::removeSession(const QString& id)
{
    SqlStatement statement(m_database, QStringLiteral("DELETE FROM session WHERE hash=?"));
    return changesRow(statement.bind(QVariant(hashOf(id))));
}

bool LoginStore::removeSessionsOf(qint64 user)
{
    SqlStatement statement(m_database,
                           QStringLiteral("DELETE FROM session WHERE login IN (SELECT name FROM login WHERE "
                                          "\"user\"=?)"));
    return statement.bind(user).exec();
}
