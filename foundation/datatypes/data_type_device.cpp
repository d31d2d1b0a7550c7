#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/enumeration_table_p.h>

namespace {

constexpr Entry<CDataType::DeviceCapability> deviceCapabilityTable[] = {
    {CDataType::DeviceCapabilityRfid, QT_TRANSLATE_NOOP("@default", "RFID")},
    {CDataType::DeviceCapabilityCode, QT_TRANSLATE_NOOP("@default", "Code")},
    {CDataType::DeviceCapabilityBattery, QT_TRANSLATE_NOOP("@default", "Battery")},
};
using DeviceCapabilityFamily = Enumeration<deviceCapabilityTable>;

constexpr Entry<CDataType::DeviceCategory> deviceCategoryTable[] = {
    {CDataType::DeviceCategoryOrganisationPlate, QT_TRANSLATE_NOOP("@default", "Organisation Plates")},
    {CDataType::DeviceCategoryProtectionPlate, QT_TRANSLATE_NOOP("@default", "Protection Plates")},
    {CDataType::DeviceCategoryMountedReader, QT_TRANSLATE_NOOP("@default", "Mounted Readers")},
    {CDataType::DeviceCategoryAdministrative, QT_TRANSLATE_NOOP("@default", "Administrative Devices")},
    {CDataType::DeviceCategoryIoModule, QT_TRANSLATE_NOOP("@default", "I/O Modules")},
    {CDataType::DeviceCategoryInfrastructure, QT_TRANSLATE_NOOP("@default", "Infrastructure Devices")},
    {CDataType::DeviceCategoryCylinderLock, QT_TRANSLATE_NOOP("@default", "Cylinder Locks")},
    {CDataType::DeviceCategoryMotorLock, QT_TRANSLATE_NOOP("@default", "Motor Locks")},
    {CDataType::DeviceCategorySafeLock, QT_TRANSLATE_NOOP("@default", "Safe Locks")},
};
using DeviceCategoryFamily = Enumeration<deviceCategoryTable>;

constexpr Entry<CDataType::DeviceInput> deviceInputTable[] = {
    {CDataType::DeviceInput1, QT_TRANSLATE_NOOP("@default", "Input 1")},
    {CDataType::DeviceInput2, QT_TRANSLATE_NOOP("@default", "Input 2")},
    {CDataType::DeviceInput3, QT_TRANSLATE_NOOP("@default", "Input 3")},
    {CDataType::DeviceInput4, QT_TRANSLATE_NOOP("@default", "Input 4")},
    {CDataType::DeviceInput5, QT_TRANSLATE_NOOP("@default", "Input 5")},
    {CDataType::DeviceInput6, QT_TRANSLATE_NOOP("@default", "Input 6")},
    {CDataType::DeviceInput7, QT_TRANSLATE_NOOP("@default", "Input 7")},
    {CDataType::DeviceInput8, QT_TRANSLATE_NOOP("@default", "Input 8")},
    {CDataType::DeviceInputInteriorButton, QT_TRANSLATE_NOOP("@default", "Interior Button")},
    {CDataType::DeviceInputTriangleButton, QT_TRANSLATE_NOOP("@default", "Triangle Button")},
    {CDataType::DeviceInputSquareButton, QT_TRANSLATE_NOOP("@default", "Square Button")},
    {CDataType::DeviceInputPentagonButton, QT_TRANSLATE_NOOP("@default", "Pentagon Button")},
    {CDataType::DeviceInputHexagonButton, QT_TRANSLATE_NOOP("@default", "Hexagon Button")},
};
using DeviceInputFamily = FlagEnumeration<deviceInputTable, 0x1FFF>;

constexpr Entry<CDataType::DeviceKnownSelection> deviceKnownSelectionTable[] = {
    {CDataType::DeviceKnownSelectionKnownDevices, QT_TRANSLATE_NOOP("@default", "Known devices")},
    {CDataType::DeviceKnownSelectionUnknownDevices, QT_TRANSLATE_NOOP("@default", "Unknown devices")},
    {CDataType::DeviceKnownSelectionAllDevices, QT_TRANSLATE_NOOP("@default", "All devices")},
};
using DeviceKnownSelectionFamily = Enumeration<deviceKnownSelectionTable>;

constexpr Entry<CDataType::DeviceOutput> deviceOutputTable[] = {
    {CDataType::DeviceOutputMotor, QT_TRANSLATE_NOOP("@default", "Motor")},
    {CDataType::DeviceOutputRelay1, QT_TRANSLATE_NOOP("@default", "Relay 1")},
    {CDataType::DeviceOutputRelay2, QT_TRANSLATE_NOOP("@default", "Relay 2")},
    {CDataType::DeviceOutputRelay3, QT_TRANSLATE_NOOP("@default", "Relay 3")},
    {CDataType::DeviceOutputRelay4, QT_TRANSLATE_NOOP("@default", "Relay 4")},
    {CDataType::DeviceOutputRelay5, QT_TRANSLATE_NOOP("@default", "Relay 5")},
    {CDataType::DeviceOutputRelay6, QT_TRANSLATE_NOOP("@default", "Relay 6")},
    {CDataType::DeviceOutputRelay7, QT_TRANSLATE_NOOP("@default", "Relay 7")},
    {CDataType::DeviceOutputRelay8, QT_TRANSLATE_NOOP("@default", "Relay 8")},
};
using DeviceOutputFamily = FlagEnumeration<deviceOutputTable, 0x1FF>;

constexpr Entry<CDataType::DeviceReachableSelection> deviceReachableSelectionTable[] = {
    {CDataType::DeviceReachableSelectionDirect, QT_TRANSLATE_NOOP("@default", "Directly reachable")},
    {CDataType::DeviceReachableSelectionNetworked, QT_TRANSLATE_NOOP("@default", "Networked reachable")},
    {CDataType::DeviceReachableSelectionUnreachable, QT_TRANSLATE_NOOP("@default", "Unreachable")},
};
using DeviceReachableSelectionFamily = Enumeration<deviceReachableSelectionTable>;

constexpr Entry<CDataType::DeviceRole> deviceRoleTable[] = {
    {CDataType::DeviceRoleIdentification, QT_TRANSLATE_NOOP("@default", "Identification")},
    {CDataType::DeviceRoleOpener, QT_TRANSLATE_NOOP("@default", "Opener")},
    {CDataType::DeviceRoleRepeater, QT_TRANSLATE_NOOP("@default", "Repeater")},
    {CDataType::DeviceRoleExitIdentification, QT_TRANSLATE_NOOP("@default", "Exit Identification")},
    {CDataType::DeviceRoleAmok, QT_TRANSLATE_NOOP("@default", "Amok")},
    {CDataType::DeviceRoleOpenZones, QT_TRANSLATE_NOOP("@default", "Open Zones")},
    {CDataType::DeviceRolePreferRs485, QT_TRANSLATE_NOOP("@default", "Prefer RS-485")},
};
using DeviceRoleFamily = FlagEnumeration<deviceRoleTable, 0x77, 0x8>;

constexpr Entry<CDataType::DeviceScanFilter> deviceScanFilterTable[] = {
    {CDataType::DeviceScanFilterMembers, QT_TRANSLATE_NOOP("@default", "System members")},
    {CDataType::DeviceScanFilterMembersAndFree,
     QT_TRANSLATE_NOOP("@default", "System members and devices without system")},
    {CDataType::DeviceScanFilterAll, QT_TRANSLATE_NOOP("@default", "All devices")},
    {CDataType::DeviceScanFilterRouters, QT_TRANSLATE_NOOP("@default", "Only routers")},
};
using DeviceScanFilterFamily = Enumeration<deviceScanFilterTable>;

constexpr Entry<CDataType::DeviceSignallingId> deviceSignallingIdTable[] = {
    {CDataType::DeviceSignallingIdGranted, QT_TRANSLATE_NOOP("@default", "Access Granted")},
    {CDataType::DeviceSignallingIdDenied, QT_TRANSLATE_NOOP("@default", "Access Denied")},
    {CDataType::DeviceSignallingIdBatteryLow, QT_TRANSLATE_NOOP("@default", "Battery Low")},
    {CDataType::DeviceSignallingIdProgramming, QT_TRANSLATE_NOOP("@default", "Programming Mode")},
    {CDataType::DeviceSignallingIdError, QT_TRANSLATE_NOOP("@default", "Device Error")},
    {CDataType::DeviceSignallingIdLocate, QT_TRANSLATE_NOOP("@default", "Locate Device")},
};
using DeviceSignallingIdFamily = Enumeration<deviceSignallingIdTable>;

constexpr Entry<CDataType::EventInput> eventInputTable[] = {
    {CDataType::EventInputReader, QT_TRANSLATE_NOOP("@default", "Reader")},
    {CDataType::EventInputKeypad, QT_TRANSLATE_NOOP("@default", "Keypad")},
    {CDataType::EventInputContact, QT_TRANSLATE_NOOP("@default", "Contact Input")},
    {CDataType::EventInputRadio, QT_TRANSLATE_NOOP("@default", "Radio Link")},
    {CDataType::EventInputClock, QT_TRANSLATE_NOOP("@default", "Clock")},
    {CDataType::EventInputNetwork, QT_TRANSLATE_NOOP("@default", "Network")},
};
using EventInputFamily = Enumeration<eventInputTable>;

constexpr Entry<CDataType::InterfaceFlag> interfaceFlagTable[] = {
    {CDataType::InterfaceFlagRadio, QT_TRANSLATE_NOOP("@default", "Radio")},
    {CDataType::InterfaceFlagRs485, QT_TRANSLATE_NOOP("@default", "RS-485")},
    {CDataType::InterfaceFlagRadio2, QT_TRANSLATE_NOOP("@default", "Radio 2")},
};
using InterfaceFlagFamily = FlagEnumeration<interfaceFlagTable, 0x7>;

constexpr Entry<CDataType::InterfaceTypeFlag> interfaceTypeFlagTable[] = {
    {CDataType::InterfaceTypeFlagRadio, QT_TRANSLATE_NOOP("@default", "Radio")},
    {CDataType::InterfaceTypeFlagRs485, QT_TRANSLATE_NOOP("@default", "RS-485")},
};
using InterfaceTypeFlagFamily = FlagEnumeration<interfaceTypeFlagTable, 0x3>;

constexpr Entry<CDataType::InputActivationType> inputActivationTypeTable[] = {
    {CDataType::InputActivationTypeButton, QT_TRANSLATE_NOOP("@default", "Button")},
    {CDataType::InputActivationTypeState, QT_TRANSLATE_NOOP("@default", "State")},
    {CDataType::InputActivationTypeEdge, QT_TRANSLATE_NOOP("@default", "Edge")},
};
using InputActivationTypeFamily = Enumeration<inputActivationTypeTable>;

constexpr Entry<CDataType::InputActivation> inputActivationTable[] = {
    {CDataType::InputActivationOn, QT_TRANSLATE_NOOP("@default", "Press")},
    {CDataType::InputActivationOff, QT_TRANSLATE_NOOP("@default", "Release")},
    {CDataType::InputActivationDurationShort, QT_TRANSLATE_NOOP("@default", "Duration Short")},
    {CDataType::InputActivationDurationMiddle, QT_TRANSLATE_NOOP("@default", "Duration Middle")},
    {CDataType::InputActivationDurationLong, QT_TRANSLATE_NOOP("@default", "Duration Long")},
};
using InputActivationFamily = Enumeration<inputActivationTable>;

constexpr Entry<CDataType::InputType> inputTypeTable[] = {
    {CDataType::InputTypePushButton, QT_TRANSLATE_NOOP("@default", "Push Button")},
    {CDataType::InputTypeDoorContact, QT_TRANSLATE_NOOP("@default", "Door Contact")},
    {CDataType::InputTypeBoltContact, QT_TRANSLATE_NOOP("@default", "Bolt Contact")},
    {CDataType::InputTypeMotionDetector, QT_TRANSLATE_NOOP("@default", "Motion Detector")},
    {CDataType::InputTypeAlarmSystem, QT_TRANSLATE_NOOP("@default", "Alarm System")},
};
using InputTypeFamily = Enumeration<inputTypeTable>;

constexpr Entry<CDataType::OperatingMode> operatingModeTable[] = {
    {CDataType::OperatingModeFactory, QT_TRANSLATE_NOOP("@default", "Factory")},
    {CDataType::OperatingModeMulti, QT_TRANSLATE_NOOP("@default", "Multi")},
    {CDataType::OperatingModeSingle, QT_TRANSLATE_NOOP("@default", "Single")},
    {CDataType::OperatingModeExpo, QT_TRANSLATE_NOOP("@default", "Expo")},
    {CDataType::OperatingModeWork, QT_TRANSLATE_NOOP("@default", "Work")},
    {CDataType::OperatingModeUndefined, QT_TRANSLATE_NOOP("@default", "Undefined")},
};
using OperatingModeFamily = Enumeration<operatingModeTable>;

constexpr Entry<CDataType::OutputState> outputStateTable[] = {
    {CDataType::OutputStateDefault, QT_TRANSLATE_NOOP("@default", "Default")},
    {CDataType::OutputStateOutput, QT_TRANSLATE_NOOP("@default", "Output")},
    {CDataType::OutputStateAutoOpen, QT_TRANSLATE_NOOP("@default", "Auto Open")},
    {CDataType::OutputStateLockdown, QT_TRANSLATE_NOOP("@default", "Lockdown")},
};
using OutputStateFamily = Enumeration<outputStateTable>;

constexpr Entry<CDataType::OutputType> outputTypeTable[] = {
    {CDataType::OutputTypeMotor, QT_TRANSLATE_NOOP("@default", "Motor")},
    {CDataType::OutputTypeOutput, QT_TRANSLATE_NOOP("@default", "Output")},
    {CDataType::OutputTypeReserve, QT_TRANSLATE_NOOP("@default", "Reserve")},
    {CDataType::OutputTypeRelay, QT_TRANSLATE_NOOP("@default", "Relay")},
};
using OutputTypeFamily = Enumeration<outputTypeTable>;

// What the first two activations are called depends on the kind of input.
constexpr Entry<CDataType::InputActivation> stateActivationTable[] = {
    {CDataType::InputActivationOn, QT_TRANSLATE_NOOP("@default", "Immediate")},
    {CDataType::InputActivationOff, QT_TRANSLATE_NOOP("@default", "Finally")},
};
using StateActivationFamily = Enumeration<stateActivationTable>;

constexpr Entry<CDataType::InputActivation> edgeActivationTable[] = {
    {CDataType::InputActivationOn, QT_TRANSLATE_NOOP("@default", "Rising Edge")},
    {CDataType::InputActivationOff, QT_TRANSLATE_NOOP("@default", "Falling Edge")},
};
using EdgeActivationFamily = Enumeration<edgeActivationTable>;

} // namespace

// One line a function.
// clang-format off
KYR_ENUMERATION(DeviceCapabilityFamily, deviceCapability)
KYR_ENUMERATION(DeviceCategoryFamily, deviceCategory)
KYR_FLAG_ENUMERATION(DeviceInputFamily, deviceInput, deviceInputs, nullptr)
KYR_ENUMERATION(DeviceKnownSelectionFamily, deviceKnownSelection)
KYR_FLAG_ENUMERATION(DeviceOutputFamily, deviceOutput, deviceOutputs, nullptr)
KYR_ENUMERATION(DeviceReachableSelectionFamily, deviceReachableSelection)
KYR_FLAG_ENUMERATION(DeviceRoleFamily, deviceRole, deviceRoles, nullptr)
KYR_ENUMERATION(DeviceScanFilterFamily, deviceScanFilter)
KYR_ENUMERATION(DeviceSignallingIdFamily, deviceSignallingId)
KYR_ENUMERATION(EventInputFamily, eventInput)
KYR_FLAG_ENUMERATION(InterfaceFlagFamily, interfaceFlag, interfaceFlags, "InterfaceFlags")
KYR_FLAG_ENUMERATION(InterfaceTypeFlagFamily, interfaceTypeFlag, interfaceTypeFlags, nullptr)
KYR_ENUMERATION(InputActivationTypeFamily, inputActivationType)
KYR_ENUMERATION(InputTypeFamily, inputType)
KYR_ENUMERATION(OperatingModeFamily, operatingMode)

const char* CDataType::outputStateToString(OutputState value) { return OutputStateFamily::text(value, "Invalid"); }
CDataType::OutputState CDataType::outputStateCast(int value) { return OutputStateFamily::cast(value); }
QList<CDataType::OutputState> CDataType::outputStateValues() { return OutputStateFamily::values(); }
CDataType::OutputState CDataType::outputStateFromString(const QByteArray& text) { return OutputStateFamily::fromText(text); }

KYR_ENUMERATION(OutputTypeFamily, outputType)
// clang-format on

const char* CDataType::inputActivationToString(InputActivation activation, InputActivationType type)
{
    const char* usual = InputActivationFamily::text(activation);
    switch (type) {
    case InputActivationTypeButton:
        return usual;
    case InputActivationTypeState:
        return StateActivationFamily::text(activation, usual);
    default:
        return EdgeActivationFamily::text(activation, usual);
    }
}

CDataType::InputActivation CDataType::inputActivationCast(int value)
{
    return InputActivationFamily::cast(value);
}

QList<CDataType::InputActivation> CDataType::inputActivationValues()
{
    return InputActivationFamily::values();
}

CDataType::InputActivation CDataType::stringToInputActivation(const QByteArray& text)
{
    if (const InputActivation usual = InputActivationFamily::fromText(text))
        return usual;
    if (const InputActivation state = StateActivationFamily::fromText(text))
        return state;
    return EdgeActivationFamily::fromText(text);
}

CDataType::DeviceRoles CDataType::deviceRolesFromStrings(const QList<QByteArray>& texts)
{
    DeviceRoles roles;
    for (const QByteArray& text : texts)
        roles |= deviceRoleFromString(text);
    return roles;
}

bool CDataType::isInitialized(OperatingMode mode)
{
    return mode >= OperatingModeMulti && mode <= OperatingModeWork;
}
