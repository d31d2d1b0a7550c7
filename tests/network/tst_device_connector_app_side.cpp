#include <foundation/core/json_parser.h>
#include <foundation/network/connection_job.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/device_discovery_app_side.h>

#include <kyr_crypto/crypto_service.h>

#include <support/device_certificates.h>
#include <support/raw_web_socket.h>
#include <support/tcp_pair.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWebSockets/QWebSocket>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr char own[] = "000.123.457"; // of device 12345
constexpr char other[] = "000.000.011";
constexpr char request[] = "/gw/000.123.457/41/0000.0011";
constexpr quint32 ownSystem = 1;
constexpr char deviceInfo[] = "DISCOVERY RESULT DeviceInfo\r\nDeviceType: 41\r\nDeviceId: 12345\r\nSystemId: 9\r\n";

// By the label; "foreign" and "expired" are certificates for device 12345 that somebody else issued, or long ago.
const DeviceCertificate& certificateOf(const QByteArray& name)
{
    static DeviceCertificates authority, foreign(DeviceCertificates::Authority::Foreign);
    static const QMap<QByteArray, DeviceCertificate> issued{
        {own, authority.issue(QLatin1String(own))},
        {other, authority.issue(QLatin1String(other))},
        {"foreign", foreign.issue(QLatin1String(own))},
        {"expired", authority.issue(QLatin1String(own), {QStringLiteral("--expired")})}};
    return issued.find(name).value();
}

// The application: accepts connections, lets the connector have those that ask for a WebSocket, and takes over the
// devices that are let in.
class Application : public QTcpServer
{
public:
    explicit Application(bool useSsl = true)
        : connector(std::make_unique<CDeviceConnectorAppSide>(0, useSsl, true))
    {
        connector->setSystemId(ownSystem);
        listen(QHostAddress::Any);
        connect(connector.get(), &CDeviceConnectorAppSide::webSocketConnectionEstablished, this,
                [this](const CDeviceId& device, int type, const CSystemId& system, QWebSocket* socket,
                       const QString& text) {
                    linked += QStringLiteral("%1 %2 %3 %4").arg(device.value()).arg(type).arg(system.value()).arg(text);
                    takeOver(socket);
                });
        m_idleChildren = children();
    }
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        connector->handleWebSocketRequest(socket, QStringLiteral("door"));
    }
    bool isIdle() const { return children() == m_idleChildren; }

    std::unique_ptr<CDeviceConnectorAppSide> connector;
    QStringList linked;
    std::function<void(QWebSocket*)> takeOver = [this](QWebSocket* socket) {
        socket->setParent(this);
        connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
    };

private:
    int children() const
    {
        return findChildren<QObject*>().size() + (connector ? connector->findChildren<QObject*>().size() : 0);
    }

    int m_idleChildren;
};

// A device, byte for byte: asks for a WebSocket and does with the challenge what the test says.
class RawDevice : public QObject
{
public:
    using Deed = std::function<void(RawDevice& device, const QByteArray& random)>;

    RawDevice(const Application& application, const QByteArray& firstBytes, Deed deed)
        : m_deed(std::move(deed))
    {
        connect(&socket, &QTcpSocket::readyRead, this, &RawDevice::read);
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), application.serverPort());
        socket.write(firstBytes);
    }
    void send(const QByteArray& message, RawWebSocket::Opcode opcode = RawWebSocket::Binary)
    {
        socket.write(RawWebSocket::frame(opcode, message, true));
    }

    QTcpSocket socket;
    QByteArrayList messages;
    bool closeFrame = false;

private:
    void read()
    {
        m_buffer += socket.readAll();
        if (!m_upgraded) {
            const int end = m_buffer.indexOf("\r\n\r\n");
            if (end < 0 || !m_buffer.startsWith("HTTP/1.1 101 "))
                return;
            m_upgraded = true;
            m_buffer.remove(0, end + 4);
        }
        const auto frames = RawWebSocket::takeFrames(m_buffer);
        for (const auto& frame : frames) {
            closeFrame |= frame.first == RawWebSocket::Close;
            if (frame.first != RawWebSocket::Binary)
                continue;
            messages += frame.second;
            if (messages.size() == 1 && m_deed) {
                const QVariantMap challenge = CJsonParser::deserialize(QString::fromUtf8(frame.second), nullptr, false);
                m_deed(*this, challenge[QStringLiteral("random")].toByteArray());
            }
        }
    }

    Deed m_deed;
    QByteArray m_buffer;
    bool m_upgraded = false;
};

// Answers the challenge with a text written by hand: what is said in it, who is on the certificate, who signs. RANDOM
// is what was sent.
RawDevice::Deed answers(const QByteArray& device, const QByteArray& random, const QByteArray& server,
                        const QByteArray& certificate, const QByteArray& signer)
{
    return [=](RawDevice& raw, const QByteArray& sent) {
        const QByteArray challenge = "{\"deviceid\": \"" + device + "\", \"random\": \""
                                     + QByteArray(random).replace("RANDOM", sent) + "\", \"serverip\": \"" + server
                                     + "\", \"time\": \"2026-01-01T00:00:00Z\"}";
        QByteArray answer = "{\"challenge\": " + challenge;
        if (!certificate.isEmpty()) {
            QByteArray pem = certificateOf(certificate).certificate().toPem();
            if (certificate == signer) // both ways of writing an end of line are understood
                pem.replace("\n", "\\n");
            answer += ", \"certificate\": \"" + pem + "\"";
        }
        if (!signer.isEmpty()) {
            const QByteArray signature = CCryptoService::getRsaSign(challenge, certificateOf(signer).key.toDer());
            answer += ", \"signature\": \"" + signature.toBase64() + "\"";
        }
        raw.send(answer + "}");
    };
}

// Answers with a challenge written by hand, signed as it is. RANDOM is what was sent.
RawDevice::Deed signs(const QByteArray& text)
{
    return [=](RawDevice& raw, const QByteArray& sent) {
        QByteArray challenge = QByteArray(text).replace("RANDOM", sent);
        const QByteArray signature = CCryptoService::getRsaSign(challenge, certificateOf(own).key.toDer());
        raw.send("{\"challenge\": \"" + challenge.replace('\\', "\\\\").replace('"', "\\\"") + "\", \"certificate\": \""
                 + certificateOf(own).certificate().toPem() + "\", \"signature\": \"" + signature.toBase64() + "\"}");
    };
}

const RawDevice::Deed rightAnswer = answers(own, "RANDOM", "127.0.0.1", own, own);

// What a device does, and what comes of it: who it is let in as, or the reason for which it is dropped.
struct Visit
{
    QByteArray first;
    RawDevice::Deed deed;
    QByteArray outcome;
    QByteArray allowed = {}; // servers
    bool useSsl = true;
};

void expectWarning(const QByteArray& text)
{
    QTest::ignoreMessage(QtWarningMsg, QByteArray("CDeviceConnectorAppSide: " + text));
}

void expectDropped(const QByteArray& reason)
{
    expectWarning("Dropped WebSocket connection due to " + reason + ".");
}

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size();
}

} // namespace

Q_DECLARE_METATYPE(Visit)

class TestDeviceConnectorAppSide : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { certificateOf(own); } // they take longer to make than a handshake may last
    void init()
    {
        ConnectionTiming::current() = ConnectionTiming();
        qunsetenv("QUINTOR_SERVER_IPS_REMOTE");
    }

    void visits_data()
    {
        QTest::addColumn<Visit>("visit");
        const QByteArray good = RawWebSocket::upgradeRequest(request);
        const auto row = [](const char* name, const Visit& visit) { QTest::newRow(name) << visit; };
        // What is answered; any server may be named unless some are listed.
        const auto answer = [&](const char* name, const QByteArray& outcome, const RawDevice::Deed& deed,
                                const char* allowed = "", bool useSsl = true) {
            row(name, {good, deed, outcome, allowed, useSsl});
        };
        const char* in = "12345 41 1 door";
        answer("good", in, answers(own, "RANDOM", "10.0.0.1", own, own));
        answer("no TLS", in, answers(own, "RANDOM", "", "", ""), "", false);
        answer("allowed", in, answers(own, "RANDOM", "10.0.0.1", own, own), " 10.0.0.2,, 10.0.0.1");
        answer("allowed IPv6 server", in, answers(own, "RANDOM", "::1", own, own), "::2,::1");
        answer("IPv6 of digits", in, answers(own, "RANDOM", "fd00:1:2:3:4:5:6:7", own, own), "\"fd00:1:2:3:4:5:6:7\"");
        answer("elsewhere", "invalid server IP (10.0.0.9)", answers(own, "RANDOM", "10.0.0.9", own, own), "10.0.0.2");
        answer("IPv6 elsewhere", "invalid server IP (1::)", answers(own, "RANDOM", "1::", own, own), "::1");
        answer("no server", "invalid server IP ()", answers(own, "RANDOM", "", own, own), "10.0.0.2");
        answer("expired certificate", in, answers(own, "RANDOM", "", "expired", "expired"));
        const char* certificate = "invalid device certificate";
        answer("no certificate", certificate, answers(own, "RANDOM", "", "", own));
        answer("certificate of another device", certificate, answers(own, "RANDOM", "", other, other));
        answer("certificate of another authority", certificate, answers(own, "RANDOM", "", "foreign", "foreign"));
        answer("no signature", "invalid signature", answers(own, "RANDOM", "", own, ""));
        answer("signature of another device", "invalid signature", answers(own, "RANDOM", "", own, other));
        answer("another device", "invalid device ID", answers(other, "RANDOM", "", own, own));
        answer("another random", "invalid random number", answers(own, "0123456789abcdef", "", own, own));
        answer("no random", "invalid random number", answers(own, "", "", own, own));
        answer("more than random", "invalid random number", answers(own, "RANDOM0", "", own, own));

        // What a server in the middle may have made a device sign: only one way to read it counts.
        const QByteArray fields = R"("deviceid": "000.123.457", "random": "RANDOM", "serverip": "10.0.0.9")";
        const QByteArray wanted = R"("serverip": "10.0.0.2")";
        const auto signedText = [&](const char* name, const char* outcome, const QByteArray& text) {
            answer(name, outcome, signs(text), "10.0.0.9");
        };
        signedText("no time", in, "{" + fields + "}");
        signedText("one more key, written wide", in, "{\n\t" + fields + " ,\r\n \"zz\" : \"1\" }");
        const char* unclear = "invalid device ID";
        answer("second address", unclear, signs("{" + fields + ", \"zz\": [1], " + wanted + "}"), "10.0.0.2");
        answer("same key twice", unclear, signs("{" + fields + ", " + wanted + "}"), "10.0.0.2,10.0.0.9");
        answer("another read after it", unclear, signs("{" + fields + "}{" + wanted + "}"), "10.0.0.9,10.0.0.2");
        signedText("ends early", unclear, "{" + fields + ", x");
        signedText("escaped", unclear, "{" + fields + R"(, "zz": "\\"})");
        signedText("number", unclear, "{" + fields + ", \"zz\": 1}");
        signedText("behind it", unclear, "{" + fields + "} ");
        signedText("array", unclear, "[" + fields + "]");
        answer("blank entries admit no missing address", "invalid server IP ()",
               signs(R"({"deviceid": "000.123.457", "random": "RANDOM"})"), " , ,10.0.0.2");
        answer("long address", "invalid server IP (" + QByteArray(97, 'x') + "...)",
               answers(own, "RANDOM", QByteArray(5000, 'x'), own, own), "10.0.0.2");
        answer("no JSON", certificate, [](auto& device, auto&) { device.send("}{"); });

        // The request. Its reasons name it.
        const auto asks = [&](const char* path, const char* linked = nullptr) {
            const QByteArray reason = "invalid request line (GET " + QByteArray(path) + " HTTP/1.1)";
            row(path, {RawWebSocket::upgradeRequest(path), rightAnswer, linked ? QByteArray(linked) : reason});
        };
        asks("/gw/000.123.457/41", "12345 41 0 door");
        asks("/x/000.123.457/132/0000.0011", "12345 132 1 door");
        asks("/gw/000.123.457/41/0000.0026"); // another system
        asks("/gw/000.123.458/41");           // wrong check digit
        asks("/gw/000.123.457/42");           // unknown type
        asks("/gw/000.123.457");
        asks("/");
        row("forged line", {"GET /\n12:00:00.000 INF a\xe2\x80\xae\x1b[2J device HTTP/1.1\r\n\r\n",
                            {},
                            "invalid request line (GET /?12:00:00.000 INF a??[2J device HTTP/1.1)"});
        row("endless line", {QByteArray(500, 'a'), {}, "invalid request line (" + QByteArray(100, 'a') + ")"});

        const char* closed = "connection closed before authentication";
        row("no upgrade", {"GET /gw/000.123.457/41 HTTP/1.1\r\n\r\n", {}, closed});
        row("says nothing", {"", {}, "request timeout"});
        row("begins a request", {good.left(20), {}, "request timeout"});
        row("never ends its request", {good.left(good.size() - 2), {}, "request timeout"});
        answer("silent", "initial response timeout", {});
        answer("text message", "initial response timeout",
               [](auto& device, auto&) { device.send("{}", RawWebSocket::Text); });
        answer("garbage", closed, [](auto& device, auto&) { device.socket.write(QByteArray(100, '\xff')); });
        answer("leaves", closed, [](auto& device, auto&) { device.socket.abort(); });
        answer("large message", "message above 65536 bytes",
               [](auto& device, auto&) { device.send(QByteArray(70000, 'x')); });
        const auto fragments = [](RawDevice& device, const QByteArray&) {
            for (int i = 0; i < 30; ++i) // frames without end
                device.socket.write(RawWebSocket::frame(RawWebSocket::Binary, QByteArray(3000, 'x'), true)
                                        .replace(0, 1, i == 0 ? QByteArray("\x02", 1) : QByteArray("\0", 1)));
        };
        answer("large in pieces", "message above 65536 bytes", fragments);
        const auto pings = [](RawDevice& device, const QByteArray&) {
            device.socket.setReadBufferSize(1); // reads no more
            const QByteArray ping = RawWebSocket::frame(RawWebSocket::Ping, QByteArray(125, 'x'), true);
            for (int i = 0; i < 80000; ++i)
                device.socket.write(ping);
        };
        answer("pings without end", "unread answers", pings);
    }
    void visits()
    {
        QFETCH(Visit, visit);
        QCOMPARE(ConnectionTiming::current().handshake, 5000);
        if (visit.outcome.endsWith("timeout"))
            ConnectionTiming::current().handshake = 150;
        qputenv("QUINTOR_SERVER_IPS_REMOTE", visit.allowed);
        Application application(visit.useSsl);
        const QRandomGenerator before = *QRandomGenerator::global();
        QSignalSpy refused(application.connector.get(), &CDeviceConnectorAppSide::webSocketConnectionRefused);
        const bool letIn = visit.outcome.endsWith(" door");
        if (!letIn)
            expectDropped(visit.outcome);
        if (!visit.useSsl)
            expectWarning("device certificate not verified");
        if (letIn && visit.allowed.isEmpty())
            expectWarning("remote server IP not verified");
        RawDevice device(application, visit.first.left(1), visit.deed);
        QVERIFY(device.socket.waitForConnected());
        QTest::qWait(2);
        device.socket.write(visit.first.mid(1)); // the request comes in pieces
        if (letIn) {
            QVERIFY(waitUntil([&] { return device.messages.size() == 2; }));
            const auto challenge = CJsonParser::deserialize(QString::fromUtf8(device.messages[0]), nullptr, false);
            QCOMPARE(challenge.keys(), (QStringList{QStringLiteral("random"), QStringLiteral("time")}));
            const QRegularExpression sixteenDigits(QStringLiteral("^[0-9a-f]{16}$"));
            QVERIFY(sixteenDigits.match(challenge[QStringLiteral("random")].toString()).hasMatch());
            const QDateTime time = challenge[QStringLiteral("time")].toDateTime();
            QVERIFY(qAbs(time.secsTo(QDateTime::currentDateTimeUtc())) < 5);
            QCOMPARE(device.messages[1], QByteArrayLiteral("OK"));

            // The link carries messages of any size now.
            const auto* webSocket = application.findChild<QWebSocket*>();
            QVERIFY(webSocket);
            QVERIFY(webSocket->findChild<QSslSocket*>()->socketOption(QAbstractSocket::LowDelayOption).toInt() != 0);
            QSignalSpy received(webSocket, &QWebSocket::binaryMessageReceived);
            const QByteArray large(300000, 'x');
            device.send(large);
            QVERIFY(waitUntil([&] { return !received.isEmpty(); }));
            QCOMPARE(received[0], QVariantList{large});
            device.socket.abort();
        }
        QVERIFY(waitUntil([&] { return device.socket.state() == QAbstractSocket::UnconnectedState; }));
        QVERIFY(waitUntil([&] { return application.isIdle(); }));
        QCOMPARE(application.linked, letIn ? QStringList(QString::fromLatin1(visit.outcome)) : QStringList());
        QVERIFY(!visit.outcome.startsWith("invalid") || !device.closeFrame);
        QVERIFY(waitUntil([&] { return letIn || !refused.isEmpty(); }));
        QCOMPARE(refused.size(), letIn ? 0 : 1);
        QVERIFY(letIn || refused[0][2].toString().size() <= 100);
        QVERIFY(*QRandomGenerator::global() == before); // nobody is given a part of what others will be given
    }

    // The answer and the end of the connection arrive together.
    void answerAndGone()
    {
        Application application;
        RawDevice device(application, RawWebSocket::upgradeRequest(request),
                         [](RawDevice& device, const QByteArray& random) {
                             rightAnswer(device, random);
                             device.socket.disconnectFromHost();
                         });
        QTRY_COMPARE(device.socket.state(), QAbstractSocket::UnconnectedState);
        QTRY_VERIFY(application.isIdle());
    }

    // A receiver leaves the WebSocket that it is given alone, deletes it, or deletes the connector.
    void receivers()
    {
        for (const QByteArray deed : {"nothing", "delete socket", "delete connector"}) {
            Application application;
            application.takeOver = [&](QWebSocket* socket) {
                if (deed == "delete socket")
                    delete socket;
                else if (deed == "delete connector")
                    application.connector.reset();
            };
            if (deed == "nothing")
                expectDropped("unhandled websocket");
            RawDevice device(application, RawWebSocket::upgradeRequest(request), rightAnswer);
            QTRY_COMPARE(application.linked.size(), 1);
            QTRY_COMPARE(device.socket.state(), QAbstractSocket::UnconnectedState);
            QTRY_VERIFY(deed == "delete connector" || application.isIdle());
        }
    }

    // More handshakes than there are places. Those that wait for one are let in when the silent ones that hold the
    // places leave, and turned away when they stay. Nothing is left of any of them.
    void manyAtOnce_data()
    {
        QTest::addColumn<bool>("placesBecomeFree");
        QTest::newRow("let in") << true;
        QTest::newRow("turned away") << false;
    }
    void manyAtOnce()
    {
        QFETCH(bool, placesBecomeFree);
        constexpr int surplus = 40;
        ConnectionTiming::current().admission = placesBecomeFree ? 5000 : 100;
        Application application;
        const int descriptors = openDescriptors();
        using Devices = std::vector<std::unique_ptr<RawDevice>>;
        const auto arrive = [&](int count, const RawDevice::Deed& deed) {
            Devices devices;
            while (int(devices.size()) < count)
                devices.push_back(
                    std::make_unique<RawDevice>(application, RawWebSocket::upgradeRequest(request), deed));
            return devices;
        };
        Devices silent = arrive(ConnectionLimits::pendingHandshakes, {});
        const auto isChallenged = [](const auto& device) { return !device->messages.isEmpty(); };
        QTRY_VERIFY(std::all_of(silent.begin(), silent.end(), isChallenged));
        Devices honest = arrive(surplus, rightAnswer);
        if (placesBecomeFree) {
            QTest::qWait(50);
            QVERIFY(application.linked.isEmpty());
            silent.clear();
            QTRY_COMPARE(application.linked.size(), surplus);
        } else {
            for (int i = 0; i < surplus; ++i)
                expectDropped("too many pending handshakes");
            const auto isGone = [](const auto& device) {
                return device->socket.state() == QAbstractSocket::UnconnectedState;
            };
            QTRY_VERIFY(std::all_of(honest.begin(), honest.end(), isGone));
            QVERIFY(std::none_of(silent.begin(), silent.end(), isGone));
            silent.clear();
        }
        honest.clear();
        QTRY_VERIFY(application.isIdle());
        QTRY_COMPARE(openDescriptors(), descriptors);
    }

    // When the process has no descriptors left the server pauses, and goes on when there are some again; also one that
    // has accepted somebody before.
    void noDescriptors()
    {
        ConnectionTiming::current().acceptPause = 50;
        CDeviceConnectorAppSide connector(0, false, true);
        connector.setTcpListeningPort(freePort());
        connector.setSystemId(ownSystem);
        int reported = 0;
        connect(&connector, &CDeviceConnectorAppSide::deviceInfoReceived, this, [&] { ++reported; });
        QTcpSocket early;
        early.connectToHost(QHostAddress(QHostAddress::LocalHost), connector.serverPort());
        early.write("DISCOVERY RESULT DeviceInfo\nDeviceId: 1");
        QTRY_COMPARE(reported, 1);
        rlimit usual{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &usual), 0);
        const rlimit few{200, usual.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
        std::vector<int> taken;
        for (int descriptor = dup(0); descriptor >= 0; descriptor = dup(0))
            taken.push_back(descriptor);
        QVERIFY(!taken.empty());
        close(taken.back()); // for the device
        taken.pop_back();
        QTcpSocket device;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot accept a connection")));
        device.connectToHost(QHostAddress(QHostAddress::LocalHost), connector.serverPort());
        device.write("DISCOVERY RESULT DeviceInfo\nDeviceId: 1");
        QTRY_COMPARE(device.state(), QAbstractSocket::ConnectedState);
        QCOMPARE(reported, 1);
        for (const int descriptor : taken)
            close(descriptor);
        setrlimit(RLIMIT_NOFILE, &usual);
        QTRY_COMPARE(reported, 2);
    }

    void devicesThatCallByTcp()
    {
        const quint16 port = freePort();
        CDeviceConnectorAppSide connector(0, false, true);
        connector.setTcpListeningPort(port);
        QVERIFY(!connector.isListening());
        connector.setSystemId(ownSystem);
        QVERIFY(connector.isListening());
        QPointer<QTcpSocket> handed;
        QStringList devices;
        connect(&connector, &CDeviceConnectorAppSide::deviceInfoReceived, this,
                [&](const QHostAddress& address, quint16, const CDeviceId& device, const CSystemId& system, int type,
                    QTcpSocket* socket) {
                    devices += QStringLiteral("%1 %2 %3").arg(device.value()).arg(system.value()).arg(type);
                    QCOMPARE(address, QHostAddress(QHostAddress::LocalHost));
                    handed = socket;
                    if (device.value() == 666)
                        delete socket;
                });
        QTcpSocket device;
        const auto call = [&](const QByteArray& data) {
            device.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
            device.write(data);
            QVERIFY(device.waitForConnected());
        };
        call(deviceInfo);
        QTRY_COMPARE(devices, QStringList(QStringLiteral("12345 9 41")));
        QVERIFY(handed->socketOption(QAbstractSocket::LowDelayOption).toInt() != 0);
        QSignalSpy more(handed.data(), &QTcpSocket::readyRead);
        device.write(deviceInfo);
        QTRY_COMPARE(more.count(), 1);
        QCOMPARE(devices.size(), 1);
        device.abort();
        QTRY_VERIFY(handed.isNull());

        call("DISCOVERY RESULT DeviceInfo\nDeviceId: 666");
        QTRY_COMPARE(devices.size(), 2);
        QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);

        const QString dropped = QStringLiteral("Dropped connection of .* due to ");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(dropped + QStringLiteral("data that is no device info")));
        call("GET / HTTP/1.1\r\n");
        QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);

        QCOMPARE(ConnectionTiming::current().silence, 5000);
        ConnectionTiming::current().silence = 50;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(dropped + QStringLiteral("silence")));
        call({});
        QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(devices.size(), 2);
    }

    // A device that is called by TCP keeps its connection when it is the wanted one or somebody takes that over; with
    // another one the job goes on at once, and after an abort nobody hears of it.
    void devicesThatAreCalled_data()
    {
        QTest::addColumn<QByteArray>("deed");
        QTest::addColumn<QString>("label");
        QTest::addColumn<bool>("connected");
        QTest::newRow("wanted") << QByteArray() << QString::fromLatin1(own) << true;
        QTest::newRow("refused") << QByteArray("abort socket") << QString::fromLatin1(own) << false;
        QTest::newRow("another") << QByteArray() << QString::fromLatin1(other) << false;
        QTest::newRow("another, taken over") << QByteArray("take") << QString::fromLatin1(other) << true;
        QTest::newRow("aborted") << QByteArray("abort run") << QString::fromLatin1(own) << false;
    }
    void devicesThatAreCalled()
    {
        QFETCH(QByteArray, deed);
        QFETCH(QString, label);
        QTcpServer device;
        QVERIFY(device.listen(QHostAddress::LocalHost));
        QByteArray query;
        connect(&device, &QTcpServer::newConnection, this, [&] {
            QTcpSocket* peer = device.nextPendingConnection();
            connect(peer, &QTcpSocket::readyRead, this, [peer, &query] {
                query += peer->readAll();
                peer->write(deviceInfo);
            });
        });
        CDeviceConnectorAppSide connector(0, false, true);
        if (deed == "abort run")
            connect(connector.findChild<CDeviceDiscoveryAppSide*>(), &CDeviceDiscoveryAppSide::deviceInfoReceived,
                    &connector, &CDeviceConnectorAppSide::abortConnectToDevices);
        QPointer<QTcpSocket> socket;
        connect(&connector, &CDeviceConnectorAppSide::deviceInfoReceived, this,
                [&](const QHostAddress&, quint16, const CDeviceId&, const CSystemId&, int, QTcpSocket* handed) {
                    socket = handed;
                    if (deed == "take")
                        handed->setParent(this);
                    if (deed == "abort socket")
                        handed->abort();
                });
        QSignalSpy finished(&connector, &CDeviceConnectorAppSide::connectToDevicesFinished);
        connector.connectToDevices({{addressOf(device), label}});
        QTRY_VERIFY_WITH_TIMEOUT(deed == "abort run" ? !query.isEmpty() : !finished.isEmpty(), 2000);
        QCOMPARE(finished,
                 deed == "abort run" ? QList<QVariantList>() : QList<QVariantList>{{label == QLatin1String(own)}});
        QTest::qWait(20);
        QTEST(socket && socket->state() == QAbstractSocket::ConnectedState, "connected");
        QVERIFY(connector.findChildren<ConnectionJob*>().isEmpty());
        delete socket;
    }

    void devicesThatAreAskedByUdp()
    {
        QUdpSocket device;
        QVERIFY(device.bind(QHostAddress::LocalHost));
        connect(&device, &QUdpSocket::readyRead, this, [&] {
            const QNetworkDatagram query = device.receiveDatagram();
            QCOMPARE(query.data(), QByteArray("DISCOVERY GET DeviceInfo\r\nDeviceType: 41\r\nSystemId: 7\r\n"));
            device.writeDatagram(query.makeReply(deviceInfo));
        });
        CDeviceConnectorAppSide connector(device.localPort(), true, false);
        connector.setUdpDiscoveryPort(0);
        connector.setSystemId(7);
        QSignalSpy finished(&connector, &CDeviceConnectorAppSide::connectToDevicesFinished);
        QSignalSpy reported(&connector, &CDeviceConnectorAppSide::deviceInfoReceived);
        connector.connectToDevices({{QStringLiteral("127.0.0.1"), QLatin1String(own)}});
        QTRY_COMPARE(finished.value(0), QVariantList{true});
        QCOMPARE(reported.size(), 1);
        QVERIFY(!reported[0][5].value<QTcpSocket*>());

        // Another device than the wanted one answers: it is reported, but the job goes on.
        ConnectionTiming::current().step = 200;
        connector.connectToDevices({{QStringLiteral("127.0.0.1"), QLatin1String(other)}});
        QTRY_COMPARE(finished.value(1), QVariantList{false});
        QCOMPARE(reported.size(), 2);

        // After an abort nothing is reported of what was heard before.
        const auto* discovery = connector.findChild<CDeviceDiscoveryAppSide*>();
        QSignalSpy heard(discovery, &CDeviceDiscoveryAppSide::deviceInfoReceived);
        connect(discovery, &CDeviceDiscoveryAppSide::deviceInfoReceived, &connector,
                &CDeviceConnectorAppSide::abortConnectToDevices);
        connector.connectToDevices({{QStringLiteral("127.0.0.1")}});
        QTRY_COMPARE(heard.size(), 1);
        QTest::qWait(20);
        QCOMPARE(reported.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestDeviceConnectorAppSide)
#include "tst_device_connector_app_side.moc"
