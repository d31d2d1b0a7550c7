#include <foundation/network/device_discovery_app_side.h>
#include <foundation/network/device_discovery_device_side.h>

#include <support/tcp_pair.h>

#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

using Base = CDeviceDiscoveryBase;
using Headers = QMap<Base::Header, QVariant>;

namespace {

const QHostAddress localHost(QHostAddress::LocalHost);
const QByteArray get = "DISCOVERY GET DeviceInfo\r\n";
const QByteArray result = "DISCOVERY RESULT DeviceInfo\r\n";

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

// The application side and the devices it has reported: "address:port id system type".
struct App : CDeviceDiscoveryAppSide
{
    QStringList reports;
    QTcpSocket* lastAnswered = nullptr;

    App()
        : CDeviceDiscoveryAppSide(freePort(), nullptr)
    {
        connect(this, &CDeviceDiscoveryAppSide::deviceInfoReceived, this,
                [this](const QHostAddress& address, quint16 port, const CDeviceId& device, const CSystemId& system,
                       int type) {
                    lastAnswered = answeringSocket();
                    reports += QStringLiteral("%1:%2 %3 %4 %5")
                                   .arg(address.toString())
                                   .arg(port)
                                   .arg(device.value())
                                   .arg(system.value())
                                   .arg(type);
                });
    }
};

QString loopback(quint16 port)
{
    return QStringLiteral("127.0.0.1:%1").arg(port);
}

void expectInfo(const QString& text)
{
    QTest::ignoreMessage(QtInfoMsg, qPrintable(QStringLiteral("CDeviceDiscovery: ") + text));
}

} // namespace

class DeviceDiscoveryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void render()
    {
        App app;
        QCOMPARE(app.renderGetDeviceInfo(), get + "DeviceType: 41\r\nSystemId: 0\r\n");
        app.setSystemId(8388607);
        QCOMPARE(app.renderGetDeviceInfo(), get + "DeviceType: 41\r\nSystemId: 8388607\r\n");
        QCOMPARE(Device(-7, 67108863, 5).renderDeviceInfoResult(),
                 result + "DeviceType: -7\r\nDeviceId: 67108863\r\nSystemId: 5\r\n");
        QCOMPARE(Device(0, 0x4000000, 0x800000).renderDeviceInfoResult(),
                 result + "DeviceType: 0\r\nDeviceId: 0\r\nSystemId: 0\r\n");
        const Headers strange = {
            {static_cast<Base::Header>(0), 1}, {Base::DeviceId, 7}, {static_cast<Base::Header>(4), 1}};
        QCOMPARE(Base::renderHeaders(strange, Base::DeviceInfoResult), result + "DeviceId: 7\r\n");
        QCOMPARE(Base::renderHeaders({}, static_cast<Base::DatagramType>(3)), QByteArray("DISCOVERY \r\n"));
    }

    void parse()
    {
        const Headers query = {{Base::DeviceType, 41}, {Base::SystemId, 0U}};
        const struct
        {
            QByteArray data;
            int type;
            Headers headers;
        } rows[] = {
            {get + "DeviceType: 41\r\nSystemId: 0\r\n", 1, query},
            {"DISCOVERY GET DeviceInfo\nSystemId: 0\nDeviceType: 41", 1, query},
            {"DISCOVERY GET DeviceInformation, please\r\n", 1, {}},
            {"discovery get deviceinfo\r\nDeviceId: 3\r\n", 0, {{Base::DeviceId, 3U}}},
            {" " + get, 0, {}},
            {"\n" + get, 0, {}},
            {"DISCOVERY GET DeviceInf", 0, {}},
            {"", 0, {}},
            {"D", 0, {}},
            {result + " DeviceId :  17 \r\n", 2, {{Base::DeviceId, 17U}}},
            {result + "deviceid: 1\r\nDeviceI: 2\r\nDeviceIdX: 3\r\n: 4\r\nDeviceId 5\r\n", 2, {}},
            {result + "DeviceId: 1:2\r\n", 2, {{Base::DeviceId, 0U}}},
            {result + "DeviceId: 1\nDeviceId: 2\n", 2, {{Base::DeviceId, 2U}}},
            {result + "DeviceId: 1\nDeviceId:\n", 2, {{Base::DeviceId, 0U}}},
            {result + "DeviceType: -5\nDeviceId: -5\nSystemId: 4294967295\n",
             2,
             {{Base::DeviceType, -5}, {Base::DeviceId, 0U}, {Base::SystemId, 4294967295U}}},
            {result + "DeviceType: 2147483648\nDeviceId: 4294967296\nSystemId: 0x10\n",
             2,
             {{Base::DeviceType, 0}, {Base::DeviceId, 0U}, {Base::SystemId, 0U}}},
        };
        for (const auto& row : rows) {
            auto type = static_cast<Base::DatagramType>(99);
            const Headers headers = Base::parseHeaders(row.data, type);
            QVERIFY2(int(type) == row.type && headers == row.headers, row.data);
        }
    }

    void hostileBytesTakeLinearTime()
    {
        constexpr int size = 4 * 1024 * 1024; // quadratic work on any of these would take hours
        for (const QByteArray& body :
             QByteArrayList{QByteArray("DeviceId: 1\n").repeated(size / 12), QByteArray(size, '\n'),
                            QByteArray(size, ':'), QByteArray(size, ' ') + ':', QByteArray(size, '\0'),
                            QByteArray(":\n").repeated(size / 2), "DeviceId:" + QByteArray(size, '1')}) {
            auto type = Base::NoDatagram;
            Base::parseHeaders(result + body, type);
            QCOMPARE(type, Base::DeviceInfoResult);
        }
    }

    void whichQueriesAreMeant()
    {
        const struct
        {
            quint32 ownSystem;
            Headers query;
            bool valid;
            quint32 querySystem;
        } rows[] = {
            {5, {}, true, 0},
            {5, {{Base::DeviceType, 70}}, true, 0},
            {5, {{Base::DeviceType, 0}}, true, 0},
            {5, {{Base::DeviceType, 41}, {Base::SystemId, 5}}, false, 5},
            {0, {{Base::SystemId, 5}}, true, 5},
            {5, {{Base::SystemId, 5}}, true, 5},
            {5, {{Base::SystemId, 6}}, false, 6},
            {5, {{Base::SystemId, 0x800000U}}, true, 0},
            {5, {{Base::DeviceId, 77}}, true, 0},
            {5, {{Base::DeviceId, 78}}, false, 0},
            {5, {{Base::DeviceId, 0x4000000U}}, true, 0},
        };
        for (const auto& row : rows) {
            const Device device(70, 77, row.ownSystem);
            quint32 querySystem = 99;
            QCOMPARE(device.isValidDeviceInfoQuery(row.query, &querySystem), row.valid);
            QCOMPARE(querySystem, row.querySystem);
            QCOMPARE(device.isValidDeviceInfoQuery(row.query, nullptr), row.valid);
        }
    }

    void deviceAnswersOverUdp()
    {
        const Device device(41, 12345, 5);
        Peer peer;
        expectInfo(QStringLiteral("Received UDP device info query from 127.0.0.1, system 6"));
        expectInfo(QStringLiteral("Received UDP device info query from 127.0.0.1, system 5"));
        expectInfo(QStringLiteral("Send UDP device info to 127.0.0.1, ID 12345"));
        for (const QByteArray& datagram :
             QByteArrayList{QByteArray(), QByteArray("\n"), QByteArray("x"), QByteArray(65507, '\xff'),
                            QByteArray(65507, '\n'), result, get + "SystemId: 6\r\n", get + "SystemId: 5\r\n"})
            peer.writeDatagram(datagram, localHost, actualPort(device));
        // The only answer is that to the last one.
        QCOMPARE(peer.read(), device.renderDeviceInfoResult());
        QVERIFY(!peer.hasPendingDatagrams());
    }

    void applicationAsksOverUdp()
    {
        Peer peer;
        App app;
        expectInfo(QStringLiteral("Send UDP query for device info to ") + loopback(peer.localPort()));
        app.sendGetDeviceInfoUdp(localHost, peer.localPort());
        QCOMPARE(peer.read(), app.renderGetDeviceInfo());

        expectInfo(QStringLiteral("Received device info from ") + loopback(peer.localPort()));
        for (const QByteArray& datagram :
             QByteArrayList{get, result + "DeviceType: 41\r\nDeviceId: 70000000\r\nSystemId: 9000000\r\n",
                            result + "DeviceType: 70\r\nDeviceId: 12345\r\nSystemId: 8\r\n"})
            peer.writeDatagram(datagram, localHost, actualPort(app));
        QTRY_COMPARE(app.reports, (QStringList{loopback(peer.localPort()) + QStringLiteral(" 0 0 41"),
                                               loopback(peer.localPort()) + QStringLiteral(" 12345 8 70")}));
    }

    void rebind()
    {
        Peer peer;
        CDeviceDiscoveryAppSide app(peer.localPort(), nullptr); // taken: not reported
        const quint16 first = freePort(), second = freePort();
        Device device(41, 1, 0, first);
        QSignalSpy changes(device.findChild<QUdpSocket*>(), &QUdpSocket::stateChanged);
        device.bindOnUdpPort(first);
        QCOMPARE(changes.size(), 0);
        device.bindOnUdpPort(second);
        peer.writeDatagram(get, localHost, second);
        QCOMPARE(peer.read(), device.renderDeviceInfoResult());
        // A query without a port goes to the constructor's port, whatever the socket is bound to by now.
        app.bindOnUdpPort(freePort());
        app.sendGetDeviceInfoUdp(localHost, 0);
        QCOMPARE(peer.read(), app.renderGetDeviceInfo());
    }

    void chosenPortsAreNobodyElses()
    {
        QObject all;
        QSet<quint16> ports;
        for (int i = 0; i < 400; ++i)
            ports.insert(actualPort(*new CDeviceDiscoveryAppSide(0, &all)));
        QCOMPARE(ports.size(), 400);
        CDeviceDiscoveryAppSide sharer(*ports.constBegin(), nullptr);
        QCOMPARE(actualPort(sharer), *ports.constBegin());
    }

    void receiverMayDeleteTheDiscovery()
    {
        QPointer<App> app = new App;
        connect(app, &CDeviceDiscoveryAppSide::deviceInfoReceived, this, [app] { delete app; });
        Peer peer;
        for (int i = 0; i < 3; ++i)
            peer.writeDatagram(result, localHost, actualPort(*app));
        QTRY_VERIFY(!app);
    }

    void applicationAsksOverTcp()
    {
        App app;
        QSignalSpy failed(&app, &CDeviceDiscoveryAppSide::tcpQueryFailed);
        QTcpSocket idle;
        app.sendGetDeviceInfoTcp(nullptr);
        app.sendGetDeviceInfoTcp(&idle);
        QCOMPARE(failed.size(), 1);
        QCOMPARE(failed[0][0].value<QTcpSocket*>(), &idle);

        TcpPair pair;
        QVERIFY(pair.accepted);
        const QByteArray query = app.renderGetDeviceInfo();
        app.sendGetDeviceInfoTcp(&pair.client);
        app.sendGetDeviceInfoTcp(&pair.client); // a second query, no second connection
        QCOMPARE(TcpPair::read(*pair.accepted, 2 * query.size()), query + query);
        pair.accepted->write(result + "DeviceType: 41\r\nDeviceId: 7\r\nSystemId: 3\r\n");
        QTRY_COMPARE(app.reports, QStringList(loopback(pair.server.serverPort()) + QStringLiteral(" 7 3 41")));
        QVERIFY(app.lastAnswered == &pair.client && !app.answeringSocket());
        // What comes later is no answer and stays in the socket.
        pair.accepted->write(result);
        QTRY_COMPARE(pair.client.bytesAvailable(), qint64(result.size()));
        pair.client.readAll();

        app.sendGetDeviceInfoTcp(&pair.client);
        pair.accepted->write("HTTP/1.1 400 Bad Request\r\n");
        QTRY_COMPARE(failed.size(), 2);
        app.sendGetDeviceInfoTcp(&pair.client);
        pair.accepted->write(get); // neither an answer nor a failure
        QVERIFY(QSignalSpy(&pair.client, &QTcpSocket::readyRead).wait());
        QCOMPARE(failed.size(), 2);
        QCOMPARE(app.reports.size(), 1);
    }

    void connectedDeviceTellsItself()
    {
        App app;
        TcpPair pair;
        QVERIFY(pair.accepted);
        CDeviceId deviceId(1);
        CSystemId systemId(2);
        int deviceType = 3;
        const auto parse = [&](const QByteArray& sent) {
            pair.accepted->write(sent);
            QSignalSpy(&pair.client, &QTcpSocket::readyRead).wait();
            return app.parseDeviceInfoResult(&pair.client, deviceId, systemId, deviceType);
        };
        QVERIFY(!app.parseDeviceInfoResult(nullptr, deviceId, systemId, deviceType));
        QVERIFY(!parse(get + "DeviceId: 9\r\n"));
        QVERIFY(deviceId == CDeviceId(1) && systemId == CSystemId(2) && deviceType == 3);
        QVERIFY(parse(result + "DeviceType: 41\r\nDeviceId: 12345\r\n"));
        QVERIFY(deviceId == CDeviceId(12345) && systemId == CSystemId() && deviceType == 41);
    }

    void deviceAnswersOverTcp()
    {
        Device device(41, 12345, 5);
        TcpPair pair;
        QVERIFY(pair.accepted);
        const QByteArray answer = device.renderDeviceInfoResult();
        QTcpSocket idle;
        device.sendDeviceInfoResult(nullptr);
        device.sendDeviceInfoResult(&idle);
        device.sendDeviceInfoResult(&pair.client);
        QCOMPARE(TcpPair::read(*pair.accepted, answer.size()), answer);

        expectInfo(QStringLiteral("Received TCP device info query from 127.0.0.1, system 0"));
        expectInfo(QStringLiteral("Received TCP device info query from 127.0.0.1, system 5"));
        expectInfo(QStringLiteral("Send TCP device info to 127.0.0.1, ID 12345"));
        for (const QByteArray& message :
             QByteArrayList{get + "DeviceType: 70\r\n", result, QByteArray(100, '\0'), get + "SystemId: 5\r\n"}) {
            pair.accepted->write(message);
            QVERIFY(QSignalSpy(&pair.client, &QTcpSocket::readyRead).wait());
            device.checkMessageAndSendDeviceInforResult(&pair.client);
        }
        QCOMPARE(TcpPair::read(*pair.accepted, answer.size()), answer);
        QCOMPARE(pair.client.state(), QAbstractSocket::ConnectedState);
    }
};

QTEST_GUILESS_MAIN(DeviceDiscoveryTest)

#include "tst_device_discovery.moc"
