#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/enumeration_table_p.h>

namespace {

constexpr Entry<CBackupInterval> backupIntervalTable[] = {
    {BackupIntervalNever, QT_TRANSLATE_NOOP("@default", "Never")},
    {BackupIntervalDaily, QT_TRANSLATE_NOOP("@default", "Daily")},
    {BackupIntervalWeekly, QT_TRANSLATE_NOOP("@default", "Weekly")},
    {BackupIntervalBiweekly, QT_TRANSLATE_NOOP("@default", "Biweekly")},
    {BackupIntervalMonthly, QT_TRANSLATE_NOOP("@default", "Monthly")},
};
using BackupIntervalFamily = Enumeration<backupIntervalTable>;

constexpr Entry<CDataRetainPeriod> dataRetainPeriodTable[] = {
    {DataRetainPeriod7Days, QT_TRANSLATE_NOOP("@default", "7 days")},
    {DataRetainPeriod30Days, QT_TRANSLATE_NOOP("@default", "30 days")},
    {DataRetainPeriod2Months, QT_TRANSLATE_NOOP("@default", "2 months")},
    {DataRetainPeriod6Months, QT_TRANSLATE_NOOP("@default", "6 months")},
    {DataRetainPeriod1Year, QT_TRANSLATE_NOOP("@default", "1 year")},
    {DataRetainPeriod2Years, QT_TRANSLATE_NOOP("@default", "2 years")},
    {DataRetainPeriod5Years, QT_TRANSLATE_NOOP("@default", "5 years")},
    {DataRetainPeriod10Years, QT_TRANSLATE_NOOP("@default", "10 years")},
    {DataRetainPeriod15Years, QT_TRANSLATE_NOOP("@default", "15 years")},
    {DataRetainPeriod30Years, QT_TRANSLATE_NOOP("@default", "30 years")},
};
using DataRetainPeriodFamily = Enumeration<dataRetainPeriodTable, DataRetainPeriod2Years>;

constexpr Entry<CDataType::DeviceCalibrationParameter> deviceCalibrationParameterTable[] = {
    {CDataType::DeviceCalibrationParameterUnknown, QT_TRANSLATE_NOOP("@default", "Unknown")},
    {CDataType::DeviceCalibrationParameterRfPowerLut0, QT_TRANSLATE_NOOP("@default", "RF Power LUT 0")},
    {CDataType::DeviceCalibrationParameterRfPowerLut1, QT_TRANSLATE_NOOP("@default", "RF Power LUT 1")},
    {CDataType::DeviceCalibrationParameterRfPowerLut2, QT_TRANSLATE_NOOP("@default", "RF Power LUT 2")},
    {CDataType::DeviceCalibrationParameterRfPowerLut3, QT_TRANSLATE_NOOP("@default", "RF Power LUT 3")},
    {CDataType::DeviceCalibrationParameterRfPowerLut4, QT_TRANSLATE_NOOP("@default", "RF Power LUT 4")},
    {CDataType::DeviceCalibrationParameterRfPowerLut5, QT_TRANSLATE_NOOP("@default", "RF Power LUT 5")},
    {CDataType::DeviceCalibrationParameterRfPowerLut6, QT_TRANSLATE_NOOP("@default", "RF Power LUT 6")},
};
using DeviceCalibrationParameterFamily = Enumeration<deviceCalibrationParameterTable>;

constexpr Entry<CDataType::DeviceConfigurationParameter> deviceConfigurationParameterTable[] = {
    {CDataType::DeviceConfigurationParameterOpeningTime, QT_TRANSLATE_NOOP("@default", "Opening Time")},
    {CDataType::DeviceConfigurationParameterExtendedOpeningTime,
     QT_TRANSLATE_NOOP("@default", "Extended Opening Time")},
    {CDataType::DeviceConfigurationParameterDoorHeldOpenTime, QT_TRANSLATE_NOOP("@default", "Door Held Open Time")},
    {CDataType::DeviceConfigurationParameterSignalVolume, QT_TRANSLATE_NOOP("@default", "Signal Volume")},
    {CDataType::DeviceConfigurationParameterSignalBrightness, QT_TRANSLATE_NOOP("@default", "Signal Brightness")},
    {CDataType::DeviceConfigurationParameterKeypadTimeout, QT_TRANSLATE_NOOP("@default", "Keypad Timeout")},
    {CDataType::DeviceConfigurationParameterRadioPower, QT_TRANSLATE_NOOP("@default", "Radio Power")},
    {CDataType::DeviceConfigurationParameterRadioWakeInterval, QT_TRANSLATE_NOOP("@default", "Radio Wake Interval")},
    {CDataType::DeviceConfigurationParameterBusAddress, QT_TRANSLATE_NOOP("@default", "Bus Address")},
};
using DeviceConfigurationParameterFamily = Enumeration<deviceConfigurationParameterTable>;

constexpr Entry<CDataType::DeviceEventParameter> deviceEventParameterTable[] = {
    {CDataType::DeviceEventParameterMedium, QT_TRANSLATE_NOOP("@default", "Medium")},
    {CDataType::DeviceEventParameterCode, QT_TRANSLATE_NOOP("@default", "Code")},
    {CDataType::DeviceEventParameterInput, QT_TRANSLATE_NOOP("@default", "Input")},
    {CDataType::DeviceEventParameterOutput, QT_TRANSLATE_NOOP("@default", "Output")},
    {CDataType::DeviceEventParameterAuthPoint, QT_TRANSLATE_NOOP("@default", "Authorization Point")},
    {CDataType::DeviceEventParameterTimeProfile, QT_TRANSLATE_NOOP("@default", "Time Profile")},
    {CDataType::DeviceEventParameterBatteryLevel, QT_TRANSLATE_NOOP("@default", "Battery Level")},
    {CDataType::DeviceEventParameterReason, QT_TRANSLATE_NOOP("@default", "Reason")},
};
using DeviceEventParameterFamily = Enumeration<deviceEventParameterTable>;

constexpr Entry<CDataType::DeviceInformationParameter> deviceInformationParameterTable[] = {
    {CDataType::DeviceInformationParameterOrderNumber, QT_TRANSLATE_NOOP("@default", "Order Number")},
};
using DeviceInformationParameterFamily = Enumeration<deviceInformationParameterTable>;

constexpr Entry<CDataType::SoftwareSettingParameter> softwareSettingParameterTable[] = {
    {CDataType::SoftwareSettingParameterDeviceUpdateMode, QT_TRANSLATE_NOOP("@default", "Device Update Mode")},
    {CDataType::SoftwareSettingParameterNetworkSearchMode, QT_TRANSLATE_NOOP("@default", "Network Search Mode")},
    {CDataType::SoftwareSettingParameterDataRetainPeriod, QT_TRANSLATE_NOOP("@default", "Data Retain Period")},
    {CDataType::SoftwareSettingParameterBackupInterval, QT_TRANSLATE_NOOP("@default", "Backup Interval")},
    {CDataType::SoftwareSettingParameterRoutingStrategy, QT_TRANSLATE_NOOP("@default", "Routing Strategy")},
    {CDataType::SoftwareSettingParameterTcpKeepalive, QT_TRANSLATE_NOOP("@default", "TCP Keepalive")},
};
using SoftwareSettingParameterFamily = Enumeration<softwareSettingParameterTable>;

// What a setting's value may be.
template<typename Parameter>
struct ValueSpec
{
    Parameter value;
    CDataType::PropertyType type;
    int minimum;
    int maximum;
    int initial;
    const char* unit;
};

constexpr ValueSpec<CDataType::DeviceConfigurationParameter> deviceConfigurationSpecs[] = {
    {CDataType::DeviceConfigurationParameterOpeningTime, CDataType::PropertyTypeNumber, 1, 255, 3, "s"},
    {CDataType::DeviceConfigurationParameterExtendedOpeningTime, CDataType::PropertyTypeNumber, 1, 255, 10, "s"},
    {CDataType::DeviceConfigurationParameterDoorHeldOpenTime, CDataType::PropertyTypeNumber, 0, 3600, 60, "s"},
    {CDataType::DeviceConfigurationParameterSignalVolume, CDataType::PropertyTypeNumber, 0, 100, 50, "%"},
    {CDataType::DeviceConfigurationParameterSignalBrightness, CDataType::PropertyTypeNumber, 0, 100, 50, "%"},
    {CDataType::DeviceConfigurationParameterKeypadTimeout, CDataType::PropertyTypeNumber, 1, 60, 10, "s"},
    {CDataType::DeviceConfigurationParameterRadioPower, CDataType::PropertyTypeNumber, 0, 6, 6, nullptr},
    {CDataType::DeviceConfigurationParameterRadioWakeInterval, CDataType::PropertyTypeNumber, 100, 5000, 500, "ms"},
    {CDataType::DeviceConfigurationParameterBusAddress, CDataType::PropertyTypeNumber, 1, 31, 1, nullptr},
};

constexpr ValueSpec<CDataType::SoftwareSettingParameter> softwareSettingSpecs[] = {
    {CDataType::SoftwareSettingParameterDeviceUpdateMode, CDataType::PropertyTypeNumber, 0, 2, 0, nullptr},
    {CDataType::SoftwareSettingParameterNetworkSearchMode, CDataType::PropertyTypeNumber, 0, 2, 0, nullptr},
    {CDataType::SoftwareSettingParameterDataRetainPeriod, CDataType::PropertyTypeNumber, DataRetainPeriod7Days,
     DataRetainPeriod30Years, DataRetainPeriod2Years, "d"},
    {CDataType::SoftwareSettingParameterBackupInterval, CDataType::PropertyTypeNumber, BackupIntervalNever,
     BackupIntervalMonthly, BackupIntervalDaily, "d"},
    {CDataType::SoftwareSettingParameterRoutingStrategy, CDataType::PropertyTypeNumber, 0, 2, 0, nullptr},
    {CDataType::SoftwareSettingParameterTcpKeepalive, CDataType::PropertyTypeOnOff, 0, 1, 1, nullptr},
};

template<const auto& Specs, typename Parameter>
QVariantMap valueSpec(Parameter parameter)
{
    const auto* spec = Lookup<Specs>::find(parameter);
    if (!spec)
        return {};
    QVariantMap map{{QStringLiteral("type"), int(spec->type)},
                    {QStringLiteral("minimum"), spec->minimum},
                    {QStringLiteral("maximum"), spec->maximum},
                    {QStringLiteral("default"), spec->initial}};
    if (spec->unit)
        map.insert(QStringLiteral("unit"), QString::fromLatin1(spec->unit));
    return map;
}

} // namespace

// One line a function.
// clang-format off
KYR_ENUMERATION(BackupIntervalFamily, backupInterval)
KYR_ENUMERATION(DataRetainPeriodFamily, dataRetainPeriod)
KYR_ENUMERATION(DeviceCalibrationParameterFamily, deviceCalibrationParameter)
KYR_ENUMERATION(DeviceConfigurationParameterFamily, deviceConfigurationParameter)
KYR_ENUMERATION(DeviceEventParameterFamily, deviceEventParameter)
KYR_ENUMERATION(DeviceInformationParameterFamily, deviceInformationParameter)
KYR_ENUMERATION(SoftwareSettingParameterFamily, softwareSettingParameter)
// clang-format on

CDataType::DeviceConfigurationParameter CDataType::deviceConfigurationParameterFromName(const QByteArray& name)
{
    return deviceConfigurationParameterFromString(name);
}

CDataType::SoftwareSettingParameter CDataType::softwareSettingParameterFromName(const QByteArray& name)
{
    return softwareSettingParameterFromString(name);
}

QVariantMap CDataType::getDeviceConfigurationValueSpecs(DeviceConfigurationParameter parameter)
{
    return valueSpec<deviceConfigurationSpecs>(parameter);
}

QVariantMap CDataType::getSoftwareSettingValueSpecs(SoftwareSettingParameter parameter)
{
    return valueSpec<softwareSettingSpecs>(parameter);
}

QString CDataType::deviceEventListToString(const QList<DeviceEventParameter>& parameters)
{
    QStringList texts;
    for (const DeviceEventParameter parameter : parameters)
        texts.append(DeviceEventParameterFamily::translated(parameter));
    return texts.join(QLatin1String(", "));
}
