#include "shell/command_runner.h"

#include "common/spelling.h"

namespace {

// A change waits as long for another program's as in a console of its own, but the event loop turns meanwhile.
constexpr int longestHoldMs = 2000;
constexpr int againMs = 100;

} // namespace

CommandRunner::CommandRunner(Session& session, Output& output, QObject* parent)
    : QObject(parent)
    , m_session(session)
    , m_output(output)
{
    m_again.setSingleShot(true);
    m_again.setInterval(againMs);
    connect(&m_again, &QTimer::timeout, this, &CommandRunner::start);
}

void CommandRunner::run(const QStringList& words)
{
    m_running = true;
    m_words = words;
    m_hadInput = false;
    m_sinceBegin.start();
    start();
}

void CommandRunner::start()
{
    const Session::Acting acting(m_session, m_output.user());
    const QString name = m_words.value(0);
    const CommandEntry* entry = m_session.findCommand(name);
    if (!entry) {
        QStringList known;
        for (const CommandEntry* command : m_session.commands())
            known.append(QLatin1String(command->name));
        m_output.error(QStringLiteral("unknown command \"%1\"%2 (see: help)").arg(name, meantText(name, known)));
        QMetaObject::invokeMethod(
            this, [this] { conclude(2); }, Qt::QueuedConnection);
        return;
    }
    m_command = entry->create(m_session, m_output);
    m_command->setParent(this);
    connect(m_command.data(), &Command::finished, this, &CommandRunner::conclude);
    connect(m_command.data(), &Command::inputWanted, this, &CommandRunner::inputWanted);
    connect(m_command.data(), &Command::passwordWanted, this, &CommandRunner::passwordWanted);
    connect(m_command.data(), &Command::leaveWanted, this, &CommandRunner::leaveWanted);
    if (m_session.server())
        m_command->setTryAgain([this] { return tryAgain(); });
    m_command->run(name, QString::fromUtf8(entry->summary), m_words.mid(1));
}

bool CommandRunner::tryAgain()
{
    // What the user has typed is not asked for once more.
    if (m_hadInput || m_sinceBegin.hasExpired(longestHoldMs))
        return false;
    m_command->deleteLater();
    m_command.clear();
    m_again.start();
    return true;
}

void CommandRunner::cancel()
{
    const Session::Acting acting(m_session, m_output.user());
    if (m_command)
        m_command->cancel();
}

void CommandRunner::giveInput(const QString& line)
{
    const Session::Acting acting(m_session, m_output.user());
    m_hadInput = true;
    if (m_command)
        m_command->takeInput(line);
}

void CommandRunner::giveInputEnd()
{
    const Session::Acting acting(m_session, m_output.user());
    if (m_command)
        m_command->takeInputEnd();
}

void CommandRunner::conclude(int code)
{
    if (m_command)
        m_command->deleteLater();
    m_command.clear();
    m_output.progress(QString());
    m_running = false;
    Q_EMIT finished(code);
}
