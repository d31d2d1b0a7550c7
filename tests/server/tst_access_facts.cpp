#include "random_installation.h"

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

int main(int argc, char** argv)
{
    return runOnAllDatabases<TestAccessFacts>(argc, argv);
}

#include "tst_access_facts.moc"
