#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>

/// Who a device is, or says it is.
struct DeviceIdentity
{
    CDeviceId id;
    CSystemId system; ///< invalid: of no installation
    int type = 0;     ///< a CDataType::DeviceType

    friend bool operator==(const DeviceIdentity& a, const DeviceIdentity& b)
    {
        return a.id == b.id && a.system == b.system && a.type == b.type;
    }
    friend bool operator!=(const DeviceIdentity& a, const DeviceIdentity& b) { return !(a == b); }
};
