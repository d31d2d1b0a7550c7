#pragma once

#include <server/api/api_call_p.h>
#include <server/api/api_logins_p.h>

#include <foundation/access/access_time_zone.h>

#include <QtCore/QPointer>
#include <QtCore/QVariantMap>

struct CAccessFacts;
class CNotificationService;
class IAccessFactsSource;

/// The methods that the script service has not. Those that are invokable are offered, "_" standing for ".", and their
/// parameters bear the names that are described; the table of rules says to whom.
///
/// Each runs for the call that was set last; it answers that, or its result does.
class ApiOperations : public QObject
{
    Q_OBJECT

public:
    ApiOperations(CSqlAccessControl* model, CAuditTrail* trail, ApiLogins* logins, QObject* parent);
    ~ApiOperations() override;

    const std::shared_ptr<ApiCall>& call() const { return m_call; }
    void setCall(const std::shared_ptr<ApiCall>& call) { m_call = call; }

    std::function<QVariantList()> deviceList;
    QPointer<CNotificationService> notifications;
    /// Before it hears of anything, and when its session ends.
    std::function<void(const CApiCaller& caller)> subscribing;
    std::function<bool(const CApiCaller& caller)> isSubscribed;
    std::function<void(const CApiCaller& caller)> loggedOut;

    Q_INVOKABLE QVariantMap login(const QString& name, const QString& password, const QString& oneTimePassword);
    Q_INVOKABLE QVariant logout();
    Q_INVOKABLE QVariantList system_describe();
    Q_INVOKABLE QVariant registerObserver(const QVariant& sources);
    Q_INVOKABLE QVariant unregisterObserver(const QVariant& sources);

    Q_INVOKABLE QVariantMap access_why(const QString& user, const QString& accessPoint, const QString& at,
                                       const QString& credential);
    Q_INVOKABLE QVariantList access_who(const QString& accessPoint, const QString& at, int limit);
    Q_INVOKABLE QVariantList access_doors(const QString& user, const QString& at, int limit);

    Q_INVOKABLE QVariantList events_list(const QVariantMap& filter, int limit);
    Q_INVOKABLE QVariantList devices_list();

    Q_INVOKABLE QVariantList items_find(const QString& collection, const QString& text, int limit, int itemClass);
    Q_INVOKABLE QVariant items_add(const QString& collection, const QVariantMap& properties);
    Q_INVOKABLE QVariant items_set(const QString& collection, const QString& id, const QVariantMap& properties);
    Q_INVOKABLE QVariant items_remove(const QString& collection, const QStringList& ids);

private:
    /// Nothing, and the call answered, when the text names none or several.
    CItemId find(const char* word, const QString& collection, int itemClass, const QString& name);
    std::optional<qint64> instant(const QString& text, const CAccessTimeZone& zone, CAccessTimeZone::DayEdge edge);
    QVariantList chains(const CAccessFacts& facts, const QString& at, int limit, bool ofDoor);
    bool isRead(const IAccessFactsSource& source);
    bool passToHub(const QString& method, const QVariant& sources);
    bool haveItems(const QString& collection, const QStringList& ids);

    CSqlAccessControl* m_model;
    CAuditTrail* m_trail;
    ApiLogins* m_logins;
    std::shared_ptr<ApiCall> m_call;
};
