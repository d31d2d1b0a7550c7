#include <foundation/services/access_control_mock.h>

#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/mock_store_p.h>

#include <algorithm>

using namespace Mock;

namespace {

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
    , m_store(std::make_unique<MockStore>())
{
}

CAccessControlMock::~CAccessControlMock() = default;

// --- Collections

QList<QVariantMap> CAccessControlMock::getMockObjectsForName(const QString& name) const
{
    return m_store->items(name);
}

QVariantList CAccessControlMock::getModel(const QString& name, const QVariantMap& filter,
                                          const QStringList& fields) const
{
    return m_store->select(name, filter, fields);
}

bool CAccessControlMock::setModel(const QString& name, const QVariantMap& data)
{
    if (name == holidaysName) {
        const QString request = data.value(QStringLiteral("request")).toString();
        const auto requested = [&](const QString& key) { return request == key || data.contains(key); };
        const auto hasLabel = [&](const QString& collectionName, const QString& key) {
            const QString label = data.value(data.contains(labelKey) ? labelKey : key).toString();
            return !m_store->firstMatch(collectionName, {{labelKey, label}}).isEmpty();
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
            m_store->create(calendarsName, {{labelKey, label}}, 0, QString());
            return true;
        }
    }
    const QVariant replacement = data.value(data.contains(name) ? name : QStringLiteral("data"));
    return QtCompat::isList(replacement) && m_store->replace(name, replacement.value<QVariantList>());
}

// --- Access points and authorization points

QVariantMap CAccessControlMock::getAccessPoint(const QVariantMap& filter) const
{
    return m_store->firstMatch(accessPointsName, filter);
}

CItemId CAccessControlMock::createAccessPoint(const QVariantMap& properties)
{
    const int function = properties.value(classKey, CDataType::AccessPointFunctionSimpleDoor).toInt();
    return m_store->create(accessPointsName, properties, function, QStringLiteral("Access Point"));
}

bool CAccessControlMock::deleteAccessPoint(CItemId accessPoint)
{
    return m_store->remove(accessPointsName, accessPoint);
}

QVariant CAccessControlMock::getAccessPointProperty(const QString& name, CItemId accessPoint) const
{
    const QVariantMap* item = m_store->find(accessPointsName, accessPoint);
    if (item == nullptr)
        return QVariant();
    return name == locationKey ? locationOf(*item) : item->value(name);
}

bool CAccessControlMock::setAccessPointProperty(const QString& name, const QVariant& value, CItemId accessPoint)
{
    return m_store->setProperty(accessPointsName, name, value, accessPoint);
}

bool CAccessControlMock::deleteAccessPointProperty(const QString& name)
{
    return m_store->deleteProperty(accessPointsName, name);
}

bool CAccessControlMock::setAccessPointsLocationProperties(const QVariantMap& properties,
                                                           const QList<CItemId>& accessPoints)
{
    if (!m_store->haveAll(accessPointsName, accessPoints)
        || std::any_of(properties.keyBegin(), properties.keyEnd(), isFixed))
        return false;
    for (const CItemId accessPoint : accessPoints) {
        for (auto property = properties.cbegin(); property != properties.cend(); ++property)
            m_store->setProperty(accessPointsName, property.key(), property.value(), accessPoint);
    }
    return true;
}

QVariant CAccessControlMock::getAuthorizationPointProperty(const QString& name, CItemId authorizationPoint) const
{
    const QVariantMap* item = m_store->find(authorizationPointsName, authorizationPoint);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::setAuthorizationPointProperty(const QString& name, const QVariant& value,
                                                       CItemId authorizationPoint)
{
    return m_store->setProperty(authorizationPointsName, name, value, authorizationPoint);
}

bool CAccessControlMock::deleteAuthorizationPointProperty(const QString& name)
{
    return m_store->deleteProperty(authorizationPointsName, name);
}

// --- Users and groups

QVariantMap CAccessControlMock::getUser(const QVariantMap& filter) const
{
    QVariantMap ofUsers = filter;
    ofUsers.insert(classKey, int(UserClassUser));
    return m_store->firstMatch(usersGroupsName, ofUsers);
}

CItemId CAccessControlMock::createUser(const QVariantMap& properties)
{
    return m_store->create(usersGroupsName, properties, UserClassUser, QStringLiteral("User"));
}

bool CAccessControlMock::deleteUser(CItemId user)
{
    return m_store->findUserOrGroup(user, UserClassUser) != nullptr && m_store->remove(usersGroupsName, user);
}

bool CAccessControlMock::deleteUsersAndGroups(const QList<CItemId>& usersAndGroups)
{
    if (!m_store->haveAll(usersGroupsName, usersAndGroups))
        return false;
    for (const CItemId id : usersAndGroups)
        m_store->remove(usersGroupsName, id);
    return true;
}

QVariantMap CAccessControlMock::cloneUserOrGroup(CItemId, const QStringList&)
{
    return notImplemented();
}

bool CAccessControlMock::setUserProperty(const QString& name, const QVariant& value, CItemId user)
{
    return m_store->findUserOrGroup(user, UserClassUser) != nullptr
           && m_store->setProperty(usersGroupsName, name, value, user);
}

QVariant CAccessControlMock::getUserProperty(const QString& name, CItemId user) const
{
    const QVariantMap* item = m_store->findUserOrGroup(user, UserClassUser);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::deleteUserProperty(const QString& name)
{
    return m_store->deleteProperty(usersGroupsName, name, UserClassUser);
}

void CAccessControlMock::addSmartAccessLoginToUser(CItemId, const QVariantMap&, MapCallback callback)
{
    answerNotImplemented(callback);
}

QVariantMap CAccessControlMock::getGroup(const QVariantMap& filter) const
{
    QVariantMap ofGroups = filter;
    ofGroups.insert(classKey, int(UserClassGroup));
    return m_store->firstMatch(usersGroupsName, ofGroups);
}

CItemId CAccessControlMock::createGroup(const QVariantMap& properties)
{
    return m_store->create(usersGroupsName, properties, UserClassGroup, QStringLiteral("Group"));
}

bool CAccessControlMock::deleteGroup(CItemId group)
{
    return m_store->findUserOrGroup(group, UserClassGroup) != nullptr && m_store->remove(usersGroupsName, group);
}

bool CAccessControlMock::setGroupProperty(const QString& name, const QVariant& value, CItemId group)
{
    return m_store->findUserOrGroup(group, UserClassGroup) != nullptr
           && m_store->setProperty(usersGroupsName, name, value, group);
}

QVariant CAccessControlMock::getGroupProperty(const QString& name, CItemId group) const
{
    const QVariantMap* item = m_store->findUserOrGroup(group, UserClassGroup);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::deleteGroupProperty(const QString& name)
{
    return m_store->deleteProperty(usersGroupsName, name, UserClassGroup);
}

bool CAccessControlMock::addUsersToGroup(const QList<CItemId>& users, CItemId group)
{
    const bool good = std::all_of(users.cbegin(), users.cend(), [&](CItemId user) {
        return user != CItemId() && m_store->findUserOrGroup(user, UserClassGroup) == nullptr;
    });
    return good && setGroupProperty(membersKey, QVariant::fromValue(getUsersOfGroup(group) + users), group);
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
    const auto items = m_store->items(usersGroupsName);
    for (const QVariantMap& item : items) {
        if (toIds(item.value(membersKey)).contains(user))
            groups.append(idOf(item));
    }
    return groups;
}

// --- Media

QVariantMap CAccessControlMock::getRfidMedium(const QVariantMap& filter) const
{
    return m_store->firstMatch(mediaName, filter);
}

CItemId CAccessControlMock::createRfidMedium(const QVariantMap& properties)
{
    return m_store->create(mediaName, properties, properties.value(classKey).toInt(), QStringLiteral("Medium"));
}

bool CAccessControlMock::deleteRfidMedium(CItemId medium)
{
    return m_store->remove(mediaName, medium);
}

QVariant CAccessControlMock::getRfidMediumProperty(const QString& name, CItemId medium) const
{
    const QVariantMap* item = m_store->find(mediaName, medium);
    return item != nullptr ? item->value(name) : QVariant();
}

bool CAccessControlMock::setRfidMediumProperty(const QString& name, const QVariant& value, CItemId medium)
{
    return m_store->setProperty(mediaName, name, value, medium);
}

bool CAccessControlMock::addRfidMediaToUser(const QList<CItemId>& media, CItemId user)
{
    if (m_store->findUserOrGroup(user, UserClassUser) == nullptr || !m_store->haveAll(mediaName, media))
        return false;
    for (const CItemId medium : media)
        m_store->edit(mediaName, medium)->insert(userIdKey, user.value());
    return true;
}

QList<CItemId> CAccessControlMock::getRfidMediaOfUser(CItemId user) const
{
    QList<CItemId> media;
    const auto items = m_store->items(mediaName);
    for (const QVariantMap& item : items) {
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
    QVariantMap* item = m_store->edit(usersGroupsName, user);
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
    if (const QVariantMap* item = m_store->find(usersGroupsName, user)) {
        const QVariantList rights = item->value(rightsKey).toList();
        for (const QVariant& right : rights)
            accessPoints.append(accessPointOf(right));
    }
    return accessPoints;
}

QList<CItemId> CAccessControlMock::getUsersOfAccessPoint(CItemId accessPoint) const
{
    QList<CItemId> users;
    const auto items = m_store->items(usersGroupsName);
    for (const QVariantMap& item : items) {
        if (indexOfRight(item.value(rightsKey).toList(), accessPoint) >= 0)
            users.append(idOf(item));
    }
    return users;
}

QVariantList CAccessControlMock::getAccessRightProperties(CItemId accessPoint, CItemId user) const
{
    if (m_store->find(usersGroupsName, accessPoint) != nullptr)
        std::swap(accessPoint, user);
    const QVariantMap* item = m_store->find(usersGroupsName, user);
    const QVariantList rights = item != nullptr ? item->value(rightsKey).toList() : QVariantList();
    const int index = indexOfRight(rights, accessPoint);
    return index >= 0 ? QVariantList{rights[index]} : QVariantList();
}

bool CAccessControlMock::setAccessRightProperties(const QList<CItemId>& accessPoints, CItemId user,
                                                  const QVariantMap& properties)
{
    QVariantMap* item = m_store->edit(usersGroupsName, user);
    if (item == nullptr || accessPoints.contains(CItemId()))
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
