#pragma once

#include <foundation/core/export.h>

#include <QtCore/QFlags>
#include <QtCore/QList>
#include <QtCore/QStringList>

/// One right of an operator of the management software. A right set is a QFlags<Permission>, and is stored as its bits.
enum Permission : unsigned int
{
    PermissionNone = 0,
    PermissionLoginWrite = 0x1,
    PermissionUsersWrite = 0x2,
    PermissionUserGroupsWrite = 0x4,
    PermissionMediaWrite = 0x8,
    PermissionCodesWrite = 0x10,
    PermissionAccessRightsWrite = 0x20,
    PermissionTimeProfilesWrite = 0x40,
    PermissionAccessPointsWrite = 0x80,
    PermissionRemoteExecution = 0x100,
    PermissionDevicesWrite = 0x200,
    PermissionSoftwareWrite = 0x400,
    PermissionLogs = 0x800,
    PermissionMediaPoolsWrite = 0x1000,
    PermissionUserGroupRelations = 0x2000,
    PermissionReadPasswords = 0x4000,
    PermissionLoginRead = 0x8000,
    PermissionUsersRead = 0x10000,
    PermissionUserGroupsRead = 0x20000,
    PermissionMediaRead = 0x40000,
    PermissionCodesRead = 0x80000,
    PermissionAccessRightsRead = 0x100000,
    PermissionTimeProfilesRead = 0x200000,
    PermissionAccessPointsRead = 0x400000,
    PermissionDevicesRead = 0x800000,
    PermissionSoftwareRead = 0x1000000,
    PermissionMediaPoolsRead = 0x2000000,
    PermissionSmartAccess = 0x4000000,
    PermissionAdministrator = 0xFFFFFFFF ///< all bits, those that have no meaning yet included
};
Q_DECLARE_FLAGS(Permissions, Permission)
Q_DECLARE_OPERATORS_FOR_FLAGS(Permissions)

/// The vocabulary of the rights.
///
///     const Permissions rights = CPermission::cast(stored);
///     label->setText(CPermission::names(rights).join(", "));
class KYR_FOUNDATION_EXPORT CPermission
{
public:
    CPermission() = delete;

    /// The English text, untranslated; "Unknown" for anything but a value of the enumeration.
    static const char* name(Permission permission);
    /// A stored right set. Bits without a meaning are dropped with a warning, but an administrator keeps all.
    static QFlags<Permission> cast(unsigned int value);
    /// The translated texts of the rights that are set, each right to write beside its right to read. An administrator
    /// has all of them by name.
    static QStringList names(QFlags<Permission> permissions);
};
