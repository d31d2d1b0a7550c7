#include <server/api/api_rules_p.h>

#include <foundation/datatypes/data_type.h>
#include <server/model/permission_names.h>

#include <QtCore/QHash>

namespace {

constexpr ApiRule reads(const char* method, Permission permission, int optional = 0)
{
    return {method, ApiGate::Permission, permission, ApiUse::Reads, optional};
}

constexpr ApiRule changes(const char* method, Permission permission, int optional = 0)
{
    return {method, ApiGate::Permission, permission, ApiUse::Changes, optional};
}

constexpr ApiRule loggedIn(const char* method, int optional = 0)
{
    return {method, ApiGate::LoggedIn, PermissionNone, ApiUse::Reads, optional};
}

constexpr ApiRule rules[] = {
    {"login", ApiGate::Anyone, PermissionNone, ApiUse::Reads, 1},
    {"system.describe", ApiGate::Anyone},
    loggedIn("logout"),
    loggedIn("registerObserver"),
    loggedIn("unregisterObserver"),
    {"setNotificationHandler", ApiGate::Nobody}, // registerObserver takes its place

    reads("access.why", PermissionAccessRightsRead, 2),
    reads("access.who", PermissionAccessRightsRead, 2),
    reads("access.doors", PermissionAccessRightsRead, 2),
    reads("events.list", PermissionLogs, 2),
    reads("devices.list", PermissionDevicesRead),
    {"items.find", ApiGate::Collection, PermissionNone, ApiUse::Reads, 3},
    {"items.add", ApiGate::Collection, PermissionNone, ApiUse::Changes},
    {"items.set", ApiGate::Collection, PermissionNone, ApiUse::Changes},
    {"items.remove", ApiGate::Collection, PermissionNone, ApiUse::Changes},

    // Access points
    reads("getAccessPoint", PermissionAccessPointsRead),
    changes("createAccessPoint", PermissionAccessPointsWrite),
    changes("deleteAccessPoint", PermissionAccessPointsWrite),
    reads("getAccessPointProperty", PermissionAccessPointsRead),
    changes("setAccessPointProperty", PermissionAccessPointsWrite),
    changes("deleteAccessPointProperty", PermissionAccessPointsWrite),
    changes("setAccessPointsLocationProperties", PermissionAccessPointsWrite),
    changes("openAccessPoint", PermissionRemoteExecution, 1),
    changes("executeAccessPointAsLoggedInUser", PermissionRemoteExecution, 2),
    changes("addDeviceToAccessPoint", PermissionDevicesWrite, 1),
    loggedIn("getAccessPointsRelatedToLoggedInUser"),

    // Authorization points
    reads("getAuthorizationPointProperty", PermissionAccessPointsRead),
    changes("setAuthorizationPointProperty", PermissionAccessPointsWrite),
    changes("deleteAuthorizationPointProperty", PermissionAccessPointsWrite),

    // Users; groups among them are looked at one by one
    reads("getUser", PermissionUsersRead),
    changes("createUser", PermissionUsersWrite),
    changes("deleteUser", PermissionUsersWrite),
    changes("cloneUserOrGroup", PermissionUsersWrite),
    reads("getUserProperty", PermissionUsersRead),
    changes("setUserProperty", PermissionUsersWrite),
    changes("deleteUserProperty", PermissionUsersWrite),
    changes("addSmartAccessLoginToUser", PermissionLoginWrite, 1),
    changes("deleteUsersAndGroups", PermissionUsersWrite),

    // Groups
    reads("getGroup", PermissionUserGroupsRead),
    changes("createGroup", PermissionUserGroupsWrite),
    changes("deleteGroup", PermissionUserGroupsWrite),
    reads("getGroupProperty", PermissionUserGroupsRead),
    changes("setGroupProperty", PermissionUserGroupsWrite),
    changes("deleteGroupProperty", PermissionUserGroupsWrite),
    changes("addUsersToGroup", PermissionUserGroupRelations),
    changes("removeUsersFromGroup", PermissionUserGroupRelations),
    reads("getUsersOfGroup", PermissionUserGroupsRead),
    reads("getGroupsOfUser", PermissionUserGroupsRead),

    // Media
    reads("getRfidMedium", PermissionMediaRead),
    changes("createRfidMedium", PermissionMediaWrite),
    changes("deleteRfidMedium", PermissionMediaWrite),
    reads("getRfidMediumProperty", PermissionMediaRead),
    changes("setRfidMediumProperty", PermissionMediaWrite),
    changes("addRfidMediaToUser", PermissionMediaWrite),
    reads("getRfidMediaOfUser", PermissionMediaRead),
    reads("getUserOfRfidMedium", PermissionMediaRead),
    changes("simulateRfidMedium", PermissionRemoteExecution),
    changes("startWaitingForRfidMedium", PermissionMediaWrite),

    // Access rights
    changes("addAccessPointsToUser", PermissionAccessRightsWrite),
    changes("deleteAccessPointsOfUser", PermissionAccessRightsWrite),
    reads("getAccessPointsOfUser", PermissionAccessRightsRead),
    reads("getUsersOfAccessPoint", PermissionAccessRightsRead),
    reads("getAccessRightProperties", PermissionAccessRightsRead),
    changes("setAccessRightProperties", PermissionAccessRightsWrite),

    // The system
    reads("getSystemProperty", PermissionAdministrator),
    changes("setSystemProperty", PermissionAdministrator),
    changes("deleteSystemProperty", PermissionAdministrator),
    loggedIn("getSystemInfo"),
    loggedIn("getSystemInfoOfLoggedInUser"),
    changes("setSystemName", PermissionAdministrator),
    changes("deleteDevice", PermissionDevicesWrite),
    loggedIn("getLoggedInId"),
    reads("getUserReportTemplateNames", PermissionUsersRead),
    changes("setNotifications", PermissionAdministrator),
    loggedIn("translate"),
    changes("quit", PermissionAdministrator, 1),
    loggedIn("getMapping"),

    // The model as a whole
    {"getModel", ApiGate::Collection, PermissionNone, ApiUse::Reads, 2},
    changes("setModel", PermissionAdministrator),

    // Openers
    reads("getUserRelatedOpenerActions", PermissionAccessRightsRead, 1),
    changes("executeOpenerAuthorizationPoints", PermissionRemoteExecution),

    // Log, mail, devices
    changes("logEvent", PermissionLogs),
    changes("sendTemplateEmail", PermissionAdministrator, 1),
    changes("sendCustomNotification", PermissionAdministrator, 1),
    changes("deviceOperation", PermissionAdministrator, 1),
    changes("deviceAction", PermissionAdministrator, 1),
};

struct CollectionRule
{
    const char* collection;
    Permission read;
    Permission write;
};

constexpr CollectionRule groups = {"UsersGroups", PermissionUserGroupsRead, PermissionUserGroupsWrite};
constexpr CollectionRule collections[] = {
    {"AccessPoints", PermissionAccessPointsRead, PermissionAccessPointsWrite},
    {"AccessPointLocations", PermissionAccessPointsRead, PermissionAccessPointsWrite},
    {"AuthorizationPoints", PermissionAccessPointsRead, PermissionAccessPointsWrite},
    {"Devices", PermissionDevicesRead, PermissionDevicesWrite},
    {"UsersGroups", PermissionUsersRead, PermissionUsersWrite},
    {"Media", PermissionMediaRead, PermissionMediaWrite},
    {"Codes", PermissionCodesRead, PermissionCodesWrite},
    {"Holidays", PermissionTimeProfilesRead, PermissionTimeProfilesWrite},
    {"HolidayCalendars", PermissionTimeProfilesRead, PermissionTimeProfilesWrite},
    {"TimeProfiles", PermissionTimeProfilesRead, PermissionTimeProfilesWrite},
};

constexpr Permission permissionOf(const CollectionRule& rule, ApiUse use)
{
    return use == ApiUse::Reads ? rule.read : rule.write;
}

} // namespace

const ApiRule* ApiRule::find(const QString& method)
{
    static const QHash<QString, const ApiRule*> all = [] {
        QHash<QString, const ApiRule*> byName;
        for (const ApiRule& rule : rules)
            byName.insert(QString::fromLatin1(rule.method), &rule);
        return byName;
    }();
    return all.value(method);
}

std::optional<QString> ApiRule::permissionText() const
{
    switch (gate) {
    case ApiGate::Permission:
        return permissionName(permission);
    case ApiGate::Collection:
        return QStringLiteral("by collection");
    case ApiGate::LoggedIn:
        return QString();
    case ApiGate::Anyone:
    case ApiGate::Nobody:
        break;
    }
    return std::nullopt;
}

std::optional<Permission> ApiCollections::permission(const QString& collection, int itemClass, ApiUse use)
{
    for (const CollectionRule& rule : collections) {
        if (collection == QLatin1String(rule.collection))
            return permissionOf(itemClass == UserClassGroup && rule.read == PermissionUsersRead ? groups : rule, use);
    }
    return std::nullopt;
}

Permissions ApiCollections::anyPermission(ApiUse use)
{
    Permissions all = permissionOf(groups, use);
    for (const CollectionRule& rule : collections)
        all |= permissionOf(rule, use);
    return all;
}
