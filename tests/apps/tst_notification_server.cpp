#include "front_door.h"
#include "notification_client.h"
#include "notification_server.h"

#include <foundation/services/notification_service.h>

#include <support/device_certificates.h>
#include <support/raw_web_socket.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtNetwork/QSslSocket>
#include <QtTest/QtTest>

namespace {

const QString token = QStringLiteral("open \u201esesame\u201c");

QByteArray request(const char* method, const QJsonArray& params, const QJsonValue& id = QJsonValue::Undefined)
{
    QJsonObject object{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                       {QStringLiteral("method"), QLatin1String(method)},
                       {QStringLiteral("params"), params}};
    if (!id.isUndefined())
        object.insert(QStringLiteral("id"), id);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A client that sends what it is told, and reads only when it is told to.
class Peer
{
public:
    explicit Peer(quint16 port, bool tls = false)
    {
        socket.setReadBufferSize(4096);
        socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        if (tls)
            socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
        else
            socket.connectToHost(QStringLiteral("127.0.0.1"), port);
        socket.write(RawWebSocket::upgradeRequest("/notifications"));
        // Frames may follow only when the server has answered.
        (void)QTest::qWaitFor([this] { return (buffer += socket.readAll()).contains("\r\n\r\n"); });
        buffer.remove(0, buffer.indexOf("\r\n\r\n") + 4);
    }
    void send(const QByteArray& text) { socket.write(RawWebSocket::frame(RawWebSocket::Text, text, true)); }
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
};

} // namespace

class TestNotificationServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void pythonClient();
    void requests();
    void strangers_data();
    void strangers();
    void crowdOfStrangers();
    void silentStranger();
    void lagging_data();
    void lagging();

private:
    std::unique_ptr<CNotificationService> m_service;
    std::unique_ptr<NotificationServer> m_server;
};

void TestNotificationServer::init()
{
    m_service = std::make_unique<CNotificationService>();
    m_server = std::make_unique<NotificationServer>(*m_service, token);
    QVERIFY(m_server->listen(0));
}

void TestNotificationServer::cleanup()
{
    QTRY_COMPARE(m_server->clients(), 0);
    QTRY_COMPARE(m_server->others(), 0);
    QVERIFY(m_service->getObservedSources().isEmpty());
    m_server.reset();
}

void TestNotificationServer::pythonClient()
{
    const auto run = [&](QProcess& process, const QString& withToken) {
        process.start(QStringLiteral("/usr/bin/python3"),
                      {QStringLiteral(KYR_TEST_DIR "/notification_client.py"), QStringLiteral("--count"),
                       QStringLiteral("4"), QStringLiteral("ws://127.0.0.1:%1/notifications").arg(m_server->port()),
                       withToken, QStringLiteral("Devices"), QStringLiteral("Users")});
    };
    QProcess client;
    run(client, token);
    QTRY_VERIFY_WITH_TIMEOUT(m_service->getObservedSources().contains(QStringLiteral("Devices")), 6000);
    const QVariantMap came{{QStringLiteral("event"), QStringLiteral("came")},
                           {QStringLiteral("device"), QStringLiteral("000.123.457")}};
    m_service->notifyObservers(QStringLiteral("Doors"), came);
    m_service->notifyObservers(QStringLiteral("Devices"), came);
    m_service->notifyObserversWithMethod(QStringLiteral("alarm"), QStringLiteral("Users"),
                                         {{QStringLiteral("text"), QString(70000, QChar(0xe4))}});
    m_service->sendAboutToQuitObservers();
    QTRY_COMPARE_WITH_TIMEOUT(client.state(), QProcess::NotRunning, 6000);
    QCOMPARE(client.exitCode(), 0);
    const QList<QByteArray> lines = client.readAllStandardOutput().trimmed().split('\n');
    QCOMPARE(lines.size(), 4);
    const QJsonObject notify = QJsonDocument::fromJson(lines[1]).object();
    QCOMPARE(notify.value(QStringLiteral("method")).toString(), QStringLiteral("notify"));
    QCOMPARE(notify.value(QStringLiteral("params")).toArray().toVariantList(),
             (QVariantList{QStringLiteral("Devices"), came}));
    QCOMPARE(notify.value(QStringLiteral("seq")).toInt(), 2);

    QProcess intruder;
    run(intruder, QStringLiteral("wrong"));
    QTRY_COMPARE_WITH_TIMEOUT(intruder.state(), QProcess::NotRunning, 6000);
    QCOMPARE(intruder.exitCode(), 1);
}

void TestNotificationServer::requests()
{
    Peer peer(m_server->port());
    peer.login();
    peer.send(request("login", {QStringLiteral("again")}, 2));
    peer.send("{not json");
    peer.send("{\"id\":3}");
    peer.send(request("quit", {1}, QStringLiteral("four")));
    peer.send(request("registerObserver", {}, 5));
    peer.send(request("registerExtension", {QStringLiteral("bell")}, 6));
    const auto messages = peer.messages(8);
    QStringList summary;
    for (const QJsonObject& message : messages) {
        summary.append(
            message.value(QStringLiteral("id")).toVariant().toString() + QLatin1Char(':')
            + QString::number(message.value(QStringLiteral("error")).toObject().value(QStringLiteral("code")).toInt())
            + message.value(QStringLiteral("method")).toString());
    }
    QCOMPARE(summary.join(QLatin1Char(' ')),
             QStringLiteral("1:0 2:0 :-32700 3:-32600 four:-32601 5:-32602 6:0 :0acknowledge"));
    QVERIFY(m_service->getObservedSources().contains(QStringLiteral("ExtensionManager")));
}

void TestNotificationServer::strangers_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QString>("line");
    QTest::newRow("wrong token") << request("login", {QStringLiteral("Open Sesame")}, 1)
                                 << QStringLiteral("wrong token");
    QTest::newRow("no token") << request("login", {}, 1) << QStringLiteral("wrong token");
    QTest::newRow("no log-in") << request("registerObserver", {QStringLiteral("Users")}) << QStringLiteral("no log-in");
    QTest::newRow("garbage") << QByteArray("hello") << QStringLiteral("no log-in");
    QTest::newRow("too long") << QByteArray(NotificationServer::longestLogin + 1, ' ') << QString();
}

void TestNotificationServer::strangers()
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
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("wrong token")));
    Peer guest(closed.port());
    guest.send(request("login", {QString()}, 1));
    QVERIFY(guest.messages(1).value(0).contains(QStringLiteral("error")));
}

void TestNotificationServer::crowdOfStrangers()
{
    std::vector<std::unique_ptr<Peer>> crowd;
    for (int i = 0; i < NotificationServer::mostStrangers; ++i)
        crowd.push_back(std::make_unique<Peer>(m_server->port()));
    QTRY_COMPARE(m_server->others(), int(NotificationServer::mostStrangers));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("too many wait")));
    Peer late(m_server->port());
    late.login();
    QCOMPARE(late.messages(1).size(), 1);
    QTRY_VERIFY(std::any_of(crowd.begin(), crowd.end(), [](const auto& peer) { return peer->ended(); }));
    QCOMPARE(m_server->clients(), 1);
}

void TestNotificationServer::silentStranger()
{
    Peer peer(m_server->port());
    QTRY_COMPARE(m_server->others(), 1);
    auto* client = m_server->findChild<NotificationClient*>();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no log-in in time")));
    Q_EMIT client->timeout();
    QTRY_VERIFY(peer.ended());
}

void TestNotificationServer::lagging_data()
{
    QTest::addColumn<bool>("tls");
    QTest::addColumn<bool>("reads");
    QTest::newRow("reads late") << false << true;
    QTest::newRow("never reads") << false << false;
    QTest::newRow("reads late, TLS") << true << true;
    QTest::newRow("never reads, TLS") << true << false;
}

// One that does not read is cut off, named in the log and told how much it missed; the others go on.
void TestNotificationServer::lagging()
{
    QFETCH(bool, tls);
    QFETCH(bool, reads);
    const QString devices = QStringLiteral("Devices");
    FrontDoor door;
    if (tls) {
        DeviceCertificates authority;
        const DeviceCertificate own = authority.issue(QStringLiteral("000.123.457"));
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
        peer->send(request("registerObserver", {devices}));
        QCOMPARE(peer->messages(2).size(), 2);
    }
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral(":%1 #. lags").arg(lazy.socket.localPort())));
    const QVariantMap big{{QStringLiteral("text"), QString(100000, QLatin1Char('x'))}};
    int sent = 0;
    for (; m_server->clients() == 2 && sent < 500; ++sent) {
        m_service->notifyObservers(devices, big);
        QCOMPARE(eager.messages(1).value(0).value(QStringLiteral("seq")).toInt(), sent + 2);
    }
    QCOMPARE(m_server->clients(), 1);
    m_service->notifyObservers(devices, big);
    QCOMPARE(eager.messages(1).size(), 1);
    if (!reads) {
        QTRY_COMPARE_WITH_TIMEOUT(m_server->others(), 0, NotificationServer::partingMs + 1000);
        return;
    }
    lazy.socket.setReadBufferSize(0);
    const auto messages = lazy.messages(sent + 1);
    QVERIFY(messages.size() > 1 && messages.size() < sent);
    const QJsonObject last = messages.last();
    QCOMPARE(last.value(QStringLiteral("method")).toString(), QStringLiteral("lagging"));
    const int dropped = last.value(QStringLiteral("params")).toObject().value(QStringLiteral("dropped")).toInt();
    QCOMPARE(messages.size() - 1 + dropped, sent);
    QCOMPARE(last.value(QStringLiteral("seq")).toInt(), sent + 2);
}

QTEST_GUILESS_MAIN(TestNotificationServer)
#include "tst_notification_server.moc"
