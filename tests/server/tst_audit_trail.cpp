#include <server/audit/audit_trail.h>
#include <server/audit/model_audit.h>
#include <server/audit/trail_keeper.h>
#include <server/database/sql_statement_p.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "support/database_places.h"

namespace {

constexpr qint64 dayMs = 24LL * 3600 * 1000;

// A trail in a file of its own, with some events.
struct Trail
{
    explicit Trail(int events = 0)
        : database(new CDatabase)
    {
        open();
        QList<AuditEvent> list;
        for (int i = 0; i < events; ++i) {
            list.append({i % 3 ? AuditKind::Granted : AuditKind::Denied,
                         0,
                         CItemId(1 + i % 4),
                         CItemId(31),
                         CItemId(i),
                         QString(),
                         {{"reason", i % 3 ? "" : "Unauthorized"}, {"way", "offline"}}});
        }
        if (!trail->append(list))
            qFatal("%s", qUtf8Printable(trail->errorString()));
    }

    void open()
    {
        database.reset(new CDatabase);
        if (!database->open(places.location("trail.db")))
            qFatal("%s", qUtf8Printable(database->errorString()));
        trail.reset(new CAuditTrail(database.get()));
    }

    // As somebody would who has the file.
    void tamper(const QString& sql)
    {
        SqlStatement statement(database.get(), sql);
        if (!statement.exec())
            qFatal("%s", qUtf8Printable(database->errorString()));
    }

    // "seq what" of each fault.
    QStringList faults(const QList<AuditHead>& kept = {})
    {
        QStringList texts;
        for (const CAuditTrail::Fault& fault : trail->verify(kept).faults)
            texts.append(QStringLiteral("%1 %2").arg(fault.seq).arg(fault.what));
        return texts;
    }

    DatabasePlaces places;
    std::unique_ptr<CDatabase> database;
    std::unique_ptr<CAuditTrail> trail;
};

} // namespace

class TestAuditTrail : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsOrderAndFilters();
    void belongsToTheTransaction();
    void findsChanges_data();
    void findsChanges();
    void headsShowCutAndRewrite();
    void retentionLeavesAnIntactTrail();
    void erasureKeepsTheChain();
    void exportIsCheckedByOthers();
    void changesOfTheModelAreNoted();
    void serversTellOfThemselves();
    void eventsWaitForTheDatabase();
    void aClockThatIsSetIsSeen();
};

void TestAuditTrail::serversTellOfThemselves()
{
    Trail t;
    t.trail->setChainName("north");
    CTrailKeeper keeper(t.trail.get(), "Ada");
    keeper.noteLogin({}, "::1", "notifications");
    for (int i = 0; i < CTrailKeeper::mostRefusals + 5; ++i)
        keeper.noteLogin("wrong token", "192.0.2.7", "notifications");
    {
        // Another program writes: what happens now is stored when it has done.
        CDatabase other;
        QVERIFY(other.open(t.database->location()));
        t.database->setWriteWait(0);
        QVERIFY(other.begin());
        CTrailKeeper second(t.trail.get(), "Ben");
        QVERIFY(other.end(true));
        QTRY_COMPARE(t.trail->events({}).last().details().value("operator").toString(), QString("Ben"));
    }
    QStringList kinds;
    const QList<AuditRecord> events = t.trail->events({});
    for (const AuditRecord& event : events)
        kinds.append(auditKindName(AuditKind(event.kind)));
    QCOMPARE(kinds.mid(0, 2), QStringList({"start", "login"}));
    QCOMPARE(kinds.count("loginRefused"), int(CTrailKeeper::mostRefusals));
    QCOMPARE(kinds.mid(kinds.size() - 2), QStringList({"start", "end"}));
    QCOMPARE(events.at(0).details().value("operator").toString(), QString("Ada"));
    QVERIFY(!events.at(1).details().contains("operator"));
    QCOMPARE(t.trail->heads().last().reason, QString("end"));
    QCOMPARE(t.trail->heads().last().seq, events.last().seq);
    QCOMPARE(t.faults(), QStringList());

    // An hour later.
    QTimer* hourly = nullptr;
    for (QTimer* timer : keeper.findChildren<QTimer*>())
        hourly = timer->interval() == 3600000 ? timer : hourly;
    QVERIFY(hourly);
    keeper.noteLogin({}, "::2", "api");
    hourly->start(10);
    QTRY_COMPARE(t.trail->heads().last().reason, QString("hour"));
    QCOMPARE(t.trail->heads().last().seq, t.trail->events({}).last().seq);
    const int hours = t.trail->heads().size();
    QTest::qWait(50); // nothing new: no other head
    QCOMPARE(t.trail->heads().size(), hours);
}

void TestAuditTrail::eventsWaitForTheDatabase()
{
    constexpr int most = 1000;
    Trail t;
    t.database->setWriteWait(0);
    CTrailKeeper keeper(t.trail.get(), "Ada");
    CDatabase other;
    QVERIFY(other.open(t.database->location()) && other.begin());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("events cannot be stored and wait"));
    for (int i = 0; i < most + 5; ++i)
        keeper.noteLogin({}, QString::number(i), "api");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("takes events again; 5 were lost"));
    QVERIFY(other.end(true));
    QTRY_COMPARE(t.trail->ends().value(1), qint64(1 + most));
    QCOMPARE(t.trail->events({}).last().details().value("peer").toString(), QString::number(most - 1));
    QCOMPARE(t.faults(), QStringList());

    // Not each of many faults is listed.
    t.tamper("UPDATE event SET at=at+1");
    keeper.noteLogin({}, "::1", "api");
    t.tamper("UPDATE event SET at=at+1");
    const CAuditTrail::Report report = t.trail->verify();
    QCOMPARE(report.faults.size(), int(CAuditTrail::mostFaults));
    QCOMPARE(report.moreFaults, report.events - CAuditTrail::mostFaults);
}

void TestAuditTrail::aClockThatIsSetIsSeen()
{
    CClockWatch watch(1000000, 500);
    QCOMPARE(watch.look(1001000, 1500), qint64(0));
    QCOMPARE(watch.look(1003500, 2500), qint64(0)); // 1.5 s, and as much again
    QCOMPARE(watch.look(1006000, 3500), qint64(3000));
    QCOMPARE(watch.look(1007000, 4500), qint64(0));
    QCOMPARE(watch.look(7000, 4500), qint64(-1000000));
}

void TestAuditTrail::keepsOrderAndFilters()
{
    Trail t(10);
    t.trail->setChainName("north");
    QVERIFY(t.trail->append({AuditKind::Login, 5000, {}, CItemId(32), {}, "Ada", {}})); // by a clock that is wrong
    const QList<AuditRecord> all = t.trail->events({});
    QCOMPARE(all.size(), 11);
    QCOMPARE(all.at(0).at, qint64(5000));
    QCOMPARE(all.at(0).details().value("operator").toString(), QString("Ada"));
    QCOMPARE(t.trail->chains().value(all.at(0).chain), QString("north"));

    CAuditTrail::Filter denied;
    denied.kinds = {AuditKind::Denied};
    denied.accessPoint = CItemId(1);
    QCOMPARE(t.trail->events(denied).size(), 1); // the 1st of 0, 3, 6, 9 stand at doors 1, 4, 3, 2
    qint64 left = 0;
    const QList<AuditRecord> newest = t.trail->events({}, 4, &left);
    QCOMPARE(newest.size(), 4);
    QCOMPARE(left, qint64(7));
    QCOMPARE(newest.last().seq, qint64(10));

    QMap<qint64, qint64> ends = t.trail->ends();
    QVERIFY(t.trail->newEvents({}, &ends).isEmpty());
    QVERIFY(t.trail->append({AuditKind::End, 0, {}, {}, {}, {}, {}}));
    QCOMPARE(t.trail->newEvents({}, &ends).size(), 1);
    QVERIFY(t.trail->newEvents({}, &ends).isEmpty());
    QVERIFY(t.trail->verify().ok());
}

void TestAuditTrail::belongsToTheTransaction()
{
    Trail t(3);
    QVERIFY(t.database->begin());
    QVERIFY(t.trail->append({AuditKind::Changed, 0, {}, {}, {}, {}, {}}));
    t.database->end(false);
    QCOMPARE(t.trail->verify().events, qint64(3));
    // Two processes write one chain in turn.
    CDatabase otherDatabase;
    QVERIFY(otherDatabase.open(t.database->location()));
    CAuditTrail other(&otherDatabase);
    for (int i = 0; i < 5; ++i) {
        QVERIFY(other.append({AuditKind::Granted, 0, {}, {}, {}, {}, {}}));
        QVERIFY(t.trail->append({AuditKind::Denied, 0, {}, {}, {}, {}, {}}));
    }
    QCOMPARE(t.trail->ends().value(1), qint64(13));
    QVERIFY(t.trail->verify().ok());
    // A payload that nobody could want is left out, the event is not.
    QVERIFY(t.trail->append({AuditKind::Changed, 0, {}, {}, {}, {}, {{"new", QString(100000, 'x')}}}));
    QVERIFY(t.trail->events({}).last().details().contains("omitted"));
}

void TestAuditTrail::findsChanges_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<QStringList>("places");
    const auto row = [](const char* name, const char* sql, const QStringList& places) {
        QTest::newRow(name) << QString(sql) << places;
    };
    row("a byte of the payload", "UPDATE event SET payload=replace(payload,'Unauthorized','Unauthorised') WHERE seq=7",
        {"7 "});
    row("a time", "UPDATE event SET at=at+1 WHERE seq=8", {"8 "});
    row("what happened", "UPDATE event SET kind=1 WHERE seq=4", {"4 "});
    row("a column that queries use", "UPDATE event SET \"user\"=32 WHERE seq=9", {"9 "});
    row("erased, columns left", "UPDATE event SET payload=NULL WHERE seq=9", {"9 "});
    row("the stored hash", "UPDATE event SET hash=payload_hash WHERE seq=5", {"5 ", "6 "});
    row("deleted", "DELETE FROM event WHERE seq=6", {"7 "});
    row("the beginning", "DELETE FROM event WHERE seq<4", {"4 "});
    row("swapped", "UPDATE event SET seq=CASE seq WHEN 6 THEN 107 WHEN 7 THEN 6 END WHERE seq IN (6,7)",
        {"6 ", "8 ", "107 "});
    row("inserted at the end",
        "INSERT INTO event SELECT chain,21,at,recorded,kind,access_point,\"user\",medium,operator,payload,payload_hash,"
        "hash FROM event WHERE seq=20",
        {"21 "});
    row("the end", "DELETE FROM event WHERE seq>15", {"20 "});
    row("a head", "UPDATE audit_head SET hash=signature", {"20 "});
}

void TestAuditTrail::findsChanges()
{
    QFETCH(QString, sql);
    QFETCH(QStringList, places);
    Trail t(20);
    QCOMPARE(t.trail->signHeads("request").size(), 1);
    QVERIFY(t.trail->verify().ok());
    t.tamper(sql);
    const QStringList faults = t.faults();
    QCOMPARE(faults.size(), places.size());
    for (int i = 0; i < places.size(); ++i)
        QVERIFY2(faults.at(i).startsWith(places.at(i)), qPrintable(faults.join("\n")));
}

void TestAuditTrail::headsShowCutAndRewrite()
{
    Trail t(20);
    const QList<AuditHead> kept = t.trail->signHeads("request");
    AuditHead read;
    QVERIFY(AuditHead::fromLine(kept.at(0).toLine(), read));
    QCOMPARE(read.signedBytes(), kept.at(0).signedBytes());

    // Cut, and the head with it: the trail alone looks whole.
    t.tamper("DELETE FROM event WHERE seq>15");
    t.tamper("DELETE FROM audit_head");
    QVERIFY(t.trail->verify().ok());
    QCOMPARE(t.faults({read}).size(), 1);

    // All of it written anew, by somebody who knows how.
    t.tamper("DELETE FROM event");
    QList<AuditEvent> other;
    for (int i = 0; i < 25; ++i)
        other.append({AuditKind::Granted, 0, {}, {}, {}, {}, {}});
    QVERIFY(t.trail->append(other));
    QVERIFY(t.trail->verify().ok());
    QCOMPARE(t.faults({read}).size(), 1);
    QVERIFY(t.faults({read}).at(0).startsWith("20 "));

    // One is signed each thousand events, by the same key after a restart, which nobody else may read.
    t.open();
    other.clear();
    for (int i = 0; i < 2000; ++i)
        other.append({AuditKind::Granted, 0, {}, {}, {}, {}, {}});
    QVERIFY(t.trail->append(other));
    QCOMPARE(t.trail->heads().size(), 2);
    QVERIFY(t.trail->verify().ok());
    QCOMPARE(QFile::permissions(t.database->folder() + "/audit.key")
                 & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther),
             QFile::Permissions());
    // Heads of another key are none.
    QVERIFY(QFile::remove(t.database->folder() + "/audit.key"));
    t.open();
    QVERIFY(!t.trail->publicKey().isEmpty());
    QCOMPARE(t.faults().size(), 2);
}

void TestAuditTrail::retentionLeavesAnIntactTrail()
{
    Trail t(12000);
    const AuditHead kept = t.trail->signHeads("request").value(0);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    QCOMPARE(t.trail->retain(DataRetainPeriod7Days, now), qint64(0));
    t.trail->append({AuditKind::Start, 0, {}, {}, {}, {}, {}});
    // As if the first had been stored a month ago.
    QCOMPARE(t.trail->retain(DataRetainPeriod30Days, now + 31 * dayMs), qint64(12001));
    QVERIFY2(t.trail->verify().ok(), qPrintable(t.faults().join("\n")));
    QVERIFY2(t.trail->verify({kept}).ok(), qPrintable(t.faults({kept}).join("\n")));
    QCOMPARE(t.trail->events({}).size(), 3); // what the three cuts noted
    QVERIFY(t.trail->append({AuditKind::Granted, 0, {}, {}, {}, {}, {}}));
    QVERIFY(t.trail->verify().ok());
    t.tamper("DELETE FROM event WHERE seq=12002"); // more than was recorded
    QCOMPARE(t.faults().size(), 1);
}

void TestAuditTrail::erasureKeepsTheChain()
{
    Trail t(20);
    QVERIFY(t.trail->append({AuditKind::Granted, 0, CItemId(1), CItemId(32), {}, {}, {}}));
    QCOMPARE(t.trail->erase(CItemId(31)), qint64(20));
    QVERIFY(t.trail->verify().ok());
    QCOMPARE(t.trail->events({}).size(), 22);
    CAuditTrail::Filter ofUser;
    ofUser.user = CItemId(31);
    QVERIFY(t.trail->events(ofUser).isEmpty());
}

void TestAuditTrail::exportIsCheckedByOthers()
{
    Trail t(1500);
    QVERIFY(t.trail->append({AuditKind::Denied, 0, {}, {}, {}, "Zo\u00eb \u202e\"x\"", {{"reason", "\n;,"}}}));
    QCOMPARE(t.trail->erase(CItemId(31)), qint64(1500));
    QVERIFY(t.trail->append({AuditKind::Granted, 0, {}, CItemId(31), {}, {}, {}}));
    const auto write = [&t](const QString& name, const QByteArray& data) {
        QFile file(t.places.folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(data);
    };
    QBuffer events;
    QBuffer heads;
    QVERIFY(events.open(QIODevice::ReadWrite));
    QVERIFY(heads.open(QIODevice::ReadWrite));
    QVERIFY(t.trail->exportJsonLines(events, heads));
    write("trail.jsonl", events.data());
    write("heads", heads.data());
    write("key.pem", t.trail->publicKey());
    const auto check = [&t]() {
        QProcess verifier;
        verifier.start("/usr/bin/python3",
                       {QStringLiteral(KYR_SCRIPTS_DIR "/audit_verify.py"), t.places.folder.filePath("trail.jsonl"),
                        t.places.folder.filePath("heads"), t.places.folder.filePath("key.pem")});
        verifier.waitForFinished(6000);
        return QStringLiteral("%1: %2")
            .arg(verifier.exitCode())
            .arg(QString::fromUtf8(verifier.readAllStandardOutput() + verifier.readAllStandardError()));
    };
    QVERIFY2(check().startsWith("0: intact"), qPrintable(check()));
    write("heads", QByteArray(heads.data()).replace("\"at\":1", "\"at\":2"));
    QVERIFY2(check().contains("signature"), qPrintable(check()));
    write("heads", heads.data());
    write("trail.jsonl", events.data().left(events.data().lastIndexOf("{\"chain\"")));
    QVERIFY2(check().contains("tail is missing"), qPrintable(check()));

    QBuffer csv;
    QBuffer csvHeads;
    QVERIFY(csv.open(QIODevice::ReadWrite));
    QVERIFY(csvHeads.open(QIODevice::ReadWrite));
    QVERIFY(t.trail->exportCsv(csv, csvHeads));
    QVERIFY2(csv.data().startsWith("chain;seq;at;recorded;kind;payload;payloadHash;hash\n1;1;"), csv.data().left(100));
    QVERIFY(t.trail->verify().ok());
}

void TestAuditTrail::changesOfTheModelAreNoted()
{
    DatabasePlaces places;
    CSqlAccessControl model;
    QVERIFY(model.open(places.location("model.db")));
    CAuditTrail trail(model.database());
    CModelAudit audit(&trail);
    model.setRecorder(&audit);
    const auto last = [&trail] { return trail.events({}).last().details(); };

    const CItemId user = model.createUser({{"label", "Ada"}, {"Department", "IT"}});
    QCOMPARE(last().value("what").toString(), QString("created"));
    QCOMPARE(last().value("user").toString(), QString::number(qint64(user)));
    QVERIFY(model.setUserProperty("Department", "HR", user));
    QCOMPARE(last().value("old").toObject().value("Department").toString(), QString("IT"));
    QCOMPARE(last().value("new").toObject(), QJsonObject({{"Department", "HR"}}));
    const qint64 before = trail.ends().value(1);
    QVERIFY(model.setUserProperty("Department", "HR", user)); // as it was
    QCOMPARE(trail.ends().value(1), before);

    const CItemId code = model.createItem("Codes", {{"code", "271828"}, {"userId", qint64(user)}});
    QVERIFY(code != CItemId());
    QVERIFY(model.setItemProperty("Codes", "code", "314159", code));
    const CItemId group = model.createGroup({{"label", "Staff"}});
    QVERIFY(model.addUsersToGroup({user}, group));
    QCOMPARE(last().value("new").toObject().value("Members").toArray(), QJsonArray{QString::number(qint64(user))});
    const CItemId door = model.createAccessPoint({{"label", "Gate"}});
    QVERIFY(model.addAccessRight(group, door, {}) != CItemId());
    QCOMPARE(last().value("new").toObject().value("Access Points").toArray().size(), 1);

    // What is undone was never noted; what cannot be noted is not done.
    model.beginTransaction("both");
    model.setUserProperty("Department", "IT", user);
    model.setUserProperty("label", "", user);
    model.endTransaction();
    QVERIFY(model.addLogin("ada", user, "correct horse"));
    QVERIFY(model.deleteUser(user)); // takes code, membership and login along
    QVERIFY(trail.verify().ok());
    QByteArray all;
    for (const AuditRecord& record : trail.events({}))
        all += record.payload;
    QVERIFY(!all.contains("271828") && !all.contains("314159") && !all.contains("correct horse"));
    QCOMPARE(all.count("\"deleted\""), 2);
    SqlStatement(model.database(), QStringLiteral("DROP TABLE audit_head")).exec();
    SqlStatement(model.database(), QStringLiteral("DROP TABLE event")).exec();
    QCOMPARE(model.createUser({{"label", "Eve"}}), CItemId());
    QVERIFY(model.getUser({{"label", "Eve"}}).isEmpty());
}

int main(int argc, char** argv)
{
    return runOnAllDatabases<TestAuditTrail>(argc, argv);
}

#include "tst_audit_trail.moc"
