#include "commands/firmware_report.h"
#include "shell/command.h"

#include <QtCore/QFile>
#include <QtCore/QTimer>

namespace {

class FirmwareCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override { options.addPositional(QStringLiteral("FILE")); }

    void start(AppOptions& options) override
    {
        m_file.setFileName(options.positional().constFirst());
        if (!m_file.open(QIODevice::ReadOnly))
            return fail(QStringLiteral("cannot read \"%1\": %2").arg(m_file.fileName(), m_file.errorString()));
        if (m_file.size() > 0x7FFFFFFF)
            return fail(QStringLiteral("\"%1\" is too large for firmware").arg(m_file.fileName()));
        output().progress(QStringLiteral("checking %1 MB").arg(m_file.size() / 1000000));
        // After the user has seen that.
        QTimer::singleShot(0, this, [this] { check(); });
    }

private:
    void check()
    {
        const QByteArray bytes = m_file.readAll();
        bool faultless = false;
        QString report = firmwareReport(bytes, &faultless);
        while (report.endsWith(QLatin1Char('\n')))
            report.chop(1);
        output().lines(report.split(QLatin1Char('\n')));
        if (!faultless)
            return fail(QStringLiteral("\"%1\" is not in order").arg(m_file.fileName()));
        done();
    }

    QFile m_file;
};

} // namespace

extern const CommandEntry firmwareCommand = {"firmware", "Checks a firmware file and shows what is in it.",
                                             &makeCommand<FirmwareCommand>};
