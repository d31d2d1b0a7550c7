#include "shell/pager.h"

#include "shell/terminal.h"

#include <foundation/core/environment_variable.h>

#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

namespace {

// For the shell; empty: none.
QString pagerCommand()
{
    if (CEnvironmentVariable::isSet("NO_PAGER") || CEnvironmentVariable::valueTrimmed("TERM") == QLatin1String("dumb"))
        return {};
    if (CEnvironmentVariable::isSet("PAGER")) {
        const QString wanted = CEnvironmentVariable::valueTrimmed("PAGER");
        return wanted == QLatin1String("cat") ? QString() : wanted;
    }
    for (const char* program : {"less", "more"}) {
        if (!QStandardPaths::findExecutable(QLatin1String(program)).isEmpty())
            return QLatin1String(program);
    }
    return {};
}

} // namespace

Pager::~Pager()
{
    if (m_process)
        m_process->disconnect(this);
}

void Pager::stop()
{
    if (m_process)
        m_process->terminate();
}

bool Pager::isWanted(int lines)
{
    const int rows = Terminal::size().rows;
    return rows > 0 && lines >= rows && Terminal::isInteractive() && !pagerCommand().isEmpty();
}

void Pager::show(const QStringList& lines)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Colours as they are, the end of the text is the end of less, long lines are not wrapped.
    if (!environment.contains(QStringLiteral("LESS")))
        environment.insert(QStringLiteral("LESS"), QStringLiteral("FRSX"));
    m_process = new QProcess(this);
    m_process->setProcessEnvironment(environment);
    m_process->setProcessChannelMode(QProcess::ForwardedChannels);
    connect(m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, &Pager::conclude);
    connect(m_process, &QProcess::errorOccurred, this, [this, lines](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        Terminal::show(lines.join(QLatin1Char('\n')) + QLatin1Char('\n'));
        conclude();
    });
    m_process->start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), pagerCommand()});
    m_process->write((lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toLocal8Bit());
    m_process->closeWriteChannel();
}

void Pager::conclude()
{
    if (!m_process)
        return;
    m_process->deleteLater();
    m_process = nullptr;
    Q_EMIT ended();
}
