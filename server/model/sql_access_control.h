#pragma once

#include <server/database/database.h>

#include <foundation/services/simple_access_control.h>

#include <memory>

class IModelDevices;
class IModelMail;
class IModelRecorder;
class IReportGenerator;
struct CPasswordHash;

/// The model of an installation in a database: what is entered stays.
///
///     CSqlAccessControl model;
///     if (!model.open(QStringLiteral("/var/lib/kyr/installation.db")))
///         return fail(model.errorString());
///     const CItemId user = model.createUser({{QStringLiteral("label"), QStringLiteral("Ada Moser")}});
///     if (user == CItemId())
///         return fail(model.errorString());                  // true and an id mean: stored, whatever happens next
///
/// "memory" opens the demonstration installation, in memory. Where the file is, and what CDatabase says of it, see
/// there.
///
/// What it does otherwise than CAccessControlMock:
/// - Relations to items that are not there are refused, and an id is never given twice.
/// - Values that decide about access are read when they are set: "enabled" and "blocked" are true or false (also as
///   texts), "validFrom" and "validTo" are date-times, dates (the begin, the end of the day) or ISO 8601 texts of both,
///   without an offset in local time; "slots" of a schedule are a text that CTimeProfile reads; "uid" of a medium 4, 7
///   or 8 bytes or such a label, "code" of a code 1 to 12 digits, each once; "timeZone" of a door is one that is known.
/// - An invalid value takes a property of an item away. "Members", "Access Points", "userId" and "class" are given
///   when an item is made, and then changed by the operations of relations alone; addRfidMediaToUser() with user 0
///   frees media.
/// - A holder may have several rights at a door, each a map with its "id", "accessPointId" and, as far as they are
///   given, "timeProfileId" (without one: always), "options" (CDataType::AccessRightOption), "validFrom", "validTo"
///   and others. setAccessRightProperties() changes all of them, or the one whose "id" is given; addAccessRight()
///   adds another one.
/// - Who is deleted takes codes, memberships, rights and logins along. A schedule that a right names, and a calendar
///   that a schedule names, cannot be deleted.
/// - There is a collection "TimeProfiles": schedules, with "slots" and "calendarId".
///
/// Operations that need a device go over setDevices(), and answer false, with errorString(), where the device is not
/// linked; true means that the command is on its way. openAccessPoint() takes "seconds" and "comment";
/// executeAccessPointAsLoggedInUser() does UserActionOpen (0 as well) and UserActionOpenLong, at doors where the user
/// has a right that holds now; executeOpenerAuthorizationPoints() opens the doors of the openers, given as ids or maps
/// with "id", under the same rule. simulateRfidMedium() takes the UID as a number, its upper and its lower 32 bits, and
/// the bytes that it has (4, 7, 8; 0: as many as it needs). Neutral stay, as this model has nothing
/// behind them: unauthorized_request_new_password() and unauthorized_set_new_password() (false),
/// addSmartAccessLoginToUser() ("status" is "error"), modifyCustomFile() and setPluginConfigs() (false),
/// getPluginConfig() (empty), getAcknowledgementsAsHtml() (empty).
///
/// After a change, notify("Model", {"event": "changed", "data": {COLLECTION: [{"id": N}, ...]}, "seq": N}, "") is
/// emitted, when it is stored; for changes of other processes within CDatabase::watchInterval, too. An empty list: more
/// of that collection than are named one by one. A receiver may call the model, and may delete it.
class KYR_SERVER_EXPORT CSqlAccessControl : public ISimpleAccessControl
{
    Q_OBJECT

public:
    explicit CSqlAccessControl(QObject* parent = nullptr);
    ~CSqlAccessControl() override;

    /// See CDatabase::open().
    bool open(const QString& location);
    CDatabase* database() const;
    /// Why the last operation that answered with false, 0 or nothing did so, in one line for a person; empty after one
    /// that succeeded. Within a transaction the first reason stays until its end.
    QString errorString() const;

    // --- Beyond the interface: any collection, one item at a time

    /// Runs several changes as one, before it returns: they are stored when `work` answers true and none of them was
    /// refused; else none is. False with the reason in errorString().
    bool changeAll(const std::function<bool()>& work);

    /// Codes, holidays, calendars, schedules, devices and authorization points, too. Relations may be given by their
    /// keys. The new id; 0 when it was refused.
    CItemId createItem(const QString& collection, const QVariantMap& properties);
    bool deleteItem(const QString& collection, CItemId item);
    QVariant getItemProperty(const QString& collection, const QString& name, CItemId item) const;
    /// Also "calendarId" of a holiday or schedule, "accessPointId" of a device or authorization point, "userId" of a
    /// code; 0 takes it away.
    bool setItemProperty(const QString& collection, const QString& name, const QVariant& value, CItemId item);
    /// The names of the properties that items of the collection have.
    QStringList getPropertyNames(const QString& collection) const;
    /// The first items of a collection, and of that class (0: of any), whose label contains a text, in whichever case
    /// of its letters from A to Z; by their ids. In *left how many more there are.
    QList<CItemId> findByLabel(const QString& collection, int itemClass, const QString& text, int limit,
                               qint64* left) const;
    /// The name of the collection that an item is in; "" when there is no such item.
    QString getCollectionOf(CItemId item) const;

    /// Adds a right; the same again adds none. Its id, 0 when it was refused.
    CItemId addAccessRight(CItemId holder, CItemId accessPoint, const QVariantMap& properties);
    bool deleteAccessRight(CItemId right);

    // --- Beyond the interface: logins. Passwords are hashed by a memory-hard function, which takes a tenth of a
    // second.

    /// Names of logins, in order.
    QStringList getLogins() const;
    /// "name", "userId", "permissions" (bits), "otp" (whether one-time passwords are asked for); empty for an unknown
    /// name.
    QVariantMap getLogin(const QString& name) const;
    /// For checking a password on another thread; an unknown name has a hash that matches nothing.
    CPasswordHash getPasswordHash(const QString& name) const;
    bool addLogin(const QString& name, CItemId user, const QString& password);
    bool setLoginPassword(const QString& name, const QString& password);
    /// Bits of `Permission`; see permission.h.
    bool setLoginPermissions(const QString& name, unsigned int permissions);
    bool removeLogin(const QString& name);
    /// Asks for one-time passwords from now on (an empty secret: no longer).
    bool setLoginSecret(const QString& name, const QByteArray& secret);
    /// The same with a new secret, which it answers with in base 32, as authenticator programs take it; empty when it
    /// was refused.
    QString makeLoginSecret(const QString& name);
    /// Whether the code is right now; a code counts once.
    bool checkOneTimePassword(const QString& name, const QString& code);
    /// Ends one session, or all of a user.
    bool endSession(const QString& sessionId);
    bool endSessionsOfUser(CItemId user);
    /// As getNewSessionId(), of that login: of several of one user each has permissions of its own. Empty when it was
    /// refused.
    QString startSession(const QString& login, const QString& client, const QString& address, int* secondsToLive);
    /// "userId", "login", its "permissions" (bits) and "expires" of a session that has not ended; empty otherwise.
    QVariantMap getSession(const QString& sessionId) const;
    /// How long a new session lasts: 1 second to 31 days, in seconds; 3600 by default.
    void setSessionLength(int seconds);

    /// The name under which changes are noted from now on, so that others know whose they are; by default a random one.
    void setServerName(const QString& name);
    /// Reaches the devices that are linked; not taken over, nullptr for none.
    void setDevices(IModelDevices* devices);
    /// Sends mails; not taken over, nullptr for none: then sendTemplateEmail() fails. That takes "subject", "message"
    /// and "preheader", plain texts, and answers "status" "ok" when the mail is in the outbox.
    void setMail(IModelMail* mail);
    /// Is told of every change from now on; not taken over, nullptr for none.
    void setRecorder(IModelRecorder* recorder);
    /// Renders user reports; not taken over, nullptr for none.
    void setReportGenerator(IReportGenerator* generator);
    /// Custom notifications and the hub's source "Model" go through it; not taken over.
    void setNotificationService(CNotificationService* service);

    // --- The interface

    QVariantList getModel(const QString& name, const QVariantMap& filter, const QStringList& fields) const override;
    bool setModel(const QString& name, const QVariantMap& data) override;

    QVariantMap getAccessPoint(const QVariantMap& filter) const override;
    CItemId createAccessPoint(const QVariantMap& properties) override;
    bool deleteAccessPoint(CItemId accessPoint) override;
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
    QVariantList getAccessRightProperties(CItemId accessPoint, CItemId user) const override;
    bool setAccessRightProperties(const QList<CItemId>& accessPoints, CItemId user,
                                  const QVariantMap& properties) override;

    QVariant getSystemProperty(const QString& name, CItemId id) const override;
    bool setSystemProperty(const QString& name, const QVariant& value, CItemId id) override;
    bool deleteSystemProperty(const QString& name) override;
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

    void beginTransaction(const QString& name) override;
    /// The outermost end stores what was done, or undoes all of it when something was refused: see errorString().
    void endTransaction() override;

Q_SIGNALS:
    /// Everything since beginTransaction() was undone.
    void transactionFailed(const QString& name, const QString& errorString);

private:
    friend class CModelReader;
    class Private;
    std::unique_ptr<Private> d;
};
