// What is done to one item and its relations, within a transaction that the caller holds: values, parents, members and
// rights are checked here, whichever operation sets them.
#include <foundation/datatypes/data_type.h>
#include <server/database/sql_statement_p.h>
#include <server/model/checked_value_p.h>
#include <server/model/sql_access_control_p.h>

using namespace Model;

bool CSqlAccessControl::Private::isUnique(Kind kind, const QString& name, const QVariant& value, qint64 id)
{
    const QList<qint64> same = items.idsByValue(kind, name, value);
    if (same.isEmpty() || same == QList<qint64>{id})
        return true;
    // A code is not repeated in a message: who reads it need not know it.
    return refuse(kind == KindCode ? QStringLiteral("this code is in use already")
                                   : QStringLiteral("%1 already belongs to %2 %3")
                                         .arg(name, wordOf(kind, anyClass).toLower())
                                         .arg(same.first()));
}

bool CSqlAccessControl::Private::setParent(Kind kind, qint64 id, qint64 parent)
{
    if (parent != 0 && !items.exists(parentKind(kind), anyClass, parent))
        return refuseUnknown(parentKind(kind), anyClass, parent);
    touch(kind, id);
    return items.setParent(id, parent);
}

bool CSqlAccessControl::Private::set(Kind kind, int itemClass, const QString& name, const QVariant& value, qint64 id)
{
    if (!items.exists(kind, itemClass, id))
        return refuseUnknown(kind, itemClass, id);
    touch(kind, id);
    if (!put(kind, name, value, id))
        return false;
    record(kind, id, Changed);
    return true;
}

bool CSqlAccessControl::Private::put(Kind kind, const QString& name, const QVariant& value, qint64 id)
{
    QString reason;
    QVariant checked = value.userType() == qMetaTypeId<CItemId>() ? QVariant(toId(value)) : value;
    const QString key = parentKey(kind);
    if (!key.isEmpty() && name == key)
        return setParent(kind, id, toId(value));
    if (!CheckedValues::check(kind, name, &checked, &reason))
        return refuse(reason);
    if (name == labelKey) {
        return isLabelFree(kind, checked, id) && items.setLabel(kind, id, checked.toString());
    }
    const bool isSingle = (kind == KindMedium && name == uidKey) || (kind == KindCode && name == codeKey);
    if (isSingle && checked.isValid() && !isUnique(kind, name, checked, id))
        return false;
    return items.setValue(kind, id, name, checked)
           || refuse(database.hasFailed() ? database.errorString()
                                          : QString(name + QLatin1String(": is nested too deep")));
}

qint64 CSqlAccessControl::Private::create(Kind kind, int itemClass, const QVariantMap& properties, qint64 id)
{
    QString reason;
    QVariant label = properties.value(labelKey);
    const bool isNamed = !label.toString().isEmpty();
    if ((isNamed && !CheckedValues::check(kind, labelKey, &label, &reason)) || !isLabelFree(kind, label, 0)) {
        refuse(reason);
        return 0;
    }
    const qint64 made = items.insert(kind, itemClass, isNamed ? label.toString() : QString(), id);
    if (made == 0) {
        refuse(database.errorString());
        return 0;
    }
    QVariantMap further = properties;
    further.remove(labelKey);
    if (!fill(kind, itemClass, made, further))
        return 0;
    record(kind, made, Created);
    return made;
}

bool CSqlAccessControl::Private::isLabelFree(Kind kind, const QVariant& label, qint64 id)
{
    // Those that are told apart by their names.
    return (kind != KindTimeProfile && kind != KindCalendar) || isUnique(kind, labelKey, label, id);
}

bool CSqlAccessControl::Private::fill(Kind kind, int itemClass, qint64 id, const QVariantMap& properties)
{
    const bool isGroup = kind == KindUserOrGroup && itemClass == UserClassGroup;
    for (auto entry = properties.cbegin(); entry != properties.cend(); ++entry) {
        const QString& name = entry.key();
        if (isFixed(name) || !entry->isValid() || (name == labelKey && entry->toString().isEmpty()))
            continue;
        bool good = false;
        if (name == membersKey && isGroup)
            good = setMembers(id, toIds(*entry));
        else if (name == rightsKey && kind == KindUserOrGroup)
            good = setRights(id, entry->toList());
        else
            good = put(kind, name, *entry, id);
        if (!good)
            return false;
    }
    return true;
}

// --- Relations

bool CSqlAccessControl::Private::setMembers(qint64 group, const QList<qint64>& users)
{
    if (!items.haveAll(KindUserOrGroup, UserClassUser, users))
        return refuse(QStringLiteral("not all of these users are there"));
    return relations.removeAllUsers(group) && relations.addUsers(users, group);
}

bool CSqlAccessControl::Private::checkRight(QVariantMap* properties)
{
    QString reason;
    if (!RelationStore::checkRight(properties, &reason))
        return refuse(reason);
    const qint64 profile = properties->value(timeProfileIdKey).toLongLong();
    return profile == 0 || items.exists(KindTimeProfile, anyClass, profile)
           || refuseUnknown(KindTimeProfile, anyClass, profile);
}

bool CSqlAccessControl::Private::setRights(qint64 holder, const QVariantList& rights)
{
    if (!relations.removeAllRights(holder))
        return false;
    for (const QVariant& element : rights) {
        QVariantMap right = element.toMap();
        const qint64 accessPoint = toId(right.value(accessPointIdKey));
        if (addRight(holder, accessPoint, right) == 0)
            return false;
    }
    return true;
}

qint64 CSqlAccessControl::Private::addRight(qint64 holder, qint64 accessPoint, QVariantMap properties)
{
    if (!items.exists(KindAccessPoint, anyClass, accessPoint)) {
        refuseUnknown(KindAccessPoint, anyClass, accessPoint);
        return 0;
    }
    if (!checkRight(&properties))
        return 0;
    const qint64 present = relations.findRight(holder, accessPoint, properties);
    return present != 0 ? present : relations.addRight(holder, accessPoint, properties);
}

bool CSqlAccessControl::Private::setRight(qint64 holder, qint64 accessPoint, QVariantMap properties)
{
    const qint64 wanted = toId(properties.value(idKey));
    const QVariantList present = relations.rights(holder, accessPoint);
    if (present.isEmpty() && wanted == 0)
        return addRight(holder, accessPoint, properties) != 0;
    if (!checkRight(&properties))
        return false;
    bool found = false;
    for (const QVariant& right : present) {
        const qint64 id = toId(right.toMap().value(idKey));
        if (wanted != 0 && id != wanted)
            continue;
        found = true;
        if (!properties.isEmpty() && !relations.changeRight(id, properties))
            return false;
    }
    return found || refuse(QStringLiteral("there is no right %1 of %2 at %3").arg(wanted).arg(holder).arg(accessPoint));
}

bool CSqlAccessControl::Private::isHolderThere(qint64 holder)
{
    return items.exists(KindUserOrGroup, anyClass, holder) || refuseUnknown(KindUserOrGroup, UserClassUser, holder);
}

// --- Removing

bool CSqlAccessControl::Private::remove(Kind kind, int itemClass, qint64 id)
{
    if (!items.exists(kind, itemClass, id))
        return refuseUnknown(kind, itemClass, id);
    touch(kind, id);
    if (kind == KindTimeProfile) {
        // Without it "office hours" would become "always".
        if (const qint64 count = relations.rightsWith(id))
            return refuse(QStringLiteral("schedule %1 is in use by %2 rights").arg(id).arg(count));
    }
    for (const Kind child : kinds()) {
        if (parentKind(child) != kind)
            continue;
        const QList<qint64> children = items.idsByParent(child, id);
        if (child == KindTimeProfile && !children.isEmpty())
            return refuse(QStringLiteral("calendar %1 is in use by schedule %2").arg(id).arg(children.first()));
        for (const qint64 one : children) {
            touch(child, one);
            // A medium that nobody owns can be handed out again, a code that nobody owns must not open anything.
            if (child == KindCode ? !items.erase(one) : !items.setParent(one, 0))
                return false;
            record(child, one, child == KindCode ? Deleted : Changed);
        }
    }
    if (kind == KindUserOrGroup) {
        const QList<qint64> groups = relations.groupsOfUser(id);
        for (const qint64 group : groups) {
            touch(KindUserOrGroup, group);
            record(KindUserOrGroup, group, Changed);
        }
        SqlStatement login(&database, QStringLiteral("SELECT 1 FROM login WHERE \"user\"=?"));
        areLoginsChanged |= login.bind(id).exec() && login.next();
    } else if (kind == KindAccessPoint) {
        const QList<qint64> holders = relations.holdersAt(id);
        for (const qint64 holder : holders) {
            touch(KindUserOrGroup, holder);
            record(KindUserOrGroup, holder, Changed);
        }
    }
    if (!items.erase(id))
        return false;
    record(kind, id, Deleted);
    return true;
}

bool CSqlAccessControl::Private::eraseProperty(Kind kind, int itemClass, const QString& name)
{
    if (isFixed(name) || isRelation(name) || name == labelKey || name == parentKey(kind))
        return refuse(name + QLatin1String(": cannot be deleted"));
    QList<qint64> had;
    if (!items.eraseProperty(kind, itemClass, name, &had))
        return refuse(QStringLiteral("there is no property %1").arg(name.left(CheckedValues::longestName)));
    if (recorder)
        furtherChanges.append({nameOf(kind), {}, QStringLiteral("property deleted"), name, {}, {}});
    for (const qint64 item : qAsConst(had))
        record(kind, item, Changed);
    return true;
}
