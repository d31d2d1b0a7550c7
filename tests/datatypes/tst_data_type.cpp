#include <foundation/core/device_id.h>
#include <foundation/core/foundation_translator.h>
#include <foundation/datatypes/authorization_types.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/hardware_architecture.h>

#include <QtTest/QtTest>

#include <functional>

namespace {

QStringList logged;

void collect(QtMsgType, const QMessageLogContext& context, const QString& text)
{
    logged << QString(QLatin1String(context.category) + QLatin1String(": ") + text);
}

/// Runs something and gives what it logged, as "category: text".
template<typename Function>
QStringList logOf(Function function)
{
    logged.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collect);
    function();
    qInstallMessageHandler(previous);
    return logged;
}

/// One vocabulary, whatever its type: what the rules of the family say about any of them.
struct Family
{
    const char* name;
    std::function<QByteArray(qint64)> text;
    std::function<qint64(int)> cast;
    std::function<QList<qint64>()> values;
    std::function<qint64(const QByteArray&)> fromText;
    qint64 fallback;
    QByteArray unknown;
    // Of flags only: the bits that sets keep, the name in the warning, and the functions of sets.
    quint32 mask = 0;
    const char* warning = nullptr;
    std::function<quint32(quint32)> castSet = nullptr;
    std::function<QList<quint32>(quint32)> bits = nullptr;
    std::function<QStringList(quint32)> setTexts = nullptr;
};

template<typename Enum>
Family plain(const char* name, const char* (*text)(Enum), Enum (*cast)(int), QList<Enum> (*values)(),
             Enum (*fromText)(const QByteArray&), int fallback = 0, const char* unknown = "Unknown")
{
    return {name,
            [=](qint64 value) { return QByteArray(text(Enum(value))); },
            [=](int value) { return qint64(cast(value)); },
            [=] {
                QList<qint64> result;
                for (const Enum value : values())
                    result << qint64(value);
                return result;
            },
            [=](const QByteArray& word) { return qint64(fromText(word)); },
            fallback,
            unknown};
}

template<typename Enum>
Family flags(const char* name, const char* (*text)(Enum), Enum (*cast)(int), QList<Enum> (*values)(QFlags<Enum>),
             Enum (*fromText)(const QByteArray&), QFlags<Enum> (*castSet)(unsigned int),
             QStringList (*setTexts)(QFlags<Enum>), quint32 mask, const char* warning = nullptr)
{
    const auto list = [=](quint32 set) {
        QList<quint32> result;
        for (const Enum value : values(QFlags<Enum>(QFlag(set))))
            result << quint32(value);
        return result;
    };
    const auto all = [=] {
        QList<qint64> result;
        for (const quint32 value : list(~0u)) {
            if (qstrcmp(text(Enum(value)), "Unknown") != 0)
                result << value;
        }
        return result;
    };
    return {name,
            [=](qint64 value) { return QByteArray(text(Enum(value))); },
            [=](int value) { return qint64(cast(value)); },
            all,
            [=](const QByteArray& word) { return qint64(fromText(word)); },
            0,
            "Unknown",
            mask,
            warning,
            [=](quint32 set) { return quint32(typename QFlags<Enum>::Int(castSet(set))); },
            list,
            [=](quint32 set) { return setTexts(QFlags<Enum>(QFlag(set))); }};
}

#define FAMILY(xxx)                                                                                                    \
#    xxx, &CDataType::xxx##ToString, &CDataType::xxx##Cast, &CDataType::xxx##Values, &CDataType::xxx##FromString
#define SETS(xxxs) &CDataType::xxxs##Cast, &CDataType::xxxs##ToStrings

const QList<Family>& families()
{
    static const QList<Family> all{
        plain(FAMILY(accessPointFunction)),
        flags(FAMILY(accessRightOption), SETS(accessRightOptions), 0x1),
        plain(FAMILY(actionProfileClass)),
        plain(FAMILY(alarmType)),
        plain(FAMILY(authPointClass)),
        plain(FAMILY(backupInterval)),
        plain(FAMILY(batteryType)),
        plain(FAMILY(boardType)),
        plain(FAMILY(cardArchitecture), 6),
        plain(FAMILY(cardDesign)),
        plain(FAMILY(cardMediumType), 255),
        plain(FAMILY(dataRetainPeriod), 731),
        plain(FAMILY(deviceCalibrationParameter)),
        plain(FAMILY(deviceCapability)),
        plain(FAMILY(deviceCategory)),
        plain(FAMILY(deviceConfigurationParameter)),
        plain(FAMILY(deviceEventParameter)),
        plain(FAMILY(deviceInformationParameter)),
        flags(FAMILY(deviceInput), SETS(deviceInputs), 0x1FFF),
        plain(FAMILY(deviceKnownSelection)),
        flags(FAMILY(deviceOutput), SETS(deviceOutputs), 0x1FF),
        plain(FAMILY(deviceReachableSelection)),
        flags(FAMILY(deviceRole), SETS(deviceRoles), 0x77),
        plain(FAMILY(deviceScanFilter)),
        plain(FAMILY(deviceSignallingId)),
        plain(FAMILY(deviceType)),
        plain(FAMILY(eventInput)),
        plain(FAMILY(eventType)),
        flags(FAMILY(factoryResetFlag), SETS(factoryResetFlags), 0x7FFF, "FactoryResetFlags"),
        plain(FAMILY(firmware)),
        flags(FAMILY(firmwareCapabilityFlag), SETS(firmwareCapabilityFlags), 0xF),
        plain(FAMILY(genericStatus)),
        flags(FAMILY(hardwareFlag), SETS(hardwareFlags), 0x1F),
        plain(FAMILY(inputActivationType)),
        plain(FAMILY(inputType)),
        plain(FAMILY(integration), 3),
        flags(FAMILY(interfaceFlag), SETS(interfaceFlags), 0x7, "InterfaceFlags"),
        flags(FAMILY(interfaceTypeFlag), SETS(interfaceTypeFlags), 0x3),
        plain(FAMILY(keyset)),
        flags(FAMILY(mediaEventFlag), SETS(mediaEventFlags), 0xC0000007, "MediaEventFlags"),
        plain(FAMILY(memoryType), 5),
        plain(FAMILY(operatingMode)),
        plain(FAMILY(outputState), 0, "Invalid"),
        plain(FAMILY(outputType)),
        plain(FAMILY(pcbType)),
        flags(FAMILY(pinCodeEventFlag), SETS(pinCodeEventFlags), 0xC0000FFF, "PinCodeEventFlags"),
        plain(FAMILY(positionClass)),
        flags(FAMILY(propertyClass), SETS(propertyClasses), 0x1FFF, "PropertyClasses"),
        plain(FAMILY(propertyType)),
        plain(FAMILY(simulationMode)),
        plain(FAMILY(softwareSettingParameter)),
        flags(FAMILY(timeSlotDay), SETS(timeSlotDays), 0xFF, "TimeSlotDays"),
        flags(FAMILY(unlockFilterFlag), SETS(unlockFilterFlags), 0xF),
        flags(FAMILY(userAction), SETS(userActions), 0x17FF7),
        plain(FAMILY(userClass)),
    };
    return all;
}

/// "1 Monday, 2 Tuesday, ...": how a vocabulary looks from outside.
QString listing(const Family& family)
{
    QStringList rows;
    for (const qint64 value : family.values())
        rows << QString(QString::number(value) + QLatin1Char(' ') + QString::fromLatin1(family.text(value)));
    return rows.join(QLatin1String(", "));
}

} // namespace

class TestDataType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valuesAndTexts_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < families().size(); ++i)
            QTest::newRow(families()[i].name) << i;
    }

    // Whatever the table: values ascend and survive the cast, all others become the fallback, texts lead back.
    void valuesAndTexts()
    {
        QFETCH(int, index);
        const Family& family = families()[index];
        const QList<qint64> values = family.values();
        QVERIFY(!values.isEmpty());
        CFoundationTranslator translator;
        QVERIFY(translator.setLanguage(QStringLiteral("en")));
        QVERIFY(std::is_sorted(values.begin(), values.end(), std::less_equal<qint64>()) || values.size() == 1);
        for (const qint64 value : values) {
            QCOMPARE(family.cast(int(value)), value);
            const QByteArray text = family.text(value);
            QCOMPARE(translator.translate("@default", text.constData()), QString::fromLatin1(text));
            const qint64 found = family.fromText(text);
            QCOMPARE(family.text(found), text);
            QVERIFY(found == value || (qstrcmp(family.name, "deviceType") == 0 && found > value));
            QVERIFY(text.toUpper() == text || family.fromText(text.toUpper()) == 0);
        }
        for (int value = -3; value < 12000; ++value) {
            const bool passes = values.contains(value) || value == family.fallback
                                || (value == 8 && qstrcmp(family.name, "deviceRole") == 0);
            QCOMPARE(family.cast(value), passes ? value : family.fallback);
            if (!passes)
                QCOMPARE(family.text(value), family.unknown);
        }
        QCOMPARE(family.cast(std::numeric_limits<int>::max()), family.fallback);
        QCOMPARE(family.fromText("No such text"), 0);
        QCOMPARE(family.fromText(QByteArray()), 0);
    }

    void flagSets_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < families().size(); ++i) {
            if (families()[i].mask != 0)
                QTest::newRow(families()[i].name) << i;
        }
    }

    void flagSets()
    {
        QFETCH(int, index);
        const Family& family = families()[index];
        const QStringList quiet = logOf([&] {
            QCOMPARE(family.castSet(family.mask), family.mask);
            QCOMPARE(family.castSet(0), 0u);
        });
        QCOMPARE(quiet, QStringList());
        QStringList expected;
        const QStringList warnings = logOf([&] {
            for (const quint32 bits : {~0u, family.mask << 1 | 1, family.mask | 0x20000000}) {
                if (family.warning && (bits & ~family.mask) != 0)
                    expected << QString::asprintf("default: %s: Cast with invalid value %x", family.warning, bits);
                QCOMPARE(family.castSet(bits), bits & family.mask);
            }
        });
        QCOMPARE(warnings, expected);

        quint32 together = 0;
        QStringList texts;
        for (const quint32 bit : family.bits(~0u)) {
            QVERIFY(bit > together && (bit & (bit - 1)) == 0);
            together |= bit;
            texts << QString::fromLatin1(family.text(bit));
        }
        QCOMPARE(together, family.mask);
        QCOMPARE(family.setTexts(~0u), texts);
        QCOMPARE(family.bits(0), QList<quint32>());
        QCOMPARE(family.bits(family.mask & (~family.mask + 1)), QList<quint32>{family.mask & (~family.mask + 1)});
    }

    // Typed a second time, for the vocabularies that are stored in databases and sent to devices.
    void storedVocabularies_data()
    {
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* expected) {
            QTest::newRow(name) << QString::fromLatin1(expected);
        };
        row("accessPointFunction",
            "1 Simple Door, 2 Mailbox, 3 Infrastructure, 4 Complex Door, 5 Elevator, 6 Controller");
        row("backupInterval", "0 Never, 1 Daily, 7 Weekly, 14 Biweekly, 31 Monthly");
        row("cardArchitecture", "0 DESFire, 1 MIFARE Plus, 2 MIFARE Plus X, 3 MIFARE Classic, 4 ISO UID 4 Byte, "
                                "5 ISO UID 7 Byte, 6 Unknown");
        row("dataRetainPeriod", "7 7 days, 30 30 days, 62 2 months, 184 6 months, 366 1 year, 731 2 years, "
                                "1827 5 years, 3653 10 years, 5479 15 years, 10958 30 years");
        row("deviceRole", "1 Identification, 2 Opener, 4 Repeater, 16 Amok, 32 Open Zones, 64 Prefer RS-485");
        row("deviceInput", "1 Input 1, 2 Input 2, 4 Input 3, 8 Input 4, 16 Input 5, 32 Input 6, 64 Input 7, "
                           "128 Input 8, 256 Interior Button, 512 Triangle Button, 1024 Square Button, "
                           "2048 Pentagon Button, 4096 Hexagon Button");
        row("eventType", "1 Input Signal, 2 Remote Open, 3 Broadcast, 4 Pairing, 5 Time, 6 Code, 7 RFID Medium");
        row("operatingMode", "0 Factory, 1 Multi, 2 Single, 3 Expo, 4 Work, 5 Undefined");
        row("propertyClass", "1 User, 2 User Group, 4 Device, 8 Access Point, 16 System, 32 Authorization Point, "
                             "64 Authorization Point Group, 128 Authorization Point of Access Point, "
                             "256 Right of User/Group, 512 Right of Access Point");
        row("propertyType", "0 None, 1 Text, 2 Number, 3 Real, 4 On/Off, 5 Byte Array, 6 Date/Time, 7 Directory Path, "
                            "8 File Path, 9 Password, 10 Unique ID, 11 Absolute Directory Path");
        row("timeSlotDay", "1 Monday, 2 Tuesday, 4 Wednesday, 8 Thursday, 16 Friday, 32 Saturday, 64 Sunday, "
                           "128 Holiday");
    }

    void storedVocabularies()
    {
        QFETCH(QString, expected);
        for (const Family& family : families()) {
            if (qstrcmp(family.name, QTest::currentDataTag()) == 0) {
                QCOMPARE(listing(family), expected);
                return;
            }
        }
        QFAIL("no such family");
    }

    void rolesOfDoorsAndAlarms()
    {
        using T = CDataType;
        QCOMPARE(int(T::accessPointDeviceRoles(T::AccessPointFunctionInfrastructure)), 4);
        for (const int function : {1, 2, 4, 5, 6})
            QCOMPARE(int(T::accessPointDeviceRoles(T::AccessPointFunction(function))), 115);
        for (const int function : {-1, 0, 7})
            QCOMPARE(int(T::accessPointDeviceRoles(T::AccessPointFunction(function))), 0);

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
                                  {"Duration Long", "Duration Long", "Duration Long"}};
        for (const int type : {0, 1, 2, 3, 77}) {
            for (int activation = 1; activation <= 5; ++activation) {
                const char* text = texts[activation - 1][type == 1 || type == 2 ? type : 0];
                QCOMPARE(CDataType::inputActivationToString(CDataType::InputActivation(activation),
                                                            CDataType::InputActivationType(type)),
                         text);
                QCOMPARE(int(CDataType::stringToInputActivation(text)), activation);
                QCOMPARE(int(CDataType::inputActivationCast(activation)), activation);
            }
            QCOMPARE(
                CDataType::inputActivationToString(CDataType::InputActivation(6), CDataType::InputActivationType(type)),
                "Unknown");
        }
        QCOMPARE(int(CDataType::inputActivationCast(6)), 0);
        QCOMPARE(int(CDataType::stringToInputActivation("press")), 0);
        QCOMPARE(CDataType::inputActivationValues().size(), 5);
    }

    void compactTexts_data()
    {
        QTest::addColumn<quint32>("bits");
        QTest::addColumn<QString>("zones");
        QTest::addColumn<QString>("outputs");
        QTest::addColumn<QString>("digits");
        const auto row = [](quint32 bits, const char* zones, const char* outputs, const char* digits) {
            QTest::addRow("0x%x", bits) << bits << QString::fromLatin1(zones) << QString::fromLatin1(outputs)
                                        << QString::fromLatin1(digits);
        };
        row(0, nullptr, nullptr, nullptr);
        row(0x1, "Zone 1", "Motor", "1 digits");
        row(0x10, "Zone 5", "Relay 4", "5 digits");
        row(0x6, "Zones 2-3", "Relays 1-2", "2-3 digits");
        row(0x7, "Zones 1-3", "Motor, Relays 1-2", "1-3 digits");
        row(0x17, "Zones 1-3, 5", "Motor, Relays 1-2, 4", "1-3, 5 digits");
        row(0x80000001, "Zones 1, 32", "Motor, Relay 31", "1 digits");
        row(0xC0000000, "Zones 31-32", "Relays 30-31", nullptr);
        row(0xFFFFFFFF, "Zones 1-32", "Motor, Relays 1-31", "1-12 digits");
    }

    void compactTexts()
    {
        QFETCH(quint32, bits);
        QTEST(CDataType::broadcastZoneFlagsCompactString(bits), "zones");
        QTEST(CDataType::deviceOutputFlagsCompactString(bits), "outputs");
        QTEST(CDataType::pinCodeEventFlagsCompactString(CDataType::PinCodeEventFlags(QFlag(bits))), "digits");
        QCOMPARE(CDataType::broadcastZoneFlagsCompactString(bits).isNull(), bits == 0);
        QCOMPARE(CDataType::broadcastZoneToString(bits), QString(QLatin1String("Zone ") + QString::number(bits)));
    }

    void setsInVariants()
    {
        using T = CDataType;
        const QVariant none = T::userActionsToVariant({});
        QVERIFY(none.isNull());
        QCOMPARE(none.userType(), int(QMetaType::UInt));
        const QVariant some = T::userActionsToVariant(T::UserActions(QFlag(0x10011)));
        QCOMPARE(some.userType(), int(QMetaType::UInt));
        QCOMPARE(some.toUInt(), 0x10011u);
        QCOMPARE(int(T::userActionsFromVariant(some)), 0x10011);
        QCOMPARE(int(T::userActionsFromVariant(0xFFFFFFFF)), 0x17FF7);
        QCOMPARE(int(T::userActionsFromVariant(QStringLiteral("9"))), 1);
        QCOMPARE(int(T::userActionsFromVariant(QVariant())), 0);
        QCOMPARE(T::accessRightOptionsToVariant(T::AccessRightOptionOnlineAccess).toUInt(), 1u);
        QCOMPARE(int(T::accessRightOptionsFromVariant(7)), 1);
    }

    void rfidUids_data()
    {
        QTest::addColumn<quint64>("number");
        QTest::addColumn<QString>("label");
        QTest::newRow("0") << quint64(0) << "00:00:00:00";
        QTest::newRow("4 bytes") << quint64(0xFFA122B3) << "FF:A1:22:B3";
        QTest::newRow("least of 7") << quint64(0x100000000) << "00:00:01:00:00:00:00";
        QTest::newRow("7 bytes") << quint64(0x04A122B3C4D5E6) << "04:A1:22:B3:C4:D5:E6";
        QTest::newRow("least of 8") << quint64(0x100000000000000) << "01:00:00:00:00:00:00:00";
        QTest::newRow("8 bytes") << ~quint64(0) << "FF:FF:FF:FF:FF:FF:FF:FF";
    }

    void rfidUids()
    {
        QFETCH(quint64, number);
        QFETCH(QString, label);
        const QByteArray uid = CDataType::rfidUidToByteArray(number);
        QCOMPARE(CDataType::rfidUidToLabel(uid), label);
        QCOMPARE(CDataType::rfidUidFromLabel(label.toLower()), uid);
        QCOMPARE(CDataType::rfidUidFromByteArray(uid), number);
        QCOMPARE(CDataType::rfidUidExternalRepresentationFromLabel(label), QString::fromLatin1(uid.toHex().toUpper()));
    }

    void labelsThatAreNone()
    {
        for (const char* text : {"", "04:A1:2", "04A1", "04:A1:", ":04", "04::A1", "0g:A1", "04-A1", "04:A1:\xC4"})
            QCOMPARE(CDataType::rfidUidFromLabel(QString::fromLatin1(text)), QByteArray());
        QCOMPARE(CDataType::rfidUidFromLabel(QStringLiteral(" 04:A1 ")), QByteArray("\x04\xA1"));
        QCOMPARE(CDataType::rfidUidFromByteArray("123456789"), 0u);
        QCOMPARE(CDataType::rfidUidFromByteArray({}), 0u);
        QCOMPARE(CDataType::publicMediaIdToLabel(4294967296), QStringLiteral("4294967296"));
    }

    void pinCodes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<quint64>("code");
        QTest::addColumn<QString>("again");
        const auto row = [](const char* text, int digits, quint64 value, const char* again) {
            QTest::newRow(text) << QString::fromUtf8(text) << (quint64(digits) << 40 | value)
                                << QString::fromUtf8(again);
        };
        row(" 0012 ", 4, 12, "0012");
        row("0", 1, 0, "0");
        row("999999999999", 12, 999999999999, "999999999999");
        row("1234567890123", 0, 0, nullptr);
        row("  ", 0, 0, nullptr);
        row("12a4", 0, 0, nullptr);
        row("-1", 0, 0, nullptr);
        row("\u0661\u0662", 0, 0, nullptr); // digits, but not ours
    }

    void pinCodes()
    {
        QFETCH(QString, text);
        QFETCH(quint64, code);
        QFETCH(QString, again);
        QCOMPARE(CDataType::pinCodeFromString(text), code);
        QCOMPARE(CDataType::pinCodeToString(code), again);
        QCOMPARE(CDataType::pinCodeToString(code).isNull(), code == 0);
        QCOMPARE(CDataType::pinCodeToString(code | 0xFFFFF00000000000), again);
    }

    void pinCodesOutOfShape()
    {
        QVERIFY(CDataType::pinCodeToString(quint64(13) << 40 | 5).isNull());
        QVERIFY(CDataType::pinCodeToString(quint64(15) << 40 | 5).isNull());
        QCOMPARE(CDataType::pinCodeToString(quint64(2) << 40 | 12345), QStringLiteral("12345"));
    }

    void bitsAndBytes()
    {
        QCOMPARE(CDataType::calculateShiftForBitMask(0), 0);
        QCOMPARE(CDataType::calculateShiftForBitMask(0xF0), 4);
        QCOMPARE(CDataType::calculateShiftForBitMask(0x80000000), 31);
        QCOMPARE(CDataType::uLongLongToByteArray(0x0102), QByteArray("\0\0\0\0\0\0\x01\x02", 8));
        QCOMPARE(CDataType::byteArrayToULongLong(CDataType::uLongLongToByteArray(~0ull - 1)), ~0ull - 1);
        QCOMPARE(CDataType::byteArrayToULongLong("\x01\x02"), 0x0102ull);
        QCOMPARE(CDataType::byteArrayToULongLong("\xFF\xFF\x01\x02\x03\x04\x05\x06\x07\x08"), 0x0102030405060708ull);
        QCOMPARE(CDataType::byteArrayToULongLong({}), 0ull);
    }

    void signalStrength()
    {
        QCOMPARE(CDataType::rssiToString(-67), QStringLiteral("-67 dBm"));
        QCOMPARE(CDataType::rssiToString(0), QStringLiteral("Unknown"));
        const QMap<int, QString> words{{-128, QStringLiteral("Weak")},     {-86, QStringLiteral("Weak")},
                                       {-85, QStringLiteral("Fair")},      {-76, QStringLiteral("Fair")},
                                       {-75, QStringLiteral("Good")},      {-61, QStringLiteral("Good")},
                                       {-60, QStringLiteral("Excellent")}, {-1, QStringLiteral("Excellent")},
                                       {0, QStringLiteral("Unknown")},     {127, QStringLiteral("Unknown")}};
        for (auto word = words.begin(); word != words.end(); ++word)
            QCOMPARE(CDataType::rssiToSignalStrength(static_cast<signed char>(word.key())), word.value());
    }

    void validity()
    {
        const QDateTime from(QDate(2024, 1, 1), QTime(0, 0, 0, 999), Qt::OffsetFromUTC, 3600);
        const QDateTime to(QDate(2024, 12, 31), QTime(23, 59, 59), Qt::UTC);
        const CDataType::TimeInterval period =
            CDataType::authToTimeInterval(CAuthorizationType05(1234, 2, 7, from, to));
        QCOMPARE(period.first, QDateTime(QDate(2023, 12, 31), QTime(23, 0), Qt::UTC));
        QCOMPARE(period.second, to);
        QCOMPARE(period.first.timeSpec(), Qt::UTC);
        QCOMPARE(CDataType::validityToTimeInterval(QDateTime(), to), CDataType::TimeInterval(QDateTime(), to));
        QCOMPARE(CDataType::authToTimeInterval(CAuthorizationType04(1234, 2, 7)), CDataType::TimeInterval());
    }

    void settings()
    {
        for (const auto parameter : CDataType::softwareSettingParameterValues()) {
            const QVariantMap spec = CDataType::getSoftwareSettingValueSpecs(parameter);
            QVERIFY(spec.value(QStringLiteral("minimum")).toInt() < spec.value(QStringLiteral("maximum")).toInt());
            QCOMPARE(
                CDataType::softwareSettingParameterFromName(CDataType::softwareSettingParameterToString(parameter)),
                parameter);
        }
        for (const auto parameter : CDataType::deviceConfigurationParameterValues()) {
            const QVariantMap spec = CDataType::getDeviceConfigurationValueSpecs(parameter);
            const int initial = spec.value(QStringLiteral("default")).toInt();
            QVERIFY(spec.value(QStringLiteral("minimum")).toInt() <= initial);
            QVERIFY(spec.value(QStringLiteral("maximum")).toInt() >= initial);
        }
        QVERIFY(CDataType::getSoftwareSettingValueSpecs(CDataType::SoftwareSettingParameterUnknown).isEmpty());
        QCOMPARE(CDataType::deviceEventListToString(
                     {CDataType::DeviceEventParameterCode, CDataType::DeviceEventParameterMedium}),
                 QStringLiteral("Code, Medium"));
    }

    void ids()
    {
        const QList<CItemId> items{5, 0, 0x4000000, -1, 7, 5, 0x3FFFFFF};
        const QList<CDeviceId> devices = CDataType::deviceIdList(items);
        QCOMPARE(CDataType::itemIdList(devices), (QList<CItemId>{5, 7, 5, 0x3FFFFFF}));
        const QSet<CDeviceId> set = CDataType::deviceIdSet({5, 0, 0x4000000, 7});
        QCOMPARE(CDataType::itemIdSet(set), (QSet<CItemId>{5, 7}));
        QCOMPARE(CDataType::itemIdList({CDeviceId()}), QList<CItemId>{0});
        QCOMPARE(CDataType::modulo10Checksum(12345), 7u);
    }

    void threads()
    {
        // First use of a look-up by text, from several threads at once.
        QList<QThread*> threads;
        std::atomic<int> found{0};
        for (int i = 0; i < 8; ++i) {
            threads << QThread::create([&found] {
                for (const auto value : CDataType::deviceSignallingIdValues())
                    found +=
                        CDataType::deviceSignallingIdFromString(CDataType::deviceSignallingIdToString(value)) == value;
            });
        }
        for (QThread* thread : threads)
            thread->start();
        for (QThread* thread : threads)
            QVERIFY(thread->wait(5000));
        qDeleteAll(threads);
        QCOMPARE(found.load(), 8 * CDataType::deviceSignallingIdValues().size());
    }
};

QTEST_GUILESS_MAIN(TestDataType)
#include "tst_data_type.moc"
