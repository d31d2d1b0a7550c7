#pragma once

#include <server/database/export.h>

#include <foundation/datatypes/permission.h>

#include <QtCore/QStringList>

#include <optional>

/// A permission as programs name it: "UsersRead", "AccessPointsWrite", ..., "Administrator".
KYR_SERVER_EXPORT QString permissionName(Permission permission);
/// In any case of letters; nothing for an unknown name.
KYR_SERVER_EXPORT std::optional<Permission> permissionFromName(const QString& name);
/// Those that are set, in the order of their bits; all bits are "Administrator" alone.
KYR_SERVER_EXPORT QStringList permissionNames(Permissions permissions);
/// All there are but "Administrator".
KYR_SERVER_EXPORT QStringList allPermissionNames();
