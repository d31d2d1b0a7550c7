#include "shell/command.h"

#include <foundation/mail/smtp_client.h>

#include <QtNetwork/QHostInfo>

namespace {

class MailCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addSwitch(QStringLiteral("check"), QStringLiteral("try the settings and send nothing"));
        options.addValue(QStringLiteral("to"), QStringLiteral("ADDRESS"),
                         QStringLiteral("recipient; may be repeated, or hold several separated by commas"));
        options.addValue(QStringLiteral("subject"), QStringLiteral("TEXT"), QStringLiteral("subject"));
        options.addValue(QStringLiteral("text"), QStringLiteral("TEXT"), QStringLiteral("what the mail says"));
        options.addValue(QStringLiteral("preheader"), QStringLiteral("TEXT"),
                         QStringLiteral("what mail programs show beside the subject"));
        options.addValue(QStringLiteral("server"), QStringLiteral("HOST[:PORT]"),
                         QStringLiteral("mail server; \"[verify_none]\" behind it accepts any certificate"));
        options.addValue(QStringLiteral("account"), QStringLiteral("ADDRESS"), QStringLiteral("sender and user name"));
        options.addValue(QStringLiteral("password"), QStringLiteral("TEXT"),
                         QStringLiteral("without one there is no login; better given by KYR_CONSOLE_MAIL_PASSWORD, "
                                        "which other users do not see"));
    }

    void start(AppOptions& options) override
    {
        const bool check = options.isSet(QStringLiteral("check"));
        const QString to = options.values(QStringLiteral("to")).join(QLatin1Char(','));
        const QString subject = options.value(QStringLiteral("subject"));
        const QString server = options.value(QStringLiteral("server"));
        const QString account = options.value(QStringLiteral("account"));
        if (server.isEmpty() || account.isEmpty())
            options.setError(QStringLiteral("--server and --account are needed"));
        if (!check && (to.isEmpty() || subject.isEmpty()))
            options.setError(QStringLiteral("--check, or --to and --subject are needed"));
        const QString fault = to.isEmpty() ? QString() : CSmtpClient::addressFault(to);
        if (!fault.isEmpty())
            options.setError(QStringLiteral("--to: %1").arg(fault));
        if (!options.error().isEmpty())
            return;

        m_client = new CSmtpClient(account, options.value(QStringLiteral("password")), server,
                                   QStringLiteral("//") + QHostInfo::localHostName(), this);
        connect(m_client, &CSmtpClient::finished, this, [this, check](const QString& error) {
            if (!error.isEmpty()) {
                const QString cause = m_client->connectionFault();
                return fail(cause.isEmpty() ? error : QStringLiteral("%1 (%2)").arg(error, cause));
            }
            output().line(check ? QStringLiteral("The settings are in order.") : QStringLiteral("Sent."));
            done();
        });
        output().progress(QStringLiteral("talking to %1").arg(server));
        const bool started = check ? m_client->checkServerSettings()
                                   : m_client->sendDefaultTemplateMail(
                                       to, subject, options.value(QStringLiteral("preheader")),
                                       options.value(QStringLiteral("text")), CSmtpClient::TextForm::Plain);
        if (!started)
            fail(QStringLiteral("not started: the server or the account is no address"));
    }

    void cancel() override
    {
        delete m_client;
        Command::cancel();
    }

private:
    CSmtpClient* m_client = nullptr;
};

} // namespace

extern const CommandEntry mailCommand = {"mail", "Checks the settings of a mail server, or sends a mail.",
                                         &makeCommand<MailCommand>};
