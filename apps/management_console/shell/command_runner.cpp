#include "shell/command_runner.h"

CommandRunner::CommandRunner(Session& session, Output& output, QObject* parent)
    : QObject(parent)
    , m_session(session)
    , m_output(output)
{
}

void CommandRunner::run(const QStringList& words)
{
    m_running = true;
    const Session::Acting acting(m_session, m_output.user());
    const QString name = words.value(0);
    const CommandEntry* entry = m_session.findCommand(name);
    if (!entry) {
        m_output.error(QStringLiteral("unknown command \"%1\" (see: help)").arg(name));
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
    m_command->run(name, QString::fromUtf8(entry->summary), words.mid(1));
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
