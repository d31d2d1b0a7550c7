#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/hardware_architecture.h>

#include <QtTest/QtTest>

namespace {

using T = CDataType;

// Reads "10-19 110 111": the numbers of a list with ranges.
QList<int> numbers(const QString& ranges)
{
    QList<int> result;
    for (const QString& range : ranges.split(' ')) {
        const QStringList ends = range.split('-');
        for (int i = ends.first().toInt(); i <= ends.last().toInt(); ++i)
            result << i;
    }
    return result;
}

int rectified(T::DeviceType type, bool variant)
{
    const int result = T::deviceTypeRectify(type, variant);
    return result == type ? 0 : result;
}

} // namespace

class tst_DeviceType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each fact as it stands in the device documents: an answer and the types that give it, all others 0 (or, of the
    // battery and the processor, 1).
    void facts()
    {
        const auto check = [](const char* name, int (*fact)(T::DeviceType), const char* rows, int otherwise = 0) {
            QMap<int, int> expected;
            for (const QString& row : QString(rows).split(';')) {
                for (const int type : numbers(row.section(':', 1)))
                    expected.insert(type, row.section(':', 0, 0).toInt());
            }
            QList<int> types{-1, 9999, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
            for (int type = 0; type < 1000; ++type)
                types << type;
            for (const int type : qAsConst(types)) {
                const int found = fact(T::DeviceType(type)), wanted = expected.value(type, otherwise);
                QVERIFY2(found == wanted,
                         qPrintable(QString("%1 of %2: %3 instead of %4").arg(name).arg(type).arg(found).arg(wanted)));
            }
        };
        using Type = T::DeviceType;
        check(
            "cast", [](Type type) { return int(T::deviceTypeCast(type) == type && type != 0); },
            "1:10-41 50-54 60 61 70 71 80 81 90 91 101-112 120 121 130 131 132");
        check(
            "category", [](Type type) { return int(T::deviceCategory(type)); },
            "1:10-19 110 111;2:20-29 60 61;3:30-39 101 102 109 112 130 131 132;4:40;5:50-54 80 81 103 104;"
            "6:41 105 106 107 108;7:70 71;8:90 91;9:120 121");
        check(
            "roles", [](Type type) { return int(T::deviceTypeDeviceRoles(type)); },
            "51:10-29 60 61 70 71 110 111 120 121;49:30 31 32 36 37 109 132;"
            "115:33 34 35 38 39 101 102 112 130 131;4:41 105-108;114:50-54 80 103 104;48:81;50:90 91");
        check(
            "inputs", [](Type type) { return int(T::deviceInputs(type)); },
            "1:28 81 112;257:29;7680:30 31 32 36 37 109 120 121;7683:33 34 35 38 39 101 102;256:21 22 23 61;"
            "3:50-54 103 104 130 131;255:80;31:91");
        check(
            "default inputs", [](Type type) { return int(T::defaultInputs(type)); }, "1:28 29 50-54 103 104 112");
        check(
            "outputs", [](Type type) { return int(T::deviceOutputs(type)); },
            "1:10-27 60 61 70 71 110 111 120 121;3:28 29 90 91;6:33 34 35 38 39 50-54 101-104 130 131;510:80;2:112");
        check(
            "default outputs", [](Type type) { return int(T::defaultOutputs(type)); },
            "1:10-27 60 61 70 71 90 91 110 111 120 121;3:28 29;2:33 34 35 38 39 50-54 80 101-104 112 130 131");
        check(
            "interfaces", [](Type type) { return int(T::interfaceFlags(type)); },
            "1:10-27 30 31 32 36 37 40 60 61 70 71 81 109-111 120 121 132;"
            "3:28 29 33 34 35 38 39 50-54 101-107 112 130 131;7:41 108;2:80 91");
        check(
            "battery", [](Type type) { return int(T::hasDeviceCapability(type, T::DeviceCapabilityBattery)); },
            "0:28 29 33 34 35 38 39 40 41 50-54 80 90 91 101-108 112 130 131", 1);
        check(
            "RFID", [](Type type) { return int(T::hasDeviceCapability(type, T::DeviceCapabilityRfid)); },
            "1:10-39 60 61 70 71 101 102 109-112 120 121 130 131 132");
        check(
            "code", [](Type type) { return int(T::hasDeviceCapability(type, T::DeviceCapabilityCode)); },
            "1:30-39 101 102 109 120 121");
        check(
            "plain form", [](Type type) { return rectified(type, false); },
            "28:20 24-27 60;29:21-23 61;101:30-35 109;102:36-39;103:50-52;104:53 54;130:132");
        check(
            "variant", [](Type type) { return rectified(type, true); },
            "60:28;61:29;109:30-35 101 36-39 102;103:50-52;104:53 54;132:130 131");
        check(
            "processor", [](Type type) { return int(CHardwareArchitecture::hardwareArchitecture(type)); },
            "4:71;2:70 81 90 91;0:41", 1);
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
        QCOMPARE(shared, (QSet<QList<int>>{numbers("28 29 60 61"), numbers("30-35 101 109"), numbers("36-39 102"),
                                           numbers("50-52 103"), numbers("53 54 104"), numbers("130 132")}));
    }

    void fuzzy()
    {
        const std::pair<int, const char*> rows[] = {
            {0, "|Lift"},
            {28, "Schutzbeschlag|PROTECTION plate|reader with protector"},
            {40, "USB-Stick"},
            {41, "Gateway 2"},
            {70, "Zylinder II|CylindII"},
            {90, "Motor lock|Motor"},
            {101, "Wandleser"},
            {103, "IO-Modul|Range Extender Gateway"},
            {108, "repeater"},
            {110, "Langschildbeschlag|Organisation"},
            {120, "Tresor|Safe|Showcase"},
        };
        for (const auto& [type, texts] : rows) {
            for (const QByteArray& text : QByteArray(texts).split('|'))
                QVERIFY2(T::fuzzyDeviceTypeFromString(text) == type, text.constData());
        }
    }

    void capabilitiesAndBoards()
    {
        for (const int capability : {-1, 3, 33})
            QVERIFY(!T::hasDeviceCapability(T::KeypadReader30, T::DeviceCapability(capability)));
        QList<int> onBoards;
        for (const T::PcbType board : T::pcbTypeValues()) {
            QVERIFY(!T::getDeviceTypes(board).isEmpty());
            for (const T::DeviceType type : T::getDeviceTypes(board))
                onBoards << type;
        }
        QCOMPARE(onBoards.size(), 62);
        QCOMPARE(QSet<int>(onBoards.begin(), onBoards.end()).size(), 62);
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

QTEST_GUILESS_MAIN(tst_DeviceType)
#include "tst_device_type.moc"
