#include <foundation/mail/mail_message.h>
#include <server/audit/audit_trail.h>
#include <server/database/database.h>
#include <server/database/sql_statement_p.h>
#include <server/model/demonstration_fill.h>
#include <server/model/sql_access_control.h>
#include <server/outbox/mail_outbox.h>

#include <QtTest/QtTest>

#include <memory>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

int modeOf(const QString& path)
{
    struct stat status;
    return ::stat(path.toLocal8Bit().constData(), &status) == 0 ? int(status.st_mode & 0777) : -1;
}

// What `work` answers in a process of its own, or the signal that ended it, negative.
template<typename Work>
int inChild(Work&& work)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(work());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

class TestDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void readingMakesNothing()
    {
        const QString path = m_folder->filePath("sub/folder/a.db");
        CSqlAccessControl model;
        CSqlAccessControl other;
        QVERIFY2(model.open(path), qPrintable(model.errorString()));
        QVERIFY(other.open(path));
        QVERIFY(model.getUser({}).isEmpty() && model.getModel("Media", {}, {}).isEmpty() && !model.hasLogins());

        CSqlAccessControl reader;
        const QString unmade = m_folder->filePath("unmade/b.db");
        QVERIFY(reader.open(unmade) && reader.getUser({}).isEmpty() && !reader.database()->exists());
        QVERIFY(!QFileInfo::exists(m_folder->filePath("unmade")));

        const mode_t mask = ::umask(0);
        QVERIFY(model.createUser({{"label", "Ada"}}) > CItemId());
        ::umask(mask);
        QCOMPARE(modeOf(path), 0600);
        for (const char* tail : {"-wal", "-shm"})
            QCOMPARE(modeOf(path + tail), 0600);
        QCOMPARE(modeOf(m_folder->filePath("sub")), 0700);
        // The other one looked when there was nothing.
        QCOMPARE(other.getUser({}).value("label").toString(), QString("Ada"));
        QVERIFY(other.createUser({}) > CItemId());
        // What stands in the header tells what it is.
        const QByteArray header = contentOf(path).left(100);
        QCOMPARE(header.mid(68, 4), QByteArray("KYR1"));
    }

    void readsOfOneMoment()
    {
        const QString path = m_folder->filePath("a.db");
        CSqlAccessControl reader;
        CSqlAccessControl writer;
        QVERIFY(writer.open(path) && writer.createUser({{"label", "Ada"}}) > CItemId() && reader.open(path));
        const auto users = [&reader] { return reader.getModel("UsersGroups", {}, {}).size(); };
        CDatabase* database = reader.database();
        QVERIFY(database->beginRead() && users() == 1);
        QVERIFY(writer.createUser({{"label", "Ben"}}) > CItemId());
        QVERIFY(database->beginRead() && users() == 1);
        QVERIFY(reader.createUser({{"label", "Cem"}}) == CItemId());
        database->endRead();
        QCOMPARE(users(), 1);
        database->endRead();
        QCOMPARE(users(), 2);
        // Within a transaction it ends with that, not before.
        QVERIFY(database->begin() && database->beginRead() && reader.createUser({{"label", "Cem"}}) > CItemId());
        QVERIFY(database->end(true));
        database->endRead();
        QCOMPARE(users(), 3);
        QVERIFY(reader.createUser({{"label", "Dora"}}) > CItemId());
    }

    void strangeFilesAreRefused_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("reason");
        QTest::addRow("folder") << "folder"
                                << "is a folder";
        QTest::addRow("text") << "text"
                              << "is not a database of this system";
        QTest::addRow("foreign") << "foreign"
                                 << "is not a database of this system";
        QTest::addRow("newer") << "newer"
                               << "use a newer program";
        QTest::addRow("damaged") << "damaged"
                                 << "is damaged";
        QTest::addRow("cut") << "cut"
                             << "is damaged";
    }
    void strangeFilesAreRefused()
    {
        QFETCH(QString, kind);
        QFETCH(QString, reason);
        const QString path = m_folder->filePath("a.db");
        if (kind == "folder") {
            QVERIFY(QDir().mkdir(path));
        } else if (kind == "text") {
            write(path, "Dear Sir or Madam,\n");
        } else {
            {
                CSqlAccessControl model;
                QVERIFY(model.open(path) && model.createUser({}) > CItemId());
            }
            QByteArray content = contentOf(path);
            if (kind == "foreign")
                content.replace(68, 4, "\1\2\3\4");
            else if (kind == "newer")
                content.replace(60, 4, QByteArray("\0\0\1\0", 4));
            else if (kind == "cut")
                content = content.left(content.size() / 2);
            else
                content.replace(100, 3000, QByteArray(3000, '\xaa'));
            write(path, content);
        }
        const QByteArray before = contentOf(path);
        CSqlAccessControl model;
        QVERIFY(!model.open(path));
        QVERIFY2(model.errorString().contains(reason), qPrintable(model.errorString()));
        QVERIFY(model.createUser({}) == CItemId() && model.getUser({}).isEmpty());
        QCOMPARE(contentOf(path), before);
    }

    // The widest of permissions do not help root, so another way to a file that cannot be written: a full disk.
    void fullDisk()
    {
        const QString path = m_folder->filePath("a.db");
        CItemId first;
        {
            CSqlAccessControl model;
            QVERIFY(model.open(path));
            first = model.createUser({{"label", "first"}});
        }
        const int outcome = inChild([&] {
            ::signal(SIGXFSZ, SIG_IGN);
            const struct rlimit limit = {400000, 400000};
            CSqlAccessControl model;
            if (!model.open(path) || ::setrlimit(RLIMIT_FSIZE, &limit) != 0)
                return 1;
            int stored = 0;
            CItemId id;
            while ((id = model.createUser({{"text", QString(5000, 'x')}})) != CItemId())
                ++stored;
            const bool told = !model.errorString().isEmpty() && !model.errorString().contains('\n');
            // It can still be read, and still says no.
            const bool reads = model.getModel("UsersGroups", {}, {}).size() == stored + 1;
            return told && reads && model.createGroup({}) == CItemId() && stored > 5 ? 100 + stored % 100 : 2;
        });
        QVERIFY2(outcome >= 100, qPrintable(QString::number(outcome)));
        CSqlAccessControl model;
        QVERIFY2(model.open(path), qPrintable(model.errorString()));
        QCOMPARE(model.database()->check(), QStringList());
        QCOMPARE((model.getModel("UsersGroups", {}, {}).size() - 1) % 100, outcome - 100);
        QVERIFY(model.createUser({}) > first);
    }

    void fullDiskForEachKind_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"mail", "event", "head", "backup", "migration"})
            QTest::addRow("%s", kind) << kind;
    }
    // It is told in one line, and is as if it had not been tried.
    void fullDiskForEachKind()
    {
        QFETCH(QString, kind);
        const QString path = m_folder->filePath("a.db");
        const QString scripts = m_folder->filePath("scripts");
        QVERIFY(QDir().mkdir(scripts) && QFile::copy(":/kyr_server/migrations/sqlite/001.sql", scripts + "/001.sql"));
        const bool isMigration = kind == "migration";
        {
            CDatabase database;
            QVERIFY(database.open(path, isMigration ? scripts : QString()) && database.begin() && database.end(true));
            if (!isMigration)
                QVERIFY(CAuditTrail(&database).append(AuditEvent{AuditKind::Start, 0, {}, {}, {}, {}, {}}));
        }
        const auto attempt = [&](bool isFull, QString& error) {
            CDatabase database;
            if (!isMigration && !database.open(path))
                return true;
            const struct rlimit limit = {0, 0};
            if (isFull && ::setrlimit(RLIMIT_FSIZE, &limit) != 0)
                return true;
            CAuditTrail trail(&database);
            CMailOutbox outbox(&database);
            bool good = false;
            if (isMigration)
                good = database.open(path);
            else if (kind == "mail")
                good = outbox.queue(CMailMessage(), {"a@b.c"}, error);
            else if (kind == "event")
                good = trail.append(AuditEvent{AuditKind::Start, 0, {}, {}, {}, {}, {}});
            else if (kind == "head")
                good = !trail.signHeads("hour").isEmpty();
            else
                good = database.backup(m_folder->filePath("copy.db"));
            if (kind == "event" || kind == "head")
                error = trail.errorString();
            else if (kind != "mail")
                error = database.errorString();
            return good;
        };
        const QStringList before = QDir(m_folder->path()).entryList(QDir::Files);
        const int outcome = inChild([&] {
            ::signal(SIGXFSZ, SIG_IGN);
            QString error;
            const bool good = attempt(true, error);
            return good || error.isEmpty() || error.contains('\n') ? 1 : 0;
        });
        QCOMPARE(outcome, 0);
        for (const QString& file : QDir(m_folder->path()).entryList(QDir::Files))
            QVERIFY2(before.contains(file) || file.startsWith("a.db-"), qPrintable(file));
        QString error;
        QVERIFY2(attempt(false, error), qPrintable(error));
        CDatabase database;
        QVERIFY2(database.open(path), qPrintable(database.errorString()));
        QCOMPARE(database.check(), QStringList());
        CAuditTrail trail(&database);
        QCOMPARE(trail.events({}).size(), isMigration ? 0 : kind == "event" ? 2 : 1);
        QCOMPARE(CMailOutbox(&database).waiting(), kind == "mail" ? 1 : 0);
        QVERIFY(trail.verify().ok());
    }

    // Whenever it is killed: what was acknowledged is there, the rest is not, and nothing is broken.
    void killedAtAnyInstant()
    {
        const QString path = m_folder->filePath("a.db");
        int known = 0;
        for (int round = 0; round < 12; ++round) {
            int pipe[2];
            QCOMPARE(::pipe(pipe), 0);
            const pid_t child = ::fork();
            if (child == 0) {
                CSqlAccessControl model;
                if (!model.open(path))
                    ::_exit(1);
                for (;;) {
                    model.beginTransaction("pair");
                    const CItemId user = model.createUser({{"label", "pair"}});
                    model.createItem("Codes", {{"userId", user.value()}, {"code", QString::number(user.value())}});
                    model.endTransaction();
                    if (model.errorString().isEmpty() && ::write(pipe[1], "+", 1) != 1)
                        ::_exit(2);
                }
            }
            ::close(pipe[1]);
            char byte;
            // From within the making of the file to amid many changes.
            for (int i = 0; i < round * 3; ++i)
                QCOMPARE(::read(pipe[0], &byte, 1), ssize_t(1));
            ::usleep(useconds_t(round * 700));
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
            int acknowledged = round * 3;
            while (::read(pipe[0], &byte, 1) == 1)
                ++acknowledged;
            ::close(pipe[0]);
            CSqlAccessControl model;
            QVERIFY2(model.open(path), qPrintable(model.errorString()));
            QCOMPARE(model.database()->check(), QStringList());
            const int users = model.getModel("UsersGroups", {}, {}).size();
            QCOMPARE(model.getModel("Codes", {}, {}).size(), users);
            QVERIFY(users == known + acknowledged || users == known + acknowledged + 1);
            known = users;
        }
    }

    void killedWithinAMigration()
    {
        const QString path = m_folder->filePath("a.db");
        const QString scripts = m_folder->filePath("scripts");
        QVERIFY(QDir().mkdir(scripts));
        QFile first(":/kyr_server/migrations/sqlite/001.sql");
        QVERIFY(first.open(QIODevice::ReadOnly));
        write(scripts + "/001.sql", first.readAll());
        const auto count = [](CDatabase* database, const char* sql) {
            SqlStatement statement(database, sql);
            return statement.exec() && statement.next() ? int(statement.integer(0)) : -1;
        };
        {
            CDatabase database;
            QVERIFY(database.open(path, scripts) && database.begin());
            QVERIFY(SqlStatement(&database, "INSERT INTO item(kind,label) VALUES(5,'Ada')").exec());
            QVERIFY(database.end(true));
        }
        write(scripts + "/002.sql", "CREATE TABLE more(id INTEGER PRIMARY KEY);\nINSERT INTO more SELECT value FROM\n"
                                    "json_each('[1,2,3]');\n");
        // A second that never ends within the test.
        write(scripts + "/003.sql",
              "CREATE TABLE still_more(id INTEGER);\nINSERT INTO still_more WITH RECURSIVE n(i) AS "
              "(SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<2000000000) SELECT i FROM n;\n");
        const pid_t child = ::fork();
        if (child == 0) {
            CDatabase database;
            ::_exit(database.open(path, scripts));
        }
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(path + "-wal").size() > 5000000 || QFileInfo(path).size() > 5000000, 5500);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        // The step that was done stays, the other one never was.
        write(scripts + "/003.sql", "CREATE TABLE still_more(id INTEGER);\n");
        CDatabase database;
        QVERIFY2(database.open(path, scripts), qPrintable(database.errorString()));
        QCOMPARE(database.version(), 3);
        QCOMPARE(database.check(), QStringList());
        QCOMPARE(count(&database, "SELECT count(*) FROM more"), 3);
        QCOMPARE(count(&database, "SELECT count(*) FROM still_more"), 0);
        QCOMPARE(count(&database, "SELECT count(*) FROM item"), 1);
        // The copy is the file as it was; who knows no newer version opens that one only.
        const QString old = m_folder->filePath("old");
        QVERIFY(QDir().mkdir(old) && QFile::copy(scripts + "/001.sql", old + "/001.sql"));
        CDatabase older;
        QVERIFY(!older.open(path, old) && older.errorString().contains("version 3"));
        QVERIFY2(older.open(path + ".version-1", old), qPrintable(older.errorString()));
        QCOMPARE(count(&older, "SELECT count(*) FROM item"), 1);
        QCOMPARE(modeOf(path + ".version-1"), 0600);
    }

    void twoWriters()
    {
        const QString path = m_folder->filePath("a.db");
        CSqlAccessControl model;
        QVERIFY(model.open(path));
        // Both make the file at once, and then take turns.
        QVector<pid_t> children;
        for (int i = 0; i < 2; ++i) {
            const pid_t child = ::fork();
            if (child == 0) {
                CSqlAccessControl writer;
                bool good = writer.open(path);
                for (int n = 0; n < 100 && good; ++n)
                    good = writer.createUser({{"writer", i}}) > CItemId();
                ::_exit(good ? 0 : 1);
            }
            children.append(child);
        }
        for (const pid_t child : qAsConst(children)) {
            int status = 1;
            ::waitpid(child, &status, 0);
            QCOMPARE(status, 0);
        }
        QCOMPARE(model.getModel("UsersGroups", {}, {}).size(), 200);

        // One that keeps the lock: the other waits as long as it may, and then says so; reading does not wait.
        CSqlAccessControl other;
        QVERIFY(other.open(path));
        other.database()->setWriteWait(150);
        model.beginTransaction("long");
        QVERIFY(model.createUser({}) > CItemId());
        QElapsedTimer clock;
        clock.start();
        QVERIFY(other.createUser({}) == CItemId());
        QVERIFY(clock.elapsed() >= 140 && clock.elapsed() < 1500);
        QVERIFY2(other.errorString().contains("another program"), qPrintable(other.errorString()));
        QCOMPARE(other.getModel("UsersGroups", {}, {}).size(), 200);
        model.endTransaction();
        QVERIFY(other.createUser({}) > CItemId());
    }

    void backups()
    {
        const QString path = m_folder->filePath("a.db");
        const QString target = m_folder->filePath("it's a backup.db");
        CSqlAccessControl model;
        QVERIFY(model.open(path) && model.createUser({{"label", "Ada"}}) > CItemId());
        QVERIFY2(model.database()->backup(target), qPrintable(model.database()->errorString()));
        QCOMPARE(modeOf(target), 0600);
        const QByteArray before = contentOf(target);
        QVERIFY(!model.database()->backup(target) && !model.database()->backup(m_folder->path()));
        QVERIFY(!model.database()->backup(m_folder->filePath("no/such/folder/b.db")));
        QCOMPARE(contentOf(target), before);
        CSqlAccessControl copy;
        QVERIFY(copy.open(target));
        QCOMPARE(copy.getUser({}).value("label").toString(), QString("Ada"));
    }

    // A file that was moved away, or replaced, takes no changes that nobody would find again; back at its place it
    // does.
    void movedAway()
    {
        const QString path = m_folder->filePath("a.db");
        const QString elsewhere = m_folder->filePath("elsewhere.db");
        CSqlAccessControl model;
        QVERIFY(model.open(path) && model.createUser({{"label", "Ada"}}) > CItemId());
        QVERIFY(QFile::rename(path, elsewhere));
        for (const bool isReplaced : {false, true}) {
            if (isReplaced)
                QVERIFY(QFile::copy(elsewhere, path));
            QCOMPARE(model.createUser({{"label", "Bob"}}), CItemId());
            QVERIFY(model.database()->isAway());
            QVERIFY2(model.database()->errorString().contains("no longer the file"),
                     qPrintable(model.database()->errorString()));
        }
        QVERIFY(QFile::remove(path) && QFile::rename(elsewhere, path));
        QTRY_VERIFY(!model.database()->isAway());
        QVERIFY(model.createUser({{"label", "Bob"}}) > CItemId());
        QCOMPARE(model.getUser({{"label", "Ada"}}).value("label").toString(), QString("Ada"));
    }

    // One that is used again is not prepared again, and those of ever new texts do not pile up.
    void statementsAreKept()
    {
        CDatabase database;
        QVERIFY(database.open("memory"));
        const auto run = [&database](const QString& sql) {
            SqlStatement statement(&database, sql);
            return statement.exec() && statement.next() ? statement.integer(0) : -1;
        };
        if (run("SELECT count(*) FROM pragma_compile_options WHERE compile_options='ENABLE_STMTVTAB'") != 1)
            QSKIP("This SQLite does not tell of its statements");
        for (int i = 0; i < 3; ++i)
            QCOMPARE(run("SELECT 47"), qint64(47));
        QCOMPARE(run("SELECT run FROM sqlite_stmt WHERE sql='SELECT 47'"), qint64(3));
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(run(QStringLiteral("SELECT %1").arg(i)), qint64(i));
        QVERIFY(run("SELECT count(*) FROM sqlite_stmt") < 500);
    }

    void fillIsRepeatable()
    {
        QList<QVariantList> made;
        for (const char* name : {"a.db", "b.db"}) {
            CSqlAccessControl model;
            QVERIFY(model.open(m_folder->filePath(name)));
            CDemonstrationFill fill;
            fill.users = 40;
            fill.doors = 5;
            fill.groups = 3;
            QString error;
            QVERIFY2(fill.run(&model, &error), qPrintable(error));
            made.append(model.getModel("UsersGroups", {}, {"label", "Department", "Email"}));
            QCOMPARE(model.getModel("Media", {}, {}).size(), 40);
            QCOMPARE(model.getModel("UsersGroups", {{"Department", "IT"}}, {}).size(), 5);
            QVERIFY(!fill.run(&model, &error) && error.contains("empty"));
            QCOMPARE(model.database()->check(), QStringList());
        }
        QCOMPARE(made[0], made[1]);
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TestDatabase)
#include "tst_database.moc"
