#include <apps/management_console/commands/firmware_report.h>
#include <foundation/formats/firmware_byte_array.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QtEndian>
#include <QtTest/QtTest>

using Architecture = CFirmwareByteArray::HardwareArchitecture;
using Lists = QList<QByteArray>;

namespace {

QByteArray word(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

// The checksum bit by bit, as it is defined.
quint32 slowChecksum(const QByteArray& bytes)
{
    quint32 crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return crc;
}

QByteArray header(const QByteArray& fields)
{
    return QByteArray("BFF\0", 4) + word(quint32(fields.size())) + word(slowChecksum(fields)) + fields;
}

QByteArray field(int tag, const QByteArray& value)
{
    return QByteArray(1, char(tag)) + QByteArray(1, char(value.size())) + value;
}

QByteArray format4(quint32 length, int variant = 2)
{
    return QByteArray(1, 4) + QByteArray(1, char(variant)) + QByteArray("\x34\x12", 2) + word(7) + word(length);
}

QByteArray sections(int format, const QList<QPair<quint32, quint32>>& ranges)
{
    QByteArray bytes = QByteArray(1, char(format)) + QByteArray(1, 3) + QByteArray(1, char(ranges.size())) + '\0';
    for (const auto& range : ranges)
        bytes += word(range.first) + word(range.second);
    return bytes;
}

// A part with format 4 data for an architecture (0: none named, the data say HW2), filled with `fill`.
QByteArray part(int architecture, char fill = 'x', int payload = 20)
{
    const QByteArray fields = architecture == 0 ? QByteArray() : field(9, QByteArray(1, char(architecture)));
    return header(fields) + format4(quint32(12 + payload)) + QByteArray(payload, fill);
}

QByteArray bytes(const CFirmwareByteArray& firmware)
{
    return {firmware.constData(), firmware.size()};
}

} // namespace

class tst_FirmwareByteArray : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules("default.debug=false"); }

    void headers()
    {
        const QByteArray known =
            QByteArray("BFF\0\x09\0\0\0\xD9\xC6\x0B\x34", 12) + "123456789"; // a published checksum
        const std::pair<QByteArray, int> files[] = {
            // and where the fault is, -1 in a valid one
            {QByteArray(), 0},
            {header({}).left(11), 11},
            {QByteArray("BFF\0\0\0\0\0\xFF\xFF\xFF\xFF", 12), -1},
            {known, -1},
            {known.mid(0, 3) + ' ' + known.mid(4), 0},
            {known.left(20), 4},
            {QByteArray("BFF\0\xFF\xFF\xFF\xFF", 8) + known.mid(8), 4},
            {known.left(20) + '8', 8},
            {header(field(0, "a") + field(10, {}) + field(255, "b")), -1},
            {header("\x02"), -1},
            {header("\x02\xFF\x03"), -1},
            {header("\x02" + QByteArray(5, '\xFF') + "abc"), -1},
        };
        for (const auto& [file, faultOffset] : files) {
            CFirmwareByteArray firmware(file);
            QCOMPARE(firmware.checkHeader(), faultOffset < 0);
            QCOMPARE(firmware.faultText().isEmpty(), faultOffset < 0);
            QCOMPARE(firmware.faultOffset(), qMax(0, faultOffset));
            QVERIFY(firmware.tag2List().isEmpty() && !firmware.toNextPart());
            QCOMPARE(bytes(firmware), file);
        }
    }

    void fields()
    {
        const QByteArray longList(300, '\x05');
        CFirmwareByteArray firmware(header(field(9, "\x02") + field(1, "abc") + field(2, "gone")
                                           + QByteArray("\x02\xFF", 2) + word(300) + longList + field(3, "\x01\xFF")
                                           + field(4, word(0xFEDCBA98) + word(1) + "rs") + field(5, "defghij")
                                           + field(6, "data") + field(7, "\x09z")));
        for (int round = 0; round < 2; ++round) { // a second check does not double the lists
            QVERIFY(firmware.checkHeader());
            QCOMPARE(firmware.tag1Value(), QByteArray("abc"));
            QCOMPARE(firmware.tag2List().size(), 300);
            QCOMPARE(firmware.tag2List().last(), quint8(5));
            QCOMPARE(firmware.tag3List(), (QList<quint8>{1, 255}));
            QCOMPARE(firmware.tag4List(), (QList<quint32>{0xFEDCBA98, 1}));
            QCOMPARE(firmware.tag5List(), (Lists{"def", "ghi"}));
            QCOMPARE(firmware.tag7Value(), quint8(9));
            QCOMPARE(firmware.hardwareArchitecture(), Architecture(2));
            QCOMPARE(firmware.dataStart(), firmware.indexOf("data"));
        }
        CFirmwareByteArray lastWins(header(field(1, "abc") + field(1, "abcd") + field(9, "\x03") + field(9, "\x05")
                                           + field(7, {}) + QByteArray("\x02\x09half", 6)));
        QVERIFY(lastWins.checkHeader());
        QVERIFY(lastWins.tag1Value().isEmpty());
        QVERIFY(lastWins.tag2List().isEmpty());
        QCOMPARE(lastWins.hardwareArchitecture(), Architecture(0));
        QCOMPARE(lastWins.dataStart(), lastWins.size());
    }

    void data()
    {
        const QByteArray rest(8, 'x');
        struct
        {
            QByteArray data;
            int length; // of the valid data; -1: faulty
            int architecture;
        } const rows[] = {
            {QByteArray(), -1, 1},
            {QByteArray(1, 4), -1, 0},
            {format4(16, 2) + rest, 16, 2},
            {format4(20, 3) + rest, 20, 4},
            {format4(21, 1) + rest, -1, 1},
            {format4(0xFFFFFFFF, 9) + rest, -1, 0},
            {format4(11) + rest, -1, 2}, // below its own header
            {format4(12).left(11), -1, 2},
            {sections(2, {{12, 5}}) + rest, 17, 1},
            {sections(5, {{22, 6}, {20, 3}}) + rest, 28, 4},
            {sections(5, {}) + rest, -1, 4},
            {sections(5, {{20, 1}, {20, 1}}).left(19), -1, 4},
            {sections(5, {{12, 9}}) + rest, -1, 4},
            {sections(5, {{0xFFFFFFFF, 20}}) + rest, -1, 4},
            {sections(5, {{11, 2}}) + rest, -1, 4}, // inside the table
            {sections(5, {{12, 0}}) + rest, -1, 4},
            {sections(5, {{12, 5}}).replace(3, 1, "\x01") + rest, -1, 4},
        };
        for (const auto& row : rows) {
            for (const QByteArray& before : {QByteArray(), header(field(7, "a"))}) {
                CFirmwareByteArray firmware(before + row.data);
                QCOMPARE(firmware.checkHeader(), !before.isEmpty());
                QCOMPARE(firmware.checkData(), row.length >= 0);
                QCOMPARE(firmware.dataArchitecture(), row.architecture);
                QCOMPARE(firmware.faultText().isEmpty(), row.length >= 0);
                QCOMPARE(firmware.checkedData(), row.length >= 0 ? row.data.left(row.length) : QByteArray());
                QCOMPARE(firmware.partData(), before + (row.length >= 0 ? row.data.left(row.length) : row.data));
                QVERIFY(firmware.faultOffset() <= firmware.size());
            }
        }
    }

    void packages()
    {
        CFirmwareByteArray firmware;
        firmware.setSoftwarePackages({"kernel", ""}, {QByteArray("k\0k", 3)});
        QVERIFY(firmware.isEmpty());
        firmware.setSoftwarePackages({"kernel", ""}, {QByteArray("k\0k", 3), ""});
        QCOMPARE(bytes(firmware), QByteArray("kernel\0k\0k\0", 11));
        QVERIFY(firmware.prependHeader());
        QVERIFY(firmware.checkHeader() && firmware.checkData());
        QCOMPARE(firmware.hardwareArchitecture(), Architecture(3));
        QCOMPARE(firmware.softwarePackageNames(), (Lists{"kernel", ""}));
        QCOMPARE(firmware.softwarePackageContents(), (Lists{QByteArray("k\0k", 3), ""}));
        QCOMPARE(firmware.checkedData(), QByteArray("kernel\0k\0k\0", 11));
        QCOMPARE(firmware.partEnd(), firmware.size());
        firmware.setSoftwarePackages({"a"}, {"b"});
        firmware.append('c');
        QVERIFY(!firmware.prependHeader()); // the sizes would be wrong

        const auto check = [](const QByteArray& sizes, int named, bool valid) {
            CFirmwareByteArray hostile(header(field(8, sizes)) + QByteArray("a\0bnozero", 9));
            return hostile.checkHeader() && hostile.softwarePackageNames().size() == named
                   && hostile.softwarePackageContents().size() == named && hostile.checkData() == valid
                   && hostile.checkedData().isEmpty() != valid && (valid || !hostile.toNextPart());
        };
        QVERIFY(check(word(3) + word(6), 1, true));
        QVERIFY(check(word(3) + word(7), 1, false));
        QVERIFY(check(word(3) + word(0xFFFFFFFF) + word(0xFFFFFFFF), 1, false));
        QVERIFY(check(word(0) + word(0), 0, false));
        QVERIFY(check(word(2) + word(0x7FFFFFF0), 1, false));
        QVERIFY(CFirmwareByteArray(header(field(9, QByteArray(1, '\0')) + field(8, word(3))) + "abc")
                    .toFirmwareForArchitecture(Architecture(1)));
    }

    void walk()
    {
        const QByteArray tail("1234567", 7);
        CFirmwareByteArray firmware(part(1, 'a') + part(4, 'b', 30) + tail);
        QVERIFY(!firmware.toNextPart()); // nothing parsed yet
        QVERIFY(firmware.checkHeader());
        QVERIFY(!firmware.toNextPart()); // the end is not known before the data are checked
        QLoggingCategory::setFilterRules(QString());
        for (const char* line : {"fwDevice: 4660", "fwVersion: 7", "fwLength: 32", "end: 47"})
            QTest::ignoreMessage(QtDebugMsg, line);
        QCOMPARE(firmware.partData(), part(1, 'a'));
        initTestCase();
        const char* const second = firmware.constData() + firmware.partEnd();
        QVERIFY(firmware.toNextPart());
        QCOMPARE(static_cast<const void*>(firmware.constData()), static_cast<const void*>(second)); // nothing was moved
        QCOMPARE(bytes(firmware), part(4, 'b', 30) + tail);
        QCOMPARE(int(firmware.hardwareArchitecture()) + firmware.dataStart() + firmware.partEnd(), 0);
        QVERIFY(firmware.checkHeader() && firmware.checkData());
        QVERIFY(!firmware.toNextPart()); // 7 bytes would be left
        QCOMPARE(firmware.partData(), part(4, 'b', 30));
        QCOMPARE(int(firmware.hardwareArchitecture()), 4);
        firmware.append("8");
        QVERIFY(firmware.toNextPart());
        QCOMPARE(bytes(firmware), tail + '8');

        // A part that ends inside its own header could repeat itself endlessly.
        const QByteArray inner = format4(12);
        CFirmwareByteArray nested(header(field(6, inner) + field(0, "some more of the header")) + part(1));
        QVERIFY(nested.checkHeader());
        QVERIFY(!nested.checkData() && !nested.toNextPart());
    }

    void movingOnSharesNothingWrong()
    {
        const QByteArray file = part(1, 'a') + part(2, 'b');
        for (const bool shared : {true, false}) {
            QByteArray kept;
            QByteArray changed;
            {
                CFirmwareByteArray firmware(shared ? file : QByteArray(file.constData(), file.size()));
                QVERIFY(firmware.checkHeader() && firmware.checkData() && firmware.toNextPart());
                kept = firmware; // outlives the object it came from
                changed = kept;
                changed[0] = 'X';
                firmware.append("end");
                firmware.squeeze();
                QVERIFY(firmware.endsWith("end") && firmware.checkHeader());
            }
            QCOMPARE(kept, part(2, 'b'));
            QCOMPARE(changed.mid(1), kept.mid(1));
            QCOMPARE(file, part(1, 'a') + part(2, 'b'));
        }
    }

    void selectsArchitecture()
    {
        const QByteArray file = part(4, 'a') + part(0, 'b') + part(1, 'c') + part(3, 'd');
        const QList<int> bySelection{2, 2, 1, 3, 0}; // which part an architecture finds
        for (int architecture = 0; architecture < 5; ++architecture) {
            CFirmwareByteArray firmware(file);
            QVERIFY(firmware.toFirmwareForArchitecture(Architecture(architecture)));
            QCOMPARE(firmware.checkedData().at(12), char('a' + bySelection.at(architecture)));
            QCOMPARE(int(firmware.hardwareArchitecture()) == 0, architecture == 2); // the members stay filled
        }
        CFirmwareByteArray none(part(4, 'a') + part(0, 'b'));
        QVERIFY(!none.toFirmwareForArchitecture(Architecture(3)));
        QCOMPARE(bytes(none), part(0, 'b'));
        QByteArray many;
        for (int i = 0; i < 50000; ++i)
            many += part(1);
        QElapsedTimer timer;
        timer.start();
        CFirmwareByteArray last(many + part(4, 'z'));
        QVERIFY(last.toFirmwareForArchitecture(Architecture(4)));
        QVERIFY(timer.elapsed() < 3000); // moving the rest once a part would take a minute
        CFirmwareByteArray plain(format4(12, 3));
        QVERIFY(plain.toFirmwareForArchitecture(Architecture(4))); // data without a header
        CFirmwareByteArray broken(QByteArray("nothing of the kind"));
        QVERIFY(!broken.toFirmwareForArchitecture(Architecture(0)));
    }

    void prependsHeader()
    {
        const QList<quint8> longList = QVector<quint8>(255, 7).toList();
        const QByteArray data = format4(15) + "abc";
        CFirmwareByteArray made(data);
        made.setTag1Value("123");
        made.setTag2List({1, 0, 255});
        made.setTag3List(longList);
        made.setTag4List({0, 0xFFFFFFFF});
        made.setTag5List({"abc", "no", QByteArray(3, '\0')});
        made.setTag7Value(200);
        made.setHardwareArchitecture(Architecture(2));
        QVERIFY(made.prependHeader());
        QCOMPARE(bytes(made),
                 header(field(1, "123") + field(2, QByteArray("\1\0\xFF", 3)) + "\3\xFF" + word(255)
                        + QByteArray(255, '\7') + field(4, word(0) + word(0xFFFFFFFF))
                        + field(5, QByteArray("abc\0\0\0", 6)) + field(7, "\xC8") + field(9, "\2") + field(6, {}))
                     + data);
        QCOMPARE(made.dataStart(), made.size() - data.size());
        made.setTag1Value("none");
        QCOMPARE(made.tag1Value(), QByteArray());
    }

    void report()
    {
        bool faultless = false;
        CFirmwareByteArray packages;
        packages.setSoftwarePackages({"app\x1b[31m"}, {"123"});
        packages.setTag4List({70000});
        QVERIFY(packages.prependHeader());
        const QByteArray file = part(2) + bytes(packages);
        const QString good = firmwareReport(file, &faultless);
        QVERIFY2(faultless, qPrintable(good));
        for (const char* text : {"part 2 at 47", "header: HW2, data: HW2", "tag 4         70000", "\"app\\x1b[31m\"",
                                 "(3 bytes of content)", "(32 bytes)"})
            QVERIFY2(good.contains(text), qPrintable(good));
        QVERIFY(!good.contains('\x1b'));

        for (const auto& [broken, text] : QList<QPair<QByteArray, const char*>>{
                 {part(2) + part(1).replace(8, 1, "?"), "FAULT at 55: the header's checksum"},
                 {file.left(file.size() - 1), "package 1, "},
                 {file + "tail", "4 bytes after the last part"},
                 {"x", "FAULT at 1: the header ends early"}}) {
            const QString bad = firmwareReport(broken, &faultless);
            QVERIFY2(!faultless && bad.contains(text), qPrintable(bad));
        }
    }
};

QTEST_GUILESS_MAIN(tst_FirmwareByteArray)
#include "tst_firmware_byte_array.moc"
