#include <foundation/core/json_parser.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_connector_app_side.h>

#include <kyr_crypto/crypto_service.h>

#include <support/device_certificates.h>
#include <support/raw_web_socket.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QRegularExpression>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpSocket>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWebSockets/QWebSocket>

#include <functional>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr char label[] = "000.123.457"; // of device 12345
constexpr char request[] = "/gw/000.123.457/41/0000.0011";
constexpr quint32 ownSystem = 1;

DeviceCertificates& authority()
{
    static DeviceCertificates certificates;
    return certificates;
}

const DeviceCertificate& certificateOf(const QString& name)
{
    static QMap<QString, DeviceCertificate> issued;
    if (!issued.contains(name)) {
        static DeviceCertificates foreign(DeviceCertificates::Authority::Foreign);
        if (name == QLatin1String("foreign"))
            issued[name] = foreign.issue(QLatin1String(label));
        else if (name == QLatin1String("expired"))
            issued[name] = authority().issue(QLatin1String(label), {QStringLiteral("--expired")});
        else
            issued[name] = authority().issue(name);
    }
    return issued[name];
}

// The application: accepts connections (with TLS when it has a certificate), lets the connector have those that ask for
// a WebSocket, and takes over the devices that are let in.
class Application : public QTcpServer
{
public:
    explicit Application(bool useSsl = true)
        : connector(0, useSsl, true)
    {
        connector.setSystemId(ownSystem);
        listen(QHostAddress::Any);
        idleChildren = children();
        connect(&connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, this,
                [this](const CDeviceId& device, int type, const CSystemId& system, QWebSocket* socket,
                       const QString& text) {
                    linked += QStringLiteral("%1 %2 %3 %4").arg(device.value()).arg(type).arg(system.value()).arg(text);
                    if (takeOver)
                        takeOver(socket);
                });
    }
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        if (tls) {
            socket->setSslConfiguration(*tls);
            connect(socket, &QSslSocket::encrypted, this, [this, socket] { pass(socket); });
            connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
            socket->startServerEncryption();
        } else {
            pass(socket);
        }
    }
    void pass(QSslSocket* socket) { route->handleWebSocketRequest(socket, QStringLiteral("door")); }
    int children() const { return findChildren<QObject*>().size() + connector.findChildren<QObject*>().size(); }

    CDeviceConnectorAppSide connector;
    CDeviceConnectorAppSide* route = &connector;
    std::unique_ptr<QSslConfiguration> tls;
    QStringList linked;
    std::function<void(QWebSocket*)> takeOver = [this](QWebSocket* socket) { socket->setParent(this); };
    int idleChildren;
};

// A device, byte for byte: asks for a WebSocket and answers the challenge with what the test makes of it.
class RawDevice : public QObject
{
public:
    using Answer = std::function<QByteArray(const QVariantMap& challenge)>;

    RawDevice(quint16 port, const QByteArray& firstBytes, Answer answer, QSslSocket* tls = nullptr)
        : socket(tls ? tls : new QTcpSocket)
        , m_answer(std::move(answer))
    {
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, &RawDevice::read);
        if (tls)
            tls->connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
        else
            socket->connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        socket->write(firstBytes);
    }
    void send(const QByteArray& message, RawWebSocket::Opcode opcode = RawWebSocket::Binary)
    {
        socket->write(RawWebSocket::frame(opcode, message, true));
    }

    QTcpSocket* socket;
    QList<QByteArray> messages;
    bool closeFrame = false;

private:
    void read()
    {
        m_buffer += socket->readAll();
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
            if (messages.size() == 1 && m_answer) {
                const QByteArray answer =
                    m_answer(CJsonParser::deserialize(QString::fromUtf8(frame.second), nullptr, false));
                if (!answer.isEmpty())
                    send(answer);
            }
        }
    }

    Answer m_answer;
    QByteArray m_buffer;
    bool m_upgraded = false;
};

// The answer of a device as a text, written by hand: what is said in the challenge, who signs it, who is on the
// certificate.
QByteArray answer(const QByteArray& random, const QByteArray& device, const QByteArray& server,
                  const QString& certificate, const QString& signer, bool escaped = false)
{
    const QByteArray challenge = "{\"deviceid\": \"" + device + "\", \"random\": \"" + random + "\", \"serverip\": \""
                                 + server + "\", \"time\": \"2026-01-01T00:00:00Z\"}";
    QByteArray result = "{\"challenge\": " + challenge;
    if (!certificate.isEmpty()) {
        QByteArray pem = certificateOf(certificate).certificate().toPem();
        if (escaped)
            pem.replace("\n", "\\n");
        result += ", \"certificate\": \"" + pem + "\"";
    }
    if (!signer.isEmpty()) {
        result += ", \"signature\": \""
                  + CCryptoService::getRsaSign(challenge, certificateOf(signer).key.toDer()).toBase64() + "\"";
    }
    return result + "}";
}

RawDevice::Answer goodAnswer()
{
    return [](const QVariantMap& challenge) {
        const auto name = QString::fromLatin1(label);
        return answer(challenge[QStringLiteral("random")].toByteArray(), label, "127.0.0.1", name, name);
    };
}

void expectDropped(const QString& reason)
{
    QTest::ignoreMessage(
        QtWarningMsg,
        qPrintable(QStringLiteral("CDeviceConnectorAppSide: Dropped WebSocket connection due to %1.").arg(reason)));
}

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size();
}

} // namespace

class TestDeviceConnectorAppSide : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(!certificateOf(QLatin1String(label)).chain.isEmpty());
        QVERIFY(!certificateOf(QStringLiteral("000.000.011")).chain.isEmpty());
        QVERIFY(!certificateOf(QStringLiteral("foreign")).chain.isEmpty());
    }
    void init()
    {
        ConnectionTiming::current() = ConnectionTiming();
        qunsetenv("QUINTOR_SERVER_IPS_REMOTE");
    }

    void letsInOverTls()
    {
        Application application;
        application.tls = std::make_unique<QSslConfiguration>(certificateOf(QLatin1String(label)).configuration());
        auto* tls = new QSslSocket;
        tls->setPeerVerifyMode(QSslSocket::VerifyNone);
        RawDevice device(application.serverPort(), RawWebSocket::upgradeRequest(request), goodAnswer(), tls);
        QTRY_COMPARE(device.messages.size(), 2);
        const QVariantMap challenge = CJsonParser::deserialize(QString::fromUtf8(device.messages[0]), nullptr, false);
        QCOMPARE(challenge.keys(), (QStringList{QStringLiteral("random"), QStringLiteral("time")}));
        QVERIFY(QRegularExpression(QStringLiteral("^[0-9a-f]{16}$"))
                    .match(challenge[QStringLiteral("random")].toString())
                    .hasMatch());
        QVERIFY(qAbs(challenge[QStringLiteral("time")].toDateTime().secsTo(QDateTime::currentDateTimeUtc())) < 5);
        QCOMPARE(device.messages[1], QByteArrayLiteral("OK"));
        QCOMPARE(application.linked, QStringList(QStringLiteral("12345 41 1 door")));

        // The link carries messages of any size now.
        auto* webSocket = application.findChild<QWebSocket*>();
        QSignalSpy received(webSocket, &QWebSocket::binaryMessageReceived);
        const QByteArray large(300000, 'x');
        device.send(large);
        QTRY_COMPARE(received.count(), 1);
        QCOMPARE(received[0][0].toByteArray(), large);
        QVERIFY(webSocket->findChild<QSslSocket*>()->socketOption(QAbstractSocket::LowDelayOption).toInt() != 0);
        delete webSocket;
        QTRY_COMPARE(application.children(), application.idleChildren);
    }

    void answers_data()
    {
        QTest::addColumn<QByteArray>("device");
        QTest::addColumn<QString>("random"); // RANDOM: what was sent
        QTest::addColumn<QByteArray>("server");
        QTest::addColumn<QString>("certificate");
        QTest::addColumn<QString>("signer");
        QTest::addColumn<QByteArray>("allowed");
        QTest::addColumn<QString>("reason");
        const char* own = label;
        const char* other = "000.000.011";
        const auto row = [](const char* name, const char* device, const char* random, const char* server,
                            const char* certificate, const char* signer, const char* allowed, const char* reason) {
            const auto text = [](const char* t) { return QString::fromLatin1(t); };
            QTest::newRow(name) << QByteArray(device) << text(random) << QByteArray(server) << text(certificate)
                                << text(signer) << QByteArray(allowed) << text(reason);
        };
        row("good", own, "RANDOM", "10.0.0.1", own, own, "", "");
        row("allowed server", own, "RANDOM", "10.0.0.1", own, own, " 10.0.0.2,, 10.0.0.1", "");
        row("allowed IPv6 server", own, "RANDOM", "::1", own, own, "::2,::1", "");
        row("IPv6 of digits", own, "RANDOM", "fd00:1:2:3:4:5:6:7", own, own, "\"fd00:1:2:3:4:5:6:7\"", "");
        row("server elsewhere", own, "RANDOM", "10.0.0.9", own, own, "10.0.0.2", "invalid server IP (10.0.0.9)");
        row("IPv6 server elsewhere", own, "RANDOM", "1::", own, own, "::1", "invalid server IP (1::)");
        row("no server", own, "RANDOM", "", own, own, "10.0.0.2", "invalid server IP ()");
        row("expired certificate", own, "RANDOM", "", "expired", "expired", "", "");
        row("no certificate", own, "RANDOM", "", "", own, "", "invalid device certificate");
        row("certificate of another device", own, "RANDOM", "", other, other, "", "invalid device certificate");
        row("certificate of another authority", own, "RANDOM", "", "foreign", "foreign", "",
            "invalid device certificate");
        row("no signature", own, "RANDOM", "", own, "", "", "invalid signature");
        row("signature of another device", own, "RANDOM", "", own, other, "", "invalid signature");
        row("another device", other, "RANDOM", "", own, own, "", "invalid device ID");
        row("another random", own, "0123456789abcdef", "", own, own, "", "invalid random number");
        row("no random", own, "", "", own, own, "", "invalid random number");
        row("more than random", own, "RANDOM0", "", own, own, "", "invalid random number");
    }
    void answers()
    {
        QFETCH(QByteArray, device);
        QFETCH(QString, random);
        QFETCH(QByteArray, server);
        QFETCH(QString, certificate);
        QFETCH(QString, signer);
        QFETCH(QByteArray, allowed);
        QFETCH(QString, reason);
        qputenv("QUINTOR_SERVER_IPS_REMOTE", allowed);
        Application application;
        RawDevice raw(
            application.serverPort(), RawWebSocket::upgradeRequest(request), [&](const QVariantMap& challenge) {
                const QString sent =
                    QString(random).replace(QLatin1String("RANDOM"), challenge[QStringLiteral("random")].toString());
                return answer(sent.toLatin1(), device, server, certificate, signer, certificate == signer);
            });
        if (reason.isEmpty()) {
            QTRY_COMPARE(raw.messages.size(), 2);
            QCOMPARE(application.linked.size(), 1);
        } else {
            expectDropped(reason);
            QTRY_COMPARE(raw.socket->state(), QAbstractSocket::UnconnectedState);
            QVERIFY(application.linked.isEmpty());
            QVERIFY(!raw.closeFrame);
            QTRY_COMPARE(application.children(), application.idleChildren);
        }
    }

    void withoutTls()
    {
        Application application(false);
        QTest::ignoreMessage(QtWarningMsg, "CDeviceConnectorAppSide: device certificate not verified");
        QTest::ignoreMessage(QtWarningMsg, "CDeviceConnectorAppSide: remote server IP not verified");
        RawDevice device(
            application.serverPort(), RawWebSocket::upgradeRequest(request), [](const QVariantMap& challenge) {
                return answer(challenge[QStringLiteral("random")].toByteArray(), label, "", QString(), QString());
            });
        QTRY_COMPARE(application.linked.size(), 1);
    }

    void requestLines_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QString>("linked"); // empty: refused
        QTest::newRow("no system") << QByteArray("/gw/000.123.457/41") << QStringLiteral("12345 41 0 door");
        QTest::newRow("another first word")
            << QByteArray("/x/000.123.457/132/0000.0011") << QStringLiteral("12345 132 1 door");
        QTest::newRow("another system") << QByteArray("/gw/000.123.457/41/0000.0026") << QString();
        QTest::newRow("wrong label") << QByteArray("/gw/000.123.458/41") << QString();
        QTest::newRow("unknown type") << QByteArray("/gw/000.123.457/42") << QString();
        QTest::newRow("no type") << QByteArray("/gw/000.123.457") << QString();
        QTest::newRow("a page") << QByteArray("/") << QString();
    }
    void requestLines()
    {
        QFETCH(QByteArray, path);
        QFETCH(QString, linked);
        Application application;
        if (linked.isEmpty())
            expectDropped(QStringLiteral("invalid request line (GET %1 HTTP/1.1)").arg(QString::fromLatin1(path)));
        RawDevice device(application.serverPort(), RawWebSocket::upgradeRequest(path), goodAnswer());
        if (linked.isEmpty()) {
            QTRY_COMPARE(device.socket->state(), QAbstractSocket::UnconnectedState);
            QTRY_COMPARE(application.children(), application.idleChildren);
        } else {
            QTRY_COMPARE(application.linked, QStringList(linked));
        }
    }

    void requestInPieces()
    {
        Application application;
        const QByteArray whole = RawWebSocket::upgradeRequest(request);
        RawDevice device(application.serverPort(), whole.left(1), goodAnswer());
        for (int i = 1; i < whole.size(); i += 7) {
            QVERIFY(device.socket->waitForConnected());
            device.socket->write(whole.mid(i, 7));
            device.socket->flush();
            QTest::qWait(2);
        }
        QTRY_COMPARE(application.linked.size(), 1);
    }

    // Peers that do not play by the rules are dropped, each with its reason.
    void misbehaviour_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QString>("deed");
        QTest::addColumn<QString>("reason");
        const QByteArray good = RawWebSocket::upgradeRequest(request);
        QTest::newRow("says nothing") << QByteArray() << QString() << QStringLiteral("request timeout");
        QTest::newRow("begins a request") << good.left(20) << QString() << QStringLiteral("request timeout");
        QTest::newRow("never ends its request")
            << good.left(good.size() - 2) << QString() << QStringLiteral("request timeout");
        QTest::newRow("endless line") << QByteArray(
            500, 'a') << QString() << QStringLiteral("invalid request line (%1)").arg(QString(100, QLatin1Char('a')));
        QTest::newRow("no upgrade") << QByteArray("GET /gw/000.123.457/41 HTTP/1.1\r\n\r\n") << QString()
                                    << QStringLiteral("connection closed before authentication");
        QTest::newRow("silent") << good << QString() << QStringLiteral("initial response timeout");
        QTest::newRow("text message") << good << QStringLiteral("text") << QStringLiteral("initial response timeout");
        QTest::newRow("large message") << good << QStringLiteral("large")
                                       << QStringLiteral("message above 65536 bytes");
        QTest::newRow("large in pieces") << good << QStringLiteral("pieces")
                                         << QStringLiteral("message above 65536 bytes");
        QTest::newRow("garbage") << good << QStringLiteral("garbage")
                                 << QStringLiteral("connection closed before authentication");
        QTest::newRow("leaves") << good << QStringLiteral("leave")
                                << QStringLiteral("connection closed before authentication");
        QTest::newRow("pings without end") << good << QStringLiteral("pings") << QStringLiteral("unread answers");
        QTest::newRow("no JSON") << good << QStringLiteral("no JSON") << QStringLiteral("invalid device certificate");
    }
    void misbehaviour()
    {
        QFETCH(QByteArray, first);
        QFETCH(QString, deed);
        QFETCH(QString, reason);
        QCOMPARE(ConnectionTiming::current().handshake, 5000);
        if (reason.endsWith(QLatin1String("timeout")))
            ConnectionTiming::current().handshake = 150;
        Application application;
        expectDropped(reason);
        std::unique_ptr<RawDevice> device;
        device = std::make_unique<RawDevice>(application.serverPort(), first, [&](const QVariantMap&) {
            if (deed == QLatin1String("text"))
                device->send("{\"challenge\": {}}", RawWebSocket::Text);
            else if (deed == QLatin1String("large"))
                device->send(QByteArray(70000, 'x'));
            else if (deed == QLatin1String("garbage"))
                device->socket->write(QByteArray(100, '\xff'));
            else if (deed == QLatin1String("leave"))
                device->socket->abort();
            else if (deed == QLatin1String("no JSON"))
                device->send("}{");
            else if (deed == QLatin1String("pings")) {
                device->socket->setReadBufferSize(1); // reads no more
                const QByteArray ping = RawWebSocket::frame(RawWebSocket::Ping, QByteArray(125, 'x'), true);
                for (int i = 0; i < 80000; ++i)
                    device->socket->write(ping);
            } else if (deed == QLatin1String("pieces")) {
                for (int i = 0; i < 30; ++i) // frames without end
                    device->socket->write(RawWebSocket::frame(RawWebSocket::Binary, QByteArray(3000, 'x'), true)
                                              .replace(0, 1, i == 0 ? QByteArray("\x02", 1) : QByteArray("\0", 1)));
            }
            return QByteArray();
        });
        QTRY_COMPARE(application.children(), application.idleChildren);
        QTRY_COMPARE(device->socket->state(), QAbstractSocket::UnconnectedState);
        QVERIFY(application.linked.isEmpty());
    }

    // The answer and the end of the connection arrive together.
    void answerAndGone()
    {
        Application application;
        application.takeOver = [](QWebSocket* socket) {
            socket->setParent(nullptr);
            connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
        };
        std::unique_ptr<RawDevice> device;
        device = std::make_unique<RawDevice>(application.serverPort(), RawWebSocket::upgradeRequest(request),
                                             [&](const QVariantMap& challenge) {
                                                 device->send(goodAnswer()(challenge));
                                                 device->socket->disconnectFromHost();
                                                 return QByteArray();
                                             });
        QTRY_COMPARE(device->socket->state(), QAbstractSocket::UnconnectedState);
        QTRY_COMPARE(application.children(), application.idleChildren);
    }

    // What a receiver may do with the WebSocket that it is given.
    void receivers()
    {
        {
            Application application;
            application.takeOver = nullptr;
            expectDropped(QStringLiteral("unhandled websocket"));
            RawDevice device(application.serverPort(), RawWebSocket::upgradeRequest(request), goodAnswer());
            QTRY_COMPARE(application.linked.size(), 1);
            QTRY_COMPARE(device.socket->state(), QAbstractSocket::UnconnectedState);
            QTRY_COMPARE(application.children(), application.idleChildren);
        }
        {
            Application application;
            application.takeOver = [](QWebSocket* socket) { delete socket; };
            RawDevice device(application.serverPort(), RawWebSocket::upgradeRequest(request), goodAnswer());
            QTRY_COMPARE(application.linked.size(), 1);
            QTRY_COMPARE(application.children(), application.idleChildren);
        }
        {
            // The connector itself is deleted: with it go the sockets that it holds.
            Application application;
            auto* connector = new CDeviceConnectorAppSide(0, true, true);
            connect(connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, this, [&] {
                delete connector;
                connector = nullptr;
            });
            application.route = connector;
            RawDevice device(application.serverPort(), RawWebSocket::upgradeRequest("/gw/000.123.457/41"),
                             goodAnswer());
            QTRY_VERIFY(!connector);
            QTRY_COMPARE(device.socket->state(), QAbstractSocket::UnconnectedState);
        }
    }

    // More hand-shakes than there are places: silent ones are turned away, a burst of honest ones is let in.
    void manyAtOnce_data()
    {
        QTest::addColumn<bool>("honest");
        QTest::newRow("silent") << false;
        QTest::newRow("honest") << true;
    }
    void manyAtOnce()
    {
        QFETCH(bool, honest);
        constexpr int count = ConnectionLimits::pendingHandshakes + 40;
        Application application;
        ConnectionTiming::current().admission = honest ? 1000 : 100;
        if (!honest) {
            for (int i = 0; i < 40; ++i)
                expectDropped(QStringLiteral("too many pending handshakes"));
        }
        std::vector<std::unique_ptr<RawDevice>> devices;
        for (int i = 0; i < count; ++i) {
            devices.push_back(std::make_unique<RawDevice>(application.serverPort(),
                                                          RawWebSocket::upgradeRequest(request),
                                                          honest ? goodAnswer() : RawDevice::Answer()));
        }
        const auto inState = [&](QAbstractSocket::SocketState state) {
            return int(std::count_if(devices.begin(), devices.end(),
                                     [state](const auto& device) { return device->socket->state() == state; }));
        };
        if (honest) {
            QTRY_COMPARE(application.linked.size(), count);
        } else {
            QTRY_COMPARE(inState(QAbstractSocket::UnconnectedState), 40);
            QCOMPARE(inState(QAbstractSocket::ConnectedState), count - 40);
        }
    }

    // Nothing is left of those who came and were turned away.
    void leavesNothingBehind()
    {
        ConnectionTiming::current().handshake = 300;
        ConnectionTiming::current().silence = 300;
        Application application;
        QTcpServer probe;
        QVERIFY(probe.listen());
        application.connector.setTcpListeningPort(probe.serverPort() ^ 1);
        QTRY_VERIFY(application.connector.isListening());
        application.idleChildren = application.children();
        const int descriptors = openDescriptors();
        QtMessageHandler handler = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        for (int round = 0; round < 10; ++round) {
            std::vector<std::unique_ptr<RawDevice>> devices;
            for (int i = 0; i < 100; ++i) {
                const QByteArray first = i % 4 == 0 ? QByteArray(i, 'g') : RawWebSocket::upgradeRequest(request);
                const quint16 port = i % 4 == 3 ? application.connector.serverPort() : application.serverPort();
                devices.push_back(std::make_unique<RawDevice>(
                    port, first, [i](const QVariantMap&) { return QByteArray(i % 2 ? 0 : 70000, 'x'); }));
            }
            QTest::qWait(50);
            devices.resize(50); // half of them leave by themselves
            QTRY_COMPARE(application.children(), application.idleChildren);
        }
        qInstallMessageHandler(handler);
        QTRY_COMPARE(openDescriptors(), descriptors);
        QVERIFY(application.linked.isEmpty());
    }

    // When the process has no descriptors left the server pauses, and goes on when there are some again.
    void noDescriptors()
    {
        ConnectionTiming::current().acceptPause = 50;
        CDeviceConnectorAppSide connector(0, false, true);
        QVERIFY(connector.listen(QHostAddress::LocalHost));
        int reported = 0;
        connect(&connector, &CDeviceConnectorAppSide::deviceInfoReceived, this, [&] { ++reported; });
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
        QCOMPARE(reported, 0);
        for (const int descriptor : taken)
            close(descriptor);
        setrlimit(RLIMIT_NOFILE, &usual);
        QTRY_COMPARE(reported, 1);
    }

    void devicesThatCallByTcp_data()
    {
        QTest::addColumn<bool>("useSsl");
        QTest::newRow("TCP") << false;
        QTest::newRow("TLS") << true;
    }
    void devicesThatCallByTcp()
    {
        QFETCH(bool, useSsl);
        QTcpServer probe;
        QVERIFY(probe.listen());
        const quint16 port = probe.serverPort();
        probe.close();
        CDeviceConnectorAppSide connector(0, useSsl, true);
        connector.setTcpListeningPort(port);
        QVERIFY(!connector.isListening());
        connector.setSystemId(ownSystem);
        QVERIFY(connector.isListening());
        QPointer<QTcpSocket> handed;
        QStringList devices;
        connect(&connector, &CDeviceConnectorAppSide::deviceInfoReceived, this,
                [&](const QHostAddress&, quint16, const CDeviceId& device, const CSystemId& system, int type,
                    QTcpSocket* socket) {
                    devices += QStringLiteral("%1 %2 %3").arg(device.value()).arg(system.value()).arg(type);
                    handed = socket;
                    if (device.value() == 666)
                        delete socket;
                });
        const QByteArray info = "DISCOVERY RESULT DeviceInfo\r\nDeviceType: 41\r\nDeviceId: 12345\r\nSystemId: 9\r\n";
        QTcpSocket device;
        device.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        device.write(info);
        QTRY_COMPARE(devices, QStringList(QStringLiteral("12345 9 41")));
        QCOMPARE(qobject_cast<QSslSocket*>(handed) != nullptr, useSsl);
        QVERIFY(handed->socketOption(QAbstractSocket::LowDelayOption).toInt() != 0);
        QSignalSpy more(handed.data(), &QTcpSocket::readyRead);
        device.write(info);
        QTRY_COMPARE(more.count(), 1);
        QCOMPARE(devices.size(), 1);
        device.abort();
        QTRY_VERIFY(handed.isNull());

        device.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        device.write("DISCOVERY RESULT DeviceInfo\nDeviceId: 666");
        QTRY_COMPARE(devices.size(), 2);
        QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral(
                                               "Dropped connection of .* due to data that is no device info")));
        device.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        device.write("GET / HTTP/1.1\r\n");
        QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);

        QCOMPARE(ConnectionTiming::current().silence, 5000);
        ConnectionTiming::current().silence = 50;
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("Dropped connection of .* due to silence")));
        device.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        QVERIFY(device.waitForConnected());
        QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(devices.size(), 2);
    }

    // Devices that are called, by TCP and by UDP.
    void calledDevices()
    {
        const QByteArray result = "DISCOVERY RESULT DeviceInfo\r\nDeviceType: 41\r\nDeviceId: 12345\r\nSystemId: 9\r\n";
        QTcpServer gateway;
        QVERIFY(gateway.listen(QHostAddress::LocalHost));
        QUdpSocket udp;
        QVERIFY(udp.bind(QHostAddress::LocalHost));
        QByteArrayList queries;
        connect(&udp, &QUdpSocket::readyRead, this, [&] {
            QByteArray query(1000, '\0');
            QHostAddress sender;
            quint16 port = 0;
            query.resize(int(udp.readDatagram(query.data(), query.size(), &sender, &port)));
            queries += query;
            udp.writeDatagram(result, sender, port);
        });
        connect(&gateway, &QTcpServer::newConnection, this, [&] {
            QTcpSocket* socket = gateway.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [&, socket] {
                queries += socket->readAll();
                socket->write(result);
            });
        });
        CDeviceConnectorAppSide connector(udp.localPort(), true, false);
        connector.setUdpDiscoveryPort(0);
        connector.setSystemId(7);
        QSignalSpy finished(&connector, &CDeviceConnectorAppSide::connectToDevicesFinished);
        QList<QPointer<QTcpSocket>> sockets;
        connect(&connector, &CDeviceConnectorAppSide::deviceInfoReceived, this,
                [&](const QHostAddress&, quint16, const CDeviceId&, const CSystemId&, int, QTcpSocket* socket) {
                    sockets += socket;
                });

        connector.connectToDevices({{QStringLiteral("127.0.0.1:%1").arg(gateway.serverPort()), QLatin1String(label)}});
        QTRY_COMPARE(finished.count(), 1);
        QVERIFY(finished[0][0].toBool());
        QCOMPARE(sockets.size(), 1);
        QTest::qWait(0); // the job is gone
        QVERIFY(sockets[0] && qobject_cast<QSslSocket*>(sockets[0]) && sockets[0]->peerPort() == gateway.serverPort());

        connector.connectToDevices({{QStringLiteral("127.0.0.1"), QLatin1String(label)}});
        QTRY_COMPARE(finished.count(), 2);
        QVERIFY(finished[1][0].toBool());
        QCOMPARE(sockets.size(), 2);
        QVERIFY(sockets[1].isNull());
        const QByteArray query = "DISCOVERY GET DeviceInfo\r\nDeviceType: 41\r\nSystemId: 7\r\n";
        QCOMPARE(queries, (QByteArrayList{query, query}));

        // Another device than the wanted one answers: it is reported, but the job goes on.
        ConnectionTiming::current().step = 200;
        connector.connectToDevices({{QStringLiteral("127.0.0.1"), QStringLiteral("000.000.011")}});
        QTRY_COMPARE(finished.count(), 3);
        QVERIFY(!finished[2][0].toBool());
        QCOMPARE(sockets.size(), 3);
    }
};

QTEST_GUILESS_MAIN(TestDeviceConnectorAppSide)
#include "tst_device_connector_app_side.moc"
