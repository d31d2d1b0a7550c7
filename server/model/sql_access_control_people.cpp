// Doors, users, groups and media, and the relations between them.
#include <foundation/datatypes/data_type.h>
#include <server/model/sql_access_control_p.h>

using namespace Model;

namespace {

QVariantMap errorMap(const QString& text)
{
    return {{QStringLiteral("status"), QStringLiteral("error")}, {QStringLiteral("error"), text}};
}

} // namespace

// --- Access points and authorization points

QVariantMap CSqlAccessControl::getAccessPoint(const QVariantMap& filter) const
{
    return d->items.first(KindAccessPoint, anyClass, filter);
}

CItemId CSqlAccessControl::createAccessPoint(const QVariantMap& properties)
{
    return createItem(nameOf(KindAccessPoint), properties);
}

bool CSqlAccessControl::deleteAccessPoint(CItemId accessPoint)
{
    return deleteItem(nameOf(KindAccessPoint), accessPoint);
}

QVariant CSqlAccessControl::getAccessPointProperty(const QString& name, CItemId accessPoint) const
{
    return d->items.property(KindAccessPoint, anyClass, name, accessPoint.value());
}

bool CSqlAccessControl::setAccessPointProperty(const QString& name, const QVariant& value, CItemId accessPoint)
{
    return setItemProperty(nameOf(KindAccessPoint), name, value, accessPoint);
}

bool CSqlAccessControl::deleteAccessPointProperty(const QString& name)
{
    return d->change([&] { return d->eraseProperty(KindAccessPoint, anyClass, name); });
}

bool CSqlAccessControl::setAccessPointsLocationProperties(const QVariantMap& properties,
                                                          const QList<CItemId>& accessPoints)
{
    return d->change([&] {
        for (const CItemId accessPoint : accessPoints) {
            if (!d->items.exists(KindAccessPoint, anyClass, accessPoint.value()))
                return d->refuseUnknown(KindAccessPoint, anyClass, accessPoint.value());
            for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
                if (!d->set(KindAccessPoint, anyClass, property.key(), property.value(), accessPoint.value()))
                    return false;
            }
        }
        return true;
    });
}

QVariant CSqlAccessControl::getAuthorizationPointProperty(const QString& name, CItemId authorizationPoint) const
{
    return d->items.property(KindAuthorizationPoint, anyClass, name, authorizationPoint.value());
}

bool CSqlAccessControl::setAuthorizationPointProperty(const QString& name, const QVariant& value,
                                                      CItemId authorizationPoint)
{
    return setItemProperty(nameOf(KindAuthorizationPoint), name, value, authorizationPoint);
}

bool CSqlAccessControl::deleteAuthorizationPointProperty(const QString& name)
{
    return d->change([&] { return d->eraseProperty(KindAuthorizationPoint, anyClass, name); });
}

// --- Users

QVariantMap CSqlAccessControl::getUser(const QVariantMap& filter) const
{
    QVariantMap ofUsers = filter;
    ofUsers.insert(classKey, int(UserClassUser));
    return d->items.first(KindUserOrGroup, anyClass, ofUsers);
}

CItemId CSqlAccessControl::createUser(const QVariantMap& properties)
{
    QVariantMap ofUser = properties;
    ofUser.insert(classKey, int(UserClassUser));
    return createItem(nameOf(KindUserOrGroup), ofUser);
}

bool CSqlAccessControl::deleteUser(CItemId user)
{
    return d->change([&] { return d->remove(KindUserOrGroup, UserClassUser, user.value()); });
}

bool CSqlAccessControl::deleteUsersAndGroups(const QList<CItemId>& usersAndGroups)
{
    return d->change([&] {
        QSet<CItemId> done;
        for (const CItemId id : usersAndGroups) {
            if (!done.contains(id) && !d->remove(KindUserOrGroup, anyClass, id.value()))
                return false;
            done.insert(id);
        }
        return true;
    });
}

QVariantMap CSqlAccessControl::cloneUserOrGroup(CItemId userOrGroup, const QStringList& properties)
{
    qint64 id = 0;
    QVariantMap copy;
    QPointer<CSqlAccessControl> guard(this);
    const bool done = d->change([&] {
        const QVariantMap source = d->items.first(KindUserOrGroup, anyClass, {{idKey, userOrGroup.value()}});
        if (source.isEmpty())
            return d->refuseUnknown(KindUserOrGroup, UserClassUser, userOrGroup.value());
        for (const QString& name : properties) {
            if (source.contains(name))
                copy.insert(name, source.value(name));
        }
        id = d->create(KindUserOrGroup, source.value(classKey).toInt(), copy);
        return id != 0;
    });
    if (!guard)
        return {};
    return done ? d->items.load(KindUserOrGroup, {id}).value(0) : errorMap(d->error);
}

bool CSqlAccessControl::setUserProperty(const QString& name, const QVariant& value, CItemId user)
{
    return d->change([&] { return d->set(KindUserOrGroup, UserClassUser, name, value, user.value()); });
}

QVariant CSqlAccessControl::getUserProperty(const QString& name, CItemId user) const
{
    return d->items.property(KindUserOrGroup, UserClassUser, name, user.value());
}

bool CSqlAccessControl::deleteUserProperty(const QString& name)
{
    return d->change([&] { return d->eraseProperty(KindUserOrGroup, UserClassUser, name); });
}

// --- Groups

QVariantMap CSqlAccessControl::getGroup(const QVariantMap& filter) const
{
    QVariantMap ofGroups = filter;
    ofGroups.insert(classKey, int(UserClassGroup));
    return d->items.first(KindUserOrGroup, anyClass, ofGroups);
}

CItemId CSqlAccessControl::createGroup(const QVariantMap& properties)
{
    QVariantMap ofGroup = properties;
    ofGroup.insert(classKey, int(UserClassGroup));
    return createItem(nameOf(KindUserOrGroup), ofGroup);
}

bool CSqlAccessControl::deleteGroup(CItemId group)
{
    return d->change([&] { return d->remove(KindUserOrGroup, UserClassGroup, group.value()); });
}

bool CSqlAccessControl::setGroupProperty(const QString& name, const QVariant& value, CItemId group)
{
    return d->change([&] { return d->set(KindUserOrGroup, UserClassGroup, name, value, group.value()); });
}

QVariant CSqlAccessControl::getGroupProperty(const QString& name, CItemId group) const
{
    return d->items.property(KindUserOrGroup, UserClassGroup, name, group.value());
}

bool CSqlAccessControl::deleteGroupProperty(const QString& name)
{
    return d->change([&] { return d->eraseProperty(KindUserOrGroup, UserClassGroup, name); });
}

bool CSqlAccessControl::addUsersToGroup(const QList<CItemId>& users, CItemId group)
{
    return d->change([&] {
        if (!d->items.exists(KindUserOrGroup, UserClassGroup, group.value()))
            return d->refuseUnknown(KindUserOrGroup, UserClassGroup, group.value());
        const QList<qint64> ids = toNumbers(users);
        if (!d->items.haveAll(KindUserOrGroup, UserClassUser, ids))
            return d->refuse(QStringLiteral("not all of these users are there"));
        d->touch(KindUserOrGroup, group.value());
        d->record(KindUserOrGroup, group.value(), Changed);
        return d->relations.addUsers(ids, group.value());
    });
}

bool CSqlAccessControl::removeUsersFromGroup(const QList<CItemId>& users, CItemId group)
{
    return d->change([&] {
        if (!d->items.exists(KindUserOrGroup, UserClassGroup, group.value()))
            return d->refuseUnknown(KindUserOrGroup, UserClassGroup, group.value());
        d->touch(KindUserOrGroup, group.value());
        d->record(KindUserOrGroup, group.value(), Changed);
        return d->relations.removeUsers(toNumbers(users), group.value());
    });
}

QList<CItemId> CSqlAccessControl::getUsersOfGroup(CItemId group) const
{
    return toItemIds(d->relations.usersOfGroup(group.value()));
}

QList<CItemId> CSqlAccessControl::getGroupsOfUser(CItemId user) const
{
    return toItemIds(d->relations.groupsOfUser(user.value()));
}

// --- Media

QVariantMap CSqlAccessControl::getRfidMedium(const QVariantMap& filter) const
{
    return d->items.first(KindMedium, anyClass, filter);
}

CItemId CSqlAccessControl::createRfidMedium(const QVariantMap& properties)
{
    return createItem(nameOf(KindMedium), properties);
}

bool CSqlAccessControl::deleteRfidMedium(CItemId medium)
{
    return deleteItem(nameOf(KindMedium), medium);
}

QVariant CSqlAccessControl::getRfidMediumProperty(const QString& name, CItemId medium) const
{
    return d->items.property(KindMedium, anyClass, name, medium.value());
}

bool CSqlAccessControl::setRfidMediumProperty(const QString& name, const QVariant& value, CItemId medium)
{
    return d->change([&] {
        return name == userIdKey ? d->refuse(QStringLiteral("userId: cannot be set; give the medium to the user"))
                                 : d->set(KindMedium, anyClass, name, value, medium.value());
    });
}

bool CSqlAccessControl::addRfidMediaToUser(const QList<CItemId>& media, CItemId user)
{
    return d->change([&] {
        if (user != CItemId() && !d->items.exists(KindUserOrGroup, UserClassUser, user.value()))
            return d->refuseUnknown(KindUserOrGroup, UserClassUser, user.value());
        for (const CItemId medium : media) {
            if (!d->items.exists(KindMedium, anyClass, medium.value()))
                return d->refuseUnknown(KindMedium, anyClass, medium.value());
            d->touch(KindMedium, medium.value());
            if (!d->items.setParent(medium.value(), user.value()))
                return false;
            d->record(KindMedium, medium.value(), Changed);
        }
        return true;
    });
}

QList<CItemId> CSqlAccessControl::getRfidMediaOfUser(CItemId user) const
{
    return toItemIds(d->items.idsByParent(KindMedium, user.value()));
}

CItemId CSqlAccessControl::getUserOfRfidMedium(CItemId medium) const
{
    return toId(d->items.property(KindMedium, anyClass, userIdKey, medium.value()));
}

// --- Access rights, of users and of groups

bool CSqlAccessControl::addAccessPointsToUser(const QList<CItemId>& accessPoints, CItemId user)
{
    return setAccessRightProperties(accessPoints, user, {});
}

bool CSqlAccessControl::deleteAccessPointsOfUser(const QList<CItemId>& accessPoints, CItemId user)
{
    return d->change([&] {
        if (!d->isHolderThere(user.value()))
            return false;
        d->touch(KindUserOrGroup, user.value());
        d->record(KindUserOrGroup, user.value(), Changed);
        return d->relations.removeRights(user.value(), toNumbers(accessPoints));
    });
}

QList<CItemId> CSqlAccessControl::getAccessPointsOfUser(CItemId user) const
{
    return toItemIds(d->relations.accessPointsOf(user.value()));
}

QList<CItemId> CSqlAccessControl::getUsersOfAccessPoint(CItemId accessPoint) const
{
    return toItemIds(d->relations.holdersAt(accessPoint.value()));
}

QVariantList CSqlAccessControl::getAccessRightProperties(CItemId accessPoint, CItemId user) const
{
    if (d->items.exists(KindUserOrGroup, anyClass, accessPoint.value()))
        std::swap(accessPoint, user);
    return accessPoint != CItemId() ? d->relations.rights(user.value(), accessPoint.value()) : QVariantList();
}

bool CSqlAccessControl::setAccessRightProperties(const QList<CItemId>& accessPoints, CItemId user,
                                                 const QVariantMap& properties)
{
    return d->change([&] {
        if (!d->isHolderThere(user.value()))
            return false;
        d->touch(KindUserOrGroup, user.value());
        for (const CItemId accessPoint : accessPoints) {
            if (!d->setRight(user.value(), accessPoint.value(), properties))
                return false;
        }
        d->record(KindUserOrGroup, user.value(), Changed);
        return true;
    });
}

CItemId CSqlAccessControl::addAccessRight(CItemId holder, CItemId accessPoint, const QVariantMap& properties)
{
    qint64 right = 0;
    const bool done = d->change([&] {
        if (!d->isHolderThere(holder.value()))
            return false;
        d->touch(KindUserOrGroup, holder.value());
        right = d->addRight(holder.value(), accessPoint.value(), properties);
        d->record(KindUserOrGroup, holder.value(), Changed);
        return right != 0;
    });
    return done ? CItemId(right) : CItemId();
}

bool CSqlAccessControl::deleteAccessRight(CItemId right)
{
    return d->change([&] {
        const qint64 holder = d->relations.holderOf(right.value());
        if (holder == 0)
            return d->refuse(QStringLiteral("there is no right %1").arg(right.value()));
        d->touch(KindUserOrGroup, holder);
        d->record(KindUserOrGroup, holder, Changed);
        return d->relations.removeRight(right.value());
    });
}

// --- What users may open, by rights of their own and of their groups

QVariantList CSqlAccessControl::getUserRelatedOpenerActions(const QVariantMap& filter, bool)
{
    const qint64 user = filter.isEmpty() ? d->loggedIn.value() : toId(getUser(filter).value(idKey));
    QVariantList openers;
    const QSet<qint64> doors = d->doorsOf(user);
    ItemQuery query;
    query.kind = KindAuthorizationPoint;
    query.itemClass = AuthPointClassOpener;
    const auto found = d->items.load(query.kind, doors.isEmpty() ? QList<qint64>() : d->items.find(query));
    for (const QVariantMap& opener : found) {
        if (doors.contains(toId(opener.value(accessPointIdKey))))
            openers.append(opener);
    }
    return openers;
}

QVariantList CSqlAccessControl::getAccessPointsRelatedToLoggedInUser(const QString& text)
{
    QVariantList doors;
    const auto found = d->items.load(KindAccessPoint, d->doorsOf(d->loggedIn.value()).values());
    for (const QVariantMap& door : found) {
        if (door.value(labelKey).toString().contains(text, Qt::CaseInsensitive))
            doors.append(door);
    }
    return doors;
}

QSet<qint64> CSqlAccessControl::Private::doorsOf(qint64 user) const
{
    const QList<qint64> own = relations.accessPointsOf(user);
    QSet<qint64> doors(own.cbegin(), own.cend());
    const QList<qint64> groups = relations.groupsOfUser(user);
    for (const qint64 group : groups) {
        const QList<qint64> ofGroup = relations.accessPointsOf(group);
        doors.unite(QSet<qint64>(ofGroup.cbegin(), ofGroup.cend()));
    }
    return doors;
}
