#pragma once

#include <server/database/export.h>

#include <foundation/datatypes/permission.h>

#include <QtCore/QString>

#include <optional>

/// What a method asks of who calls it.
enum class ApiGate
{
    Nobody,     ///< it is not offered
    Anyone,     ///< without a log-in, too
    LoggedIn,   ///< whoever is logged in
    Permission, ///< who has that permission
    Collection  ///< who has the permission of the collection that is named
};

enum class ApiUse
{
    Reads,
    Changes ///< answers false, or id 0, when the model refused it
};

/// One line of the table of permissions: nothing else says who may call what. A method that has no line is not offered.
struct ApiRule
{
    const char* method = nullptr;
    ApiGate gate = ApiGate::Nobody;
    Permission permission = PermissionNone;
    ApiUse use = ApiUse::Reads;
    int optional = 0; ///< parameters at the end that may be left out

    /// Null when there is none.
    static KYR_SERVER_TEST_EXPORT const ApiRule* find(const QString& method);

    /// What system.describe says: a permission's name, "" where a log-in is enough; null where not even that is needed.
    std::optional<QString> permissionText() const;
};

namespace ApiCollections {

/// What reading or changing items of a collection takes; nothing for an unknown collection. Of "UsersGroups" the class
/// of the item decides (UserClassGroup, or any other for users).
KYR_SERVER_TEST_EXPORT std::optional<Permission> permission(const QString& collection, int itemClass, ApiUse use);
/// All that any collection takes.
Permissions anyPermission(ApiUse use);

} // namespace ApiCollections
