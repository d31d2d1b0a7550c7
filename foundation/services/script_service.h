#pragma once

#include <foundation/core/export.h>
#include <foundation/core/item_id.h>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <functional>

class PendingAnswer;
class IDeviceService;
class ISimpleAccessControl;

/// What a script, or any other loosely typed client, sees of the access-control model and of the devices.
///
///     CScriptService service(model, deviceService, this);
///     const QVariant user = service.createUser({{QStringLiteral("label"), QStringLiteral("Ada Moser")}});   // "4711"
///     service.addUsersToGroup({user.toString()}, QStringLiteral("41"));
///     service.deviceAction(QStringLiteral("open"), {{QStringLiteral("deviceId"), 123456}},
///                          [](const QVariantMap& result) { qDebug() << result; });
///
/// Ids are decimal texts both ways (a text that is no number is id 0, a list of ids is a list of texts), devices are
/// named by their labels. Each operation calls the one of the same name of ISimpleAccessControl, which says what it
/// does. In its results the entries "id" and those ending with "Id" become texts, also in the lists under "nodes".
///
/// Neither model nor device service is owned, and either may be nullptr or go first: then operations answer with empty
/// values, and who waits gets an empty map. A callback is called once at most, from within the call or later, and not
/// after the script service is gone. An empty callback is noted in the log, and the operation runs without it.
class KYR_FOUNDATION_EXPORT CScriptService : public QObject
{
    Q_OBJECT

public:
    using Callback = std::function<void(const QVariantMap&)>;
    using NotificationHandler =
        std::function<void(const QString& name, const QVariantMap& parameters, const QString& extension)>;

    CScriptService(ISimpleAccessControl* accessControl, IDeviceService* deviceService, const QObject* parent = nullptr);
    ~CScriptService() override;

    // Access points
    Q_INVOKABLE QVariantMap getAccessPoint(const QVariantMap& filter) const;
    Q_INVOKABLE QVariant createAccessPoint(const QVariantMap& properties);
    Q_INVOKABLE QVariant deleteAccessPoint(const QString& id);
    Q_INVOKABLE QVariant getAccessPointProperty(const QString& name, const QString& id) const;
    Q_INVOKABLE QVariant setAccessPointProperty(const QString& name, const QVariant& value, const QString& id);
    Q_INVOKABLE QVariant deleteAccessPointProperty(const QString& name);
    Q_INVOKABLE QVariant setAccessPointsLocationProperties(const QVariantMap& properties, const QStringList& ids);
    Q_INVOKABLE QVariant openAccessPoint(const QString& id, const QVariantMap& parameters);
    Q_INVOKABLE QVariant executeAccessPointAsLoggedInUser(const QString& id, unsigned int action,
                                                          const QVariantMap& parameters, const QVariantMap& options);
    Q_INVOKABLE QVariant addDeviceToAccessPoint(const QString& device, const QString& id,
                                                const QVariantMap& parameters);
    Q_INVOKABLE QVariantList getAccessPointsRelatedToLoggedInUser(const QString& text);

    // Authorization points
    Q_INVOKABLE QVariant getAuthorizationPointProperty(const QString& name, const QString& id) const;
    Q_INVOKABLE QVariant setAuthorizationPointProperty(const QString& name, const QVariant& value, const QString& id);
    Q_INVOKABLE QVariant deleteAuthorizationPointProperty(const QString& name);

    // Users
    Q_INVOKABLE QVariantMap getUser(const QVariantMap& filter) const;
    Q_INVOKABLE QVariant createUser(const QVariantMap& properties);
    Q_INVOKABLE QVariant deleteUser(const QString& id);
    Q_INVOKABLE QVariantMap cloneUserOrGroup(const QString& id, const QStringList& properties);
    Q_INVOKABLE QVariant getUserProperty(const QString& name, const QString& id) const;
    Q_INVOKABLE QVariant setUserProperty(const QString& name, const QVariant& value, const QString& id);
    Q_INVOKABLE QVariant deleteUserProperty(const QString& name);
    Q_INVOKABLE void addSmartAccessLoginToUser(const QString& id, const QVariantMap& parameters,
                                               const Callback& callback);

    // Groups
    Q_INVOKABLE QVariantMap getGroup(const QVariantMap& filter) const;
    Q_INVOKABLE QVariant createGroup(const QVariantMap& properties);
    Q_INVOKABLE QVariant deleteGroup(const QString& id);
    Q_INVOKABLE QVariant getGroupProperty(const QString& name, const QString& id) const;
    Q_INVOKABLE QVariant setGroupProperty(const QString& name, const QVariant& value, const QString& id);
    Q_INVOKABLE QVariant deleteGroupProperty(const QString& name);
    Q_INVOKABLE QVariant addUsersToGroup(const QStringList& users, const QString& group);
    Q_INVOKABLE QVariant removeUsersFromGroup(const QStringList& users, const QString& group);
    Q_INVOKABLE QVariantList getUsersOfGroup(const QString& group) const;
    Q_INVOKABLE QVariantList getGroupsOfUser(const QString& user) const;
    Q_INVOKABLE QVariant deleteUsersAndGroups(const QStringList& ids);

    // RFID media
    Q_INVOKABLE QVariantMap getRfidMedium(const QVariantMap& filter) const;
    Q_INVOKABLE QVariant createRfidMedium(const QVariantMap& properties);
    Q_INVOKABLE QVariant deleteRfidMedium(const QString& id);
    Q_INVOKABLE QVariant getRfidMediumProperty(const QString& name, const QString& id) const;
    Q_INVOKABLE QVariant setRfidMediumProperty(const QString& name, const QVariant& value, const QString& id);
    Q_INVOKABLE QVariant addRfidMediaToUser(const QStringList& media, const QString& user);
    Q_INVOKABLE QVariantList getRfidMediaOfUser(const QString& user) const;
    Q_INVOKABLE QVariant getUserOfRfidMedium(const QString& medium) const;
    Q_INVOKABLE QVariant simulateRfidMedium(const QString& device, unsigned int a, unsigned int b, int c, int d);
    /// Calls back with the properties of the medium that is detected next, an empty map if the wait cannot begin.
    Q_INVOKABLE void startWaitingForRfidMedium(const QString& deviceLabel, const Callback& callback);

    // Access rights
    Q_INVOKABLE QVariant addAccessPointsToUser(const QStringList& accessPoints, const QString& user);
    Q_INVOKABLE QVariant deleteAccessPointsOfUser(const QStringList& accessPoints, const QString& user);
    Q_INVOKABLE QVariantList getAccessPointsOfUser(const QString& user) const;
    Q_INVOKABLE QVariantList getUsersOfAccessPoint(const QString& accessPoint) const;
    Q_INVOKABLE QVariantList getAccessRightProperties(const QString& first, const QString& second) const;
    Q_INVOKABLE QVariant setAccessRightProperties(const QStringList& accessPoints, const QString& user,
                                                  const QVariantMap& properties);

    // The system
    Q_INVOKABLE QVariant getSystemProperty(const QString& name, const QString& id) const;
    Q_INVOKABLE QVariant setSystemProperty(const QString& name, const QVariant& value, const QString& id);
    Q_INVOKABLE QVariant deleteSystemProperty(const QString& name);
    Q_INVOKABLE QVariantMap getSystemInfo();
    Q_INVOKABLE QVariantMap getSystemInfoOfLoggedInUser();
    Q_INVOKABLE QVariant setSystemName(const QString& name);
    Q_INVOKABLE QVariant deleteDevice(const QString& device);
    Q_INVOKABLE QVariant getLoggedInId() const;
    Q_INVOKABLE QVariantList getUserReportTemplateNames();
    Q_INVOKABLE QVariant setNotifications(const QStringList& names);
    Q_INVOKABLE QVariantList translate(const QStringList& texts, const QString& context, const QString& language);
    /// The model takes no reason: it is dropped.
    Q_INVOKABLE void quit(const QString& reason);

    // The model as a whole
    Q_INVOKABLE QVariantList getModel(const QString& name, const QVariantMap& filter, const QStringList& fields) const;
    Q_INVOKABLE QVariant setModel(const QString& name, const QVariantMap& data);

    // Openers
    Q_INVOKABLE QVariantList getUserRelatedOpenerActions(const QVariantMap& filter, bool flag);
    Q_INVOKABLE QVariant executeOpenerAuthorizationPoints(const QVariantList& list);

    // Log and mail
    Q_INVOKABLE QVariant logEvent(const QString& text, const QString& source, int level, int eventClass,
                                  const QString& id, int flags, bool option);
    Q_INVOKABLE void sendTemplateEmail(int templateId, const QStringList& recipients, const QVariantMap& parameters,
                                       const Callback& callback);
    Q_INVOKABLE void sendCustomNotification(const QString& name, const QString& id, const QVariantMap& parameters,
                                            const Callback& callback);

    /// Runs an operation and calls back with its stored properties and, made from those that are there, "deviceid",
    /// "systemid", "cardArchitecture" and "publicMediaLabel" as people write them; "uid" and "results" are turned into
    /// texts. An operation that cannot be made gives a map with "errorString", or an empty one.
    Q_INVOKABLE void deviceOperation(const QString& name, const QVariantMap& parameters, const Callback& callback);
    /// Runs an action and calls back with its result, an empty map if it cannot be made.
    Q_INVOKABLE void deviceAction(const QString& name, const QVariantMap& parameters, const Callback& callback);

    /// From now on the model's notifications go to `handler` instead of an earlier one; what "changed" is told with
    /// ids as texts.
    Q_INVOKABLE void setNotificationHandler(const NotificationHandler& handler);

    /// Values (as decimal texts) and display texts of an enumeration: "DeviceType", "UserClass", "CardArchitecture",
    /// "CardMediumType", "DeviceRole", "AccessPointFunction", "AuthPointClass", "UserAction", "OutputType",
    /// "ActionProfileClass" or "PositionClass"; empty for any other name.
    Q_INVOKABLE QVariantMap getMapping(const QString& name) const;
    /// The names of these enumerations.
    static QStringList mappingNames();

private:
    template<typename Operation, typename... Arguments>
    auto call(Operation operation, Arguments&&... arguments) const;
    template<typename Operation>
    QVariant property(Operation operation, const QString& name, const QString& id) const;
    PendingAnswer* newPendingAnswer(const Callback& callback, const char* operation);
    Callback guarded(const Callback& callback, const char* operation);

    QPointer<ISimpleAccessControl> m_accessControl;
    QPointer<IDeviceService> m_deviceService;
    QPointer<QObject> m_notificationAdapter;
};
