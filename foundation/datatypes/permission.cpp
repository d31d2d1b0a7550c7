#include <foundation/datatypes/permission.h>

#include <foundation/datatypes/enumeration_table_p.h>

namespace {

constexpr Entry<Permission> permissionTable[] = {
    {PermissionLoginWrite, QT_TRANSLATE_NOOP("@default", "Login Write")},
    {PermissionUsersWrite, QT_TRANSLATE_NOOP("@default", "Users Write")},
    {PermissionUserGroupsWrite, QT_TRANSLATE_NOOP("@default", "User Groups Write")},
    {PermissionMediaWrite, QT_TRANSLATE_NOOP("@default", "Media Write")},
    {PermissionCodesWrite, QT_TRANSLATE_NOOP("@default", "Codes Write")},
    {PermissionAccessRightsWrite, QT_TRANSLATE_NOOP("@default", "Access Rights Write")},
    {PermissionTimeProfilesWrite, QT_TRANSLATE_NOOP("@default", "Time Profiles Write")},
    {PermissionAccessPointsWrite, QT_TRANSLATE_NOOP("@default", "Access Points Write")},
    {PermissionRemoteExecution, QT_TRANSLATE_NOOP("@default", "Remote Execution")},
    {PermissionDevicesWrite, QT_TRANSLATE_NOOP("@default", "Devices Write")},
    {PermissionSoftwareWrite, QT_TRANSLATE_NOOP("@default", "Software Write")},
    {PermissionLogs, QT_TRANSLATE_NOOP("@default", "Logs")},
    {PermissionMediaPoolsWrite, QT_TRANSLATE_NOOP("@default", "Media Pools Write")},
    {PermissionUserGroupRelations, QT_TRANSLATE_NOOP("@default", "User Group Relations")},
    {PermissionReadPasswords, QT_TRANSLATE_NOOP("@default", "Read Passwords")},
    {PermissionLoginRead, QT_TRANSLATE_NOOP("@default", "Login Read")},
    {PermissionUsersRead, QT_TRANSLATE_NOOP("@default", "Users Read")},
    {PermissionUserGroupsRead, QT_TRANSLATE_NOOP("@default", "User Groups Read")},
    {PermissionMediaRead, QT_TRANSLATE_NOOP("@default", "Media Read")},
    {PermissionCodesRead, QT_TRANSLATE_NOOP("@default", "Codes Read")},
    {PermissionAccessRightsRead, QT_TRANSLATE_NOOP("@default", "Access Rights Read")},
    {PermissionTimeProfilesRead, QT_TRANSLATE_NOOP("@default", "Time Profiles Read")},
    {PermissionAccessPointsRead, QT_TRANSLATE_NOOP("@default", "Access Points Read")},
    {PermissionDevicesRead, QT_TRANSLATE_NOOP("@default", "Devices Read")},
    {PermissionSoftwareRead, QT_TRANSLATE_NOOP("@default", "Software Read")},
    {PermissionMediaPoolsRead, QT_TRANSLATE_NOOP("@default", "Media Pools Read")},
    {PermissionSmartAccess, QT_TRANSLATE_NOOP("@default", "Smart Access")},
};
constexpr quint32 permissionMask = 0x7FFFFFF;
using PermissionFamily = FlagEnumeration<permissionTable, permissionMask>;

// Rights to write and to read the same thing stand together.
constexpr Permission displayOrder[] = {
    PermissionLoginWrite,         PermissionLoginRead,
    PermissionUsersWrite,         PermissionUsersRead,
    PermissionUserGroupsWrite,    PermissionUserGroupsRead,
    PermissionMediaWrite,         PermissionMediaRead,
    PermissionCodesWrite,         PermissionCodesRead,
    PermissionAccessRightsWrite,  PermissionAccessRightsRead,
    PermissionTimeProfilesWrite,  PermissionTimeProfilesRead,
    PermissionAccessPointsWrite,  PermissionAccessPointsRead,
    PermissionRemoteExecution,    PermissionDevicesWrite,
    PermissionDevicesRead,        PermissionSoftwareWrite,
    PermissionSoftwareRead,       PermissionLogs,
    PermissionMediaPoolsWrite,    PermissionMediaPoolsRead,
    PermissionUserGroupRelations, PermissionReadPasswords,
    PermissionSmartAccess,
};

constexpr bool eachOnce()
{
    quint32 seen = 0;
    for (const Permission permission : displayOrder)
        seen += permission; // single bits: a double carries into another bit
    return seen == permissionMask && std::size(displayOrder) == std::size(permissionTable);
}
static_assert(eachOnce(), "each right has its place in the order of display");

} // namespace

const char* CPermission::name(Permission permission)
{
    switch (permission) {
    case PermissionNone:
        return QT_TRANSLATE_NOOP("@default", "None");
    case PermissionAdministrator:
        return QT_TRANSLATE_NOOP("@default", "Administrator");
    default:
        return PermissionFamily::text(permission);
    }
}

QFlags<Permission> CPermission::cast(unsigned int value)
{
    if (value == PermissionAdministrator)
        return PermissionAdministrator;
    return PermissionFamily::castSet(value, "Permissions");
}

QStringList CPermission::names(QFlags<Permission> permissions)
{
    QStringList result;
    for (const Permission permission : displayOrder) {
        if (permissions.testFlag(permission))
            result.append(PermissionFamily::translated(permission));
    }
    return result;
}
