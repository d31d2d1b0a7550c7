#include <foundation/services/mock_store_p.h>

#include <foundation/datatypes/data_type.h>
#include <foundation/services/demonstration_installation_p.h>

#include <algorithm>

using namespace Mock;

namespace {

QString canonicalName(const QString& name)
{
    return name == QLatin1String("AccessPointLocations") ? accessPointsName : name;
}

// The collection that the ids under `key` belong to; empty if it is no such key.
QString referencedCollection(const QString& key)
{
    if (key == userIdKey)
        return usersGroupsName;
    if (key == accessPointIdKey)
        return accessPointsName;
    if (key == calendarIdKey)
        return calendarsName;
    return QString();
}

int classOf(const QVariantMap& item)
{
    return item.value(classKey).toInt();
}

bool matches(const QVariantMap& item, const QVariantMap& filter)
{
    return std::all_of(filter.keyBegin(), filter.keyEnd(), [&](const QString& key) {
        const QVariant wanted = filter.value(key);
        const QVariant value = item.value(key);
        return value == wanted || (!value.toString().isEmpty() && value.toString() == wanted.toString());
    });
}

} // namespace

CItemId Mock::toId(const QVariant& value)
{
    return value.userType() == qMetaTypeId<CItemId>() ? value.value<CItemId>() : CItemId(value.toLongLong());
}

QList<CItemId> Mock::toIds(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<CItemIdList>())
        return value.value<CItemIdList>();
    QList<CItemId> ids;
    const QVariantList values = value.toList();
    for (const QVariant& element : values)
        ids.append(toId(element));
    return ids;
}

CItemId Mock::idOf(const QVariantMap& item)
{
    return toId(item.value(idKey));
}

CItemId Mock::accessPointOf(const QVariant& right)
{
    return toId(right.toMap().value(accessPointIdKey));
}

QString Mock::locationOf(const QVariantMap& accessPoint)
{
    QStringList parts;
    for (const char* part : {"Building", "Floor", "Access Point"}) {
        const QString text = accessPoint.value(QLatin1String(part)).toString();
        if (!text.isEmpty())
            parts.append(text);
    }
    return parts.join(QLatin1String(", "));
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

MockStore::MockStore()
    : m_collections(demonstrationInstallation())
{
}

MockStore::Collection MockStore::items(const QString& name) const
{
    return m_collections.value(canonicalName(name));
}

QVariantList MockStore::select(const QString& name, const QVariantMap& filter, const QStringList& fields) const
{
    const QVariantMap wanted = withPlainIds(filter);
    const Collection candidates = items(name);
    QVariantList result;
    for (QVariantMap item : candidates) {
        if (canonicalName(name) == accessPointsName)
            item.insert(locationKey, locationOf(item));
        if (!matches(item, wanted))
            continue;
        if (!fields.isEmpty()) {
            QVariantMap chosen;
            for (const QString& field : fields) {
                if (item.contains(field))
                    chosen.insert(field, item.value(field));
            }
            item = chosen;
        }
        result.append(item);
    }
    return result;
}

QVariantMap MockStore::firstMatch(const QString& name, const QVariantMap& filter) const
{
    return select(name, filter, {}).value(0).toMap();
}

const QVariantMap* MockStore::find(const QString& name, CItemId id) const
{
    const auto items = m_collections.constFind(name);
    const auto found = std::find_if(items->cbegin(), items->cend(), [&](const auto& item) { return idOf(item) == id; });
    return found == items->cend() ? nullptr : &*found;
}

QVariantMap* MockStore::edit(const QString& name, CItemId id)
{
    Collection& items = m_collections[name];
    const auto found = std::find_if(items.begin(), items.end(), [&](const auto& item) { return idOf(item) == id; });
    return found == items.end() ? nullptr : &*found;
}

const QVariantMap* MockStore::findUserOrGroup(CItemId id, int userClass) const
{
    const QVariantMap* found = find(usersGroupsName, id);
    return found != nullptr && classOf(*found) == userClass ? found : nullptr;
}

bool MockStore::haveAll(const QString& name, const QList<CItemId>& ids) const
{
    return std::all_of(ids.cbegin(), ids.cend(), [&](CItemId id) { return find(name, id) != nullptr; });
}

CItemId MockStore::nextId() const
{
    CItemId highest = 0;
    for (const Collection& items : m_collections) {
        for (const QVariantMap& item : items)
            highest = std::max(highest, idOf(item));
    }
    return highest.value() + 1;
}

CItemId MockStore::create(const QString& name, const QVariantMap& properties, int itemClass,
                          const QString& defaultLabel)
{
    const CItemId id = nextId();
    QVariantMap item = withPlainIds(properties);
    item.insert(idKey, id.value());
    item.insert(classKey, itemClass);
    if (item.value(labelKey).toString().isEmpty())
        item.insert(labelKey, QString(defaultLabel + QLatin1Char(' ') + QString::number(id.value())));
    m_collections[name].append(item);
    restoreRelations();
    return id;
}

bool MockStore::remove(const QString& name, CItemId id)
{
    Collection& items = m_collections[name];
    const auto found = std::find_if(items.begin(), items.end(), [&](const auto& item) { return idOf(item) == id; });
    if (found == items.end())
        return false;
    items.erase(found);
    restoreRelations({id});
    return true;
}

bool MockStore::replace(const QString& name, const QVariantList& replacement)
{
    const auto items = m_collections.find(canonicalName(name));
    if (items == m_collections.end())
        return false;
    QSet<CItemId> gone;
    for (const QVariantMap& item : qAsConst(*items))
        gone.insert(idOf(item));
    items->clear();
    for (const QVariant& element : replacement) {
        QVariantMap item = withPlainIds(element.toMap());
        const CItemId id = idOf(item);
        const bool taken = std::any_of(m_collections.cbegin(), m_collections.cend(), [&](const Collection& other) {
            return std::any_of(other.cbegin(), other.cend(), [&](const auto& present) { return idOf(present) == id; });
        });
        item.insert(idKey, taken || id <= CItemId() ? nextId().value() : id.value());
        items->append(item);
        gone.remove(idOf(item));
    }
    restoreRelations(gone);
    return true;
}

bool MockStore::setProperty(const QString& collectionName, const QString& name, const QVariant& value, CItemId id)
{
    QVariantMap* item = edit(collectionName, id);
    if (item == nullptr || isFixed(name))
        return false;
    const QString referenced = referencedCollection(name);
    if (!referenced.isEmpty() && toId(value) != CItemId() && find(referenced, toId(value)) == nullptr)
        return false;
    item->insert(name, value.userType() == qMetaTypeId<CItemId>() ? QVariant(toId(value).value()) : value);
    restoreRelations();
    return true;
}

bool MockStore::deleteProperty(const QString& collectionName, const QString& name, int userClass)
{
    if (isFixed(name) || name == labelKey)
        return false;
    bool found = false;
    for (QVariantMap& item : m_collections[collectionName]) {
        if (userClass < 0 || classOf(item) == userClass)
            found |= item.remove(name) > 0;
    }
    return found;
}

// Takes out of the installation what refers to items that are not there (any more).
void MockStore::restoreRelations(const QSet<CItemId>& gone)
{
    QMap<QString, QSet<CItemId>> present;
    QSet<CItemId> noMembers = gone;
    for (auto items = m_collections.cbegin(); items != m_collections.cend(); ++items) {
        for (const QVariantMap& item : items.value()) {
            present[items.key()].insert(idOf(item));
            if (items.key() == usersGroupsName && classOf(item) == UserClassGroup)
                noMembers.insert(idOf(item));
        }
    }

    for (QVariantMap& item : m_collections[usersGroupsName]) {
        if (item.contains(membersKey)) {
            QList<CItemId> members;
            QSet<CItemId> passed = noMembers;
            const QList<CItemId> named = toIds(item.value(membersKey));
            for (const CItemId member : named) {
                if (passed.contains(member))
                    continue;
                passed.insert(member);
                members.append(member);
            }
            item.insert(membersKey, QVariant::fromValue(members));
        }
        if (item.contains(rightsKey)) {
            QVariantList rights = item.value(rightsKey).toList();
            rights.erase(std::remove_if(rights.begin(), rights.end(),
                                        [&](const QVariant& right) { return gone.contains(accessPointOf(right)); }),
                         rights.end());
            item.insert(rightsKey, rights);
        }
    }
    for (Collection& items : m_collections) {
        for (QVariantMap& item : items) {
            for (const QString& key : {userIdKey, accessPointIdKey, calendarIdKey}) {
                if (item.contains(key) && !present.value(referencedCollection(key)).contains(toId(item.value(key))))
                    item.insert(key, qint64(0));
            }
        }
    }
    // A medium that nobody owns can be handed out again, a code that nobody owns must not open anything.
    Collection& codes = m_collections[codesName];
    codes.erase(std::remove_if(codes.begin(), codes.end(),
                               [](const QVariantMap& code) { return toId(code.value(userIdKey)) == CItemId(); }),
                codes.end());
}
