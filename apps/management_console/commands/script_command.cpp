#include "script/script_run.h"
#include "shell/command.h"
#include "shell/terminal.h"

#include <server/devices/device_service.h>
#include <server/model/sql_access_control.h>
#include <server/outbox/mail_outbox.h>

#include <QtCore/QFile>

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
        if (!output().files().areHere())
            return fail(QStringLiteral("a script runs in its own process: kyr_console --database FILE script ..."));
        ScriptRun::Settings settings;
        if (options.isSet(QStringLiteral("timeout")))
            settings.timeoutSeconds = options.number(QStringLiteral("timeout"), 1, 1000000);
        if (!options.error().isEmpty())
            return;
        settings.fileName = options.positional().constFirst();
        settings.arguments = options.positional().mid(1);
        settings.mayEndProcess = !session().server();
        if (!read(settings))
            return;
        QString error;
        CAuditTrail* trail = session().trail(error);
        if (!trail)
            return fail(error);
        // Its mails are left to a console that serves with a mail server, as those of the command "mail" are.
        if (!session().server())
            model()->setMail(session().outbox(error));
        m_run = std::make_unique<ScriptRun>(model(), session().deviceService(), trail);
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

    void cancel() override
    {
        m_run.reset();
        Command::cancel();
    }

private:
    bool read(ScriptRun::Settings& settings)
    {
        QFile file(settings.fileName);
        QByteArray bytes;
        if (file.open(QIODevice::ReadOnly))
            bytes = file.read(ScriptRun::longestFile + 1);
        if (file.error() != QFileDevice::NoError) {
            fail(QStringLiteral("cannot read \"%1\": %2").arg(settings.fileName, file.errorString()));
            return false;
        }
        if (bytes.size() > ScriptRun::longestFile) {
            fail(QStringLiteral("\"%1\" is not a script: it is larger than %2 MiB")
                     .arg(settings.fileName)
                     .arg(ScriptRun::longestFile >> 20));
            return false;
        }
        settings.source = QString::fromUtf8(bytes);
        return true;
    }

    std::unique_ptr<ScriptRun> m_run;
};

} // namespace

extern const CommandEntry scriptCommand = {"script", "Runs a JavaScript file on the installation.",
                                           &makeCommand<ScriptCommand>, true};
