#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/export.h>
#include <foundation/core/item_id.h>

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QFlags>
#include <QtCore/QList>
#include <QtCore/QPair>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class CAuthorizationTypeData;

/// What an action profile reacts to.
enum CActionProfileClass : int
{
    ActionProfileClassUnknown = 0,
    ActionProfileClassRfid = 1,
    ActionProfileClassPinCode = 2,
    ActionProfileClassSmartAccess = 3,
};

/// What an authorization point stands for.
enum CAuthPointClass : int
{
    AuthPointClassUnknown = 0,
    AuthPointClassOpener = 1,
    AuthPointClassGroup = 2,
    AuthPointClassBroadcast = 3,
    AuthPointClassObserve = 4,
};

/// Days between two backups of the database.
enum CBackupInterval : int
{
    BackupIntervalNever = 0,
    BackupIntervalDaily = 1,
    BackupIntervalWeekly = 7,
    BackupIntervalBiweekly = 14,
    BackupIntervalMonthly = 31,
};

/// Days for which personal data are kept. Anything else counts as two years.
enum CDataRetainPeriod : int
{
    DataRetainPeriod7Days = 7,
    DataRetainPeriod30Days = 30,
    DataRetainPeriod2Months = 62,
    DataRetainPeriod6Months = 184,
    DataRetainPeriod1Year = 366,
    DataRetainPeriod2Years = 731,
    DataRetainPeriod5Years = 1827,
    DataRetainPeriod10Years = 3653,
    DataRetainPeriod15Years = 5479,
    DataRetainPeriod30Years = 10958,
};

/// What a position on a plan belongs to.
enum CPositionClass : int
{
    PositionClassUnknown = 0,
    PositionClassDevice = 1,
    PositionClassAccessArea = 2,
};

/// What an entry of the user tree is.
enum CUserClass : int
{
    UserClassUnknown = 0,
    UserClassUser = 1,
    UserClassGroup = 2,
    UserClassMediaPool = 3,
};

/// The closed vocabularies of the system, each an enumeration with the same family of functions:
///
///     xxxToString        the English text, "Unknown" for a value without one; it is also the translation key in the
///                        context "@default"
///     xxxCast            the value if it is defined, else the enumeration's fallback (0 where nothing else is said)
///     xxxValues          all defined values in ascending order; of a flag enumeration those set, lowest first
///     xxxFromString      the value with exactly this English text (case counts), 0 if there is none
///     xxxsCast           the defined bits of a number; some sets log a warning when others were set
///     xxxsToStrings      the translated texts of the bits that are set, lowest first
///     xxxsToVariant      the bits as an unsigned number, a null variant for none; xxxsFromVariant reads it back
///
/// For example:
///
///     const CDataType::DeviceType type = CDataType::deviceTypeCast(header.value(1));
///     if (CDataType::deviceTypeDeviceRoles(type) & CDataType::DeviceRoleOpener)
///         qDebug("%s opens doors", CDataType::deviceTypeToString(type));
///
/// Texts are Latin-1. Any function may be called from any thread. Nothing fails: what is not defined becomes the
/// fallback.
class KYR_FOUNDATION_EXPORT CDataType
{
public:
    CDataType() = delete;

    // ---- Persons, doors and rights

    /// The roles of a device. "Exit Identification" is a role of its own but never part of a cast set or of a list.
    enum DeviceRole : unsigned int
    {
        DeviceRoleIdentification = 0x1,
        DeviceRoleOpener = 0x2,
        DeviceRoleRepeater = 0x4,
        DeviceRoleExitIdentification = 0x8,
        DeviceRoleAmok = 0x10,
        DeviceRoleOpenZones = 0x20,
        DeviceRolePreferRs485 = 0x40,
    };
    Q_DECLARE_FLAGS(DeviceRoles, DeviceRole)
    static const char* deviceRoleToString(DeviceRole value);
    static DeviceRole deviceRoleCast(int value);
    static QList<DeviceRole> deviceRoleValues(DeviceRoles flags = all<DeviceRoles>());
    static DeviceRole deviceRoleFromString(const QByteArray& text);
    static DeviceRoles deviceRolesCast(unsigned int value);
    static QStringList deviceRolesToStrings(DeviceRoles flags);
    /// All roles whose texts are in the list; texts that name none add nothing.
    static DeviceRoles deviceRolesFromStrings(const QList<QByteArray>& texts);

    static const char* actionProfileClassToString(CActionProfileClass value);
    static CActionProfileClass actionProfileClassCast(int value);
    static QList<CActionProfileClass> actionProfileClassValues();
    static CActionProfileClass actionProfileClassFromString(const QByteArray& text);

    static const char* authPointClassToString(CAuthPointClass value);
    static CAuthPointClass authPointClassCast(int value);
    static QList<CAuthPointClass> authPointClassValues();
    static CAuthPointClass authPointClassFromString(const QByteArray& text);

    static const char* positionClassToString(CPositionClass value);
    static CPositionClass positionClassCast(int value);
    static QList<CPositionClass> positionClassValues();
    static CPositionClass positionClassFromString(const QByteArray& text);

    static const char* userClassToString(CUserClass value);
    static CUserClass userClassCast(int value);
    static QList<CUserClass> userClassValues();
    static CUserClass userClassFromString(const QByteArray& text);

    /// What an access point is used for.
    enum AccessPointFunction : int
    {
        AccessPointFunctionUnknown = 0,
        AccessPointFunctionSimpleDoor = 1,
        AccessPointFunctionMailbox = 2,
        AccessPointFunctionInfrastructure = 3,
        AccessPointFunctionComplexDoor = 4,
        AccessPointFunctionElevator = 5,
        AccessPointFunctionController = 6,
    };
    static const char* accessPointFunctionToString(AccessPointFunction value);
    static AccessPointFunction accessPointFunctionCast(int value);
    static QList<AccessPointFunction> accessPointFunctionValues();
    static AccessPointFunction accessPointFunctionFromString(const QByteArray& text);
    /// The roles that devices of such an access point may take.
    static DeviceRoles accessPointDeviceRoles(AccessPointFunction function);

    /// Options of one access right.
    enum AccessRightOption : unsigned int
    {
        AccessRightOptionOnlineAccess = 0x1,
    };
    Q_DECLARE_FLAGS(AccessRightOptions, AccessRightOption)
    static const char* accessRightOptionToString(AccessRightOption value);
    static AccessRightOption accessRightOptionCast(int value);
    static QList<AccessRightOption> accessRightOptionValues(AccessRightOptions flags = all<AccessRightOptions>());
    static AccessRightOption accessRightOptionFromString(const QByteArray& text);
    static AccessRightOptions accessRightOptionsCast(unsigned int value);
    static QStringList accessRightOptionsToStrings(AccessRightOptions flags);
    static QVariant accessRightOptionsToVariant(AccessRightOptions flags);
    static AccessRightOptions accessRightOptionsFromVariant(const QVariant& variant);

    /// Broadcasts that put doors into or out of a state of alarm.
    enum AlarmType : int
    {
        AlarmTypeUnknown = 0,
        AlarmTypeAmok = 1,
        AlarmTypeAmokOver = 2,
        AlarmTypeOpenAll = 3,
        AlarmTypeCloseAll = 4,
    };
    static const char* alarmTypeToString(AlarmType value);
    static AlarmType alarmTypeCast(int value);
    static QList<AlarmType> alarmTypeValues();
    static AlarmType alarmTypeFromString(const QByteArray& text);
    /// The alarms that a device with these roles can join: those of Amok first, then those of Open Zones.
    static QList<AlarmType> deviceRolesAlarmTypes(DeviceRoles roles);

    /// What starts an action.
    enum EventType : int
    {
        EventTypeUnknown = 0,
        EventTypeInputSignal = 1,
        EventTypeRemoteOpen = 2,
        EventTypeBroadcast = 3,
        EventTypePairing = 4,
        EventTypeTime = 5,
        EventTypeCode = 6,
        EventTypeRfidMedium = 7,
    };
    static const char* eventTypeToString(EventType value);
    static EventType eventTypeCast(int value);
    static QList<EventType> eventTypeValues();
    static EventType eventTypeFromString(const QByteArray& text);

    /// Which kinds of objects a property is defined for. Three further bits travel in a set without a text of their
    /// own.
    enum PropertyClass : unsigned int
    {
        PropertyClassUser = 0x1,
        PropertyClassUserGroup = 0x2,
        PropertyClassDevice = 0x4,
        PropertyClassAccessPoint = 0x8,
        PropertyClassSystem = 0x10,
        PropertyClassAuthPoint = 0x20,
        PropertyClassAuthPointGroup = 0x40,
        PropertyClassAccessPointAuthPoint = 0x80,
        PropertyClassUserRight = 0x100,
        PropertyClassAccessPointRight = 0x200,
    };
    Q_DECLARE_FLAGS(PropertyClasses, PropertyClass)
    static const char* propertyClassToString(PropertyClass value);
    static PropertyClass propertyClassCast(int value);
    static QList<PropertyClass> propertyClassValues(PropertyClasses flags = all<PropertyClasses>());
    static PropertyClass propertyClassFromString(const QByteArray& text);
    static PropertyClasses propertyClassesCast(unsigned int value);
    static QStringList propertyClassesToStrings(PropertyClasses flags);

    /// The type of a property's value.
    enum PropertyType : int
    {
        PropertyTypeNone = 0,
        PropertyTypeText = 1,
        PropertyTypeNumber = 2,
        PropertyTypeReal = 3,
        PropertyTypeOnOff = 4,
        PropertyTypeByteArray = 5,
        PropertyTypeDateTime = 6,
        PropertyTypeDirectoryPath = 7,
        PropertyTypeFilePath = 8,
        PropertyTypePassword = 9,
        PropertyTypeUniqueId = 10,
        PropertyTypeAbsoluteDirectoryPath = 11,
    };
    static const char* propertyTypeToString(PropertyType value);
    static PropertyType propertyTypeCast(int value);
    static QList<PropertyType> propertyTypeValues();
    static PropertyType propertyTypeFromString(const QByteArray& text);

    /// Days on which a time slot applies.
    enum TimeSlotDay : unsigned int
    {
        TimeSlotDayMonday = 0x1,
        TimeSlotDayTuesday = 0x2,
        TimeSlotDayWednesday = 0x4,
        TimeSlotDayThursday = 0x8,
        TimeSlotDayFriday = 0x10,
        TimeSlotDaySaturday = 0x20,
        TimeSlotDaySunday = 0x40,
        TimeSlotDayHoliday = 0x80,
    };
    Q_DECLARE_FLAGS(TimeSlotDays, TimeSlotDay)
    static const char* timeSlotDayToString(TimeSlotDay value);
    static TimeSlotDay timeSlotDayCast(int value);
    static QList<TimeSlotDay> timeSlotDayValues(TimeSlotDays flags = all<TimeSlotDays>());
    static TimeSlotDay timeSlotDayFromString(const QByteArray& text);
    static TimeSlotDays timeSlotDaysCast(unsigned int value);
    static QStringList timeSlotDaysToStrings(TimeSlotDays flags);

    /// Parts of the software that an unlock code opens.
    enum UnlockFilterFlag : unsigned int
    {
        UnlockFilterFlagBasic = 0x1,
        UnlockFilterFlagInfo = 0x2,
        UnlockFilterFlagAdmin = 0x4,
        UnlockFilterFlagTable = 0x8,
    };
    Q_DECLARE_FLAGS(UnlockFilterFlags, UnlockFilterFlag)
    static const char* unlockFilterFlagToString(UnlockFilterFlag value);
    static UnlockFilterFlag unlockFilterFlagCast(int value);
    static QList<UnlockFilterFlag> unlockFilterFlagValues(UnlockFilterFlags flags = all<UnlockFilterFlags>());
    static UnlockFilterFlag unlockFilterFlagFromString(const QByteArray& text);
    static UnlockFilterFlags unlockFilterFlagsCast(unsigned int value);
    static QStringList unlockFilterFlagsToStrings(UnlockFilterFlags flags);

    /// What a user may trigger at an access point.
    enum UserAction : unsigned int
    {
        UserActionOpen = 0x1,
        UserActionOpenLong = 0x2,
        UserActionToggle = 0x4,
        UserActionOfficeModeOn = 0x10,
        UserActionOfficeModeOff = 0x20,
        UserActionLockdownOn = 0x40,
        UserActionLockdownOff = 0x80,
        UserActionAmokOn = 0x100,
        UserActionAmokOff = 0x200,
        UserActionOpenAll = 0x400,
        UserActionCloseAll = 0x800,
        UserActionIdentify = 0x1000,
        UserActionEnrolMedium = 0x2000,
        UserActionService = 0x4000,
        UserActionObserve = 0x10000,
    };
    Q_DECLARE_FLAGS(UserActions, UserAction)
    static const char* userActionToString(UserAction value);
    static UserAction userActionCast(int value);
    static QList<UserAction> userActionValues(UserActions flags = all<UserActions>());
    static UserAction userActionFromString(const QByteArray& text);
    static UserActions userActionsCast(unsigned int value);
    static QStringList userActionsToStrings(UserActions flags);
    static QVariant userActionsToVariant(UserActions flags);
    static UserActions userActionsFromVariant(const QVariant& variant);

    /// How a third system is tied in. 3 stands for one that is not known here.
    enum Integration : int
    {
        IntegrationNone = 0,
        IntegrationInternal = 1,
        IntegrationExternal = 2,
        IntegrationUnknown = 3,
    };
    static const char* integrationToString(Integration value);
    static Integration integrationCast(int value);
    static QList<Integration> integrationValues();
    static Integration integrationFromString(const QByteArray& text);

    // ---- Media and codes

    /// The chip family of an RFID medium. Anything else counts as CardArchitectureUnknown, not as 0.
    enum CardArchitecture : int
    {
        CardArchitectureDesfire = 0,
        CardArchitectureMifarePlus = 1,
        CardArchitectureMifarePlusX = 2,
        CardArchitectureMifareClassic = 3,
        CardArchitectureIsoUid4 = 4,
        CardArchitectureIsoUid7 = 5,
        CardArchitectureUnknown = 6,
    };
    static const char* cardArchitectureToString(CardArchitecture value);
    static CardArchitecture cardArchitectureCast(int value);
    static QList<CardArchitecture> cardArchitectureValues();
    static CardArchitecture cardArchitectureFromString(const QByteArray& text);

    /// The printed design of a card.
    enum CardDesign : int
    {
        CardDesignUnknown = 0,
        CardDesignPlain = 1,
        CardDesignA = 2,
        CardDesignB = 3,
        CardDesignC = 4,
        CardDesignD = 5,
    };
    static const char* cardDesignToString(CardDesign value);
    static CardDesign cardDesignCast(int value);
    static QList<CardDesign> cardDesignValues();
    static CardDesign cardDesignFromString(const QByteArray& text);

    /// The shape of an RFID medium. Anything else counts as CardMediumTypeUnknown, not as 0.
    enum CardMediumType : int
    {
        CardMediumTypeCard = 0,
        CardMediumTypeKeyFob = 1,
        CardMediumTypeWristband = 2,
        CardMediumTypeSticker = 3,
        CardMediumTypeSmartphone = 4,
        CardMediumTypeUnknown = 255,
    };
    static const char* cardMediumTypeToString(CardMediumType value);
    static CardMediumType cardMediumTypeCast(int value);
    static QList<CardMediumType> cardMediumTypeValues();
    static CardMediumType cardMediumTypeFromString(const QByteArray& text);

    /// The set of keys a medium was written with.
    enum Keyset : int
    {
        KeysetUnknown = 0,
        KeysetDevel = 1,
        KeysetBrell2012 = 2,
    };
    static const char* keysetToString(Keyset value);
    static Keyset keysetCast(int value);
    static QList<Keyset> keysetValues();
    static Keyset keysetFromString(const QByteArray& text);

    /// Which media start an action, and when.
    enum MediaEventFlag : unsigned int
    {
        MediaEventFlagKnown = 0x1,
        MediaEventFlagUnknown = 0x2,
        MediaEventFlagBlocked = 0x4,
        MediaEventFlagPresented = 0x40000000,
        MediaEventFlagRemoved = 0x80000000,
    };
    Q_DECLARE_FLAGS(MediaEventFlags, MediaEventFlag)
    static const char* mediaEventFlagToString(MediaEventFlag value);
    static MediaEventFlag mediaEventFlagCast(int value);
    static QList<MediaEventFlag> mediaEventFlagValues(MediaEventFlags flags = all<MediaEventFlags>());
    static MediaEventFlag mediaEventFlagFromString(const QByteArray& text);
    static MediaEventFlags mediaEventFlagsCast(unsigned int value);
    static QStringList mediaEventFlagsToStrings(MediaEventFlags flags);

    /// Which codes start an action: by their number of digits, and whether they are known.
    enum PinCodeEventFlag : unsigned int
    {
        PinCodeEventFlagDigits1 = 0x1,
        PinCodeEventFlagDigits2 = 0x2,
        PinCodeEventFlagDigits3 = 0x4,
        PinCodeEventFlagDigits4 = 0x8,
        PinCodeEventFlagDigits5 = 0x10,
        PinCodeEventFlagDigits6 = 0x20,
        PinCodeEventFlagDigits7 = 0x40,
        PinCodeEventFlagDigits8 = 0x80,
        PinCodeEventFlagDigits9 = 0x100,
        PinCodeEventFlagDigits10 = 0x200,
        PinCodeEventFlagDigits11 = 0x400,
        PinCodeEventFlagDigits12 = 0x800,
        PinCodeEventFlagKnown = 0x40000000,
        PinCodeEventFlagUnknown = 0x80000000,
    };
    Q_DECLARE_FLAGS(PinCodeEventFlags, PinCodeEventFlag)
    static const char* pinCodeEventFlagToString(PinCodeEventFlag value);
    static PinCodeEventFlag pinCodeEventFlagCast(int value);
    static QList<PinCodeEventFlag> pinCodeEventFlagValues(PinCodeEventFlags flags = all<PinCodeEventFlags>());
    static PinCodeEventFlag pinCodeEventFlagFromString(const QByteArray& text);
    static PinCodeEventFlags pinCodeEventFlagsCast(unsigned int value);
    static QStringList pinCodeEventFlagsToStrings(PinCodeEventFlags flags);

    // ---- Devices, their inputs and outputs

    /// What a device type is able to do or equipped with.
    enum DeviceCapability : int
    {
        DeviceCapabilityRfid = 0,
        DeviceCapabilityCode = 1,
        DeviceCapabilityBattery = 2,
        Battery = DeviceCapabilityBattery,
    };
    static const char* deviceCapabilityToString(DeviceCapability value);
    static DeviceCapability deviceCapabilityCast(int value);
    static QList<DeviceCapability> deviceCapabilityValues();
    static DeviceCapability deviceCapabilityFromString(const QByteArray& text);

    /// The product family of a device type.
    enum DeviceCategory : int
    {
        DeviceCategoryUnknown = 0,
        DeviceCategoryOrganisationPlate = 1,
        DeviceCategoryProtectionPlate = 2,
        DeviceCategoryMountedReader = 3,
        DeviceCategoryAdministrative = 4,
        DeviceCategoryIoModule = 5,
        DeviceCategoryInfrastructure = 6,
        DeviceCategoryCylinderLock = 7,
        DeviceCategoryMotorLock = 8,
        DeviceCategorySafeLock = 9,
    };
    static const char* deviceCategoryToString(DeviceCategory value);
    static DeviceCategory deviceCategoryCast(int value);
    static QList<DeviceCategory> deviceCategoryValues();
    static DeviceCategory deviceCategoryFromString(const QByteArray& text);

    /// The inputs of a device: contacts and buttons.
    enum DeviceInput : unsigned int
    {
        DeviceInput1 = 0x1,
        DeviceInput2 = 0x2,
        DeviceInput3 = 0x4,
        DeviceInput4 = 0x8,
        DeviceInput5 = 0x10,
        DeviceInput6 = 0x20,
        DeviceInput7 = 0x40,
        DeviceInput8 = 0x80,
        DeviceInputInteriorButton = 0x100,
        DeviceInputTriangleButton = 0x200,
        DeviceInputSquareButton = 0x400,
        DeviceInputPentagonButton = 0x800,
        DeviceInputHexagonButton = 0x1000,
    };
    Q_DECLARE_FLAGS(DeviceInputs, DeviceInput)
    static const char* deviceInputToString(DeviceInput value);
    static DeviceInput deviceInputCast(int value);
    static QList<DeviceInput> deviceInputValues(DeviceInputs flags = all<DeviceInputs>());
    static DeviceInput deviceInputFromString(const QByteArray& text);
    static DeviceInputs deviceInputsCast(unsigned int value);
    static QStringList deviceInputsToStrings(DeviceInputs flags);

    /// Selects devices by whether the system knows them.
    enum DeviceKnownSelection : int
    {
        DeviceKnownSelectionUnknown = 0,
        DeviceKnownSelectionKnownDevices = 1,
        DeviceKnownSelectionUnknownDevices = 2,
        DeviceKnownSelectionAllDevices = 3,
    };
    static const char* deviceKnownSelectionToString(DeviceKnownSelection value);
    static DeviceKnownSelection deviceKnownSelectionCast(int value);
    static QList<DeviceKnownSelection> deviceKnownSelectionValues();
    static DeviceKnownSelection deviceKnownSelectionFromString(const QByteArray& text);

    /// The outputs of a device.
    enum DeviceOutput : unsigned int
    {
        DeviceOutputMotor = 0x1,
        DeviceOutputRelay1 = 0x2,
        DeviceOutputRelay2 = 0x4,
        DeviceOutputRelay3 = 0x8,
        DeviceOutputRelay4 = 0x10,
        DeviceOutputRelay5 = 0x20,
        DeviceOutputRelay6 = 0x40,
        DeviceOutputRelay7 = 0x80,
        DeviceOutputRelay8 = 0x100,
    };
    Q_DECLARE_FLAGS(DeviceOutputs, DeviceOutput)
    static const char* deviceOutputToString(DeviceOutput value);
    static DeviceOutput deviceOutputCast(int value);
    static QList<DeviceOutput> deviceOutputValues(DeviceOutputs flags = all<DeviceOutputs>());
    static DeviceOutput deviceOutputFromString(const QByteArray& text);
    static DeviceOutputs deviceOutputsCast(unsigned int value);
    static QStringList deviceOutputsToStrings(DeviceOutputs flags);

    /// Selects devices by how they can be reached.
    enum DeviceReachableSelection : int
    {
        DeviceReachableSelectionUnknown = 0,
        DeviceReachableSelectionDirect = 1,
        DeviceReachableSelectionNetworked = 2,
        DeviceReachableSelectionUnreachable = 3,
    };
    static const char* deviceReachableSelectionToString(DeviceReachableSelection value);
    static DeviceReachableSelection deviceReachableSelectionCast(int value);
    static QList<DeviceReachableSelection> deviceReachableSelectionValues();
    static DeviceReachableSelection deviceReachableSelectionFromString(const QByteArray& text);

    /// Which devices a search of the network shows.
    enum DeviceScanFilter : int
    {
        DeviceScanFilterMembers = 0,
        DeviceScanFilterMembersAndFree = 1,
        DeviceScanFilterAll = 2,
        DeviceScanFilterRouters = 3,
    };
    static const char* deviceScanFilterToString(DeviceScanFilter value);
    static DeviceScanFilter deviceScanFilterCast(int value);
    static QList<DeviceScanFilter> deviceScanFilterValues();
    static DeviceScanFilter deviceScanFilterFromString(const QByteArray& text);

    /// What a device signals by light and sound.
    enum DeviceSignallingId : int
    {
        DeviceSignallingIdUnknown = 0,
        DeviceSignallingIdGranted = 1,
        DeviceSignallingIdDenied = 2,
        DeviceSignallingIdBatteryLow = 3,
        DeviceSignallingIdProgramming = 4,
        DeviceSignallingIdError = 5,
        DeviceSignallingIdLocate = 6,
    };
    static const char* deviceSignallingIdToString(DeviceSignallingId value);
    static DeviceSignallingId deviceSignallingIdCast(int value);
    static QList<DeviceSignallingId> deviceSignallingIdValues();
    static DeviceSignallingId deviceSignallingIdFromString(const QByteArray& text);

    /// Where an event came in.
    enum EventInput : int
    {
        EventInputUnknown = 0,
        EventInputReader = 1,
        EventInputKeypad = 2,
        EventInputContact = 3,
        EventInputRadio = 4,
        EventInputClock = 5,
        EventInputNetwork = 6,
    };
    static const char* eventInputToString(EventInput value);
    static EventInput eventInputCast(int value);
    static QList<EventInput> eventInputValues();
    static EventInput eventInputFromString(const QByteArray& text);

    /// The interfaces by which a device talks to others.
    enum InterfaceFlag : unsigned int
    {
        InterfaceFlagRadio = 0x1,
        InterfaceFlagRs485 = 0x2,
        InterfaceFlagRadio2 = 0x4,
    };
    Q_DECLARE_FLAGS(InterfaceFlags, InterfaceFlag)
    static const char* interfaceFlagToString(InterfaceFlag value);
    static InterfaceFlag interfaceFlagCast(int value);
    static QList<InterfaceFlag> interfaceFlagValues(InterfaceFlags flags = all<InterfaceFlags>());
    static InterfaceFlag interfaceFlagFromString(const QByteArray& text);
    static InterfaceFlags interfaceFlagsCast(unsigned int value);
    static QStringList interfaceFlagsToStrings(InterfaceFlags flags);

    /// The kinds of interfaces, however many of each there are.
    enum InterfaceTypeFlag : unsigned int
    {
        InterfaceTypeFlagRadio = 0x1,
        InterfaceTypeFlagRs485 = 0x2,
    };
    Q_DECLARE_FLAGS(InterfaceTypeFlags, InterfaceTypeFlag)
    static const char* interfaceTypeFlagToString(InterfaceTypeFlag value);
    static InterfaceTypeFlag interfaceTypeFlagCast(int value);
    static QList<InterfaceTypeFlag> interfaceTypeFlagValues(InterfaceTypeFlags flags = all<InterfaceTypeFlags>());
    static InterfaceTypeFlag interfaceTypeFlagFromString(const QByteArray& text);
    static InterfaceTypeFlags interfaceTypeFlagsCast(unsigned int value);
    static QStringList interfaceTypeFlagsToStrings(InterfaceTypeFlags flags);

    /// How an input is looked at, which decides what its activations are called.
    enum InputActivationType : int
    {
        InputActivationTypeUnknown = 0,
        InputActivationTypeButton = 1,
        InputActivationTypeState = 2,
        InputActivationTypeEdge = 3,
    };
    static const char* inputActivationTypeToString(InputActivationType value);
    static InputActivationType inputActivationTypeCast(int value);
    static QList<InputActivationType> inputActivationTypeValues();
    static InputActivationType inputActivationTypeFromString(const QByteArray& text);

    /// When an input acts.
    enum InputActivation : int
    {
        InputActivationUnknown = 0,
        InputActivationOn = 1,
        InputActivationOff = 2,
        InputActivationDurationShort = 3,
        InputActivationDurationMiddle = 4,
        InputActivationDurationLong = 5,
    };
    static const char* inputActivationToString(InputActivation activation, InputActivationType type);
    static InputActivation inputActivationCast(int value);
    static QList<InputActivation> inputActivationValues();
    /// Reads every text of every type: "Press", "Immediate" and "Rising Edge" all give InputActivationOn.
    static InputActivation stringToInputActivation(const QByteArray& text);

    /// What is wired to an input.
    enum InputType : int
    {
        InputTypeUnknown = 0,
        InputTypePushButton = 1,
        InputTypeDoorContact = 2,
        InputTypeBoltContact = 3,
        InputTypeMotionDetector = 4,
        InputTypeAlarmSystem = 5,
    };
    static const char* inputTypeToString(InputType value);
    static InputType inputTypeCast(int value);
    static QList<InputType> inputTypeValues();
    static InputType inputTypeFromString(const QByteArray& text);

    /// The state of life of a device.
    enum OperatingMode : int
    {
        OperatingModeFactory = 0,
        OperatingModeMulti = 1,
        OperatingModeSingle = 2,
        OperatingModeExpo = 3,
        OperatingModeWork = 4,
        OperatingModeUndefined = 5,
    };
    static const char* operatingModeToString(OperatingMode value);
    static OperatingMode operatingModeCast(int value);
    static QList<OperatingMode> operatingModeValues();
    static OperatingMode operatingModeFromString(const QByteArray& text);
    /// Whether a device in this mode has been taken into service.
    static bool isInitialized(OperatingMode mode);

    /// What an output does at present.
    enum OutputState : int
    {
        OutputStateInvalid = 0,
        OutputStateDefault = 1,
        OutputStateOutput = 2,
        OutputStateAutoOpen = 3,
        OutputStateLockdown = 4,
    };
    static const char* outputStateToString(OutputState value);
    static OutputState outputStateCast(int value);
    static QList<OutputState> outputStateValues();
    static OutputState outputStateFromString(const QByteArray& text);

    /// What is wired to an output.
    enum OutputType : int
    {
        OutputTypeUnknown = 0,
        OutputTypeMotor = 1,
        OutputTypeOutput = 2,
        OutputTypeReserve = 3,
        OutputTypeRelay = 4,
    };
    static const char* outputTypeToString(OutputType value);
    static OutputType outputTypeCast(int value);
    static QList<OutputType> outputTypeValues();
    static OutputType outputTypeFromString(const QByteArray& text);

    // ---- Device types

    /// What a device says it is. Devices with one text are variants of one product. Numbers that stand for no type
    /// travel through the functions below, which treat them like DeviceTypeUnknown.
    enum DeviceType : int
    {
        DeviceTypeUnknown = 0,
        OrganisationPlate10 = 10,
        OrganisationPlate11 = 11,
        OrganisationPlate12 = 12,
        OrganisationPlate13 = 13,
        OrganisationPlate14 = 14,
        OrganisationPlate15 = 15,
        OrganisationPlate16 = 16,
        OrganisationPlate17 = 17,
        OrganisationPlate18 = 18,
        OrganisationPlate19 = 19,
        ProtectionPlate20 = 20,
        ProtectionPlate21 = 21,
        ProtectionPlate22 = 22,
        ProtectionPlate23 = 23,
        ProtectionPlate24 = 24,
        ProtectionPlate25 = 25,
        ProtectionPlate26 = 26,
        ProtectionPlate27 = 27,
        ProtectionPlate28 = 28,
        ProtectionPlate29 = 29,
        KeypadReader30 = 30,
        KeypadReader31 = 31,
        KeypadReader32 = 32,
        KeypadReader33 = 33,
        KeypadReader34 = 34,
        KeypadReader35 = 35,
        KeypadReader36 = 36,
        KeypadReader37 = 37,
        KeypadReader38 = 38,
        KeypadReader39 = 39,
        RadioStick40 = 40,
        NetworkGateway41 = 41,
        IoModule50 = 50,
        IoModule51 = 51,
        IoModule52 = 52,
        IoModule53 = 53,
        IoModule54 = 54,
        ProtectionPlate60 = 60,
        ProtectionPlate61 = 61,
        ElectronicCylinder70 = 70,
        ElectronicCylinder71 = 71,
        IoController80 = 80,
        InputModule81 = 81,
        MotorLock90 = 90,
        MotorLock91 = 91,
        KeypadReader101 = 101,
        KeypadReader102 = 102,
        IoModule103 = 103,
        IoModule104 = 104,
        BusRepeater105 = 105,
        BusRepeater106 = 106,
        BusRepeater107 = 107,
        RadioRepeater108 = 108,
        KeypadReader109 = 109,
        OrganisationPlate110 = 110,
        OrganisationPlate111 = 111,
        RelayReader112 = 112,
        SafeLock120 = 120,
        SafeLock121 = 121,
        CompactReader130 = 130,
        CompactReader131 = 131,
        CompactReader132 = 132,
    };
    static const char* deviceTypeToString(DeviceType value);
    static DeviceType deviceTypeCast(int value);
    static QList<DeviceType> deviceTypeValues();
    /// Of several types with this text the highest.
    static DeviceType deviceTypeFromString(const QByteArray& text);
    /// Guesses from a name that a person typed, in English or German; DeviceTypeUnknown when no word is known.
    static DeviceType fuzzyDeviceTypeFromString(const QByteArray& text);
    /// The type that stands for all variants of a product: with variant the battery-powered form where there is one,
    /// else the wired one.
    static DeviceType deviceTypeRectify(DeviceType type, bool variant);

    static DeviceCategory deviceCategory(DeviceType type);
    static DeviceRoles deviceTypeDeviceRoles(DeviceType type);
    /// Inputs and outputs that a device of this type has, and those that are in use unless configured otherwise.
    static DeviceInputs deviceInputs(DeviceType type);
    static DeviceInputs defaultInputs(DeviceType type);
    static DeviceOutputs deviceOutputs(DeviceType type);
    static DeviceOutputs defaultOutputs(DeviceType type);
    static InterfaceFlags interfaceFlags(DeviceType type);
    /// A type that is not known counts as battery-powered: nobody waits for an answer that such a device may not give.
    static bool hasDeviceCapability(DeviceType type, DeviceCapability capability);

    // ---- Hardware and firmware

    /// The kind of battery that a device measures with.
    enum battery_type : int
    {
        BatteryTypeAutodetect = 0,
        BatteryTypeLithium = 1,
        BatteryTypeLithiumUnsupported = 2,
        BatteryTypeAlkaline = 3,
    };
    static const char* batteryTypeToString(battery_type value);
    static battery_type batteryTypeCast(int value);
    static QList<battery_type> batteryTypeValues();
    static battery_type batteryTypeFromString(const QByteArray& text);

    /// What a circuit board is.
    enum BoardType : int
    {
        BoardTypeUnknown = 0,
        BoardTypeBattery = 1,
        BoardTypeRemote = 2,
        BoardTypeIoController = 3,
        BoardTypeIo = 4,
        BoardTypeMira = 5,
    };
    static const char* boardTypeToString(BoardType value);
    static BoardType boardTypeCast(int value);
    static QList<BoardType> boardTypeValues();
    static BoardType boardTypeFromString(const QByteArray& text);

    /// What a reset to factory settings erases.
    enum FactoryResetFlag : unsigned int
    {
        FactoryResetFlagDeviceSettings = 0x1,
        FactoryResetFlagSystemMembership = 0x2,
        FactoryResetFlagRadioNetwork = 0x4,
        FactoryResetFlagTimeSettings = 0x8,
        FactoryResetFlagAuthorizations = 0x10,
        FactoryResetFlagTimeProfiles = 0x20,
        FactoryResetFlagHolidayCalendars = 0x40,
        FactoryResetFlagMediaKeys = 0x80,
        FactoryResetFlagCertificates = 0x100,
        FactoryResetFlagEventLog = 0x200,
        FactoryResetFlagStatistics = 0x400,
        FactoryResetFlagCalibrationData = 0x800,
        FactoryResetFlagNetworkSettings = 0x1000,
        FactoryResetFlagSoftwarePackages = 0x2000,
        FactoryResetFlagSignalSettings = 0x4000,
    };
    Q_DECLARE_FLAGS(FactoryResetFlags, FactoryResetFlag)
    static const char* factoryResetFlagToString(FactoryResetFlag value);
    static FactoryResetFlag factoryResetFlagCast(int value);
    static QList<FactoryResetFlag> factoryResetFlagValues(FactoryResetFlags flags = all<FactoryResetFlags>());
    static FactoryResetFlag factoryResetFlagFromString(const QByteArray& text);
    static FactoryResetFlags factoryResetFlagsCast(unsigned int value);
    static QStringList factoryResetFlagsToStrings(FactoryResetFlags flags);

    /// The programs of a device that can be updated.
    enum Firmware : int
    {
        FirmwareUnknown = 0,
        FirmwareApplication = 1,
        FirmwareBootLoader = 2,
        FirmwareRadio = 3,
        FirmwareReader = 4,
    };
    static const char* firmwareToString(Firmware value);
    static Firmware firmwareCast(int value);
    static QList<Firmware> firmwareValues();
    static Firmware firmwareFromString(const QByteArray& text);

    /// What the firmware of a device is able to do.
    enum FirmwareCapabilityFlag : unsigned int
    {
        FirmwareCapabilityFlagSignedImages = 0x1,
        FirmwareCapabilityFlagCompressedImages = 0x2,
        FirmwareCapabilityFlagBackgroundUpdate = 0x4,
        FirmwareCapabilityFlagRollBack = 0x8,
    };
    Q_DECLARE_FLAGS(FirmwareCapabilityFlags, FirmwareCapabilityFlag)
    static const char* firmwareCapabilityFlagToString(FirmwareCapabilityFlag value);
    static FirmwareCapabilityFlag firmwareCapabilityFlagCast(int value);
    static QList<FirmwareCapabilityFlag>
    firmwareCapabilityFlagValues(FirmwareCapabilityFlags flags = all<FirmwareCapabilityFlags>());
    static FirmwareCapabilityFlag firmwareCapabilityFlagFromString(const QByteArray& text);
    static FirmwareCapabilityFlags firmwareCapabilityFlagsCast(unsigned int value);
    static QStringList firmwareCapabilityFlagsToStrings(FirmwareCapabilityFlags flags);

    /// The answer of a device to a request.
    enum GenericStatus : int
    {
        GenericStatusUnknown = 0,
        GenericStatusOk = 1,
        GenericStatusBusy = 2,
        GenericStatusNotSupported = 3,
        GenericStatusInvalidParameter = 4,
        GenericStatusNotAuthorized = 5,
        GenericStatusTimeout = 6,
        GenericStatusFailed = 7,
    };
    static const char* genericStatusToString(GenericStatus value);
    static GenericStatus genericStatusCast(int value);
    static QList<GenericStatus> genericStatusValues();
    static GenericStatus genericStatusFromString(const QByteArray& text);

    /// What a circuit board is fitted with.
    enum hardware_flags : unsigned int
    {
        HardwareFlagRealTimeClock = 0x1,
        HardwareFlagExternalFlash = 0x2,
        HardwareFlagSecureElement = 0x4,
        HardwareFlagBuzzer = 0x8,
        HardwareFlagTamperContact = 0x10,
    };
    Q_DECLARE_FLAGS(HardwareFlags, hardware_flags)
    static const char* hardwareFlagToString(hardware_flags value);
    static hardware_flags hardwareFlagCast(int value);
    static QList<hardware_flags> hardwareFlagValues(HardwareFlags flags = all<HardwareFlags>());
    static hardware_flags hardwareFlagFromString(const QByteArray& text);
    static HardwareFlags hardwareFlagsCast(unsigned int value);
    static QStringList hardwareFlagsToStrings(HardwareFlags flags);

    /// The memories of a device. Anything else counts as MemoryTypeUnknown, not as 0.
    enum MemoryType : int
    {
        MemoryTypeInternalFlash = 0,
        MemoryTypeExternalFlash = 1,
        MemoryTypeEeprom = 2,
        MemoryTypeRam = 3,
        MemoryTypeMsp = 4,
        MemoryTypeUnknown = 5,
    };
    static const char* memoryTypeToString(MemoryType value);
    static MemoryType memoryTypeCast(int value);
    static QList<MemoryType> memoryTypeValues();
    static MemoryType memoryTypeFromString(const QByteArray& text);

    /// The circuit boards that device types are built on.
    enum PcbType : int
    {
        PcbTypeUnknown = 0,
        PcbTypePlate = 1,
        PcbTypeReader = 2,
        PcbTypeIo = 3,
        PcbTypeNetwork = 4,
        PcbTypeCylinder = 5,
        PcbTypeLock = 6,
    };
    static const char* pcbTypeToString(PcbType value);
    static PcbType pcbTypeCast(int value);
    static QList<PcbType> pcbTypeValues();
    static PcbType pcbTypeFromString(const QByteArray& text);
    /// The device types that are built on such a board, in ascending order.
    static QList<DeviceType> getDeviceTypes(PcbType type);

    /// Whether and how a device is simulated.
    enum SimulationMode : int
    {
        SimulationModeOff = 0,
        SimulationModeMedia = 1,
        SimulationModeInputs = 2,
        SimulationModeDevice = 3,
    };
    static const char* simulationModeToString(SimulationMode value);
    static SimulationMode simulationModeCast(int value);
    static QList<SimulationMode> simulationModeValues();
    static SimulationMode simulationModeFromString(const QByteArray& text);

    // ---- Settings and parameters

    static const char* backupIntervalToString(CBackupInterval value);
    static CBackupInterval backupIntervalCast(int value);
    static QList<CBackupInterval> backupIntervalValues();
    static CBackupInterval backupIntervalFromString(const QByteArray& text);

    static const char* dataRetainPeriodToString(CDataRetainPeriod value);
    static CDataRetainPeriod dataRetainPeriodCast(int value);
    static QList<CDataRetainPeriod> dataRetainPeriodValues();
    static CDataRetainPeriod dataRetainPeriodFromString(const QByteArray& text);

    /// Calibration values of a device, by their address.
    enum DeviceCalibrationParameter : int
    {
        DeviceCalibrationParameterUnknown = 0,
        DeviceCalibrationParameterRfPowerLut0 = 4,
        DeviceCalibrationParameterRfPowerLut1 = 8,
        DeviceCalibrationParameterRfPowerLut2 = 12,
        DeviceCalibrationParameterRfPowerLut3 = 16,
        DeviceCalibrationParameterRfPowerLut4 = 20,
        DeviceCalibrationParameterRfPowerLut5 = 24,
        DeviceCalibrationParameterRfPowerLut6 = 28,
    };
    static const char* deviceCalibrationParameterToString(DeviceCalibrationParameter value);
    static DeviceCalibrationParameter deviceCalibrationParameterCast(int value);
    static QList<DeviceCalibrationParameter> deviceCalibrationParameterValues();
    static DeviceCalibrationParameter deviceCalibrationParameterFromString(const QByteArray& text);

    /// Settings kept in a device.
    enum DeviceConfigurationParameter : int
    {
        DeviceConfigurationParameterUnknown = 0,
        DeviceConfigurationParameterOpeningTime = 1,
        DeviceConfigurationParameterExtendedOpeningTime = 2,
        DeviceConfigurationParameterDoorHeldOpenTime = 3,
        DeviceConfigurationParameterSignalVolume = 4,
        DeviceConfigurationParameterSignalBrightness = 5,
        DeviceConfigurationParameterKeypadTimeout = 6,
        DeviceConfigurationParameterRadioPower = 7,
        DeviceConfigurationParameterRadioWakeInterval = 8,
        DeviceConfigurationParameterBusAddress = 9,
    };
    static const char* deviceConfigurationParameterToString(DeviceConfigurationParameter value);
    static DeviceConfigurationParameter deviceConfigurationParameterCast(int value);
    static QList<DeviceConfigurationParameter> deviceConfigurationParameterValues();
    static DeviceConfigurationParameter deviceConfigurationParameterFromString(const QByteArray& text);
    /// The parameter with this text, 0 if there is none.
    static DeviceConfigurationParameter deviceConfigurationParameterFromName(const QByteArray& name);
    /// What the value of a setting may be: "type" (a PropertyType), "minimum", "maximum", "default" and, where it has
    /// one, "unit". Empty for a value that is not defined.
    static QVariantMap getDeviceConfigurationValueSpecs(DeviceConfigurationParameter parameter);

    /// Details that a device records with an event.
    enum DeviceEventParameter : int
    {
        DeviceEventParameterUnknown = 0,
        DeviceEventParameterMedium = 1,
        DeviceEventParameterCode = 2,
        DeviceEventParameterInput = 3,
        DeviceEventParameterOutput = 4,
        DeviceEventParameterAuthPoint = 5,
        DeviceEventParameterTimeProfile = 6,
        DeviceEventParameterBatteryLevel = 7,
        DeviceEventParameterReason = 8,
    };
    static const char* deviceEventParameterToString(DeviceEventParameter value);
    static DeviceEventParameter deviceEventParameterCast(int value);
    static QList<DeviceEventParameter> deviceEventParameterValues();
    static DeviceEventParameter deviceEventParameterFromString(const QByteArray& text);
    /// The translated texts, joined with ", ".
    static QString deviceEventListToString(const QList<DeviceEventParameter>& parameters);

    /// What can be read from a device about itself.
    enum DeviceInformationParameter : int
    {
        DeviceInformationParameterUnknown = 0,
        DeviceInformationParameterOrderNumber = 7,
    };
    static const char* deviceInformationParameterToString(DeviceInformationParameter value);
    static DeviceInformationParameter deviceInformationParameterCast(int value);
    static QList<DeviceInformationParameter> deviceInformationParameterValues();
    static DeviceInformationParameter deviceInformationParameterFromString(const QByteArray& text);

    /// Settings of the management software.
    enum SoftwareSettingParameter : int
    {
        SoftwareSettingParameterUnknown = 0,
        SoftwareSettingParameterDeviceUpdateMode = 1,
        SoftwareSettingParameterNetworkSearchMode = 2,
        SoftwareSettingParameterDataRetainPeriod = 3,
        SoftwareSettingParameterBackupInterval = 4,
        SoftwareSettingParameterRoutingStrategy = 5,
        SoftwareSettingParameterTcpKeepalive = 6,
    };
    static const char* softwareSettingParameterToString(SoftwareSettingParameter value);
    static SoftwareSettingParameter softwareSettingParameterCast(int value);
    static QList<SoftwareSettingParameter> softwareSettingParameterValues();
    static SoftwareSettingParameter softwareSettingParameterFromString(const QByteArray& text);
    /// The parameter with this text, 0 if there is none.
    static SoftwareSettingParameter softwareSettingParameterFromName(const QByteArray& name);
    /// The same as getDeviceConfigurationValueSpecs() for settings of the software.
    static QVariantMap getSoftwareSettingValueSpecs(SoftwareSettingParameter parameter);

    // ---- Ids

    /// The check digit of a label, 0 to 9.
    static unsigned int modulo10Checksum(unsigned int value);
    /// Ids that can be no device's are left out.
    static QList<CDeviceId> deviceIdList(const QList<CItemId>& ids);
    static QSet<CDeviceId> deviceIdSet(const QSet<CItemId>& ids);
    static QList<CItemId> itemIdList(const QList<CDeviceId>& ids);
    static QSet<CItemId> itemIdSet(const QSet<CDeviceId>& ids);

    // ---- Media and codes as numbers and texts

    /// A UID is kept as a number whose bytes are those of the UID, most significant first. A number below 2^32 is a UID
    /// of 4 bytes, below 2^56 one of 7, any other one of 8.
    static QByteArray rfidUidToByteArray(unsigned long long uid);
    /// 0 for a UID that is empty or longer than 8 bytes.
    static unsigned long long rfidUidFromByteArray(const QByteArray& uid);
    /// Upper-case pairs of hexadecimal digits: "04:A1:22:B3".
    static QString rfidUidToLabel(const QByteArray& uid);
    /// Reads a label in either case; empty when the text is anything else.
    static QByteArray rfidUidFromLabel(const QString& label);
    /// The digits of a label without the colons, as other systems write a UID: "04A122B3".
    static QString rfidUidExternalRepresentationFromLabel(const QString& label);
    /// The id that is printed on a medium, in decimal.
    static QString publicMediaIdToLabel(unsigned long long publicMediaId);

    /// A code is kept with its number of digits (1 to 12) in bits 40 to 43 and its value in bits 0 to 39, so that
    /// leading zeros count. A null text for any other number of digits; a value longer than its digits is not cut.
    static QString pinCodeToString(unsigned long long pinCode);
    /// Reads 1 to 12 digits with blanks around them; 0 for any other text.
    static unsigned long long pinCodeFromString(const QString& text);

    // ---- Sets of bits as short texts, runs joined; a null text for 0

    /// "Zone 5", counted from 1.
    static QString broadcastZoneToString(unsigned int zone);
    /// Bit 0 is zone 1: "Zones 1-3, 5".
    static QString broadcastZoneFlagsCompactString(unsigned int zones);
    /// DeviceOutput bits: "Motor, Relays 1-2".
    static QString deviceOutputFlagsCompactString(unsigned int outputs);
    /// The numbers of digits: "4, 6-8 digits". Flags that are no number of digits are left out.
    static QString pinCodeEventFlagsCompactString(PinCodeEventFlags flags);

    // ---- Values as devices send them

    /// The number of the lowest bit that is set, by which a value is shifted to stand under the mask; 0 for no bit.
    static int calculateShiftForBitMask(unsigned int mask);
    /// Up to 8 bytes, most significant first. Of a longer array the last 8 count.
    static unsigned long long byteArrayToULongLong(const QByteArray& bytes);
    /// Always 8 bytes, most significant first.
    static QByteArray uLongLongToByteArray(unsigned long long value);
    /// "-67 dBm". A device that has not heard the other one reports 0 or more: "Unknown", translated.
    static QString rssiToString(signed char rssi);
    /// The same in words, translated: "Excellent" from -60 dBm, "Good" from -75, "Fair" from -85, below that "Weak".
    static QString rssiToSignalStrength(signed char rssi);

    // ---- Validity

    /// First and last moment of a period, in UTC and whole seconds as devices count. A null end is open.
    using TimeInterval = QPair<QDateTime, QDateTime>;
    /// The period from one moment to another; one that is not valid leaves its end open.
    static TimeInterval validityToTimeInterval(const QDateTime& from, const QDateTime& to);
    /// The period of an authorization; of a type without one both ends are open.
    static TimeInterval authToTimeInterval(const CAuthorizationTypeData& authorization);

private:
    // Whatever bits there are: the functions that take this keep the defined ones.
    template<typename Set>
    static constexpr Set all()
    {
        return Set(QFlag(~0));
    }
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::AccessRightOptions)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::PropertyClasses)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::TimeSlotDays)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::UnlockFilterFlags)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::UserActions)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::MediaEventFlags)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::PinCodeEventFlags)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::DeviceInputs)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::DeviceOutputs)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::DeviceRoles)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::InterfaceFlags)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::InterfaceTypeFlags)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::FactoryResetFlags)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::FirmwareCapabilityFlags)
Q_DECLARE_OPERATORS_FOR_FLAGS(CDataType::HardwareFlags)

Q_DECLARE_METATYPE(CDataType::DeviceType)
