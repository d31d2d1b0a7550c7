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
const char* CDataType::actionProfileClassToString(CActionProfileClass value) { return ActionProfileClassFamily::text(value); }
CActionProfileClass CDataType::actionProfileClassCast(int value) { return ActionProfileClassFamily::cast(value); }
QList<CActionProfileClass> CDataType::actionProfileClassValues() { return ActionProfileClassFamily::values(); }
CActionProfileClass CDataType::actionProfileClassFromString(const QByteArray& text) { return ActionProfileClassFamily::fromText(text); }

const char* CDataType::authPointClassToString(CAuthPointClass value) { return AuthPointClassFamily::text(value); }
CAuthPointClass CDataType::authPointClassCast(int value) { return AuthPointClassFamily::cast(value); }
QList<CAuthPointClass> CDataType::authPointClassValues() { return AuthPointClassFamily::values(); }
CAuthPointClass CDataType::authPointClassFromString(const QByteArray& text) { return AuthPointClassFamily::fromText(text); }

const char* CDataType::positionClassToString(CPositionClass value) { return PositionClassFamily::text(value); }
CPositionClass CDataType::positionClassCast(int value) { return PositionClassFamily::cast(value); }
QList<CPositionClass> CDataType::positionClassValues() { return PositionClassFamily::values(); }
CPositionClass CDataType::positionClassFromString(const QByteArray& text) { return PositionClassFamily::fromText(text); }

const char* CDataType::userClassToString(CUserClass value) { return UserClassFamily::text(value); }
CUserClass CDataType::userClassCast(int value) { return UserClassFamily::cast(value); }
QList<CUserClass> CDataType::userClassValues() { return UserClassFamily::values(); }
CUserClass CDataType::userClassFromString(const QByteArray& text) { return UserClassFamily::fromText(text); }

const char* CDataType::accessPointFunctionToString(AccessPointFunction value) { return AccessPointFunctionFamily::text(value); }
CDataType::AccessPointFunction CDataType::accessPointFunctionCast(int value) { return AccessPointFunctionFamily::cast(value); }
QList<CDataType::AccessPointFunction> CDataType::accessPointFunctionValues() { return AccessPointFunctionFamily::values(); }
CDataType::AccessPointFunction CDataType::accessPointFunctionFromString(const QByteArray& text) { return AccessPointFunctionFamily::fromText(text); }

const char* CDataType::accessRightOptionToString(AccessRightOption value) { return AccessRightOptionFamily::text(value); }
CDataType::AccessRightOption CDataType::accessRightOptionCast(int value) { return AccessRightOptionFamily::cast(value); }
QList<CDataType::AccessRightOption> CDataType::accessRightOptionValues(AccessRightOptions flags) { return AccessRightOptionFamily::values(flags); }
CDataType::AccessRightOption CDataType::accessRightOptionFromString(const QByteArray& text) { return AccessRightOptionFamily::fromText(text); }
CDataType::AccessRightOptions CDataType::accessRightOptionsCast(unsigned int value) { return AccessRightOptionFamily::castSet(value); }
QStringList CDataType::accessRightOptionsToStrings(AccessRightOptions flags) { return AccessRightOptionFamily::texts(flags); }
QVariant CDataType::accessRightOptionsToVariant(AccessRightOptions flags) { return AccessRightOptionFamily::toVariant(flags); }
CDataType::AccessRightOptions CDataType::accessRightOptionsFromVariant(const QVariant& variant) { return AccessRightOptionFamily::fromVariant(variant); }

const char* CDataType::alarmTypeToString(AlarmType value) { return AlarmTypeFamily::text(value); }
CDataType::AlarmType CDataType::alarmTypeCast(int value) { return AlarmTypeFamily::cast(value); }
QList<CDataType::AlarmType> CDataType::alarmTypeValues() { return AlarmTypeFamily::values(); }
CDataType::AlarmType CDataType::alarmTypeFromString(const QByteArray& text) { return AlarmTypeFamily::fromText(text); }

const char* CDataType::eventTypeToString(EventType value) { return EventTypeFamily::text(value); }
CDataType::EventType CDataType::eventTypeCast(int value) { return EventTypeFamily::cast(value); }
QList<CDataType::EventType> CDataType::eventTypeValues() { return EventTypeFamily::values(); }
CDataType::EventType CDataType::eventTypeFromString(const QByteArray& text) { return EventTypeFamily::fromText(text); }

const char* CDataType::propertyClassToString(PropertyClass value) { return PropertyClassFamily::text(value); }
CDataType::PropertyClass CDataType::propertyClassCast(int value) { return PropertyClassFamily::cast(value); }
QList<CDataType::PropertyClass> CDataType::propertyClassValues(PropertyClasses flags) { return PropertyClassFamily::values(flags); }
CDataType::PropertyClass CDataType::propertyClassFromString(const QByteArray& text) { return PropertyClassFamily::fromText(text); }
CDataType::PropertyClasses CDataType::propertyClassesCast(unsigned int value) { return PropertyClassFamily::castSet(value, "PropertyClasses"); }
QStringList CDataType::propertyClassesToStrings(PropertyClasses flags) { return PropertyClassFamily::texts(flags); }

const char* CDataType::propertyTypeToString(PropertyType value) { return PropertyTypeFamily::text(value); }
CDataType::PropertyType CDataType::propertyTypeCast(int value) { return PropertyTypeFamily::cast(value); }
QList<CDataType::PropertyType> CDataType::propertyTypeValues() { return PropertyTypeFamily::values(); }
CDataType::PropertyType CDataType::propertyTypeFromString(const QByteArray& text) { return PropertyTypeFamily::fromText(text); }

const char* CDataType::timeSlotDayToString(TimeSlotDay value) { return TimeSlotDayFamily::text(value); }
CDataType::TimeSlotDay CDataType::timeSlotDayCast(int value) { return TimeSlotDayFamily::cast(value); }
QList<CDataType::TimeSlotDay> CDataType::timeSlotDayValues(TimeSlotDays flags) { return TimeSlotDayFamily::values(flags); }
CDataType::TimeSlotDay CDataType::timeSlotDayFromString(const QByteArray& text) { return TimeSlotDayFamily::fromText(text); }
CDataType::TimeSlotDays CDataType::timeSlotDaysCast(unsigned int value) { return TimeSlotDayFamily::castSet(value, "TimeSlotDays"); }
QStringList CDataType::timeSlotDaysToStrings(TimeSlotDays flags) { return TimeSlotDayFamily::texts(flags); }

const char* CDataType::unlockFilterFlagToString(UnlockFilterFlag value) { return UnlockFilterFlagFamily::text(value); }
CDataType::UnlockFilterFlag CDataType::unlockFilterFlagCast(int value) { return UnlockFilterFlagFamily::cast(value); }
QList<CDataType::UnlockFilterFlag> CDataType::unlockFilterFlagValues(UnlockFilterFlags flags) { return UnlockFilterFlagFamily::values(flags); }
CDataType::UnlockFilterFlag CDataType::unlockFilterFlagFromString(const QByteArray& text) { return UnlockFilterFlagFamily::fromText(text); }
CDataType::UnlockFilterFlags CDataType::unlockFilterFlagsCast(unsigned int value) { return UnlockFilterFlagFamily::castSet(value); }
QStringList CDataType::unlockFilterFlagsToStrings(UnlockFilterFlags flags) { return UnlockFilterFlagFamily::texts(flags); }

const char* CDataType::userActionToString(UserAction value) { return UserActionFamily::text(value); }
CDataType::UserAction CDataType::userActionCast(int value) { return UserActionFamily::cast(value); }
QList<CDataType::UserAction> CDataType::userActionValues(UserActions flags) { return UserActionFamily::values(flags); }
CDataType::UserAction CDataType::userActionFromString(const QByteArray& text) { return UserActionFamily::fromText(text); }
CDataType::UserActions CDataType::userActionsCast(unsigned int value) { return UserActionFamily::castSet(value); }
QStringList CDataType::userActionsToStrings(UserActions flags) { return UserActionFamily::texts(flags); }
QVariant CDataType::userActionsToVariant(UserActions flags) { return UserActionFamily::toVariant(flags); }
CDataType::UserActions CDataType::userActionsFromVariant(const QVariant& variant) { return UserActionFamily::fromVariant(variant); }

const char* CDataType::integrationToString(Integration value) { return IntegrationFamily::text(value); }
CDataType::Integration CDataType::integrationCast(int value) { return IntegrationFamily::cast(value); }
QList<CDataType::Integration> CDataType::integrationValues() { return IntegrationFamily::values(); }
CDataType::Integration CDataType::integrationFromString(const QByteArray& text) { return IntegrationFamily::fromText(text); }
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
