// What servers do for each other's devices, without devices; tests/apps/test_servers.py has real ones.
#include <server/database/sql_statement_p.h>
#include <server/devices/device_links.h>
#include <server/devices/remote_devices.h>
#include <server/model/sql_access_control.h>
#include <tests/support/database_places.h>

namespace {

const CDeviceId lock(12345);

struct Links : IDeviceLinks
{
    QList<CDeviceId> linkedDevices() const override { return devices; }
    bool isLinked(CDeviceId device) const override { return devices.contains(device); }
    bool send(CDeviceId, const QByteArray&) override { return false; }

    void come(CDeviceId device)
    {
        devices.append(device);
        Q_EMIT deviceCame(device);
    }
    void leave(CDeviceId device)
    {
        devices.removeAll(device);
        Q_EMIT deviceLeft(device);
    }

    QList<CDeviceId> devices;
};

struct Server
{
    Server(const QString& location, const QString& name)
    {
        model.open(location);
        remote = std::make_unique<CRemoteDevices>(model.database());
        remote->serve(&links, name, true,
                      [this](CDeviceId, const QString& kind, const QJsonObject& body, const QString& operatorName,
                             const CRemoteDevices::Answer& answer) {
                          done.append(kind + ' ' + body.value("door").toString() + ' ' + operatorName);
                          answer(kind == "fly" ? "cannot fly" : QString(), body);
                      });
        QObject::connect(remote.get(), &CRemoteDevices::movedAway, &links, [this](CDeviceId device) {
            moved.append(device);
            links.devices.removeAll(device);
        });
    }

    void ask(const QString& kind)
    {
        remote->ask(lock, kind, {{"door", "Gate"}}, "ada", [this](const QString& error, const QJsonObject& result) {
            answers.append(error + '/' + result.value("door").toString());
        });
    }
    void run(const QString& sql)
    {
        QVERIFY(model.database()->begin());
        QVERIFY(SqlStatement(model.database(), sql).exec());
        QVERIFY(model.database()->end(true));
    }
    // As each few seconds.
    void beat() { Q_EMIT model.database()->awayChanged(false); }
    QStringList listed()
    {
        QStringList found;
        for (const CRemoteDevices::Link& link : remote->links())
            found.append(link.server);
        return found;
    }

    CSqlAccessControl model;
    Links links;
    std::unique_ptr<CRemoteDevices> remote;
    QStringList done;
    QStringList answers;
    QList<CDeviceId> moved;
};

} // namespace

class TestRemoteDevices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        places = std::make_unique<DatabasePlaces>();
        const QString location = places->location("a.db");
        CSqlAccessControl first;
        QVERIFY(first.open(location) && first.createUser({{"label", "Ada"}}) != CItemId());
        north = std::make_unique<Server>(location, "north");
        south = std::make_unique<Server>(location, "south");
        south->links.come(lock);
        QTRY_COMPARE(north->listed(), QStringList{"south"});
    }
    void cleanup()
    {
        north.reset();
        south.reset();
        places.reset();
    }

    void theServerWithTheLinkDoesIt()
    {
        north->ask("open");
        QTRY_COMPARE(north->answers, QStringList{"/Gate"});
        QCOMPARE(south->done, QStringList{"open Gate ada"});
        north->ask("fly");
        QTRY_COMPARE(north->answers.size(), 2);
        QVERIFY(north->answers.last().startsWith("cannot fly"));
        QVERIFY(north->done.isEmpty());
    }

    void whatComesLateIsNotDone_data()
    {
        QTest::addColumn<QString>("clock");
        QTest::newRow("server was away") << "expires=made-1";
        QTest::newRow("clock was set back") << "made=made+3600000,expires=expires+3600000";
    }
    void whatComesLateIsNotDone()
    {
        QFETCH(QString, clock);
        north->ask("open");
        north->run("UPDATE device_command SET " + clock);
        north->ask("close");
        QTRY_COMPARE(south->done, QStringList{"close Gate ada"});
        south->beat();
        QCOMPARE(south->remote->expiredCommands(), qint64(1));
        south->beat();
        QCOMPARE(south->remote->expiredCommands(), qint64(1));
    }

    void whatSomebodyHasTakenIsNotDoneAgain()
    {
        if (DatabasePlaces::onPostgres())
            QSKIP("the trigger is one of SQLite");
        // Between looking and taking another server takes it.
        north->run(
            "CREATE TRIGGER other BEFORE UPDATE ON device_command WHEN OLD.kind='open' AND NEW.state=1 BEGIN UPDATE "
            "device_command SET state=2 WHERE id=OLD.id; SELECT RAISE(IGNORE); END");
        north->ask("open");
        north->ask("close");
        QTRY_COMPARE(south->done, QStringList{"close Gate ada"});
        QCOMPARE(south->remote->repeatedCommands(), qint64(1));
    }

    void theNewestLinkCounts()
    {
        north->links.come(lock);
        QTRY_COMPARE(south->listed(), QStringList{"north"});
        QTRY_COMPARE(south->moved, QList<CDeviceId>{lock});
        QVERIFY(south->remote->isElsewhere(lock) && !north->remote->isElsewhere(lock));
        // The end of the leftover takes nothing away.
        south->links.leave(lock);
        north->ask("open");
        QTRY_COMPARE(north->done.size(), 1);
        // A visit that is over before anybody has looked leaves the older link listed.
        south->run("DELETE FROM device_link");
        north->beat();
        QTRY_COMPARE(south->listed(), QStringList{"north"});
    }

    void aServerThatIsSilentHasNoLinks()
    {
        north->run("UPDATE device_holder SET at=at-20000 WHERE server='south'");
        QCOMPARE(north->listed(), QStringList());
        QVERIFY(!north->remote->isElsewhere(lock));
        south->beat();
        QCOMPARE(north->listed(), QStringList{"south"});
        // Whoever begins under a name has what stood there; the other one, should it live, comes back with its beat.
        Server again(places->location("a.db"), "south");
        QCOMPARE(north->listed(), QStringList());
    }

private:
    std::unique_ptr<DatabasePlaces> places;
    std::unique_ptr<Server> north;
    std::unique_ptr<Server> south;
};

int main(int argc, char** argv)
{
    return runOnAllDatabases<TestRemoteDevices>(argc, argv);
}
#include "tst_remote_devices.moc"
