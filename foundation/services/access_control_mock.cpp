#include <foundation/services/access_control_mock.h>

#include <foundation/datatypes/data_type.h>
#include <foundation/services/demonstration_installation_p.h>

#include <QtCore/QSet>

#include <algorithm>

namespace {

const QString accessPointsName = QStringLiteral("AccessPoints");
const QString authorizationPointsName = QStringLiteral("AuthorizationPoints");
const QString usersGroupsName = QStringLiteral("UsersGroups");
const QString mediaName = QStringLiteral("Media");
const QString codesName = QStringLiteral("Codes");
const QString holidaysName = QStringLiteral("Holidays");
const QString calendarsName = QStringLiteral("HolidayCalendars");

const QString idKey = QStringLiteral("id");
const QString classKey = QStringLiteral("class");
const QString labelKey = QStringLiteral("label");
const QString userIdKey = QStringLiteral("userId");
const QString accessPointIdKey = QStringLiteral("accessPointId");
const QString calendarIdKey = QStringLiteral("calendarId");
const QString membersKey = QStringLiteral("Members");
const QString rightsKey = QStringLiteral("Access Points");
const QString locationKey = QStringLiteral("location");

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

CItemId toId(const QVariant& value)
{
    return value.userType() == qMetaTypeId<CItemId>() ? value.value<CItemId>() : CItemId(value.toLongLong());
}

CItemId idOf(const QVariantMap& item)
{
    return toId(item.value(idKey));
}

QList<CItemId> toIds(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<CItemIdList>())
        return value.value<CItemIdList>();
    QList<CItemId> ids;
    const QVariantList values = value.toList();
    for (const QVariant& element : values)
        ids.append(toId(element));
    return ids;
}

// Ids are kept as numbers, so that whoever reads a map need not know CItemId.
QVariantMap withPlainIds(QVariantMap map)
{
    for (QVariant& value : map) {
        if (value.userType() == qMetaTypeId<CItemId>())
            value = toId(value).value();
    }
    return map;
}

int classOf(const QVariantMap& item)
{
    return item.value(classKey).toInt();
}

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

bool matches(const QVariantMap& item, const QVariantMap& filter)
{
    return std::all_of(filter.keyBegin(), filter.keyEnd(), [&](const QString& key) {
        const QVariant wanted = filter.value(key);
        const QVariant value = item.value(key);
        return value == wanted || (!value.toString().isEmpty() && value.toString() == wanted.toString());
    });
}

bool isFixed(const QString& property)
{
    return property == idKey || property == classKey || property == locationKey;
}

QVariantMap notImplemented()
{
    return {{QStringLiteral("status"), QStringLiteral("error")},
            {QStringLiteral("error"), QStringLiteral("Not implemented")}};
}

void answerNotImplemented(const ISimpleAccessControl::MapCallback& callback)
{
    if (callback)
        callback(notImplemented());
}

CItemId accessPointOf(const QVariant& right)
{
    return toId(right.toMap().value(accessPointIdKey));
}

// The place of the right among `rights`, or -1.
int indexOfRight(const QVariantList& rights, CItemId accessPoint)
{
    for (int i = 0; i < rights.size(); ++i) {
        if (accessPointOf(rights[i]) == accessPoint)
            return i;
    }
    return -1;
}

} // namespace

CAccessControlMock::CAccessControlMock(QObject* parent)
    : ISimpleAccessControl(parent)
    , m_collections(demonstrationInstallation())
{
}

CAccessControlMock::~CAccessControlMock() = default;

// --- Collections

QList<QVariantMap> CAccessControlMock::getMockObjectsForName(const QString& name) const
{
    return m_collections.value(canonicalName(name));
}

CAccessControlMock::Collection* CAccessControlMock::collection(const QString& name)
{
    const auto found = m_collections.find(canonicalName(name));
    return found == m_collections.end() ? nullptr : &found.value();
}

const QVariantMap* CAccessControlMock::find(const QString& name, CItemId id) const
{
    const auto items = m_collections.constFind(name);
    const auto found = std::find_if(items->cbegin(), items->cend(), [&](const auto& item) { return idOf(item) == id; });
    return found == items->cend() ? nullptr : &*found;
}

QVariantMap* CAccessControlMock::find(const QString& name, CItemId id)
{
    Collection& items = m_collections[name];
    const auto found = std::find_if(items.begin(), items.end(), [&](const auto& item) { return idOf(item) == id; });
    return found == items.end() ? nullptr : &*found;
}

const QVariantMap* CAccessControlMock::findUserOrGroup(CItemId id, int userClass) const
{
    const QVariantMap* found = find(usersGroupsName, id);
    return found != nullptr && classOf(*found) == userClass ? found : nullptr;
}

bool CAccessControlMock::haveAll(const QString& name, const QList<CItemId>& ids) const
{
    return std::all_of(ids.cbegin(), ids.cend(), [&](CItemId id) { return find(name, id) != nullptr; });
}

CItemId CAccessControlMock::nextId() const
{
    CItemId highest = 0;
    for (const Collection& items : m_collections) {
        for (const QVariantMap& item : items)
            highest = std::max(highest, idOf(item));
    }
    return highest.value() + 1;
}

CItemId CAccessControlMock::create(const QString& name, const QVariantMap& properties, int itemClass,
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

bool CAccessControlMock::remove(const QString& name, CItemId id)
{
    Collection& items = m_collections[name];
    const auto found = std::find_if(items.begin(), items.end(), [&](const auto& item) { return idOf(item) == id; });
    if (found == items.end())
        return false;
    items.erase(found);
    restoreRelations();
    return true;
}

bool CAccessControlMock::setProperty(const QString& collectionName, const QString& name, const QVariant& value,
                                     CItemId id)
{
    QVariantMap* item = find(collectionName, id);
    if (item == nullptr || isFixed(name))
        return false;
    const QString referenced = referencedCollection(name);
    if (!referenced.isEmpty() && toId(value) != CItemId() && find(referenced, toId(value)) == nullptr)
        return false;
    item->insert(name, value.userType() == qMetaTypeId<CItemId>() ? QVariant(toId(value).value()) : value);
    restoreRelations();
    return true;
}

bool CAccessControlMock::deleteProperty(const QString& collectionName, const QString& name, int userClass)
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

QVariantMap CAccessControlMock::firstMatch(const QString& collectionName, const QVariantMap& filter) const
{
    return getModel(collectionName, filter, {}).value(0).toMap();
}

// Takes out of the installation what refers to items that are not there (any more).
void CAccessControlMock::restoreRelations()
{
    QMap<QString, QSet<CItemId>> present;
    QSet<CItemId> users;
    for (auto items = m_collections.cbegin(); items != m_collections.cend(); ++items) {
        for (const QVariantMap& item : items.value()) {
            present[items.key()].insert(idOf(item));
            if (items.key() == usersGroupsName && classOf(item) == UserClassUser)
                users.insert(idOf(item));
        }
    }
    const QSet<CItemId> accessPoints = present.value(accessPointsName);

    for (QVariantMap& item : m_collections[usersGroupsName]) {
        if (item.contains(membersKey)) {
            QList<CItemId> members;
            QSet<CItemId> candidates = users;
            const QList<CItemId> named = toIds(item.value(membersKey));
            for (const CItemId member : named) {
                if (candidates.remove(member))
                    members.append(member);
            }
            item.insert(membersKey, QVariant::fromValue(members));
        }
        if (item.contains(rightsKey)) {
            QVariantList rights = item.value(rightsKey).toList();
            rights.erase(
                std::remove_if(rights.begin(), rights.end(),
                               [&](const QVariant& right) { return !accessPoints.contains(accessPointOf(right)); }),
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

QVariantList CAccessControlMock::getModel(const QString& name, const QVariantMap& filter,
                                          const QStringList& fields) const
{
    const QString collectionName = canonicalName(name);
    const QVariantMap wanted = withPlainIds(filter);
    const Collection items = m_collections.value(collectionName);
    QVariantList result;
    for (QVariantMap item : items) {
        if (collectionName == accessPointsName)
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

bool CAccessControlMock::setModel(const QString& name, const QVariantMap& data)
{
    if (name == holidaysName) {
        const QString request = data.value(QStringLiteral("request")).toString();
        const auto requested = [&](const QString& key) { return request == key || data.contains(key); };
        const auto hasLabel = [&](const QString& collectionName, const QString& key) {
            const QString label = data.value(data.contains(labelKey) ? labelKey : key).toString();
            return !firstMatch(collectionName, {{labelKey, label}}).isEmpty();
        };
        const QString insertCalendar = QStringLiteral("insertCalendar");
        if (requested(QStringLiteral("exists")))
            return hasLabel(holidaysName, QStringLiteral("exists"));
        if (requested(QStringLiteral("existsCalendar")))
            return hasLabel(calendarsName, QStringLiteral("existsCalendar"));
        if (requested(insertCalendar)) {
            const QString label = data.value(data.contains(labelKey) ? labelKey : insertCalendar).toString();
            if (label.isEmpty() || hasLabel(calendarsName, insertCalendar))
                return false;
            create(calendarsName, {{labelKey, label}}, 0, QString());
            return true;
        }
    }
    Collection* items = collection(name);
    const QString key = data.contains(name) ? name : QStringLiteral("data");
    if (items == nullptr || !data.value(key).canConvert<QVariantList>())
        return false;
    items->clear();
    const auto replacement = data.value(key).value<QVariantList>();
    for (const QVariant& element : replacement) {
        QVariantMap item = withPlainIds(element.toMap());
        const CItemId id = idOf(item);
        const bool taken = std::any_of(m_collections.cbegin(), m_collections.cend(), [&](const Collection& other) {
            return std::any_of(other.cbegin(), other.cend(), [&](const auto& present) { return idOf(present) == id; });
        });
        item.insert(idKey, taken || id <= CItemId() ? nextId().value() : id.value());
        items->append(item);
    }
    restoreRelations();
    return true;
}

// --- Access points and authorization points

QVariantMap CAccessControlMock::getAccessPoint(const QVariantMap& filter) const
{
    return firstMatch(accessPointsName, filter);
}

CItemId CAccessControlMock::createAccessPoint(const QVariantMap& properties)
{
    const int function = properties.value(classKey, CDataType::AccessPointFunctionSimpleDoor).toInt();
    return create(accessPointsName, properties, function, QStringLiteral("Access Point"));
}

bool CAccessControlMock::deleteAccessPoint(CItemId accessPoint)
{
    return remove(accessPointsName, accessPoint);
}

QVariant CAccessControlMock::getAccessPointProperty(const QString& name, CItemId accessPoint) const
{
    const QVariantMap* item = find(accessPointsName, accessPoint);
    if (item == nullptr)
        return QVariant();
    return name == locationKey ? locationOf(*item) : item->value(name);
}

bool CAccessControlMock::setAccessPointProperty(const QString& name, const QVariant& value, CItemId accessPoint)
{
    return setProperty(accessPointsName, name, value, accessPoint);
}

bool CAccessControlMock::deleteAccessPointProperty(const QString& name)
{
    return deleteProperty(accessPointsName, name);
}

bool CAccessControlMock::setAccessPointsLocationProperties(const QVariantMap& properties,
                                                           const QList<CItemId>& accessPoints)
{
    if (!haveAll(accessPointsName, accessPoints) || std::any_of(properties.keyBegin(), properties.keyEnd(), isFixed))
        return false;
    for (const CItemId accessPoint : accessPoints) {
        for (auto property = properties.cbegin(); property != properties.cend(); ++property)
            setProperty(accessPointsName, property.key(), property.value(), accessPoint);
    }
    return true;
}

QVariant CAccessControlMock::getAuthorizationPointProperty(const QString& name, CItemId authorizationPoint) const
{
    const QVariantMap* item = find(authorizationPointsName, authorizationPoint);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::setAuthorizationPointProperty(const QString& name, const QVariant& value,
                                                       CItemId authorizationPoint)
{
    return setProperty(authorizationPointsName, name, value, authorizationPoint);
}

bool CAccessControlMock::deleteAuthorizationPointProperty(const QString& name)
{
    return deleteProperty(authorizationPointsName, name);
}

// --- Users and groups

QVariantMap CAccessControlMock::getUser(const QVariantMap& filter) const
{
    QVariantMap ofUsers = filter;
    ofUsers.insert(classKey, int(UserClassUser));
    return firstMatch(usersGroupsName, ofUsers);
}

CItemId CAccessControlMock::createUser(const QVariantMap& properties)
{
    return create(usersGroupsName, properties, UserClassUser, QStringLiteral("User"));
}

bool CAccessControlMock::deleteUser(CItemId user)
{
    return findUserOrGroup(user, UserClassUser) != nullptr && remove(usersGroupsName, user);
}

bool CAccessControlMock::deleteUsersAndGroups(const QList<CItemId>& usersAndGroups)
{
    if (!haveAll(usersGroupsName, usersAndGroups))
        return false;
    for (const CItemId id : usersAndGroups)
        remove(usersGroupsName, id);
    return true;
}

QVariantMap CAccessControlMock::cloneUserOrGroup(CItemId, const QStringList&)
{
    return notImplemented();
}

bool CAccessControlMock::setUserProperty(const QString& name, const QVariant& value, CItemId user)
{
    return findUserOrGroup(user, UserClassUser) != nullptr && setProperty(usersGroupsName, name, value, user);
}

QVariant CAccessControlMock::getUserProperty(const QString& name, CItemId user) const
{
    const QVariantMap* item = findUserOrGroup(user, UserClassUser);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::deleteUserProperty(const QString& name)
{
    return deleteProperty(usersGroupsName, name, UserClassUser);
}

void CAccessControlMock::addSmartAccessLoginToUser(CItemId, const QVariantMap&, MapCallback callback)
{
    answerNotImplemented(callback);
}

QVariantMap CAccessControlMock::getGroup(const QVariantMap& filter) const
{
    QVariantMap ofGroups = filter;
    ofGroups.insert(classKey, int(UserClassGroup));
    return firstMatch(usersGroupsName, ofGroups);
}

CItemId CAccessControlMock::createGroup(const QVariantMap& properties)
{
    return create(usersGroupsName, properties, UserClassGroup, QStringLiteral("Group"));
}

bool CAccessControlMock::deleteGroup(CItemId group)
{
    return findUserOrGroup(group, UserClassGroup) != nullptr && remove(usersGroupsName, group);
}

bool CAccessControlMock::setGroupProperty(const QString& name, const QVariant& value, CItemId group)
{
    return findUserOrGroup(group, UserClassGroup) != nullptr && setProperty(usersGroupsName, name, value, group);
}

QVariant CAccessControlMock::getGroupProperty(const QString& name, CItemId group) const
{
    const QVariantMap* item = findUserOrGroup(group, UserClassGroup);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::deleteGroupProperty(const QString& name)
{
    return deleteProperty(usersGroupsName, name, UserClassGroup);
}

bool CAccessControlMock::addUsersToGroup(const QList<CItemId>& users, CItemId group)
{
    const bool known = std::all_of(users.cbegin(), users.cend(),
                                   [&](CItemId user) { return findUserOrGroup(user, UserClassUser) != nullptr; });
    return known && setGroupProperty(membersKey, QVariant::fromValue(getUsersOfGroup(group) + users), group);
}

bool CAccessControlMock::removeUsersFromGroup(const QList<CItemId>& users, CItemId group)
{
    QList<CItemId> members = getUsersOfGroup(group);
    members.erase(std::remove_if(members.begin(), members.end(), [&](CItemId user) { return users.contains(user); }),
                  members.end());
    return setGroupProperty(membersKey, QVariant::fromValue(members), group);
}

QList<CItemId> CAccessControlMock::getUsersOfGroup(CItemId group) const
{
    return toIds(getGroupProperty(membersKey, group));
}

QList<CItemId> CAccessControlMock::getGroupsOfUser(CItemId user) const
{
    QList<CItemId> groups;
    for (const QVariantMap& item : m_collections[usersGroupsName]) {
        if (toIds(item.value(membersKey)).contains(user))
            groups.append(idOf(item));
    }
    return groups;
}

// --- Media

QVariantMap CAccessControlMock::getRfidMedium(const QVariantMap& filter) const
{
    return firstMatch(mediaName, filter);
}

CItemId CAccessControlMock::createRfidMedium(const QVariantMap& properties)
{
    return create(mediaName, properties, properties.value(classKey).toInt(), QStringLiteral("Medium"));
}

bool CAccessControlMock::deleteRfidMedium(CItemId medium)
{
    return remove(mediaName, medium);
}

QVariant CAccessControlMock::getRfidMediumProperty(const QString& name, CItemId medium) const
{
    const QVariantMap* item = find(mediaName, medium);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::setRfidMediumProperty(const QString& name, const QVariant& value, CItemId medium)
{
    return setProperty(mediaName, name, value, medium);
}

bool CAccessControlMock::addRfidMediaToUser(const QList<CItemId>& media, CItemId user)
{
    if (findUserOrGroup(user, UserClassUser) == nullptr || !haveAll(mediaName, media))
        return false;
    for (const CItemId medium : media)
        find(mediaName, medium)->insert(userIdKey, user.value());
    return true;
}

QList<CItemId> CAccessControlMock::getRfidMediaOfUser(CItemId user) const
{
    QList<CItemId> media;
    for (const QVariantMap& item : m_collections[mediaName]) {
        if (user != CItemId() && toId(item.value(userIdKey)) == user)
            media.append(idOf(item));
    }
    return media;
}

CItemId CAccessControlMock::getUserOfRfidMedium(CItemId medium) const
{
    return toId(getRfidMediumProperty(userIdKey, medium));
}

// --- Access rights, of users and of groups

bool CAccessControlMock::addAccessPointsToUser(const QList<CItemId>& accessPoints, CItemId user)
{
    return setAccessRightProperties(accessPoints, user, {});
}

bool CAccessControlMock::deleteAccessPointsOfUser(const QList<CItemId>& accessPoints, CItemId user)
{
    QVariantMap* item = find(usersGroupsName, user);
    if (item == nullptr)
        return false;
    QVariantList rights = item->value(rightsKey).toList();
    rights.erase(std::remove_if(rights.begin(), rights.end(),
                                [&](const QVariant& right) { return accessPoints.contains(accessPointOf(right)); }),
                 rights.end());
    item->insert(rightsKey, rights);
    return true;
}

QList<CItemId> CAccessControlMock::getAccessPointsOfUser(CItemId user) const
{
    QList<CItemId> accessPoints;
    if (const QVariantMap* item = find(usersGroupsName, user)) {
        const QVariantList rights = item->value(rightsKey).toList();
        for (const QVariant& right : rights)
            accessPoints.append(accessPointOf(right));
    }
    return accessPoints;
}

QList<CItemId> CAccessControlMock::getUsersOfAccessPoint(CItemId accessPoint) const
{
    QList<CItemId> users;
    for (const QVariantMap& item : m_collections[usersGroupsName]) {
        if (indexOfRight(item.value(rightsKey).toList(), accessPoint) >= 0)
            users.append(idOf(item));
    }
    return users;
}

QVariantList CAccessControlMock::getAccessRightProperties(CItemId accessPoint, CItemId user) const
{
    if (find(usersGroupsName, accessPoint) != nullptr)
        std::swap(accessPoint, user);
    const QVariantMap* item = find(usersGroupsName, user);
    const QVariantList rights = item != nullptr ? item->value(rightsKey).toList() : QVariantList();
    const int index = indexOfRight(rights, accessPoint);
    return index >= 0 ? QVariantList{rights[index]} : QVariantList();
}

bool CAccessControlMock::setAccessRightProperties(const QList<CItemId>& accessPoints, CItemId user,
                                                  const QVariantMap& properties)
{
    QVariantMap* item = find(usersGroupsName, user);
    if (item == nullptr || !haveAll(accessPointsName, accessPoints))
        return false;
    QVariantList rights = item->value(rightsKey).toList();
    for (const CItemId accessPoint : accessPoints) {
        int index = indexOfRight(rights, accessPoint);
        if (index < 0) {
            index = rights.size();
            rights.append(QVariantMap());
        }
        QVariantMap right = rights[index].toMap();
        const QVariantMap changes = withPlainIds(properties);
        for (auto change = changes.cbegin(); change != changes.cend(); ++change)
            right.insert(change.key(), change.value());
        right.insert(accessPointIdKey, accessPoint.value());
        rights[index] = right;
    }
    item->insert(rightsKey, rights);
    return true;
}

// --- The system

QVariantMap CAccessControlMock::getSystemInfo()
{
    return {{QStringLiteral("systemName"), QStringLiteral("mock")},
            {QStringLiteral("systemid"), QStringLiteral("0000.0000")},
            {QStringLiteral("unlockIndex"), 0},
            {QStringLiteral("systemType"), 3},
            {QStringLiteral("softwareVersion"), QStringLiteral("1.0.0")}};
}

bool CAccessControlMock::logEvent(const QString& text, const QString& source, int level, int eventClass, CItemId id,
                                  int flags, bool)
{
    // Log readers look for this text as it is, without a closing parenthesis.
    qDebug("Event %s (%s, level %d, class %d, ID %lld, flags %d", qUtf8Printable(text), qUtf8Printable(source), level,
           eventClass, static_cast<long long>(id.value()), flags);
    return false;
}

void CAccessControlMock::sendTemplateEmail(int, const QStringList&, const QVariantMap&, MapCallback callback)
{
    answerNotImplemented(callback);
}

void CAccessControlMock::sendCustomNotification(const QString&, const QString&, const QVariantMap&,
                                                MapCallback callback)
{
    answerNotImplemented(callback);
}

void CAccessControlMock::exportStream(QTextStream*, const QString&, const QVariantMap&,
                                      std::function<void(bool)> callback)
{
    if (callback)
        callback(false);
}
