#include <foundation/network/signaling_server_app_side.h>
#include <foundation/network/signaling_server_device_side.h>

#include <support/tcp_pair.h>
#include <support/transport_link.h>

#include <QtCore/QCryptographicHash>
#include <QtNetwork/QNetworkReply>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <memory>

namespace {

const QByteArray sharedKey = QByteArray::fromHex(KYR_TEST_SIGNALING_KEY);

QByteArray macOf(const QByteArray& body)
{
    return QCryptographicHash::hash(QByteArray(sharedKey + body), QCryptographicHash::Sha256).toHex();
}

// The service: keeps the last request and answers it with `answer`, signed.
class Service : public TlsServer
{
public:
    Service()
        : TlsServer(TransportLink::localCertificate())
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = nextPendingConnection();
            request.clear();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                request += socket->readAll();
                const auto end = request.indexOf("\r\n\r\n");
                const auto length = request.toLower().indexOf("content-length: ");
                if (end < 0 || request.size() < end + 4 + request.mid(length + 16, 6).split('\r').first().toInt())
                    return;
                socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\nBrellMAC: " + macOf(answer)
                              + "\r\nContent-Length: " + QByteArray::number(answer.size()) + "\r\n\r\n" + answer);
                socket->disconnectFromHost();
            });
        });
    }

    QByteArray answer;
    QByteArray request;
};

class FakeReply : public QNetworkReply
{
public:
    explicit FakeReply(const QByteArray& mac)
    {
        if (!mac.isNull())
            setRawHeader("BrellMAC", mac);
    }
    void abort() override {}

protected:
    qint64 readData(char*, qint64) override { return -1; }
};

} // namespace

class tst_SignalingServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCOMPARE(sharedKey.size(), 32);
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(QSslCertificate::fromData(TransportLink::authority().chainPem(), QSsl::Pem));
        QSslConfiguration::setDefaultConfiguration(configuration);
    }

    void device()
    {
        CSignalingServerDeviceSide server(addressOf(m_service), &m_manager);
        server.setDevice(CDeviceId(67108863));
        server.setSystemId(CSystemId(12345));
        server.setVersion(QString::fromUtf8("1.2 \xC3\xBC"));
        server.addInfo(QStringLiteral("extra"), true);
        server.addInterface(QStringLiteral("eth0"), QStringLiteral("10.0.0.7"), 65535);
        server.addInterface(QStringLiteral("wlan0"), QStringLiteral("fe80::1"), 443);
        const QByteArray expected = "{\"device\":67108863,\"extra\":true,\"interfaces\":["
                                    "{\"ip\":\"10.0.0.7\",\"name\":\"eth0\",\"port\":65535},"
                                    "{\"ip\":\"fe80::1\",\"name\":\"wlan0\",\"port\":443}],"
                                    "\"system\":12345,\"version\":\"1.2 \xC3\xBC\"}";
        m_service.answer = "{\"authority_list\":\"a.example b.example:8443\"}";
        for (int i = 0; i < 2; ++i) { // the interfaces are still there the second time
            QByteArray answer;
            QNetworkReply* reply = nullptr;
            QCOMPARE(exchange(server, &answer, &reply), expected);
            QString authorities;
            QVERIFY(server.getSoftwareInfo(reply, answer, authorities));
            QCOMPARE(authorities, QStringLiteral("a.example b.example:8443"));
        }
        QVERIFY(!m_service.request.contains(sharedKey));
    }

    void application()
    {
        CSignalingServerAppSide server(addressOf(m_service), &m_manager);
        server.setSystemId(CSystemId(7));
        server.setGateways({CDeviceId(9), CDeviceId(5), CDeviceId(9)});
        server.setAuthorities({QStringLiteral("a.example"), QString(), QStringLiteral("b.example")});
        m_service.answer = "{\"gateways\":{\"5\":\"10.0.0.5:443\"}}";
        QByteArray answer;
        QNetworkReply* reply = nullptr;
        QCOMPARE(exchange(server, &answer, &reply),
                 QByteArray("{\"authority_list\":\"a.example b.example\",\"gateways\":[9,5,9],\"system\":7}"));
        QMap<CDeviceId, QString> gateways;
        QVERIFY(server.getGatewaysInfo(reply, answer, gateways));
        QCOMPARE(gateways.value(CDeviceId(5)), QStringLiteral("10.0.0.5:443"));
    }

    void replies()
    {
        const CSignalingServerDeviceSide server(QStringLiteral("signal.example"), &m_manager);
        const auto read = [&](const QByteArray& body, const QByteArray& mac) {
            QString authorities = QStringLiteral("untouched");
            const FakeReply reply(mac);
            const bool accepted = server.getSoftwareInfo(&reply, body, authorities);
            return QString((accepted ? QStringLiteral("accepted ") : QString()) + authorities);
        };
        const QByteArray body = "{\"authority_list\":\"a.example\"}";
        const QByteArray mac = macOf(body);
        QCOMPARE(read(body, mac), QStringLiteral("accepted a.example"));
        QCOMPARE(read("[1]", macOf("[1]")), QStringLiteral("accepted "));
        for (const QByteArray& broken : {QByteArray(), body.left(10), QByteArray("{\"a\":[{\"b\":{},\"b\":1}]}")}) {
            QCOMPARE(read(broken, macOf(broken)), QStringLiteral("untouched"));
            QCOMPARE(read(broken, mac), QStringLiteral("untouched"));
        }
        const QByteArray withoutKey = QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex();
        QByteArrayList wrong{{}, mac.left(63), mac + '0', mac.toUpper(), macOf(body + ' '), withoutKey, mac, mac};
        wrong[6][0] = mac[0] == 'a' ? 'b' : 'a';
        wrong[7][63] = mac[63] == 'a' ? 'b' : 'a';
        for (const QByteArray& other : qAsConst(wrong)) {
            QTest::ignoreMessage(QtWarningMsg, "SignalingServer: mismatching MACs");
            QCOMPARE(read(body, other), QStringLiteral("untouched"));
        }
    }

    void gateways()
    {
        const QByteArray body =
            "{\"gateways\":{\"5\":\"five\",\"6\":\"\",\"7\":7,\"70000000\":\"beyond\",\"67108863\":\"last\"}}";
        const FakeReply reply(macOf(body));
        CSignalingServerAppSide server(QStringLiteral("signal.example"), &m_manager);
        const QMap<CDeviceId, QString> before{{CDeviceId(1), QStringLiteral("before")}};
        QMap<CDeviceId, QString> gateways = before;
        QVERIFY(!server.getGatewaysInfo(nullptr, body, gateways));
        QTest::ignoreMessage(QtWarningMsg, "SignalingServer: mismatching MACs");
        QVERIFY(!server.getGatewaysInfo(&reply, body + ' ', gateways));
        QCOMPARE(gateways, before);
        QVERIFY(server.getGatewaysInfo(&reply, body, gateways));
        QCOMPARE(gateways, (QMap<CDeviceId, QString>{{CDeviceId(0), QStringLiteral("beyond")},
                                                     {CDeviceId(5), QStringLiteral("five")},
                                                     {CDeviceId(67108863), QStringLiteral("last")}}));

        auto manager = std::make_unique<QNetworkAccessManager>();
        CSignalingServerAppSide orphan(QStringLiteral("signal.example"), manager.get());
        manager.reset();
        QVERIFY(orphan.sendData() == nullptr);
    }

    void keyIsHidden()
    {
        QFile file(QStringLiteral(KYR_BUILD_DIR "/lib/libkyr_foundation.so"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray library = file.readAll();
        QVERIFY(library.contains("BrellMAC"));
        QVERIFY(!library.contains(sharedKey.toHex()) && !library.contains(sharedKey.toHex().toUpper()));
        // No piece of it either, neither as it is nor as the operand of an instruction.
        for (int i = 0; i + 6 <= sharedKey.size(); ++i)
            QVERIFY2(!library.contains(sharedKey.mid(i, 6)), qPrintable(QString::number(i)));
    }

private:
    // Sends, and checks what the service received but for the body, which is returned.
    QByteArray exchange(CSignalingServerBase& server, QByteArray* answer, QNetworkReply** reply)
    {
        QNetworkReply* const sent = server.sendData();
        sent->setParent(this);
        *reply = sent;
        if (!sent->isFinished() && !QSignalSpy(sent, &QNetworkReply::finished).wait(5000))
            return "time-out";
        if (sent->error() != QNetworkReply::NoError)
            return sent->errorString().toUtf8();
        *answer = sent->readAll();

        const QByteArray request = m_service.request;
        const auto end = request.indexOf("\r\n\r\n");
        const QByteArray head = request.left(end + 2);
        const QByteArray body = request.mid(end + 4);
        if (!head.startsWith("POST /tovr/signal HTTP/1.1\r\n")
            || !head.contains(QByteArray("\r\nBrellMAC: " + macOf(body) + "\r\n"))
            || !head.contains("\r\nContent-Type: text/plain; charset=UTF-8\r\n"))
            return head;
        return body;
    }

    Service m_service;
    QNetworkAccessManager m_manager;
};

QTEST_GUILESS_MAIN(tst_SignalingServer)
#include "tst_signaling_server.moc"
