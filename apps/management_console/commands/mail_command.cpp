#include "shell/command.h"

#include <foundation/mail/mail_message.h>
#include <foundation/mail/smtp_client.h>
#include <server/outbox/mail_outbox.h>

#include <QtCore/QFileInfo>
#include <QtNetwork/QHostInfo>

namespace {

class MailCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addSwitch(QStringLiteral("check"), QStringLiteral("check the settings without sending a mail"));
        options.addValue(QStringLiteral("to"), QStringLiteral("ADDRESS"),
                         QStringLiteral("recipient, or several separated by commas; may be repeated"));
        options.addValue(QStringLiteral("subject"), QStringLiteral("TEXT"), QStringLiteral("subject"));
        options.addValue(QStringLiteral("text"), QStringLiteral("TEXT"), QStringLiteral("text of the mail"));
        options.addValue(QStringLiteral("preheader"), QStringLiteral("TEXT"),
                         QStringLiteral("preview text that mail programs show beside the subject"));
        options.addValue(QStringLiteral("server"), QStringLiteral("HOST[:PORT]"),
                         QStringLiteral("mail server; with \"[verify_none]\" after it any certificate is accepted"));
        options.addValue(QStringLiteral("account"), QStringLiteral("ADDRESS"), QStringLiteral("sender and user name"));
        options.addValue(QStringLiteral("password"), QStringLiteral("TEXT"),
                         QStringLiteral("password; without it there is no log-in; safer in KYR_CONSOLE_MAIL_PASSWORD, "
                                        "which other users cannot see"));
        options.addValue(
            QStringLiteral("token"), QStringLiteral("TEXT"),
            QStringLiteral("access token, instead of a password (XOAUTH2); safer in KYR_CONSOLE_MAIL_TOKEN"));
        options.addValue(QStringLiteral("text-file"), QStringLiteral("FILE"),
                         QStringLiteral("text of the mail, from a file"));
        options.addValue(QStringLiteral("attachment"), QStringLiteral("FILE"),
                         QStringLiteral("file to attach; may be repeated"));
        options.addSwitch(QStringLiteral("queue"),
                          QStringLiteral("put the mail into the outbox, from which the serving console sends it (the "
                                         "default without --server)"));
        options.addSwitch(QStringLiteral("outbox"),
                          QStringLiteral("show the outbox: mails that wait or were given up"));
        options.addValue(QStringLiteral("forget"), QStringLiteral("N"),
                         QStringLiteral("remove mail number N from the outbox"));
    }

    void start(AppOptions& options) override
    {
        if (options.isSet(QStringLiteral("outbox")))
            return showOutbox();
        if (options.isSet(QStringLiteral("forget")))
            return forget(options.number(QStringLiteral("forget"), 1, 0x7FFFFFFF));
        m_check = options.isSet(QStringLiteral("check"));
        m_to = options.values(QStringLiteral("to")).join(QLatin1Char(','));
        m_server = options.value(QStringLiteral("server"));
        m_account = options.value(QStringLiteral("account"));
        m_password = options.value(QStringLiteral("password"));
        m_token = options.value(QStringLiteral("token"));
        m_message.setSubject(options.value(QStringLiteral("subject")));
        m_message.setPreheader(options.value(QStringLiteral("preheader")));
        m_message.setText(options.value(QStringLiteral("text")));
        m_queue = options.isSet(QStringLiteral("queue")) || (!m_check && m_server.isEmpty() && session().sendsMail());
        if (!m_queue && (m_server.isEmpty() || m_account.isEmpty()))
            options.setError(QStringLiteral("--server and --account are needed"));
        if (!m_check && (m_to.isEmpty() || m_message.subject().isEmpty()))
            options.setError(QStringLiteral("--check, or --to and --subject are needed"));
        const QString fault = m_to.isEmpty() ? QString() : CSmtpClient::addressFault(m_to);
        if (!fault.isEmpty())
            options.setError(QStringLiteral("--to: %1").arg(fault));
        if (!options.error().isEmpty())
            return;
        m_attachments = options.values(QStringLiteral("attachment"));
        const QString textFile = options.value(QStringLiteral("text-file"));
        if (textFile.isEmpty())
            return attachNext();
        readFile(textFile, longestText, [this](const QByteArray& bytes) {
            m_message.setText(QString::fromUtf8(bytes));
            attachNext();
        });
    }

    void cancel() override
    {
        delete m_client;
        Command::cancel();
    }

private:
    static constexpr qint64 longestText = qint64(1024) * 1024;

    void attachNext()
    {
        if (m_attachments.isEmpty())
            return m_queue ? queue() : send();
        const QString name = m_attachments.takeFirst();
        readFile(name, CMailOutbox::largestMail, [this, name](const QByteArray& bytes) {
            m_message.attach(name == QLatin1String("-") ? QStringLiteral("attachment") : QFileInfo(name).fileName(),
                             bytes);
            if (m_message.attachedBytes() > CMailOutbox::largestMail)
                return fail(Files::tooLarge(name, CMailOutbox::largestMail));
            attachNext();
        });
    }

    void queue()
    {
        QString error;
        CMailOutbox* outbox = session().outbox(error);
        if (!outbox || !outbox->queue(m_message, {m_to}, error))
            return fail(error);
        say(session().sendsMail()
                ? QStringLiteral("Put into the outbox.")
                : QStringLiteral("Put into the outbox. A console that serves with --mail-server sends it."),
            {{QStringLiteral("result"), QStringLiteral("queued")}});
        done();
    }

    void send()
    {
        m_client =
            new CSmtpClient(m_account, m_password, m_server, QStringLiteral("//") + QHostInfo::localHostName(), this);
        m_client->setAccessToken(m_token);
        connect(m_client, &CSmtpClient::finished, this, [this](const QString& error) {
            if (!error.isEmpty()) {
                const QString cause = m_client->connectionFault();
                return fail(cause.isEmpty() ? error : QStringLiteral("%1 (%2)").arg(error, cause));
            }
            say(m_check ? QStringLiteral("The settings are in order.") : QStringLiteral("Sent."),
                {{QStringLiteral("result"), m_check ? QStringLiteral("checked") : QStringLiteral("sent")}});
            done();
        });
        output().progress(QStringLiteral("talking to %1").arg(m_server));
        const bool started =
            m_check ? m_client->checkServerSettings() : m_client->sendMail(m_to, m_message.toBytes(m_account, m_to));
        if (!started)
            fail(QStringLiteral("not started: the server or the account is not a valid address"));
    }

    void showOutbox()
    {
        QString error;
        const CMailOutbox* outbox = session().outbox(error);
        if (!outbox)
            return fail(error);
        Table table({{QStringLiteral("id"), QStringLiteral("Number")},
                     {QStringLiteral("recipient"), QStringLiteral("To")},
                     {QStringLiteral("subject"), QStringLiteral("Subject")},
                     {QStringLiteral("queued"), QStringLiteral("Since")},
                     {QStringLiteral("tries"), QStringLiteral("Tries")},
                     {QStringLiteral("next"), QStringLiteral("Next try")},
                     {QStringLiteral("error"), QStringLiteral("Last error")}});
        const QList<CMailOutbox::Entry> entries = outbox->entries();
        for (const CMailOutbox::Entry& entry : entries)
            table.addRow({QString::number(entry.id), entry.recipient, entry.subject, isoTime(entry.queued), entry.tries,
                          entry.next.isValid() ? isoTime(entry.next) : QStringLiteral("given up"), entry.error});
        print(table);
        done();
    }

    void forget(int id)
    {
        QString error;
        CMailOutbox* outbox = session().outbox(error);
        if (!outbox)
            return fail(error);
        if (!outbox->remove(id))
            return fail(QStringLiteral("there is no mail number %1 in the outbox").arg(id));
        done();
    }

    CSmtpClient* m_client = nullptr;
    CMailMessage m_message;
    QStringList m_attachments; // still to be read
    QString m_to;
    QString m_server;
    QString m_account;
    QString m_password;
    QString m_token;
    bool m_check = false;
    bool m_queue = false;
};

} // namespace

extern const CommandEntry mailCommand = {"mail", "Sends a mail, or checks the settings of a mail server.",
                                         &makeCommand<MailCommand>};
