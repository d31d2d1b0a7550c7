#pragma once

#include <server/devices/device_links.h>
#include <server/model/model_devices.h>

#include <functional>
#include <memory>

class CAuditTrail;
class CDatabase;
class CNotificationService;
class CRemoteDevices;
class CSqlAccessControl;

/// Keeps the doors in step with the model: each linked device has the list, the time and the rules of local time of its
/// door, what it noted is stored in the trail, and what it asks is answered.
///
///     CDoorController controller(&model, &trail, &links);
///     controller.setNotificationService(&hub);
///     model.setDevices(&controller);
///
/// A change of the model, by whichever process, is on its way within CDatabase::watchInterval and the time of
/// compiling. Events are acknowledged when the transaction that holds them is on the disk, each of them stored once.
/// Notified are "Access" (events "granted", "denied" and "opened", "forced", "held", with "accessPoint", "user",
/// "medium", "reason", "way", "device", "deviceSeq", "at") and "Devices" ("upToDate", "notUpToDate" with "reason",
/// "clock", "start", "detected").
///
/// Model, trail and links outlive it; it lives on their thread.
class KYR_SERVER_EXPORT CDoorController : public QObject, public IModelDevices
{
    Q_OBJECT

public:
    /// For the answer to a command, in milliseconds.
    static constexpr int answerWait = 5000;

    struct Status
    {
        CDeviceId device;
        /// 0 for a device that no door has.
        CItemId accessPoint;
        bool isLinked = false;
        /// The device has said that it has the list that the model calls for.
        bool isUpToDate = false;
        /// What it has by its last words, also of days ago; empty for none.
        QByteArray revision{};
        /// Why it has not, as far as that is known.
        QString fault{};
        /// As told last while it was linked: by how many milliseconds its clock was ahead, and its events.
        qint64 clockAhead = 0;
        qint64 firstEvent = 0;
        qint64 nextEvent = 0;
        qint64 storedEvents = 0;
        qint64 lostEvents = 0;
    };
    /// Empty when the device did what it was told; else why not.
    using Answer = std::function<void(const QString& error)>;

    CDoorController(CSqlAccessControl* model, CAuditTrail* trail, IDeviceLinks* links, QObject* parent = nullptr);
    ~CDoorController() override;

    /// Not taken over.
    void setNotificationService(CNotificationService* service);

    /// Commands for devices that are linked to another server go there by it; not taken over, null for none.
    void setRemote(CRemoteDevices* remote);

    Status status(CDeviceId device) const;
    /// Devices that are linked or have a door, in the order of their numbers.
    QList<Status> statuses() const;
    /// The device of a door; an invalid one for none.
    CDeviceId deviceOf(CItemId accessPoint) const;
    static CDeviceId deviceOf(CDatabase* database, CItemId accessPoint);

    /// Compiles the list anew and sends it where it is not the device's.
    void sync(CDeviceId device);
    /// Sends a command; the answer comes once, never from within this call, unless the controller is deleted before.
    void command(CDeviceId device, const CLockToDevice& body, const Answer& answer);

    /// Sends the time to all devices that are linked: the clock of this machine was set.
    void tellTime();

    /// Has the server that holds the link do it; false when none does. The answer as of command().
    static bool askRemote(CRemoteDevices* remote, CDeviceId device, const CLockToDevice& body, const Answer& answer);

    // For the model
    bool open(CItemId accessPoint, const CLockOpen& command) override;
    bool waitForMedium(CDeviceId device, int seconds) override;
    bool simulateMedium(CDeviceId device, const QByteArray& uid) override;

Q_SIGNALS:
    /// Something in the status of a device has changed.
    void statusChanged(CDeviceId device);

private:
    class Private;
    std::unique_ptr<Private> d;
};
