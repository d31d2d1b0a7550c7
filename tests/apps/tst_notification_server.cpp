#include "server/api_server.h"
#include "server/front_door.h"
#include "server/notification_client.h"
#include "server/notification_request.h"
#include "server/notification_server.h"

#include <foundation/services/notification_service.h>
#include <server/api/api.h>
#include <server/audit/audit_trail.h>
#include <server/model/sql_access_control.h>

#include <support/device_certificates.h>
#include <support/raw_web_socket.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtNetwork/QSslSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <sys/resource.h>

namespace {

const QString token = "open \u201esesame\u201c";

QByteArray request(const char* method, const QJsonArray& params, const QJsonValue& id = QJsonValue::Undefined)
{
    QJsonObject object{{"jsonrpc", "2.0"}, {"method", QLatin1String(method)}, {"params", params}};
    if (!id.isUndefined())
        object.insert("id", id);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A client that sends what it is told, and reads only when it is told to.
class Peer
{
public:
    // A session is one at the API.
    explicit Peer(quint16 port, bool tls = false, const QByteArray& before = {}, const QByteArray& session = {})
    {
        socket.setReadBufferSize(4096);
        socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        if (tls)
            socket.connectToHostEncrypted("127.0.0.1", port);
        else
            socket.connectToHost("127.0.0.1", port);
        socket.write(before + RawWebSocket::upgradeRequest(before.isEmpty() ? "/notifications" : "/api").chopped(2));
        socket.write("Authorization: Bearer " + session + "\r\n\r\n");
    }
    void send(const QByteArray& text)
    {
        // Frames may follow only when the server has answered.
        if (!std::exchange(upgraded, true)) {
            (void)QTest::qWaitFor([this] { return (buffer += socket.readAll()).contains("\r\n\r\n"); });
            buffer.remove(0, buffer.indexOf("\r\n\r\n") + 4);
        }
        socket.write(RawWebSocket::frame(RawWebSocket::Text, text, true));
    }
    void login() { send(request("login", {token}, 1)); }
    // All messages until there are so many or the connection ends.
    QList<QJsonObject> messages(int count)
    {
        QList<QJsonObject> result;
        QElapsedTimer clock;
        clock.start();
        while (result.size() < count && clock.elapsed() < 6000) {
            QTest::qWait(1);
            buffer += socket.readAll();
            for (const auto& frame : RawWebSocket::takeFrames(buffer)) {
                if (frame.first == RawWebSocket::Text)
                    result.append(QJsonDocument::fromJson(frame.second).object());
                if (frame.first == RawWebSocket::Close)
                    return result;
            }
            if (socket.state() == QAbstractSocket::UnconnectedState && socket.bytesAvailable() == 0)
                return result;
        }
        return result;
    }
    bool ended() const { return socket.state() == QAbstractSocket::UnconnectedState; }

    QSslSocket socket;
    QByteArray buffer;
    bool upgraded = false;
};

} // namespace

class TestNotificationServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }

    void init()
    {
        m_service = std::make_unique<CNotificationService>();
        m_server = std::make_unique<NotificationServer>(*m_service, token);
        QVERIFY(m_server->listen(0));
    }

    void cleanup()
    {
        QTRY_COMPARE(m_server->clients(), 0);
        QTRY_COMPARE(m_server->others(), 0);
        QVERIFY(m_service->getObservedSources().isEmpty());
        m_server.reset();
    }

    void requests()
    {
        Peer peer(m_server->port());
        peer.login();
        peer.send(request("login", {"again"}, 2));
        peer.send("{not json");
        peer.send(R"({"jsonrpc":"2.0","method":"x","params":[{"a":[],"a":1}]})");
        peer.send("{\"id\":3}");
        peer.send(request("quit", {1}, "four"));
        peer.send(request("registerObserver", {}, 5));
        peer.send(request("registerExtension", {"bell"}, 6));
        const auto messages = peer.messages(9);
        QStringList summary;
        for (const QJsonObject& message : messages) {
            summary.append(message.value("id").toVariant().toString() + ':'
                           + QString::number(message.value("error").toObject().value("code").toInt())
                           + message.value("method").toString());
        }
        QCOMPARE(summary.join(' '), "1:0 2:0 :-32700 :-32700 3:-32600 four:-32601 5:-32602 6:0 :0acknowledge");
        QVERIFY(m_service->getObservedSources().contains("ExtensionManager"));
    }

    void strangers_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QString>("line");
        QTest::newRow("wrong token") << request("login", {"Open Sesame"}, 1) << "wrong token";
        QTest::newRow("no token") << request("login", {}, 1) << "wrong token";
        QTest::newRow("no log-in") << request("registerObserver", {"Users"}) << "no log-in";
        QTest::newRow("garbage") << QByteArray("hello") << "no log-in";
        const QByteArray good = request("login", {token}, 1);
        QTest::newRow("key twice") << QByteArray(good).replace(0, 1, "{\"par\\u0061ms\":[],") << "no log-in";
        QTest::newRow("nested") << QByteArray(good).replace(0, 1, "{\"more\":[\"\\\"]\"],") << "no log-in";
        QTest::newRow("too long") << QByteArray(NotificationServer::longestLogin + 1, ' ') << QString();
    }

    void strangers()
    {
        QFETCH(QByteArray, first);
        QFETCH(QString, line);
        if (!line.isEmpty())
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(line));
        Peer peer(m_server->port());
        peer.send(first);
        peer.login();
        peer.messages(9);
        QTRY_VERIFY(peer.ended());
        QCOMPARE(m_server->clients(), 0);

        // Without a token nobody gets in.
        NotificationServer closed(*m_service, QString());
        QVERIFY(closed.listen(0));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("wrong token"));
        Peer guest(closed.port());
        guest.send(request("login", {QString()}, 1));
        QVERIFY(guest.messages(1).value(0).contains("error"));
    }

    void crowdOfStrangers()
    {
        std::vector<std::unique_ptr<Peer>> crowd;
        for (int i = 0; i < NotificationServer::mostStrangers; ++i)
            crowd.push_back(std::make_unique<Peer>(m_server->port()));
        QTRY_COMPARE(m_server->others(), int(NotificationServer::mostStrangers));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("too many connections without a log-in"));
        Peer late(m_server->port());
        late.login();
        QCOMPARE(late.messages(1).size(), 1);
        QTRY_VERIFY(std::any_of(crowd.begin(), crowd.end(), [](const auto& peer) { return peer->ended(); }));
        QCOMPARE(m_server->clients(), 1);
    }

    void silentStranger()
    {
        Peer peer(m_server->port());
        QTRY_COMPARE(m_server->others(), 1);
        auto* patience = m_server->findChild<NotificationClient*>()->findChild<QTimer*>();
        QCOMPARE(patience->interval(), int(NotificationServer::loginMs));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no log-in in time"));
        patience->start(1);
        QTRY_VERIFY(peer.ended());
    }

    void crowdOfClients()
    {
        std::vector<std::unique_ptr<Peer>> crowd;
        while (crowd.size() < NotificationServer::mostClients) {
            const size_t known = crowd.size();
            for (int i = 0; i < 50; ++i)
                crowd.push_back(std::make_unique<Peer>(m_server->port()));
            QTRY_COMPARE(m_server->others(), 50);
            std::for_each(crowd.begin() + qptrdiff(known), crowd.end(), [](const auto& peer) { peer->login(); });
            QTRY_COMPARE(m_server->clients(), int(crowd.size()));
        }
        const auto forgotten = std::make_shared<int>(0);
        m_server->setSessions([](const QString&, const QString&) { return true; },
                              [forgotten](const QString&) { ++*forgotten; });
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("too many clients"));
        Peer late(m_server->port());
        late.send(request("login", {"a session"}, 1));
        QVERIFY(late.messages(1).value(0).contains("error"));
        QTRY_VERIFY(late.ended());
        QCOMPARE(*forgotten, 1);
        QCOMPARE(m_server->clients(), int(NotificationServer::mostClients));
    }

    // The same at the API; the connections are plain, as from a balancer.
    void crowdsAtTheApi()
    {
        CSqlAccessControl model;
        QVERIFY(model.open("memory") && model.addLogin("anna", CItemId(31), "correct horse"));
        CAuditTrail trail(model.database());
        CApi api(&model, &trail, nullptr);
        FrontDoor door;
        door.setProxies({QHostAddress::parseSubnet("127.0.0.0/8")});
        QVERIFY(door.open(0));
        const ApiServer server(api, *m_service, door);
        const QByteArray header("\r\n\r\n\0\r\nQUIT\n\x20\0\0\0", 16);
        const auto clients = [&server] { return server.findChildren<NotificationClient*>().size(); };
        std::vector<std::unique_ptr<Peer>> crowd;
        const auto come = [&](const QByteArray& session) {
            crowd.push_back(std::make_unique<Peer>(door.serverPort(), false, header, session));
        };
        for (int i = 0; i < ApiServer::mostStrangers; ++i)
            come({});
        QTRY_COMPARE(clients(), int(ApiServer::mostStrangers));
        auto* patience = server.findChildren<NotificationClient*>().last()->findChild<QTimer*>();
        QCOMPARE(patience->interval(), 60000);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("too many connections without a log-in"));
        come({});
        QTRY_VERIFY(std::any_of(crowd.begin(), crowd.end(), [](const auto& peer) { return peer->ended(); }));
        QCOMPARE(clients(), int(ApiServer::mostStrangers));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no log-in in time"));
        patience->start(1);
        QTRY_COMPARE(clients(), ApiServer::mostStrangers - 1);
        crowd.clear();
        QTRY_COMPARE(clients(), 0);

        const QByteArray session = model.startSession("anna", {}, {}, nullptr).toLatin1();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("too many clients"));
        while (crowd.size() < ApiServer::mostClients + 1) {
            const size_t known = crowd.size();
            for (int i = 0; i < 143; ++i)
                come(session);
            QTRY_COMPARE(clients(), int(crowd.size()));
            std::for_each(crowd.begin() + qptrdiff(known), crowd.end(),
                          [](const auto& peer) { peer->send(request("getLoggedInId", {}, 1)); });
        }
        QTRY_COMPARE(clients(), int(ApiServer::mostClients));
        QCOMPARE(crowd.front()->messages(1).value(0).value("result").toString(), "31");
        QTRY_COMPARE(std::count_if(crowd.begin(), crowd.end(), [](const auto& peer) { return peer->ended(); }), 1);
    }

    // What a client registers is bounded, is nobody else's, and goes with it.
    void namesAndSources()
    {
        QSignalSpy registrations(m_service.get(), &CNotificationService::extensionRegistrationChanged);
        m_service->receiveMessage("host", "registerExtension", {"host's"}, 0);
        Peer peer(m_server->port());
        Peer other(m_server->port());
        peer.login();
        other.login();
        QCOMPARE(peer.messages(1).size() + other.messages(1).size(), 2);
        const auto code = [](Peer& asking, const char* method, const QJsonArray& params) {
            asking.send(request(method, params, 7));
            for (;;) {
                const auto messages = asking.messages(1);
                if (messages.isEmpty())
                    return -1;
                for (const QJsonObject& message : messages) {
                    if (!message.contains("method"))
                        return message.value("error").toObject().value("code").toInt();
                }
            }
        };
        QJsonArray sources;
        for (int i = 0; i < NotificationRequest::mostSources; ++i)
            sources.append(QString::number(i));
        QCOMPARE(code(peer, "registerObserver", QJsonArray{QJsonValue(sources)}), 0);
        QCOMPARE(code(peer, "registerObserver", QJsonArray{QJsonValue(sources)}), 0);
        QCOMPARE(code(peer, "registerObserver", {"one more"}), -32002);
        QCOMPARE(code(peer, "unregisterObserver", {"7"}), 0);
        QCOMPARE(code(peer, "registerObserver", {QString(NotificationRequest::longestName + 1, 'x')}), -32002);
        QCOMPARE(code(peer, "registerObserver", {"one more"}), 0);

        for (int i = 0; i < NotificationRequest::mostExtensions; ++i)
            QCOMPARE(code(peer, "registerExtension", {QString::number(i), "said of it"}), 0);
        QCOMPARE(code(peer, "registerExtension", {"0"}), 0);
        QCOMPARE(code(peer, "registerExtension", {"one more"}), -32002);
        QCOMPARE(code(other, "registerExtension", {QString(NotificationRequest::longestName + 1, 'x')}), -32002);
        for (const char* name : {"0", "host's"}) {
            QCOMPARE(code(other, "registerExtension", {name}), -32003);
            QCOMPARE(code(other, "unregisterExtension", {name}), -32003);
        }
        QCOMPARE(code(other, "unregisterExtension", {"nobody's"}), 0);
        registrations.clear();
        peer.socket.abort();
        QTRY_COMPARE(registrations.size(), int(NotificationRequest::mostExtensions));
        QCOMPARE(registrations.first(), (QVariantList{"1", false})); // "0" was registered again
        QCOMPARE(m_service->extensionHolder("host's"), "host");
        QCOMPARE(code(other, "registerExtension", {"0"}), 0);
        m_service->disconnectSubscriber("host");
    }

    // Whoever is told of a client may end the server: in the middle of its message, and when it is gone.
    void survivesItsDeletion()
    {
        for (const bool atTheEnd : {false, true}) {
            m_server.reset();
            init();
            const auto context = std::make_unique<QObject>();
            connect(m_service.get(), &CNotificationService::extensionRegistrationChanged, context.get(),
                    [&](const QString&, bool came) {
                        if (came != atTheEnd)
                            m_server.reset();
                    });
            Peer peer(m_server->port());
            peer.login();
            peer.send(request("registerExtension", {"bell"}, 2));
            peer.send(request("registerExtension", {"lamp"}, 3));
            peer.messages(atTheEnd ? 5 : 3);
            if (atTheEnd)
                peer.socket.abort();
            QTRY_VERIFY(!m_server);
            QVERIFY(m_service->extensionHolder("bell").isNull() && m_service->getObservedSources().isEmpty());
        }
        init();
    }

    // One that does not read is cut off, named in the log and told how much it missed; the others go on.
    void lagging_data()
    {
        QTest::addColumn<bool>("tls");
        QTest::addColumn<bool>("reads");
        for (const bool tls : {false, true}) {
            for (const bool reads : {false, true})
                QTest::addRow("TLS %d, reads %d", tls, reads) << tls << reads;
        }
    }
    void lagging()
    {
        QFETCH(bool, tls);
        QFETCH(bool, reads);
        FrontDoor door;
        if (tls) {
            DeviceCertificates authority;
            const DeviceCertificate own = authority.issue("000.123.457");
            QString error;
            QVERIFY2(door.setCertificate(own.certificateFile, own.keyFile, error), qPrintable(error));
            QVERIFY(door.open(0));
            connect(&door, &FrontDoor::webSocketRequested, this,
                    [this](QSslSocket* socket) { m_server->takeSocket(socket); });
        }
        const quint16 port = tls ? door.serverPort() : m_server->port();
        Peer lazy(port, tls);
        Peer eager(port, tls);
        for (Peer* peer : {&lazy, &eager}) {
            peer->login();
            peer->send(request("registerObserver", {"Devices"}));
            QCOMPARE(peer->messages(2).size(), 2);
        }
        QTest::ignoreMessage(
            QtWarningMsg,
            QRegularExpression(QStringLiteral(":%1 #. does not read fast enough").arg(lazy.socket.localPort())));
        const QVariantMap big{{"text", QString(50000, QChar(0xe4))}};
        int sent = 0;
        for (; m_server->clients() == 2 && sent < 500; ++sent) {
            m_service->notifyObservers("Devices", big);
            const QJsonObject message = eager.messages(1).value(0);
            QCOMPARE(message.value("seq").toInt(), sent + 2);
            QCOMPARE(message.value("params").toArray().toVariantList(), (QVariantList{"Devices", big}));
        }
        QCOMPARE(m_server->clients(), 1);
        m_service->notifyObservers("Devices", big);
        QCOMPARE(eager.messages(1).size(), 1);
        if (!reads) {
            QTRY_COMPARE_WITH_TIMEOUT(m_server->others(), 0, NotificationServer::partingMs + 1000);
            return;
        }
        lazy.socket.setReadBufferSize(0);
        const auto messages = lazy.messages(sent + 1);
        QVERIFY(messages.size() > 1 && messages.size() < sent);
        const QJsonObject last = messages.last();
        QCOMPARE(last.value("method").toString(), "lagging");
        const int dropped = last.value("params").toObject().value("dropped").toInt();
        QCOMPARE(messages.size() - 1 + dropped, sent);
        QCOMPARE(last.value("seq").toInt(), sent + 2);
    }

private:
    std::unique_ptr<CNotificationService> m_service;
    std::unique_ptr<NotificationServer> m_server;
};

QTEST_GUILESS_MAIN(TestNotificationServer)
#include "tst_notification_server.moc"
