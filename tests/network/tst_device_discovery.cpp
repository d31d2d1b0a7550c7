#include <foundation/network/device_discovery_app_side.h>
#include <foundation/network/device_discovery_device_side.h>

#include <support/tcp_pair.h>

#include <QtCore/QElapsedTimer>
#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <vector>

using Base = CDeviceDiscoveryBase;
using Headers = QMap<Base::Header, QVariant>;

Q_DECLARE_METATYPE(Headers)

namespace {

const QHostAddress localHost(QHostAddress::LocalHost);

// A datagram socket of an independent peer.
struct Peer : QUdpSocket
{
    Peer() { bind(localHost); }
    QByteArray read()
    {
        return QTest::qWaitFor([this] { return hasPendingDatagrams(); }) ? receiveDatagram().data() : QByteArray();
    }
};

quint16 actualPort(const Base& discovery)
{
    return discovery.findChild<QUdpSocket*>()->localPort();
}

quint16 freePort()
{
    return Peer().localPort();
}

struct DeviceInfo
{
    QHostAddress address;
    quint16 port;
    CDeviceId device;
    CSystemId system;
    int type;
};

// The devices that the application side has reported.
struct Reports : std::vector<DeviceInfo>
{
    explicit Reports(CDeviceDiscoveryAppSide& app)
    {
        QObject::connect(&app, &CDeviceDiscoveryAppSide::deviceInfoReceived, &app,
                         [this](const QHostAddress& address, quint16 port, const CDeviceId& device,
                                const CSystemId& system, int type) {
                             push_back({address, port, device, system, type});
                         });
    }
};

struct Device : CDeviceDiscoveryDeviceSide
{
    Device(int type, quint32 id, quint32 system, quint16 port = 0)
        : CDeviceDiscoveryDeviceSide(port, nullptr)
    {
        setDeviceType(type);
        setDeviceId(id);
        setSystemId(system);
    }
};

} // namespace

class DeviceDiscoveryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void render_data();
    void render();
    void parse_data();
    void parse();
    void hostileBytesTakeLinearTime();
    void whichQueriesAreMeant_data();
    void whichQueriesAreMeant();
    void rangesOfTheOwnIds();
    void deviceAnswersOverUdp();
    void applicationAsksOverUdp();
    void rebind();
    void receiverMayDeleteTheDiscovery();
    void applicationAsksOverTcp();
    void applicationListensOnTcp();
    void deviceAnswersOverTcp();
};

void DeviceDiscoveryTest::render_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("expected");
    CDeviceDiscoveryAppSide app(0, nullptr);
    QTest::newRow("query without system")
        << app.renderGetDeviceInfo() << QByteArray("DISCOVERY GET DeviceInfo\r\nDeviceType: 41\r\nSystemId: 0\r\n");
    app.setSystemId(8388607);
    QTest::newRow("query") << app.renderGetDeviceInfo()
                           << QByteArray("DISCOVERY GET DeviceInfo\r\nDeviceType: 41\r\nSystemId: 8388607\r\n");
    QTest::newRow("result") << Device(-7, 67108863, 5).renderDeviceInfoResult()
                            << QByteArray("DISCOVERY RESULT DeviceInfo\r\nDeviceType: -7\r\nDeviceId: "
                                          "67108863\r\nSystemId: 5\r\n");
    QTest::newRow("result of zeros")
        << Device(0, 0, 0).renderDeviceInfoResult()
        << QByteArray("DISCOVERY RESULT DeviceInfo\r\nDeviceType: 0\r\nDeviceId: 0\r\nSystemId: 0\r\n");
    QTest::newRow("one header") << Base::renderHeaders({{Base::DeviceId, 7}}, Base::DeviceInfoResult)
                                << QByteArray("DISCOVERY RESULT DeviceInfo\r\nDeviceId: 7\r\n");
    const Headers strange = {{static_cast<Base::Header>(0), 1}, {static_cast<Base::Header>(4), 1}};
    QTest::newRow("unknown keys, no type")
        << Base::renderHeaders(strange, Base::NoDatagram) << QByteArray("DISCOVERY \r\n");
    QTest::newRow("unknown type") << Base::renderHeaders({}, static_cast<Base::DatagramType>(3))
                                  << QByteArray("DISCOVERY \r\n");
}

void DeviceDiscoveryTest::render()
{
    QFETCH(QByteArray, message);
    QTEST(message, "expected");
}

void DeviceDiscoveryTest::parse_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("type");
    QTest::addColumn<Headers>("expected");
    const auto row = [](const char* name, const QByteArray& data, int type, const Headers& headers) {
        QTest::newRow(name) << data << type << headers;
    };
    const Headers query = {{Base::DeviceType, 41}, {Base::SystemId, 0U}};
    row("query", "DISCOVERY GET DeviceInfo\r\nDeviceType: 41\r\nSystemId: 0\r\n", 1, query);
    row("line feeds only", "DISCOVERY GET DeviceInfo\nDeviceType: 41\nSystemId: 0\n", 1, query);
    row("no line feed at the end", "DISCOVERY GET DeviceInfo\nSystemId: 0\nDeviceType: 41", 1, query);
    row("more behind the start", "DISCOVERY GET DeviceInformation, please\r\n", 1, {});
    row("result", "DISCOVERY RESULT DeviceInfo", 2, {});
    row("lower case", "discovery get deviceinfo\r\nDeviceId: 3\r\n", 0, {{Base::DeviceId, 3U}});
    row("blank in front", " DISCOVERY GET DeviceInfo\r\n", 0, {});
    row("cut start", "DISCOVERY GET DeviceInf", 0, {});
    row("empty", "", 0, {});
    row("one byte", "D", 0, {});
    row("line feeds", "\n\n\n", 0, {});
    row("start on the second line", "\nDISCOVERY GET DeviceInfo\n", 0, {});
    row("blanks", "DISCOVERY RESULT DeviceInfo\r\n DeviceId :  17 \r\n", 2, {{Base::DeviceId, 17U}});
    row("other names", "DISCOVERY RESULT DeviceInfo\r\ndeviceid: 1\r\nDeviceI: 2\r\nDeviceIdX: 3\r\n: 4\r\n", 2, {});
    row("no colon", "DISCOVERY RESULT DeviceInfo\r\nDeviceId 17\r\n", 2, {});
    row("second colon", "DISCOVERY RESULT DeviceInfo\r\nDeviceId: 1:2\r\n", 2, {{Base::DeviceId, 0U}});
    row("twice", "DISCOVERY RESULT DeviceInfo\nDeviceId: 1\nDeviceId: 2\n", 2, {{Base::DeviceId, 2U}});
    row("twice, the last no number", "DISCOVERY RESULT DeviceInfo\nDeviceId: 1\nDeviceId:\n", 2,
        {{Base::DeviceId, 0U}});
    row("numbers", "DISCOVERY RESULT DeviceInfo\nDeviceType: -5\nDeviceId: -5\nSystemId: 4294967295\n", 2,
        {{Base::DeviceType, -5}, {Base::DeviceId, 0U}, {Base::SystemId, 4294967295U}});
    row("numbers too great",
        "DISCOVERY RESULT DeviceInfo\nDeviceType: 2147483648\nDeviceId: 4294967296\nSystemId: 0x10\n", 2,
        {{Base::DeviceType, 0}, {Base::DeviceId, 0U}, {Base::SystemId, 0U}});
}

void DeviceDiscoveryTest::parse()
{
    QFETCH(QByteArray, data);
    auto type = static_cast<Base::DatagramType>(99);
    const Headers headers = Base::parseHeaders(data, type);
    QTEST(static_cast<int>(type), "type");
    QTEST(headers, "expected");
    for (auto header = headers.cbegin(); header != headers.cend(); ++header)
        QCOMPARE(int(header.value().userType()),
                 int(header.key() == Base::DeviceType ? QMetaType::Int : QMetaType::UInt));
}

void DeviceDiscoveryTest::hostileBytesTakeLinearTime()
{
    // Quadratic work on any of these would take minutes.
    constexpr int size = 2 * 1024 * 1024;
    const QByteArray start = "DISCOVERY RESULT DeviceInfo\n";
    const QByteArray bodies[] = {QByteArray("DeviceId: 1\n").repeated(size / 12),
                                 QByteArray(size, '\n'),
                                 QByteArray(size, ':'),
                                 QByteArray(size, ' ') + ':',
                                 QByteArray(":\n").repeated(size / 2),
                                 "DeviceId:" + QByteArray(size, '1'),
                                 QByteArray(size, '\0')};
    QElapsedTimer timer;
    timer.start();
    for (const QByteArray& body : bodies) {
        auto type = Base::NoDatagram;
        Base::parseHeaders(start + body, type);
        QCOMPARE(type, Base::DeviceInfoResult);
    }
    QVERIFY2(timer.elapsed() < 6000, qPrintable(QString::number(timer.elapsed())));
}

void DeviceDiscoveryTest::whichQueriesAreMeant_data()
{
    QTest::addColumn<quint32>("ownSystem");
    QTest::addColumn<Headers>("query");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<quint32>("querySystem");
    const auto row = [](const char* name, quint32 ownSystem, const Headers& query, bool valid, quint32 querySystem) {
        QTest::newRow(name) << ownSystem << query << valid << querySystem;
    };
    row("nothing asked", 5, {}, true, 0);
    row("type", 5, {{Base::DeviceType, 70}}, true, 0);
    row("any type", 5, {{Base::DeviceType, 0}}, true, 0);
    row("other type", 5, {{Base::DeviceType, 41}, {Base::SystemId, 5}}, false, 5);
    row("device without system", 0, {{Base::SystemId, 5}}, true, 5);
    row("same system", 5, {{Base::SystemId, 5}}, true, 5);
    row("other system", 5, {{Base::SystemId, 6}}, false, 6);
    row("system out of range", 5, {{Base::SystemId, 0x800000U}}, true, 0);
    row("same device", 5, {{Base::DeviceId, 77}}, true, 0);
    row("other device", 5, {{Base::DeviceId, 78}}, false, 0);
    row("device out of range", 5, {{Base::DeviceId, 0x4000000U}}, true, 0);
}

void DeviceDiscoveryTest::whichQueriesAreMeant()
{
    QFETCH(quint32, ownSystem);
    QFETCH(Headers, query);
    QFETCH(bool, valid);
    const Device device(70, 77, ownSystem);
    quint32 querySystem = 99;
    QCOMPARE(device.isValidDeviceInfoQuery(query, &querySystem), valid);
    QTEST(querySystem, "querySystem");
    QCOMPARE(device.isValidDeviceInfoQuery(query, nullptr), valid);
}

void DeviceDiscoveryTest::rangesOfTheOwnIds()
{
    Device device(0, 0x3FFFFFF, 0x7FFFFF);
    QCOMPARE(device.deviceId(), 0x3FFFFFFU);
    QCOMPARE(device.systemId(), 0x7FFFFFU);
    device.setDeviceId(0x4000000);
    device.setSystemId(0x800000);
    QCOMPARE(device.deviceId(), 0U);
    QCOMPARE(device.systemId(), 0U);
    QCOMPARE(device.objectName(), QStringLiteral("CDeviceDiscoveryDeviceSide"));
    QCOMPARE(CDeviceDiscoveryAppSide(0, nullptr).objectName(), QStringLiteral("CDeviceDiscoveryAppSide"));
}

void DeviceDiscoveryTest::deviceAnswersOverUdp()
{
    const Device device(41, 12345, 5);
    const quint16 port = actualPort(device);
    Peer peer;
    const QByteArray hostile[] = {"",
                                  "\n",
                                  "x",
                                  QByteArray(65507, '\xff'),
                                  QByteArray(65507, '\n'),
                                  "DISCOVERY RESULT DeviceInfo\r\n", // a result is none of a device's business
                                  "DISCOVERY GET DeviceInfo\r\nSystemId: 6\r\n"};
    for (const QByteArray& datagram : hostile)
        peer.writeDatagram(datagram, localHost, port);
    peer.writeDatagram("DISCOVERY GET DeviceInfo\r\nSystemId: 5\r\n", localHost, port);
    // The only answer is that to the last one.
    QCOMPARE(peer.read(), device.renderDeviceInfoResult());
    QVERIFY(!peer.hasPendingDatagrams());

    QTest::ignoreMessage(QtInfoMsg, "CDeviceDiscovery: Received UDP device info query from 127.0.0.1, system 6");
    QTest::ignoreMessage(QtInfoMsg, "CDeviceDiscovery: Received UDP device info query from 127.0.0.1, system 5");
    QTest::ignoreMessage(QtInfoMsg, "CDeviceDiscovery: Send UDP device info to 127.0.0.1, ID 12345");
    Device silent(41, 12345, 5);
    silent.receiveMessage(Base::GetDeviceInfo, {{Base::SystemId, 6}}, localHost, peer.localPort());
    silent.receiveMessage(Base::GetDeviceInfo, {{Base::SystemId, 5}}, localHost, peer.localPort());
    QCOMPARE(peer.read(), device.renderDeviceInfoResult());
}

void DeviceDiscoveryTest::applicationAsksOverUdp()
{
    Peer peer;
    CDeviceDiscoveryAppSide app(freePort(), nullptr);
    app.setSystemId(9);
    const Reports received(app);
    QTest::ignoreMessage(
        QtInfoMsg,
        qPrintable(
            QStringLiteral("CDeviceDiscovery: Send UDP query for device info to 127.0.0.1:%1").arg(peer.localPort())));
    app.sendGetDeviceInfoUdp(localHost, peer.localPort());
    QCOMPARE(peer.read(), app.renderGetDeviceInfo());

    peer.writeDatagram("DISCOVERY GET DeviceInfo\r\n", localHost, actualPort(app));
    peer.writeDatagram("DISCOVERY RESULT DeviceInfo\r\nDeviceType: 41\r\nDeviceId: 70000000\r\nSystemId: 9000000\r\n",
                       localHost, actualPort(app));
    peer.writeDatagram("DISCOVERY RESULT DeviceInfo\r\nDeviceType: 70\r\nDeviceId: 12345\r\nSystemId: 8\r\n", localHost,
                       actualPort(app));
    QTRY_COMPARE(int(received.size()), 2);
    QCOMPARE(received[0].address, localHost);
    QCOMPARE(received[0].port, peer.localPort());
    QCOMPARE(received[0].device, CDeviceId());
    QCOMPARE(received[0].system, CSystemId());
    QCOMPARE(received[0].type, 41);
    QCOMPARE(received[1].device, CDeviceId(12345));
    QCOMPARE(received[1].system, CSystemId(8));
    QCOMPARE(received[1].type, 70);
}

void DeviceDiscoveryTest::rebind()
{
    Peer peer;
    CDeviceDiscoveryAppSide app(peer.localPort(), nullptr); // taken: not reported
    const quint16 first = freePort(), second = freePort();
    Device device(41, 1, 0, first);
    QSignalSpy changes(device.findChild<QUdpSocket*>(), &QUdpSocket::stateChanged);
    device.bindOnUdpPort(first);
    QCOMPARE(changes.size(), 0);
    device.bindOnUdpPort(second);
    QVERIFY(changes.size() > 0);
    QCOMPARE(actualPort(device), second);
    QCOMPARE(device.boundPort(), second);
    peer.writeDatagram("DISCOVERY GET DeviceInfo\r\n", localHost, second);
    QCOMPARE(peer.read(), device.renderDeviceInfoResult());
    // A query without a port goes to the constructor's port, whatever the socket is bound to by now.
    app.bindOnUdpPort(freePort());
    app.sendGetDeviceInfoUdp(localHost, 0);
    QCOMPARE(peer.read(), app.renderGetDeviceInfo());
}

void DeviceDiscoveryTest::receiverMayDeleteTheDiscovery()
{
    auto* app = new CDeviceDiscoveryAppSide(freePort(), nullptr);
    QPointer<CDeviceDiscoveryAppSide> alive(app);
    connect(app, &CDeviceDiscoveryAppSide::deviceInfoReceived, this, [app] { delete app; });
    Peer peer;
    for (int i = 0; i < 3; ++i)
        peer.writeDatagram("DISCOVERY RESULT DeviceInfo\r\n", localHost, actualPort(*app));
    QTRY_VERIFY(!alive);
}

void DeviceDiscoveryTest::applicationAsksOverTcp()
{
    CDeviceDiscoveryAppSide app(0, nullptr);
    const Reports received(app);
    QSignalSpy failed(&app, &CDeviceDiscoveryAppSide::tcpQueryFailed);
    app.sendGetDeviceInfoTcp(nullptr);
    QCOMPARE(failed.size(), 0);
    QTcpSocket idle;
    app.sendGetDeviceInfoTcp(&idle);
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed[0][0].value<QTcpSocket*>(), &idle);

    TcpPair pair;
    QVERIFY(pair.accepted);
    app.sendGetDeviceInfoTcp(&pair.client);
    app.sendGetDeviceInfoTcp(&pair.client); // a second query, no second connection
    QCOMPARE(TcpPair::read(*pair.accepted, 2 * app.renderGetDeviceInfo().size()),
             app.renderGetDeviceInfo().repeated(2));
    pair.accepted->write("DISCOVERY RESULT DeviceInfo\r\nDeviceType: 41\r\nDeviceId: 7\r\nSystemId: 3\r\n");
    QTRY_COMPARE(int(received.size()), 1);
    QCOMPARE(received[0].address, localHost);
    QCOMPARE(received[0].port, pair.server.serverPort());
    QCOMPARE(received[0].device, CDeviceId(7));

    // What comes later is no answer and stays in the socket.
    pair.accepted->write("DISCOVERY RESULT DeviceInfo\r\n");
    QTRY_VERIFY(pair.client.bytesAvailable() > 0);
    QCOMPARE(int(received.size()), 1);
    pair.client.readAll();

    app.sendGetDeviceInfoTcp(&pair.client);
    pair.accepted->write("HTTP/1.1 400 Bad Request\r\n");
    QTRY_COMPARE(failed.size(), 2);
    QCOMPARE(failed[1][0].value<QTcpSocket*>(), &pair.client);

    app.sendGetDeviceInfoTcp(&pair.client);
    pair.accepted->write("DISCOVERY GET DeviceInfo\r\n"); // neither an answer nor a failure
    QSignalSpy ready(&pair.client, &QTcpSocket::readyRead);
    QVERIFY(ready.wait());
    QCOMPARE(failed.size(), 2);
    QCOMPARE(int(received.size()), 1);
}

void DeviceDiscoveryTest::applicationListensOnTcp()
{
    CDeviceDiscoveryAppSide app(0, nullptr);
    TcpPair pair;
    QVERIFY(pair.accepted);
    CDeviceId deviceId(1);
    CSystemId systemId(2);
    int deviceType = 3;
    QVERIFY(!app.parseDeviceInfoResult(nullptr, deviceId, systemId, deviceType));
    const auto parse = [&](const QByteArray& sent) {
        pair.accepted->write(sent);
        QSignalSpy(&pair.client, &QTcpSocket::readyRead).wait();
        return app.parseDeviceInfoResult(&pair.client, deviceId, systemId, deviceType);
    };
    QVERIFY(!parse("DISCOVERY GET DeviceInfo\r\nDeviceId: 9\r\n"));
    QCOMPARE(deviceId, CDeviceId(1));
    QCOMPARE(systemId, CSystemId(2));
    QCOMPARE(deviceType, 3);
    QTest::ignoreMessage(
        QtInfoMsg,
        qPrintable(
            QStringLiteral("CDeviceDiscovery: Received device info from 127.0.0.1:%1").arg(pair.server.serverPort())));
    QVERIFY(parse("DISCOVERY RESULT DeviceInfo\r\nDeviceType: 41\r\nDeviceId: 12345\r\n"));
    QCOMPARE(deviceId, CDeviceId(12345));
    QCOMPARE(systemId, CSystemId());
    QCOMPARE(deviceType, 41);
}

void DeviceDiscoveryTest::deviceAnswersOverTcp()
{
    Device device(41, 12345, 5);
    TcpPair pair;
    QVERIFY(pair.accepted);
    const QByteArray result = device.renderDeviceInfoResult();
    QTcpSocket idle;
    device.sendDeviceInfoResult(nullptr);
    device.sendDeviceInfoResult(&idle);
    device.sendDeviceInfoResult(&pair.client);
    QCOMPARE(TcpPair::read(*pair.accepted, result.size()), result);

    const QByteArray unanswered[] = {"DISCOVERY GET DeviceInfo\r\nDeviceType: 70\r\n",
                                     "DISCOVERY RESULT DeviceInfo\r\n", QByteArray(100, '\0')};
    QTest::ignoreMessage(QtInfoMsg, "CDeviceDiscovery: Received TCP device info query from 127.0.0.1, system 0");
    for (const QByteArray& message : unanswered) {
        pair.accepted->write(message);
        QVERIFY(QSignalSpy(&pair.client, &QTcpSocket::readyRead).wait());
        device.checkMessageAndSendDeviceInforResult(&pair.client);
    }
    QTest::ignoreMessage(QtInfoMsg, "CDeviceDiscovery: Received TCP device info query from 127.0.0.1, system 5");
    QTest::ignoreMessage(QtInfoMsg, "CDeviceDiscovery: Send TCP device info to 127.0.0.1, ID 12345");
    pair.accepted->write("DISCOVERY GET DeviceInfo\r\nSystemId: 5\r\n");
    QVERIFY(QSignalSpy(&pair.client, &QTcpSocket::readyRead).wait());
    device.checkMessageAndSendDeviceInforResult(&pair.client);
    QCOMPARE(TcpPair::read(*pair.accepted, result.size()), result);
    QCOMPARE(pair.client.state(), QAbstractSocket::ConnectedState);
}

QTEST_GUILESS_MAIN(DeviceDiscoveryTest)

#include "tst_device_discovery.moc"
