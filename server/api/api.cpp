#include <server/api/api.h>

#include <server/api/api_catalog_p.h>
#include <server/api/api_logins_p.h>
#include <server/api/api_operations_p.h>
#include <server/api/api_subscribers_p.h>
#include <server/api/api_values_p.h>
#include <server/api/refusal_trail_p.h>
#include <server/audit/audit_trail.h>
#include <server/model/permission_names.h>
#include <server/model/sql_access_control.h>

#include <foundation/core/json_text.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/notification_service.h>
#include <foundation/services/script_service.h>

#include <QtCore/QByteArrayList>
#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTimer>

namespace {

const QString rightsKey = QStringLiteral("Access Points");
const QString membersKey = QStringLiteral("Members");
const QString codeKey = QStringLiteral("code");
const QString classKey = QStringLiteral("class");

// What a call answers with as a whole, or one of a batch.
QJsonObject response(const QJsonValue& id, QJsonObject resultOrError)
{
    resultOrError.insert(QStringLiteral("jsonrpc"), QStringLiteral("2.0"));
    resultOrError.insert(QStringLiteral("id"), id);
    return resultOrError;
}

QJsonObject errorObject(ApiError code, const QString& text)
{
    QJsonObject object;
    ApiCall(nullptr, [&object](const QJsonObject& error) { object = error; }).fail(code, text);
    return object;
}

int statusOf(const QJsonObject& resultOrError)
{
    const QJsonValue error = resultOrError.value(QStringLiteral("error"));
    switch (ApiError(error.toObject().value(QStringLiteral("code")).toInt())) {
    case ApiError::NotLoggedIn:
    case ApiError::LoginRefused:
    case ApiError::CodeNeeded:
        return 401;
    case ApiError::NotPermitted:
        return 403;
    case ApiError::TooMany:
        return 429;
    default:
        return 200;
    }
}

// Texts by which an item's relations or secrets are meant: a property's name, the keys of a map, a list of names.
QStringList namesIn(const QVariantList& arguments)
{
    QStringList names;
    for (const QVariant& argument : arguments) {
        if (argument.userType() == QMetaType::QVariantMap)
            names += argument.toMap().keys();
        else if (argument.userType() == QMetaType::QStringList)
            names += argument.toStringList();
        else if (argument.userType() == QMetaType::QString)
            names += argument.toString();
    }
    return names;
}

// The collection that a method names; "" when it names none.
QString collectionIn(const ApiMethod& method, const QVariantList& arguments)
{
    return method.argument(arguments, method.name == QLatin1String("getModel") ? "name" : "collection").toString();
}

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

    // One message: a call, or several.
    struct Message
    {
        std::shared_ptr<CApiCaller> caller;
        Answer answer;
        QJsonArray calls;
        bool isBatch = false;
        int next = 0;            // of the calls
        int open = 0;            // that were started and not answered
        bool isStarting = false; // one of them
        bool isResting = false;  // until the event loop comes round
        bool isHeld = false;     // until this one is answered
        int held = -1;
        QMap<int, QByteArray> answers; // in the order of the calls
        QSet<int> statuses;
        qint64 size = 0; // of the answers so far
    };

    void proceed(const std::shared_ptr<Message>& message);
    void start(const std::shared_ptr<Message>& message, int place);
    void keep(const std::shared_ptr<Message>& message, int place, QJsonObject answer);
    void finish(const std::shared_ptr<Message>& message);

    void perform(const std::shared_ptr<ApiCall>& call, const QString& name, const QJsonValue& params);
    void invoke(const std::shared_ptr<ApiCall>& call, const ApiMethod& method, const QVariantList& arguments);
    void act(const ApiSession& session);

    ApiSession findSession(const QString& id) const;
    /// Whether the rule lets the session in; before its parameters are looked at.
    static bool isLetIn(const ApiRule& rule, const ApiSession& session);
    /// Whether the session may do what these parameters ask for beyond the rule. "" when it may, else what it lacks.
    QString lacking(const ApiMethod& method, const QVariantList& arguments, const ApiSession& session) const;
    QVariant concealed(const ApiMethod& method, const QVariantList& arguments, const QVariant& value,
                       const ApiSession& session) const;
    void refuse(const std::shared_ptr<ApiCall>& call, const QString& method, const QString& lacks);
    /// Whoever names a session that is none is a stranger, with a stranger's limits.
    void dropSessionThatIsOver(CApiCaller& caller);
    void dropSession(CApiCaller& caller);
    void unsubscribe(const CApiCaller& caller);
    int classOf(const QString& id) const;

    CApi* q;
    CSqlAccessControl* model;
    CAuditTrail* trail;
    QElapsedTimer time;
    std::function<qint64()> clock;
    CScriptService scripts;
    ApiLogins logins;
    ApiOperations operations;
    ApiSubscribers subscribers;
    RefusalTrail refusals{trail, mostRefusalsTold};
    QPointer<CNotificationService> hub;
    CallLimit callLimit{mostCalls, callsPerSecond};
    ApiSession acting; // whose call runs now
};

// --- Sessions and permissions

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

bool CApi::Private::isLetIn(const ApiRule& rule, const ApiSession& session)
{
    switch (rule.gate) {
    case ApiGate::Anyone:
        return true;
    case ApiGate::LoggedIn:
        return session.isValid();
    case ApiGate::Permission:
        return session.may(rule.permission);
    case ApiGate::Collection:
        return (session.permissions & ApiCollections::anyPermission(rule.use)) != 0;
    case ApiGate::Nobody:
        break;
    }
    return false;
}

int CApi::Private::classOf(const QString& id) const
{
    const QString users = QStringLiteral("UsersGroups");
    return model->getItemProperty(users, classKey, id.toLongLong()).toInt();
}

QString CApi::Private::lacking(const ApiMethod& method, const QVariantList& arguments, const ApiSession& session) const
{
    const ApiUse use = method.rule->use;
    const auto lacks = [&session](Permission permission) {
        return session.may(permission) ? QString() : permissionName(permission);
    };
    QString missing;
    const auto need = [&](Permission permission) {
        if (missing.isEmpty())
            missing = lacks(permission);
    };
    // Groups that a method for users takes, too.
    const auto needGroups = [&](const QStringList& ids) {
        for (const QString& id : ids) {
            if (classOf(id) == UserClassGroup)
                need(PermissionUserGroupsWrite);
        }
    };
    if (method.name == QLatin1String("cloneUserOrGroup"))
        needGroups({method.argument(arguments, "id").toString()});
    if (method.name == QLatin1String("deleteUsersAndGroups"))
        needGroups(method.argument(arguments, "ids").toStringList());

    const QStringList names = namesIn(arguments);
    if (method.rule->gate == ApiGate::Collection) {
        const QString collection = collectionIn(method, arguments);
        const auto permission = ApiCollections::permission(collection, 0, use);
        const auto ofGroups = *ApiCollections::permission(collection, UserClassGroup, use);
        if (use == ApiUse::Reads) {
            if (!session.may(*permission) && !session.may(ofGroups))
                need(*permission);
            QVariantMap filter = method.argument(arguments, "filter").toMap();
            if (method.argument(arguments, "itemClass").toInt() != 0)
                filter.insert(classKey, method.argument(arguments, "itemClass"));
            if (filter.contains(classKey) && *permission != ofGroups)
                need(filter.value(classKey).toInt() == UserClassGroup ? ofGroups : *permission);
            // Whether a code is there is as much as the code.
            if (collection == QLatin1String("Codes") && filter.contains(codeKey))
                need(PermissionReadPasswords);
        } else {
            const QVariantMap properties = method.argument(arguments, "properties").toMap();
            QStringList ids = method.argument(arguments, "ids").toStringList();
            if (ids.isEmpty() && method.argument(arguments, "id").isValid())
                ids.append(method.argument(arguments, "id").toString());
            if (ids.isEmpty())
                need(properties.value(classKey).toInt() == UserClassGroup ? ofGroups : *permission);
            for (const QString& id : qAsConst(ids))
                need(*permission != ofGroups && classOf(id) == UserClassGroup ? ofGroups : *permission);
        }
    }
    // Relations are what gives access: they have permissions of their own.
    if (names.contains(rightsKey))
        need(use == ApiUse::Reads ? PermissionAccessRightsRead : PermissionAccessRightsWrite);
    if (names.contains(membersKey))
        need(use == ApiUse::Reads ? PermissionUserGroupsRead : PermissionUserGroupRelations);
    return missing;
}

// What is read along is left out for those who may not read it.
QVariant CApi::Private::concealed(const ApiMethod& method, const QVariantList& arguments, const QVariant& value,
                                  const ApiSession& session) const
{
    const QString collection = collectionIn(method, arguments);
    const bool isOfCodes = collection == QLatin1String("Codes") && !session.may(PermissionReadPasswords);
    const bool isOfUsers = collection == QLatin1String("UsersGroups");
    const auto conceal = [&](QVariantMap item) {
        if (!session.may(PermissionAccessRightsRead))
            item.remove(rightsKey);
        if (!session.may(PermissionUserGroupsRead))
            item.remove(membersKey);
        if (isOfCodes)
            item.remove(codeKey);
        return item;
    };
    if (value.userType() == QMetaType::QVariantMap)
        return conceal(value.toMap());
    if (value.userType() != QMetaType::QVariantList || method.rule->gate != ApiGate::Collection)
        return value;
    QVariantList kept;
    const QVariantList items = value.toList();
    for (const QVariant& item : items) {
        const QVariantMap map = item.toMap();
        // Fields that were asked for may leave it out; then the class was asked for as well.
        const bool isGroup = map.value(classKey).toInt() == UserClassGroup;
        if (!isOfUsers || !map.contains(classKey)
            || session.may(isGroup ? PermissionUserGroupsRead : PermissionUsersRead))
            kept.append(conceal(map));
    }
    return kept;
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

// --- Messages of one call or several

// Starts what can be started; called again whenever something has changed.
void CApi::Private::proceed(const std::shared_ptr<Message>& message)
{
    const QPointer<CApi> alive(q);
    while (message->next < message->calls.size()) {
        if (message->isStarting || message->isResting || message->isHeld)
            return;
        message->isStarting = true;
        start(message, message->next++);
        if (!alive)
            return;
        message->isStarting = false;
        if (message->next < message->calls.size() && !message->isHeld) {
            // Others have their turn in between.
            message->isResting = true;
            const auto goOn = [this, message] {
                message->isResting = false;
                proceed(message);
            };
            QMetaObject::invokeMethod(q, goOn, Qt::QueuedConnection);
        }
    }
    if (message->open == 0 && !message->isStarting)
        finish(message);
}

void CApi::Private::start(const std::shared_ptr<Message>& message, int place)
{
    const QJsonObject object = message->calls.at(place).toObject();
    const QJsonValue method = object.value(QLatin1String("method"));
    QJsonValue id = object.value(QLatin1String("id"));
    const bool hasGoodId = id.isNull() || id.isString() || id.isDouble();
    const bool isRequest = object.value(QLatin1String("jsonrpc")).toString() == QLatin1String("2.0")
                           && method.isString() && (hasGoodId || id.isUndefined());
    const bool isWanted = !isRequest || hasGoodId;
    if (!hasGoodId)
        id = QJsonValue::Null;
    ++message->open;
    ++message->caller->waiting;
    const QPointer<CApi> alive(q);
    const auto call = std::make_shared<ApiCall>(
        message->caller, [this, alive, message, place, id, isWanted](const QJsonObject& resultOrError) {
            --message->caller->waiting;
            if (!alive)
                return;
            keep(message, place, isWanted ? response(id, resultOrError) : QJsonObject());
            --message->open;
            if (message->held == place)
                message->isHeld = false;
            proceed(message);
        });
    if (!isRequest)
        return call->fail(ApiError::NoRequest, QStringLiteral("not a JSON-RPC 2.0 request"));
    if (message->caller->waiting > mostWaiting)
        return call->fail(ApiError::TooMany, QStringLiteral("too many calls without an answer"));
    perform(call, method.toString(), object.value(QLatin1String("params")));
    if (!alive || call->isFinished())
        return;
    // What stands behind a log-in is meant for the session that it begins.
    message->isHeld = method.toString() == QLatin1String("login");
    message->held = place;
    QTimer::singleShot(answerMs, q, [call] { call->fail(ApiError::Refused, QStringLiteral("no answer in time")); });
}

void CApi::Private::keep(const std::shared_ptr<Message>& message, int place, QJsonObject answer)
{
    if (answer.isEmpty())
        return;
    QByteArray text = QJsonDocument(answer).toJson(QJsonDocument::Compact);
    // A hundred long ones are no less than one that is longer.
    if (message->size + text.size() > longestAnswer) {
        const QJsonValue id = answer.value(QLatin1String("id"));
        answer = response(id, errorObject(ApiError::Refused, QStringLiteral("the answer is too large: ask for less")));
        text = QJsonDocument(answer).toJson(QJsonDocument::Compact);
    }
    message->size += text.size();
    message->answers.insert(place, text);
    message->statuses.insert(statusOf(answer));
}

void CApi::Private::finish(const std::shared_ptr<Message>& message)
{
    const Answer tell = std::move(message->answer);
    message->answer = nullptr;
    if (!tell)
        return;
    CApiAnswer result;
    result.body = QByteArrayList(message->answers.values()).join(',');
    if (message->isBatch && !result.body.isEmpty())
        result.body = '[' + result.body + ']';
    if (message->statuses.size() == 1)
        result.status = *message->statuses.cbegin();
    tell(result);
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
    if (!isLetIn(rule, call->session))
        return refuse(call, name, rule.permissionText().value_or(QString()));
    QString error;
    const auto arguments = method->arguments(params, error);
    if (!arguments)
        return call->fail(ApiError::BadParams, error);
    if (rule.gate == ApiGate::Collection && !ApiCollections::permission(collectionIn(*method, *arguments), 0, rule.use))
        return call->fail(ApiError::BadParams, QStringLiteral("there is no such collection"));
    const QString lacks = lacking(*method, *arguments, call->session);
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
    QVariantList given = arguments;
    // Users and groups stand in one collection: who may read the ones alone asks for them alone.
    if (method.name == QLatin1String("getModel") && collectionIn(method, arguments) == QLatin1String("UsersGroups")
        && !call->session.may(PermissionUsersRead | PermissionUserGroupsRead)) {
        QVariantMap filter = given.at(1).toMap();
        filter.insert(classKey, call->session.may(PermissionUsersRead) ? UserClassUser : UserClassGroup);
        given[1] = filter;
    }
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
        call->answer(resultOf(method, arguments, concealed(method, arguments, result, call->session)));
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
    const auto message = std::make_shared<Private::Message>();
    message->caller = caller;
    message->answer = answer;
    const auto fail = [&](ApiError code, const QString& text) {
        d->keep(message, 0, response(QJsonValue::Null, errorObject(code, text)));
        d->finish(message);
    };
    if (request.size() > (caller->session.isEmpty() ? longestOfStrangers : longestRequest))
        return fail(ApiError::NoRequest, QStringLiteral("the request is too large"));
    QJsonParseError error;
    const QJsonDocument document = CJsonText::read(request, &error);
    if (document.isNull()) {
        // A number alone is JSON, though no request.
        const bool isScalar = !CJsonText::read('[' + request + ']').isNull() && !request.trimmed().isEmpty();
        return isScalar ? fail(ApiError::NoRequest, QStringLiteral("not a JSON-RPC 2.0 request"))
                        : fail(ApiError::NoJson, QStringLiteral("not JSON, or a key appears twice in an object"));
    }
    message->isBatch = document.isArray();
    message->calls = message->isBatch ? document.array() : QJsonArray{document.object()};
    if (message->calls.isEmpty() || message->calls.size() > mostInBatch) {
        message->isBatch = false;
        return fail(ApiError::NoRequest, QStringLiteral("a batch has 1 to %1 calls").arg(int(mostInBatch)));
    }
    d->proceed(message);
}
