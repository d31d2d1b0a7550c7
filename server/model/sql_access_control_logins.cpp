// Logins, sessions and permissions.
#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/permission.h>
#include <server/model/login_store_p.h>
#include <server/model/one_time_password_p.h>
#include <server/model/permission_names.h>
#include <server/model/sql_access_control_p.h>

#include <openssl/rand.h>

#include <QtCore/QDateTime>

using namespace Model;

namespace {

constexpr int longestLoginName = 200;
constexpr int longestAddress = 200;
constexpr int longestSession = 31 * 24 * 3600;
constexpr int sessionIdLength = 32;
constexpr int secretLength = 20;

QByteArray randomBytes(int count)
{
    QByteArray bytes(count, '\0');
    const bool good = RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), count) == 1;
    return good ? bytes : QByteArray();
}

// What a log-in is refused with, whatever was wrong.
QString wrongLogin()
{
    return QStringLiteral("name or password is wrong");
}

// The bit of a name such as "UsersRead" or "Users Read"; PermissionNone for an unknown one.
unsigned int bitOf(const QString& name)
{
    return permissionFromName(QString(name).remove(QLatin1Char(' '))).value_or(PermissionNone);
}

} // namespace

QStringList CSqlAccessControl::getLogins() const
{
    return LoginStore(&d->database).names();
}

QVariantMap CSqlAccessControl::getLogin(const QString& name) const
{
    const LoginStore::Login login = LoginStore(&d->database).find(name);
    if (login.name.isEmpty())
        return {};
    return {{QStringLiteral("name"), login.name},
            {userIdKey, login.user},
            {QStringLiteral("permissions"), login.permissions},
            {QStringLiteral("otp"), !login.secret.isEmpty()}};
}

CPasswordHash CSqlAccessControl::getPasswordHash(const QString& name) const
{
    return LoginStore(&d->database).find(name).password;
}

bool CSqlAccessControl::addLogin(const QString& name, CItemId user, const QString& password)
{
    // Hashed before the database is locked: it takes its time.
    const CPasswordHash hash = CPasswordHash::make(password);
    return d->change([&] {
        LoginStore store(&d->database);
        if (name.trimmed().isEmpty() || name.size() > longestLoginName)
            return d->refuse(QStringLiteral("a login needs a name of at most %1 characters").arg(longestLoginName));
        if (!hash.isValid())
            return d->refuse(QStringLiteral("a password must have 1 to %1 bytes").arg(CPasswordHash::longestPassword));
        if (!d->items.exists(KindUserOrGroup, UserClassUser, user.value()))
            return d->refuseUnknown(KindUserOrGroup, UserClassUser, user.value());
        if (!store.find(name).name.isEmpty())
            return d->refuse(QStringLiteral("there is already a login %1").arg(name));
        d->areLoginsChanged = true;
        if (!store.add(name, user.value(), hash))
            return false;
        d->noteLogin(name, QStringLiteral("login added"));
        return true;
    });
}

bool CSqlAccessControl::setLoginPassword(const QString& name, const QString& password)
{
    const CPasswordHash hash = CPasswordHash::make(password);
    QPointer<CSqlAccessControl> guard(this);
    const bool done = d->change([&] {
        if (!hash.isValid())
            return d->refuse(QStringLiteral("a password must have 1 to %1 bytes").arg(CPasswordHash::longestPassword));
        d->noteLogin(name, QStringLiteral("password set"));
        return LoginStore(&d->database).setPassword(name, hash) || d->refuseLogin(name);
    });
    if (done && guard)
        Q_EMIT loginPasswordChanged(name);
    return done;
}

bool CSqlAccessControl::Private::refuseLogin(const QString& name)
{
    return refuse(QStringLiteral("there is no login %1").arg(name.left(longestLoginName)));
}

bool CSqlAccessControl::setLoginPermissions(const QString& name, unsigned int permissions)
{
    return d->change([&] {
        d->areLoginsChanged = true;
        d->noteLogin(name, QStringLiteral("permissions set"));
        if (!d->furtherChanges.isEmpty())
            d->furtherChanges.last().after.insert(QStringLiteral("permissions"), uint(CPermission::cast(permissions)));
        return LoginStore(&d->database).setPermissions(name, uint(CPermission::cast(permissions)))
               || d->refuseLogin(name);
    });
}

bool CSqlAccessControl::removeLogin(const QString& name)
{
    return d->change([&] {
        d->areLoginsChanged = true;
        d->noteLogin(name, QStringLiteral("login removed"));
        return LoginStore(&d->database).remove(name) || d->refuseLogin(name);
    });
}

bool CSqlAccessControl::setLoginSecret(const QString& name, const QByteArray& secret)
{
    QPointer<CSqlAccessControl> guard(this);
    const bool done = d->change([&] {
        d->noteLogin(name, secret.isEmpty() ? QStringLiteral("one-time passwords off")
                                            : QStringLiteral("one-time passwords on"));
        return LoginStore(&d->database).setSecret(name, secret) || d->refuseLogin(name);
    });
    if (done && guard)
        Q_EMIT mfaSessionsChanged();
    return done;
}

QString CSqlAccessControl::makeLoginSecret(const QString& name)
{
    const QByteArray secret = randomBytes(secretLength);
    return !secret.isEmpty() && setLoginSecret(name, secret) ? OneTimePassword::toBase32(secret) : QString();
}

bool CSqlAccessControl::checkOneTimePassword(const QString& name, const QString& code)
{
    return d->change([&] {
        LoginStore store(&d->database);
        const qint64 step = OneTimePassword::stepOf(store.find(name).secret, code, QDateTime::currentSecsSinceEpoch());
        return (step > 0 && store.useStep(name, step)) || d->refuse(QStringLiteral("the one-time password is wrong"));
    });
}

bool CSqlAccessControl::hasLogins() const
{
    return !LoginStore(&d->database).names().isEmpty();
}

bool CSqlAccessControl::checkLogin(const QString& username, const QString& password, CItemId* user,
                                   QString* errorString, bool* mfaRequired) const
{
    const LoginStore::Login login = LoginStore(&d->database).find(username);
    const bool isRight = login.password.matches(password);
    if (user != nullptr)
        *user = isRight ? CItemId(login.user) : CItemId();
    if (mfaRequired != nullptr)
        *mfaRequired = isRight && !login.secret.isEmpty();
    if (errorString != nullptr)
        *errorString = isRight ? QString() : wrongLogin();
    if (isRight)
        d->checkedLogins.insert(login.user, login.name);
    return isRight;
}

QString CSqlAccessControl::getTemporaryMfaSecret(const CItemId& user)
{
    if (!d->items.exists(KindUserOrGroup, UserClassUser, user.value()))
        return {};
    return OneTimePassword::toBase32(randomBytes(secretLength));
}

void CSqlAccessControl::setSessionLength(int seconds)
{
    d->sessionLength = qBound(1, seconds, longestSession);
}

QString CSqlAccessControl::getNewSessionId(const CItemId& user, unsigned int flags, const QString& client,
                                           const QString& address, int* secondsToLive)
{
    if (secondsToLive != nullptr)
        *secondsToLive = 0;
    const QStringList names = LoginStore(&d->database).namesOfUser(user.value());
    QString name = d->checkedLogins.value(user.value());
    if (!names.contains(name))
        name = names.value(0);
    return d->startSession(name, flags, client, address, secondsToLive);
}

QString CSqlAccessControl::startSession(const QString& login, const QString& client, const QString& address,
                                        int* secondsToLive)
{
    return d->startSession(login, 0, client, address, secondsToLive);
}

QString CSqlAccessControl::Private::startSession(const QString& name, unsigned int flags, const QString& client,
                                                 const QString& address, int* secondsToLive)
{
    QString id = QString::fromLatin1(randomBytes(sessionIdLength).toHex());
    const int length = sessionLength;
    const bool done = change([&] {
        LoginStore store(&database);
        if (id.isEmpty() || store.find(name).name.isEmpty())
            return refuseLogin(name);
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        return store.addSession(id, name, client.left(longestAddress), address.left(longestAddress), flags, now,
                                now + length);
    });
    if (!done)
        return {};
    if (secondsToLive != nullptr)
        *secondsToLive = length;
    return id;
}

QVariantMap CSqlAccessControl::getSession(const QString& sessionId) const
{
    const auto session = LoginStore(&d->database).findSession(sessionId, QDateTime::currentSecsSinceEpoch());
    if (session.expires == 0)
        return {};
    return {{userIdKey, session.user},
            {QStringLiteral("login"), session.login},
            {QStringLiteral("permissions"), session.permissions},
            {QStringLiteral("expires"), QDateTime::fromSecsSinceEpoch(session.expires)}};
}

QDateTime CSqlAccessControl::getSessionExpirationDate(const CItemId& user, const QString& sessionId)
{
    const auto session = LoginStore(&d->database).findSession(sessionId, QDateTime::currentSecsSinceEpoch());
    return session.expires > 0 && session.user == user.value() ? QDateTime::fromSecsSinceEpoch(session.expires)
                                                               : QDateTime();
}

bool CSqlAccessControl::endSession(const QString& sessionId)
{
    return d->change([&] {
        return LoginStore(&d->database).removeSession(sessionId) || d->refuse(QStringLiteral("the session is over"));
    });
}

bool CSqlAccessControl::endSessionsOfUser(CItemId user)
{
    return d->change([&] { return LoginStore(&d->database).removeSessionsOf(user.value()); });
}

bool CSqlAccessControl::setLoggedInId(CItemId user, const QString& sessionId)
{
    const bool isGood = user == CItemId() || getSessionExpirationDate(user, sessionId).isValid();
    d->loggedIn = isGood ? user : CItemId();
    return isGood;
}

CItemId CSqlAccessControl::getLoggedInId() const
{
    return d->loggedIn;
}

bool CSqlAccessControl::hasPermission(const QString& permission, CItemId user, bool) const
{
    const unsigned int wanted = bitOf(permission);
    return wanted != PermissionNone && (LoginStore(&d->database).permissionsOf(user.value()) & wanted) == wanted;
}
