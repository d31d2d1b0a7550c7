#include <server/api/api_logins_p.h>

#include <server/api/api_values_p.h>
#include <server/audit/audit_trail.h>
#include <server/model/permission_names.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QPointer>
#include <QtCore/QRunnable>

namespace {

constexpr int longestName = 200;

// QThreadPool::start() takes functions only since Qt 5.15, where QRunnable::create() is there, too.
void startOn(QThreadPool& pool, const std::function<void()>& work)
{
    pool.start(QRunnable::create(work));
}

} // namespace

ApiLogins::ApiLogins(CSqlAccessControl* model, CAuditTrail* trail, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_trail(trail)
{
    m_pool.setMaxThreadCount(workers);
}

ApiLogins::~ApiLogins()
{
    m_queue.clear();
    m_pool.waitForDone(); // a few tenths of a second; what they post goes with this object
}

void ApiLogins::login(const std::shared_ptr<ApiCall>& call, const QString& name, const QString& password,
                      const QString& code)
{
    Attempt attempt{call, name, password, code};
    if (isBlocked(attempt))
        return;
    if (m_queue.size() >= mostQueued)
        return call->fail(ApiError::TooMany, QStringLiteral("too many log-ins at the same time"));
    call->isKept = true;
    m_queue.enqueue(attempt);
    startNext();
}

bool ApiLogins::isBlocked(const Attempt& attempt)
{
    if (!m_limits.isBlocked(attempt.name, attempt.call->caller->address, m_clock()))
        return false;
    attempt.call->fail(ApiError::TooMany, QStringLiteral("too many wrong log-ins: wait a minute"));
    return true;
}

void ApiLogins::startNext()
{
    while (m_running < workers && !m_queue.isEmpty()) {
        Attempt attempt = m_queue.dequeue();
        // What stood in front of it may have been the tenth wrong one.
        if (isBlocked(attempt))
            continue;
        ++m_running;
        attempt.hash = m_model->getPasswordHash(attempt.name);
        startOn(m_pool, [this, attempt] {
            const bool isRight = attempt.hash.matches(attempt.password);
            QMetaObject::invokeMethod(
                this, [this, attempt, isRight] { finish(attempt, isRight); }, Qt::QueuedConnection);
        });
    }
}

void ApiLogins::finish(const Attempt& attempt, bool isRight)
{
    --m_running;
    const QPointer<ApiLogins> self(this);
    const QVariantMap login = isRight ? m_model->getLogin(attempt.name) : QVariantMap();
    // Meanwhile somebody may have taken the login away, or given it another password.
    const bool isGood = !login.isEmpty() && m_model->getPasswordHash(attempt.name).hash == attempt.hash.hash;
    const CItemId user = login.value(QStringLiteral("userId")).toLongLong();
    if (!isGood)
        refuse(attempt, QStringLiteral("name or password is wrong"));
    else if (m_model->getUserProperty(QStringLiteral("enabled"), user).toString() == QLatin1String("false"))
        refuse(attempt, QStringLiteral("the user is out of service"));
    else if (!login.value(QStringLiteral("otp")).toBool())
        admit(attempt);
    else if (attempt.code.isEmpty())
        attempt.call->fail(ApiError::CodeNeeded, QStringLiteral("a one-time password is needed"));
    else if (m_model->checkOneTimePassword(attempt.name, attempt.code))
        admit(attempt);
    else
        refuse(attempt, QStringLiteral("the one-time password is wrong"));
    if (self)
        startNext();
}

void ApiLogins::admit(const Attempt& attempt)
{
    CApiCaller& caller = *attempt.call->caller;
    const QVariantMap login = m_model->getLogin(attempt.name);
    const CItemId user = login.value(QStringLiteral("userId")).toLongLong();
    QString session;
    int seconds = 0;
    // Both are stored, or neither.
    const bool done = m_model->changeAll([&] {
        session = m_model->startSession(attempt.name, QStringLiteral("api"), caller.address, &seconds);
        AuditEvent event;
        event.kind = AuditKind::Login;
        event.user = user;
        event.operatorName = QString::number(user.value());
        event.details = {{QStringLiteral("login"), attempt.name},
                         {QStringLiteral("peer"), caller.address},
                         {QStringLiteral("way"), QStringLiteral("api")}};
        return !session.isEmpty() && m_trail->append(event);
    });
    if (!done)
        return attempt.call->fail(ApiError::Refused, QStringLiteral("the log-in cannot be stored"));
    caller.session = session;
    caller.expires = QDateTime::currentDateTimeUtc().addSecs(seconds);
    if (admitted)
        admitted(caller);
    const Permissions permissions(QFlag(int(login.value(QStringLiteral("permissions")).toUInt())));
    attempt.call->answer(
        QJsonObject{{QStringLiteral("session"), session},
                    {QStringLiteral("user"), QString::number(user.value())},
                    {QStringLiteral("expires"), ApiValues::toJson(caller.expires)},
                    {QStringLiteral("permissions"), QJsonArray::fromStringList(permissionNames(permissions))}});
}

void ApiLogins::refuse(const Attempt& attempt, const QString& reason)
{
    m_limits.noteRefusal(attempt.name, attempt.call->caller->address, m_clock());
    AuditEvent event;
    event.kind = AuditKind::LoginRefused;
    event.details = {{QStringLiteral("login"), attempt.name.left(longestName)},
                     {QStringLiteral("peer"), attempt.call->caller->address},
                     {QStringLiteral("way"), QStringLiteral("api")},
                     {QStringLiteral("reason"), reason}};
    if (!m_trail->append(event))
        qWarning("CApi: a refused log-in cannot be stored: %s", qUtf8Printable(m_trail->errorString()));
    // Strangers learn nothing else.
    attempt.call->fail(ApiError::LoginRefused, QStringLiteral("log-in refused"));
}
