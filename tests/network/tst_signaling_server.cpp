#include <foundation/network/signaling_server_app_side.h>
#include <foundation/network/signaling_server_device_side.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtNetwork/QNetworkReply>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>
#include <QtTest/QtTest>

#include <memory>

namespace {

const QByteArray sharedKey = QByteArray::fromHex(KYR_TEST_SIGNALING_KEY);

QByteArray macOf(const QByteArray& body)
{
    return QCryptographicHash::hash(QByteArray(sharedKey + body), QCryptographicHash::Sha256).toHex();
}

QByteArray file(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The service: keeps the last request and answers it with `answer`, signed.
class Service : public QTcpServer
{
public:
    Service(const QString& certificate, const QString& key)
        : m_certificate(file(certificate))
        , m_key(file(key), QSsl::Ec)
    {
        listen(QHostAddress::LocalHost);
    }
    QString authority() const { return QStringLiteral("127.0.0.1:%1").arg(serverPort()); }

    QByteArray answer;
    QByteArray request;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* const socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        socket->setLocalCertificate(m_certificate);
        socket->setPrivateKey(m_key);
        request.clear();
        connect(socket, &QSslSocket::readyRead, this, [this, socket] {
            request += socket->readAll();
            const auto end = request.indexOf("\r\n\r\n");
            const auto length = request.toLower().indexOf("content-length: ");
            if (end < 0 || request.size() < end + 4 + request.mid(length + 16, 6).split('\r').first().toInt())
                return;
            socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\nBrellMAC: " + macOf(answer)
                          + "\r\nContent-Length: " + QByteArray::number(answer.size()) + "\r\n\r\n" + answer);
            socket->disconnectFromHost();
        });
        socket->startServerEncryption();
    }

private:
    QSslCertificate m_certificate;
    QSslKey m_key;
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
    void initTestCase();
    void device();
    void application();
    void replies();
    void gateways();
    void keyIsHidden();

private:
    // Sends, and checks what the service received but for the body, which is returned.
    QByteArray exchange(CSignalingServerBase& server, QByteArray* answer, QNetworkReply** reply);

    QTemporaryDir m_dir;
    std::unique_ptr<Service> m_service;
    QNetworkAccessManager m_manager;
};

void tst_SignalingServer::initTestCase()
{
    QCOMPARE(sharedKey.size(), 32);
    const QString openssl = QStandardPaths::findExecutable(QStringLiteral("openssl"));
    if (openssl.isEmpty())
        return;
    const QString certificate = m_dir.filePath(QStringLiteral("certificate"));
    const QString key = m_dir.filePath(QStringLiteral("key"));
    const QString arguments =
        QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -batch "
                       "-subj /CN=service -addext subjectAltName=IP:127.0.0.1 -out %1 -keyout %2");
    QProcess process;
    process.start(openssl, arguments.arg(certificate, key).split(QLatin1Char(' ')));
    QVERIFY2(process.waitForFinished(6000) && process.exitCode() == 0, process.readAllStandardError().constData());
    m_service = std::make_unique<Service>(certificate, key);
    QVERIFY(m_service->isListening());
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates({QSslCertificate(file(certificate))});
    QSslConfiguration::setDefaultConfiguration(configuration);
}

QByteArray tst_SignalingServer::exchange(CSignalingServerBase& server, QByteArray* answer, QNetworkReply** reply)
{
    QNetworkReply* const sent = server.sendData();
    sent->setParent(this);
    *reply = sent;
    if (!sent->isFinished() && !QSignalSpy(sent, &QNetworkReply::finished).wait(5000))
        return "time-out";
    if (sent->error() != QNetworkReply::NoError)
        return sent->errorString().toUtf8();
    *answer = sent->readAll();

    const QByteArray request = m_service->request;
    const auto end = request.indexOf("\r\n\r\n");
    const QByteArray head = request.left(end + 2);
    const QByteArray body = request.mid(end + 4);
    if (!head.startsWith("POST /tovr/signal HTTP/1.1\r\n")
        || !head.contains(QByteArray("\r\nBrellMAC: " + macOf(body) + "\r\n"))
        || !head.contains("\r\nContent-Type: text/plain; charset=UTF-8\r\n"))
        return head;
    return body;
}

void tst_SignalingServer::device()
{
    if (!m_service)
        QSKIP("no openssl tool to make a certificate with");
    CSignalingServerDeviceSide server(m_service->authority(), &m_manager);
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
    m_service->answer = "{\"authority_list\":\"a.example b.example:8443\"}";
    for (int i = 0; i < 2; ++i) { // the interfaces are still there the second time
        QByteArray answer;
        QNetworkReply* reply = nullptr;
        QCOMPARE(exchange(server, &answer, &reply), expected);
        QString authorities;
        QVERIFY(server.getSoftwareInfo(reply, answer, authorities));
        QCOMPARE(authorities, QStringLiteral("a.example b.example:8443"));
    }
    QVERIFY(!m_service->request.contains(sharedKey));
}

void tst_SignalingServer::application()
{
    if (!m_service)
        QSKIP("no openssl tool to make a certificate with");
    CSignalingServerAppSide server(m_service->authority(), &m_manager);
    server.setSystemId(CSystemId(7));
    server.setGateways({CDeviceId(9), CDeviceId(5), CDeviceId(9)});
    server.setAuthorities({QStringLiteral("a.example"), QString(), QStringLiteral("b.example")});
    m_service->answer = "{\"gateways\":{\"5\":\"10.0.0.5:443\"}}";
    QByteArray answer;
    QNetworkReply* reply = nullptr;
    QCOMPARE(exchange(server, &answer, &reply),
             QByteArray("{\"authority_list\":\"a.example b.example\",\"gateways\":[9,5,9],\"system\":7}"));
    QMap<CDeviceId, QString> gateways;
    QVERIFY(server.getGatewaysInfo(reply, answer, gateways));
    QCOMPARE(gateways.value(CDeviceId(5)), QStringLiteral("10.0.0.5:443"));
}

void tst_SignalingServer::replies()
{
    static QStringList warnings;
    const CSignalingServerDeviceSide server(QStringLiteral("signal.example"), &m_manager);
    const auto read = [&](const QByteArray& body, const QByteArray& mac) {
        warnings.clear();
        const auto handler = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { warnings.append(text); });
        QString authorities = QStringLiteral("untouched");
        const bool accepted = server.getSoftwareInfo(std::make_unique<FakeReply>(mac).get(), body, authorities);
        qInstallMessageHandler(handler);
        return QString((accepted ? QStringLiteral("accepted ") : QString()) + authorities);
    };
    const QByteArray body = "{\"authority_list\":\"a.example\"}";
    const QByteArray mac = macOf(body);
    QCOMPARE(read(body, mac), QStringLiteral("accepted a.example"));
    QCOMPARE(read("[1]", macOf("[1]")), QStringLiteral("accepted "));
    // Fails without a word, whatever the code.
    for (const QByteArray& broken : {QByteArray(), body.left(10)}) {
        QCOMPARE(read(broken, macOf(broken)), QStringLiteral("untouched"));
        QCOMPARE(read(broken, mac), QStringLiteral("untouched"));
        QVERIFY(warnings.isEmpty());
    }
    QList<QByteArray> wrong{QByteArray(),      mac.left(63),
                            mac + '0',         mac.toUpper(),
                            macOf(body + ' '), QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex()};
    for (const int i : {0, 63}) {
        wrong.append(mac);
        wrong.last()[i] = mac.at(i) == 'a' ? 'b' : 'a';
    }
    for (const QByteArray& other : wrong) {
        QCOMPARE(read(body, other), QStringLiteral("untouched"));
        QCOMPARE(warnings, QStringList(QStringLiteral("SignalingServer: mismatching MACs")));
    }
}

void tst_SignalingServer::gateways()
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

void tst_SignalingServer::keyIsHidden()
{
    const QByteArray library = file(QStringLiteral(KYR_BUILD_DIR "/lib/libkyr_foundation.so"));
    QVERIFY(library.contains("BrellMAC"));
    QVERIFY(!library.contains(sharedKey.toHex()) && !library.contains(sharedKey.toHex().toUpper()));
    // No piece of it either, neither as it is nor as the operand of an instruction.
    for (int i = 0; i + 6 <= sharedKey.size(); ++i)
        QVERIFY2(!library.contains(sharedKey.mid(i, 6)), qPrintable(QString::number(i)));
}

QTEST_GUILESS_MAIN(tst_SignalingServer)
#include "tst_signaling_server.moc"
