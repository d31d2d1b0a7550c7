#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/enumeration_table_p.h>

namespace {

constexpr Entry<CActionProfileClass> actionProfileClassTable[] = {
    {ActionProfileClassUnknown, QT_TRANSLATE_NOOP("@default", "Unknown")},
    {ActionProfileClassRfid, QT_TRANSLATE_NOOP("@default", "RFID")},
    {ActionProfileClassPinCode, QT_TRANSLATE_NOOP("@default", "Pin Code")},
    {ActionProfileClassSmartAccess, QT_TRANSLATE_NOOP("@default", "Smart Access")},
};
using ActionProfileClassFamily = Enumeration<actionProfileClassTable>;

constexpr Entry<CAuthPointClass> authPointClassTable[] = {
    {AuthPointClassUnknown, QT_TRANSLATE_NOOP("@default", "Unknown")},
    {AuthPointClassOpener, QT_TRANSLATE_NOOP("@default", "Opener Authorization Point")},
    {AuthPointClassGroup, QT_TRANSLATE_NOOP("@default", "Group Authorization Point")},
    {AuthPointClassBroadcast, QT_TRANSLATE_NOOP("@default", "Broadcast Authorization Point")},
    {AuthPointClassObserve, QT_TRANSLATE_NOOP("@default", "Observe Authorization Point")},
};
using AuthPointClassFamily = Enumeration<authPointClassTable>;

constexpr Entry<CPositionClass> positionClassTable[] = {
    {PositionClassDevice, QT_TRANSLATE_NOOP("@default", "Device Position")},
    {PositionClassAccessArea, QT_TRANSLATE_NOOP("@default", "Access Area")},
};
using PositionClassFamily = Enumeration<positionClassTable>;

constexpr Entry<CUserClass> userClassTable[] = {
    {UserClassUser, QT_TRANSLATE_NOOP("@default", "User")},
    {UserClassGroup, QT_TRANSLATE_NOOP("@default", "Group")},
    {UserClassMediaPool, QT_TRANSLATE_NOOP("@default", "Media Pool")},
};
using UserClassFamily = Enumeration<userClassTable>;

constexpr Entry<CDataType::AccessPointFunction> accessPointFunctionTable[] = {
    {CDataType::AccessPointFunctionSimpleDoor, QT_TRANSLATE_NOOP("@default", "Simple Door")},
    {CDataType::AccessPointFunctionMailbox, QT_TRANSLATE_NOOP("@default", "Mailbox")},
    {CDataType::AccessPointFunctionInfrastructure, QT_TRANSLATE_NOOP("@default", "Infrastructure")},
    {CDataType::AccessPointFunctionComplexDoor, QT_TRANSLATE_NOOP("@default", "Complex Door")},
    {CDataType::AccessPointFunctionElevator, QT_TRANSLATE_NOOP("@default", "Elevator")},
    {CDataType::AccessPointFunctionController, QT_TRANSLATE_NOOP("@default", "Controller")},
};
using AccessPointFunctionFamily = Enumeration<accessPointFunctionTable>;

constexpr Entry<CDataType::AccessRightOption> accessRightOptionTable[] = {
    {CDataType::AccessRightOptionOnlineAccess, QT_TRANSLATE_NOOP("@default", "Online Access")},
};
using AccessRightOptionFamily = FlagEnumeration<accessRightOptionTable, 0x1>;

constexpr Entry<CDataType::AlarmType> alarmTypeTable[] = {
    {CDataType::AlarmTypeAmok, QT_TRANSLATE_NOOP("@default", "Broadcast Type 1 (Amok)")},
    {CDataType::AlarmTypeAmokOver, QT_TRANSLATE_NOOP("@default", "Broadcast Type 2 (Amok Over)")},
    {CDataType::AlarmTypeOpenAll, QT_TRANSLATE_NOOP("@default", "Broadcast Type 3 (Open All)")},
    {CDataType::AlarmTypeCloseAll, QT_TRANSLATE_NOOP("@default", "Broadcast Type 4 (Close All)")},
};
using AlarmTypeFamily = Enumeration<alarmTypeTable>;

constexpr Entry<CDataType::EventType> eventTypeTable[] = {
    {CDataType::EventTypeInputSignal, QT_TRANSLATE_NOOP("@default", "Input Signal")},
    {CDataType::EventTypeRemoteOpen, QT_TRANSLATE_NOOP("@default", "Remote Open")},
    {CDataType::EventTypeBroadcast, QT_TRANSLATE_NOOP("@default", "Broadcast")},
    {CDataType::EventTypePairing, QT_TRANSLATE_NOOP("@default", "Pairing")},
    {CDataType::EventTypeTime, QT_TRANSLATE_NOOP("@default", "Time")},
    {CDataType::EventTypeCode, QT_TRANSLATE_NOOP("@default", "Code")},
    {CDataType::EventTypeRfidMedium, QT_TRANSLATE_NOOP("@default", "RFID Medium")},
};
using EventTypeFamily = Enumeration<eventTypeTable>;

constexpr Entry<CDataType::PropertyClass> propertyClassTable[] = {
    {CDataType::PropertyClassUser, QT_TRANSLATE_NOOP("@default", "User")},
    {CDataType::PropertyClassUserGroup, QT_TRANSLATE_NOOP("@default", "User Group")},
    {CDataType::PropertyClassDevice, QT_TRANSLATE_NOOP("@default", "Device")},
    {CDataType::PropertyClassAccessPoint, QT_TRANSLATE_NOOP("@default", "Access Point")},
    {CDataType::PropertyClassSystem, QT_TRANSLATE_NOOP("@default", "System")},
    {CDataType::PropertyClassAuthPoint, QT_TRANSLATE_NOOP("@default", "Authorization Point")},
    {CDataType::PropertyClassAuthPointGroup, QT_TRANSLATE_NOOP("@default", "Authorization Point Group")},
    {CDataType::PropertyClassAccessPointAuthPoint,
     QT_TRANSLATE_NOOP("@default", "Authorization Point of Access Point")},
    {CDataType::PropertyClassUserRight, QT_TRANSLATE_NOOP("@default", "Right of User/Group")},
    {CDataType::PropertyClassAccessPointRight, QT_TRANSLATE_NOOP("@default", "Right of Access Point")},
};
using PropertyClassFamily = FlagEnumeration<propertyClassTable, 0x1FFF>;

constexpr Entry<CDataType::PropertyType> propertyTypeTable[] = {
    {CDataType::PropertyTypeNone, QT_TRANSLATE_NOOP("@default", "None")},
    {CDataType::PropertyTypeText, QT_TRANSLATE_NOOP("@default", "Text")},
    {CDataType::PropertyTypeNumber, QT_TRANSLATE_NOOP("@default", "Number")},
    {CDataType::PropertyTypeReal, QT_TRANSLATE_NOOP("@default", "Real")},
    {CDataType::PropertyTypeOnOff, QT_TRANSLATE_NOOP("@default", "On/Off")},
    {CDataType::PropertyTypeByteArray, QT_TRANSLATE_NOOP("@default", "Byte Array")},
    {CDataType::PropertyTypeDateTime, QT_TRANSLATE_NOOP("@default", "Date/Time")},
    {CDataType::PropertyTypeDirectoryPath, QT_TRANSLATE_NOOP("@default", "Directory Path")},
    {CDataType::PropertyTypeFilePath, QT_TRANSLATE_NOOP("@default", "File Path")},
    {CDataType::PropertyTypePassword, QT_TRANSLATE_NOOP("@default", "Password")},
    {CDataType::PropertyTypeUniqueId, QT_TRANSLATE_NOOP("@default", "Unique ID")},
    {CDataType::PropertyTypeAbsoluteDirectoryPath, QT_TRANSLATE_NOOP("@default", "Absolute Directory Path")},
};
using PropertyTypeFamily = Enumeration<propertyTypeTable>;

constexpr Entry<CDataType::TimeSlotDay> timeSlotDayTable[] = {
    {CDataType::TimeSlotDayMonday, QT_TRANSLATE_NOOP("@default", "Monday")},
    {CDataType::TimeSlotDayTuesday, QT_TRANSLATE_NOOP("@default", "Tuesday")},
    {CDataType::TimeSlotDayWednesday, QT_TRANSLATE_NOOP("@default", "Wednesday")},
    {CDataType::TimeSlotDayThursday, QT_TRANSLATE_NOOP("@default", "Thursday")},
    {CDataType::TimeSlotDayFriday, QT_TRANSLATE_NOOP("@default", "Friday")},
    {CDataType::TimeSlotDaySaturday, QT_TRANSLATE_NOOP("@default", "Saturday")},
    {CDataType::TimeSlotDaySunday, QT_TRANSLATE_NOOP("@default", "Sunday")},
    {CDataType::TimeSlotDayHoliday, QT_TRANSLATE_NOOP("@default", "Holiday")},
};
using TimeSlotDayFamily = FlagEnumeration<timeSlotDayTable, 0xFF>;

constexpr Entry<CDataType::UnlockFilterFlag> unlockFilterFlagTable[] = {
    {CDataType::UnlockFilterFlagBasic, QT_TRANSLATE_NOOP("@default", "Basic")},
    {CDataType::UnlockFilterFlagInfo, QT_TRANSLATE_NOOP("@default", "Info")},
    {CDataType::UnlockFilterFlagAdmin, QT_TRANSLATE_NOOP("@default", "Admin")},
    {CDataType::UnlockFilterFlagTable, QT_TRANSLATE_NOOP("@default", "Table")},
};
using UnlockFilterFlagFamily = FlagEnumeration<unlockFilterFlagTable, 0xF>;

constexpr Entry<CDataType::UserAction> userActionTable[] = {
    {CDataType::UserActionOpen, QT_TRANSLATE_NOOP("@default", "Open")},
    {CDataType::UserActionOpenLong, QT_TRANSLATE_NOOP("@default", "Open Long")},
    {CDataType::UserActionToggle, QT_TRANSLATE_NOOP("@default", "Toggle")},
    {CDataType::UserActionOfficeModeOn, QT_TRANSLATE_NOOP("@default", "Office Mode On")},
    {CDataType::UserActionOfficeModeOff, QT_TRANSLATE_NOOP("@default", "Office Mode Off")},
    {CDataType::UserActionLockdownOn, QT_TRANSLATE_NOOP("@default", "Lockdown On")},
    {CDataType::UserActionLockdownOff, QT_TRANSLATE_NOOP("@default", "Lockdown Off")},
    {CDataType::UserActionAmokOn, QT_TRANSLATE_NOOP("@default", "Amok Alarm")},
    {CDataType::UserActionAmokOff, QT_TRANSLATE_NOOP("@default", "Amok Alarm Over")},
    {CDataType::UserActionOpenAll, QT_TRANSLATE_NOOP("@default", "Open All Doors")},
    {CDataType::UserActionCloseAll, QT_TRANSLATE_NOOP("@default", "Close All Doors")},
    {CDataType::UserActionIdentify, QT_TRANSLATE_NOOP("@default", "Identify")},
    {CDataType::UserActionEnrolMedium, QT_TRANSLATE_NOOP("@default", "Enrol Medium")},
    {CDataType::UserActionService, QT_TRANSLATE_NOOP("@default", "Service Access")},
    {CDataType::UserActionObserve, QT_TRANSLATE_NOOP("@default", "Observe")},
};
using UserActionFamily = FlagEnumeration<userActionTable, 0x17FF7>;

constexpr Entry<CDataType::Integration> integrationTable[] = {
    {CDataType::IntegrationNone, QT_TRANSLATE_NOOP("@default", "None")},
    {CDataType::IntegrationInternal, QT_TRANSLATE_NOOP("@default", "Internal")},
    {CDataType::IntegrationExternal, QT_TRANSLATE_NOOP("@default", "External")},
};
using IntegrationFamily = Enumeration<integrationTable, CDataType::IntegrationUnknown>;

} // namespace

// One line a function.
// clang-format off
KYR_ENUMERATION(ActionProfileClassFamily, actionProfileClass)
KYR_ENUMERATION(AuthPointClassFamily, authPointClass)
KYR_ENUMERATION(PositionClassFamily, positionClass)
KYR_ENUMERATION(UserClassFamily, userClass)
KYR_ENUMERATION(AccessPointFunctionFamily, accessPointFunction)
KYR_FLAG_ENUMERATION(AccessRightOptionFamily, accessRightOption, accessRightOptions, nullptr)
QVariant CDataType::accessRightOptionsToVariant(AccessRightOptions flags) { return AccessRightOptionFamily::toVariant(flags); }
CDataType::AccessRightOptions CDataType::accessRightOptionsFromVariant(const QVariant& variant) { return AccessRightOptionFamily::fromVariant(variant); }

KYR_ENUMERATION(AlarmTypeFamily, alarmType)
KYR_ENUMERATION(EventTypeFamily, eventType)
KYR_FLAG_ENUMERATION(PropertyClassFamily, propertyClass, propertyClasses, "PropertyClasses")
KYR_ENUMERATION(PropertyTypeFamily, propertyType)
KYR_FLAG_ENUMERATION(TimeSlotDayFamily, timeSlotDay, timeSlotDays, "TimeSlotDays")
KYR_FLAG_ENUMERATION(UnlockFilterFlagFamily, unlockFilterFlag, unlockFilterFlags, nullptr)
KYR_FLAG_ENUMERATION(UserActionFamily, userAction, userActions, nullptr)
QVariant CDataType::userActionsToVariant(UserActions flags) { return UserActionFamily::toVariant(flags); }
CDataType::UserActions CDataType::userActionsFromVariant(const QVariant& variant) { return UserActionFamily::fromVariant(variant); }

KYR_ENUMERATION(IntegrationFamily, integration)
// clang-format on

CDataType::DeviceRoles CDataType::accessPointDeviceRoles(AccessPointFunction function)
{
    if (accessPointFunctionCast(function) == AccessPointFunctionUnknown)
        return {};
    if (function == AccessPointFunctionInfrastructure)
        return DeviceRoleRepeater;
    return DeviceRoleIdentification | DeviceRoleOpener | DeviceRoleAmok | DeviceRoleOpenZones | DeviceRolePreferRs485;
}

QList<CDataType::AlarmType> CDataType::deviceRolesAlarmTypes(DeviceRoles roles)
{
    QList<AlarmType> types;
    if (roles & DeviceRoleAmok)
        types << AlarmTypeAmok << AlarmTypeAmokOver;
    if (roles & DeviceRoleOpenZones)
        types << AlarmTypeOpenAll << AlarmTypeCloseAll;
    return types;
}
