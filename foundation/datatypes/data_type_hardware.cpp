#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/enumeration_table_p.h>

namespace {

constexpr Entry<CDataType::battery_type> batteryTypeTable[] = {
    {CDataType::BatteryTypeAutodetect, QT_TRANSLATE_NOOP("@default", "Autodetect")},
    {CDataType::BatteryTypeLithium, QT_TRANSLATE_NOOP("@default", "Lithium")},
    {CDataType::BatteryTypeLithiumUnsupported, QT_TRANSLATE_NOOP("@default", "Lithium (unsupported)")},
    {CDataType::BatteryTypeAlkaline, QT_TRANSLATE_NOOP("@default", "Alkaline")},
};
using BatteryTypeFamily = Enumeration<batteryTypeTable>;

constexpr Entry<CDataType::BoardType> boardTypeTable[] = {
    {CDataType::BoardTypeUnknown, QT_TRANSLATE_NOOP("@default", "Unknown")},
    {CDataType::BoardTypeBattery, QT_TRANSLATE_NOOP("@default", "Battery Board")},
    {CDataType::BoardTypeRemote, QT_TRANSLATE_NOOP("@default", "Remote Board")},
    {CDataType::BoardTypeIoController, QT_TRANSLATE_NOOP("@default", "I/O Controller")},
    {CDataType::BoardTypeIo, QT_TRANSLATE_NOOP("@default", "I/O Board")},
    {CDataType::BoardTypeMira, QT_TRANSLATE_NOOP("@default", "Mira Board")},
};
using BoardTypeFamily = Enumeration<boardTypeTable>;

constexpr Entry<CDataType::FactoryResetFlag> factoryResetFlagTable[] = {
    {CDataType::FactoryResetFlagDeviceSettings, QT_TRANSLATE_NOOP("@default", "Device Settings")},
    {CDataType::FactoryResetFlagSystemMembership, QT_TRANSLATE_NOOP("@default", "System Membership")},
    {CDataType::FactoryResetFlagRadioNetwork, QT_TRANSLATE_NOOP("@default", "Radio Network")},
    {CDataType::FactoryResetFlagTimeSettings, QT_TRANSLATE_NOOP("@default", "Time Settings")},
    {CDataType::FactoryResetFlagAuthorizations, QT_TRANSLATE_NOOP("@default", "Authorizations")},
    {CDataType::FactoryResetFlagTimeProfiles, QT_TRANSLATE_NOOP("@default", "Time Profiles")},
    {CDataType::FactoryResetFlagHolidayCalendars, QT_TRANSLATE_NOOP("@default", "Holiday Calendars")},
    {CDataType::FactoryResetFlagMediaKeys, QT_TRANSLATE_NOOP("@default", "Media Keys")},
    {CDataType::FactoryResetFlagCertificates, QT_TRANSLATE_NOOP("@default", "Certificates")},
    {CDataType::FactoryResetFlagEventLog, QT_TRANSLATE_NOOP("@default", "Event Log")},
    {CDataType::FactoryResetFlagStatistics, QT_TRANSLATE_NOOP("@default", "Statistics")},
    {CDataType::FactoryResetFlagCalibrationData, QT_TRANSLATE_NOOP("@default", "Calibration Data")},
    {CDataType::FactoryResetFlagNetworkSettings, QT_TRANSLATE_NOOP("@default", "Network Settings")},
    {CDataType::FactoryResetFlagSoftwarePackages, QT_TRANSLATE_NOOP("@default", "Software Packages")},
    {CDataType::FactoryResetFlagSignalSettings, QT_TRANSLATE_NOOP("@default", "Signal Settings")},
};
using FactoryResetFlagFamily = FlagEnumeration<factoryResetFlagTable, 0x7FFF>;

constexpr Entry<CDataType::Firmware> firmwareTable[] = {
    {CDataType::FirmwareApplication, QT_TRANSLATE_NOOP("@default", "Application")},
    {CDataType::FirmwareBootLoader, QT_TRANSLATE_NOOP("@default", "Boot Loader")},
    {CDataType::FirmwareRadio, QT_TRANSLATE_NOOP("@default", "Radio Module")},
    {CDataType::FirmwareReader, QT_TRANSLATE_NOOP("@default", "Reader Module")},
};
using FirmwareFamily = Enumeration<firmwareTable>;

constexpr Entry<CDataType::FirmwareCapabilityFlag> firmwareCapabilityFlagTable[] = {
    {CDataType::FirmwareCapabilityFlagSignedImages, QT_TRANSLATE_NOOP("@default", "Signed Images")},
    {CDataType::FirmwareCapabilityFlagCompressedImages, QT_TRANSLATE_NOOP("@default", "Compressed Images")},
    {CDataType::FirmwareCapabilityFlagBackgroundUpdate, QT_TRANSLATE_NOOP("@default", "Background Update")},
    {CDataType::FirmwareCapabilityFlagRollBack, QT_TRANSLATE_NOOP("@default", "Roll Back")},
};
using FirmwareCapabilityFlagFamily = FlagEnumeration<firmwareCapabilityFlagTable, 0xF>;

constexpr Entry<CDataType::GenericStatus> genericStatusTable[] = {
    {CDataType::GenericStatusOk, QT_TRANSLATE_NOOP("@default", "OK")},
    {CDataType::GenericStatusBusy, QT_TRANSLATE_NOOP("@default", "Busy")},
    {CDataType::GenericStatusNotSupported, QT_TRANSLATE_NOOP("@default", "Not Supported")},
    {CDataType::GenericStatusInvalidParameter, QT_TRANSLATE_NOOP("@default", "Invalid Parameter")},
    {CDataType::GenericStatusNotAuthorized, QT_TRANSLATE_NOOP("@default", "Not Authorized")},
    {CDataType::GenericStatusTimeout, QT_TRANSLATE_NOOP("@default", "Timeout")},
    {CDataType::GenericStatusFailed, QT_TRANSLATE_NOOP("@default", "Failed")},
};
using GenericStatusFamily = Enumeration<genericStatusTable>;

constexpr Entry<CDataType::hardware_flags> hardwareFlagTable[] = {
    {CDataType::HardwareFlagRealTimeClock, QT_TRANSLATE_NOOP("@default", "Real-Time Clock")},
    {CDataType::HardwareFlagExternalFlash, QT_TRANSLATE_NOOP("@default", "External Flash Memory")},
    {CDataType::HardwareFlagSecureElement, QT_TRANSLATE_NOOP("@default", "Secure Element")},
    {CDataType::HardwareFlagBuzzer, QT_TRANSLATE_NOOP("@default", "Buzzer")},
    {CDataType::HardwareFlagTamperContact, QT_TRANSLATE_NOOP("@default", "Tamper Contact")},
};
using HardwareFlagFamily = FlagEnumeration<hardwareFlagTable, 0x1F>;

constexpr Entry<CDataType::MemoryType> memoryTypeTable[] = {
    {CDataType::MemoryTypeInternalFlash, QT_TRANSLATE_NOOP("@default", "Internal Flash")},
    {CDataType::MemoryTypeExternalFlash, QT_TRANSLATE_NOOP("@default", "External Flash")},
    {CDataType::MemoryTypeEeprom, QT_TRANSLATE_NOOP("@default", "EEPROM")},
    {CDataType::MemoryTypeRam, QT_TRANSLATE_NOOP("@default", "RAM")},
    {CDataType::MemoryTypeMsp, QT_TRANSLATE_NOOP("@default", "MSP")},
};
using MemoryTypeFamily = Enumeration<memoryTypeTable, CDataType::MemoryTypeUnknown>;

constexpr Entry<CDataType::PcbType> pcbTypeTable[] = {
    {CDataType::PcbTypePlate, QT_TRANSLATE_NOOP("@default", "Plate Electronics")},
    {CDataType::PcbTypeReader, QT_TRANSLATE_NOOP("@default", "Reader Electronics")},
    {CDataType::PcbTypeIo, QT_TRANSLATE_NOOP("@default", "I/O Electronics")},
    {CDataType::PcbTypeNetwork, QT_TRANSLATE_NOOP("@default", "Network Electronics")},
    {CDataType::PcbTypeCylinder, QT_TRANSLATE_NOOP("@default", "Cylinder Electronics")},
    {CDataType::PcbTypeLock, QT_TRANSLATE_NOOP("@default", "Lock Electronics")},
};
using PcbTypeFamily = Enumeration<pcbTypeTable>;

constexpr Entry<CDataType::SimulationMode> simulationModeTable[] = {
    {CDataType::SimulationModeOff, QT_TRANSLATE_NOOP("@default", "Off")},
    {CDataType::SimulationModeMedia, QT_TRANSLATE_NOOP("@default", "Simulated Media")},
    {CDataType::SimulationModeInputs, QT_TRANSLATE_NOOP("@default", "Simulated Inputs")},
    {CDataType::SimulationModeDevice, QT_TRANSLATE_NOOP("@default", "Simulated Device")},
};
using SimulationModeFamily = Enumeration<simulationModeTable>;

// The devices of one product family share their electronics; by DeviceCategory.
constexpr CDataType::PcbType boardOfCategory[] = {
    CDataType::PcbTypeUnknown, CDataType::PcbTypePlate, CDataType::PcbTypePlate,   CDataType::PcbTypeReader,
    CDataType::PcbTypeNetwork, CDataType::PcbTypeIo,    CDataType::PcbTypeNetwork, CDataType::PcbTypeCylinder,
    CDataType::PcbTypeLock,    CDataType::PcbTypeLock,
};

} // namespace

// One line a function.
// clang-format off
KYR_ENUMERATION(BatteryTypeFamily, batteryType)
KYR_ENUMERATION(BoardTypeFamily, boardType)
KYR_FLAG_ENUMERATION(FactoryResetFlagFamily, factoryResetFlag, factoryResetFlags, "FactoryResetFlags")
KYR_ENUMERATION(FirmwareFamily, firmware)
KYR_FLAG_ENUMERATION(FirmwareCapabilityFlagFamily, firmwareCapabilityFlag, firmwareCapabilityFlags, nullptr)
KYR_ENUMERATION(GenericStatusFamily, genericStatus)
KYR_FLAG_ENUMERATION(HardwareFlagFamily, hardwareFlag, hardwareFlags, nullptr)
KYR_ENUMERATION(MemoryTypeFamily, memoryType)
KYR_ENUMERATION(PcbTypeFamily, pcbType)
KYR_ENUMERATION(SimulationModeFamily, simulationMode)
// clang-format on

QList<CDataType::DeviceType> CDataType::getDeviceTypes(PcbType type)
{
    QList<DeviceType> types;
    for (const DeviceType candidate : deviceTypeValues()) {
        const DeviceCategory category = deviceCategory(candidate);
        if (category != DeviceCategoryUnknown && boardOfCategory[category] == type)
            types << candidate;
    }
    return types;
}
