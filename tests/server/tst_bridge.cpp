// What a bridge keeps and sends, without a broker, or with one that says and hears what no real one would;
// tests/apps/test_broker.py has a real one.
#include <foundation/services/notification_service.h>
#include <server/audit/audit_trail.h>
#include <server/bridge/bridge_store_p.h>
#include <server/bridge/notification_bridge.h>
#include <server/bridge/volatile_ring_p.h>
#include <server/database/sql_statement_p.h>
#include <server/model/sql_access_control.h>
#include <tests/support/database_places.h>

#include <QtCore/QJsonDocument>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

#include <sys/resource.h>
#include <unistd.h>

namespace {

// A server on a database that it may share.
struct Server
{
    Server(const QString& file, const QString& name, bool hasBridge = true)
        : topics("0012.3457", name)
        , store(model.database(), topics, name)
    {
        model.open(file);
        model.setServerName(name);
        if (hasBridge && store.exists())
            store.open();
    }

    void add(const QString& label) { QVERIFY(model.createUser({{"label", label}}) != CItemId()); }
    // Numbers of the changes that this server tells, in order.
    QList<qint64> changes()
    {
        QList<qint64> found;
        const QList<BridgeMessage> messages = store.messages("Model", 0, 100);
        for (const BridgeMessage& message : messages) {
            const auto notification = BridgeNotification::fromPayload(message.payload);
            if (notification && notification->seq == found.size() + 1)
                found.append(notification->data.value("seq").toLongLong());
        }
        return found;
    }

    CSqlAccessControl model;
    BridgeTopics topics;
    BridgeStore store;
};

// A broker of MQTT 5 for one client, who is let in with so many topics.
class FakeBroker : public QTcpServer
{
public:
    explicit FakeBroker(int topics)
    {
        listen(QHostAddress::LocalHost);
        settings.setUrl(QStringLiteral("mqtt://127.0.0.1:%1").arg(serverPort()), nullptr);
        connect(this, &QTcpServer::newConnection, this, [this, topics] {
            peer = nextPendingConnection();
            connect(peer, &QTcpSocket::readyRead, peer, [this, topics, peer = peer] {
                m_bytes += peer->readAll();
                for (QByteArray body; takePacket(&body);)
                    take(body, topics);
            });
        });
    }
    void say(const QString& topic, const QByteArray& payload)
    {
        const QByteArray name = topic.toUtf8();
        const QByteArray body = QByteArray(1, '\0') + char(name.size()) + name + '\0' + payload;
        QByteArray head(1, 0x30);
        for (int left = body.size(); left > 0 || head.size() == 1; left >>= 7)
            head += char((left & 0x7F) | (left > 0x7F ? 0x80 : 0));
        peer->write(head + body);
    }
    void acknowledge()
    {
        while (!m_numbers.isEmpty())
            peer->write("\x40\x02" + m_numbers.takeFirst());
    }
    int count(const QByteArray& part) const
    {
        return int(
            std::count_if(heard.begin(), heard.end(), [&](const QByteArray& one) { return one.contains(part); }));
    }

    MqttSettings settings;
    QPointer<QTcpSocket> peer;
    QList<QByteArray> heard;

private:
    bool takePacket(QByteArray* body)
    {
        int size = 0;
        int at = 1;
        do {
            if (at >= m_bytes.size())
                return false;
            size |= (m_bytes.at(at) & 0x7F) << (7 * (at - 1));
        } while (m_bytes.at(at++) & 0x80);
        if (m_bytes.size() < at + size)
            return false;
        *body = m_bytes.at(0) + m_bytes.mid(at, size);
        m_bytes.remove(0, at + size);
        return true;
    }
    void take(const QByteArray& body, int topics)
    {
        const int kind = quint8(body.at(0)) >> 4;
        if (kind == 1)
            peer->write(QByteArray("\x20\x03\0\0\0", 5));
        else if (kind == 8)
            peer->write("\x90" + QByteArray(1, char(3 + topics)) + body.mid(1, 2) + '\0' + QByteArray(topics, '\1'));
        else if (kind == 3) {
            m_numbers.append(body.mid(3 + body.at(2), 2));
            heard.append(body);
        }
    }

    QByteArray m_bytes;
    QList<QByteArray> m_numbers;
};

} // namespace

class TestBridge : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newsOfTheMomentIsCountedWhenItIsDropped()
    {
        VolatileRing ring;
        for (int i = 0; i < VolatileRing::mostMessages + 5; ++i)
            ring.add("Devices", {{"n", i}});
        QCOMPARE(ring.dropped(), qint64(5));
        const auto notice = ring.next();
        QVERIFY(notice && notice->notification.seq == 1);
        QCOMPARE(notice->notification.data, (QVariantMap{{"event", "dropped"}, {"count", 5}}));
        const auto first = ring.next();
        QVERIFY(first && first->notification.seq == 2);
        QCOMPARE(first->notification.data.value("n").toInt(), 5);
        // The connection breaks: what was not acknowledged is said again, under its number.
        ring.acknowledge(notice->place);
        ring.rewind();
        const auto again = ring.next();
        QVERIFY(again && again->notification.seq == 2 && again->place == first->place);
        QCOMPARE(ring.sent("Devices", 1, 10).size(), 2);
        // What was heard makes room without a word.
        ring.acknowledge(again->place);
        ring.add("Devices", {{"text", QString(VolatileRing::mostBytes / 2, 'x')}});
        const qint64 dropped = ring.dropped();
        ring.add("Devices", {{"text", QString(VolatileRing::mostBytes / 2, 'y')}});
        QVERIFY(ring.waiting() <= 2);
        QVERIFY(ring.dropped() > dropped);

        // What is said again keeps its number; that something was dropped meanwhile is told behind it.
        VolatileRing other;
        for (int i = 0; i < 3; ++i)
            other.add("Devices", {{"n", i}});
        while (other.next()) {
        }
        other.rewind();
        for (int i = 3; i < VolatileRing::mostMessages + 1; ++i)
            other.add("Devices", {{"n", i}});
        QCOMPARE(other.next()->notification.seq, qint64(2));
        QCOMPARE(other.next()->notification.seq, qint64(3));
        QCOMPARE(other.next()->notification.data.value("event").toString(), QString("dropped"));
    }

    void eachChangeIsToldByOneServer()
    {
        DatabasePlaces places;
        const QString file = places.location("a.db");
        Server console(file, "0badcafe", false);
        console.add("before there was a bridge");
        Server north(file, "north");
        Server south(file, "south");
        QVERIFY(north.store.isOpen() && south.store.isOpen());
        north.store.beat();
        south.store.beat();
        QVERIFY(north.store.isPublisher() && !south.store.isPublisher());
        console.add("2");
        north.add("3");
        south.add("4");
        QCOMPARE(south.store.collect(), BridgeIntake::Done);
        QCOMPARE(north.store.collect(), BridgeIntake::Done);
        QCOMPARE(north.store.collect(), BridgeIntake::Done);
        QCOMPARE(north.changes(), (QList<qint64>{2, 3}));
        QCOMPARE(south.changes(), (QList<qint64>{4}));

        // North stands still. South takes over what nobody told, and what north has made waits for it.
        console.add("5");
        north.add("6");
        for (int i = 0; i < BridgeStore::missedBeats; ++i) {
            QVERIFY(!south.store.isPublisher());
            south.store.beat();
        }
        QVERIFY(south.store.isPublisher());
        QCOMPARE(south.store.collect(), BridgeIntake::Done);
        QCOMPARE(south.changes(), (QList<qint64>{4, 5}));
        QCOMPARE(north.store.collect(), BridgeIntake::Done);
        QVERIFY(!north.store.isPublisher());
        QCOMPARE(north.changes(), (QList<qint64>{2, 3, 6}));

        // A server that was killed says the same under the same numbers.
        QVERIFY(north.store.acknowledge({{"Model", 1}}));
        Server again(file, "north");
        QCOMPARE(again.store.acknowledged("Model"), qint64(1));
        QCOMPARE(again.store.epoch("Model"), north.store.epoch("Model"));
        QCOMPARE(again.changes(), (QList<qint64>{2, 3, 6}));
        QCOMPARE(again.store.waiting(), qint64(2));
    }

    void numbersOfAnOlderCopyAreNotGivenTwice()
    {
        DatabasePlaces places;
        const QString file = places.location("a.db");
        Server console(file, "0badcafe", false);
        console.add("before there was a bridge");
        const auto run = [&console](const QString& sql) {
            QVERIFY(console.model.database()->begin());
            QVERIFY(SqlStatement(console.model.database(), sql).exec());
            QVERIFY(console.model.database()->end(true));
        };
        Server north(file, "north");
        for (const char* label : {"2", "3", "4", "5"})
            north.add(label);
        QCOMPARE(north.store.collect(), BridgeIntake::Done);
        QVERIFY(north.store.acknowledge({{"Model", 4}}));
        const QString epoch = north.store.epoch("Model");
        // The copy was made when three were numbered, and one of them was acknowledged.
        run("DELETE FROM bridge_message WHERE seq>3");
        run("UPDATE bridge_source SET seq=3,acknowledged=1 WHERE source='Model'");
        Server again(file, "north");
        QVERIFY(again.store.epoch("Model") != epoch);
        QCOMPARE(again.store.epoch("Access"), north.store.epoch("Access"));
        QCOMPARE(again.store.acknowledged("Model"), qint64(0));
        QCOMPARE(again.changes(), (QList<qint64>{3, 4}));
        again.add("another 5");
        QCOMPARE(again.store.collect(), BridgeIntake::Done);
        QCOMPARE(again.changes(), (QList<qint64>{3, 4, 6}));
        const auto last = BridgeNotification::fromPayload(again.store.messages("Model", 0, 10).last().payload);
        QVERIFY(last && last->epoch == again.store.epoch("Model"));
        // Once is enough.
        QCOMPARE(Server(file, "north").store.epoch("Model"), again.store.epoch("Model"));
        // The same copy a second time: it has the numbers of the first epoch, and goes on with neither.
        run(QString("UPDATE bridge_source SET epoch='%1' WHERE source='Model'").arg(epoch));
        QVERIFY(!QStringList({epoch, again.store.epoch("Model")}).contains(Server(file, "north").store.epoch("Model")));
    }

    void whatIsBusyIsTriedAgain()
    {
        DatabasePlaces places;
        const QString file = places.location("a.db");
        Server north(file, "north", false);
        north.add("1");
        QVERIFY(north.store.open());
        north.add("2");
        CDatabase other;
        QVERIFY(other.open(file) && other.begin());
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(north.store.collect(), BridgeIntake::Failed);
        QVERIFY(!north.store.acknowledge({{"Model", 1}}));
        QVERIFY2(timer.elapsed() < 250, "it has waited for the other one");
        other.end(true);
        QCOMPARE(north.store.collect(), BridgeIntake::Done);
        QCOMPARE(north.changes(), (QList<qint64>{2}));
    }

    void doorsAreToldByIdsAlone()
    {
        DatabasePlaces places;
        Server north(places.location("a.db"), "North", false);
        north.add("Ada");
        QVERIFY(north.store.open());
        north.store.beat();
        CAuditTrail trail(north.model.database());
        AuditEvent event;
        event.kind = AuditKind::Denied;
        event.at = 1790000000000;
        event.accessPoint = CItemId(3);
        event.operatorName = "Ada Moser";
        event.details = {
            {"reason", "CredentialUnknown"}, {"uid", "04:A1:22:3B"}, {"comment", "seen"}, {"way", "offline"}};
        AuditEvent changed = event;
        changed.kind = AuditKind::Changed;
        QVERIFY(trail.append({event, changed}));
        QVERIFY(!trail.signHeads("request").isEmpty());
        QCOMPARE(north.store.collect(), BridgeIntake::Done);
        const QList<BridgeMessage> messages = north.store.messages("Access", 0, 10);
        QCOMPARE(messages.size(), 1);
        QCOMPARE(messages.first().topics, (QStringList{"notify/access", "event/3/denied"}));
        const auto told = BridgeNotification::fromPayload(messages.first().payload);
        QVERIFY(told);
        QCOMPARE(told->data, (QVariantMap{{"event", "denied"},
                                          {"at", "2026-09-21T14:13:20Z"},
                                          {"accessPoint", "3"},
                                          {"reason", "CredentialUnknown"},
                                          {"way", "offline"},
                                          {"chain", 1},
                                          {"seq", 1}}));
        const QList<BridgeMessage> heads = north.store.messages("Audit", 0, 10);
        QCOMPARE(heads.size(), 1);
        AuditHead head;
        QVERIFY(heads.first().isRetained && AuditHead::fromLine(heads.first().payload, head) && head.seq == 2);
    }

    void startsWhenThereAreDescriptorsAgain()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizer needs a descriptor to look at an object");
#endif
        FakeBroker broker(1);
        broker.settings.clientId = "a";
        broker.settings.topics = QStringList{"a"};
        rlimit usual{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &usual), 0);
        const int next = dup(0);
        close(next);
        const rlimit few{rlim_t(next), usual.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no file descriptor is free; trying again"));
        CMqttClient client(broker.settings);
        client.start();
        setrlimit(RLIMIT_NOFILE, &usual);
        QTRY_VERIFY(client.isConnected());
    }

    // What comes faster than it is taken is dropped and counted; what is longer than was agreed is left out.
    void messagesWaitInTheClient()
    {
        FakeBroker broker(1);
        broker.settings.clientId = "a";
        broker.settings.topics = QStringList{"a"};
        CMqttClient client(broker.settings);
        int received = 0;
        connect(&client, &CMqttClient::received, this, [&received] { ++received; });
        client.start();
        QTRY_VERIFY(client.isConnected());
        const auto sayAll = [&](int count, int size, int dropped) {
            for (int i = 0; i < count; ++i)
                broker.say("a", QByteArray(size, 'x'));
            while (broker.peer->bytesToWrite() > 0 && broker.peer->waitForBytesWritten(6000)) {
            }
            // Nobody takes anything until all of it has come.
            const qint64 before = client.dropped();
            for (int i = 0; i < 1000 && client.dropped() < before + dropped; ++i)
                QThread::msleep(5);
        };
        sayAll(CMqttClient::mostWaiting + 50, 10, 50);
        QTRY_COMPARE(received, int(CMqttClient::mostWaiting));
        const int fit = int(CMqttClient::mostWaitingBytes / 200000);
        sayAll(fit + 5, 200000, 5);
        QTRY_COMPARE(received, CMqttClient::mostWaiting + fit);
        QCOMPARE(client.dropped(), qint64(55));
        broker.say("a", QByteArray(CMqttClient::longestMessage + 1, 'x'));
        broker.say("a", QByteArray(CMqttClient::longestMessage, 'x'));
        QTRY_COMPARE(received, CMqttClient::mostWaiting + fit + 1);
    }

    void aBrokerIsNotToldAllAtOnce()
    {
        FakeBroker broker(2);
        CSqlAccessControl model;
        DatabasePlaces places;
        QVERIFY(model.open(places.location("a.db")));
        model.setServerName("north");
        QVERIFY(model.createUser({}) > CItemId());
        CNotificationService hub;
        CNotificationBridge bridge({broker.settings, "0012.3457", "north"}, &hub, model.database(), nullptr);
        QTRY_COMPARE(broker.count("\"up\""), 1);
        constexpr int most = CNotificationBridge::mostInFlight;
        for (int i = 0; i < 5 * most; ++i)
            QVERIFY(model.createUser({}) > CItemId());
        bridge.wake();
        QTRY_COMPARE(broker.heard.size(), most);
        QTRY_COMPARE(bridge.status().waiting, qint64(5 * most));
        // News do not wait behind all the others.
        hub.notifyObservers("Devices", {{"event", "came"}});
        broker.acknowledge();
        QTRY_COMPARE(broker.heard.size(), 2 * most);
        QCOMPARE(broker.count("\"came\""), 1);
        broker.acknowledge();

        // Of servers that nobody knows so many are heard, and so many messages of one are requested again.
        constexpr int servers = 1000;
        hub.registerObserver("watcher", {"Devices"}, 0);
        int told = 0;
        connect(&hub, &CNotificationService::messageTransmissionRequested, this,
                [&told](const QString& address) { told += address == "watcher"; });
        const auto say = [&](int server, qint64 seq) {
            const BridgeNotification news{"Devices", {{"n", server}}, seq, "e", "i"};
            broker.say(QString("kyr/1/0012.3457/s%1/notify/devices").arg(server), news.toPayload());
        };
        for (int server = 0; server < servers; ++server) {
            say(server, 1);
            if (server % 500 == 499)
                QTRY_COMPARE(told, server + 1);
        }
        say(servers, 1);
        say(0, 5000);
        QTRY_COMPARE(told, servers + 1);
        const QByteArray again = R"("from":4000,"source":"Devices","to":4999)";
        QTRY_VERIFY2((broker.acknowledge(), broker.count(again) == 1), broker.heard.last());
    }

    void aBrokerHasAHostAndAPort_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("canonical");
        QTest::newRow("TLS") << "mqtts://broker.example.com"
                             << "mqtts://broker.example.com:8883";
        QTest::newRow("plain") << "mqtt://127.0.0.1:1884/"
                               << "mqtt://127.0.0.1:1884";
        QTest::newRow("IPv6") << "mqtts://[::1]:1"
                              << "mqtts://[::1]:1";
        for (const char* refused : {"", "broker", "http://a", "mqtts://", "mqtts://u:p@a", "mqtts://u@a", "mqtts://a/b",
                                    "mqtts://a?b", "mqtts://a:0", "mqtts://a:65536", "mqtts://a b"})
            QTest::newRow(refused) << refused << QString();
    }
    void aBrokerHasAHostAndAPort()
    {
        QFETCH(QString, url);
        QFETCH(QString, canonical);
        MqttSettings settings;
        QString error;
        QCOMPARE(settings.setUrl(url, &error), !canonical.isEmpty());
        QCOMPARE(error.isEmpty(), !canonical.isEmpty());
        QVERIFY(!error.contains("u:p"));
        if (!canonical.isEmpty())
            QCOMPARE(settings.url(), canonical);
    }
};

int main(int argc, char** argv)
{
    return runOnAllDatabases<TestBridge>(argc, argv);
}
#include "tst_bridge.moc"
