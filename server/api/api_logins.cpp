#include <server/api/api_logins_p.h>

#include <server/api/api_values_p.h>
#include <server/audit/audit_trail.h>
#include <server/model/permission_names.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QPointer>
#include <QtCore/QRunnable>

#include <algorithm>

namespace {

const QString tooManyAtOnce = QStringLiteral("too many log-ins at the same time");

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
    , m_refusals(trail, mostTold)
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
    Attempt attempt{call, name, password, code, LoginLimits::network(call->caller->address)};
    if (isBlocked(attempt))
        return;
    if (m_queue.size() >= mostQueued && !makeRoom(attempt.network))
        return call->fail(ApiError::TooMany, tooManyAtOnce);
    call->isKept = true;
    m_queue.append(attempt);
    startNext();
}

bool ApiLogins::isBlocked(const Attempt& attempt)
{
    if (!m_limits.isBlocked(attempt.name, attempt.call->caller->address, m_clock()))
        return false;
    attempt.call->fail(ApiError::TooMany, QStringLiteral("too many wrong log-ins: wait a minute"));
    return true;
}

int ApiLogins::nextOne() const
{
    int next = -1;
    for (int i = 0; i < m_queue.size(); ++i) {
        const Attempt& attempt = m_queue.at(i);
        bool isOther = true; // than what is looked at now
        bool isSameName = false;
        for (const Attempt& running : m_running) {
            isOther = isOther && running.network != attempt.network;
            isSameName = isSameName || (running.network == attempt.network && running.name == attempt.name);
        }
        if (isOther)
            return i;
        if (next < 0 && !isSameName)
            next = i;
    }
    return next;
}

bool ApiLogins::makeRoom(const QString& network)
{
    QHash<QString, int> counts;
    int most = 0;
    for (const Attempt& attempt : qAsConst(m_queue))
        most = qMax(most, ++counts[attempt.network]);
    if (counts.value(network) + 1 >= most)
        return false;
    for (int i = m_queue.size() - 1; i >= 0; --i) {
        if (counts.value(m_queue.at(i).network) < most)
            continue;
        m_queue.takeAt(i).call->fail(ApiError::TooMany, tooManyAtOnce);
        return true;
    }
    return false;
}

void ApiLogins::startNext()
{
    for (int next = nextOne(); m_running.size() < workers && next >= 0; next = nextOne()) {
        Attempt attempt = m_queue.takeAt(next);
        // What stood in front of it may have been the tenth wrong one.
        if (isBlocked(attempt))
            continue;
        m_running.append(attempt);
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
    const auto isThis = [&attempt](const Attempt& running) { return running.call == attempt.call; };
    m_running.erase(std::find_if(m_running.begin(), m_running.end(), isThis));
    const QPointer<ApiLogins> self(this);
    const QVariantMap login = m_model->getLogin(attempt.name);
    // Meanwhile somebody may have taken the login away, or given it another password.
    const bool isGood = isRight && !login.isEmpty() && m_model->getPasswordHash(attempt.name).hash == attempt.hash.hash;
    const bool hasCode = login.value(QStringLiteral("otp")).toBool();
    const CItemId user = login.value(QStringLiteral("userId")).toLongLong();
    if (login.isEmpty())
        refuse(attempt, false, QStringLiteral("there is no such login"));
    else if (!isGood)
        refuse(attempt, true, QStringLiteral("the password is wrong"));
    else if (m_model->getUserProperty(QStringLiteral("enabled"), user).toString() == QLatin1String("false"))
        refuse(attempt, true, QStringLiteral("the user is out of service"));
    else if (hasCode && attempt.code.isEmpty())
        attempt.call->fail(ApiError::CodeNeeded, QStringLiteral("a one-time password is needed"));
    else if (hasCode && !m_model->checkOneTimePassword(attempt.name, attempt.code))
        refuse(attempt, true, QStringLiteral("the one-time password is wrong"));
    else
        admit(attempt);
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

void ApiLogins::refuse(const Attempt& attempt, bool isKnown, const QString& reason)
{
    m_limits.noteRefusal(attempt.name, attempt.call->caller->address, m_clock());
    AuditEvent event;
    event.kind = AuditKind::LoginRefused;
    // What is no login's name may be a password that was typed into the wrong field: it is kept nowhere.
    event.details = {{QStringLiteral("login"), isKnown ? attempt.name : QString()},
                     {QStringLiteral("peer"), attempt.call->caller->address},
                     {QStringLiteral("way"), QStringLiteral("api")},
                     {QStringLiteral("reason"), reason}};
    m_refusals.note(QString(), event);
    // Strangers learn nothing else.
    attempt.call->fail(ApiError::LoginRefused, QStringLiteral("log-in refused"));
}
