#pragma once

#include <foundation/services/simple_access_control.h>

#include <memory>

class MockStore;

/// An installation in memory, for demonstrations and for work without a database.
///
///     CAccessControlMock mock;
///     const CItemId door(mock.getAccessPoint({{QStringLiteral("label"), QStringLiteral("Main Entrance")}})
///                            .value(QStringLiteral("id")).toLongLong());
///     const QList<CItemId> users = mock.getUsersOfAccessPoint(door);
///
/// It starts with a small building: three doors with their devices, five users in two groups, media, codes and a
/// holiday calendar. Ids, alone and in maps ("id", "userId" and so on), are 64-bit numbers, unique in the whole
/// installation; a new item gets the one above the highest in use. "Members" of a group is a CItemIdList, "Access
/// Points" of a user or group a list of maps, one for each right, with the "accessPointId" and the properties of the
/// right.
///
/// Relations stay whole: who is deleted disappears from groups, rights and codes, media become free (their "userId"
/// is 0). A change of an unknown item is refused as a whole; as a member, or as the access point of a right, an unknown
/// id (but 0) is kept as it is given. What is not modelled (logins, files, devices, opening doors and the like) answers
/// with false, an empty value or nothing; no signal is ever emitted.
class KYR_FOUNDATION_EXPORT CAccessControlMock : public ISimpleAccessControl
{
    Q_OBJECT

public:
    explicit CAccessControlMock(QObject* parent = nullptr);
    ~CAccessControlMock() override;

    /// The collection of that name: "AccessPoints" (also as "AccessPointLocations"), "AuthorizationPoints", "Devices",
    /// "UsersGroups", "Media", "Codes", "Holidays" or "HolidayCalendars"; empty for any other name.
    QList<QVariantMap> getMockObjectsForName(const QString& name) const;

    /// What matches by canonicalText().
    QVariantList getModel(const QString& name, const QVariantMap& filter, const QStringList& fields) const override;
    /// Replaces the collection by the list of maps under its name or under "data". Items get the id, class and label
    /// that they lack. What would be stored as something else is refused: nothing changes then, and a warning says why.
    /// (An item that is no map; an id that is no number above 0, or taken; a reference to what is not there; a code
    /// without an owner; a member that is a group, goes at the same time or stands twice.) For "Holidays" it also takes
    /// the requests "exists", "existsCalendar" (is there a holiday, a calendar, with that "label"?) and
    /// "insertCalendar" (false if the label is empty or taken): as a key beside "label", as a key whose value is the
    /// label, or as the value of "request".
    bool setModel(const QString& name, const QVariantMap& data) override;

    QVariantMap getAccessPoint(const QVariantMap& filter) const override;
    CItemId createAccessPoint(const QVariantMap& properties) override;
    bool deleteAccessPoint(CItemId accessPoint) override;
    /// "location" is the text of "Building", "Floor" and "Access Point", as far as they are given, joined by ", ".
    QVariant getAccessPointProperty(const QString& name, CItemId accessPoint) const override;
    bool setAccessPointProperty(const QString& name, const QVariant& value, CItemId accessPoint) override;
    bool deleteAccessPointProperty(const QString& name) override;
    bool setAccessPointsLocationProperties(const QVariantMap& properties, const QList<CItemId>& accessPoints) override;
    bool openAccessPoint(CItemId accessPoint, const QVariantMap& parameters) override;

    QVariant getAuthorizationPointProperty(const QString& name, CItemId authorizationPoint) const override;
    bool setAuthorizationPointProperty(const QString& name, const QVariant& value, CItemId authorizationPoint) override;
    bool deleteAuthorizationPointProperty(const QString& name) override;

    QVariantMap getUser(const QVariantMap& filter) const override;
    CItemId createUser(const QVariantMap& properties) override;
    bool deleteUser(CItemId user) override;
    bool deleteUsersAndGroups(const QList<CItemId>& usersAndGroups) override;
    QVariantMap cloneUserOrGroup(CItemId userOrGroup, const QStringList& properties) override;
    bool setUserProperty(const QString& name, const QVariant& value, CItemId user) override;
    QVariant getUserProperty(const QString& name, CItemId user) const override;
    bool deleteUserProperty(const QString& name) override;
    void addSmartAccessLoginToUser(CItemId user, const QVariantMap& parameters, MapCallback callback) override;

    QVariantMap getGroup(const QVariantMap& filter) const override;
    CItemId createGroup(const QVariantMap& properties) override;
    bool deleteGroup(CItemId group) override;
    bool setGroupProperty(const QString& name, const QVariant& value, CItemId group) override;
    QVariant getGroupProperty(const QString& name, CItemId group) const override;
    bool deleteGroupProperty(const QString& name) override;
    bool addUsersToGroup(const QList<CItemId>& users, CItemId group) override;
    bool removeUsersFromGroup(const QList<CItemId>& users, CItemId group) override;
    QList<CItemId> getUsersOfGroup(CItemId group) const override;
    QList<CItemId> getGroupsOfUser(CItemId user) const override;

    QVariantMap getRfidMedium(const QVariantMap& filter) const override;
    CItemId createRfidMedium(const QVariantMap& properties) override;
    bool deleteRfidMedium(CItemId medium) override;
    QVariant getRfidMediumProperty(const QString& name, CItemId medium) const override;
    bool setRfidMediumProperty(const QString& name, const QVariant& value, CItemId medium) override;
    bool startWaitingForRfidMedium(const CDeviceId& device) override;
    bool addRfidMediaToUser(const QList<CItemId>& media, CItemId user) override;
    QList<CItemId> getRfidMediaOfUser(CItemId user) const override;
    CItemId getUserOfRfidMedium(CItemId medium) const override;

    bool addAccessPointsToUser(const QList<CItemId>& accessPoints, CItemId user) override;
    bool deleteAccessPointsOfUser(const QList<CItemId>& accessPoints, CItemId user) override;
    QList<CItemId> getAccessPointsOfUser(CItemId user) const override;
    QList<CItemId> getUsersOfAccessPoint(CItemId accessPoint) const override;
    /// The right as a list of one map, empty when there is none; the two ids may stand in either order.
    QVariantList getAccessRightProperties(CItemId accessPoint, CItemId user) const override;
    /// Changes rights that the user has and adds those it lacks.
    bool setAccessRightProperties(const QList<CItemId>& accessPoints, CItemId user,
                                  const QVariantMap& properties) override;

    QVariant getSystemProperty(const QString& name, CItemId id) const override;
    bool setSystemProperty(const QString& name, const QVariant& value, CItemId id) override;
    bool deleteSystemProperty(const QString& name) override;
    /// Writes the event as a debug message.
    bool logEvent(const QString& text, const QString& source, int level, int eventClass, CItemId id, int flags,
                  bool option) override;
    CItemId getLoggedInId() const override;
    QStringList getUserReportTemplateNames() override;
    QVariantMap getSystemInfo() override;
    bool setSystemName(const QString& name) override;
    QStringList translate(const QStringList& texts, const QString& context, const QString& language) override;
    QVariantList getUserRelatedOpenerActions(const QVariantMap& filter, bool option) override;
    bool executeOpenerAuthorizationPoints(const QVariantList& authorizationPoints) override;
    QVariantMap getSystemInfoOfLoggedInUser() override;
    QVariantList getAccessPointsRelatedToLoggedInUser(const QString& text) override;
    bool executeAccessPointAsLoggedInUser(const QString& accessPoint, unsigned int action,
                                          const QVariantMap& parameters, const QVariantMap& options) override;
    bool addDeviceToAccessPoint(const QString& device, CItemId accessPoint, const QVariantMap& parameters) override;
    bool deleteDevice(const QString& device) override;
    void sendTemplateEmail(int templateId, const QStringList& recipients, const QVariantMap& parameters,
                           MapCallback callback) override;
    void sendCustomNotification(const QString& name, const QString& id, const QVariantMap& parameters,
                                MapCallback callback) override;
    bool simulateRfidMedium(const QString& device, unsigned int first, unsigned int second, int third,
                            int fourth) override;
    void quit() override;
    bool setNotifications(const QStringList& names) override;
    CNotificationService* getNotificationService() override;
    QString getAbsolutePath(const QString& path) override;

    bool hasLogins() const override;
    bool checkLogin(const QString& username, const QString& password, CItemId* user, QString* errorString,
                    bool* mfaRequired) const override;
    QString getTemporaryMfaSecret(const CItemId& user) override;
    QString getNewSessionId(const CItemId& user, unsigned int flags, const QString& client, const QString& address,
                            int* secondsToLive) override;
    QDateTime getSessionExpirationDate(const CItemId& user, const QString& sessionId) override;
    bool setLoggedInId(CItemId user, const QString& sessionId) override;
    bool hasPermission(const QString& permission, CItemId user, bool option) const override;

    bool importData(const QString& path) override;
    /// Nothing is written; the callback is called with false.
    void exportStream(QTextStream* stream, const QString& name, const QVariantMap& parameters,
                      std::function<void(bool)> callback) override;
    QByteArray getUserReportAsPdf(const QVariantMap& parameters) override;
    QStringList getSystemLog() override;
    QString getAcknowledgementsAsHtml() override;
    bool modifyCustomFile(const QString& name, bool remove, const QByteArray& content) override;
    bool setPluginConfigs(const QVariantMap& configs) override;
    QVariantMap getPluginConfig(const QString& name) override;
    bool unauthorized_request_new_password(const QString& username) override;
    bool unauthorized_set_new_password(const QString& token, const QString& password) override;
    QByteArray getSystemHashOfData(const QByteArray& data, int algorithm) const override;

private:
    std::unique_ptr<MockStore> m_store;
};
