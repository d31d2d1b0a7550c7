#pragma once

#include <foundation/core/export.h>

#include <QtCore/QString>
#include <QtCore/QVariantMap>

/// Decides, notification by notification, what a subscriber may see.
///
///     bool filterNotification(const QString&, const QString&, const QString& source, qint64 authId,
///                             QVariantMap* params) override
///     {
///         params->remove(QStringLiteral("pin"));               // this subscriber's copy only
///         return source == QLatin1String("Users") && !m_permissions.mayReadUsers(authId);
///     }
///
/// Installed with CNotificationService::installNotificationFilter(), which does not take it over.
class KYR_FOUNDATION_EXPORT INotificationFilter
{
public:
    virtual ~INotificationFilter() = default;

    /// Returns true to withhold the notification `method` of `source` from the subscriber at `address`, who registered
    /// first as `authId`; false to send it with `params` as they were left. `params` is this subscriber's own copy.
    virtual bool filterNotification(const QString& address, const QString& method, const QString& source, qint64 authId,
                                    QVariantMap* params) = 0;
};
