#include <server/audit/audit_trail.h>
#include <server/audit/trail_keeper.h>
#include <server/database/sql_statement_p.h>
#include <server/model/sql_access_control.h>

#include <QtTest/QtTest>

#include <memory>
#include <thread>

namespace {

constexpr int answerWait = 250;
// Twice as long as anybody may stand and wait: this machine has other things to do, too.
constexpr int longestGap = 500;
constexpr int patience = 15000;

// A server of its own, which comes to harm.
class Cluster
{
public:
    Cluster() { isThere = run({"start", file(), "kyr"}) && QFile::exists(file()); }
    ~Cluster() { run({"stop", file()}); }

    bool run(const QStringList& words) const
    {
        return QProcess::execute(KYR_TEST_DIR "/../support/postgres_cluster", words) == 0;
    }
    bool come(const char* what) const { return run({what, file()}); }
    QString url() const
    {
        QFile where(file());
        return where.open(QIODevice::ReadOnly) ? QString::fromUtf8(where.readLine().trimmed()) : QString();
    }
    // As somebody else; waits.
    bool sql(const QStringList& statements) const
    {
        QStringList words{"-qAt", url()};
        for (const QString& statement : statements)
            words += {"-c", statement};
        QProcess psql;
        psql.setStandardOutputFile(QProcess::nullDevice());
        psql.start("psql", words);
        return psql.waitForFinished() && psql.exitCode() == 0;
    }

    bool isThere;

private:
    QString file() const { return m_folder.filePath("postgresql.url"); }

    QTemporaryDir m_folder;
};

// How long the event loop has not turned, at most.
class Pulse
{
public:
    Pulse()
    {
        m_clock.start();
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { beat(); });
        m_timer.start(5);
    }
    qint64 longest()
    {
        beat();
        return m_longest;
    }

private:
    void beat() { m_longest = qMax(m_longest, m_clock.restart()); }

    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_longest = 0;
};

// A program that serves.
struct Served
{
    explicit Served(const QString& url)
    {
        if (!model.open(url))
            qFatal("%s", qPrintable(model.errorString()));
        model.database()->setAnswerWait(answerWait);
        model.database()->setWriteWait(answerWait);
        QObject::connect(&model, &ISimpleAccessControl::notify,
                         [this](const QString&, const QVariantMap& told, const QString&) {
                             for (const QVariant& user : told.value("data").toMap().value("UsersGroups").toList())
                                 users.append(user.toMap().value("id").toLongLong());
                         });
    }
    bool isAway() const { return model.database()->isAway(); }
    CItemId add(const char* label) { return model.createUser({{"label", label}}); }
    int count(const char* label) { return model.getModel("UsersGroups", {{"label", label}}, {}).size(); }

    CSqlAccessControl model;
    QList<qint64> users; // of whom it has told
};

} // namespace

class TestDatabaseAway : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The server keeps what was prepared until it is told that nobody needs it any more.
    void statementsDoNotPileUp()
    {
        Served served(m_cluster.url());
        QVERIFY(served.add("kept") > CItemId());
        const auto run = [&served](const QString& sql) {
            SqlStatement statement(served.model.database(), sql);
            return statement.exec() && statement.next() ? statement.integer(0) : -1;
        };
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(run(QStringLiteral("SELECT %1").arg(i)), qint64(i));
        const qint64 kept = run("SELECT count(*) FROM pg_prepared_statements");
        QVERIFY2(kept > 0 && kept < 500, qPrintable(QString::number(kept)));
        QVERIFY(served.add("behind") > CItemId());
    }

    void killed()
    {
        Served served(m_cluster.url());
        QVERIFY(served.add("before") > CItemId());
        Pulse pulse;
        QVERIFY(m_cluster.come("kill"));
        QTRY_VERIFY_WITH_TIMEOUT(served.isAway(), patience);
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < 20; ++i)
            QVERIFY(served.add("lost") == CItemId() && served.model.errorString().contains("is away"));
        QVERIFY(clock.elapsed() < answerWait);
        QTest::qWait(1500); // until after a try
        QVERIFY(pulse.longest() < longestGap);
        QVERIFY(m_cluster.come("restart"));
        // Before this one is back.
        qint64 meanwhile = 0;
        std::thread([&] {
            const QEventLoop loop;
            CSqlAccessControl other;
            if (other.open(m_cluster.url()))
                meanwhile = other.createUser({{"label", "meanwhile"}}).value();
        }).join();
        QVERIFY(meanwhile > 0);
        Pulse again;
        QTRY_VERIFY_WITH_TIMEOUT(served.users.contains(meanwhile), patience);
        QVERIFY(again.longest() < longestGap);
        QCOMPARE(served.users.count(meanwhile), 1);
        QCOMPARE(served.count("before"), 1);
        QCOMPARE(served.count("lost"), 0);
        QVERIFY(served.add("after") > CItemId());
    }

    void silent()
    {
        Served served(m_cluster.url());
        Pulse pulse;
        QVERIFY(m_cluster.come("freeze"));
        QVERIFY(served.add("silent") == CItemId() && served.count("silent") == 0 && served.isAway());
        QTest::qWait(500);
        QVERIFY(pulse.longest() < longestGap);
        // Its answer comes late, and is one: it is there without having been looked for.
        QVERIFY(m_cluster.come("thaw"));
        QTRY_VERIFY_WITH_TIMEOUT(!served.isAway(), 700);
        QVERIFY(served.add("silent") > CItemId());
        QCOMPARE(served.count("silent"), 1);

        QVERIFY(m_cluster.come("freeze"));
        Pulse again;
        QVERIFY(served.add("silent") == CItemId());
        QTest::qWait(4000); // two tries
        QVERIFY(again.longest() < longestGap && served.isAway());
        QVERIFY(m_cluster.come("thaw"));
        QTRY_VERIFY_WITH_TIMEOUT(!served.isAway(), patience);
        QCOMPARE(served.count("silent"), 1);
    }

    void cutAmidATransaction()
    {
        Served served(m_cluster.url());
        QSignalSpy failed(&served.model, &CSqlAccessControl::transactionFailed);
        served.model.beginTransaction("pair");
        QVERIFY(served.add("half") > CItemId());
        QVERIFY(m_cluster.sql({"SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name='kyr'"}));
        QVERIFY(served.add("other half") == CItemId());
        served.model.endTransaction();
        QCOMPARE(failed.size(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(!served.isAway(), patience);
        QCOMPARE(served.count("half") + served.count("other half"), 0);
        QVERIFY(served.users.isEmpty() && served.add("whole") > CItemId());
    }

    // The server lives, but does not get its disk (here: another server's) to keep what it was given.
    void slow()
    {
        Served served(m_cluster.url());
        CAuditTrail trail(served.model.database());
        trail.setChainName("slow");
        CTrailKeeper keeper(&trail, "Ada");
        QSignalSpy settled(served.model.database(), &CDatabase::settled);
        const auto setStandby = [this](const char* name) {
            return m_cluster.sql(
                {QString("ALTER SYSTEM SET synchronous_standby_names='%1'").arg(name), "SELECT pg_reload_conf()"});
        };
        const auto logins = [&] {
            CAuditTrail::Filter filter;
            filter.kinds = {AuditKind::Login};
            return trail.events(filter).size();
        };
        for (const bool isModel : {true, false}) {
            QVERIFY(setStandby("nobody"));
            QTest::qWait(200); // until its processes have read that
            Pulse pulse;
            if (isModel) {
                QVERIFY(served.add("slow") == CItemId());
                QVERIFY2(served.model.errorString().contains("not known"), qPrintable(served.model.errorString()));
            } else {
                keeper.noteLogin({}, "192.0.2.7", "api");
            }
            QVERIFY(served.model.database()->isUnsettled());
            QTRY_VERIFY_WITH_TIMEOUT(!served.isAway(), patience);
            // It can be read, and another change would only wait behind that one.
            QCOMPARE(served.count("before"), 1);
            QVERIFY(served.add("later") == CItemId() && served.model.database()->isHeld());
            keeper.noteLogin({}, "192.0.2.8", "api");
            QVERIFY(settled.isEmpty() && pulse.longest() < longestGap);
            QVERIFY(setStandby(""));
            QTRY_VERIFY_WITH_TIMEOUT(settled.size() == 1, patience);
            QCOMPARE(settled.takeFirst().first().toBool(), true);
            QTRY_COMPARE(logins(), isModel ? 1 : 3);
        }
        QCOMPARE(served.count("slow"), 1);
        QCOMPARE(served.users.size(), 1);
        QVERIFY(trail.verify().ok());
    }

    void lostAtItsEnd()
    {
        Served served(m_cluster.url());
        CDatabase* database = served.model.database();
        CAuditTrail trail(database);
        QSignalSpy settled(database, &CDatabase::settled);
        const int before = trail.events({}).size();
        for (const bool isThawed : {true, false}) {
            QVERIFY(database->begin() && trail.append(AuditEvent{AuditKind::Start, 0, {}, {}, {}, {}, {}}));
            QVERIFY(m_cluster.come("freeze"));
            QVERIFY(!database->end(true) && database->isUnsettled());
            QVERIFY(isThawed ? m_cluster.come("thaw") : m_cluster.come("kill") && m_cluster.come("restart"));
            QTRY_VERIFY_WITH_TIMEOUT(settled.size() == 1, patience);
            QCOMPARE(settled.takeFirst().first().toBool(), isThawed);
            QCOMPARE(trail.events({}).size(), before + 1);
        }
        QVERIFY(served.add("next") > CItemId());
    }

    // A program that stands still amid a change, as one on a machine that sleeps: the others go on.
    void heldByAnother()
    {
        Served served(m_cluster.url());
        CSqlAccessControl stopped;
        QVERIFY(stopped.open(m_cluster.url()));
        stopped.beginTransaction("long");
        QVERIFY(stopped.createUser({{"label", "never"}}) > CItemId());
        Pulse pulse;
        QElapsedTimer clock;
        clock.start();
        while (served.add("waited") == CItemId()) {
            QVERIFY2(served.model.database()->isHeld() && !served.isAway(), qPrintable(served.model.errorString()));
            QVERIFY(clock.elapsed() < patience);
            QTest::qWait(100);
        }
        QVERIFY(pulse.longest() < longestGap);
        stopped.endTransaction();
        QCOMPARE(served.count("never"), 0);
        QCOMPARE(served.count("waited"), 1);
    }

private:
    Cluster m_cluster;

public:
    bool isSkipped() const { return !m_cluster.isThere; }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir data;
    qputenv("XDG_DATA_HOME", data.path().toLocal8Bit());
    TestDatabaseAway test;
    if (test.isSkipped()) {
        std::puts("SKIP   : PostgreSQL is not installed");
        return 77;
    }
    return QTest::qExec(&test, argc, argv);
}
#include "tst_database_away.moc"
