#include <foundation/services/mock_store_p.h>

#include <foundation/core/canonical_text.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/demonstration_installation_p.h>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Mock;

// --- The vocabulary

QString Mock::canonicalName(const QString& name)
{
    return name == QLatin1String("AccessPointLocations") ? accessPointsName : name;
}

QString Mock::referencedCollection(const QString& key)
{
    if (key == userIdKey)
        return usersGroupsName;
    if (key == accessPointIdKey)
        return accessPointsName;
    if (key == calendarIdKey)
        return calendarsName;
    return QString();
}

const QStringList& Mock::referenceKeys()
{
    static const QStringList keys{userIdKey, accessPointIdKey, calendarIdKey};
    return keys;
}

CItemId Mock::toId(const QVariant& value)
{
    return value.userType() == qMetaTypeId<CItemId>() ? value.value<CItemId>() : CItemId(value.toLongLong());
}

QList<CItemId> Mock::toIds(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<CItemIdList>())
        return value.value<CItemIdList>();
    QList<CItemId> ids;
    const QVariantList values = QtCompat::isList(value) ? value.value<QVariantList>() : QVariantList();
    for (const QVariant& element : values)
        ids.append(toId(element));
    return ids;
}

CItemId Mock::idOf(const QVariantMap& item)
{
    return toId(item.value(idKey));
}

int Mock::classOf(const QVariantMap& item)
{
    return item.value(classKey).toInt();
}

CItemId Mock::accessPointOf(const QVariant& right)
{
    return toId(right.toMap().value(accessPointIdKey));
}

QVariantMap Mock::withPlainIds(QVariantMap map)
{
    for (QVariant& value : map) {
        if (value.userType() == qMetaTypeId<CItemId>())
            value = toId(value).value();
    }
    return map;
}

bool Mock::isFixed(const QString& property)
{
    return property == idKey || property == classKey || property == locationKey;
}

QString Mock::defaultLabel(const QString& collectionName, int itemClass, CItemId id)
{
    static const QMap<QString, QString> kinds{
        {accessPointsName, QStringLiteral("Access Point")},
        {authorizationPointsName, QStringLiteral("Authorization Point")},
        {devicesName, QStringLiteral("Device")},
        {usersGroupsName, QStringLiteral("User")},
        {mediaName, QStringLiteral("Medium")},
        {codesName, QStringLiteral("Code")},
        {holidaysName, QStringLiteral("Holiday")},
        {calendarsName, QStringLiteral("Holiday Calendar")},
    };
    const bool isGroup = collectionName == usersGroupsName && itemClass == UserClassGroup;
    const QString kind = isGroup ? QStringLiteral("Group") : kinds.value(collectionName);
    return kind + QLatin1Char(' ') + QString::number(id.value());
}

namespace {

QString locationOf(const QVariantMap& accessPoint)
{
    QStringList parts;
    for (const char* part : {"Building", "Floor", "Access Point"}) {
        const QString text = accessPoint.value(QLatin1String(part)).toString();
        if (!text.isEmpty())
            parts.append(text);
    }
    return parts.join(QLatin1String(", "));
}

} // namespace

// --- Reading

MockStore::MockStore()
{
    const auto collections = demonstrationInstallation();
    for (auto items = collections.cbegin(); items != collections.cend(); ++items) {
        for (const QVariantMap& item : items.value())
            insert(items.key(), item);
    }
}

const MockStore::Item* MockStore::find(const QString& name, CItemId id) const
{
    const auto found = m_index.find(id);
    return found != m_index.end() && found->second->collection == name ? found->second : nullptr;
}

MockStore::Item* MockStore::find(const QString& name, CItemId id)
{
    return const_cast<Item*>(std::as_const(*this).find(name, id));
}

QVariant MockStore::valueOf(const Item& item, const QString& name)
{
    if (item.members && name == membersKey)
        return QVariant::fromValue(item.members->ids());
    if (item.rights && name == rightsKey)
        return item.rights->values();
    if (name == locationKey && item.collection == accessPointsName)
        return locationOf(item.properties);
    return item.properties.value(name);
}

QVariantMap MockStore::mapOf(const Item& item)
{
    QVariantMap map = item.properties;
    for (const QString& name : {membersKey, rightsKey}) {
        const QVariant value = valueOf(item, name);
        if (value.isValid())
            map.insert(name, value);
    }
    return map;
}

bool MockStore::hasCollection(const QString& name) const
{
    return m_collections.count(canonicalName(name)) > 0;
}

QList<QVariantMap> MockStore::items(const QString& name) const
{
    QList<QVariantMap> result;
    const auto collection = m_collections.find(canonicalName(name));
    if (collection != m_collections.end()) {
        for (const auto& [place, item] : collection->second)
            result.append(mapOf(item));
    }
    return result;
}

QVariantList MockStore::select(const QString& name, const QVariantMap& filter, const QStringList& fields,
                               int most) const
{
    const QString collectionName = canonicalName(name);
    const auto collection = m_collections.find(collectionName);
    if (collection == m_collections.end())
        return {};
    QMap<QString, QString> wanted;
    for (auto entry = filter.cbegin(); entry != filter.cend(); ++entry)
        wanted.insert(entry.key(), canonicalText(entry.value()));

    QVariantList result;
    const auto addIfMatching = [&](const Item& item) {
        for (auto entry = wanted.cbegin(); entry != wanted.cend(); ++entry) {
            if (canonicalText(valueOf(item, entry.key())) != entry.value())
                return;
        }
        QVariantMap map = mapOf(item);
        if (collectionName == accessPointsName)
            map.insert(locationKey, locationOf(item.properties));
        if (!fields.isEmpty()) {
            QVariantMap chosen;
            for (const QString& field : fields) {
                if (map.contains(field))
                    chosen.insert(field, map.value(field));
            }
            map = chosen;
        }
        result.append(map);
    };
    // Who names the id has named the only item that can match.
    if (wanted.contains(idKey)) {
        if (const Item* item = find(collectionName, wanted.value(idKey).toLongLong()))
            addIfMatching(*item);
        return result;
    }
    for (auto item = collection->second.cbegin(); item != collection->second.cend() && result.size() != most; ++item)
        addIfMatching(item->second);
    return result;
}

QVariantMap MockStore::firstMatch(const QString& name, const QVariantMap& filter) const
{
    return select(name, filter, {}, 1).value(0).toMap();
}

bool MockStore::contains(const QString& name, CItemId id) const
{
    return find(name, id) != nullptr;
}

bool MockStore::containsAll(const QString& name, const QList<CItemId>& ids) const
{
    return std::all_of(ids.cbegin(), ids.cend(), [&](CItemId id) { return contains(name, id); });
}

bool MockStore::containsOfClass(int userClass, CItemId id) const
{
    const Item* item = find(usersGroupsName, id);
    return item != nullptr && classOf(item->properties) == userClass;
}

QVariant MockStore::property(const QString& collectionName, const QString& name, CItemId id) const
{
    const Item* item = find(collectionName, id);
    return item != nullptr ? valueOf(*item, name) : QVariant();
}

CItemId MockStore::nextId() const
{
    const qint64 highest = m_index.empty() ? 0 : m_index.rbegin()->first.value();
    return highest < std::numeric_limits<qint64>::max() ? highest + 1 : 0;
}

// --- Changes

MockStore::Item& MockStore::insert(const QString& name, const QVariantMap& properties)
{
    const quint64 place = ++m_lastPlace;
    Item& item = m_collections[name][place];
    item.id = idOf(properties);
    item.collection = name;
    item.place = place;
    m_index.emplace(item.id, &item);
    for (auto property = properties.cbegin(); property != properties.cend(); ++property)
        assign(item, property.key(), property.value());
    return item;
}

CItemId MockStore::create(const QString& name, const QVariantMap& properties, int itemClass)
{
    const CItemId id = nextId();
    if (id == CItemId())
        return id;
    QVariantMap complete = withPlainIds(properties);
    complete.insert(idKey, id.value());
    complete.insert(classKey, itemClass);
    if (complete.value(labelKey).toString().isEmpty())
        complete.insert(labelKey, defaultLabel(name, itemClass, id));
    for (const QString& key : referenceKeys()) {
        if (complete.contains(key) && !contains(referencedCollection(key), toId(complete.value(key))))
            complete.insert(key, qint64(0));
    }
    insert(name, complete);
    // Somebody may have had the id as a member before there was anybody of that id: no group is one.
    if (containsOfClass(UserClassGroup, id)) {
        const QList<CItemId> groups = groupsOf(id);
        for (const CItemId group : groups)
            removeMembers({id}, group);
    }
    return id;
}

bool MockStore::remove(const QString& name, CItemId id)
{
    const Item* item = find(name, id);
    if (item == nullptr)
        return false;
    erase(*item);
    forget(id);
    return true;
}

void MockStore::replace(const QString& name, const QList<QVariantMap>& items)
{
    QList<CItemId> before;
    Collection& collection = m_collections[canonicalName(name)];
    while (!collection.empty()) {
        before.append(collection.begin()->second.id);
        erase(collection.begin()->second);
    }
    for (const QVariantMap& item : items)
        insert(canonicalName(name), item);
    for (const CItemId id : qAsConst(before)) {
        if (!isInUse(id))
            forget(id);
    }
}

void MockStore::erase(const Item& item)
{
    for (const QString& key : referenceKeys())
        unlink(item, toId(item.properties.value(key)));
    for (const std::optional<IdSequence>* sequence : {&item.members, &item.rights}) {
        const QList<CItemId> targets = *sequence ? (*sequence)->ids() : QList<CItemId>();
        for (const CItemId target : targets)
            unlink(item, target);
    }
    m_index.erase(item.id);
    m_collections[item.collection].erase(item.place);
}

// Takes out of the installation what refers to an item that is not there any more.
void MockStore::forget(CItemId id)
{
    const QList<CItemId> referrers = m_referrers.take(id).keys();
    for (const CItemId referrer : referrers) {
        const auto found = m_index.find(referrer);
        if (found == m_index.end())
            continue;
        Item& item = *found->second;
        for (const QString& key : referenceKeys()) {
            if (toId(item.properties.value(key)) == id)
                item.properties.insert(key, qint64(0));
        }
        if (item.members)
            item.members->remove(id);
        if (item.rights)
            item.rights->remove(id);
        // A medium that nobody owns can be handed out again, a code that nobody owns must not open anything.
        if (item.collection == codesName && toId(item.properties.value(userIdKey)) == CItemId())
            remove(codesName, referrer);
    }
}

bool MockStore::setProperty(const QString& collectionName, const QString& name, const QVariant& value, CItemId id)
{
    Item* item = find(collectionName, id);
    if (item == nullptr || isFixed(name))
        return false;
    const QString referenced = referencedCollection(name);
    if (referenced.isEmpty()) {
        assign(*item, name, value);
        return true;
    }
    const CItemId target = toId(value);
    if (target != CItemId() && !contains(referenced, target))
        return false;
    assign(*item, name, target != CItemId() ? value : QVariant(qint64(0)));
    return true;
}

bool MockStore::deleteProperty(const QString& collectionName, const QString& name, int userClass)
{
    if (isFixed(name) || name == labelKey)
        return false;
    bool found = false;
    for (auto& [place, item] : m_collections[collectionName]) {
        if (userClass < 0 || classOf(item.properties) == userClass) {
            found |= item.properties.contains(name) || valueOf(item, name).isValid();
            clear(item, name);
        }
    }
    return found;
}

// Puts a value in the place of an earlier one. A reference must be to an item that is there.
void MockStore::assign(Item& item, const QString& name, const QVariant& value)
{
    clear(item, name);
    if (item.collection == usersGroupsName && name == membersKey) {
        item.members.emplace();
        const QList<CItemId> members = toIds(value);
        for (const CItemId member : members) {
            if (member == CItemId() || containsOfClass(UserClassGroup, member) || item.members->contains(member))
                continue;
            item.members->append(member);
            link(item, member);
        }
    } else if (item.collection == usersGroupsName && name == rightsKey) {
        item.rights.emplace();
        const QVariantList rights = QtCompat::isList(value) ? value.value<QVariantList>() : QVariantList();
        for (const QVariant& right : rights) {
            item.rights->append(accessPointOf(right), right);
            link(item, accessPointOf(right));
        }
    } else {
        item.properties.insert(name,
                               value.userType() == qMetaTypeId<CItemId>() ? QVariant(toId(value).value()) : value);
        if (referenceKeys().contains(name))
            link(item, toId(value));
    }
}

void MockStore::clear(Item& item, const QString& name)
{
    const bool members = name == membersKey && item.members;
    const bool rights = name == rightsKey && item.rights;
    if (members || rights) {
        std::optional<IdSequence>& sequence = members ? item.members : item.rights;
        const QList<CItemId> targets = sequence->ids();
        for (const CItemId target : targets)
            unlink(item, target);
        sequence.reset();
    } else if (item.properties.contains(name)) {
        const QVariant value = item.properties.take(name);
        if (referenceKeys().contains(name))
            unlink(item, toId(value));
    }
}

void MockStore::link(const Item& item, CItemId target)
{
    if (target != CItemId())
        ++m_referrers[target][item.id];
}

void MockStore::unlink(const Item& item, CItemId target)
{
    const auto referrers = m_referrers.find(target);
    if (referrers == m_referrers.end())
        return;
    const auto count = referrers->find(item.id);
    if (count != referrers->end() && --*count == 0)
        referrers->erase(count);
    if (referrers->isEmpty())
        m_referrers.erase(referrers);
}

// --- Relations

// In the order of the model.
template<typename Condition>
QList<CItemId> MockStore::referring(CItemId target, Condition condition) const
{
    std::map<quint64, CItemId> found;
    const auto referrers = m_referrers.constFind(target);
    if (referrers != m_referrers.cend()) {
        for (auto referrer = referrers->cbegin(); referrer != referrers->cend(); ++referrer) {
            const Item& item = *m_index.at(referrer.key());
            if (condition(item))
                found.emplace(item.place, item.id);
        }
    }
    QList<CItemId> ids;
    for (const auto& [place, id] : found)
        ids.append(id);
    return ids;
}

bool MockStore::addMembers(const QList<CItemId>& members, CItemId group)
{
    const bool good = std::all_of(members.cbegin(), members.cend(), [&](CItemId member) {
        return member != CItemId() && !containsOfClass(UserClassGroup, member);
    });
    if (!good || !containsOfClass(UserClassGroup, group))
        return false;
    Item& item = *find(usersGroupsName, group);
    if (!item.members)
        item.members.emplace();
    for (const CItemId member : members) {
        if (item.members->contains(member))
            continue;
        item.members->append(member);
        link(item, member);
    }
    return true;
}

bool MockStore::removeMembers(const QList<CItemId>& members, CItemId group)
{
    if (!containsOfClass(UserClassGroup, group))
        return false;
    Item& item = *find(usersGroupsName, group);
    if (!item.members)
        item.members.emplace();
    for (const CItemId member : members) {
        if (item.members->remove(member) > 0)
            unlink(item, member);
    }
    return true;
}

QList<CItemId> MockStore::members(CItemId group) const
{
    const Item* item = containsOfClass(UserClassGroup, group) ? find(usersGroupsName, group) : nullptr;
    return item != nullptr && item->members ? item->members->ids() : QList<CItemId>();
}

QList<CItemId> MockStore::groupsOf(CItemId member) const
{
    return referring(member, [&](const Item& item) { return item.members && item.members->contains(member); });
}

bool MockStore::setRights(const QList<CItemId>& accessPoints, CItemId holder, const QVariantMap& properties)
{
    Item* item = find(usersGroupsName, holder);
    if (item == nullptr || accessPoints.contains(CItemId()))
        return false;
    if (!item->rights)
        item->rights.emplace();
    const QVariantMap changes = withPlainIds(properties);
    for (const CItemId accessPoint : accessPoints) {
        if (!item->rights->contains(accessPoint)) {
            item->rights->append(accessPoint);
            link(*item, accessPoint);
        }
        QVariant& value = *item->rights->value(accessPoint);
        QVariantMap right = value.toMap();
        for (auto change = changes.cbegin(); change != changes.cend(); ++change)
            right.insert(change.key(), change.value());
        right.insert(accessPointIdKey, accessPoint.value());
        value = right;
    }
    return true;
}

bool MockStore::removeRights(const QList<CItemId>& accessPoints, CItemId holder)
{
    Item* item = find(usersGroupsName, holder);
    if (item == nullptr)
        return false;
    if (!item->rights)
        item->rights.emplace();
    for (const CItemId accessPoint : accessPoints) {
        for (int removed = item->rights->remove(accessPoint); removed > 0; --removed)
            unlink(*item, accessPoint);
    }
    return true;
}

QList<CItemId> MockStore::accessPointsOf(CItemId holder) const
{
    const Item* item = find(usersGroupsName, holder);
    return item != nullptr && item->rights ? item->rights->ids() : QList<CItemId>();
}

QList<CItemId> MockStore::holdersOf(CItemId accessPoint) const
{
    return referring(accessPoint, [&](const Item& item) { return item.rights && item.rights->contains(accessPoint); });
}

QVariant MockStore::right(CItemId accessPoint, CItemId holder) const
{
    const Item* item = find(usersGroupsName, holder);
    const QVariant* value = item != nullptr && item->rights ? item->rights->value(accessPoint) : nullptr;
    return value != nullptr ? *value : QVariant();
}

QList<CItemId> MockStore::mediaOf(CItemId user) const
{
    return referring(user, [&](const Item& item) {
        return item.collection == mediaName && toId(item.properties.value(userIdKey)) == user;
    });
}
