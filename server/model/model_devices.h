#pragma once

#include <server/database/export.h>

#include <foundation/access/lock_messages.h>
#include <foundation/core/device_id.h>

/// What the model needs of the devices that are linked, for its operations that reach to a door. All answer at once:
/// true means that the command is on its way to a device that is linked, not that the door has opened.
class KYR_SERVER_EXPORT IModelDevices
{
public:
    virtual ~IModelDevices();

    /// Opens a door by its device.
    virtual bool open(CItemId accessPoint, const CLockOpen& command) = 0;
    /// For so many seconds (0 to CLockWait::mostSeconds; 0 ends it) the next medium shown there is to be told by the
    /// model's rfidMediumDetected().
    virtual bool waitForMedium(CDeviceId device, int seconds) = 0;
    /// As if that medium had been shown there.
    virtual bool simulateMedium(CDeviceId device, const QByteArray& uid) = 0;
};
