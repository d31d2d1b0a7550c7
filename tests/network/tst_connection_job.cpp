#include <foundation/network/candidate_address_p.h>
#include <foundation/network/connection_job.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_connector_base.h>

#include <support/raw_web_socket.h>
#include <support/tcp_pair.h>
#include <support/transport_link.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QRegularExpression>
#include <QtCore/QTimer>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QNetworkReply>
#include <QtNetwork/QSslSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWebSockets/QWebSocket>

#include <functional>
#include <memory>

namespace {

// A connector that writes down what its jobs bring, and does then what the test asks for.
class Connector : public CDeviceConnectorBase
{
public:
    explicit Connector(bool useSsl = false, QNetworkAccessManager* manager = nullptr)
        : CDeviceConnectorBase(useSsl, manager)
    {
    }

    void onSendDataUsingUdp(const QHostAddress& address, quint16 port, bool& dataSent) override
    {
        events += QStringLiteral("udp %1").arg(CandidateAddress::toText(address, port));
        dataSent = sendsUdp;
        action(nullptr);
    }
    void onNewOutgoingConnection(QTcpSocket* socket) override
    {
        events += QLatin1String(qobject_cast<QSslSocket*>(socket) ? "ssl " : "tcp ")
                  + CandidateAddress::toText(socket->peerAddress(), socket->peerPort());
        lowDelay = socket->socketOption(QAbstractSocket::LowDelayOption).toInt() != 0;
        action(socket);
    }
    void onNewOutgoingWebSocketConnection(QWebSocket* socket, const QByteArray& data, const QString& url) override
    {
        events += QStringLiteral("web %1 %2").arg(url, QString::fromUtf8(data));
        lowDelay = socket->findChild<QTcpSocket*>()->socketOption(QAbstractSocket::LowDelayOption).toInt() != 0;
        action(socket);
    }

    // {whether a candidate led to a connection} at the end of a run of these.
    QVariantList run(const QStringList& candidates, const QString& path = QStringLiteral("/gw/x"))
    {
        QSignalSpy finished(this, &CDeviceConnectorBase::connectToAddressesFinished);
        connectToAddresses({candidates}, 0, true, path);
        if (finished.isEmpty())
            finished.wait();
        return finished.value(0);
    }

    QStringList events;
    bool sendsUdp = false;
    bool lowDelay = false;
    std::function<void(QObject* socket)> action = [](QObject*) {};
};

// What a group of candidates leads to. PORT is a listening port, DEAD one that refuses. The run ends by itself unless
// the peer completes it.
struct Attempt
{
    const char* candidates;
    bool useSsl;
    quint32 peer; // the id with which the connected peer completes the job; 0: nobody does
    const char* events;
    bool success = false;
};

// A web server that answers each request as told: with an upgrade, a fixed text, or not at all; with "SLOWLY" in front
// byte by byte.
class WebServer : public QTcpServer
{
public:
    explicit WebServer(const QByteArray& answer)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this, answer] {
            QTcpSocket* socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket, answer] {
                const QByteArray request = socket->readAll();
                if (!request.startsWith("GET "))
                    return; // a close frame
                requests += request.left(request.indexOf(" HTTP"));
                const bool slowly = answer.startsWith("SLOWLY");
                QByteArray text = answer.mid(slowly ? 6 : 0).replace("PORT", QByteArray::number(serverPort()));
                if (request.contains("Upgrade: websocket") && !answer.startsWith("HTTP/1.1 101"))
                    text = RawWebSocket::upgradeResponse(request)
                           + RawWebSocket::frame(RawWebSocket::Binary, "hello", false)
                           + RawWebSocket::frame(RawWebSocket::Text, "more", false);
                if (!slowly)
                    socket->write(text);
                socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                for (int i = 0; slowly && i < text.size(); ++i) {
                    const auto write = [socket, byte = char(text.at(i))] { socket->write(&byte, 1); };
                    QTimer::singleShot(i / 2, Qt::PreciseTimer, socket, write);
                }
            });
        });
    }

    QByteArrayList requests;
};

} // namespace

Q_DECLARE_METATYPE(Attempt)

class TestConnectionJob : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { ConnectionTiming::current() = ConnectionTiming(); }

    void candidateTexts()
    {
        using Kind = CandidateAddress::Kind;
        const struct
        {
            const char* text;
            Kind kind;
            const char* target;
            int port = 7;
        } rows[] = {
            {"", Kind::Nothing, ""},
            {"192.168.1.20", Kind::Address, "192.168.1.20"},
            {"192.168.1.20:4000", Kind::Address, "192.168.1.20", 4000},
            {"::1", Kind::Address, "::1"},
            {"[::1]", Kind::Address, "::1"},
            {"[2001:db8::5]:5000", Kind::Address, "2001:db8::5", 5000},
            {"broadcast", Kind::Address, "255.255.255.255"},
            {"255.255.255.255:9", Kind::Address, "255.255.255.255", 9},
            {"000.123.457", Kind::Label, "000.123.457"},
            {"door.example:80", Kind::HostName, "door.example", 80},
            {"http://door.example/", Kind::Url, ""},
            {"https://", Kind::Url, ""},
        };
        for (const auto& row : rows) {
            const auto candidate = CandidateAddress::parse(QString::fromLatin1(row.text), 7);
            QVERIFY2(candidate.kind == row.kind && candidate.port == row.port, row.text);
            const QString target = row.kind == Kind::Address ? candidate.address.toString()
                                   : row.kind == Kind::Label ? candidate.deviceId.toLabel()
                                                             : candidate.host;
            QCOMPARE(target, QString::fromLatin1(row.target));
        }
        for (const char* host : {"door.example", "Broadcast", "000.123.458", "1", "1.2.3", "010.0.0.1", "1.2.3.256",
                                 "door.example:http", "1.2.3.4:65536", "[::1]:x", "ftp://door.example/"}) {
            const auto candidate = CandidateAddress::parse(QString::fromLatin1(host), 7);
            QVERIFY2(candidate.kind == Kind::HostName && candidate.port == 7, host);
            QCOMPARE(candidate.host, QString::fromLatin1(host));
        }
    }

    void filtersGroups()
    {
        const QString label = CDeviceId(12345).toLabel();
        const auto list = [](const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); };
        const QVector<QStringList> groups{
            list("192.168.1.2") << label, list("8.8.8.8") << label, QStringList(label) + list("8.8.4.4"),
            list("10.1.1.1 172.16.0.1 172.31.9.9:80 broadcast 255.255.255.255:9") << QString(),
            list("172.32.0.1 11.0.0.1 127.0.0.1 ::ffff:10.0.0.1 host 1.2.3 http://10.0.0.1/")};
        const QVector<QStringList> expected{groups[1], list("8.8.4.4"), groups[4]};
        QCOMPARE(CDeviceConnectorBase::filterPrivateIpsAndBroadcast(groups), expected);
    }

    void listens()
    {
        QTcpServer taken;
        QVERIFY(taken.listen(QHostAddress::Any));
        const quint16 port = taken.serverPort();
        Connector connector;
        connector.enableTcpListening();
        QVERIFY(!connector.isListening());
        QTest::ignoreMessage(QtWarningMsg,
                             QByteArray("CDeviceConnector: TCP listening failed on port " + QByteArray::number(port)));
        connector.setTcpListeningPort(port);
        taken.close();
        QVERIFY(connector.getTcpListeningAddrs().isEmpty());
        connector.setTcpListeningPort(port);
        QVERIFY(connector.isListening());
        const qintptr descriptor = connector.socketDescriptor();
        connector.setTcpListeningPort(port);
        QCOMPARE(connector.socketDescriptor(), descriptor);
        const auto addresses = connector.getTcpListeningAddrs();
        for (const QString& address : addresses) {
            const auto candidate = CandidateAddress::parse(address, 0);
            QVERIFY2(candidate.kind == CandidateAddress::Kind::Address && candidate.port == port, qPrintable(address));
        }
        connector.setTcpListeningPort(0);
        QVERIFY(!connector.isListening());
    }

    void attempts_data()
    {
        QTest::addColumn<Attempt>("row");
        const auto row = [](const char* name, const Attempt& attempt) { QTest::newRow(name) << attempt; };
        row("TCP", {"127.0.0.1:PORT", false, 12345, "tcp 127.0.0.1:PORT", true});
        row("TLS", {"127.0.0.1:PORT", true, 12345, "ssl 127.0.0.1:PORT", true});
        row("IPv6", {"[::1]:PORT", false, 12345, "tcp [::1]:PORT", true});
        row("the next candidate",
            {"127.0.0.1:DEAD,127.0.0.1:PORT,8.8.8.8", false, 12345, "udp 127.0.0.1:DEAD,tcp 127.0.0.1:PORT", true});
        row("refused", {"127.0.0.1:DEAD,127.0.0.1:DEAD", false, 0, "udp 127.0.0.1:DEAD"});
        row("job's port is 0", {"127.0.0.1,[::1]", false, 0, "udp 127.0.0.1:0,udp [::1]:0"});
        row("broadcast", {"broadcast,255.255.255.255:7", false, 0, "udp 255.255.255.255:0,udp 255.255.255.255:7"});
        row("wanted device", {"127.0.0.1:PORT,000.123.457", false, 12345, "tcp 127.0.0.1:PORT", true});
        row("another device", {"127.0.0.1:PORT,000.123.457", false, 54321, "tcp 127.0.0.1:PORT,udp 127.0.0.1:PORT"});
        row("only a label", {"000.123.457", false, 0, ""});
        row("nothing of use", {",http://127.0.0.1:DEAD/,http://,http://127.0.0.1:DEAD/,", false, 0, ""});
        row("no candidates", {"", false, 0, ""});
    }
    void attempts()
    {
        QFETCH(Attempt, row);
        ConnectionTiming::current().step = 200;
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::Any));
        const QString dead = QString::number(freePort());
        const auto listOf = [&](const char* text) {
            return QString::fromLatin1(text)
                .replace(QLatin1String("PORT"), QString::number(server.serverPort()))
                .replace(QLatin1String("DEAD"), dead)
                .split(QLatin1Char(','));
        };
        QNetworkAccessManager manager;
        Connector connector(row.useSsl, &manager);
        connector.action = [&](QObject* socket) {
            if (auto* tcp = qobject_cast<QTcpSocket*>(socket); tcp && row.peer)
                connector.connectionJobCompleted(tcp->peerAddress(), CDeviceId(row.peer), QString());
        };
        QCOMPARE(connector.run(listOf(row.candidates)), QVariantList{row.success});
        QCOMPARE(connector.events.join(QLatin1Char(',')), listOf(row.events).join(QLatin1Char(',')));
        QVERIFY(connector.lowDelay || !row.success);
        QTest::qWait(0);
        QVERIFY(connector.findChildren<QObject*>().isEmpty());
    }

    // Each kind of attempt has the step's time, which is 5 s.
    void silentPeer()
    {
        QCOMPARE(ConnectionTiming::current().step, 5000);
        QCOMPARE(ConnectionTiming::current().probe, 2500);
        ConnectionTiming::current().step = 100;
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        Connector connector;
        connector.sendsUdp = true;
        QElapsedTimer time;
        time.start();
        QCOMPARE(connector.run({addressOf(server)}), QVariantList{false});
        QVERIFY(time.elapsed() >= 180);
        QCOMPARE(connector.events.size(), 2);
    }

    void hostNames()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::Any));
        const QString port = QString::number(server.serverPort());
        Connector connector;
        connector.action = [&](QObject* socket) {
            if (auto* tcp = qobject_cast<QTcpSocket*>(socket))
                connector.connectionJobCompleted(tcp->peerAddress(), CDeviceId(1), QString());
        };
        QList<QPair<QString, QHostAddress>> resolved;
        connect(&connector, &CDeviceConnectorBase::updateResolvedHostname, this,
                [&](const QString& host, const QHostAddress& address) {
                    resolved.append({host, address});
                });
        const QString missing = QStringLiteral("no.such.host.invalid"), localhost = QStringLiteral("localhost");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^ConnectionJob: Error for ") + missing));
        QCOMPARE(connector.run({missing, localhost + QLatin1Char(':') + port}), QVariantList{true});
        QVERIFY(resolved[0].first == missing && resolved[0].second.isNull());
        QVERIFY(resolved[1].first == localhost && resolved[1].second.isLoopback());
        QVERIFY(connector.events.last().endsWith(QLatin1Char(':') + port));
    }

    void urls_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QByteArray>("upgrade"); // the request line of the WebSocket
        const auto row = [](const char* name, const QByteArray& answer, const char* upgrade = "GET /a/gw/x") {
            QTest::newRow(name) << answer << QByteArray(upgrade);
        };
        row("web page", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
        row("error", "HTTP/1.1 404 No\r\nContent-Length: 0\r\n\r\n");
        row("redirect", "HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:PORT/b%20c/d///\r\nContent-Length: 0\r\n\r\n",
            "GET /b%20c/d/gw/x");
        row("relative, after an interim answer",
            "HTTP/1.1 103 Early\r\nLocation: http://a/\r\n\r\nHTTP/1.1 302 Found\nlocation : /else\x1b[2J\n\n");
        row("byte by byte", "SLOWLYHTTP/1.0 301 M\r\nLocation: http://127.0.0.1:PORT/e\r\n\r\n", "GET /e/gw/x");
        row("silent", "");
        row("garbage", QByteArray("\0\1\2\r\n\r\n", 7));
        row("endless", "HTTP/1.1 200 OK\r\n\r\n" + QByteArray(300000, 'x'));
        row("endless head", "HTTP/1.1 302 OK\r\n" + QByteArray("a: b\r\n").repeated(50000) + "Location: /z\r\n\r\n");
        row("endless line", "HTTP/1.1 302 OK\r\nLocation: http://" + QByteArray(300000, 'x'));
    }
    void urls()
    {
        QFETCH(QByteArray, answer);
        ConnectionTiming::current().probe = answer.isEmpty() ? 150 : 2500;
        WebServer server(answer);
        const QString url = QStringLiteral("http://%1/a/").arg(addressOf(server));
        auto manager = std::make_unique<QNetworkAccessManager>();
        Connector connector(false, manager.get());
        connector.action = [&](QObject* socket) {
            connect(static_cast<QWebSocket*>(socket), &QWebSocket::textMessageReceived, this, [&](const QString& text) {
                connector.events += text;
                connector.connectionJobCompleted(QHostAddress(), CDeviceId(), url);
            });
        };
        if (answer.contains("\x1b"))
            QTest::ignoreMessage(QtInfoMsg, "ConnectionJob: redirect to /else?[2J");
        QMetaObject::invokeMethod(
            this, [&] { manager.reset(); }, Qt::QueuedConnection); // is needed no longer
        QCOMPARE(connector.run({url}), QVariantList{true});
        QCOMPARE(connector.events, (QStringList{QStringLiteral("web %1 hello").arg(url), QStringLiteral("more")}));
        QCOMPARE(server.requests.first(), QByteArrayLiteral("GET /a/"));
        QTEST(server.requests.last(), "upgrade");
        QVERIFY(connector.lowDelay);
    }

    // A server gets no WebSocket when its answer has no end, or when the system does not trust its certificate.
    void refusedServers()
    {
        ConnectionTiming::current().probe = 150;
        WebServer endless("HTTP/1.1 101 Yes\r\n" + QByteArray("a: b\r\n").repeated(500000));
        TlsServer untrusted(TransportLink::localCertificate());
        const QString url = QStringLiteral("http://") + addressOf(endless);
        QNetworkAccessManager manager;
        Connector connector(false, &manager);
        QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("ConnectionJob: Too long an answer from ") + url));
        QTest::ignoreMessage(QtWarningMsg, "ConnectionJob: SSL errors");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral(R"(\[\d+\]$)")));
        QCOMPARE(connector.run({url, QStringLiteral("https://") + addressOf(untrusted)}), QVariantList{false});
        QVERIFY(connector.events.isEmpty());
    }

    // A peer whose connection nobody reads may send what it likes: little of it is taken.
    void streamingPeer()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        qint64 sent = 0;
        connect(&server, &QTcpServer::newConnection, this, [&] {
            QTcpSocket* peer = server.nextPendingConnection();
            peer->write(QByteArray(0x1000000, 'x'));
            connect(peer, &QTcpSocket::bytesWritten, this, [&](qint64 bytes) { sent += bytes; });
        });
        ConnectionTiming::current().step = 300;
        Connector connector;
        qint64 held = 0;
        connector.action = [&](QObject* socket) {
            auto* tcp = qobject_cast<QTcpSocket*>(socket);
            if (tcp)
                connect(tcp, &QTcpSocket::readyRead, this, [&held, tcp] { held = qMax(held, tcp->bytesAvailable()); });
        };
        QCOMPARE(connector.run({addressOf(server)}), QVariantList{false});
        QVERIFY(sent > held);
        QCOMPARE(held, qint64(0x4000));
    }

    // The same for messages: who sends one after the other without an end is not kept waiting for an owner.
    void streamingWebSocket()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        connect(&server, &QTcpServer::newConnection, this, [&] {
            QTcpSocket* peer = server.nextPendingConnection();
            connect(peer, &QTcpSocket::readyRead, this, [peer] {
                const QByteArray request = peer->readAll();
                const QByteArray messages = RawWebSocket::frame(RawWebSocket::Binary, QByteArray(200, 'x'), false)
                                            + RawWebSocket::frame(RawWebSocket::Binary, "x", false).repeated(100000);
                peer->write(request.contains("Upgrade: websocket") ? RawWebSocket::upgradeResponse(request) + messages
                                                                   : QByteArray("HTTP/1.1 404 No\r\n\r\n"));
                while (peer->bytesToWrite() > 0 && peer->waitForBytesWritten(100)) // all of it waits for the reader
                    continue;
            });
        });
        QNetworkAccessManager manager;
        Connector connector(false, &manager);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Too many messages at once from")));
        const QVariantList result = connector.run({QStringLiteral("http://") + addressOf(server)});
        QCOMPARE(result, QVariantList{false});
        QCOMPARE(connector.events.size(), 1);
    }

    void addressesFromWebService()
    {
        WebServer server("HTTP/1.1 200 OK\r\nContent-Length: 19\r\n\r\n 127.0.0.1:9,,::1\r\n");
        QNetworkAccessManager manager;
        Connector connector;
        ConnectionJob job({QStringLiteral("service"), QStringLiteral("127.0.0.9")}, 5, false, false, nullptr, {});
        connect(&job, &ConnectionJob::sendDataUsingUdp, &connector, &Connector::onSendDataUsingUdp);
        QSignalSpy finished(&job, &ConnectionJob::jobFinished);
        QTest::ignoreMessage(QtInfoMsg, "ConnectionJob: Received IP address:  127.0.0.1:9,,::1??");
        QPointer<QNetworkReply> reply =
            manager.get(QNetworkRequest(QUrl(QStringLiteral("http://") + addressOf(server))));
        connect(reply, &QNetworkReply::finished, &job, &ConnectionJob::onIpAddressReceived);
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(connector.events.join(QLatin1Char(' ')),
                 QStringLiteral("udp 127.0.0.1:9 udp [::1]:5 udp 127.0.0.9:5"));
        QTRY_VERIFY(reply.isNull());
    }

    void groupsRunTogether()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        ConnectionTiming::current().step = 300;
        Connector connector;
        connector.sendsUdp = true;
        connector.action = [&](QObject* socket) {
            if (socket)
                connector.connectionJobCompleted(QHostAddress(QStringLiteral("::ffff:127.0.0.1")), CDeviceId(12345),
                                                 QString());
        };
        QSignalSpy finished(&connector, &CDeviceConnectorBase::connectToAddressesFinished);
        connector.connectToAddresses({}, 0, true, QString());
        QVERIFY(finished.isEmpty());
        const QString wanted = CDeviceId(12345).toLabel(), label = CDeviceId(5).toLabel();
        connector.connectToAddresses({{label}, {addressOf(server), wanted}, {}, {QStringLiteral("127.0.0.2")}}, 0, true,
                                     QString());
        QTRY_COMPARE(finished.value(0), QVariantList{true});
        QCOMPARE(connector.run({label}), QVariantList{false}); // a new run starts afresh
        connector.connectToAddresses({{QStringLiteral("127.0.0.2")}}, 0, true, QString());
        connector.abortConnectToAddresses();
        QTest::qWait(0);
        QVERIFY(connector.findChildren<ConnectionJob*>().isEmpty());
        QCOMPARE(finished.count(), 2);
    }

    void longLists()
    {
        QStringList labels, nothing, twice, addresses, names;
        for (int i = 1; i <= 50000; ++i) {
            labels += CDeviceId(quint32(i)).toLabel();
            nothing += QString();
            twice += QStringLiteral("10.0.0.1");
            addresses += QHostAddress(0x0A000000u + quint32(i)).toString();
            names += QStringLiteral("http://a/%1").arg(i % 7);
        }
        for (const QStringList& candidates : {labels, nothing, twice, addresses, names}) {
            Connector connector; // without a network access manager: URLs lead nowhere
            QElapsedTimer time;
            time.start();
            QCOMPARE(connector.run(candidates), QVariantList{false});
            QVERIFY2(time.elapsed() < 4000, qPrintable(candidates[0] + QString::number(time.elapsed())));
        }
    }

    // Within each signal a receiver aborts the run, deletes the socket, or deletes the connector.
    void receiversAct_data()
    {
        QTest::addColumn<QString>("candidate");
        QTest::addColumn<QByteArray>("deed");
        for (const char* candidate : {"localhost:PORT", "10.0.0.1"}) {
            for (const char* deed : {"abort", "delete socket", "delete connector"})
                QTest::addRow("%s: %s", candidate, deed) << QString::fromLatin1(candidate) << QByteArray(deed);
        }
    }
    void receiversAct()
    {
        QFETCH(QString, candidate);
        QFETCH(QByteArray, deed);
        const int ends = deed == "delete socket" ? 1 : 0; // then the step's time ends the attempt
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::Any));
        candidate.replace(QLatin1String("PORT"), QString::number(server.serverPort()));
        ConnectionTiming::current().step = 100;
        QPointer<Connector> connector = new Connector;
        connector->sendsUdp = true;
        int deeds = 0;
        int finished = 0;
        const auto act = [&](QObject* socket) {
            ++deeds;
            if (deed == "abort")
                connector->abortConnectToAddresses();
            else if (deed == "delete socket")
                delete socket;
            else
                delete connector;
        };
        connector->action = [&act](QObject* socket) { act(socket); };
        connect(connector, &CDeviceConnectorBase::updateResolvedHostname, this, [&] { act(nullptr); });
        connect(connector, &CDeviceConnectorBase::connectToAddressesFinished, this, [&] {
            ++finished;
            delete connector;
        });
        connector->connectToAddresses({{candidate}, {candidate}}, 0, true, QString());
        QTRY_VERIFY(deeds > 0);
        QTRY_COMPARE(finished, ends);
        QTest::qWait(50);
        QCOMPARE(finished, ends);
        delete connector;
    }
};

QTEST_GUILESS_MAIN(TestConnectionJob)
#include "tst_connection_job.moc"
