#include <server/api/api_permissions_p.h>

#include <server/model/permission_names.h>
#include <server/model/sql_access_control.h>

#include <foundation/datatypes/data_type.h>

#include <algorithm>

namespace {

const QString rightsKey = QStringLiteral("Access Points");
const QString membersKey = QStringLiteral("Members");
const QString codeKey = QStringLiteral("code");
const QString classKey = QStringLiteral("class");

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

} // namespace

bool ApiPermissions::isLetIn(const ApiRule& rule, const ApiSession& session)
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

bool ApiPermissions::isCollectionKnown(const ApiMethod& method, const QVariantList& arguments)
{
    return method.rule->gate != ApiGate::Collection
           || ApiCollections::permission(collectionIn(method, arguments), 0, method.rule->use);
}

QString ApiPermissions::lacking(const ApiMethod& method, const QVariantList& arguments, const ApiSession& session) const
{
    QVector<Permission> needed;
    // Groups that a method for users takes, too.
    if (method.name == QLatin1String("cloneUserOrGroup"))
        needed += needsOfGroups({method.argument(arguments, "id").toString()});
    if (method.name == QLatin1String("deleteUsersAndGroups"))
        needed += needsOfGroups(method.argument(arguments, "ids").toStringList());
    const bool isReading = method.rule->use == ApiUse::Reads;
    if (method.rule->gate == ApiGate::Collection)
        needed += isReading ? needsOfReading(method, arguments, session) : needsOfChanging(method, arguments);
    // Relations are what gives access: they have permissions of their own.
    const QStringList names = namesIn(arguments);
    if (names.contains(rightsKey))
        needed += isReading ? PermissionAccessRightsRead : PermissionAccessRightsWrite;
    if (names.contains(membersKey))
        needed += isReading ? PermissionUserGroupsRead : PermissionUserGroupRelations;

    for (const Permission permission : qAsConst(needed)) {
        if (!session.may(permission))
            return permissionName(permission);
    }
    return {};
}

QVector<Permission> ApiPermissions::needsOfGroups(const QStringList& ids) const
{
    const bool hasGroup =
        std::any_of(ids.cbegin(), ids.cend(), [this](const QString& id) { return classOf(id) == UserClassGroup; });
    return hasGroup ? QVector<Permission>{PermissionUserGroupsWrite} : QVector<Permission>();
}

QVector<Permission> ApiPermissions::needsOfReading(const ApiMethod& method, const QVariantList& arguments,
                                                   const ApiSession& session)
{
    const QString collection = collectionIn(method, arguments);
    const Permission permission = *ApiCollections::permission(collection, 0, ApiUse::Reads);
    const Permission ofGroups = *ApiCollections::permission(collection, UserClassGroup, ApiUse::Reads);
    QVector<Permission> needed;
    if (!session.may(ofGroups))
        needed += permission;
    QVariantMap filter = method.argument(arguments, "filter").toMap();
    if (method.argument(arguments, "itemClass").toInt() != 0)
        filter.insert(classKey, method.argument(arguments, "itemClass"));
    if (filter.contains(classKey) && permission != ofGroups)
        needed += filter.value(classKey).toInt() == UserClassGroup ? ofGroups : permission;
    // Whether a code is there is as much as the code.
    if (collection == QLatin1String("Codes") && filter.contains(codeKey))
        needed += PermissionReadPasswords;
    return needed;
}

QVector<Permission> ApiPermissions::needsOfChanging(const ApiMethod& method, const QVariantList& arguments) const
{
    const QString collection = collectionIn(method, arguments);
    const Permission permission = *ApiCollections::permission(collection, 0, ApiUse::Changes);
    const Permission ofGroups = *ApiCollections::permission(collection, UserClassGroup, ApiUse::Changes);
    QStringList ids = method.argument(arguments, "ids").toStringList();
    if (ids.isEmpty() && method.argument(arguments, "id").isValid())
        ids.append(method.argument(arguments, "id").toString());
    if (ids.isEmpty()) {
        const QVariantMap properties = method.argument(arguments, "properties").toMap();
        return {properties.value(classKey).toInt() == UserClassGroup ? ofGroups : permission};
    }
    QVector<Permission> needed;
    for (const QString& id : qAsConst(ids))
        needed += permission != ofGroups && classOf(id) == UserClassGroup ? ofGroups : permission;
    return needed;
}

int ApiPermissions::classOf(const QString& id) const
{
    const QString users = QStringLiteral("UsersGroups");
    return m_model->getItemProperty(users, classKey, id.toLongLong()).toInt();
}

// Users and groups stand in one collection: who may read the ones alone asks for them alone.
QVariantList ApiPermissions::narrowed(const ApiMethod& method, QVariantList arguments, const ApiSession& session)
{
    if (method.name == QLatin1String("getModel") && collectionIn(method, arguments) == QLatin1String("UsersGroups")
        && !session.may(PermissionUsersRead | PermissionUserGroupsRead)) {
        QVariantMap filter = arguments.at(1).toMap();
        filter.insert(classKey, session.may(PermissionUsersRead) ? UserClassUser : UserClassGroup);
        arguments[1] = filter;
    }
    return arguments;
}

QVariant ApiPermissions::concealed(const ApiMethod& method, const QVariantList& arguments, const QVariant& result,
                                   const ApiSession& session)
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
    if (result.userType() == QMetaType::QVariantMap)
        return conceal(result.toMap());
    if (result.userType() != QMetaType::QVariantList || method.rule->gate != ApiGate::Collection)
        return result;
    QVariantList kept;
    const QVariantList items = result.toList();
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
