#include <foundation/core/device_id.h>
#include <foundation/core/foundation_translator.h>
#include <foundation/datatypes/authorization_types.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/permission.h>

#include <QtTest/QtTest>

using T = CDataType;

namespace {

QStringList logged;

void collect(QtMsgType, const QMessageLogContext& context, const QString& text)
{
    logged += QString::fromUtf8(context.category) + ": " + text;
}

// Whatever the table: values survive the cast, all others become the fallback, texts lead back. `stored` is the
// vocabulary typed a second time, for those that are stored in databases and sent to devices.
template<typename Enum>
void check(const char* name, const char* (*text)(Enum), Enum (*cast)(int), Enum (*fromText)(const QByteArray&),
           const QList<Enum>& values, int fallback, const char* stored, const char* unknown)
{
    QVERIFY2(!values.isEmpty(), name);
    CFoundationTranslator translator;
    QVERIFY(translator.setLanguage("en"));
    QStringList listing;
    for (const Enum value : values) {
        const QByteArray word = text(value);
        listing += QString::number(quint32(value)) + ' ' + word;
        const Enum found = fromText(word);
        const bool sharesText = qstrcmp(name, "deviceType") == 0 && found > value;
        QVERIFY2(cast(int(value)) == value && text(found) == word && (found == value || sharesText), name);
        QVERIFY2(word.toUpper() == word || fromText(word.toUpper()) == 0, word.constData());
        QCOMPARE(translator.translate("@default", word.constData()), QString(word));
    }
    if (stored)
        QCOMPARE(listing.join(", "), stored);
    for (int value = -3; value < 12000; ++value) {
        const bool passes =
            values.contains(Enum(value)) || value == fallback || (value == 8 && qstrcmp(name, "deviceRole") == 0);
        QVERIFY2(cast(value) == Enum(passes ? value : fallback), name);
        QVERIFY2(passes || qstrcmp(text(Enum(value)), unknown) == 0, name);
    }
    QVERIFY2(cast(std::numeric_limits<int>::max()) == Enum(fallback), name);
    QVERIFY2(fromText("No such text") == 0 && fromText({}) == 0, name);
}

template<typename Enum>
void plain(const char* name, const char* (*text)(Enum), Enum (*cast)(int), Enum (*fromText)(const QByteArray&),
           QList<Enum> (*values)(), int fallback = 0, const char* stored = nullptr, const char* unknown = "Unknown")
{
    check(name, text, cast, fromText, values(), fallback, stored, unknown);
}

// Sets keep the bits of `mask`; some warn of others under the name `warning`.
template<typename Enum>
void flags(const char* name, const char* (*text)(Enum), Enum (*cast)(int), Enum (*fromText)(const QByteArray&),
           QList<Enum> (*values)(QFlags<Enum>), QFlags<Enum> (*castSet)(unsigned int),
           QStringList (*setTexts)(QFlags<Enum>), quint32 mask, const char* warning = nullptr,
           const char* stored = nullptr)
{
    using Set = QFlags<Enum>;
    quint32 together = 0;
    QStringList texts;
    QList<Enum> named;
    for (const Enum bit : values(Set(QFlag(~0u)))) {
        QVERIFY2(quint32(bit) > together && qPopulationCount(quint32(bit)) == 1, name);
        together |= bit;
        texts += text(bit);
        if (texts.last() != "Unknown")
            named += bit;
    }
    QCOMPARE(together, mask);
    QCOMPARE(setTexts(Set(QFlag(~0u))), texts);
    QVERIFY2(values({}).isEmpty() && values(Set(QFlag(mask & 1))).size() == int(mask & 1), name);
    check(name, text, cast, fromText, named, 0, stored, "Unknown");

    QStringList warnings;
    logged.clear();
    for (const quint32 bits : {0u, mask, ~0u, mask << 1 | 1, mask | 0x20000000}) {
        if (warning && (bits & ~mask) != 0)
            warnings += QString::asprintf("default: %s: Cast with invalid value %x", warning, bits);
        QCOMPARE(quint32(typename Set::Int(castSet(bits))), bits & mask);
    }
    QCOMPARE(logged, warnings);
}

#define FAMILY(xxx) #xxx, &T::xxx##ToString, &T::xxx##Cast, &T::xxx##FromString, &T::xxx##Values
#define SETS(xxxs) &T::xxxs##Cast, &T::xxxs##ToStrings

} // namespace

class tst_DataType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qInstallMessageHandler(collect); }
    void cleanupTestCase() { qInstallMessageHandler(nullptr); }

    void vocabularies()
    {
        plain(FAMILY(accessPointFunction), 0,
              "1 Simple Door, 2 Mailbox, 3 Infrastructure, 4 Complex Door, 5 Elevator, 6 Controller");
        flags(FAMILY(accessRightOption), SETS(accessRightOptions), 0x1);
        plain(FAMILY(actionProfileClass));
        plain(FAMILY(alarmType));
        plain(FAMILY(authPointClass));
        plain(FAMILY(backupInterval), 0, "0 Never, 1 Daily, 7 Weekly, 14 Biweekly, 31 Monthly");
        plain(FAMILY(batteryType));
        plain(FAMILY(boardType));
        plain(FAMILY(cardArchitecture), 6,
              "0 DESFire, 1 MIFARE Plus, 2 MIFARE Plus X, 3 MIFARE Classic, 4 ISO UID 4 Byte, 5 ISO UID 7 Byte, "
              "6 Unknown");
        plain(FAMILY(cardDesign));
        plain(FAMILY(cardMediumType), 255);
        plain(FAMILY(dataRetainPeriod), 731,
              "7 7 days, 30 30 days, 62 2 months, 184 6 months, 366 1 year, 731 2 years, 1827 5 years, "
              "3653 10 years, 5479 15 years, 10958 30 years");
        plain(FAMILY(deviceCalibrationParameter));
        plain(FAMILY(deviceCapability));
        plain(FAMILY(deviceCategory));
        plain(FAMILY(deviceConfigurationParameter));
        plain(FAMILY(deviceEventParameter));
        plain(FAMILY(deviceInformationParameter));
        flags(FAMILY(deviceInput), SETS(deviceInputs), 0x1FFF, nullptr,
              "1 Input 1, 2 Input 2, 4 Input 3, 8 Input 4, 16 Input 5, 32 Input 6, 64 Input 7, 128 Input 8, "
              "256 Interior Button, 512 Triangle Button, 1024 Square Button, 2048 Pentagon Button, "
              "4096 Hexagon Button");
        plain(FAMILY(deviceKnownSelection));
        flags(FAMILY(deviceOutput), SETS(deviceOutputs), 0x1FF);
        plain(FAMILY(deviceReachableSelection));
        flags(FAMILY(deviceRole), SETS(deviceRoles), 0x77, nullptr,
              "1 Identification, 2 Opener, 4 Repeater, 16 Amok, 32 Open Zones, 64 Prefer RS-485");
        plain(FAMILY(deviceScanFilter));
        plain(FAMILY(deviceSignallingId));
        plain(FAMILY(deviceType));
        plain(FAMILY(eventInput));
        plain(FAMILY(eventType), 0,
              "1 Input Signal, 2 Remote Open, 3 Broadcast, 4 Pairing, 5 Time, 6 Code, 7 RFID Medium");
        flags(FAMILY(factoryResetFlag), SETS(factoryResetFlags), 0x7FFF, "FactoryResetFlags");
        plain(FAMILY(firmware));
        flags(FAMILY(firmwareCapabilityFlag), SETS(firmwareCapabilityFlags), 0xF);
        plain(FAMILY(genericStatus));
        flags(FAMILY(hardwareFlag), SETS(hardwareFlags), 0x1F);
        plain(FAMILY(inputActivationType));
        plain(FAMILY(inputType));
        plain(FAMILY(integration), 3);
        flags(FAMILY(interfaceFlag), SETS(interfaceFlags), 0x7, "InterfaceFlags");
        flags(FAMILY(interfaceTypeFlag), SETS(interfaceTypeFlags), 0x3);
        plain(FAMILY(keyset));
        flags(FAMILY(mediaEventFlag), SETS(mediaEventFlags), 0xC0000007, "MediaEventFlags");
        plain(FAMILY(memoryType), 5);
        plain(FAMILY(operatingMode), 0, "0 Factory, 1 Multi, 2 Single, 3 Expo, 4 Work, 5 Undefined");
        plain(FAMILY(outputState), 0, nullptr, "Invalid");
        plain(FAMILY(outputType));
        plain(FAMILY(pcbType));
        flags(FAMILY(pinCodeEventFlag), SETS(pinCodeEventFlags), 0xC0000FFF, "PinCodeEventFlags");
        plain(FAMILY(positionClass));
        flags(FAMILY(propertyClass), SETS(propertyClasses), 0x1FFF, "PropertyClasses",
              "1 User, 2 User Group, 4 Device, 8 Access Point, 16 System, 32 Authorization Point, "
              "64 Authorization Point Group, 128 Authorization Point of Access Point, 256 Right of User/Group, "
              "512 Right of Access Point");
        plain(FAMILY(propertyType), 0,
              "0 None, 1 Text, 2 Number, 3 Real, 4 On/Off, 5 Byte Array, 6 Date/Time, 7 Directory Path, "
              "8 File Path, 9 Password, 10 Unique ID, 11 Absolute Directory Path");
        plain(FAMILY(simulationMode));
        plain(FAMILY(softwareSettingParameter));
        flags(FAMILY(timeSlotDay), SETS(timeSlotDays), 0xFF, "TimeSlotDays",
              "1 Monday, 2 Tuesday, 4 Wednesday, 8 Thursday, 16 Friday, 32 Saturday, 64 Sunday, 128 Holiday");
        flags(FAMILY(unlockFilterFlag), SETS(unlockFilterFlags), 0xF);
        flags(FAMILY(userAction), SETS(userActions), 0x17FF7);
        plain(FAMILY(userClass));
    }

    void permissions()
    {
        logged.clear();
        QCOMPARE(unsigned(CPermission::cast(0xFFFFFFFF)), 0xFFFFFFFFu);
        QCOMPARE(unsigned(CPermission::cast(0x7FFFFFF)), 0x7FFFFFFu);
        QVERIFY(logged.isEmpty());
        QCOMPARE(unsigned(CPermission::cast(0xFFFFFFFE)), 0x7FFFFFEu);
        QCOMPARE(logged.join('|'), "default: Permissions: Cast with invalid value fffffffe");

        QVERIFY(CPermission::names({}).isEmpty());
        QCOMPARE(CPermission::names(PermissionAdministrator).join('|'),
                 "Login Write|Login Read|Users Write|Users Read|User Groups Write|User Groups Read|Media Write|"
                 "Media Read|Codes Write|Codes Read|Access Rights Write|Access Rights Read|Time Profiles Write|"
                 "Time Profiles Read|Access Points Write|Access Points Read|Remote Execution|Devices Write|"
                 "Devices Read|Software Write|Software Read|Logs|Media Pools Write|Media Pools Read|"
                 "User Group Relations|Read Passwords|Smart Access");
        QCOMPARE(CPermission::name(PermissionAdministrator), "Administrator");
        QCOMPARE(CPermission::name(PermissionNone), "None");
        QCOMPARE(CPermission::name(PermissionSoftwareRead), "Software Read");
        QCOMPARE(CPermission::name(static_cast<Permission>(0x3)), "Unknown");
        QCOMPARE(CPermission::name(static_cast<Permission>(0x8000000)), "Unknown");
    }

    void rolesOfDoorsAndAlarms()
    {
        const int roles[] = {0, 115, 115, 4, 115, 115, 115, 0}; // of the functions 0 to 7
        for (int function = 0; function < 8; ++function)
            QCOMPARE(int(T::accessPointDeviceRoles(T::AccessPointFunction(function))), roles[function]);

        QCOMPARE(int(T::deviceRolesFromStrings({"Repeater", "repeater", "Exit Identification", "Amok"})), 20);
        QCOMPARE(int(T::deviceRolesFromStrings({})), 0);
        QCOMPARE(T::deviceRoleToString(T::deviceRoleCast(8)), "Exit Identification");

        using Alarms = QList<T::AlarmType>;
        QCOMPARE(T::deviceRolesAlarmTypes(T::DeviceRoles(QFlag(0x7F))),
                 (Alarms{T::AlarmTypeAmok, T::AlarmTypeAmokOver, T::AlarmTypeOpenAll, T::AlarmTypeCloseAll}));
        QCOMPARE(T::deviceRolesAlarmTypes(T::DeviceRoleOpenZones), (Alarms{T::AlarmTypeOpenAll, T::AlarmTypeCloseAll}));
        QCOMPARE(T::deviceRolesAlarmTypes(T::DeviceRoleOpener), Alarms());

        for (int mode = -1; mode < 8; ++mode)
            QCOMPARE(T::isInitialized(T::OperatingMode(mode)), mode >= 1 && mode <= 4);
    }

    void inputActivations()
    {
        const char* texts[][3] = {{"Rising Edge", "Press", "Immediate"},
                                  {"Falling Edge", "Release", "Finally"},
                                  {"Duration Short", "Duration Short", "Duration Short"},
                                  {"Duration Middle", "Duration Middle", "Duration Middle"},
                                  {"Duration Long", "Duration Long", "Duration Long"},
                                  {"Unknown", "Unknown", "Unknown"}};
        for (const int type : {0, 1, 2, 3, 77}) {
            for (int activation = 1; activation <= 6; ++activation) {
                const char* text = texts[activation - 1][type == 1 || type == 2 ? type : 0];
                QCOMPARE(T::inputActivationToString(T::InputActivation(activation), T::InputActivationType(type)),
                         text);
                QCOMPARE(int(T::stringToInputActivation(text)), activation % 6);
                QCOMPARE(int(T::inputActivationCast(activation)), activation % 6);
            }
        }
        QCOMPARE(int(T::stringToInputActivation("press")), 0);
        QCOMPARE(T::inputActivationValues().size(), 5);
    }

    void compactTexts()
    {
        struct
        {
            quint32 bits;
            const char *zones, *outputs, *digits;
        } const rows[] = {
            {0, nullptr, nullptr, nullptr},
            {0x1, "Zone 1", "Motor", "1 digits"},
            {0x10, "Zone 5", "Relay 4", "5 digits"},
            {0x6, "Zones 2-3", "Relays 1-2", "2-3 digits"},
            {0x17, "Zones 1-3, 5", "Motor, Relays 1-2, 4", "1-3, 5 digits"},
            {0x80000001, "Zones 1, 32", "Motor", "1 digits"},
            {0xC0000000, "Zones 31-32", nullptr, nullptr},
            {0xFFFFFFFF, "Zones 1-32", "Motor, Relays 1-8", "1-12 digits"},
        };
        for (const auto& [bits, zones, outputs, digits] : rows) {
            QCOMPARE(T::broadcastZoneFlagsCompactString(bits), QString(zones));
            QCOMPARE(T::broadcastZoneFlagsCompactString(bits).isNull(), bits == 0);
            QCOMPARE(T::deviceOutputFlagsCompactString(bits), QString(outputs));
            QCOMPARE(T::pinCodeEventFlagsCompactString(T::PinCodeEventFlags(QFlag(bits))), QString(digits));
        }
        QCOMPARE(T::broadcastZoneToString(4294967295), "Zone 4294967295");
    }

    void setsInVariants()
    {
        const QVariant none = T::userActionsToVariant({});
        QVERIFY(none.isNull() && none.userType() == QMetaType::UInt);
        const QVariant some = T::userActionsToVariant(T::UserActions(QFlag(0x10011)));
        QVERIFY(some.userType() == QMetaType::UInt && some.toUInt() == 0x10011);
        QCOMPARE(int(T::userActionsFromVariant(some)), 0x10011);
        QCOMPARE(int(T::userActionsFromVariant(0xFFFFFFFF)), 0x17FF7);
        QCOMPARE(int(T::userActionsFromVariant("9")), 1);
        QCOMPARE(int(T::userActionsFromVariant(QVariant())), 0);
        QCOMPARE(T::accessRightOptionsToVariant(T::AccessRightOptionOnlineAccess).toUInt(), 1u);
        QCOMPARE(int(T::accessRightOptionsFromVariant(7)), 1);
    }

    void rfidUids()
    {
        const std::pair<quint64, const char*> rows[] = {
            {0, "00:00:00:00"},
            {0xFFA122B3, "FF:A1:22:B3"},
            {0x100000000, "00:00:01:00:00:00:00"},
            {0x04A122B3C4D5E6, "04:A1:22:B3:C4:D5:E6"},
            {0x100000000000000, "01:00:00:00:00:00:00:00"},
            {~0ull, "FF:FF:FF:FF:FF:FF:FF:FF"},
        };
        for (const auto& [number, label] : rows) {
            const QByteArray uid = T::rfidUidToByteArray(number);
            QCOMPARE(T::rfidUidToLabel(uid), label);
            QCOMPARE(T::rfidUidFromLabel(QString(label).toLower()), uid);
            QCOMPARE(T::rfidUidFromByteArray(uid), number);
            QCOMPARE(T::rfidUidExternalRepresentationFromLabel(label), QString(label).remove(':'));
        }
        for (const char* text : {"", "04:A1:2", "04A1", "04:A1:", ":04", "04::A1", "0g:A1", "04-A1", "04:A1:\xC4"})
            QVERIFY2(T::rfidUidFromLabel(QString::fromLatin1(text)).isEmpty(), text);
        QCOMPARE(T::rfidUidFromLabel(" 04:A1 "), QByteArray("\x04\xA1"));
        QCOMPARE(T::rfidUidFromByteArray("123456789"), 0u);
        QCOMPARE(T::rfidUidFromByteArray({}), 0u);
        QCOMPARE(T::publicMediaIdToLabel(4294967296), "4294967296");
    }

    void pinCodes()
    {
        const auto stored = [](int digits, quint64 value) { return quint64(digits) << 40 | value; };
        const std::tuple<const char*, quint64, const char*> rows[] = {
            {" 0012 ", stored(4, 12), "0012"},
            {"0", stored(1, 0), "0"},
            {"999999999999", stored(12, 999999999999), "999999999999"},
            {"1234567890123", 0, nullptr},
            {"  ", 0, nullptr},
            {"12a4", 0, nullptr},
            {"-1", 0, nullptr},
            {"\u0661\u0662", 0, nullptr}, // digits, but not ours
        };
        for (const auto& [text, code, again] : rows) {
            QCOMPARE(T::pinCodeFromString(text), code);
            QCOMPARE(T::pinCodeToString(code), QString(again));
            QCOMPARE(T::pinCodeToString(code).isNull(), code == 0);
            QCOMPARE(T::pinCodeToString(code | 0xFFFFF00000000000), QString(again));
        }
        QVERIFY(T::pinCodeToString(stored(13, 5)).isNull() && T::pinCodeToString(stored(15, 5)).isNull());
        QCOMPARE(T::pinCodeToString(stored(2, 12345)), "12345");
    }

    void bitsAndBytes()
    {
        QCOMPARE(T::calculateShiftForBitMask(0), 0);
        QCOMPARE(T::calculateShiftForBitMask(0xF0), 4);
        QCOMPARE(T::calculateShiftForBitMask(0x80000000), 31);
        QCOMPARE(T::uLongLongToByteArray(0x0102), QByteArray("\0\0\0\0\0\0\x01\x02", 8));
        QCOMPARE(T::byteArrayToULongLong(T::uLongLongToByteArray(~0ull - 1)), ~0ull - 1);
        QCOMPARE(T::byteArrayToULongLong("\x01\x02"), 0x0102ull);
        QCOMPARE(T::byteArrayToULongLong("\xFF\xFF\x01\x02\x03\x04\x05\x06\x07\x08"), 0x0102030405060708ull);
        QCOMPARE(T::byteArrayToULongLong({}), 0ull);
    }

    void signalStrength()
    {
        QCOMPARE(T::rssiToString(-67), "-67 dBm");
        QCOMPARE(T::rssiToString(0), "Unknown");
        const std::pair<int, const char*> words[] = {
            {-128, "Weak"}, {-86, "Weak"},      {-85, "Fair"},     {-76, "Fair"},  {-75, "Good"},
            {-61, "Good"},  {-60, "Excellent"}, {-1, "Excellent"}, {0, "Unknown"}, {127, "Unknown"}};
        for (const auto& [rssi, word] : words)
            QCOMPARE(T::rssiToSignalStrength(static_cast<signed char>(rssi)), word);
    }

    void validity()
    {
        const QDateTime from(QDate(2024, 1, 1), QTime(0, 0, 0, 999), Qt::OffsetFromUTC, 3600);
        const QDateTime to(QDate(2024, 12, 31), QTime(23, 59, 59), Qt::UTC);
        const T::TimeInterval period = T::authToTimeInterval(CAuthorizationType05(1234, 2, 7, from, to));
        QCOMPARE(period, T::TimeInterval(QDateTime(QDate(2023, 12, 31), QTime(23, 0), Qt::UTC), to));
        QCOMPARE(period.first.timeSpec(), Qt::UTC);
        QCOMPARE(T::validityToTimeInterval(QDateTime(), to), T::TimeInterval(QDateTime(), to));
        QCOMPARE(T::authToTimeInterval(CAuthorizationType04(1234, 2, 7)), T::TimeInterval());
    }

    void settings()
    {
        for (const auto parameter : T::softwareSettingParameterValues()) {
            const QVariantMap spec = T::getSoftwareSettingValueSpecs(parameter);
            QVERIFY(spec.value("minimum").toInt() < spec.value("maximum").toInt());
            QCOMPARE(T::softwareSettingParameterFromName(T::softwareSettingParameterToString(parameter)), parameter);
        }
        for (const auto parameter : T::deviceConfigurationParameterValues()) {
            const QVariantMap spec = T::getDeviceConfigurationValueSpecs(parameter);
            const int initial = spec.value("default").toInt();
            QVERIFY(spec.value("minimum").toInt() <= initial && initial <= spec.value("maximum").toInt());
        }
        QVERIFY(T::getSoftwareSettingValueSpecs(T::SoftwareSettingParameterUnknown).isEmpty());
        QCOMPARE(T::deviceEventListToString({T::DeviceEventParameterCode, T::DeviceEventParameterMedium}),
                 "Code, Medium");
    }

    void ids()
    {
        const QList<CDeviceId> devices = T::deviceIdList({5, 0, 0x4000000, -1, 7, 5, 0x3FFFFFF});
        QCOMPARE(T::itemIdList(devices), (QList<CItemId>{5, 7, 5, 0x3FFFFFF}));
        QCOMPARE(T::itemIdSet(T::deviceIdSet({5, 0, 0x4000000, 7})), (QSet<CItemId>{5, 7}));
        QCOMPARE(T::itemIdList({CDeviceId()}), QList<CItemId>{0});
        QCOMPARE(T::modulo10Checksum(12345), 7u);
    }
};

QTEST_GUILESS_MAIN(tst_DataType)
#include "tst_data_type.moc"
