#include <foundation/access/lock_messages.h>

#include <QtTest/QtTest>

namespace {

const QByteArray revision = QByteArray("9f86d081884c7d65").repeated(4);
const QByteArray epoch = QByteArray("5be10f27").repeated(4);

CLockEvent fullEvent()
{
    CLockEvent event;
    event.number = 17;
    event.at = 1792800000123;
    event.kind = CLockEventKind::Denied;
    event.way = CLockWay::Online;
    event.reason = CAccessReason::CredentialUnknown;
    event.user = 33;
    event.medium = Q_INT64_C(9223372036854775807);
    event.uid = QByteArray::fromHex("0004a1223b5c6d");
    event.operatorName = QString::fromUtf8("Zoë \"Ω\"\n");
    event.comment = QStringLiteral("delivery");
    event.correction = -5000;
    return event;
}

} // namespace

class TestLockMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void credentialsKeepTheirLength();
    void whatIsWrittenIsReadAgain();
    void dialogueOfThePastStillWorks();
    void otherThingsAreNotRead_data();
    void otherThingsAreNotRead();
    void partsStayBelowTheLimit();
};

void TestLockMessages::credentialsKeepTheirLength()
{
    const auto four = CLockCredential::fromUidLabel(QStringLiteral("04:a1:22:3b"));
    const auto seven = CLockCredential::fromUidLabel(QStringLiteral("00:00:00:04:A1:22:3B"));
    const auto eight = CLockCredential::fromUidLabel(QStringLiteral("0000000004A1223B"));
    QCOMPARE(four.toText(), QStringLiteral("04:A1:22:3B"));
    QCOMPARE(seven.toText(), QStringLiteral("00:00:00:04:A1:22:3B"));
    QCOMPARE(eight.uid(), QByteArray::fromHex("0000000004a1223b"));
    QVERIFY(four != seven && seven != eight && four != eight);
    for (const char* text : {"", "04:A1:22", "04:A1:22:3B:5C", "04A1223", "04-A1-22-3B", "xy:A1:22:3B"})
        QVERIFY2(CLockCredential::fromUidLabel(QString::fromLatin1(text)).isNone(), text);

    const auto code = CLockCredential::fromCode(QStringLiteral("0012"));
    QCOMPARE(code.toText(), QStringLiteral("0012"));
    QVERIFY(code != CLockCredential::fromCode(QStringLiteral("12")));
    QVERIFY(CLockCredential::fromCode(QStringLiteral("999999999999")).isCode());
    for (const char* text : {"", "0123456789012", "12a4", " 1234", "-1"})
        QVERIFY2(CLockCredential::fromCode(QString::fromLatin1(text)).isNone(), text);
}

void TestLockMessages::whatIsWrittenIsReadAgain()
{
    const CLockEvent event = fullEvent();
    CLockEvent after;
    after.number = 18;
    const CLockFromDevice fromDevice[] = {
        CLockState{revision, epoch, 3, 19, 2, 4, 1792800000456},
        CLockState{QByteArray(), epoch, 1, 1, 0, 0, -1},
        CLockEvents{epoch, {event, after}},
        CLockAsk{5, CLockCredential::fromCode(QStringLiteral("007")), 12},
        CLockAsk{6, CLockCredential::fromUidLabel(QStringLiteral("00:A1:22:3B")), 12},
        CLockDetected{event.uid, 99},
        CLockAnswer{7, QString()},
        CLockAnswer{8, QStringLiteral("no room")},
    };
    for (const CLockFromDevice& message : fromDevice) {
        const QByteArray bytes = CLockMessage::toBytes(message);
        const CLockFromDevice read = CLockMessage::fromDevice(bytes);
        QCOMPARE(read.index(), message.index());
        QCOMPARE(CLockMessage::toBytes(read), bytes);
    }
    const auto events = std::get<CLockEvents>(CLockMessage::fromDevice(CLockMessage::toBytes(fromDevice[2])));
    QVERIFY(events.events == QVector<CLockEvent>({event, after}));
    QVERIFY(*CLockMessage::eventFromBytes(CLockMessage::eventToBytes(event)) == event);

    CDeviceTimeZoneSettings zone(4);
    zone.dstPeriods = {{QDateTime::fromSecsSinceEpoch(1, Qt::UTC), QDateTime::fromSecsSinceEpoch(9, Qt::UTC), 8},
                       {QDateTime::fromSecsSinceEpoch(20, Qt::UTC), QDateTime(), -8}};
    const CLockToDevice toDevice[] = {
        CLockTime{1792800000123, zone},
        CLockBegin{revision, QByteArray(), 3, 150000},
        CLockBegin{revision, revision, 1, 1},
        CLockPart{revision, 2, "s 1 Mon-Fri 07:00-19:00\n"},
        CLockCommit{revision},
        CLockAcknowledge{epoch, 17},
        CLockVerdict{5, CAccessReason::None, 33, 100203},
        CLockVerdict{5, CAccessReason::UserDisabled, 33, 0},
        CLockOpen{5, QStringLiteral("admin"), 33, QStringLiteral("delivery")},
        CLockWait{30},
        CLockSimulate{event.uid},
    };
    for (const CLockToDevice& body : toDevice) {
        const QByteArray bytes = CLockMessage::toBytes(CLockCommand{41, body});
        const CLockCommand read = CLockMessage::toDevice(bytes);
        QCOMPARE(read.id, qint64(41));
        QCOMPARE(read.body.index(), body.index());
        QCOMPARE(CLockMessage::toBytes(read), bytes);
    }
    const auto time =
        std::get<CLockTime>(CLockMessage::toDevice(CLockMessage::toBytes(CLockCommand{1, toDevice[0]})).body);
    QVERIFY(time.zone == zone);
}

// Whoever sent {"id":2,"command":"open"} before sends it still.
void TestLockMessages::dialogueOfThePastStillWorks()
{
    const CLockCommand open = CLockMessage::toDevice(R"({"id":2,"command":"open","seconds":5})");
    QCOMPARE(std::get<CLockOpen>(open.body).seconds, 5);
    QCOMPARE(std::get<CLockOpen>(CLockMessage::toDevice(R"({"command":"open"})").body).seconds,
             int(CLockOpen::defaultSeconds));
    QVERIFY(
        std::get<CLockAnswer>(CLockMessage::fromDevice(R"({"id":2,"status":"ok","door":"open","opened":1})")).isOk());
    QVERIFY(std::holds_alternative<std::monostate>(CLockMessage::toDevice(R"({"id":1,"command":"status"})").body));
}

void TestLockMessages::otherThingsAreNotRead_data()
{
    QTest::addColumn<QByteArray>("message");
    const auto row = [](const char* name, QByteArray message) {
        QTest::newRow(name) << message.replace("REVISION", revision).replace("EPOCH", epoch);
    };
    row("nothing", "");
    row("no object", "[1]");
    row("unknown", R"({"message":"hello"})");
    row("a key twice", R"({"command":"wait","seconds":1,"seconds":2})");
    row("too long", R"({"command":"wait","seconds":1,"x":")" + QByteArray(70000, 'x') + "\"}");
    row("a number as text", R"({"command":"wait","seconds":"1"})");
    row("a broken number", R"({"command":"wait","seconds":1.5})");
    row("too many seconds", R"({"command":"open","seconds":3601})");
    row("a negative number of seconds", R"({"command":"open","seconds":-1})");
    row("a huge number", R"({"command":"acknowledge","epoch":"EPOCH","upTo":1e300})");
    row("a short revision", R"({"command":"commit","revision":"9f86"})");
    row("a revision in upper case", R"({"command":"commit","revision":")" + revision.toUpper() + "\"}");
    row("other characters in a part", R"({"command":"part","revision":"REVISION","index":0,"text":"\u00e9"})");
    row("no parts", R"({"command":"begin","revision":"REVISION","base":"","parts":0,"size":1})");
    row("allowed and denied", R"({"command":"verdict","number":1,"allowed":true,"reason":"Other"})");
    row("denied without a reason", R"({"command":"verdict","number":1,"allowed":false})");
    row("an unknown reason", R"({"command":"verdict","number":1,"allowed":false,"reason":"Weather"})");
    row("a false id", R"({"command":"verdict","number":1,"allowed":true,"user":"-3"})");
    row("UID of 5 bytes", R"({"command":"simulate","uid":"01:02:03:04:05"})");
    row("an offset of a day", R"({"command":"time","utc":1,"offset":96,"periods":[]})");
    row("a period that is none", R"({"command":"time","utc":1,"offset":4,"periods":[7]})");
    row("two credentials", R"({"message":"ask","number":1,"at":1,"uid":"01:02:03:04","code":"1"})");
    row("no credential", R"({"message":"ask","number":1,"at":1})");
    row("no events", R"({"message":"events","epoch":"EPOCH","events":[]})");
    row("events with a gap",
        R"({"message":"events","epoch":"EPOCH","events":[{"number":1,"at":1,"kind":"start"},{"number":3,"at":1,"kind":"start"}]})");
    row("acknowledged what never was",
        R"({"message":"state","revision":"","epoch":"EPOCH","first":1,"next":2,"acknowledged":2,"lost":0,"clock":1})");
    row("an error without a text", R"({"id":1,"status":"error"})");
}

void TestLockMessages::otherThingsAreNotRead()
{
    QFETCH(QByteArray, message);
    QVERIFY(std::holds_alternative<std::monostate>(CLockMessage::fromDevice(message)));
    QVERIFY(std::holds_alternative<std::monostate>(CLockMessage::toDevice(message).body));
}

void TestLockMessages::partsStayBelowTheLimit()
{
    const QByteArray text = QByteArray("h 1 2026-1\n").repeated(20000);
    const QVector<QByteArray> parts = CLockMessage::cut(text);
    QByteArray together;
    for (const QByteArray& part : parts) {
        const QByteArray bytes = CLockMessage::toBytes(CLockCommand{1, CLockPart{revision, 0, part}});
        QVERIFY(bytes.size() <= CLockMessage::longest);
        together += std::get<CLockPart>(CLockMessage::toDevice(bytes).body).text;
    }
    QCOMPARE(together, text);
}

QTEST_APPLESS_MAIN(TestLockMessages)
#include "tst_lock_messages.moc"
