#include <server/api/api.h>

#include <server/api/api_logins_p.h>
#include <server/api/api_message_p.h>
#include <server/api/api_operations_p.h>
#include <server/api/api_permissions_p.h>
#include <server/api/api_subscribers_p.h>
#include <server/api/api_values_p.h>
#include <server/api/refusal_trail_p.h>
#include <server/audit/audit_trail.h>
#include <server/model/sql_access_control.h>

#include <foundation/services/notification_service.h>
#include <foundation/services/script_service.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>

namespace {

bool isRefusal(const QVariant& result)
{
    switch (result.userType()) {
    case QMetaType::Bool:
        return !result.toBool();
    case QMetaType::QString:
        return result.toString() == QLatin1String("0"); // an id
    case QMetaType::QVariantMap:
        return result.toMap().value(QStringLiteral("status")).toString() == QLatin1String("error");
    default:
        return false;
    }
}

QJsonValue resultOf(const ApiMethod& method, const QVariantList& arguments, const QVariant& result)
{
    // The value of a property is as its name says.
    const QString property =
        method.name.endsWith(QLatin1String("Property")) ? method.argument(arguments, "name").toString() : QString();
    return ApiValues::toJson(ApiValues::withIdTexts(result), property);
}

} // namespace

class CApi::Private
{
public:
    Private(CApi* api, CSqlAccessControl* inModel, CAuditTrail* inTrail, IDeviceService* devices)
        : q(api)
        , model(inModel)
        , trail(inTrail)
        , permissions(inModel)
        , scripts(inModel, devices)
        , logins(inModel, inTrail, nullptr)
        , operations(inModel, inTrail, &logins, nullptr)
        , subscribers([this](const QString& session) { return findSession(session); })
    {
        time.start();
        clock = [this] { return time.elapsed(); };
        logins.setClock([this] { return clock(); });
        operations.subscribing = [this](const CApiCaller& caller) {
            subscribers.add(caller.subscriber, caller.session);
        };
        operations.isSubscribed = [this](const CApiCaller& caller) {
            return !caller.session.isEmpty() && subscribers.contains(caller.subscriber);
        };
        operations.loggedOut = [this](const CApiCaller& caller) { unsubscribe(caller); };
        // What a connection observes goes on under its new session, with the rights of that.
        logins.admitted = [this](const CApiCaller& caller) {
            if (subscribers.contains(caller.subscriber))
                subscribers.add(caller.subscriber, caller.session);
        };
    }

    void perform(const std::shared_ptr<ApiCall>& call, const QString& name, const QJsonValue& params);
    void invoke(const std::shared_ptr<ApiCall>& call, const ApiMethod& method, const QVariantList& arguments);
    void act(const ApiSession& session);

    ApiSession findSession(const QString& id) const;
    void refuse(const std::shared_ptr<ApiCall>& call, const QString& method, const QString& lacks);
    /// Whoever names a session that is none is a stranger, with a stranger's limits.
    void dropSessionThatIsOver(CApiCaller& caller);
    void dropSession(CApiCaller& caller);
    void unsubscribe(const CApiCaller& caller);

    CApi* q;
    CSqlAccessControl* model;
    CAuditTrail* trail;
    QElapsedTimer time;
    std::function<qint64()> clock;
    ApiPermissions permissions;
    CScriptService scripts;
    ApiLogins logins;
    ApiOperations operations;
    ApiSubscribers subscribers;
    RefusalTrail refusals{trail, mostRefusalsTold};
    QPointer<CNotificationService> hub;
    CallLimit callLimit{mostCalls, callsPerSecond};
    ApiSession acting; // whose call runs now
};

// --- Sessions

ApiSession CApi::Private::findSession(const QString& id) const
{
    const QVariantMap found = id.isEmpty() ? QVariantMap() : model->getSession(id);
    if (found.isEmpty())
        return {};
    const CItemId user = found.value(QStringLiteral("userId")).toLongLong();
    // Who was taken out of service comes in nowhere.
    if (model->getUserProperty(QStringLiteral("enabled"), user).toString() == QLatin1String("false"))
        return {};
    return {id, found.value(QStringLiteral("login")).toString(), user,
            Permissions(QFlag(int(found.value(QStringLiteral("permissions")).toUInt())))};
}

void CApi::Private::refuse(const std::shared_ptr<ApiCall>& call, const QString& method, const QString& lacks)
{
    AuditEvent event;
    event.kind = AuditKind::Refused;
    event.user = call->session.user;
    event.operatorName = QString::number(call->session.user.value());
    event.details = {{QStringLiteral("method"), method},
                     {QStringLiteral("permission"), lacks},
                     {QStringLiteral("login"), call->session.login},
                     {QStringLiteral("peer"), call->caller->address},
                     {QStringLiteral("way"), QStringLiteral("api")}};
    refusals.note(call->session.login, event);
    call->fail(ApiError::NotPermitted, QStringLiteral("not permitted: %1 takes %2").arg(method, lacks));
}

void CApi::Private::dropSession(CApiCaller& caller)
{
    if (caller.session.isEmpty())
        return;
    unsubscribe(caller);
    caller.session.clear();
}

void CApi::Private::dropSessionThatIsOver(CApiCaller& caller)
{
    const qint64 failures = model->database()->failures();
    if (!findSession(caller.session).isValid() && model->database()->failures() == failures)
        dropSession(caller);
}

void CApi::Private::unsubscribe(const CApiCaller& caller)
{
    if (caller.subscriber.isEmpty())
        return;
    subscribers.remove(caller.subscriber);
    if (hub)
        hub->disconnectSubscriber(caller.subscriber);
}

// --- One call

void CApi::Private::perform(const std::shared_ptr<ApiCall>& call, const QString& name, const QJsonValue& params)
{
    CApiCaller& caller = *call->caller;
    const qint64 failures = model->database()->failures();
    call->session = findSession(caller.session);
    // A database that is away for a moment ends no session.
    if (!call->session.isValid() && model->database()->failures() != failures)
        return call->fail(ApiError::Refused, model->database()->errorString());
    const QString payer = call->session.isValid() ? call->session.id : LoginLimits::network(caller.address);
    if (!callLimit.take(payer, clock()))
        return call->fail(ApiError::TooMany, QStringLiteral("too many calls per second"));
    if (!call->session.isValid())
        dropSession(caller);
    const ApiMethod* method = ApiCatalog::instance().find(name);
    if (method == nullptr)
        return call->fail(ApiError::UnknownMethod, QStringLiteral("there is no such method"));
    const ApiRule& rule = *method->rule;
    if (rule.gate != ApiGate::Anyone && !call->session.isValid())
        return call->fail(ApiError::NotLoggedIn, QStringLiteral("not logged in, or the session is over"));
    // Before the parameters are looked at: who may not call it at all learns nothing of them.
    if (!ApiPermissions::isLetIn(rule, call->session))
        return refuse(call, name, rule.permissionText().value_or(QString()));
    QString error;
    const auto arguments = method->arguments(params, error);
    if (!arguments)
        return call->fail(ApiError::BadParams, error);
    if (!ApiPermissions::isCollectionKnown(*method, *arguments))
        return call->fail(ApiError::BadParams, QStringLiteral("there is no such collection"));
    const QString lacks = permissions.lacking(*method, *arguments, call->session);
    if (!lacks.isEmpty())
        return refuse(call, name, lacks);
    invoke(call, *method, *arguments);
}

void CApi::Private::invoke(const std::shared_ptr<ApiCall>& call, const ApiMethod& method, const QVariantList& arguments)
{
    const QPointer<CApi> alive(q);
    const qint64 failures = model->database()->failures();
    // A receiver of what this call makes known may make another one.
    const ApiSession before = acting;
    const std::shared_ptr<ApiCall> callBefore = operations.call();
    act(call->session);
    operations.setCall(call);
    QVariantList given = ApiPermissions::narrowed(method, arguments, call->session);
    if (method.name == QLatin1String("deviceAction")) {
        QVariantMap parameters = given.at(1).toMap();
        parameters.insert(QStringLiteral("operator"), QString::number(call->session.user.value()));
        given[1] = parameters;
    }
    const QVariant result = method.invoke(
        method.isOwn ? static_cast<QObject*>(&operations) : &scripts, given,
        [call](const QVariantMap& given) { call->answer(ApiValues::toJson(ApiValues::withIdTexts(given))); });
    if (!alive)
        return;
    operations.setCall(callBefore);
    act(before);
    if (call->isFinished() || call->isKept || method.hasCallback)
        return;
    const QString reason = model->errorString();
    if (method.rule->use == ApiUse::Changes && isRefusal(result)) {
        const QString told = result.toMap().value(QStringLiteral("error"), reason).toString();
        call->fail(ApiError::Refused, told.isEmpty() ? QStringLiteral("the model refused it") : told);
    } else if (model->database()->failures() != failures) {
        call->fail(ApiError::Refused, model->database()->errorString());
    } else {
        const QVariant readable = ApiPermissions::concealed(method, arguments, result, call->session);
        call->answer(resultOf(method, arguments, readable));
    }
}

void CApi::Private::act(const ApiSession& session)
{
    acting = session;
    model->setLoggedInId(session.user, session.id);
}

// --- From outside

CApi::CApi(CSqlAccessControl* model, CAuditTrail* trail, IDeviceService* devices, QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this, model, trail, devices))
{
}

CApi::~CApi()
{
    setNotificationService(nullptr);
}

void CApi::setNotificationService(CNotificationService* service)
{
    if (d->hub)
        d->hub->installNotificationFilter(nullptr);
    d->hub = service;
    d->operations.notifications = service;
    if (service != nullptr)
        service->installNotificationFilter(&d->subscribers);
}

void CApi::setDeviceList(const std::function<QVariantList()>& list)
{
    d->operations.deviceList = list;
}

void CApi::setClock(const std::function<qint64()>& clock)
{
    d->clock = clock;
}

void CApi::forget(const CApiCaller& caller)
{
    d->unsubscribe(caller);
}

bool CApi::admitSubscriber(const QString& subscriber, const QString& session)
{
    if (!d->findSession(session).isValid())
        return false;
    d->subscribers.add(subscriber, session);
    return true;
}

void CApi::forgetSubscriber(const QString& subscriber)
{
    d->subscribers.remove(subscriber);
}

void CApi::handle(const QByteArray& request, const std::shared_ptr<CApiCaller>& caller, const Answer& answer)
{
    d->dropSessionThatIsOver(*caller);
    const auto perform = [this](const std::shared_ptr<ApiCall>& call, const QString& method, const QJsonValue& params) {
        d->perform(call, method, params);
    };
    std::make_shared<ApiMessage>(this, caller, answer, perform)->handle(request);
}
