#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/export.h>
#include <foundation/core/item_id.h>

#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtNetwork/QSslSocket>

#include <functional>

class CNotificationService;
class QTextStream;

/// The access-control model of one installation: users, groups, access points, media and what connects them. The host
/// implements it over its database; CAccessControlMock is one in memory.
///
///     const CItemId user = model->createUser({{QStringLiteral("label"), QStringLiteral("Ada Moser")}});
///     model->addUsersToGroup({user}, group);
///     const QVariant label = model->getUserProperty(QStringLiteral("label"), user);
///
/// What the operations answer:
/// - a query by filter: the properties of the first item that has all the values of the filter, its id under "id";
///   an empty map when there is none;
/// - a query of several items: a list of such maps;
/// - create: the id of the new item, 0 when it could not be made;
/// - a property: its value, invalid when the item or the property is unknown;
/// - changes and deletions: whether they were made. delete…Property() removes the definition of a property, for all
///   items of that kind;
/// - relations: ids, in the order of the model.
///
/// Results that take time come through the callback given last, once, from the event loop or before the call returns.
/// The order of the virtual functions is part of the binary interface: add at the end only.
class KYR_FOUNDATION_EXPORT ISimpleAccessControl : public QObject
{
    Q_OBJECT

public:
    using MapCallback = std::function<void(const QVariantMap&)>;

    explicit ISimpleAccessControl(QObject* parent);
    ~ISimpleAccessControl() override;

    /// A whole collection by name, as a list of property maps; `fields` restricts the properties, empty means all.
    Q_INVOKABLE virtual QVariantList getModel(const QString& name, const QVariantMap& filter,
                                              const QStringList& fields) const = 0;
    Q_INVOKABLE virtual bool setModel(const QString& name, const QVariantMap& data) = 0;

    // Access points
    Q_INVOKABLE virtual QVariantMap getAccessPoint(const QVariantMap& filter) const = 0;
    Q_INVOKABLE virtual CItemId createAccessPoint(const QVariantMap& properties) = 0;
    Q_INVOKABLE virtual bool deleteAccessPoint(CItemId accessPoint) = 0;
    Q_INVOKABLE virtual QVariant getAccessPointProperty(const QString& name, CItemId accessPoint) const = 0;
    Q_INVOKABLE virtual bool setAccessPointProperty(const QString& name, const QVariant& value,
                                                    CItemId accessPoint) = 0;
    Q_INVOKABLE virtual bool deleteAccessPointProperty(const QString& name) = 0;
    Q_INVOKABLE virtual bool setAccessPointsLocationProperties(const QVariantMap& properties,
                                                               const QList<CItemId>& accessPoints) = 0;
    Q_INVOKABLE virtual bool openAccessPoint(CItemId accessPoint, const QVariantMap& parameters) = 0;

    // Authorization points
    Q_INVOKABLE virtual QVariant getAuthorizationPointProperty(const QString& name,
                                                               CItemId authorizationPoint) const = 0;
    Q_INVOKABLE virtual bool setAuthorizationPointProperty(const QString& name, const QVariant& value,
                                                           CItemId authorizationPoint) = 0;
    Q_INVOKABLE virtual bool deleteAuthorizationPointProperty(const QString& name) = 0;

    // Users
    Q_INVOKABLE virtual QVariantMap getUser(const QVariantMap& filter) const = 0;
    Q_INVOKABLE virtual CItemId createUser(const QVariantMap& properties) = 0;
    Q_INVOKABLE virtual bool deleteUser(CItemId user) = 0;
    Q_INVOKABLE virtual bool deleteUsersAndGroups(const QList<CItemId>& usersAndGroups) = 0;
    /// Copies an item with the properties named; the copy's properties, or "status" and "error".
    Q_INVOKABLE virtual QVariantMap cloneUserOrGroup(CItemId userOrGroup, const QStringList& properties) = 0;
    Q_INVOKABLE virtual bool setUserProperty(const QString& name, const QVariant& value, CItemId user) = 0;
    Q_INVOKABLE virtual QVariant getUserProperty(const QString& name, CItemId user) const = 0;
    Q_INVOKABLE virtual bool deleteUserProperty(const QString& name) = 0;
    Q_INVOKABLE virtual void addSmartAccessLoginToUser(CItemId user, const QVariantMap& parameters,
                                                       MapCallback callback) = 0;

    // Groups
    Q_INVOKABLE virtual QVariantMap getGroup(const QVariantMap& filter) const = 0;
    Q_INVOKABLE virtual CItemId createGroup(const QVariantMap& properties) = 0;
    Q_INVOKABLE virtual bool deleteGroup(CItemId group) = 0;
    Q_INVOKABLE virtual bool setGroupProperty(const QString& name, const QVariant& value, CItemId group) = 0;
    Q_INVOKABLE virtual QVariant getGroupProperty(const QString& name, CItemId group) const = 0;
    Q_INVOKABLE virtual bool deleteGroupProperty(const QString& name) = 0;
    Q_INVOKABLE virtual bool addUsersToGroup(const QList<CItemId>& users, CItemId group) = 0;
    Q_INVOKABLE virtual bool removeUsersFromGroup(const QList<CItemId>& users, CItemId group) = 0;
    Q_INVOKABLE virtual QList<CItemId> getUsersOfGroup(CItemId group) const = 0;
    Q_INVOKABLE virtual QList<CItemId> getGroupsOfUser(CItemId user) const = 0;

    // RFID media
    Q_INVOKABLE virtual QVariantMap getRfidMedium(const QVariantMap& filter) const = 0;
    Q_INVOKABLE virtual CItemId createRfidMedium(const QVariantMap& properties) = 0;
    Q_INVOKABLE virtual bool deleteRfidMedium(CItemId medium) = 0;
    Q_INVOKABLE virtual QVariant getRfidMediumProperty(const QString& name, CItemId medium) const = 0;
    Q_INVOKABLE virtual bool setRfidMediumProperty(const QString& name, const QVariant& value, CItemId medium) = 0;
    /// After it has returned true, what the reader of that device detects next is reported by rfidMediumDetected().
    Q_INVOKABLE virtual bool startWaitingForRfidMedium(const CDeviceId& device) = 0;
    Q_INVOKABLE virtual bool addRfidMediaToUser(const QList<CItemId>& media, CItemId user) = 0;
    Q_INVOKABLE virtual QList<CItemId> getRfidMediaOfUser(CItemId user) const = 0;
    /// 0 for a medium without an owner.
    Q_INVOKABLE virtual CItemId getUserOfRfidMedium(CItemId medium) const = 0;

    // Access rights
    Q_INVOKABLE virtual bool addAccessPointsToUser(const QList<CItemId>& accessPoints, CItemId user) = 0;
    Q_INVOKABLE virtual bool deleteAccessPointsOfUser(const QList<CItemId>& accessPoints, CItemId user) = 0;
    Q_INVOKABLE virtual QList<CItemId> getAccessPointsOfUser(CItemId user) const = 0;
    Q_INVOKABLE virtual QList<CItemId> getUsersOfAccessPoint(CItemId accessPoint) const = 0;
    /// One map for each right that the user has at the access point.
    Q_INVOKABLE virtual QVariantList getAccessRightProperties(CItemId accessPoint, CItemId user) const = 0;
    Q_INVOKABLE virtual bool setAccessRightProperties(const QList<CItemId>& accessPoints, CItemId user,
                                                      const QVariantMap& properties) = 0;

    // The system
    Q_INVOKABLE virtual QVariant getSystemProperty(const QString& name, CItemId id) const = 0;
    Q_INVOKABLE virtual bool setSystemProperty(const QString& name, const QVariant& value, CItemId id) = 0;
    Q_INVOKABLE virtual bool deleteSystemProperty(const QString& name) = 0;
    /// Whether the event was stored; `id` is the item concerned.
    Q_INVOKABLE virtual bool logEvent(const QString& text, const QString& source, int level, int eventClass, CItemId id,
                                      int flags, bool option) = 0;
    Q_INVOKABLE virtual CItemId getLoggedInId() const = 0;
    Q_INVOKABLE virtual QStringList getUserReportTemplateNames() = 0;
    Q_INVOKABLE virtual QVariantMap getSystemInfo() = 0;
    Q_INVOKABLE virtual bool setSystemName(const QString& name) = 0;
    /// Keeps the order of `texts`.
    Q_INVOKABLE virtual QStringList translate(const QStringList& texts, const QString& context,
                                              const QString& language) = 0;
    Q_INVOKABLE virtual QVariantList getUserRelatedOpenerActions(const QVariantMap& filter, bool option) = 0;
    Q_INVOKABLE virtual bool executeOpenerAuthorizationPoints(const QVariantList& authorizationPoints) = 0;
    Q_INVOKABLE virtual QVariantMap getSystemInfoOfLoggedInUser() = 0;
    Q_INVOKABLE virtual QVariantList getAccessPointsRelatedToLoggedInUser(const QString& text) = 0;
    Q_INVOKABLE virtual bool executeAccessPointAsLoggedInUser(const QString& accessPoint, unsigned int action,
                                                              const QVariantMap& parameters,
                                                              const QVariantMap& options) = 0;
    Q_INVOKABLE virtual bool addDeviceToAccessPoint(const QString& device, CItemId accessPoint,
                                                    const QVariantMap& parameters) = 0;
    Q_INVOKABLE virtual bool deleteDevice(const QString& device) = 0;
    Q_INVOKABLE virtual void sendTemplateEmail(int templateId, const QStringList& recipients,
                                               const QVariantMap& parameters, MapCallback callback) = 0;
    Q_INVOKABLE virtual void sendCustomNotification(const QString& name, const QString& id,
                                                    const QVariantMap& parameters, MapCallback callback) = 0;
    Q_INVOKABLE virtual bool simulateRfidMedium(const QString& device, unsigned int first, unsigned int second,
                                                int third, int fourth) = 0;
    Q_INVOKABLE virtual void quit() = 0;
    Q_INVOKABLE virtual bool setNotifications(const QStringList& names) = 0;
    /// The hub of this installation, not handed over; may be nullptr.
    Q_INVOKABLE virtual CNotificationService* getNotificationService() = 0;
    Q_INVOKABLE virtual QString getAbsolutePath(const QString& path) = 0;

    // Logins and sessions of the host
    Q_INVOKABLE virtual bool hasLogins() const = 0;
    /// The pointers take further results; nullptr where one is not wanted, here and below.
    Q_INVOKABLE virtual bool checkLogin(const QString& username, const QString& password, CItemId* user,
                                        QString* errorString, bool* mfaRequired) const = 0;
    /// Like a session and its date, empty when it fails.
    Q_INVOKABLE virtual QString getTemporaryMfaSecret(const CItemId& user) = 0;
    Q_INVOKABLE virtual QString getNewSessionId(const CItemId& user, unsigned int flags, const QString& client,
                                                const QString& address, int* secondsToLive) = 0;
    Q_INVOKABLE virtual QDateTime getSessionExpirationDate(const CItemId& user, const QString& sessionId) = 0;
    Q_INVOKABLE virtual bool setLoggedInId(CItemId user, const QString& sessionId) = 0;
    Q_INVOKABLE virtual bool hasPermission(const QString& permission, CItemId user, bool option) const = 0;

    // Files, exports and reports
    Q_INVOKABLE virtual bool importData(const QString& path) = 0;
    Q_INVOKABLE virtual void exportStream(QTextStream* stream, const QString& name, const QVariantMap& parameters,
                                          std::function<void(bool)> callback) = 0;
    Q_INVOKABLE virtual QByteArray getUserReportAsPdf(const QVariantMap& parameters) = 0;
    Q_INVOKABLE virtual QStringList getSystemLog() = 0;
    Q_INVOKABLE virtual QString getAcknowledgementsAsHtml() = 0;
    Q_INVOKABLE virtual bool modifyCustomFile(const QString& name, bool remove, const QByteArray& content) = 0;
    Q_INVOKABLE virtual bool setPluginConfigs(const QVariantMap& configs) = 0;
    Q_INVOKABLE virtual QVariantMap getPluginConfig(const QString& name) = 0;

    // For callers who are not logged in
    Q_INVOKABLE virtual bool unauthorized_request_new_password(const QString& username) = 0;
    Q_INVOKABLE virtual bool unauthorized_set_new_password(const QString& token, const QString& password) = 0;

    Q_INVOKABLE virtual QByteArray getSystemHashOfData(const QByteArray& data, int algorithm) const = 0;

    /// Bracket changes that belong together. A model without transactions keeps these, which do nothing.
    Q_INVOKABLE virtual void beginTransaction(const QString& name);
    Q_INVOKABLE virtual void endTransaction();

Q_SIGNALS:
    void rfidMediumDetected(const QVariantMap& properties);
    void notify(const QString& name, const QVariantMap& parameters, const QString& extension);
    void loginsChanged();
    void loginPasswordChanged(const QString& username);
    void mfaSessionsChanged();
    void aboutToQuit();
    /// A gateway asks for a WebSocket; `peerAddrChain` names the peer and the proxies on the way.
    void gwWebSocketRequestReceived(QSslSocket* socket, const QString& peerAddrChain);
};
