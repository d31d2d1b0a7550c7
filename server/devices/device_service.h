#pragma once

#include <server/devices/door_controller.h>

#include <foundation/services/device_service.h>

#include <QtCore/QPointer>

/// Operations and actions on the devices that are linked, by name. Each takes "device", the label of one, or
/// "deviceId", its number.
///
/// | operation | ends when | its properties |
/// |---|---|---|
/// | "transferAuthorizations" | the device has its list, or a minute has passed | "revision" |
/// | "readEvents" | its events so far are in the trail, or a minute has passed | "storedEvents", "lostEvents" |
///
/// Each has "deviceId", and "errorString", empty when it was done.
///
/// | action | parameters | its result |
/// |---|---|---|
/// | "open" | "seconds" (3), "comment", "operator" (who gives the command) | "opened", and "errorString" where not |
/// | "status" | | what CDoorController::Status has |
///
/// The names of the last one: "linked", "upToDate", "revision", "accessPoint", "fault", "clockAhead" (milliseconds),
/// "storedEvents" and "lostEvents".
class KYR_SERVER_EXPORT CDeviceService : public IDeviceService
{
    Q_OBJECT

public:
    /// Until an operation ends without having reached what it waits for; milliseconds.
    static constexpr int operationWait = 60000;

    /// The controller is not taken over; without it nothing can be made.
    explicit CDeviceService(CDoorController* controller, QObject* parent = nullptr);
    ~CDeviceService() override;
    void setController(CDoorController* controller);

    /// Null, with "errorString" in `params`, for an unknown name, without a controller, and where no device is named.
    IDeviceOperation* createDeviceOperation(const QString& name, QVariantMap& params) override;
    void startDeviceOperation(IDeviceOperation* operation) override;
    void cancelDeviceOperation(IDeviceOperation* operation) override;
    void releaseDeviceOperation(IDeviceOperation* operation) override;
    IDeviceAction* createDeviceAction(const QString& name, QVariantMap& params) override;

private:
    QPointer<CDoorController> m_controller;
};
