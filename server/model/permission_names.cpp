#include <server/model/permission_names.h>

#include <QtCore/QVector>

namespace {

const QVector<Permission>& bits()
{
    static const QVector<Permission> all = [] {
        QVector<Permission> found;
        for (unsigned int bit = PermissionLoginWrite; bit <= PermissionSmartAccess; bit <<= 1)
            found.append(Permission(bit));
        return found;
    }();
    return all;
}

} // namespace

QString permissionName(Permission permission)
{
    return QString::fromLatin1(CPermission::name(permission)).remove(QLatin1Char(' '));
}

std::optional<Permission> permissionFromName(const QString& name)
{
    if (name.compare(permissionName(PermissionAdministrator), Qt::CaseInsensitive) == 0)
        return PermissionAdministrator;
    for (const Permission bit : bits()) {
        if (permissionName(bit).compare(name, Qt::CaseInsensitive) == 0)
            return bit;
    }
    return std::nullopt;
}

QStringList permissionNames(Permissions permissions)
{
    if (permissions == PermissionAdministrator)
        return {permissionName(PermissionAdministrator)};
    QStringList names;
    for (const Permission bit : bits()) {
        if (permissions.testFlag(bit))
            names.append(permissionName(bit));
    }
    return names;
}

QStringList allPermissionNames()
{
    return permissionNames(Permissions(QFlag(PermissionAdministrator & ~(1u << 31))));
}
