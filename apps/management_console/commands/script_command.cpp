#include "common/command_server.h"
#include "script/script_host.h"
#include "script/script_run.h"
#include "shell/command.h"
#include "shell/terminal.h"

#include <server/devices/device_service.h>
#include <server/model/sql_access_control.h>
#include <server/outbox/mail_outbox.h>

namespace {

class ScriptCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("FILE.js [ARG...]"),
                              QStringLiteral("Put \"--\" before arguments that begin with \"-\"."));
        options.addValue(QStringLiteral("timeout"), QStringLiteral("S"),
                         QStringLiteral("end the script after this time, with exit code 1"));
    }

    void start(AppOptions& options) override
    {
        ScriptRun::Settings settings;
        if (options.isSet(QStringLiteral("timeout")))
            settings.timeoutSeconds = options.number(QStringLiteral("timeout"), 1, 1000000);
        if (!options.error().isEmpty())
            return;
        settings.fileName = options.positional().constFirst();
        settings.arguments = options.positional().mid(1);
        settings.mayEndProcess = !session().server();
        QString error;
        if (output().files().areHere() ? !ScriptRun::read(settings, error) : !isRunByClient(error))
            return fail(error);
        CAuditTrail* trail = session().trail(error);
        if (!trail)
            return fail(error);
        // Its mails are left to a console that serves with a mail server, as those of the command "mail" are.
        if (!session().server())
            model()->setMail(session().outbox(error));
        m_target = std::make_unique<OpenInstallation>(model(), session().deviceService(), trail);
        if (output().files().areHere())
            run(settings);
        else
            runAtClient(*output().scriptClient(), settings);
    }

    void cancel() override
    {
        m_run.reset();
        m_host.reset();
        m_target.reset();
        Command::cancel();
    }

private:
    bool isRunByClient(QString& error)
    {
        if (!output().scriptClient())
            error = QStringLiteral("the client runs its scripts itself: use kyr_console of this version");
        return error.isEmpty();
    }

    void run(const ScriptRun::Settings& settings)
    {
        m_run = std::make_unique<ScriptRun>(m_target.get());
        connect(m_run.get(), &ScriptRun::printed, this, [this](const QString& text) {
            const QStringList lines = text.split(QLatin1Char('\n'));
            for (const QString& line : lines)
                output().line(Terminal::isInteractive() ? Terminal::printable(line) : line);
        });
        connect(m_run.get(), &ScriptRun::warned, this, [this](const QString& text) {
            const QStringList lines = text.split(QLatin1Char('\n'));
            for (const QString& line : lines)
                output().error(line);
        });
        connect(m_run.get(), &ScriptRun::ended, this, [this](int code, const QString& reason) {
            if (!reason.isEmpty())
                warn(reason);
            done(code);
        });
        m_run->start(settings);
    }

    // A console that serves computes for no script: the client does, and asks for what it needs.
    void runAtClient(CommandClient& client, const ScriptRun::Settings& settings)
    {
        m_host = std::make_unique<ScriptHost>(*m_target, client);
        connect(&client, &CommandClient::scriptMessageReceived, m_host.get(), [this](const QJsonArray& message) {
            const Session::Acting acting(session(), output().user());
            m_host->take(message);
        });
        connect(
            m_host.get(), &ScriptHost::ended, this, [this](int code) { done(code); }, Qt::QueuedConnection);
        QJsonArray message{settings.fileName, settings.timeoutSeconds};
        for (const QString& argument : settings.arguments)
            message.append(argument);
        client.sendMessage("script", message);
    }

    std::unique_ptr<ScriptTarget> m_target; // outlives what works on it
    std::unique_ptr<ScriptRun> m_run;
    std::unique_ptr<ScriptHost> m_host;
};

} // namespace

extern const CommandEntry scriptCommand = {"script", "Runs a JavaScript file on the installation.",
                                           &makeCommand<ScriptCommand>};
