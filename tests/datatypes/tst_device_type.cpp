#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/hardware_architecture.h>

#include <QtTest/QtTest>

namespace {

using T = CDataType;

/// Reads "10-19 110 111": the numbers of a list with ranges.
QList<int> numbers(const QString& ranges)
{
    QList<int> result;
    for (const QString& range : ranges.split(QLatin1Char(' '))) {
        const QStringList ends = range.split(QLatin1Char('-'));
        for (int i = ends.first().toInt(); i <= ends.last().toInt(); ++i)
            result << i;
    }
    return result;
}

int battery(T::DeviceType type)
{
    return T::hasDeviceCapability(type, T::DeviceCapabilityBattery);
}

int rfidAndCode(T::DeviceType type)
{
    return T::hasDeviceCapability(type, T::DeviceCapabilityRfid)
           + 2 * T::hasDeviceCapability(type, T::DeviceCapabilityCode);
}

template<bool Variant>
int rectified(T::DeviceType type)
{
    const int result = T::deviceTypeRectify(type, Variant);
    return result == type ? 0 : result;
}

} // namespace

class TestDeviceType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each fact as it stands in the device documents: an answer and the types that give it, all others 0 (or, of the
    // battery and the processor, 1).
    void facts_data()
    {
        using Fact = int (*)(T::DeviceType);
        QTest::addColumn<QString>("rows");
        QTest::addColumn<int>("otherwise");
        QTest::addColumn<void*>("fact");
        const auto row = [](const char* name, Fact fact, const char* rows, int otherwise = 0) {
            QTest::newRow(name) << QString::fromLatin1(rows) << otherwise << reinterpret_cast<void*>(fact);
        };
        row(
            "cast", [](T::DeviceType type) { return int(T::deviceTypeCast(type) == type && type != 0); },
            "1:10-41 50-54 60 61 70 71 80 81 90 91 101-112 120 121 130 131 132");
        row(
            "category", [](T::DeviceType type) { return int(T::deviceCategory(type)); },
            "1:10-19 110 111;2:20-29 60 61;3:30-39 101 102 109 112 130 131 132;4:40;5:50-54 80 81 103 104;"
            "6:41 105 106 107 108;7:70 71;8:90 91;9:120 121");
        row(
            "roles", [](T::DeviceType type) { return int(T::deviceTypeDeviceRoles(type)); },
            "51:10-29 60 61 70 71 110 111 120 121;49:30 31 32 36 37 109 132;"
            "115:33 34 35 38 39 101 102 112 130 131;4:41 105-108;114:50-54 80 103 104;48:81;50:90 91");
        row(
            "inputs", [](T::DeviceType type) { return int(T::deviceInputs(type)); },
            "1:28 81 112;257:29;7680:30 31 32 36 37 109 120 121;7683:33 34 35 38 39 101 102;256:21 22 23 61;"
            "3:50-54 103 104 130 131;255:80;31:91");
        row(
            "default inputs", [](T::DeviceType type) { return int(T::defaultInputs(type)); },
            "1:28 29 50-54 103 104 112");
        row(
            "outputs", [](T::DeviceType type) { return int(T::deviceOutputs(type)); },
            "1:10-27 60 61 70 71 110 111 120 121;3:28 29 90 91;6:33 34 35 38 39 50-54 101-104 130 131;510:80;2:112");
        row(
            "default outputs", [](T::DeviceType type) { return int(T::defaultOutputs(type)); },
            "1:10-27 60 61 70 71 90 91 110 111 120 121;3:28 29;2:33 34 35 38 39 50-54 80 101-104 112 130 131");
        row(
            "interfaces", [](T::DeviceType type) { return int(T::interfaceFlags(type)); },
            "1:10-27 30 31 32 36 37 40 60 61 70 71 81 109-111 120 121 132;"
            "3:28 29 33 34 35 38 39 50-54 101-107 112 130 131;7:41 108;2:80 91");
        row("no battery", battery, "0:28 29 33 34 35 38 39 40 41 50-54 80 90 91 101-108 112 130 131", 1);
        row("RFID and code", rfidAndCode, "3:30-39 101 102 109 120 121;1:10-29 60 61 70 71 110 111 112 130 131 132");
        row("plain form", rectified<false>,
            "28:20 24-27 60;29:21-23 61;101:30-35 109;102:36-39;103:50-52;104:53 54;130:132");
        row("variant", rectified<true>, "60:28;61:29;109:30-35 101 36-39 102;103:50-52;104:53 54;132:130 131");
        row(
            "processor", [](T::DeviceType type) { return int(CHardwareArchitecture::hardwareArchitecture(type)); },
            "4:71;2:70 81 90 91;0:41", 1);
    }

    void facts()
    {
        QFETCH(QString, rows);
        QFETCH(int, otherwise);
        QFETCH(void*, fact);
        QMap<int, int> expected;
        for (const QString& row : rows.split(QLatin1Char(';'))) {
            for (const int type : numbers(row.section(QLatin1Char(':'), 1)))
                expected.insert(type, row.section(QLatin1Char(':'), 0, 0).toInt());
        }
        QList<int> types{-1, 9999, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
        for (int type = 0; type < 1000; ++type)
            types << type;
        for (const int type : qAsConst(types)) {
            const int found = reinterpret_cast<int (*)(T::DeviceType)>(fact)(T::DeviceType(type));
            if (found != expected.value(type, otherwise)) {
                QFAIL(qPrintable(QStringLiteral("type %1: %2 instead of %3")
                                     .arg(type)
                                     .arg(found)
                                     .arg(expected.value(type, otherwise))));
            }
        }
    }

    // Types with one text are variants of one product; every other type has a text of its own.
    void texts()
    {
        QMap<QByteArray, QList<int>> typesOf;
        for (const T::DeviceType type : T::deviceTypeValues())
            typesOf[T::deviceTypeToString(type)] << type;
        QCOMPARE(T::deviceTypeValues().size(), 63);
        QSet<QList<int>> shared;
        for (auto text = typesOf.cbegin(); text != typesOf.cend(); ++text) {
            QCOMPARE(int(T::deviceTypeFromString(text.key())), text->last());
            if (text->size() > 1)
                shared.insert(*text);
        }
        QCOMPARE(shared,
                 (QSet<QList<int>>{numbers(QStringLiteral("28 29 60 61")), numbers(QStringLiteral("30-35 101 109")),
                                   numbers(QStringLiteral("36-39 102")), numbers(QStringLiteral("50-52 103")),
                                   numbers(QStringLiteral("53 54 104")), numbers(QStringLiteral("130 132"))}));
    }

    void fuzzy_data()
    {
        QTest::addColumn<int>("type");
        const auto row = [](const char* text, int type) { QTest::newRow(text) << type; };
        row("", 0);
        row("Lift", 0);
        row("Schutzbeschlag", 28);
        row("PROTECTION plate", 28);
        row("Langschildbeschlag", 110);
        row("Organisation", 110);
        row("Wandleser", 101);
        row("reader with protector", 28);
        row("USB-Stick", 40);
        row("IO-Modul", 103);
        row("Range Extender Gateway", 103);
        row("Gateway 2", 41);
        row("repeater", 108);
        row("Zylinder II", 70);
        row("CylindII", 70);
        row("Motor lock", 90);
        row("Tresor", 120);
        row("Safe", 120);
        row("Showcase", 120);
    }

    void fuzzy()
    {
        QFETCH(int, type);
        QCOMPARE(int(T::fuzzyDeviceTypeFromString(QTest::currentDataTag())), type);
        // The keyword of a lock family is the first word of its category's text.
        const QByteArray word = QByteArray(T::deviceCategoryToString(T::DeviceCategoryMotorLock)).split(' ').first();
        QCOMPARE(int(T::fuzzyDeviceTypeFromString(word)), 90);
    }

    void capabilitiesAndBoards()
    {
        for (const int capability : {-1, 3, 33})
            QVERIFY(!T::hasDeviceCapability(T::KeypadReader30, T::DeviceCapability(capability)));
        QSet<int> onBoards;
        for (const T::PcbType board : T::pcbTypeValues()) {
            const QList<T::DeviceType> types = T::getDeviceTypes(board);
            QVERIFY(!types.isEmpty());
            for (const T::DeviceType type : types) {
                QVERIFY(!onBoards.contains(type));
                onBoards.insert(type);
            }
        }
        QCOMPARE(onBoards.size(), 62);
        QVERIFY(T::getDeviceTypes(T::PcbTypeUnknown).isEmpty());
    }

    void processors()
    {
        const char* names[] = {"Unknown", "HW1", "HW2", "Vybrid", "HW3"};
        QCOMPARE(CHardwareArchitecture::values().size(), 5);
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(int(CHardwareArchitecture::values().at(i)), i);
            QCOMPARE(CHardwareArchitecture::name(CHardwareArchitecture::cast(i)), names[i]);
        }
        for (const int value : {-1, 5, 255}) {
            QCOMPARE(int(CHardwareArchitecture::cast(value)), 0);
            QCOMPARE(CHardwareArchitecture::name(HardwareArchitecture(value)), "Unknown");
        }
    }
};

QTEST_GUILESS_MAIN(TestDeviceType)
#include "tst_device_type.moc"
