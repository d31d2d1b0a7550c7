#include <server/api/api_subscribers_p.h>

#include <server/api/api_rules_p.h>
#include <server/api/api_values_p.h>

#include <foundation/datatypes/data_type.h>

bool ApiSubscribers::filterNotification(const QString& address, const QString&, const QString& source, qint64,
                                        QVariantMap* params)
{
    const auto subscriber = m_sessions.constFind(address);
    if (subscriber == m_sessions.cend())
        return false;
    const ApiSession session = m_find(*subscriber);
    if (!session.isValid())
        return true;
    if (source == QLatin1String("Access")) {
        if (!session.may(PermissionLogs))
            return true;
    } else if (source == QLatin1String("Devices")) {
        if (!session.may(PermissionDevicesRead))
            return true;
    } else if (source == QLatin1String("Model")) {
        const QString dataKey = QStringLiteral("data");
        QVariantMap data = params->value(dataKey).toMap();
        for (auto collection = data.begin(); collection != data.end();) {
            // It names users and groups without saying which is which.
            const auto users = ApiCollections::permission(collection.key(), 0, ApiUse::Reads);
            const auto groups = ApiCollections::permission(collection.key(), UserClassGroup, ApiUse::Reads);
            const bool isHeard = users && groups && (session.may(*users) || session.may(*groups));
            collection = isHeard ? std::next(collection) : data.erase(collection);
        }
        if (data.isEmpty() && !session.may(PermissionAdministrator))
            return true;
        params->insert(dataKey, data);
    } else if (!session.may(PermissionAdministrator)) {
        return true;
    }
    *params = ApiValues::withIdTexts(*params);
    return false;
}
