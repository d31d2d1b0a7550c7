#include "random_installation.h"

#include <foundation/access/access_evaluator.h>
#include <foundation/access/lock_list.h>
#include <foundation/datatypes/data_type.h>
#include <server/devices/door_compiler.h>
#include <server/devices/door_time_zone.h>
#include <server/model/access_facts_source.h>

#include <QtTest/QtTest>

class DoorCompilerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aLockDecidesAsTheEvaluatorDoes_data();
    void aLockDecidesAsTheEvaluatorDoes();
    void whatIsCompiled();
    void tooMuchForADevice();
    void rulesOfLocalTime_data();
    void rulesOfLocalTime();
};

void DoorCompilerTest::aLockDecidesAsTheEvaluatorDoes_data()
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= 12; ++seed)
        QTest::newRow(qPrintable(QString::number(seed))) << seed;
}

void DoorCompilerTest::aLockDecidesAsTheEvaluatorDoes()
{
    QFETCH(unsigned, seed);
    RandomInstallation installation(seed);
    QVERIFY(installation.isGood());
    CDoorCompiler compiler(&installation.model);
    const auto source = IAccessFactsSource::of(&installation.model);
    std::mt19937 engine(seed);
    int allowed = 0;
    int known = 0;
    for (const CItemId door : qAsConst(installation.doors)) {
        const CCompiledDoor compiled = compiler.compile(door);
        QCOMPARE(compiled.error, QString());
        QCOMPARE(compiled.revision, CLockList::revisionOf(compiled.text));
        const std::optional<CLockList> list = CLockList::fromText(compiled.text);
        QVERIFY(list);
        const QString zoneName = installation.model.getAccessPointProperty("timeZone", door).toString();
        const CAccessTimeZone zone(DoorTimeZone::settings(zoneName, begin2026));
        for (const CItemId user : qAsConst(installation.users)) {
            const CAccessFacts facts = source->ofUserAtDoor(user, door);
            for (const CAccessCredential& credential : facts.credentials) {
                CAccessFacts alone = facts;
                alone.restrictToCredential(credential.id);
                const QVariant code = installation.model.getItemProperty("Codes", "code", credential.id);
                const QVariant uid = installation.model.getItemProperty("Media", "uid", credential.id);
                const CLockCredential shown = code.isValid() ? CLockCredential::fromCode(code.toString())
                                                             : CLockCredential::fromUid(uid.toByteArray());
                QVERIFY(!shown.isNone());
                for (int i = 0; i < 40; ++i) {
                    const qint64 at = begin2026 + engine() % (365 * 86400);
                    const CAccessVerdict verdict = CAccessEvaluator::verdict(alone, at);
                    const CLockDecision decision = list->decide(shown, at, zone);
                    QCOMPARE(decision.isAllowed(), verdict.isAllowed());
                    if (decision.isKnown) {
                        QCOMPARE(decision.user, user);
                        QCOMPARE(decision.medium, credential.id);
                        QCOMPARE(accessReasonToString(decision.reason), accessReasonToString(verdict.reason));
                    }
                    known += decision.isKnown ? 1 : 0;
                    allowed += decision.isAllowed() ? 1 : 0;
                }
            }
        }
    }
    QVERIFY(known > 100);
    QVERIFY(allowed > 10);
    QVERIFY(allowed < known);
}

void DoorCompilerTest::whatIsCompiled()
{
    CSqlAccessControl model;
    QVERIFY(model.open("memory"));
    CDoorCompiler compiler(&model);
    const auto entriesAt = [&](CItemId door) {
        const auto list = CLockList::fromText(compiler.compile(door).text);
        return list ? list->entries() : QVector<CLockEntry>();
    };
    const CItemId door = model.createAccessPoint({{"label", "Vault"}});
    const CItemId user = model.createUser({{"label", "Ada"}});
    // A short UID, a long one that begins with zeros, and the same number once more: three media.
    const QStringList uids{"04:A1:22:3B", "00:00:00:04:A1:22:3B", "00:00:00:00:04:A1:22:3B"};
    for (const QString& uid : uids)
        QVERIFY(model.createItem("Media", {{"uid", uid}, {"userId", user.value()}}) != CItemId());
    const CItemId code = model.createItem("Codes", {{"code", "0042"}, {"userId", user.value()}});
    QVERIFY(entriesAt(door).isEmpty());
    QVERIFY(entriesAt(4711).isEmpty());
    QVERIFY(model.addAccessRight(user, door, {{"validFrom", "2026-01-01T00:00:00Z"}}) != CItemId());
    QStringList texts;
    for (const CLockEntry& entry : entriesAt(door))
        texts.append(entry.toStringList().mid(0, 2).join(' ') + ' ' + entry.toStringList().mid(4).join(' '));
    texts.sort();
    const QString period = " 2026-01-01T00:00:00Z 9999-12-31T23:59:59Z";
    QStringList expected{"6 0042" + period};
    for (const QString& uid : uids)
        expected.append("9 " + uid + period);
    expected.sort();
    QCOMPARE(texts, expected);

    QVERIFY(model.setItemProperty("Codes", "blocked", true, code));
    QCOMPARE(entriesAt(door).size(), 3);
    QVERIFY(model.setUserProperty("enabled", false, user));
    QVERIFY(entriesAt(door).isEmpty());
    QVERIFY(model.setUserProperty("enabled", true, user));
    QVERIFY(model.setAccessPointProperty("enabled", false, door));
    QVERIFY(entriesAt(door).isEmpty());
    QVERIFY(model.setAccessPointProperty("enabled", true, door));
    QVERIFY(!CLockList::fromText(compiler.compile(door).text)->asksOnline());
    const CItemId other = model.createUser({{"label", "Bo"}});
    QVERIFY(model.addAccessRight(other, door, {{"options", uint(CDataType::AccessRightOptionOnlineAccess)}})
            != CItemId());
    QVERIFY(CLockList::fromText(compiler.compile(door).text)->asksOnline());
    QCOMPARE(entriesAt(door).size(), 3);
}

void DoorCompilerTest::tooMuchForADevice()
{
    CSqlAccessControl model;
    QVERIFY(model.open("memory"));
    CDoorCompiler compiler(&model);
    const CItemId door = model.createAccessPoint({{"label", "Vault"}});
    const CItemId user = model.createUser({{"label", "Ada"}});
    QVERIFY(model.createItem("Codes", {{"code", "0042"}, {"userId", user.value()}}) != CItemId());
    model.beginTransaction("schedules");
    for (int i = 0; i < 256; ++i) {
        const QString slot =
            QStringLiteral("Mon %1:%2-20:00").arg(i / 60, 2, 10, QLatin1Char('0')).arg(i % 60, 2, 10, QLatin1Char('0'));
        const CItemId schedule = model.createItem("TimeProfiles", {{"label", QString::number(i)}, {"slots", slot}});
        QVERIFY(model.addAccessRight(user, door, {{"timeProfileId", schedule.value()}}) != CItemId());
    }
    model.endTransaction();
    const CCompiledDoor compiled = compiler.compile(door);
    QVERIFY2(compiled.error.contains("255"), qPrintable(compiled.error));
    QVERIFY(compiled.text.isEmpty());
}

void DoorCompilerTest::rulesOfLocalTime_data()
{
    QTest::addColumn<QString>("zone");
    for (const char* zone : {"Europe/Zurich", "America/New_York", "Australia/Sydney", "Asia/Tokyo", "Asia/Kathmandu",
                             "Australia/Lord_Howe", "Africa/Casablanca", "UTC"})
        QTest::newRow(zone) << zone;
}

void DoorCompilerTest::rulesOfLocalTime()
{
    QFETCH(QString, zone);
    const QTimeZone name(zone.toLatin1());
    const CAccessTimeZone known(name);
    const qint64 now = begin2026 + 200 * 86400;
    const CDeviceTimeZoneSettings settings = DoorTimeZone::settings(zone, now);
    QCOMPARE(DoorTimeZone::settings(zone, begin2026), settings);
    const CAccessTimeZone told(settings);
    const qint64 end = begin2026 + DoorTimeZone::yearsAhead * 365LL * 86400;
    for (qint64 at = begin2026; at < end; at += 6 * 3600 + 1)
        QCOMPARE(told.offsetAt(at), known.offsetAt(at));
    for (qint64 at = known.nextTransition(begin2026); at < end; at = known.nextTransition(at)) {
        QCOMPARE(told.offsetAt(at - 1), known.offsetAt(at - 1));
        QCOMPARE(told.offsetAt(at), known.offsetAt(at));
    }
}

int main(int argc, char** argv)
{
    return runOnAllDatabases<DoorCompilerTest>(argc, argv);
}

#include "tst_door_compiler.moc"
