#include <foundation/access/access_evaluator.h>
#include <foundation/access/access_explanation.h>

#include <QtCore/QTimeZone>
#include <QtTest/QtTest>

#include <random>

namespace {

constexpr qint64 never = CAccessTimeZone::never;

const CAccessTimeZone& zoneNamed(const QByteArray& name)
{
    static QHash<QByteArray, CAccessTimeZone> zones;
    if (!zones.contains(name))
        zones.insert(name, CAccessTimeZone(QTimeZone(name)));
    return zones[name];
}

qint64 instant(const char* text)
{
    return *zoneNamed("Europe/Zurich").instantFromText(text, CAccessTimeZone::DayEdge::Begin);
}

QVariant local(const char* text)
{
    return QVariant(QString(text));
}

CTimeProfile profile(const char* text)
{
    return *CTimeProfile::fromText(text, nullptr);
}

// Clara at the server room: by her group in office hours, by herself in December.
CAccessFacts clara()
{
    const CAccessTimeZone& zone = zoneNamed("Europe/Zurich");
    CAccessFacts facts;
    facts.zones = {zone};
    facts.accessPoints = {{3, "Server Room", true, 0}};
    facts.users = {{33, "Clara Dubois", true, 0, 2}};
    facts.credentials = {{54, "Key fob 100204", true, CAccessPeriod::fromVariants({}, local("2026-10-31"), zone)},
                         {53, "Blue card 100203", true, {}}};
    facts.schedules = {{81, "Office hours", profile("Mon-Fri 07:00-19:00"), true}};
    facts.rights = {{9002,
                     0,
                     "",
                     0,
                     CAccessRight::always,
                     CAccessPeriod::fromVariants(local("2026-12-01"), local("2026-12-31"), zone),
                     {}},
                    {9001, 41, "Employees", 0, 0, {}, {}}};
    facts.grants = {{0, 0}, {0, 1}, {0, 0}};
    facts.sort();
    return facts;
}

QString reasonOf(const CAccessFacts& facts, qint64 at)
{
    return accessReasonToString(CAccessEvaluator::verdict(facts, at).reason);
}

/// The rules again, as simply as can be: wall-clock dates and times of Qt, one minute at a time.
class BruteForce
{
public:
    BruteForce(const CAccessFacts& facts, const QByteArray& zone, qint64 begin, int days)
        : m_facts(facts)
        , m_begin(begin)
    {
        const QTimeZone rules(zone);
        for (qint64 at = begin; at < begin + days * 86400; at += 60)
            m_clock.append(QDateTime::fromSecsSinceEpoch(at, rules));
    }

    qint64 end() const { return m_begin + m_clock.size() * 60; }

    bool allowed(qint64 at) const
    {
        for (const CAccessGrant grant : m_facts.grants) {
            const CAccessRight& right = m_facts.rights[grant.right];
            const CAccessUser& user = m_facts.users[grant.user];
            for (int i = 0; i < user.credentialCount; ++i) {
                const CAccessCredential& credential = m_facts.credentials[user.firstCredential + i];
                if (user.isEnabled && m_facts.accessPoints[0].isEnabled && at >= right.period.from
                    && at <= right.period.to && credential.isEnabled && at >= credential.period.from
                    && at <= credential.period.to
                    && (right.schedule < 0 || isOpen(m_facts.schedules[right.schedule], clock(at))))
                    return true;
            }
        }
        return false;
    }

    // Things change at full minutes and where a period begins.
    qint64 next(qint64 at) const
    {
        QVector<qint64> moments;
        for (qint64 moment = m_begin; moment < end(); moment += 60)
            moments.append(moment);
        for (const CAccessRight& right : m_facts.rights)
            moments.append(right.period.from);
        for (const CAccessCredential& credential : m_facts.credentials)
            moments.append(credential.period.from);
        moments.append(at + 1);
        std::sort(moments.begin(), moments.end());
        for (const qint64 moment : moments) {
            if (moment > at && moment < end() && allowed(moment))
                return moment;
        }
        return never;
    }

private:
    const QDateTime& clock(qint64 at) const { return m_clock[int((at - m_begin) / 60)]; }

    static bool isOpen(const CAccessSchedule& schedule, const QDateTime& clock)
    {
        const auto counts = [&](const CTimeSlot& slot, const QDate& date) {
            const bool holiday = schedule.profile.holidays().contains(date);
            return bool(slot.days & CDataType::TimeSlotDays(holiday ? 128 : 1 << (date.dayOfWeek() - 1)));
        };
        const int minute = clock.time().hour() * 60 + clock.time().minute();
        for (const CTimeSlot& slot : schedule.profile.timeSlots()) {
            const bool overnight = slot.to <= slot.from;
            if (counts(slot, clock.date()) && minute >= slot.from && (overnight || minute < slot.to))
                return true;
            if (overnight && counts(slot, clock.date().addDays(-1)) && minute < slot.to)
                return true;
        }
        return false;
    }

    const CAccessFacts& m_facts;
    qint64 m_begin;
    QVector<QDateTime> m_clock;
};

/// Small worlds around a moment, with all that is awkward in them.
class Worlds
{
public:
    explicit Worlds(unsigned seed)
        : m_engine(seed)
    {
    }

    int below(int bound) { return int(m_engine() % unsigned(bound)); }
    bool oneIn(int n) { return below(n) == 0; }

    CAccessPeriod period(qint64 around)
    {
        CAccessPeriod result;
        if (oneIn(2))
            result.from = around + below(8 * 86400) - 4 * 86400;
        if (oneIn(2))
            result.to = around + below(10 * 86400) - 3 * 86400;
        return result;
    }

    CTimeProfile schedule(qint64 around)
    {
        QVector<CTimeSlot> timeSlots;
        for (int i = below(4); i > 0; --i) {
            CTimeSlot slot;
            slot.days = CDataType::TimeSlotDays(CDataType::TimeSlotDay(1 + below(255)));
            slot.from = oneIn(2) ? below(48) * 30 : below(1440);
            slot.to = oneIn(2) ? below(49) * 30 : below(1441);
            timeSlots.append(slot);
        }
        QVector<QDate> holidays;
        for (int i = below(3); i > 0; --i)
            holidays.append(QDateTime::fromSecsSinceEpoch(around + (below(9) - 3) * 86400, Qt::UTC).date());
        return CTimeProfile(timeSlots, holidays);
    }

    CAccessFacts make(const CAccessTimeZone& zone, qint64 around, int users, int doors)
    {
        CAccessFacts facts;
        facts.zones = {zone};
        for (int i = 0; i < doors; ++i)
            facts.accessPoints.append({1 + i, "door", !oneIn(12), 0});
        for (int i = 0; i < users; ++i) {
            facts.users.append({101 + i, "user", !oneIn(12), int(facts.credentials.size()), below(3)});
            for (int k = 0; k < facts.users.last().credentialCount; ++k)
                facts.credentials.append({1000 - facts.credentials.size(), "card", !oneIn(5), period(around)});
        }
        for (int i = 0; i < 3; ++i)
            facts.schedules.append({201 + i, "schedule", schedule(around), true});
        for (int i = 0; i < doors * 4; ++i) {
            const bool own = oneIn(2);
            facts.rights.append(
                {901 + i, own ? 0 : 41 + below(3), "", below(doors), below(5) > 0 ? below(3) : -1, period(around), {}});
            for (int k = own ? 1 : below(users + 1); k > 0; --k)
                facts.grants.append({below(users), i});
        }
        facts.sort();
        return facts;
    }

private:
    std::mt19937 m_engine;
};

const QVector<QPair<QByteArray, qint64>>& awkwardMoments()
{
    static const QVector<QPair<QByteArray, qint64>> moments = {
        {"Europe/Zurich", 1774746000},                                     // 2026-03-29T01:00Z, forward
        {"Europe/Zurich", 1792890000},                                     // 2026-10-25T01:00Z, back
        {"Australia/Lord_Howe", 1775314800},                               // by half an hour
        {"America/Santiago", 1788667200},                                  // at midnight: the day begins at 01:00
        {"Asia/Kathmandu", 1780999980},      {"Pacific/Apia", 1325239200}, // a whole day left out
    };
    return moments;
}

} // namespace

class TestAccessEvaluator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void explainsInFourLines();
    void reasonsComeInOrder();
    void oddFacts();
    void valuesOfTheModel();
    void agreesWithBruteForce();
    void nextIsExactAndAllQuestionsAgree();
};

void TestAccessEvaluator::explainsInFourLines()
{
    const CAccessFacts facts = clara();
    const auto lines = [&](const char* at) {
        return CAccessExplanation::lines(facts, CAccessEvaluator::verdict(facts, instant(at))).join('\n');
    };
    QCOMPARE(lines("2026-11-22T03:10"),
             QString("DENIED  Clara Dubois (33) at Server Room (3), Sun 2026-11-22 03:10 +01:00: "
                     "NotPermittedAtThisTime\n"
                     "  x  Employees (41) > right 9001 > Office hours (Mon-Fri 07:00-19:00): closed, opens Mon 07:00\n"
                     "  x  own right 9002 (2026-12-01 to 2026-12-31): begins 2026-12-01\n"
                     "  next: Mon 2026-11-23 07:00 +01:00 by Employees, Blue card 100203"));
    QCOMPARE(lines("2026-11-23T07:00:05"),
             QString("ALLOWED  Clara Dubois (33) at Server Room (3), Mon 2026-11-23 07:00:05 +01:00\n"
                     "  +  Employees (41) > right 9001 > Office hours (Mon-Fri 07:00-19:00) > Blue card 100203: opens\n"
                     "  x  Employees (41) > right 9001 > Office hours (Mon-Fri 07:00-19:00) > Key fob 100204: "
                     "expired 2026-10-31\n"
                     "  x  own right 9002 (2026-12-01 to 2026-12-31): begins 2026-12-01"));

    const QJsonObject json =
        CAccessExplanation::verdictToJson(facts, CAccessEvaluator::verdict(facts, instant("2026-11-22T03:10")));
    QCOMPARE(json["allowed"], QJsonValue(false));
    QCOMPARE(json["reason"], QJsonValue("NotPermittedAtThisTime"));
    QCOMPARE(json["at"], QJsonValue("2026-11-22T03:10:00+01:00"));
    QCOMPARE(json["next"], QJsonValue("2026-11-23T07:00:00+01:00"));
    QCOMPARE(json["chains"].toArray().size(), 2);
    const QJsonObject own = json["chains"].toArray()[1].toObject();
    QCOMPARE(own["group"], QJsonValue());
    QCOMPARE(own["right"], QJsonValue("9002"));
    QCOMPARE(own["schedule"], QJsonValue());
    QCOMPARE(own["credential"], QJsonValue());
}

void TestAccessEvaluator::reasonsComeInOrder()
{
    const qint64 monday = instant("2026-11-23T12:00");
    CAccessFacts facts = clara();
    QCOMPARE(reasonOf(facts, monday), QString());
    facts.credentials[0].isEnabled = false; // the card; the fob is expired, which is further
    QCOMPARE(reasonOf(facts, monday), QString("CredentialExpired"));
    facts.credentials[1].isEnabled = false;
    QCOMPARE(reasonOf(facts, monday), QString("CredentialNotEnabled"));
    facts.credentials[0] = {53, "", true, {monday + 1, never, true}};
    facts.credentials[1] = {54, "", true, {0, monday - 1, true}};
    QCOMPARE(reasonOf(facts, monday), QString("CredentialNotActive")); // equally far, the lower id
    facts.users[0].credentialCount = 0;
    QCOMPARE(reasonOf(facts, monday), QString("CredentialUnknown"));
    QCOMPARE(CAccessEvaluator::verdict(facts, monday).chains.size(), 2);
    facts.accessPoints[0].isEnabled = false;
    QCOMPARE(reasonOf(facts, monday), QString("AccessPointDisabled"));
    facts.users[0].isEnabled = false;
    QCOMPARE(reasonOf(facts, monday), QString("UserDisabled"));
    QCOMPARE(CAccessEvaluator::verdict(facts, monday).next, never);
    facts = clara();
    facts.grants.clear();
    QCOMPARE(reasonOf(facts, monday), QString("Unauthorized"));
    QCOMPARE(CAccessExplanation::lines(facts, CAccessEvaluator::verdict(facts, monday)).size(), 3);
    QCOMPARE(reasonOf(CAccessFacts(), monday), QString("Other"));
    for (int reason = 0; reason <= int(CAccessReason::Other); ++reason)
        QCOMPARE(accessReasonFromString(accessReasonToString(CAccessReason(reason))), CAccessReason(reason));

    // One credential alone, as the door saw it.
    facts = clara();
    facts.restrictToCredential(54);
    QCOMPARE(reasonOf(facts, monday), QString("CredentialExpired"));
    facts = clara();
    facts.restrictToCredential(99);
    QCOMPARE(reasonOf(facts, monday), QString("CredentialUnknown"));
}

void TestAccessEvaluator::oddFacts()
{
    const qint64 sunday = instant("2026-12-13T03:00");
    CAccessFacts facts = clara();
    QCOMPARE(reasonOf(facts, sunday), QString());
    // Periods include both ends to the second.
    QCOMPARE(reasonOf(facts, instant("2026-12-31T23:59:59")), QString());
    QCOMPARE(reasonOf(facts, instant("2027-01-01") + 0), QString("NotPermittedAtThisTime"));
    QCOMPARE(CAccessEvaluator::verdict(facts, instant("2026-11-30T23:00")).next, instant("2026-12-01"));
    // What cannot be read, or is not there, never opens.
    facts.rights[0].period.isReadable = false;
    QCOMPARE(reasonOf(facts, sunday), QString("NotPermittedAtThisTime")); // the other chain came further
    facts.schedules[0].isKnown = false;
    QCOMPARE(reasonOf(facts, instant("2026-12-14T12:00")), QString("NotPermittedAtThisTime"));
    facts = clara();
    facts.accessPoints[0].zone = -1;
    QCOMPARE(reasonOf(facts, instant("2026-11-23T12:00")), QString("NotPermittedAtThisTime"));
    QCOMPARE(reasonOf(facts, sunday), QString());
    // The same schedule without slots: never, and no next moment but by the other right.
    facts = clara();
    facts.schedules[0].profile = CTimeProfile();
    const CAccessVerdict verdict = CAccessEvaluator::verdict(facts, instant("2027-02-01"));
    QCOMPARE(verdict.next, never);
    const QStringList lines = CAccessExplanation::lines(facts, verdict);
    QCOMPARE(lines[1], QString("  x  Employees (41) > right 9001 > Office hours (no slots): closed, "
                               "does not open within a year"));
    QCOMPARE(lines[2], QString("  x  own right 9002 (2026-12-01 to 2026-12-31): ended 2026-12-31"));
    QCOMPARE(lines[3], QString("  next: not within a year"));
    // A label forges no line.
    facts.users[0].label = QString::fromUtf8("Clara\n  +  opens\xe2\x80\xa8x");
    QVERIFY(!CAccessExplanation::lines(facts, verdict)[0].contains('\n'));
}

void TestAccessEvaluator::valuesOfTheModel()
{
    const CAccessTimeZone& zone = zoneNamed("Europe/Zurich");
    const QDateTime half = QDateTime(QDate(2026, 1, 1), QTime(6, 0, 0, 500), Qt::UTC);
    const qint64 whole = half.toSecsSinceEpoch();
    const CAccessPeriod cut = CAccessPeriod::fromVariants(half, half, zone);
    QCOMPARE(cut.from, whole);
    QCOMPARE(cut.to, whole);
    const CAccessPeriod days = CAccessPeriod::fromVariants(QDate(2026, 1, 2), QDate(2026, 1, 2), zone);
    QCOMPARE(days.to - days.from, qint64(86399));
    QVERIFY(CAccessPeriod::fromVariants(QVariant(), QString(), zone).contains(0));
    for (const QVariant& bad :
         {QVariant(QDateTime()), QVariant(QDate()), QVariant("soon"), QVariant(7), QVariant(true)})
        QVERIFY(!CAccessPeriod::fromVariants(bad, QVariant(), zone).contains(whole));
    QVERIFY(accessFlagFromVariant(QVariant(), true, false));
    QVERIFY(accessFlagFromVariant("", true, false));
    QVERIFY(accessFlagFromVariant("true", false, false) && accessFlagFromVariant(true, false, false));
    QVERIFY(!accessFlagFromVariant(0, true, true) && !accessFlagFromVariant("false", true, true));
    QVERIFY(!accessFlagFromVariant("yes", true, false) && accessFlagFromVariant(2, false, true));
}

void TestAccessEvaluator::agreesWithBruteForce()
{
    Worlds worlds(7);
    int opened = 0;
    for (int round = 0; round < 120; ++round) {
        const auto& place = awkwardMoments()[round % awkwardMoments().size()];
        const CAccessFacts facts = worlds.make(zoneNamed(place.first), place.second, 1, 1);
        const BruteForce peer(facts, place.first, place.second - 2 * 86400, 9);
        for (int question = 0; question < 8; ++question) {
            const qint64 at = place.second + worlds.below(3 * 86400) - 86400;
            const CAccessVerdict verdict = CAccessEvaluator::verdict(facts, at);
            QCOMPARE(verdict.isAllowed(), peer.allowed(at));
            if (!verdict.isAllowed())
                QCOMPARE(verdict.next < peer.end() ? verdict.next : never, peer.next(at));
            opened += verdict.isAllowed() || verdict.next < peer.end();
        }
    }
    QVERIFY2(opened > 200, qPrintable(QString::number(opened))); // the worlds are not all closed
}

void TestAccessEvaluator::nextIsExactAndAllQuestionsAgree()
{
    Worlds worlds(11);
    int looked = 0;
    for (int round = 0; round < 1500; ++round) {
        const auto& place = awkwardMoments()[round % awkwardMoments().size()];
        const CAccessFacts all = worlds.make(zoneNamed(place.first), place.second, 4, 3);
        const qint64 at = place.second + worlds.below(6 * 86400) - 3 * 86400;
        const QVector<CAccessChain> rows = CAccessEvaluator::chains(all, at);
        int counted = 0;
        for (int user = 0; user < all.users.size(); ++user) {
            for (int door = 0; door < all.accessPoints.size(); ++door) {
                CAccessFacts one = all;
                one.users = {all.users[user]};
                one.accessPoints = {all.accessPoints[door]};
                one.grants.clear();
                for (CAccessGrant grant : all.grants) {
                    if (grant.user == user && all.rights[grant.right].accessPoint == door)
                        one.grants.append({0, grant.right});
                }
                for (CAccessRight& right : one.rights)
                    right.accessPoint = 0;
                const CAccessVerdict verdict = CAccessEvaluator::verdict(one, at);
                bool allowed = false;
                for (const CAccessChain& row : rows) {
                    if (row.user == one.users[0].id && row.accessPoint == one.accessPoints[0].id)
                        allowed |= row.isAllowed();
                }
                QCOMPARE(allowed, verdict.isAllowed());
                counted += verdict.chains.size();
                if (verdict.next == never)
                    continue;
                ++looked;
                QVERIFY(CAccessEvaluator::verdict(one, verdict.next).isAllowed());
                QVERIFY(verdict.next == at + 1 || !CAccessEvaluator::verdict(one, verdict.next - 1).isAllowed());
                QVERIFY(verdict.next > at);
            }
        }
        QCOMPARE(counted, rows.size());
    }
    QVERIFY2(looked > 1000, qPrintable(QString::number(looked)));
}

QTEST_APPLESS_MAIN(TestAccessEvaluator)
#include "tst_access_evaluator.moc"
