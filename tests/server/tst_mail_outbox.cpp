#include <foundation/mail/mail_message.h>
#include <server/database/database.h>
#include <server/database/sql_statement_p.h>
#include <server/model/sql_access_control.h>
#include <server/outbox/mail_outbox.h>

#include <QtCore/QTemporaryDir>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>
#include <QtTest/QtTest>

#include <memory>

namespace {

// A mail server of few words: it says yes to all and counts the mails. After `closesAt` it ends the connection, as a
// machine that loses its power does.
class Taker : public QTcpServer
{
public:
    QStringList recipients;
    QByteArray lastMail;
    int mails = 0;
    QByteArray closesAt;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QTcpSocket(this);
        socket->setSocketDescriptor(descriptor);
        auto isMail = std::make_shared<bool>(false);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, isMail] { read(socket, *isMail); });
        socket->write("220 hi\r\n");
    }

private:
    void read(QTcpSocket* socket, bool& isMail)
    {
        while (socket->canReadLine()) {
            const QByteArray line = socket->readLine();
            if (isMail && line != ".\r\n") {
                lastMail += line;
                continue;
            }
            if (!closesAt.isEmpty() && line.startsWith(closesAt))
                return socket->abort();
            if (isMail)
                ++mails;
            if (line.startsWith("RCPT"))
                recipients.append(QString::fromUtf8(line.mid(9).split('>').constFirst()));
            const bool begins = line.startsWith("DATA");
            if (begins)
                lastMail.clear();
            isMail = begins;
            socket->write(begins ? "354 go\r\n" : line.startsWith("Quit") ? "221 bye\r\n" : "250 ok\r\n");
        }
    }
};

} // namespace

class tst_MailOutbox : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<CSqlAccessControl> m_model;
    Taker m_taker;

    QString file() const { return m_folder->filePath("a.db"); }
    CMailOutbox::Settings settings() const
    {
        return {QStringLiteral("127.0.0.4:2525"), QStringLiteral("door@example.com"), {}, {}, {}};
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_taker.listen(QHostAddress(QStringLiteral("127.0.0.4")), 2525))
            QSKIP("the port is taken");
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_model = std::make_unique<CSqlAccessControl>();
        QVERIFY(m_model->open(file()));
        m_taker.recipients.clear();
        m_taker.mails = 0;
        m_taker.closesAt.clear();
    }

    void cleanup() { m_model.reset(); }

    void theModelSendsMails()
    {
        QVariantMap answer;
        const QVariantMap texts{{"subject", "A & B"}, {"message", "<b>x</b>"}, {"preheader", "p"}};
        const auto send = [&](const QStringList& to, const QVariantMap& parameters) -> QString {
            m_model->sendTemplateEmail(1, to, parameters, [&answer](const QVariantMap& map) { answer = map; });
            return answer.value("status").toString() + ' ' + answer.value("error").toString();
        };
        QCOMPARE(send({"a@example.com"}, texts), QString("error there is no mail server"));
        CMailOutbox outbox(m_model->database());
        m_model->setMail(&outbox);
        outbox.start(settings());
        QCOMPARE(send({"a@example.com"}, {}), QString("error a mail needs a \"subject\""));
        QCOMPARE(send({"no address"}, texts), QString("error \"no\" is not a mail address"));
        QCOMPARE(send({"a@example.com\r\nBcc:x@example.com"}, texts),
                 QString("error an address holds a control character"));
        QStringList crowd;
        for (int i = 0; i <= CMailOutbox::mostRecipients; ++i)
            crowd += QString("a%1@example.com").arg(i);
        QCOMPARE(send(crowd, texts), QString("error a mail can have at most 10000 recipients"));
        CMailMessage large;
        large.attach("a.bin", QByteArray(CMailOutbox::largestMail * 3 / 4, 'x'));
        QString error;
        QVERIFY(!outbox.queue(large, {"a@example.com"}, error));
        QCOMPARE(error, QString("a mail with its attachments can have at most 50 MiB"));
        QCOMPARE(outbox.entries().size(), 0);
        QCOMPARE(send({"a@example.com", "b@example.com"}, texts), QString("ok "));
        QTRY_COMPARE_WITH_TIMEOUT(m_taker.mails, 2, 5000);
        QCOMPARE(m_taker.recipients, QStringList({"a@example.com", "b@example.com"}));
        QVERIFY(m_taker.lastMail.startsWith("From: door@example.com\r\nTo: a@example.com, b@example.com\r\n"));
        QVERIFY(m_taker.lastMail.contains("&lt;b&gt;x"));
        QTRY_COMPARE(outbox.entries().size(), 0);
        m_model->setMail(nullptr);
    }

    // Two programs share the outbox: each mail goes once.
    void twoSenders()
    {
        CDatabase other;
        QVERIFY(other.open(file()));
        CMailOutbox first(m_model->database());
        CMailOutbox second(&other);
        CMailMessage message;
        message.setSubject("x");
        QStringList to;
        for (int i = 0; i < 30; ++i)
            to.append(QString("a%1@example.com").arg(i));
        QString error;
        QVERIFY(first.queue(message, to, error));
        first.start(settings());
        second.start(settings());
        QTRY_COMPARE_WITH_TIMEOUT(first.waiting(), 0, 5500);
        QCOMPARE(m_taker.mails, 30);
        m_taker.recipients.sort();
        to.sort();
        QCOMPARE(m_taker.recipients, to);
    }

    // What was put off until tomorrow, by a clock that was set back since, goes now.
    void clockSetBack()
    {
        CMailOutbox outbox(m_model->database());
        CMailMessage message;
        QString error;
        for (const char* to : {"a@example.com", "b@example.com"})
            QVERIFY(outbox.queue(message, {to}, error));
        outbox.start(settings());
        const auto set = [this](const char* sql) {
            CDatabase* database = m_model->database();
            QVERIFY(database->begin() && SqlStatement(database, sql).exec() && database->end(true));
        };
        set("UPDATE mail_recipient SET next=next+86400 WHERE id=1");
        set("UPDATE mail_recipient SET held=next+86400 WHERE id=2");
        QTRY_COMPARE_WITH_TIMEOUT(m_taker.mails, 2, 5000);
        QTRY_COMPARE(outbox.waiting(), 0);
    }

    void whenTheServerGoes_data()
    {
        QTest::addColumn<QByteArray>("closesAt");
        QTest::addColumn<int>("waiting");
        QTest::newRow("before it has the mail: tried again") << QByteArray("DATA") << 1;
        QTest::newRow("behind its word that it has it: not sent twice") << QByteArray("Quit") << 0;
    }

    void whenTheServerGoes()
    {
        QFETCH(QByteArray, closesAt);
        QFETCH(int, waiting);
        m_taker.closesAt = closesAt;
        CMailOutbox outbox(m_model->database());
        QSignalSpy tried(&outbox, &CMailOutbox::tried);
        CMailMessage message;
        message.setSubject("x");
        QString error;
        QVERIFY(outbox.queue(message, {"a@example.com"}, error));
        outbox.start(settings());
        QTRY_COMPARE(tried.size(), 1);
        QCOMPARE(outbox.waiting(), waiting);
        if (waiting == 0)
            return;
        const CMailOutbox::Entry entry = outbox.entries().constFirst();
        QCOMPARE(entry.tries, 1);
        const qint64 pause = QDateTime::currentDateTime().secsTo(entry.next);
        QVERIFY2(pause > CMailOutbox::firstPause - 5 && pause <= CMailOutbox::firstPause,
                 qPrintable(QString::number(pause)));
        QVERIFY(outbox.remove(entry.id) && !outbox.remove(entry.id));
    }
};

QTEST_GUILESS_MAIN(tst_MailOutbox)

#include "tst_mail_outbox.moc"
