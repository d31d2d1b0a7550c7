#include "script/attached_script.h"

#include "common/command_protocol.h"

#include <QtNetwork/QLocalSocket>

AttachedScript::AttachedScript(QLocalSocket& socket, const std::function<void()>& readSocket, int patienceMs)
    : m_socket(socket)
    , m_target(socket, readSocket, patienceMs)
    , m_run(&m_target)
{
    connect(&m_target, &RemoteInstallation::gone, this, &AttachedScript::stop);
    connect(&m_run, &ScriptRun::printed, this, &AttachedScript::printed);
    connect(&m_run, &ScriptRun::warned, this, &AttachedScript::warned);
    connect(&m_run, &ScriptRun::ended, this, &AttachedScript::end);
}

void AttachedScript::start(const QJsonArray& message)
{
    ScriptRun::Settings settings;
    settings.fileName = message.at(1).toString();
    settings.timeoutSeconds = message.at(2).toInt();
    settings.arguments = CommandProtocol::textsOf(message, 3);
    settings.mayEndProcess = true;
    QString error;
    if (!ScriptRun::read(settings, error))
        return end(1, error);
    // Not within a signal of the socket, which would not tell of answers then.
    QMetaObject::invokeMethod(
        this, [this, settings] { m_run.start(settings); }, Qt::QueuedConnection);
}

void AttachedScript::stop()
{
    m_target.end();
    m_run.stop();
}

void AttachedScript::end(int code, const QString& error)
{
    if (!error.isEmpty())
        Q_EMIT warned(QLatin1String("script: ") + error);
    m_socket.write(CommandProtocol::message("ended", QJsonArray{code}));
}
