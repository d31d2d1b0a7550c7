#include <foundation/datatypes/enumeration_table_p.h>
#include <foundation/datatypes/hardware_architecture.h>

namespace {

constexpr Entry<HardwareArchitecture> hardwareArchitectureTable[] = {
    {HardwareArchitectureUnknown, "Unknown"}, {HardwareArchitectureHw1, "HW1"}, {HardwareArchitectureHw2, "HW2"},
    {HardwareArchitectureVybrid, "Vybrid"},   {HardwareArchitectureHw3, "HW3"},
};
using HardwareArchitectureFamily = Enumeration<hardwareArchitectureTable>;

} // namespace

const char* CHardwareArchitecture::name(HardwareArchitecture architecture)
{
    return HardwareArchitectureFamily::text(architecture);
}

HardwareArchitecture CHardwareArchitecture::cast(int value)
{
    return HardwareArchitectureFamily::cast(value);
}

QList<HardwareArchitecture> CHardwareArchitecture::values()
{
    return HardwareArchitectureFamily::values();
}

// hardwareArchitecture() stands with the other facts of device types, in data_type_device_type.cpp.
