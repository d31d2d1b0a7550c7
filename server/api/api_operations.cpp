#include <server/api/api_operations_p.h>

#include <server/api/api_catalog_p.h>
#include <server/api/api_values_p.h>
#include <server/api/event_rows.h>
#include <server/audit/audit_trail.h>
#include <server/model/access_facts_source.h>
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <foundation/access/access_explanation.h>
#include <foundation/core/string_utils.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/notification_service.h>
#include <foundation/services/script_service.h>

#include <QtCore/QTimeZone>

namespace {

constexpr int mostEvents = 1000;
constexpr int usualEvents = 100;
constexpr int mostFound = 100;
constexpr int usualFound = 20;

const QString usersGroups = QStringLiteral("UsersGroups");
const QString accessPoints = QStringLiteral("AccessPoints");

CAccessTimeZone here()
{
    const QTimeZone zone = QTimeZone::systemTimeZone();
    return CAccessTimeZone(zone.isValid() ? zone : QTimeZone(QDateTime::currentDateTime().offsetFromUtc()));
}

// What stands in a text of ours of what somebody has sent.
QString quoted(const QString& text)
{
    return QLatin1Char('"') + CStringUtils::printable(text.left(100)) + QLatin1Char('"');
}

} // namespace

ApiOperations::ApiOperations(CSqlAccessControl* model, CAuditTrail* trail, ApiLogins* logins, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_trail(trail)
    , m_logins(logins)
{
}

ApiOperations::~ApiOperations() = default;

// --- Sessions

QVariantMap ApiOperations::login(const QString& name, const QString& password, const QString& oneTimePassword)
{
    m_logins->login(m_call, name, password, oneTimePassword);
    return {};
}

QVariant ApiOperations::logout()
{
    CApiCaller& caller = *m_call->caller;
    if (loggedOut)
        loggedOut(caller);
    const bool done = m_model->endSession(caller.session);
    caller.session.clear();
    return done;
}

QVariantList ApiOperations::system_describe()
{
    // Strangers ask for it, too: it is made once.
    static const QJsonValue described = ApiValues::toJson(ApiCatalog::instance().describe());
    m_call->answer(described);
    return {};
}

// --- Notifications

QVariant ApiOperations::registerObserver(const QVariant& sources)
{
    const QSet<QString> names = CNotificationService::sourceNames(sources);
    for (const QString& name : names) {
        if (name.size() > CApi::longestSource)
            m_call->fail(ApiError::BadParams,
                         QStringLiteral("the name of a source has at most %1 characters").arg(CApi::longestSource));
    }
    if (notifications && (notifications->sourcesOf(m_call->caller->subscriber) + names).size() > CApi::mostSources)
        m_call->fail(ApiError::BadParams, QStringLiteral("at most %1 sources").arg(CApi::mostSources));
    return passToHub(QStringLiteral("registerObserver"), sources);
}

QVariant ApiOperations::unregisterObserver(const QVariant& sources)
{
    return passToHub(QStringLiteral("unregisterObserver"), sources);
}

bool ApiOperations::passToHub(const QString& method, const QVariant& sources)
{
    const std::shared_ptr<ApiCall> call = m_call;
    if (!notifications || call->caller->subscriber.isEmpty())
        call->fail(ApiError::Refused, QStringLiteral("notifications need a WebSocket"));
    if (call->isFinished())
        return false;
    if (subscribing)
        subscribing(*call->caller);
    call->answer(true);
    // What the hub has to say to it comes behind the answer, and only to one that is still there.
    const auto tell = [this, call, method, sources] {
        if (notifications && isSubscribed && isSubscribed(*call->caller))
            notifications->receiveMessage(call->caller->subscriber, method, {sources}, call->session.user.value());
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
    return true;
}

// --- Access

CItemId ApiOperations::find(const char* word, const QString& collection, int itemClass, const QString& name)
{
    const QList<CItemId> found = CModelReader(m_model).resolve(collection, itemClass, name);
    if (found.size() == 1)
        return found.constFirst();
    if (found.isEmpty()) {
        m_call->fail(ApiError::Refused, QStringLiteral("there is no %1 %2").arg(QLatin1String(word), quoted(name)));
        return {};
    }
    QStringList ids;
    for (const CItemId id : found.mid(0, 10))
        ids.append(QString::number(id.value()));
    m_call->fail(ApiError::Refused,
                 QStringLiteral("several items have the name %1: %2").arg(quoted(name), ids.join(QLatin1String(", "))));
    return {};
}

std::optional<qint64> ApiOperations::instant(const QString& text, const CAccessTimeZone& zone,
                                             CAccessTimeZone::DayEdge edge)
{
    const auto at =
        text.isEmpty() ? std::optional<qint64>(QDateTime::currentSecsSinceEpoch()) : zone.instantFromText(text, edge);
    if (!at)
        m_call->fail(ApiError::BadParams,
                     QStringLiteral("a time must look like 2026-11-22T03:10 or be a date, not %1").arg(quoted(text)));
    return at;
}

bool ApiOperations::isRead(const IAccessFactsSource& source)
{
    if (!source.errorString().isEmpty())
        m_call->fail(ApiError::Refused, source.errorString());
    return source.errorString().isEmpty();
}

QVariantMap ApiOperations::access_why(const QString& user, const QString& accessPoint, const QString& at,
                                      const QString& credential)
{
    const CItemId who = find("user", usersGroups, UserClassUser, user);
    const CItemId where = who != CItemId() ? find("door", accessPoints, 0, accessPoint) : CItemId();
    CItemId shown;
    if (where != CItemId() && !credential.isEmpty()) {
        // By its number, or a medium's UID: codes are no names.
        const bool isCode = m_model->getCollectionOf(credential.toLongLong()) == QLatin1String("Codes");
        shown = isCode ? CItemId(credential.toLongLong()) : find("medium", QStringLiteral("Media"), 0, credential);
    }
    if (m_call->isFinished())
        return {};
    const auto source = IAccessFactsSource::of(m_model);
    CAccessFacts facts = source->ofUserAtDoor(who, where);
    if (!isRead(*source))
        return {};
    if (!credential.isEmpty())
        facts.restrictToCredential(shown);
    const auto moment =
        instant(at, facts.accessPoints.isEmpty() ? here() : facts.zoneOf(0), CAccessTimeZone::DayEdge::Begin);
    if (!moment)
        return {};
    return CAccessExplanation::verdictToJson(facts, CAccessEvaluator::verdict(facts, *moment)).toVariantMap();
}

QVariantList ApiOperations::access_who(const QString& accessPoint, const QString& at, int limit)
{
    const CItemId where = find("door", accessPoints, 0, accessPoint);
    if (where == CItemId())
        return {};
    const auto source = IAccessFactsSource::of(m_model);
    const CAccessFacts facts = source->ofDoor(where);
    return isRead(*source) ? chains(facts, at, limit, true) : QVariantList();
}

QVariantList ApiOperations::access_doors(const QString& user, const QString& at, int limit)
{
    const CItemId who = find("user", usersGroups, UserClassUser, user);
    if (who == CItemId())
        return {};
    const auto source = IAccessFactsSource::of(m_model);
    const CAccessFacts facts = source->ofUser(who);
    return isRead(*source) ? chains(facts, at, limit, false) : QVariantList();
}

QVariantList ApiOperations::chains(const CAccessFacts& facts, const QString& at, int limit, bool ofDoor)
{
    const CAccessTimeZone zone = ofDoor && !facts.accessPoints.isEmpty() ? facts.zoneOf(0) : here();
    const auto moment = instant(at, zone, CAccessTimeZone::DayEdge::Begin);
    if (!moment)
        return {};
    if (limit < 0) {
        m_call->fail(ApiError::BadParams, QStringLiteral("a limit is 1 or more, 0 is none"));
        return {};
    }
    QVector<CAccessChain> all = CAccessEvaluator::chains(facts, *moment);
    if (limit > 0 && limit < all.size()) {
        m_call->omitted = all.size() - limit;
        all.resize(limit);
    }
    return CAccessExplanation::chainsToJson(all).toVariantList();
}

// --- Events and devices

QVariantList ApiOperations::events_list(const QVariantMap& filter, int limit)
{
    CAuditTrail::Filter wanted;
    for (auto entry = filter.cbegin(); entry != filter.cend(); ++entry) {
        const QString text = entry->toString();
        if (entry.key() == QLatin1String("accessPoint") || entry.key() == QLatin1String("user")) {
            // Also one that is gone: its events are not.
            const bool isDoor = entry.key() == QLatin1String("accessPoint");
            bool isNumber = false;
            CItemId id = text.toLongLong(&isNumber);
            if (!isNumber)
                id = isDoor ? find("door", accessPoints, 0, text) : find("user", usersGroups, UserClassUser, text);
            (isDoor ? wanted.accessPoint : wanted.user) = id;
        } else if (entry.key() == QLatin1String("kind")) {
            const QStringList names = entry->toStringList();
            for (const QString& name : names) {
                const auto kind = auditKindFromName(name);
                if (kind)
                    wanted.kinds.append(*kind);
                else
                    m_call->fail(ApiError::BadParams, QStringLiteral("there is no kind of event %1").arg(quoted(name)));
            }
        } else if (entry.key() == QLatin1String("from")) {
            wanted.from = instant(text, here(), CAccessTimeZone::DayEdge::Begin).value_or(0) * 1000;
        } else if (entry.key() == QLatin1String("to")) {
            wanted.to = instant(text, here(), CAccessTimeZone::DayEdge::End).value_or(0) * 1000 + 999;
        } else {
            m_call->fail(ApiError::BadParams,
                         QStringLiteral("events can be filtered by accessPoint, user, kind, from and to, not by %1")
                             .arg(quoted(entry.key())));
        }
    }
    if (limit < 0 || limit > mostEvents)
        m_call->fail(ApiError::BadParams, QStringLiteral("the limit must be from 1 to %1").arg(mostEvents));
    if (m_call->isFinished())
        return {};
    QVariantList result;
    const QList<QVariantMap> rows =
        EventRows::make(m_model, m_trail, m_trail->events(wanted, limit == 0 ? usualEvents : limit, &m_call->omitted));
    for (const QVariantMap& row : rows)
        result.append(row);
    return result;
}

QVariantList ApiOperations::devices_list()
{
    return deviceList ? deviceList() : QVariantList();
}

// --- Items

QVariantList ApiOperations::items_find(const QString& collection, const QString& text, int limit, int itemClass)
{
    if (limit < 0 || limit > mostFound) {
        m_call->fail(ApiError::BadParams, QStringLiteral("the limit must be from 1 to %1").arg(mostFound));
        return {};
    }
    QVariantList result;
    // Of users and groups those that may be read.
    const ApiSession& session = m_call->session;
    if (itemClass == 0 && collection == usersGroups && !session.may(PermissionUsersRead | PermissionUserGroupsRead))
        itemClass = session.may(PermissionUsersRead) ? UserClassUser : UserClassGroup;
    const QList<CItemId> found =
        m_model->findByLabel(collection, itemClass, text, limit == 0 ? usualFound : limit, &m_call->omitted);
    for (const CItemId id : found)
        result += m_model->getModel(collection, {{QStringLiteral("id"), id.value()}}, {});
    return result;
}

QVariant ApiOperations::items_add(const QString& collection, const QVariantMap& properties)
{
    return QString::number(m_model->createItem(collection, properties).value());
}

QVariant ApiOperations::items_set(const QString& collection, const QString& id, const QVariantMap& properties)
{
    if (!haveItems(collection, {id}))
        return false;
    return m_model->changeAll([&] {
        for (auto entry = properties.cbegin(); entry != properties.cend(); ++entry) {
            const QVariant value = entry->userType() == QMetaType::Nullptr ? QVariant() : *entry;
            if (!m_model->setItemProperty(collection, entry.key(), value, id.toLongLong()))
                return false;
        }
        return true;
    });
}

QVariant ApiOperations::items_remove(const QString& collection, const QStringList& ids)
{
    if (!haveItems(collection, ids))
        return false;
    return m_model->changeAll([&] {
        for (const QString& id : ids) {
            if (!m_model->deleteItem(collection, id.toLongLong()))
                return false;
        }
        return true;
    });
}

bool ApiOperations::haveItems(const QString& collection, const QStringList& ids)
{
    if (ids.isEmpty())
        m_call->fail(ApiError::BadParams, QStringLiteral("no item is given"));
    for (const QString& id : ids) {
        if (m_model->getCollectionOf(id.toLongLong()) != collection)
            m_call->fail(ApiError::Refused,
                         QStringLiteral("there is no item %1 in %2").arg(quoted(id), quoted(collection)));
    }
    return !m_call->isFinished();
}
