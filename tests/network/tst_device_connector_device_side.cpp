#include <foundation/core/json_parser.h>
#include <foundation/network/connection_job.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/device_connector_device_side.h>
#include <foundation/network/ssl_connection.h>

#include <kyr_crypto/crypto_service.h>

#include <support/device_certificates.h>
#include <support/raw_web_socket.h>
#include <support/tcp_pair.h>

#include <QtCore/QDateTime>
#include <QtCore/QPointer>
#include <QtCore/QRegularExpression>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpSocket>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWebSockets/QWebSocket>

#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr char deviceInfo[] = "DISCOVERY RESULT DeviceInfo\r\nDeviceType: 41\r\nDeviceId: 12345\r\nSystemId: 1\r\n";
// A device that takes over every socket it is offered, unless told to do something else with it.
class Device : public CDeviceConnectorDeviceSide
{
public:
    explicit Device(bool useSsl, QNetworkAccessManager* manager = nullptr)
        : CDeviceConnectorDeviceSide(0, useSsl, manager)
    {
        setDeviceId(12345);
        setDeviceType(41);
        setSystemId(1);
        setTcpListeningPort(freePort());
        connect(this, &CDeviceConnectorDeviceSide::isIncomingConnectionAccepted, this,
                [this](bool& accepted) { accepted = welcome; });
        connect(this, &CDeviceConnectorDeviceSide::newTcpConnectionToApplication, this,
                [this](QTcpSocket* socket, bool outgoing) {
                    sockets += outgoing ? "out" : "in";
                    deed(socket);
                });
        connect(this, &CDeviceConnectorDeviceSide::newWebSocketConnectionToApplication, this,
                [this](QWebSocket* socket, const QString& address) {
                    sockets += address.toUtf8();
                    deed(socket);
                });
    }

    // Calls the application; {whether a candidate led to it} at the end of the run.
    QVariantList call(const QString& candidate)
    {
        QSignalSpy finished(this, &CDeviceConnectorBase::connectToAddressesFinished);
        connectToApplication({candidate});
        if (finished.isEmpty())
            finished.wait();
        return finished.value(0);
    }

    bool welcome = true;
    QByteArrayList sockets;
    QObject owner;
    std::function<void(QObject*)> deed = [this](QObject* socket) { socket->setParent(&owner); };
};

// The application's end, byte for byte: plain TCP, and WebSocket on the same port.
class RawApplication : public QTcpServer
{
public:
    explicit RawApplication(const QByteArray& challenge = {})
    {
        listen(QHostAddress::Any);
        connect(this, &QTcpServer::newConnection, this, [this, challenge] {
            QTcpSocket* socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket, challenge] { read(socket, challenge); });
        });
    }
    QString url() const { return QStringLiteral("http://%1/").arg(addressOf(*this)); }

    QByteArrayList requestLines;
    QByteArray received; // outside WebSockets
    QByteArrayList answers;
    QByteArray behindChallenge;
    QByteArray acceptance = RawWebSocket::frame(RawWebSocket::Binary, "OK", false);

private:
    void read(QTcpSocket* socket, const QByteArray& challenge)
    {
        QByteArray data = socket->readAll();
        if (data.startsWith("GET ")) {
            requestLines += data.left(data.indexOf('\r'));
            const bool upgrade = data.contains("Upgrade: websocket");
            socket->write(upgrade ? RawWebSocket::upgradeResponse(data)
                                  : QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"));
            if (upgrade && !challenge.isEmpty())
                socket->write(RawWebSocket::frame(RawWebSocket::Binary, challenge, false));
            if (upgrade && !behindChallenge.isEmpty()) {
                socket->setReadBufferSize(1); // reads no more
                socket->write(behindChallenge);
            }
            socket->setProperty("web", upgrade);
        } else if (socket->property("web").toBool()) {
            const auto frames = RawWebSocket::takeFrames(data);
            for (const auto& frame : frames) {
                if (frame.first != RawWebSocket::Binary)
                    continue;
                answers += frame.second;
                socket->write(acceptance);
            }
        } else {
            received += data;
        }
    }
};

} // namespace

class TestDeviceConnectorDeviceSide : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_own = m_authority.issue(QStringLiteral("000.123.457"));
        m_plain = QSslConfiguration::defaultConfiguration();
    }
    void init()
    {
        ConnectionTiming::current() = ConnectionTiming();
        QSslConfiguration::setDefaultConfiguration(m_own.configuration());
    }
    void cleanup() { QSslConfiguration::setDefaultConfiguration(m_plain); }

    void answersAChallenge_data()
    {
        QTest::addColumn<bool>("installed");
        QTest::newRow("installed") << true;
        QTest::newRow("no system, no certificate") << false;
    }
    void answersAChallenge()
    {
        QFETCH(bool, installed);
        if (!installed)
            QSslConfiguration::setDefaultConfiguration(m_plain);
        QNetworkAccessManager manager;
        Device device(false, &manager);
        device.setSystemId(installed ? 1 : 0);
        RawApplication application(
            "{\"random\": \"0123456789abcdef\", \"time\": \"2026-01-01T00:00:00Z\", \"more\": 7}");
        // Messages of any size right behind the acceptance belong to the new owner, and reach it in their order.
        const QByteArray large(100000, 'x');
        application.acceptance += RawWebSocket::frame(RawWebSocket::Binary, "first", false)
                                  + RawWebSocket::frame(RawWebSocket::Text, "text", false)
                                  + RawWebSocket::frame(RawWebSocket::Binary, large, false);
        QByteArrayList messages;
        device.deed = [&](QObject* socket) {
            socket->setParent(&device.owner);
            connect(static_cast<QWebSocket*>(socket), &QWebSocket::binaryMessageReceived, this,
                    [&](const QByteArray& message) { messages += message; });
            connect(static_cast<QWebSocket*>(socket), &QWebSocket::textMessageReceived, this,
                    [&](const QString& message) { messages += message.toUtf8(); });
        };
        QCOMPARE(device.call(application.url()), QVariantList{true});
        QCOMPARE(device.sockets, QByteArrayList{application.url().toUtf8()});
        QCOMPARE(application.requestLines.last(), QByteArray(installed ? "GET /gw/000.123.457/41/0000.0011 HTTP/1.1"
                                                                       : "GET /gw/000.123.457/41 HTTP/1.1"));
        QTRY_COMPARE(messages, (QByteArrayList{"first", "text", large}));
        QTRY_VERIFY(device.findChildren<ConnectionJob*>().isEmpty());

        QCOMPARE(application.answers.size(), 1);
        const QVariantMap answer = CJsonParser::deserialize(QString::fromUtf8(application.answers[0]), nullptr, false);
        const QString challengeText = answer[QStringLiteral("challenge")].toString();
        const QVariantMap challenge = CJsonParser::deserialize(challengeText, nullptr, false);
        QCOMPARE(challenge[QStringLiteral("random")].toString(), QStringLiteral("0123456789abcdef"));
        QCOMPARE(challenge[QStringLiteral("deviceid")].toString(), QStringLiteral("000.123.457"));
        QCOMPARE(challenge[QStringLiteral("serverip")].toString(), QStringLiteral("127.0.0.1"));
        QCOMPARE(challenge[QStringLiteral("more")].toInt(), 7);
        QVERIFY(qAbs(challenge[QStringLiteral("time")].toDateTime().secsTo(QDateTime::currentDateTimeUtc())) < 5);
        QCOMPARE(answer.size(), installed ? 3 : 1);
        if (installed) {
            QCOMPARE(answer[QStringLiteral("certificate")].toByteArray(), m_own.certificate().toPem());
            QVERIFY(CCryptoService::verifyRsaSign(
                challengeText.toUtf8(), QByteArray::fromBase64(answer[QStringLiteral("signature")].toByteArray()),
                m_own.certificate().publicKey().toDer()));
        }
    }

    // What is no challenge gets no answer, nor does what would let a server write more than an entry into the signed
    // text; the job ends when its time is up.
    void noChallenge()
    {
        ConnectionTiming::current().step = 100;
        QByteArray seventeen;
        for (char key = 'a'; key < 'q'; ++key)
            seventeen += QByteArray(", 'x") + key + "': 1";
        const auto with = [](const QByteArray& more) -> QByteArray { return "{'random': '0123456789'" + more + "}"; };
        const QByteArrayList challenges{"{'random': '0123456'}",
                                        "{'time': 5}",
                                        "hello",
                                        with(seventeen),
                                        with(", 'a': '" + QByteArray(1000, 'x') + "'"),
                                        with(", 'zz': '[1], \\'serverip\\': \\'10.0.0.1\\''"),
                                        with(", 'zz': {'serverip': '10.0.0.1'}"),
                                        with(", 'zz': '5b:31:5d:2c'"),
                                        with(", 'zz': 'ef:bb:bf:7b'"),
                                        with(", '%3%3': 'x'"),
                                        with(", 'a\\': \\'1': 'x'"),
                                        with(", '': 'x'")};
        for (QByteArray challenge : challenges) {
            challenge.replace('\'', '"');
            QNetworkAccessManager manager;
            Device device(false, &manager);
            RawApplication application(challenge);
            QCOMPARE(device.call(application.url()), QVariantList{false});
            QVERIFY2(application.answers.isEmpty() && device.sockets.isEmpty(), challenge);
        }
    }

    // A server that pings and reads no answer, before it has sent a challenge and after.
    void pingsWithoutEnd()
    {
        const QByteArray ping = RawWebSocket::frame(RawWebSocket::Ping, QByteArray(125, 'x'), false);
        for (const QByteArray challenge : {"", "{\"random\": \"0123456789\"}"}) {
            RawApplication application(challenge);
            application.behindChallenge = ping.repeated(80000);
            application.acceptance.clear();
            QNetworkAccessManager manager;
            Device device(false, &manager);
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Unread answers at http")));
            QCOMPARE(device.call(application.url()), QVariantList{false});
        }
    }

    void callsByTcp()
    {
        Device device(false);
        RawApplication application;
        QCOMPARE(device.call(addressOf(application)), QVariantList{true});
        QCOMPARE(device.sockets, QByteArrayList{"out"});
        QTRY_COMPARE(application.received, QByteArray(deviceInfo));
        QCOMPARE(device.call(QStringLiteral("127.0.0.1")), QVariantList{false}); // the port is missing
    }

    void calledByTcp()
    {
        Device device(false);
        QTcpSocket application;
        application.connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
        QTRY_COMPARE(device.sockets, QByteArrayList{"in"});
        QVERIFY(device.owner.findChild<QTcpSocket*>()->socketOption(QAbstractSocket::LowDelayOption).toInt() != 0);
        application.abort();
        QTRY_VERIFY(!device.owner.findChild<QTcpSocket*>());
        device.deed = [](QObject*) {}; // nobody takes it over
        application.connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
        QVERIFY(application.waitForConnected());
        QTRY_COMPARE(application.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(device.sockets.size(), 2);
    }

    // A query of another system goes unanswered; TLS begins all the same.
    void calledByTls()
    {
        Device device(true);
        QSslSocket application;
        application.setPeerVerifyMode(QSslSocket::VerifyNone);
        application.connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
        application.write("DISCOVERY GET DeviceInfo\r\nDeviceType: 41\r\nSystemId: 2\r\n");
        QTest::qWait(50);
        QVERIFY(application.readAll().isEmpty() && device.sockets.isEmpty());
        application.startClientEncryption();
        QTRY_COMPARE(device.sockets, QByteArrayList{"in"});
        QCOMPARE(application.peerCertificate(), m_own.certificate());

        // The link takes no place from those whose TLS is not up.
        std::vector<std::unique_ptr<QTcpSocket>> silent(ConnectionLimits::startingConnections);
        for (auto& socket : silent) {
            socket = std::make_unique<QTcpSocket>();
            socket->connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
        }
        const auto starting = [&] { return device.findChildren<QSslSocket*>().size(); };
        QTRY_COMPARE(starting(), ConnectionLimits::startingConnections);
        QTest::qWait(20);
        QCOMPARE(application.state(), QAbstractSocket::ConnectedState);
    }

    // Callers that are not welcome, say nothing, or talk nonsense.
    void strangers()
    {
        QCOMPARE(ConnectionTiming::current().refused, 60000);
        QCOMPARE(ConnectionTiming::current().tls, 10000);
        ConnectionTiming::current().refused = 150;
        ConnectionTiming::current().tls = 150;
        Device device(true);
        const int idle = device.findChildren<QObject*>().size();
        QTcpSocket silent;
        silent.connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("Dropped connection of .* due to TLS handshake timeout")));
        QTRY_COMPARE(silent.state(), QAbstractSocket::ConnectedState);
        QTRY_COMPARE(silent.state(), QAbstractSocket::UnconnectedState);

        QTcpSocket garbage;
        garbage.connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
        garbage.write(QByteArray(5000, 'x'));
        QVERIFY(garbage.waitForConnected());
        QTRY_COMPARE(garbage.state(), QAbstractSocket::UnconnectedState);

        // Whoever is refused is neither answered nor closed before his time.
        device.welcome = false;
        QTcpSocket refused;
        refused.connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
        const auto isClosed = [&] { return refused.state() == QAbstractSocket::UnconnectedState; };
        QVERIFY(!QTest::qWaitFor(isClosed, 100));
        QTRY_VERIFY(isClosed());

        // The oldest go when there are too many of them.
        ConnectionTiming::current().refused = 60000;
        std::vector<std::unique_ptr<QTcpSocket>> many;
        for (int i = 0; i < ConnectionLimits::refusedConnections + 10; ++i) {
            many.push_back(std::make_unique<QTcpSocket>());
            many.back()->connectToHost(QHostAddress(QHostAddress::LocalHost), device.serverPort());
            QTest::qWait(0);
        }
        const auto left = [&] {
            return std::count_if(many.begin(), many.end(),
                                 [](const auto& socket) { return socket->state() == QAbstractSocket::ConnectedState; });
        };
        QTRY_COMPARE(int(left()), ConnectionLimits::refusedConnections);
        QVERIFY(many.front()->state() != QAbstractSocket::ConnectedState);
        many.clear();
        QTRY_COMPARE(device.findChildren<QObject*>().size(), idle);
        QVERIFY(device.sockets.isEmpty());
    }

    // A receiver deletes the socket or the connector, or ends the run, from within each signal that hands one out.
    void receiversAct_data()
    {
        QTest::addColumn<QByteArray>("way");
        QTest::addColumn<QByteArray>("deed");
        for (const char* way : {"tcp out", "tls in", "tcp in", "web"}) {
            for (const char* deed : {"delete socket", "delete device", "abort run", "nothing", "take long"})
                QTest::addRow("%s: %s", way, deed) << QByteArray(way) << QByteArray(deed);
        }
    }
    void receiversAct()
    {
        QFETCH(QByteArray, way);
        QFETCH(QByteArray, deed);
        ConnectionTiming::current().step = way != "web" ? 200 : deed == "take long" ? 300 : 1500;
        QNetworkAccessManager manager;
        RawApplication application("{\"random\": \"0123456789abcdef\"}");
        QPointer<Device> device = new Device(way.startsWith("tls"), &manager);
        int deeds = 0;
        device->deed = [&, deed](QObject* socket) {
            ++deeds;
            const auto hold = deed; // the device takes this function with it
            if (hold == "delete socket")
                delete socket;
            else if (hold == "abort run")
                device->abortConnectToAddresses();
            else if (hold == "take long") // with an event loop of its own, until the attempt's time is long over
                QTest::qWait(3 * ConnectionTiming::current().step), socket->setParent(&device->owner);
            else if (hold == "delete device")
                QMetaObject::invokeMethod(
                    socket, [&] { delete device; }, Qt::DirectConnection);
        };
        QSignalSpy finished(device.data(), &CDeviceConnectorBase::connectToAddressesFinished);
        QSslSocket caller;
        caller.setPeerVerifyMode(QSslSocket::VerifyNone);
        if (way == "tcp out")
            device->connectToApplication({addressOf(application)});
        else if (way == "web")
            device->connectToApplication({application.url()});
        else if (way == "tls in")
            caller.connectToHostEncrypted(QStringLiteral("127.0.0.1"), device->serverPort());
        else
            caller.connectToHost(QStringLiteral("127.0.0.1"), device->serverPort());
        QTRY_VERIFY(deeds > 0);
        if (!way.endsWith("in") && (deed == "nothing" || deed == "delete socket"))
            QTRY_COMPARE(finished.value(0), QVariantList{false});
        if (!way.endsWith("in") && deed == "take long")
            QTRY_COMPARE(finished.value(0), QVariantList{true});
        QTest::qWait(20);
        delete device;
    }

    // Both ends of the library by TCP: they tell who they are in plain text, then the device is the TLS server.
    void bothEndsByTcp_data()
    {
        QTest::addColumn<bool>("deviceCalls");
        QTest::newRow("device calls") << true;
        QTest::newRow("console calls") << false;
    }
    void bothEndsByTcp()
    {
        QFETCH(bool, deviceCalls);
        CDeviceConnectorAppSide console(0, true, true);
        console.setTcpListeningPort(freePort());
        console.setSystemId(1);
        Device device(true);
        QByteArray received;
        device.deed = [&](QObject* object) {
            object->setParent(&device.owner);
            auto* socket = static_cast<QSslSocket*>(object);
            socket->write("welcome");
            connect(socket, &QSslSocket::readyRead, this, [&received, socket] { received += socket->readAll(); });
        };
        QPointer<QSslSocket> link;
        connect(&console, &CDeviceConnectorAppSide::deviceInfoReceived, this,
                [&](const QHostAddress&, quint16, const CDeviceId& id, const CSystemId&, int, QTcpSocket* socket) {
                    QCOMPARE(id, CDeviceId(12345));
                    link = qobject_cast<QSslSocket*>(socket);
                    QVERIFY(link);
                    link->setPeerVerifyMode(QSslSocket::VerifyNone);
                    link->startClientEncryption();
                    link->write("hello");
                });
        CDeviceConnectorBase& caller = deviceCalls ? static_cast<CDeviceConnectorBase&>(device) : console;
        QSignalSpy finished(&caller, &CDeviceConnectorBase::connectToAddressesFinished);
        if (deviceCalls)
            device.connectToApplication({addressOf(console)});
        else
            console.connectToDevices({{addressOf(device), QStringLiteral("000.123.457")}});
        QTRY_COMPARE(received, QByteArray("hello"));
        QTRY_COMPARE(finished.value(0), QVariantList{true});
        QCOMPARE(device.sockets, QByteArrayList{deviceCalls ? "out" : "in"});
        QTRY_COMPARE(link->bytesAvailable(), 7);
        QCOMPARE(link->readAll(), QByteArray("welcome"));
        QVERIFY(CSslConnection::checkDeviceCertificate(link->peerCertificate(), CDeviceId(12345)));
        QTRY_VERIFY(caller.findChildren<ConnectionJob*>().isEmpty());
        QVERIFY(link && link->isEncrypted()); // the end of the job is not the end of the link
    }

private:
    DeviceCertificates m_authority;
    DeviceCertificate m_own;
    QSslConfiguration m_plain;
};

QTEST_GUILESS_MAIN(TestDeviceConnectorDeviceSide)
#include "tst_device_connector_device_side.moc"
