#pragma once

#include <server/api/api_call_p.h>

#include <foundation/services/notification_filter.h>

#include <QtCore/QHash>

/// Lets subscribers with a session hear of what that session may read.
class ApiSubscribers : public INotificationFilter
{
public:
    /// Looks a session up each time: what it may do changes at once.
    explicit ApiSubscribers(const std::function<ApiSession(const QString& session)>& find)
        : m_find(find)
    {
    }

    void add(const QString& subscriber, const QString& session) { m_sessions.insert(subscriber, session); }
    bool contains(const QString& subscriber) const { return m_sessions.contains(subscriber); }
    void remove(const QString& subscriber) { m_sessions.remove(subscriber); }

    bool filterNotification(const QString& address, const QString& method, const QString& source, qint64 authId,
                            QVariantMap* params) override;

private:
    std::function<ApiSession(const QString&)> m_find;
    QHash<QString, QString> m_sessions; // by subscriber
};
