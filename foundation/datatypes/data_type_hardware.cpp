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
const char* CDataType::batteryTypeToString(battery_type value) { return BatteryTypeFamily::text(value); }
CDataType::battery_type CDataType::batteryTypeCast(int value) { return BatteryTypeFamily::cast(value); }
QList<CDataType::battery_type> CDataType::batteryTypeValues() { return BatteryTypeFamily::values(); }
CDataType::battery_type CDataType::batteryTypeFromString(const QByteArray& text) { return BatteryTypeFamily::fromText(text); }

const char* CDataType::boardTypeToString(BoardType value) { return BoardTypeFamily::text(value); }
CDataType::BoardType CDataType::boardTypeCast(int value) { return BoardTypeFamily::cast(value); }
QList<CDataType::BoardType> CDataType::boardTypeValues() { return BoardTypeFamily::values(); }
CDataType::BoardType CDataType::boardTypeFromString(const QByteArray& text) { return BoardTypeFamily::fromText(text); }

const char* CDataType::factoryResetFlagToString(FactoryResetFlag value) { return FactoryResetFlagFamily::text(value); }
CDataType::FactoryResetFlag CDataType::factoryResetFlagCast(int value) { return FactoryResetFlagFamily::cast(value); }
QList<CDataType::FactoryResetFlag> CDataType::factoryResetFlagValues(FactoryResetFlags flags) { return FactoryResetFlagFamily::values(flags); }
CDataType::FactoryResetFlag CDataType::factoryResetFlagFromString(const QByteArray& text) { return FactoryResetFlagFamily::fromText(text); }
CDataType::FactoryResetFlags CDataType::factoryResetFlagsCast(unsigned int value) { return FactoryResetFlagFamily::castSet(value, "FactoryResetFlags"); }
QStringList CDataType::factoryResetFlagsToStrings(FactoryResetFlags flags) { return FactoryResetFlagFamily::texts(flags); }

const char* CDataType::firmwareToString(Firmware value) { return FirmwareFamily::text(value); }
CDataType::Firmware CDataType::firmwareCast(int value) { return FirmwareFamily::cast(value); }
QList<CDataType::Firmware> CDataType::firmwareValues() { return FirmwareFamily::values(); }
CDataType::Firmware CDataType::firmwareFromString(const QByteArray& text) { return FirmwareFamily::fromText(text); }

const char* CDataType::firmwareCapabilityFlagToString(FirmwareCapabilityFlag value) { return FirmwareCapabilityFlagFamily::text(value); }
CDataType::FirmwareCapabilityFlag CDataType::firmwareCapabilityFlagCast(int value) { return FirmwareCapabilityFlagFamily::cast(value); }
QList<CDataType::FirmwareCapabilityFlag> CDataType::firmwareCapabilityFlagValues(FirmwareCapabilityFlags flags) { return FirmwareCapabilityFlagFamily::values(flags); }
CDataType::FirmwareCapabilityFlag CDataType::firmwareCapabilityFlagFromString(const QByteArray& text) { return FirmwareCapabilityFlagFamily::fromText(text); }
CDataType::FirmwareCapabilityFlags CDataType::firmwareCapabilityFlagsCast(unsigned int value) { return FirmwareCapabilityFlagFamily::castSet(value); }
QStringList CDataType::firmwareCapabilityFlagsToStrings(FirmwareCapabilityFlags flags) { return FirmwareCapabilityFlagFamily::texts(flags); }

const char* CDataType::genericStatusToString(GenericStatus value) { return GenericStatusFamily::text(value); }
CDataType::GenericStatus CDataType::genericStatusCast(int value) { return GenericStatusFamily::cast(value); }
QList<CDataType::GenericStatus> CDataType::genericStatusValues() { return GenericStatusFamily::values(); }
CDataType::GenericStatus CDataType::genericStatusFromString(const QByteArray& text) { return GenericStatusFamily::fromText(text); }

const char* CDataType::hardwareFlagToString(hardware_flags value) { return HardwareFlagFamily::text(value); }
CDataType::hardware_flags CDataType::hardwareFlagCast(int value) { return HardwareFlagFamily::cast(value); }
QList<CDataType::hardware_flags> CDataType::hardwareFlagValues(HardwareFlags flags) { return HardwareFlagFamily::values(flags); }
CDataType::hardware_flags CDataType::hardwareFlagFromString(const QByteArray& text) { return HardwareFlagFamily::fromText(text); }
CDataType::HardwareFlags CDataType::hardwareFlagsCast(unsigned int value) { return HardwareFlagFamily::castSet(value); }
QStringList CDataType::hardwareFlagsToStrings(HardwareFlags flags) { return HardwareFlagFamily::texts(flags); }

const char* CDataType::memoryTypeToString(MemoryType value) { return MemoryTypeFamily::text(value); }
CDataType::MemoryType CDataType::memoryTypeCast(int value) { return MemoryTypeFamily::cast(value); }
QList<CDataType::MemoryType> CDataType::memoryTypeValues() { return MemoryTypeFamily::values(); }
CDataType::MemoryType CDataType::memoryTypeFromString(const QByteArray& text) { return MemoryTypeFamily::fromText(text); }

const char* CDataType::pcbTypeToString(PcbType value) { return PcbTypeFamily::text(value); }
CDataType::PcbType CDataType::pcbTypeCast(int value) { return PcbTypeFamily::cast(value); }
QList<CDataType::PcbType> CDataType::pcbTypeValues() { return PcbTypeFamily::values(); }
CDataType::PcbType CDataType::pcbTypeFromString(const QByteArray& text) { return PcbTypeFamily::fromText(text); }

const char* CDataType::simulationModeToString(SimulationMode value) { return SimulationModeFamily::text(value); }
CDataType::SimulationMode CDataType::simulationModeCast(int value) { return SimulationModeFamily::cast(value); }
QList<CDataType::SimulationMode> CDataType::simulationModeValues() { return SimulationModeFamily::values(); }
CDataType::SimulationMode CDataType::simulationModeFromString(const QByteArray& text) { return SimulationModeFamily::fromText(text); }
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
