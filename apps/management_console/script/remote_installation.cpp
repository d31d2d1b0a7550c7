#include "script/remote_installation.h"

#include "common/command_protocol.h"
#include "script/script_wire.h"

#include <foundation/services/script_method.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtNetwork/QLocalSocket>

namespace {

constexpr int stepMs = 200; // between two looks whether somebody has ended this

} // namespace

RemoteInstallation::RemoteInstallation(QLocalSocket& socket, const std::function<void()>& readSocket, int patienceMs)
    : m_socket(socket)
    , m_readSocket(readSocket)
    , m_patienceMs(patienceMs)
{
}

bool RemoteInstallation::call(const QString& name, const QVariantList& arguments, const Callback& callback,
                              QVariant* result, QString* error)
{
    const int id = ++m_lastId;
    const QByteArray message = CommandProtocol::message("call", {id, name, ScriptWire::toJson(QVariant(arguments))});
    if (message.size() > CommandProtocol::longestMessage) {
        *error = QStringLiteral("%1: the values are too large").arg(name);
        return false;
    }
    const CScriptMethod* method = CScriptMethod::find(name);
    if (method && method->takesCallback())
        m_callbacks.insert(id, callback);
    m_waitsFor = id;
    m_reply = QJsonArray();
    if (!m_hasEnded)
        m_socket.write(message);
    const bool hasAnswer = waitForAnswer();
    m_waitsFor = 0;
    if (!hasAnswer) {
        m_hasEnded = true;
        m_callbacks.clear();
        *error = QStringLiteral("the console has gone");
        Q_EMIT gone();
        return false;
    }
    if (CommandProtocol::kindOf(m_reply) == QLatin1String("refusal")) {
        m_callbacks.remove(id);
        *error = m_reply.at(2).toString();
        return false;
    }
    *result = ScriptWire::fromJson(m_reply.at(2));
    return true;
}

bool RemoteInstallation::waitForAnswer()
{
    QElapsedTimer silence;
    silence.start();
    while (!m_hasEnded && m_reply.isEmpty()) {
        if (m_socket.state() != QLocalSocket::ConnectedState || silence.hasExpired(m_patienceMs))
            return false;
        if (m_socket.bytesAvailable() == 0 && !m_socket.waitForReadyRead(stepMs))
            continue;
        silence.restart();
        m_readSocket();
    }
    return !m_reply.isEmpty();
}

void RemoteInstallation::listen(bool isOn)
{
    m_socket.write(CommandProtocol::message("listen", QJsonArray{isOn}));
}

bool RemoteInstallation::take(const QJsonArray& message)
{
    const QString kind = CommandProtocol::kindOf(message);
    const int id = message.at(1).toInt();
    if (kind == QLatin1String("result") || kind == QLatin1String("refusal")) {
        if (id == m_waitsFor)
            m_reply = message;
    } else if (kind == QLatin1String("answer")) {
        const Callback callback = m_callbacks.take(id);
        if (callback)
            callback(ScriptWire::fromJson(message.at(2)).toMap());
    } else if (kind == QLatin1String("notified")) {
        Q_EMIT notified(message.at(1).toString(), ScriptWire::fromJson(message.at(2)).toMap(),
                        message.at(3).toString());
    } else {
        return false;
    }
    return true;
}
