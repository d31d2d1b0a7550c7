#include <foundation/mail/smtp_client.h>
#include <foundation/mail/smtp_reply_reader_p.h>

#include <support/device_certificates.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QRandomGenerator>
#include <QtCore/QScopeGuard>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>
#include <QtTest/QtTest>

#include <cstdio>

namespace {

using Dialogue = QList<QByteArray>; // what the server sends and what it expects, in turns

const QString account = "door@example.com";
const QString password = "s\u00E4cret word";
const QString recipient = "ann@example.com";
const QString connectionLost = "The remote host closed the connection.";
const QByteArray hello = "EHLO panel.example\r\n";
const Dialogue greeted{"220 hi\r\n", hello};
const Dialogue beforeTls = greeted + Dialogue{"250-STARTTLS\r\n250 AUTH PLAIN\r\n", "STARTTLS\r\n"};
const Dialogue mailTo{"MAIL FROM:<door@example.com>\r\n", "250 ok\r\n", "RCPT TO:<ann@example.com>\r\n"};

QByteArray logged; // since the test function began

void keepLog(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    logged += (type == QtInfoMsg ? "INF " : "") + text.toUtf8() + '\n';
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
            std::fprintf(stderr, "expected %s received %s\n", wanted.constData(), received.constData());
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
    bool talk(const Dialogue& dialogue, bool expectFirst = false)
    {
        for (int i = 0; i < dialogue.size(); ++i) {
            if (!((i % 2 == 0) == expectFirst ? expect(dialogue.at(i)) : inject(dialogue.at(i))))
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

} // namespace

class TestSmtpClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanupTestCase() { qInstallMessageHandler(nullptr); }

    void initTestCase()
    {
        auto& random = *QRandomGenerator::global();
        QTcpServer probe;
        do
            m_address = QHostAddress(0x7F000001U + (random.generate() & 0xFFFFF0U)).toString();
        while (!probe.listen(QHostAddress(m_address), 2525));

        m_own = m_authority.issue("mail", {"--name", "IP:" + m_address});
        QVERIFY(!m_own.chain.isEmpty());
        qInstallMessageHandler(keepLog);
    }

    void init()
    {
        m_server = std::make_unique<FarEnd>();
        QVERIFY(m_server->listen(QHostAddress(m_address), 2525));
        makeClient();
        logged.clear();
    }

    void readsReplies()
    {
        const QByteArray stream = "220 hi\r\n\r\n250-a\r\n250-b c\r\n250 d\r\n354\r\nokay x\r\n250 \xC3\xBC\n";
        SmtpReplyReader reader;
        QStringList replies, lines;
        for (const char byte : stream) {
            reader.feed(QByteArray(1, byte));
            while (reader.next(&lines) == SmtpReplyReader::Complete)
                replies += lines.join(',');
        }
        QCOMPARE(replies.join('|'), "220 hi|250-a,250-b c,250 d|354|okay x,250 \u00FC");
        const auto lastResult = [](const QByteArray& bytes) {
            SmtpReplyReader reader;
            QStringList lines;
            reader.feed(bytes);
            return reader.next(&lines);
        };
        const QByteArray line = "250 " + QByteArray(SmtpReplyReader::maxLineLength - 4, 'x');
        QCOMPARE(lastResult(line + "\r\n"), SmtpReplyReader::Complete);
        QCOMPARE(lastResult(line + "x\n"), SmtpReplyReader::TooLong);
        QCOMPARE(lastResult(line + "xx"), SmtpReplyReader::TooLong);
        QCOMPARE(lastResult(QByteArray("250-x\r\n").repeated(60000)), SmtpReplyReader::TooLong);
    }

    void readsSettings()
    {
        const QList<QPair<const char*, int>> settings{{" %1 ", 587},      {"%1:0", 587},
                                                      {"%1:70000", 587},  {"%1 : 25 [x]", 25},
                                                      {"%1:2525[", 2525}, {"%1:465 [ Verify_None ]", 465}};
        for (const auto& [setting, port] : settings) {
            m_server = std::make_unique<FarEnd>();
            if (!m_server->listen(QHostAddress(m_address), quint16(port)))
                continue; // takes more rights
            CSmtpClient client(account, {}, QString(setting).arg(m_address), "http://[fe80::1%25a%0D%0ARSET]");
            QVERIFY(client.checkServerSettings());
            QVERIFY(m_server->inject(port == 465 ? "" : "220 hi\r\n"));
            QVERIFY2(m_server->expect(port == 465 ? "\x16\x03" : "EHLO localhost\r\n"), setting);
        }
    }

    void sendsMail()
    {
        m_server->pieceSize = 1;
        QVERIFY(m_smtp->sendMail(" ann@example.com;bob@example.com, ", "Subject: x\n\n.\r\n..a\rb.\r\n.\n"));
        QCOMPARE(timer().interval, 10000);
        QVERIFY(m_server->talk(Dialogue{"220-hi\r\n220 there\r\n", hello, "250-x\r\n250 8BITMIME\r\n"} + mailTo
                               + Dialogue{"250 ok\r\n", "RCPT TO:<bob@example.com>\r\n", "250 ok\r\n", "DATA\r\n",
                                          "354 go\r\n", "Subject: x\r\n\r\n..\r\n...a\r\nb.\r\n..\r\n.\r\n",
                                          "250 ok\r\n", "Quit\r\n"}));
        auto* socket = m_smtp->findChild<QSslSocket*>();
        QVERIFY(socket && socket->socketOption(QAbstractSocket::LowDelayOption).toInt() == 1);
        QVERIFY(m_finished->isEmpty() && m_server->inject("221 bye\r\n"));
        QCOMPARE(error(), QString());
        QVERIFY(
            logged.endsWith("CSmtpClient: Send e-mail to 'ann@example.com, bob@example.com' finished successfully\n"));
        QCOMPARE(timer().interval, 0);

        QTRY_VERIFY(!m_server->socket);
        QVERIFY(m_smtp->checkServerSettings());
        QVERIFY(
            m_server->talk(greeted
                           + Dialogue{"250 ok\r\n", mailTo.at(0), "250 ok\r\n", "RCPT TO:<postmaster@example.com>\r\n",
                                      "250 ok\r\n", "Quit\r\n", "221 bye\r\n"}));
        QCOMPARE(error(), QString());
        QVERIFY(logged.endsWith("CSmtpClient: Verify e-mail settings finished successfully\n"));
    }

    void failingSteps_data()
    {
        QTest::addColumn<QList<QByteArray>>("dialogue");
        QTest::addColumn<QString>("wanted");
        QTest::addColumn<QString>("step");
        const Dialogue accepted = greeted + Dialogue{"250 ok\r\n"} + mailTo;
        const Dialogue sent = accepted + Dialogue{"250 ok\r\n", "DATA\r\n", "354 go\r\n", "x\r\n.\r\n"};
        const auto row = [](const char* name, const Dialogue& dialogue, const QString& wanted, const char* step) {
            QTest::newRow(name) << dialogue << wanted << step;
        };
        const auto server = [](const char* text) { return QStringLiteral("Server (%1)").arg(text); };
        row("greeting", {"554-no\r\n554 go\x1b away\r\n"}, server("554 go  away"), "connection");
        row("STARTTLS", beforeTls + Dialogue{"454 no\r\n"}, server("454 no"), "STARTTLS");
        row("no TLS", beforeTls + Dialogue{"220 go\r\n250 x\r\nplain", "\x16", ""}, connectionLost, "TLS handshake");
        row("recipient", accepted + Dialogue{"550 unknown\r\n"}, server("550 unknown"), "recipients");
        row("early reply", accepted + Dialogue{"250 ok\r\n250 early\r\n"}, server("250 early"), "DATA");
        row("message", sent + Dialogue{"552 full\r\n"}, server("552 full"), "message");
        row("lost at the end", sent + Dialogue{"250 ok\r\n", "Quit\r\n", ""}, connectionLost, "leave-taking");
        row("endless line", {"220 " + QByteArray(70000, 'x')}, "The reply of the server is too long.", "connection");
    }

    void failingSteps()
    {
        QFETCH(QList<QByteArray>, dialogue);
        QFETCH(QString, wanted);
        QFETCH(QString, step);
        QVERIFY(m_smtp->sendMail(recipient, "x"));
        QVERIFY(m_server->talk(dialogue));
        if (dialogue.last().isEmpty())
            m_server->socket->abort();
        QCOMPARE(error(), wanted);
        QVERIFY2(logged.contains(QByteArray("failed in step \"" + step.toUtf8() + '"')), logged.constData());
        const QByteArray end = "CSmtpClient: Send e-mail to 'ann@example.com' failed: " + wanted.toUtf8() + '\n';
        QVERIFY(logged.endsWith(end));
        QCOMPARE(logged.count("INF "), 1);
    }

    void addressesBeyondAscii()
    {
        const QString umlaut = "\u00F6mer@example.com";
        QVERIFY(m_smtp->sendMail(umlaut, "x"));
        QVERIFY(m_server->talk(greeted + Dialogue{"250-8BITMIME\r\n250 XSMTPUTF8\r\n"}));
        QCOMPARE(error(), "The server takes only ASCII characters in addresses.");
        QTRY_VERIFY(!m_server->socket);
        QVERIFY(m_smtp->sendMail(umlaut, "x"));
        QVERIFY(
            m_server->talk(greeted
                           + Dialogue{"250-smtputf8\r\n250 8BITMIME\r\n", "MAIL FROM:<door@example.com> SMTPUTF8\r\n",
                                      "250 ok\r\n", "RCPT TO:<" + umlaut.toUtf8() + ">\r\n", "550 no\r\n"}));
        QCOMPARE(error(), "Server (550 no)");
    }

    void encrypts_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<QList<QByteArray>>("dialogue"); // within TLS
        QTest::addColumn<QString>("wanted");
        const auto row = [](const char* name, const Dialogue& dialogue, const QString& wanted,
                            const char* options = "[VERIFY_NONE]") {
            QTest::newRow(name) << options << dialogue << wanted;
        };
        const QByteArray plain = QByteArray('\0' + account.toUtf8() + '\0' + password.toUtf8()).toBase64() + "\r\n";
        const QByteArray name = account.toUtf8().toBase64() + "\r\n";
        const QByteArray secret = password.toUtf8().toBase64() + "\r\n";
        const Dialogue rest = Dialogue{"235 in\r\n"} + mailTo + Dialogue{"550 enough\r\n"};
        const Dialogue byPlain{hello, "250-AUTH LOGIN PLAIN\r\n250 x\r\n", "AUTH PLAIN\r\n", "334 \r\n", plain};
        row("PLAIN before LOGIN", byPlain + rest, "Server (550 enough)");
        row("LOGIN",
            Dialogue{hello, "250 AUTH CRAM-MD5 LOGIN\r\n", "AUTH LOGIN\r\n", "334 user\r\n", name, "334\r\n", secret}
                + rest,
            "Server (550 enough)");
        row("repeated credentials", byPlain + Dialogue{"535 no: " + plain}, "Server (535 no: ***)");
        const QByteArray token =
            "AUTH XOAUTH2 " + QByteArray("user=door@example.com\1auth=Bearer s3same open\1\1").toBase64() + "\r\n";
        row("token before PLAIN", Dialogue{hello, "250 AUTH PLAIN XOAUTH2\r\n", token} + rest, "Server (550 enough)");
        const Dialogue asked{hello, "250 AUTH XOAUTH2\r\n", token};
        row("token refused", asked + Dialogue{"535 s3same open\r\n"}, "Server (535 ***)");
        const auto refused = [&](const char* details, const char* wanted) {
            const QByteArray reply = "334 " + QByteArray(details).toBase64() + "\r\n";
            row(details, asked + Dialogue{reply, "\r\n", "535 no\r\n"}, wanted);
        };
        refused("token {\"status\"", "Server (535 no): the token is refused");
        refused(R"({"status":"401","schemes":"token","scope":"mail: s3same open"})",
                "Server (535 no): the token is wrong or has expired, status 401, needed is the scope mail: ***");
        refused(R"({"status":400,"scope":"token"})",
                "Server (535 no): the token is not one for sending mail, status 400, needed is the scope token");
        row("unknown methods", {hello, "250 AUTH CRAM-MD5 GSSAPI\r\n"},
            "Authorization protocols not yet supported: CRAM-MD5 GSSAPI");
        row("trusted certificate", byPlain + rest, "Server (550 enough)", "");
        row("unknown certificate", {}, QSslError(QSslError::UnableToGetLocalIssuerCertificate).errorString(), "");
    }

    void encrypts()
    {
        QFETCH(QString, options);
        QFETCH(QList<QByteArray>, dialogue);
        QFETCH(QString, wanted);
        const auto restore = qScopeGuard([before = QSslConfiguration::defaultConfiguration()] {
            QSslConfiguration::setDefaultConfiguration(before);
        });
        QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
        if (options.isEmpty() && !dialogue.isEmpty())
            trusting.setCaCertificates(QSslCertificate::fromData(m_authority.chainPem()));
        QSslConfiguration::setDefaultConfiguration(trusting);
        makeClient(password, options);
        // A token counts where there is one, and a method for tokens.
        if (QByteArray(QTest::currentDataTag()).contains("token"))
            m_smtp->setAccessToken(QStringLiteral("s3same open"));
        QVERIFY(m_smtp->sendMail(recipient, "x"));
        // The bytes behind the answer were not sent by the one who owns the certificate.
        QVERIFY(m_server->talk(beforeTls + Dialogue{"220 go\r\n250 AUTH LOGIN\r\n334 evil\r\n25"}));
        m_server->socket->setLocalCertificateChain(m_own.chain);
        m_server->socket->setPrivateKey(m_own.key);
        m_server->socket->startServerEncryption();
        QVERIFY(m_server->talk(dialogue, true));
        const QString told = error();
        const QString cause = m_smtp->connectionFault();
        QCOMPARE(cause.isEmpty() ? told : told + ": " + cause, wanted);
        QVERIFY(m_server->received.isEmpty());
        QVERIFY2(logged.contains("CSmtpClient: dropped 28 bytes"), logged.constData());
        QVERIFY2(logged.contains("CSmtpClient: tolerated SSL error: ") == !options.isEmpty(), logged.constData());
        QVERIFY2(!logged.contains(password.toUtf8()) && !logged.contains(password.toUtf8().toBase64()),
                 logged.constData());
    }

    void refusesInjection()
    {
        for (const QString& trick : QStringList{"a@b\r\nRSET", "a@b\u0085", "a@b\u2028c", "<a@b", "a b"}) {
            CSmtpClient client(trick, {}, m_address + ":2525", {});
            QVERIFY(!client.checkServerSettings() && !client.sendMail(recipient, "x"));
            QVERIFY(trick.contains(' ') || !m_smtp->sendMail(recipient + ',' + trick, "x"));
            QVERIFY(logged.contains("refused an account that holds a")
                    && logged.contains("refused a recipient that holds a"));
        }
        QVERIFY(!m_smtp->sendMail(" ,; ", "x"));
        QVERIFY(!m_smtp->sendDefaultTemplateMail(QString(), "x", {}, {}));
        QVERIFY(!CSmtpClient(account, {}, " :25", {}).checkServerSettings());
        QCOMPARE(CSmtpClient::addressFault("ann@example.com; b\u00F6b@example.com,"), QString());
        for (const char* typed : {"bad address", "@example.com", "ann@", "ann@x,bob", "ann@x<y", " ,"})
            QVERIFY2(!CSmtpClient::addressFault(typed).isEmpty(), typed);
    }

    void endsEarly()
    {
        QVERIFY(m_smtp->sendMail(recipient, "x"));
        QVERIFY(!m_smtp->sendMail(recipient, "y") && !m_smtp->checkServerSettings()); // and the first one goes on
        QVERIFY(m_server->talk(greeted + Dialogue{"250 ok\r\n", mailTo.at(0)}));
        QTimerEvent timeout(timer().timerId);
        QCoreApplication::sendEvent(m_smtp.get(), &timeout);
        QCOMPARE(error(), "Timeout");

        QTRY_VERIFY(!m_server->socket);
        makeClient(password);
        QVERIFY(m_smtp->sendMail(recipient, "x"));
        QVERIFY(m_server->talk(greeted + Dialogue{"250 AUTH PLAIN\r\n"}));
        QCOMPARE(error(), "We do not want to authenticate on an unencrypted connection.");

        m_server->close();
        QVERIFY(m_smtp->connectionFault().isEmpty() && m_smtp->checkServerSettings());
        QCOMPARE(error(), connectionLost);
        QCOMPARE(m_smtp->connectionFault(), "Connection refused");
    }

    void lifetimes()
    {
        // The next run starts in the slot; at its end the client deletes itself, while the far end is still sending.
        QPointer<CSmtpClient> smtp = m_smtp.release();
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
        QVERIFY(m_server->talk(greeted + Dialogue{"554 no\r\n250 late\r\n250 later\r\n"}));
        QTRY_VERIFY(!smtp && !m_server->socket);
        QCOMPARE(ends, 2);

        makeClient();
        QVERIFY(m_smtp->checkServerSettings());
        QVERIFY(m_server->talk(greeted));
        m_smtp.reset();
        QTRY_VERIFY(!m_server->socket);
        QVERIFY(m_finished->isEmpty());
    }

private:
    void makeClient(const QString& secret = {}, const QString& options = {})
    {
        m_smtp =
            std::make_unique<CSmtpClient>(account, secret, m_address + ":2525" + options, "https://panel.example/x");
        m_finished = std::make_unique<QSignalSpy>(m_smtp.get(), &CSmtpClient::finished);
    }
    // The client's only one, if it runs.
    QAbstractEventDispatcher::TimerInfo timer() const
    {
        return QAbstractEventDispatcher::instance()->registeredTimers(m_smtp.get()).value(0, {0, 0, Qt::CoarseTimer});
    }
    // The error of the only end of the run.
    QString error()
    {
        const bool ended = !m_finished->isEmpty() || m_finished->wait(6000);
        return ended && m_finished->size() == 1 ? m_finished->takeFirst().first().toString() : "no end";
    }

    std::unique_ptr<FarEnd> m_server;
    std::unique_ptr<CSmtpClient> m_smtp;
    std::unique_ptr<QSignalSpy> m_finished;
    QString m_address; // somewhere in 127.0.0.0/8, for the ports that begin in plain text are fixed
    DeviceCertificates m_authority;
    DeviceCertificate m_own;
};

QTEST_GUILESS_MAIN(TestSmtpClient)
#include "tst_smtp_client.moc"
