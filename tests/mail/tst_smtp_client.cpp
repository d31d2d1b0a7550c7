#include <foundation/mail/smtp_client.h>
#include <foundation/mail/smtp_reply_reader_p.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>
#include <QtTest/QtTest>

namespace {

const QString account = QStringLiteral("door@example.com");
const QString password = QString::fromUtf8("s\u00E4cret word");
const QString recipient = QStringLiteral("ann@example.com");

QByteArray logged; // everything since the test function began

void keepLog(QtMsgType, const QMessageLogContext&, const QString& text)
{
    logged += text.toUtf8() + '\n';
}

// The scripted server: what it expects arrives exactly, what it injects is sent in pieces.
class FarEnd : public QTcpServer
{
public:
    int pieceSize = 1000000;
    QByteArray received;
    QPointer<QSslSocket> socket;

    bool expect(const QByteArray& wanted)
    {
        const bool there = QTest::qWaitFor([&] { return received.size() >= wanted.size(); }, 5000);
        if (!there || !received.startsWith(wanted)) {
            QTest::qWarn(QByteArray("expected " + wanted + " received " + received).constData());
            return false;
        }
        received.remove(0, wanted.size());
        return true;
    }
    bool inject(const QByteArray& bytes)
    {
        if (!QTest::qWaitFor([this] { return !socket.isNull(); }, 5000))
            return false;
        for (int i = 0; i < bytes.size() && socket; i += pieceSize) {
            socket->write(bytes.mid(i, pieceSize));
            socket->flush();
            QCoreApplication::processEvents();
        }
        return true;
    }
    bool talk(const QList<QByteArray>& injectAndExpect)
    {
        for (int i = 0; i < injectAndExpect.size(); ++i) {
            if (!(i % 2 == 0 ? inject(injectAndExpect.at(i)) : expect(injectAndExpect.at(i))))
                return false;
        }
        return true;
    }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        connect(socket, &QSslSocket::readyRead, this, [this] { received += socket->readAll(); });
        connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
    }
};

const QByteArray hello = "EHLO panel.example\r\n";
const QByteArray mailFrom = "MAIL FROM:<door@example.com>\r\n";
const QByteArray rcptTo = "RCPT TO:<ann@example.com>\r\n";
const QByteArray ok = "250 ok\r\n";

} // namespace

class TestSmtpClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase() { qInstallMessageHandler(nullptr); }

    void readsReplies();
    void readsSettings_data();
    void readsSettings();
    void sendsMail_data();
    void sendsMail();
    void checksSettings();
    void failingSteps_data();
    void failingSteps();
    void authenticates_data();
    void authenticates();
    void checksCertificates();
    void refusesInjection_data();
    void refusesInjection();
    void endsEarly();
    void lifetimes();
    void realServer_data();
    void realServer();

private:
    QString setting(const QString& options = {}) const { return m_address + QStringLiteral(":2525") + options; }
    std::unique_ptr<CSmtpClient> client(const QString& secret = {}, const QString& options = {}) const
    {
        return std::make_unique<CSmtpClient>(account, secret, setting(options),
                                             QStringLiteral("https://panel.example/x"));
    }

    std::unique_ptr<FarEnd> m_server;
    QString m_address; // of the loopback network, for the ports that begin in plain text are fixed
    QTemporaryDir m_dir;
    QSslCertificate m_certificate;
    QSslKey m_key;
};

void TestSmtpClient::initTestCase()
{
    auto& random = *QRandomGenerator::global();
    QTcpServer probe;
    do
        m_address = QStringLiteral("127.%1.%2.%3")
                        .arg(random.bounded(1, 255))
                        .arg(random.bounded(255))
                        .arg(random.bounded(1, 255));
    while (!probe.listen(QHostAddress(m_address), 2525));

    QProcess openssl;
    openssl.setWorkingDirectory(m_dir.path());
    openssl.start(
        QStringLiteral("openssl"),
        QStringLiteral("req -x509 -newkey rsa:2048 -nodes -keyout key.pem -out cert.pem -days 2 -subj /CN=mail "
                       "-addext subjectAltName=IP:%1")
            .arg(m_address)
            .split(QLatin1Char(' ')));
    QVERIFY(openssl.waitForFinished() && openssl.exitCode() == 0);
    QFile certificate(m_dir.filePath(QStringLiteral("cert.pem")));
    QFile key(m_dir.filePath(QStringLiteral("key.pem")));
    QVERIFY(certificate.open(QIODevice::ReadOnly) && key.open(QIODevice::ReadOnly));
    m_certificate = QSslCertificate(&certificate);
    m_key = QSslKey(&key, QSsl::Rsa);
    QVERIFY(!m_certificate.isNull() && !m_key.isNull());
    qInstallMessageHandler(keepLog);
}

void TestSmtpClient::init()
{
    m_server = std::make_unique<FarEnd>();
    QVERIFY(m_server->listen(QHostAddress(m_address), 2525));
    logged.clear();
}

void TestSmtpClient::readsReplies()
{
    const QByteArray stream = "220 hi\r\n\r\n250-a\r\n250-b c\r\n250 d\r\n354\r\nokay x\r\n250 \xC3\xBC\n";
    const QList<QStringList> expected{{QStringLiteral("220 hi")},
                                      {QStringLiteral("250-a"), QStringLiteral("250-b c"), QStringLiteral("250 d")},
                                      {QStringLiteral("354")},
                                      {QStringLiteral("okay x"), QStringLiteral("250 \u00FC")}};
    for (int first = 0; first < stream.size(); ++first) {
        for (int second = first; second < stream.size(); ++second) {
            CSmtpReplyReader reader;
            QList<QStringList> replies;
            QStringList lines;
            for (const QByteArray& piece :
                 {stream.left(first), stream.mid(first, second - first), stream.mid(second)}) {
                reader.feed(piece);
                while (reader.next(&lines) == CSmtpReplyReader::Complete)
                    replies += lines;
            }
            QCOMPARE(replies, expected);
        }
    }
    const auto lastResult = [](const QByteArray& bytes) {
        CSmtpReplyReader reader;
        QStringList lines;
        reader.feed(bytes);
        return reader.next(&lines);
    };
    const QByteArray line = "250 " + QByteArray(CSmtpReplyReader::maxLineLength - 4, 'x');
    QCOMPARE(lastResult(line + "\r\n"), CSmtpReplyReader::Complete);
    QCOMPARE(lastResult(line + "x\r\n"), CSmtpReplyReader::TooLong);
    QCOMPARE(lastResult(line + "xx"), CSmtpReplyReader::TooLong);
    QCOMPARE(lastResult(QByteArray("250-x\r\n").repeated(60000)), CSmtpReplyReader::TooLong);
}

void TestSmtpClient::readsSettings_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<int>("port");
    QTest::addColumn<bool>("tls");
    QTest::newRow("host alone") << QStringLiteral(" %1 ") << 587 << false;
    QTest::newRow("port 0") << QStringLiteral("%1:0") << 587 << false;
    QTest::newRow("port too big") << QStringLiteral("%1:70000") << 587 << false;
    QTest::newRow("port 25") << QStringLiteral("%1 : 25 [x:y]") << 25 << false;
    QTest::newRow("port 2525") << QStringLiteral("%1:2525[") << 2525 << false;
    QTest::newRow("port 465") << QStringLiteral("%1:465 [ Verify_None ]") << 465 << true;
}

void TestSmtpClient::readsSettings()
{
    QFETCH(QString, setting);
    QFETCH(int, port);
    QFETCH(bool, tls);
    m_server = std::make_unique<FarEnd>();
    if (!m_server->listen(QHostAddress(m_address), quint16(port)))
        QSKIP("this port takes more rights");
    CSmtpClient client(account, {}, setting.arg(m_address), {});
    QVERIFY(client.checkServerSettings());
    QVERIFY(tls || m_server->inject("220 hi\r\n"));
    QVERIFY(m_server->expect(tls ? "\x16\x03" : "EHLO localhost\r\n"));
}

void TestSmtpClient::sendsMail_data()
{
    QTest::addColumn<int>("pieceSize");
    for (const int size : {1, 2, 3, 5, 1000})
        QTest::addRow("replies in pieces of %d", size) << size;
}

void TestSmtpClient::sendsMail()
{
    QFETCH(int, pieceSize);
    m_server->pieceSize = pieceSize;
    const auto smtp = client();
    QSignalSpy finished(smtp.get(), &CSmtpClient::finished);
    QVERIFY(smtp->sendMail(QStringLiteral(" ann@example.com;bob@example.com, "), "Subject: x\n\n.\r\n..a\rb.\r\n.\n"));
    const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(smtp.get());
    QCOMPARE(timers.size(), 1);
    QCOMPARE(timers.first().interval, 10000);
    QVERIFY(m_server->talk({"220-hi\r\n220 there\r\n", hello, "250-x\r\n250 8BITMIME\r\n", mailFrom, ok, rcptTo, ok,
                            "RCPT TO:<bob@example.com>\r\n", ok, "DATA\r\n", "354 go\r\n",
                            "Subject: x\r\n\r\n..\r\n...a\r\nb.\r\n..\r\n.\r\n", ok, "Quit\r\n"}));
    const auto* socket = smtp->findChild<QSslSocket*>();
    QVERIFY(socket && const_cast<QSslSocket*>(socket)->socketOption(QAbstractSocket::LowDelayOption).toInt() == 1);
    QVERIFY(finished.isEmpty() && m_server->inject("221 bye\r\n") && (!finished.isEmpty() || finished.wait(5000)));
    QCOMPARE(finished, (QList<QVariantList>{{QString()}}));
    QVERIFY(m_server->received.isEmpty());
    QVERIFY(logged.endsWith("CSmtpClient: Send e-mail to 'ann@example.com, bob@example.com' finished successfully\n"));
    QVERIFY(QAbstractEventDispatcher::instance()->registeredTimers(smtp.get()).isEmpty());
}

void TestSmtpClient::checksSettings()
{
    const auto smtp = client();
    QSignalSpy finished(smtp.get(), &CSmtpClient::finished);
    QVERIFY(smtp->checkServerSettings());
    QVERIFY(m_server->talk({"220 hi\r\n", hello, ok, mailFrom, ok, "RCPT TO:<postmaster@example.com>\r\n", ok,
                            "Quit\r\n", "221 bye\r\n"}));
    QVERIFY(!finished.isEmpty() || finished.wait(5000));
    QCOMPARE(finished.first().first().toString(), QString());
    QVERIFY(logged.endsWith("CSmtpClient: Verify e-mail settings finished successfully\n"));
}

void TestSmtpClient::failingSteps_data()
{
    QTest::addColumn<QList<QByteArray>>("dialogue");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("step");
    const QList<QByteArray> accepted{"220 hi\r\n", hello, ok, mailFrom, ok, rcptTo};
    const QList<QByteArray> sent = accepted + QList<QByteArray>{ok, "DATA\r\n", "354 go\r\n", "x\r\n.\r\n"};
    const QString lost = QStringLiteral("The remote host closed the connection.");
    const auto server = [](const char* text) { return QStringLiteral("Server (%1)").arg(QLatin1String(text)); };
    QTest::newRow("greeting") << QList<QByteArray>{"554-no\r\n554 go\x1b away\r\n"} << server("554 go  away")
                              << "connection";
    QTest::newRow("EHLO") << QList<QByteArray>{"220 hi\r\n", hello, "502 what\r\n"} << server("502 what") << "EHLO";
    QTest::newRow("STARTTLS") << QList<QByteArray>{"220 hi\r\n", hello, "250 STARTTLS\r\n", "STARTTLS\r\n",
                                                   "454 no\r\n"}
                              << server("454 no") << "STARTTLS";
    QTest::newRow("lost in the handshake")
        << QList<QByteArray>{"220 hi\r\n", hello, "250 STARTTLS\r\n", "STARTTLS\r\n", "220 go\r\n250 x\r\nplain",
                             "\x16",       ""}
        << lost << "TLS handshake";
    QTest::newRow("recipient") << accepted + QList<QByteArray>{"550 unknown\r\n"} << server("550 unknown")
                               << "recipients";
    QTest::newRow("early reply") << accepted + QList<QByteArray>{"250 ok\r\n250 too early\r\n"}
                                 << server("250 too early") << "DATA";
    QTest::newRow("message") << sent + QList<QByteArray>{"552 full\r\n"} << server("552 full") << "message";
    QTest::newRow("lost before the end") << sent + QList<QByteArray>{ok, "Quit\r\n", ""} << lost << "leave-taking";
    QTest::newRow("endless line") << QList<QByteArray>{"220 " + QByteArray(70000, 'x')}
                                  << QStringLiteral("The reply of the server is too long.") << "connection";
}

void TestSmtpClient::failingSteps()
{
    QFETCH(QList<QByteArray>, dialogue);
    QFETCH(QString, error);
    QFETCH(QString, step);
    const auto smtp = client();
    QSignalSpy finished(smtp.get(), &CSmtpClient::finished);
    QVERIFY(smtp->sendMail(recipient, "x"));
    const bool loses = dialogue.last().isEmpty();
    QVERIFY(m_server->talk(dialogue));
    if (loses)
        m_server->socket->abort();
    QVERIFY(!finished.isEmpty() || finished.wait(5000));
    QCOMPARE(finished, (QList<QVariantList>{{error}}));
    QVERIFY2(logged.contains("failed in step \"" + step.toUtf8() + '"'), logged.constData());
    QVERIFY(logged.endsWith("CSmtpClient: Send e-mail to 'ann@example.com' failed: " + error.toUtf8() + '\n'));
}

void TestSmtpClient::authenticates_data()
{
    QTest::addColumn<QByteArray>("offer"); // behind STARTTLS; none: no STARTTLS is offered
    QTest::addColumn<QList<QByteArray>>("dialogue");
    QTest::addColumn<QString>("error");
    const QByteArray plain = QByteArray('\0' + account.toUtf8() + '\0' + password.toUtf8()).toBase64() + "\r\n";
    const QByteArray name = account.toUtf8().toBase64() + "\r\n";
    const QByteArray secret = password.toUtf8().toBase64() + "\r\n";
    const QList<QByteArray> rest{"235 in\r\n", mailFrom, "250 ok\r\n", rcptTo, "550 enough\r\n"};
    const QString enough = QStringLiteral("Server (550 enough)");
    QTest::newRow("PLAIN before LOGIN") << QByteArray("250-AUTH LOGIN PLAIN\r\n250 x\r\n")
                                        << QList<QByteArray>{"AUTH PLAIN\r\n", "334 \r\n", plain} + rest << enough;
    QTest::newRow("LOGIN") << QByteArray("250 AUTH CRAM-MD5 LOGIN\r\n")
                           << QList<QByteArray>{"AUTH LOGIN\r\n", "334 user\r\n", name, "334 pass\r\n", secret} + rest
                           << enough;
    QTest::newRow("repeated credentials")
        << QByteArray("250 AUTH PLAIN\r\n") << QList<QByteArray>{"AUTH PLAIN\r\n", "334\r\n", plain, "535 no: " + plain}
        << QStringLiteral("Server (535 no: ***)");
    QTest::newRow("unknown methods") << QByteArray("250 AUTH CRAM-MD5 GSSAPI\r\n") << QList<QByteArray>()
                                     << QStringLiteral("Authorization protocols not yet supported: CRAM-MD5 GSSAPI");
    QTest::newRow("not encrypted") << QByteArray() << QList<QByteArray>()
                                   << QStringLiteral("We do not want to authenticate on an unencrypted connection.");
}

void TestSmtpClient::authenticates()
{
    QFETCH(QByteArray, offer);
    QFETCH(QList<QByteArray>, dialogue);
    QFETCH(QString, error);
    const auto smtp = client(password, QStringLiteral("[VERIFY_NONE]"));
    QSignalSpy finished(smtp.get(), &CSmtpClient::finished);
    QVERIFY(smtp->sendMail(recipient, "x"));
    if (offer.isEmpty()) {
        QVERIFY(m_server->talk({"220 hi\r\n", hello, "250 AUTH PLAIN\r\n"}));
    } else {
        // The bytes behind the answer were not sent by the one who owns the certificate.
        QVERIFY(m_server->talk({"220 hi\r\n", hello, "250-STARTTLS\r\n250 AUTH PLAIN\r\n", "STARTTLS\r\n",
                                "220 go\r\n250 AUTH LOGIN\r\n334 evil\r\n25"}));
        m_server->socket->setLocalCertificate(m_certificate);
        m_server->socket->setPrivateKey(m_key);
        m_server->socket->startServerEncryption();
        QVERIFY(m_server->talk({"", hello, offer}));
        for (int i = 0; i < dialogue.size(); ++i)
            QVERIFY(i % 2 == 0 ? m_server->expect(dialogue.at(i)) : m_server->inject(dialogue.at(i)));
        QVERIFY(logged.contains("CSmtpClient: dropped 28 bytes"));
    }
    QVERIFY(!finished.isEmpty() || finished.wait(5000));
    QCOMPARE(finished, (QList<QVariantList>{{error}}));
    for (const QByteArray& secret : {password.toUtf8(), password.toUtf8().toBase64()})
        QVERIFY2(!logged.contains(secret), logged.constData());
}

void TestSmtpClient::checksCertificates()
{
    const auto smtp = client(password);
    QSignalSpy finished(smtp.get(), &CSmtpClient::finished);
    QVERIFY(smtp->sendMail(recipient, "x"));
    QVERIFY(m_server->talk({"220 hi\r\n", hello, "250 STARTTLS\r\n", "STARTTLS\r\n", "220 go\r\n"}));
    m_server->socket->setLocalCertificate(m_certificate);
    m_server->socket->setPrivateKey(m_key);
    m_server->socket->startServerEncryption();
    QVERIFY(finished.wait(5000));
    QCOMPARE(finished.first().first().toString(), QSslError(QSslError::SelfSignedCertificate).errorString());
    QVERIFY(m_server->received.isEmpty());
}

void TestSmtpClient::refusesInjection_data()
{
    QTest::addColumn<QString>("sender");
    QTest::addColumn<QString>("recipients");
    QTest::addColumn<QString>("reason");
    const QString tricks[][2] = {{QStringLiteral("a@b\r\nRSET"), QStringLiteral("a control character")},
                                 {QStringLiteral("a@b\u0085"), QStringLiteral("a control character")},
                                 {QStringLiteral("a@b\u2028c"), QStringLiteral("a blank")},
                                 {QStringLiteral("a@b>"), QStringLiteral("an angle bracket")}};
    for (const auto& [text, reason] : tricks) {
        QTest::addRow("account with %s", qPrintable(reason)) << text << recipient << reason;
        QTest::addRow("recipient with %s", qPrintable(reason))
            << account << recipient + QLatin1Char(',') + text << reason;
    }
    QTest::newRow("account with a blank") << QStringLiteral("a b") << recipient << QStringLiteral("a blank");
    QTest::newRow("no recipient") << account << QStringLiteral(" ,; ") << QString();
}

void TestSmtpClient::refusesInjection()
{
    QFETCH(QString, sender);
    QFETCH(QString, recipients);
    QFETCH(QString, reason);
    CSmtpClient smtp(sender, {}, setting(), {});
    QVERIFY(!smtp.sendMail(recipients, "x"));
    QVERIFY(!smtp.sendDefaultTemplateMail(recipients, {}, {}, {}));
    QCOMPARE(smtp.checkServerSettings(), sender == account);
    QVERIFY(reason.isEmpty() || logged.contains("that holds " + reason.toUtf8()));
    CSmtpClient homeless(account, {}, QStringLiteral(" :25"), {});
    QVERIFY(!homeless.checkServerSettings() && !homeless.sendMail(recipient, "x"));
}

void TestSmtpClient::endsEarly()
{
    const auto smtp = client();
    QSignalSpy finished(smtp.get(), &CSmtpClient::finished);
    QVERIFY(smtp->sendMail(recipient, "x"));
    QVERIFY(!smtp->sendMail(recipient, "y") && !smtp->checkServerSettings()); // and the first one goes on
    QVERIFY(m_server->talk({"220 hi\r\n", hello, ok, mailFrom}));
    QTimerEvent timeout(QAbstractEventDispatcher::instance()->registeredTimers(smtp.get()).first().timerId);
    QCoreApplication::sendEvent(smtp.get(), &timeout);
    QCOMPARE(finished, (QList<QVariantList>{{QStringLiteral("Timeout")}}));

    m_server->close();
    QVERIFY(smtp->checkServerSettings());
    QVERIFY(finished.wait(5000));
    QCOMPARE(finished.last().first().toString(), QStringLiteral("The remote host closed the connection."));
}

void TestSmtpClient::lifetimes()
{
    // The next run starts in the slot; at its end the client deletes itself, while the far end is still sending.
    QPointer<CSmtpClient> smtp = client().release();
    int ends = 0;
    connect(smtp.data(), &CSmtpClient::finished, this, [&] {
        if (++ends == 1)
            QVERIFY(smtp->checkServerSettings());
        else
            delete smtp;
    });
    QVERIFY(smtp->checkServerSettings());
    QVERIFY(m_server->inject("554 no\r\n220 late\r\n"));
    const QSslSocket* first = m_server->socket;
    QTRY_VERIFY(ends == 1 && m_server->socket && m_server->socket != first);
    QVERIFY(smtp);
    QVERIFY(m_server->talk({"220 hi\r\n", hello, "554 no\r\n250 late\r\n250 later\r\n"}));
    QTRY_VERIFY(!smtp && !m_server->socket);
    QCOMPARE(ends, 2);

    auto abandoned = client();
    QSignalSpy finished(abandoned.get(), &CSmtpClient::finished);
    QVERIFY(abandoned->checkServerSettings());
    QVERIFY(m_server->talk({"220 hi\r\n", hello}));
    abandoned.reset();
    QTRY_VERIFY(!m_server->socket);
    QVERIFY(finished.isEmpty());
}

void TestSmtpClient::realServer_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("mechanism");
    QTest::newRow("STARTTLS, PLAIN") << "starttls"
                                     << "PLAIN";
    QTest::newRow("STARTTLS, LOGIN") << "starttls"
                                     << "LOGIN";
    QTest::newRow("implicit TLS, PLAIN") << "implicit"
                                         << "PLAIN";
    QTest::newRow("plain text, no password") << "plain"
                                             << "PLAIN";
}

void TestSmtpClient::realServer()
{
    QFETCH(QString, mode);
    QFETCH(QString, mechanism);
    m_server.reset();
    QProcess server;
    server.start(QStringLiteral("/usr/bin/python3"),
                 {QStringLiteral(KYR_TEST_DIR "/smtp_server.py"), m_address,
                  mode == QLatin1String("implicit") ? QStringLiteral("0") : QStringLiteral("2525"), mode, mechanism,
                  m_dir.filePath(QStringLiteral("cert.pem")), m_dir.filePath(QStringLiteral("key.pem"))});
    QVERIFY(server.waitForStarted());
    while (!server.canReadLine() && server.waitForReadyRead(6000)) {
    }
    const QString port = QString::fromLatin1(server.readLine().trimmed());
    if (port.isEmpty() && server.readAllStandardError().contains("No module named 'aiosmtpd'"))
        QSKIP("python3-aiosmtpd is missing");
    QVERIFY2(port.toInt() > 0, server.readAllStandardError().constData());

    const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = before;
    trusting.setCaCertificates({m_certificate});
    QSslConfiguration::setDefaultConfiguration(trusting);
    const bool plain = mode == QLatin1String("plain");
    CSmtpClient smtp(account, plain ? QString() : password, m_address + QLatin1Char(':') + port, {});
    QSignalSpy finished(&smtp, &CSmtpClient::finished);
    const QString subject =
        QString::fromUtf8("Tür 3 geöffnet 🔑 <${MESSAGE}> — ein Betreff, der über mehrere Zeilen geht\nBcc: x");
    const QString preheader = QString::fromUtf8("Vorschau 😀");
    const QString message =
        QString::fromUtf8(".\r\n..Grüße an alle,\rdie Tür ist offen. \n.\nfrom: me\n") + QString(200, QLatin1Char('.'));
    QVERIFY(
        smtp.sendDefaultTemplateMail(QStringLiteral("ann@example.com bob@example.com"), subject, preheader, message));
    const bool ended = finished.wait(6000);
    QSslConfiguration::setDefaultConfiguration(before);
    QVERIFY(ended);
    QCOMPARE(finished.first().first().toString(), QString());

    while (!server.canReadLine() && server.waitForReadyRead(6000)) {
    }
    const QJsonObject mail = QJsonDocument::fromJson(server.readLine()).object();
    server.kill();
    server.waitForFinished();
    const auto value = [&mail](const char* key) { return mail.value(QLatin1String(key)); };
    QString text = message + QStringLiteral("\n\n") + preheader;
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    QFile page(QStringLiteral(":/email_template_default.html"));
    QVERIFY(page.open(QIODevice::ReadOnly));
    QString html = QString::fromUtf8(page.readAll());
    QVERIFY(html.count(QLatin1String("${HEADER}")) > 0);
    html.replace(QLatin1String("${MESSAGE}"), message).replace(QLatin1String("${PREHEADER}"), preheader);
    html.replace(QLatin1String("${HEADER}"), subject);
    html.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    QCOMPARE(value("defects").toArray(), QJsonArray());
    QCOMPARE(value("subject").toString(), QString(subject).replace(QLatin1Char('\n'), QLatin1Char(' ')));
    QCOMPARE(value("text").toString().trimmed(), text);
    QCOMPARE(value("html").toString().trimmed(), html.trimmed());
    QCOMPARE(value("type").toString(), QStringLiteral("multipart/alternative"));
    QCOMPARE(value("recipients").toArray(), QJsonArray({recipient, QStringLiteral("bob@example.com")}));
    QCOMPARE(value("to").toString(), QStringLiteral("ann@example.com, bob@example.com"));
    QCOMPARE(value("sender").toString() + value("from").toString(), account + account);
    QCOMPARE(value("user").toString(), plain ? QString() : account);
    QCOMPARE(value("encrypted").toBool(), !plain);
    QVERIFY(value("dated").toBool());
    QVERIFY(!logged.contains(password.toUtf8()) && !logged.contains(password.toUtf8().toBase64()));
}

QTEST_GUILESS_MAIN(TestSmtpClient)
#include "tst_smtp_client.moc"
