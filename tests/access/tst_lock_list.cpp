#include <foundation/access/access_evaluator.h>
#include <foundation/access/lock_list.h>
#include <foundation/datatypes/authorization_types.h>

#include <QtCore/QRandomGenerator>
#include <QtCore/QTimeZone>
#include <QtTest/QtTest>

#include <memory>

namespace {

constexpr qint64 noon = 1795348800; // 2026-11-22T12:00:00Z, a Sunday

CTimeProfile profile(const char* text)
{
    return *CTimeProfile::fromText(QString::fromLatin1(text), nullptr);
}

CLockEntry entry(const CLockCredential& credential, int schedule, qint64 user, qint64 medium)
{
    CLockEntry entry;
    entry.credential = credential;
    entry.schedule = quint8(schedule);
    entry.user = user;
    entry.medium = medium;
    return entry;
}

CAccessPeriod randomPeriod(QRandomGenerator& random)
{
    CAccessPeriod period;
    if (random.bounded(2))
        period.from = noon + random.bounded(-20000, 20000);
    if (random.bounded(2))
        period.to = noon + random.bounded(-20000, 20000);
    return period;
}

QByteArray randomText(QRandomGenerator& random, int entries)
{
    CLockListBuilder builder;
    builder.setAsksOnline(random.bounded(2) == 1);
    for (int i = 0; i < entries; ++i) {
        const quint8 schedule = builder.schedule(profile(random.bounded(2) ? "Mon-Sun,Holiday 00:00-24:00" : ""));
        builder.append(entry(CLockCredential::fromCode(QString::number(random.bounded(200))), schedule, i % 9 + 1, 3));
    }
    return builder.text();
}

} // namespace

class TestLockList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entriesAreAuthorizations();
    void textsAreReadOnlyInTheirForm_data();
    void textsAreReadOnlyInTheirForm();
    void whatCannotBeReadOpensNothing();
    void tooMuchIsSaid();
    void deltasLeadFromOneListToAnother();
    void decisionsAreTheEvaluators();
};

void TestLockList::entriesAreAuthorizations()
{
    CLockEntry card = entry(CLockCredential::fromUidLabel(QStringLiteral("00:A1:22:3B:5C:6D:80")), 2, 33, 100203);
    card.rightPeriod.from = noon;
    card.credentialPeriod.to = noon + 86399;
    QCOMPARE(card.toLine(),
             QByteArray("9;00:A1:22:3B:5C:6D:80;2;1;2026-11-22T12:00:00Z;2026-11-23T11:59:59Z;33;100203;"
                        "2026-11-22T12:00:00Z;9999-12-31T23:59:59Z;1970-01-01T00:00:00Z;2026-11-23T11:59:59Z"));
    QCOMPARE(CLockEntry::fromLine(card.toLine())->toLine(), card.toLine());
    const std::unique_ptr<CAuthorizationTypeData> nine(CAuthorizationTypeData::fromStringList(card.toStringList()));
    QVERIFY(*nine
            == CAuthorizationType09(0xA1223B5C6D80, 2, 1, QDateTime::fromSecsSinceEpoch(noon, Qt::UTC),
                                    QDateTime::fromSecsSinceEpoch(noon + 86399, Qt::UTC)));

    const CLockEntry code = entry(CLockCredential::fromCode(QStringLiteral("0012")), 1, 5, 6);
    QCOMPARE(code.toLine(), QByteArray("6;0012;1;1;1970-01-01T00:00:00Z;9999-12-31T23:59:59Z;5;6"));
    const std::unique_ptr<CAuthorizationTypeData> six(CAuthorizationTypeData::fromStringList(code.toStringList()));
    QCOMPARE(six->toStringList(), code.toStringList());
}

void TestLockList::textsAreReadOnlyInTheirForm_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("good");
    const QByteArray head = "0;1;offline\n";
    const QByteArray card = "9;04:A1:22:3B;1;1;1970-01-01T00:00:00Z;9999-12-31T23:59:59Z;33;100203\n";
    const auto row = [](const char* name, const QByteArray& text, bool good) { QTest::newRow(name) << text << good; };
    row("empty list", head, true);
    row("card and schedule", head + card + "s;1;2026-12-25,2026-12-26;Mon-Fri 07:00-19:00; Sat closed\n", true);
    row("nothing", "", false);
    row("no header", card, false);
    row("another version", "0;2;offline\n", false);
    row("cut", head + card.chopped(1), false);
    row("twice", head + card + card, false);
    row("not in order", card + head, false);
    row("lower case", head + card.toLower(), false);
    row("a blank more", head + QByteArray(card).replace("33", " 33"), false);
    row("number beyond 8 bits", head + QByteArray(card).replace(";1;1;", ";257;1;"), false);
    row("another point", head + QByteArray(card).replace(";1;1;", ";1;2;"), false);
    row("UID of 5 bytes", head + QByteArray(card).replace("04:", "04:04:"), false);
    row("30 February", head + QByteArray(card).replace("1970-01-01", "1970-02-30"), false);
    row("no date", head + QByteArray(card).replace("1970-01-01T00:00:00Z", ""), false);
    row("schedule 0", head + "s;0;;Mon 07:00-19:00\n", false);
    row("schedule twice", head + "s;1;;Mon 07:00-19:00\ns;1;;Tue 07:00-19:00\n", false);
    row("slots that are none", head + "s;1;;Someday\n", false);
    row("holidays not in order", head + "s;1;2026-12-26,2026-12-25;\n", false);
    row("other lines", head + "x\n", false);
}

void TestLockList::textsAreReadOnlyInTheirForm()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, good);
    QString error;
    QCOMPARE(CLockList::fromText(text, &error).has_value(), good);
    QCOMPARE(error.isEmpty(), good);
    QVERIFY(!error.contains(QLatin1String("A1:22")));
}

void TestLockList::whatCannotBeReadOpensNothing()
{
    const auto card = CLockCredential::fromUidLabel(QStringLiteral("04:A1:22:3B"));
    const auto code = CLockCredential::fromCode(QStringLiteral("1234"));
    const CAccessTimeZone utc;
    QCOMPARE(CLockList().decide(card, noon, utc).reason, CAccessReason::CredentialUnknown);
    QCOMPARE(CLockList().decide(code, noon, utc).reason, CAccessReason::InvalidPIN);
    CLockListBuilder builder;
    builder.append(entry(card, 0, 33, 1));
    builder.append(entry(code, 77, 34, 2));
    builder.append(entry(CLockCredential(), 1, 35, 3));
    const auto list = CLockList::fromText(builder.text());
    QVERIFY(list);
    QCOMPARE(list->decide(card, noon, utc).reason, CAccessReason::NotPermittedAtThisTime);
    QCOMPARE(list->decide(card, noon, utc).user, CItemId(33));
    QCOMPARE(list->decide(code, noon, utc).reason, CAccessReason::NotPermittedAtThisTime);
    QCOMPARE(list->decide(CLockCredential::fromUidLabel(QStringLiteral("00:00:00:04:A1:22:3B")), noon, utc).reason,
             CAccessReason::CredentialUnknown);
    QCOMPARE(list->decide(CLockCredential(), noon, utc).reason, CAccessReason::CredentialUnknown);
}

void TestLockList::tooMuchIsSaid()
{
    CLockListBuilder builder;
    for (int i = 0; i < CLockList::mostSchedules; ++i)
        QCOMPARE(int(builder.schedule(CTimeProfile({{CDataType::TimeSlotDayMonday, 0, i + 1}}))), i + 1);
    QCOMPARE(int(builder.schedule(CTimeProfile({{CDataType::TimeSlotDayMonday, 0, 7}}))), 7);
    QVERIFY(builder.error().isEmpty());
    QCOMPARE(int(builder.schedule(CTimeProfile::always())), 0);
    QVERIFY(builder.error().contains(QLatin1String("255")));

    CLockEntry full = entry(CLockCredential::fromUidLabel(QStringLiteral("00:00:00:04:A1:22:3B:5C")), 1, 1, 2);
    full.rightPeriod.from = full.credentialPeriod.from = noon;
    QVector<QDate> dates;
    for (int i = 0; i < CLockList::mostHolidays; ++i)
        dates.append(QDate(2026, 1, 1).addDays(i));
    CLockListBuilder crowd;
    for (int i = 0; i < CLockList::mostEntries; ++i)
        crowd.append(full);
    QVERIFY(crowd.error().isEmpty());
    for (int i = 0; crowd.error().isEmpty(); ++i)
        crowd.schedule(CTimeProfile({{CDataType::TimeSlotDayMonday, 0, i + 1}}, dates));
    QVERIFY(crowd.error().contains(QLatin1String("32 MiB")));
    QVERIFY(crowd.text().size() < CLockList::largestText);
    crowd.append(entry(CLockCredential::fromCode(QStringLiteral("1")), 1, 1, 2));
    QVERIFY(crowd.error().contains(QLatin1String("100000")));
    CLockListBuilder holidays;
    holidays.schedule(CTimeProfile({}, dates));
    QVERIFY(holidays.error().isEmpty());
    dates.append(QDate(2026, 1, 1).addDays(-1));
    holidays.schedule(CTimeProfile({}, dates));
    QVERIFY(holidays.error().contains(QLatin1String("10000 holidays")));
}

void TestLockList::deltasLeadFromOneListToAnother()
{
    QRandomGenerator random(4);
    for (int i = 0; i < 200; ++i) {
        const QByteArray from = randomText(random, random.bounded(40));
        const QByteArray to = randomText(random, random.bounded(40));
        QVERIFY(CLockList::fromText(from));
        const QByteArray delta = CLockList::delta(from, to);
        QCOMPARE(CLockList::applied(from, delta).value_or("?"), to);
        if (!delta.isEmpty())
            QVERIFY(!CLockList::applied(to, delta));
    }
    QCOMPARE(CLockList::delta("a\n", "a\n"), QByteArray());
    QVERIFY(!CLockList::applied("a\n", "-b\n"));
    QVERIFY(!CLockList::applied("a\n", "+a\n"));
    QVERIFY(!CLockList::applied("a\n", "a\n"));
    QVERIFY(!CLockList::applied("a\nb\n", "-b\n-a\n"));
}

void TestLockList::decisionsAreTheEvaluators()
{
    QRandomGenerator random(11);
    const CAccessTimeZone zone{QTimeZone("Europe/Zurich")};
    const CTimeProfile profiles[] = {CTimeProfile::always(), profile("Sun 08:00-13:00; Holiday 10:00-11:00"),
                                     profile("Sat 22:00-14:00; Sun closed"), CTimeProfile()};
    const auto shown = CLockCredential::fromUidLabel(QStringLiteral("04:A1:22:3B"));
    int allowed = 0;
    for (int round = 0; round < 2000; ++round) {
        CAccessFacts facts;
        facts.zones = {zone};
        facts.accessPoints = {CAccessPoint()};
        CAccessUser user;
        user.id = 33;
        user.credentialCount = 1;
        facts.users = {user};
        CAccessCredential card;
        card.id = 7;
        card.period = randomPeriod(random);
        facts.credentials = {card};
        CLockListBuilder builder;
        const int rights = 1 + random.bounded(3);
        for (int i = 0; i < rights; ++i) {
            CTimeProfile times = profiles[random.bounded(4)];
            if (random.bounded(3) == 0)
                times.setHolidays({QDate(2026, 11, 22)});
            CAccessSchedule schedule;
            schedule.profile = times;
            facts.schedules.append(schedule);
            CAccessRight right;
            right.schedule = i;
            right.period = randomPeriod(random);
            facts.rights.append(right);
            facts.grants.append({0, i});
            CLockEntry line = entry(shown, builder.schedule(times), 33, 7);
            line.rightPeriod = right.period;
            line.credentialPeriod = card.period;
            builder.append(line);
        }
        const auto list = CLockList::fromText(builder.text());
        QVERIFY(list);
        for (int i = 0; i < 10; ++i) {
            const qint64 at = noon + random.bounded(-30000, 30000);
            const CAccessReason reason = CAccessEvaluator::verdict(facts, at).reason;
            QCOMPARE(list->decide(shown, at, zone).reason, reason);
            allowed += reason == CAccessReason::None ? 1 : 0;
        }
    }
    QVERIFY2(allowed > 1000 && allowed < 19000, qPrintable(QString::number(allowed)));
}

QTEST_APPLESS_MAIN(TestLockList)
#include "tst_lock_list.moc"
