#include <foundation/services/access_control_mock.h>

#include <foundation/core/qt_compat_p.h>
#include <foundation/core/string_utils.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/mock_replacement_p.h>
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
            m_store->create(calendarsName, {{labelKey, label}}, 0);
            return true;
        }
    }
    const QVariant replacement = data.value(data.contains(name) ? name : QStringLiteral("data"));
    if (!QtCompat::isList(replacement))
        return false;
    const MockReplacement read(*m_store, name, replacement.value<QVariantList>());
    if (!read.refusal.isEmpty()) {
        qWarning("CAccessControlMock: \"%s\" stays as it is: %s", qUtf8Printable(CStringUtils::printable(name)),
                 qUtf8Printable(CStringUtils::printable(read.refusal)));
        return false;
    }
    m_store->replace(name, read.items);
    return true;
}

// --- Access points and authorization points

QVariantMap CAccessControlMock::getAccessPoint(const QVariantMap& filter) const
{
    return m_store->firstMatch(accessPointsName, filter);
}

CItemId CAccessControlMock::createAccessPoint(const QVariantMap& properties)
{
    const int function = properties.value(classKey, CDataType::AccessPointFunctionSimpleDoor).toInt();
    return m_store->create(accessPointsName, properties, function);
}

bool CAccessControlMock::deleteAccessPoint(CItemId accessPoint)
{
    return m_store->remove(accessPointsName, accessPoint);
}

QVariant CAccessControlMock::getAccessPointProperty(const QString& name, CItemId accessPoint) const
{
    return m_store->property(accessPointsName, name, accessPoint);
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
    if (!m_store->containsAll(accessPointsName, accessPoints)
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
    return m_store->property(authorizationPointsName, name, authorizationPoint);
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
    return m_store->create(usersGroupsName, properties, UserClassUser);
}

bool CAccessControlMock::deleteUser(CItemId user)
{
    return m_store->containsOfClass(UserClassUser, user) && m_store->remove(usersGroupsName, user);
}

bool CAccessControlMock::deleteUsersAndGroups(const QList<CItemId>& usersAndGroups)
{
    if (!m_store->containsAll(usersGroupsName, usersAndGroups))
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
    return m_store->containsOfClass(UserClassUser, user) && m_store->setProperty(usersGroupsName, name, value, user);
}

QVariant CAccessControlMock::getUserProperty(const QString& name, CItemId user) const
{
    return m_store->containsOfClass(UserClassUser, user) ? m_store->property(usersGroupsName, name, user) : QVariant();
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
    return m_store->create(usersGroupsName, properties, UserClassGroup);
}

bool CAccessControlMock::deleteGroup(CItemId group)
{
    return m_store->containsOfClass(UserClassGroup, group) && m_store->remove(usersGroupsName, group);
}

bool CAccessControlMock::setGroupProperty(const QString& name, const QVariant& value, CItemId group)
{
    return m_store->containsOfClass(UserClassGroup, group) && m_store->setProperty(usersGroupsName, name, value, group);
}

QVariant CAccessControlMock::getGroupProperty(const QString& name, CItemId group) const
{
    return m_store->containsOfClass(UserClassGroup, group) ? m_store->property(usersGroupsName, name, group)
                                                           : QVariant();
}

bool CAccessControlMock::deleteGroupProperty(const QString& name)
{
    return m_store->deleteProperty(usersGroupsName, name, UserClassGroup);
}

bool CAccessControlMock::addUsersToGroup(const QList<CItemId>& users, CItemId group)
{
    return m_store->addMembers(users, group);
}

bool CAccessControlMock::removeUsersFromGroup(const QList<CItemId>& users, CItemId group)
{
    return m_store->removeMembers(users, group);
}

QList<CItemId> CAccessControlMock::getUsersOfGroup(CItemId group) const
{
    return m_store->members(group);
}

QList<CItemId> CAccessControlMock::getGroupsOfUser(CItemId user) const
{
    return m_store->groupsOf(user);
}

// --- Media

QVariantMap CAccessControlMock::getRfidMedium(const QVariantMap& filter) const
{
    return m_store->firstMatch(mediaName, filter);
}

CItemId CAccessControlMock::createRfidMedium(const QVariantMap& properties)
{
    return m_store->create(mediaName, properties, properties.value(classKey).toInt());
}

bool CAccessControlMock::deleteRfidMedium(CItemId medium)
{
    return m_store->remove(mediaName, medium);
}

QVariant CAccessControlMock::getRfidMediumProperty(const QString& name, CItemId medium) const
{
    return m_store->property(mediaName, name, medium);
}

bool CAccessControlMock::setRfidMediumProperty(const QString& name, const QVariant& value, CItemId medium)
{
    return m_store->setProperty(mediaName, name, value, medium);
}

bool CAccessControlMock::addRfidMediaToUser(const QList<CItemId>& media, CItemId user)
{
    if (!m_store->containsOfClass(UserClassUser, user) || !m_store->containsAll(mediaName, media))
        return false;
    for (const CItemId medium : media)
        m_store->setProperty(mediaName, userIdKey, user.value(), medium);
    return true;
}

QList<CItemId> CAccessControlMock::getRfidMediaOfUser(CItemId user) const
{
    return m_store->mediaOf(user);
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
    return m_store->removeRights(accessPoints, user);
}

QList<CItemId> CAccessControlMock::getAccessPointsOfUser(CItemId user) const
{
    return m_store->accessPointsOf(user);
}

QList<CItemId> CAccessControlMock::getUsersOfAccessPoint(CItemId accessPoint) const
{
    return m_store->holdersOf(accessPoint);
}

QVariantList CAccessControlMock::getAccessRightProperties(CItemId accessPoint, CItemId user) const
{
    if (m_store->contains(usersGroupsName, accessPoint))
        std::swap(accessPoint, user);
    const QVariant right = m_store->right(accessPoint, user);
    return right.isValid() ? QVariantList{right} : QVariantList();
}

bool CAccessControlMock::setAccessRightProperties(const QList<CItemId>& accessPoints, CItemId user,
                                                  const QVariantMap& properties)
{
    return m_store->setRights(accessPoints, user, properties);
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
