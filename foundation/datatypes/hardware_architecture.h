#pragma once

#include <foundation/core/export.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QList>

/// The generations of processors that devices are built with. A firmware image is made for one of them.
enum HardwareArchitecture : int
{
    HardwareArchitectureUnknown = 0,
    HardwareArchitectureHw1 = 1,
    HardwareArchitectureHw2 = 2,
    HardwareArchitectureVybrid = 3,
    HardwareArchitectureHw3 = 4,
};

/// Names the processor generations and knows which device type has which:
///
///     const char* name = CHardwareArchitecture::name(CHardwareArchitecture::hardwareArchitecture(type));   // "HW1"
class KYR_FOUNDATION_EXPORT CHardwareArchitecture
{
public:
    using HardwareArchitecture = ::HardwareArchitecture;

    CHardwareArchitecture() = delete;

    /// "Unknown" for a value that is not defined. Not translated.
    static const char* name(HardwareArchitecture architecture);
    /// The value if it is defined, else HardwareArchitectureUnknown.
    static HardwareArchitecture cast(int value);
    /// All values, the unknown one included, in ascending order.
    static QList<HardwareArchitecture> values();
    /// The generation of a device type; types that are not known count as HW1. No type gives Vybrid: it is only named
    /// in firmware images.
    static HardwareArchitecture hardwareArchitecture(CDataType::DeviceType type);
};
