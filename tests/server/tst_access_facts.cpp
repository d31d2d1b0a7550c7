#include <foundation/access/access_evaluator.h>
#include <foundation/access/access_explanation.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>
#include <server/model/access_facts_model_p.h>
#include <server/model/access_facts_sql_p.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <random>

namespace {

const qint64 begin2026 = 1767225600;

/// An installation in which everything is in relation to everything, with odd values here and there.
class RandomInstallation
{
public:
    explicit RandomInstallation(unsigned seed)
        : m_engine(seed)
    {
        model.open("memory");
        const CItemId calendar = model.createItem("HolidayCalendars", {{"label", "Days"}});
        for (int i = 0; i < 40; ++i)
            model.createItem(
                "Holidays",
                {{"label", "Day"}, {"calendarId", calendar.value()}, {"date", QDate(2026, 1, 1).addDays(below(365))}});
        for (const char* text :
             {"Mon-Fri 07:00-19:00", "Sat-Mon 22:00-06:00; Holiday 10:00-12:00", "", "Holiday closed"})
            schedules.append(model.createItem(
                "TimeProfiles", {{"label", "S"}, {"slots", text}, {"calendarId", oneIn(2) ? calendar.value() : 0}}));
        for (int i = 0; i < 8; ++i)
            doors.append(model.createAccessPoint({{"label", "Door"},
                                                  {"enabled", oneIn(6) ? QVariant(false) : QVariant()},
                                                  {"timeZone", oneIn(2) ? QVariant("America/New_York") : QVariant()}}));
        for (int i = 0; i < 12; ++i) {
            users.append(model.createUser({{"label", "User"}, {"enabled", oneIn(8) ? QVariant(false) : QVariant()}}));
            for (int k = below(3); k > 0; --k) {
                const bool isCode = oneIn(2);
                QVariantMap credential = period();
                credential.insert(isCode ? "code" : "uid", isCode ? QString::number(100000 + i * 10 + k)
                                                                  : QString::number(0x10000000 + i * 16 + k, 16));
                credential.insert("userId", users.last().value());
                if (oneIn(5))
                    credential.insert("blocked", true);
                if (oneIn(2))
                    credential.insert("description", "Card");
                m_good &= model.createItem(isCode ? "Codes" : "Media", credential) != CItemId();
            }
        }
        for (int i = 0; i < 5; ++i) {
            groups.append(model.createGroup({{"label", "Group"}}));
            for (int k = below(8); k > 0; --k)
                model.addUsersToGroup({pick(users)}, groups.last());
        }
        for (int i = 0; i < 60; ++i) {
            QVariantMap right = period();
            if (!oneIn(4))
                right.insert("timeProfileId", pick(schedules).value());
            m_good &= model.addAccessRight(oneIn(2) ? pick(users) : pick(groups), pick(doors), right) != CItemId();
        }
    }

    bool isGood() const { return m_good; }
    int below(int bound) { return int(m_engine() % unsigned(bound)); }
    bool oneIn(int n) { return below(n) == 0; }
    CItemId pick(const QList<CItemId>& ids) { return ids[below(ids.size())]; }

    CSqlAccessControl model;
    QList<CItemId> users, groups, doors, schedules;

private:
    QVariantMap period()
    {
        QVariantMap map;
        const qint64 from = begin2026 + below(300) * 86400;
        if (oneIn(3))
            map.insert("validFrom", QDateTime::fromSecsSinceEpoch(from, Qt::UTC));
        if (oneIn(3))
            map.insert("validTo", QDateTime::fromSecsSinceEpoch(from + below(200) * 86400, Qt::UTC));
        return map;
    }

    std::mt19937 m_engine;
    bool m_good = true;
};

QString told(const CAccessFacts& facts, qint64 at)
{
    return CAccessExplanation::lines(facts, CAccessEvaluator::verdict(facts, at)).join('\n');
}

QStringList rows(const CAccessFacts& facts, qint64 at)
{
    QStringList texts;
    const QVector<CAccessChain> chains = CAccessEvaluator::chains(facts, at);
    for (const CAccessChain& chain : chains) {
        const auto labels = CAccessExplanation::labels(facts, chain);
        texts.append(QString("%1 %2 %3 %4 %5 %6 %7 %8 %9")
                         .arg(chain.user.value())
                         .arg(chain.accessPoint.value())
                         .arg(chain.group.value())
                         .arg(chain.right.value())
                         .arg(chain.schedule.value())
                         .arg(chain.credential.value())
                         .arg(accessReasonToString(chain.reason), labels.credential, labels.group));
    }
    return texts;
}

} // namespace

class TestAccessFacts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void modelAndRowsAgree();
    void theDemonstrationGivesTheSameInMemory();
    void failuresAreNoDenials();
};

void TestAccessFacts::modelAndRowsAgree()
{
    int asked = 0;
    int allowed = 0;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        RandomInstallation world(seed);
        QVERIFY2(world.isGood(), qPrintable(world.model.errorString()));
        ModelAccessFacts slow(&world.model);
        SqlAccessFacts quick(world.model.database());
        for (int i = 0; i < 60; ++i, ++asked) {
            const CItemId user = world.pick(world.users);
            const CItemId door = world.pick(world.doors);
            const qint64 at = begin2026 + world.below(365 * 86400);
            const CAccessFacts facts = quick.ofUserAtDoor(user, door);
            QCOMPARE(told(facts, at), told(slow.ofUserAtDoor(user, door), at));
            const QStringList who = rows(quick.ofDoor(door), at);
            const QStringList doors = rows(quick.ofUser(user), at);
            QCOMPARE(who, rows(slow.ofDoor(door), at));
            QCOMPARE(doors, rows(slow.ofUser(user), at));
            // The three questions never disagree.
            const QString pair = QString("%1 %2 ").arg(user.value()).arg(door.value());
            const QStringList one = rows(facts, at);
            QCOMPARE(who.filter(QRegularExpression("^" + pair)), one);
            QCOMPARE(doors.filter(QRegularExpression("^" + pair)), one);
            allowed += CAccessEvaluator::verdict(facts, at).isAllowed();
        }
    }
    QVERIFY2(allowed > asked / 20 && allowed < asked, qPrintable(QString::number(allowed)));
}

void TestAccessFacts::theDemonstrationGivesTheSameInMemory()
{
    CAccessControlMock mock;
    CSqlAccessControl model;
    QVERIFY(model.open("memory"));
    const auto memory = IAccessFactsSource::of(&mock);
    const auto database = IAccessFactsSource::of(&model);
    const qint64 at = QDateTime(QDate(2026, 11, 22), QTime(3, 10)).toSecsSinceEpoch();
    const auto withoutIds = [&](const CAccessFacts& facts) {
        return told(facts, at).replace(QRegularExpression("right \\d+"), "right");
    };
    for (int user = 30; user < 44; ++user) {
        for (int door = 0; door < 5; ++door)
            QCOMPARE(withoutIds(memory->ofUserAtDoor(user, door)), withoutIds(database->ofUserAtDoor(user, door)));
    }
    QVERIFY(told(memory->ofUserAtDoor(33, 3), at).startsWith("ALLOWED"));
    QVERIFY(told(memory->ofUserAtDoor(33, 3), at).contains("Blue card 100203"));
    QVERIFY(!told(memory->ofUserAtDoor(33, 3), at).contains("482913"));

    // Values that a model took without looking deny.
    QVERIFY(mock.setAccessRightProperties({3}, 33, {{"timeProfileId", 4711}}));
    QVERIFY(told(memory->ofUserAtDoor(33, 3), at).contains("never open"));
    QVERIFY(mock.setAccessRightProperties({3}, 33, {{"timeProfileId", "soon"}}));
    QVERIFY(told(memory->ofUserAtDoor(33, 3), at).startsWith("DENIED"));
    QVERIFY(!model.setAccessRightProperties({3}, 33, {{"timeProfileId", "soon"}}));
    QVERIFY(mock.setAccessRightProperties({3}, 33, {{"timeProfileId", QVariant()}, {"validTo", "tomorrow"}}));
    QVERIFY(told(memory->ofUserAtDoor(33, 3), at).contains("cannot be read"));
    QVERIFY(mock.setUserProperty("enabled", "perhaps", 34));
    QVERIFY(told(memory->ofUserAtDoor(34, 3), at).contains("UserDisabled"));
    // A user who is not there is missing, also as a group.
    QVERIFY(memory->ofUserAtDoor(41, 3).users.isEmpty() && database->ofUserAtDoor(41, 3).users.isEmpty());
}

void TestAccessFacts::failuresAreNoDenials()
{
    CSqlAccessControl model;
    QVERIFY(model.open("memory"));
    SqlAccessFacts source(model.database());
    QVERIFY(!source.ofUserAtDoor(33, 3).users.isEmpty());
    QVERIFY(source.errorString().isEmpty());
    model.database()->close();
    QVERIFY(source.ofUserAtDoor(33, 3).users.isEmpty());
    QVERIFY(!source.errorString().isEmpty());
}

QTEST_GUILESS_MAIN(TestAccessFacts)
#include "tst_access_facts.moc"
