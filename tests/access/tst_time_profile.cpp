#include <foundation/access/time_profile.h>

#include <foundation/core/device_time_zone_settings.h>

#include <QtCore/QTimeZone>
#include <QtTest/QtTest>

using DayEdge = CAccessTimeZone::DayEdge;

namespace {

const CAccessTimeZone& zurich()
{
    static const CAccessTimeZone zone{QTimeZone("Europe/Zurich")};
    return zone;
}

CTimeProfile profile(const QString& text, const QVector<QDate>& holidays = {})
{
    QString error;
    auto result = CTimeProfile::fromText(text, &error);
    if (!result)
        qFatal("%s", qPrintable(error));
    result->setHolidays(holidays);
    return *result;
}

qint64 instant(const QString& text, const CAccessTimeZone& zone = zurich())
{
    const auto result = zone.instantFromText(text, DayEdge::Begin);
    if (!result)
        qFatal("no time: %s", qPrintable(text));
    return *result;
}

} // namespace

class TestTimeProfile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsAndWritesText_data();
    void readsAndWritesText();
    void refusesBadText_data();
    void refusesBadText();
    void opens_data();
    void opens();
    void findsTheNextChange();
    void clocksThatChange();
    void rulesOfALockGiveTheSameTime();
    void readsTimes_data();
    void readsTimes();
};

void TestTimeProfile::readsAndWritesText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");

    const auto row = [](const char* text, const char* written = nullptr) {
        QTest::newRow(*text ? text : "empty") << QString(text) << QString(written ? written : text);
    };
    row("");
    row(" ", "");
    row("Mon-Fri 07:00-19:00; Sat 08:00-12:00; Holiday closed");
    row("Mon,Wed,Holiday 00:00-24:00");
    row("Sat-Mon 22:00-06:00");
    row("Mon-Sun,Holiday 00:00-00:00");
    row("Wed,Sat-Mon 12:00-12:00");
    row("tue-TUE 01:02-03:04", "Tue 01:02-03:04");
    row("  Mon , Wed - Fri,Holiday   07:00 - 08:00 ;sun Closed", "Mon,Wed-Fri,Holiday 07:00-08:00; Sun closed");
    row("Fri,Thu,Mon,Mon 07:00-08:00", "Mon,Thu-Fri 07:00-08:00");
    row("Thu-Wed 07:00-08:00", "Mon-Sun 07:00-08:00");
}

void TestTimeProfile::readsAndWritesText()
{
    QFETCH(QString, text);
    QString error;
    const auto read = CTimeProfile::fromText(text, &error);
    QVERIFY2(read.has_value(), qPrintable(error));
    QTEST(read->toText(), "written");
    QVERIFY(profile(read->toText()) == *read);
}

void TestTimeProfile::refusesBadText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("named");

    const auto row = [](const QString& text, const char* named) {
        QTest::newRow(qPrintable(text.left(40))) << text << QString(named);
    };
    row("Mon-Fri 07:00-19:00; Sut 08:00-12:00", "slot 2, \"Sut 08:00-12:00\": \"Sut\" is not a day");
    row("Mon-Fri 07:00-19:00;", "slot 2, \"\": it is empty");
    row("Mon 07:00-24:01", "\"24:01\" is not a time");
    row("Mon 7:00-19:00", "\"7:00\" is not a time");
    row("Mon 07:60-19:00", "\"07:60\" is not a time");
    row("Mon 24:00-06:00", "cannot begin at 24:00");
    row("Mon", "are missing");
    row("Mon 07:00", "\"07:00\" is neither");
    row("Mon 07:00-08:00-09:00", "\"08:00-09:00\" is not a time");
    row("Fri-Holiday 07:00-08:00", "cannot contain Holiday");
    row("Mon, 07:00-08:00", "\"07:00\" is not a day");
    row(QString::fromUtf8("Mon \xd9\xa0\xd9\xa7:00-08:00"), "is not a time");
    row(QString("Mon closed;").repeated(1001), "at most 1000");
    row(QString("x").repeated(100000), "is not a day");
}

void TestTimeProfile::refusesBadText()
{
    QFETCH(QString, text);
    QFETCH(QString, named);
    QString error;
    QVERIFY(!CTimeProfile::fromText(text, &error));
    QVERIFY2(error.contains(named), qPrintable(error));
    QVERIFY(error.size() < 200);
    QVERIFY(!CTimeProfile::fromText(text, nullptr));
}

void TestTimeProfile::opens_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("openAt");
    QTest::addColumn<QString>("closedAt");

    // 2026-12-25 is a Friday and a holiday.
    const auto row = [](const char* text, const char* openAt, const char* closedAt) {
        QTest::newRow(text) << QString(text) << QString(openAt) << QString(closedAt);
    };
    row("", "", "2026-12-22T12:00:00 2026-12-25T12:00:00");
    row("Mon-Sun,Holiday 00:00-00:00", "2026-12-25T00:00:00 2026-12-21T23:59:59", "");
    row("Mon-Fri 07:00-19:00", "2026-12-24T07:00:00 2026-12-24T18:59:59",
        "2026-12-24T06:59:59 2026-12-24T19:00:00 2026-12-25T12:00:00");
    row("Thu 22:00-06:00", "2026-12-25T05:59:59 2026-12-24T22:00:00", "2026-12-25T06:00:00 2026-12-24T05:00:00");
    row("Fri,Sat 22:00-06:00", "2026-12-26T22:00:00", "2026-12-25T22:00:00 2026-12-26T05:00:00");
    row("Holiday 22:00-06:00", "2026-12-25T22:00:00 2026-12-26T05:59:59", "2026-12-24T23:00:00 2026-12-25T05:00:00");
    row("Sun 23:00-12:00; Mon 00:00-24:00; Holiday closed", "2026-12-21T00:00:00 2026-12-20T23:00:00",
        "2026-12-22T00:00:00 2026-12-20T12:00:00");
    row("Mon-Sun 08:00-18:00; Wed,Holiday closed", "2026-12-22T09:00:00", "2026-12-23T09:00:00 2026-12-25T09:00:00");
    row("Tue 12:00-12:00", "2026-12-22T12:00:00 2026-12-23T11:59:59", "2026-12-22T11:59:59 2026-12-23T12:00:00");
}

void TestTimeProfile::opens()
{
    QFETCH(QString, text);
    QFETCH(QString, openAt);
    QFETCH(QString, closedAt);
    const CTimeProfile read = profile(text, {QDate(2026, 12, 25), QDate(2026, 12, 25), QDate()});
    QCOMPARE(read.holidays(), QVector<QDate>{QDate(2026, 12, 25)});
    for (const bool open : {true, false}) {
        const QStringList times = (open ? openAt : closedAt).split(' ', Qt::SkipEmptyParts);
        for (const QString& time : times) {
            QVERIFY2(read.isOpen(instant(time), zurich()) == open, qPrintable(time));
            QCOMPARE(read.isOpen(QDateTime::fromString(time, Qt::ISODate)), open);
        }
    }
}

void TestTimeProfile::findsTheNextChange()
{
    const CTimeProfile office = profile("Mon-Fri 07:00-19:00; Holiday closed", {QDate(2026, 12, 25)});
    const auto change = [&](const CTimeProfile& read, const char* from) {
        const qint64 next = read.nextChange(instant(from), zurich());
        return next == CAccessTimeZone::never ? QString("never") : zurich().isoText(next);
    };
    QCOMPARE(change(office, "2026-12-24T18:59:59"), QString("2026-12-24T19:00:00+01:00"));
    QCOMPARE(change(office, "2026-12-24T19:00:00"), QString("2026-12-28T07:00:00+01:00"));
    QCOMPARE(change(CTimeProfile(), "2026-12-24T19:00:00"), QString("never"));
    QCOMPARE(change(CTimeProfile::always(), "2026-12-24T19:00:00"), QString("never"));
    // Slots that touch, also over midnight, are one.
    QCOMPARE(change(profile("Mon 08:00-12:00; Mon 12:00-24:00; Tue 00:00-01:00"), "2026-12-21T08:00:00"),
             QString("2026-12-22T01:00:00+01:00"));
    QCOMPARE(change(profile("Holiday 10:00-11:00", {QDate(2027, 11, 1)}), "2026-12-21T08:00:00"),
             QString("2027-11-01T10:00:00+01:00"));
}

void TestTimeProfile::clocksThatChange()
{
    // 2026-03-29 from 02:00 to 03:00, 2026-10-25 from 03:00 back to 02:00.
    const CTimeProfile night = profile("Sun 02:15-02:45");
    QCOMPARE(zurich().isoText(night.nextOpening(instant("2026-03-23"), zurich(), instant("2026-04-30"))),
             QString("2026-04-05T02:15:00+02:00"));
    qint64 at = night.nextOpening(instant("2026-10-19"), zurich(), instant("2026-12-30"));
    QStringList changes;
    for (int i = 0; i < 4; ++i, at = night.nextChange(at, zurich()))
        changes.append(zurich().displayText(at));
    QCOMPARE(changes, QStringList({"Sun 2026-10-25 02:15 +02:00", "Sun 2026-10-25 02:45 +02:00",
                                   "Sun 2026-10-25 02:15 +01:00", "Sun 2026-10-25 02:45 +01:00"}));
    // A slot that begins in the gap opens when the gap is over, one that ends in it ends where it begins.
    QCOMPARE(zurich().isoText(
                 profile("Sun 02:30-04:00").nextOpening(instant("2026-03-28"), zurich(), instant("2026-03-30"))),
             QString("2026-03-29T03:00:00+02:00"));
    QCOMPARE(zurich().isoText(profile("Sun 01:00-02:30").nextChange(instant("2026-03-29T01:30"), zurich())),
             QString("2026-03-29T03:00:00+02:00"));
    // The local time that occurs twice means the first, the one that is skipped counts on.
    QCOMPARE(zurich().isoText(instant("2026-10-25T02:30")), QString("2026-10-25T02:30:00+02:00"));
    QCOMPARE(zurich().isoText(instant("2026-03-29T02:30")), QString("2026-03-29T03:30:00+02:00"));
}

void TestTimeProfile::rulesOfALockGiveTheSameTime()
{
    for (const char* name : {"Europe/Zurich", "America/New_York", "Australia/Lord_Howe", "Asia/Kathmandu", "UTC"}) {
        const QTimeZone desk(name);
        const QDateTime begin(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
        const auto periods = desk.transitions(begin, begin.addYears(3));
        const CAccessTimeZone lock(periods.isEmpty() ? CDeviceTimeZoneSettings(qint8(desk.offsetFromUtc(begin) / 900))
                                                     : CDeviceTimeZoneSettings(10, periods));
        const CAccessTimeZone zone(desk);
        const qint64 first = periods.isEmpty() ? begin.toSecsSinceEpoch() : periods.first().atUtc.toSecsSinceEpoch();
        for (qint64 at = first; at < first + 600 * 86400; at += 1799) {
            QCOMPARE(lock.offsetAt(at), desk.offsetFromUtc(QDateTime::fromSecsSinceEpoch(at, Qt::UTC)));
            QCOMPARE(zone.offsetAt(at), lock.offsetAt(at));
            QCOMPARE(zone.nextTransition(at), lock.nextTransition(at));
        }
    }
    // A lock's periods in any order, one within another and one that ends before it begins.
    const auto at = [](int day) { return QDateTime(QDate(2026, 1, day), QTime(0, 0), Qt::UTC); };
    CDeviceTimeZoneSettings rules(4);
    rules.dstPeriods = {{at(20), QDateTime(), 12}, {at(2), at(8), 8}, {at(4), at(6), 6}, {at(19), at(3), 1}};
    const CAccessTimeZone zone(rules);
    QStringList offsets;
    for (const int day : {1, 2, 4, 6, 20, 31})
        offsets.append(QString::number(zone.offsetAt(at(day).toSecsSinceEpoch()) / 900));
    QCOMPARE(offsets.join(' '), QString("4 8 6 4 12 12"));
}

void TestTimeProfile::readsTimes_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("begin");
    QTest::addColumn<QString>("end");

    const auto row = [](const char* text, const char* begin, const char* end = nullptr) {
        QTest::newRow(*text ? text : "empty") << QString(text) << QString(begin) << QString(end ? end : begin);
    };
    row("2026-11-22T03:10", "2026-11-22T03:10:00+01:00");
    row("2026-07-22T03:10:59", "2026-07-22T03:10:59+02:00");
    row("2026-11-22T03:10Z", "2026-11-22T04:10:00+01:00");
    row("2026-11-22T03:10:01-05:30", "2026-11-22T09:40:01+01:00");
    row("2026-10-25", "2026-10-25T00:00:00+02:00", "2026-10-25T23:59:59+01:00");
    for (const char* bad : {"", "2026-11-31", "2026-11-22 03:10", "2026-11-22T24:00", "2026-11-22T03:10z", "22.11.2026",
                            "2026-11-22T03:10:00.5", "2026-11-22T03:10+1:00", "2026-11-22T03:10:", "2026-11-2203:10",
                            "2026-11-22T03:10:00+01:00 ", "+026-11-22"})
        row(bad, "none");
}

void TestTimeProfile::readsTimes()
{
    QFETCH(QString, text);
    const auto shown = [&](DayEdge edge) {
        const auto read = zurich().instantFromText(text, edge);
        return read ? zurich().isoText(*read) : QString("none");
    };
    QTEST(shown(DayEdge::Begin), "begin");
    QTEST(shown(DayEdge::End), "end");
}

QTEST_APPLESS_MAIN(TestTimeProfile)
#include "tst_time_profile.moc"
