#include "script/script_host.h"

#include "common/command_server.h"
#include "script/script_target.h"
#include "script/script_wire.h"

#include <QtCore/QPointer>

ScriptHost::ScriptHost(ScriptTarget& target, CommandClient& client)
    : m_target(target)
    , m_client(client)
{
    connect(&target, &ScriptTarget::notified, this,
            [this](const QString& name, const QVariantMap& parameters, const QString& extension) {
                m_client.sendMessage("notified", {name, ScriptWire::toJson(parameters), extension});
            });
}

void ScriptHost::take(const QJsonArray& message)
{
    const QString kind = CommandProtocol::kindOf(message);
    if (kind == QLatin1String("call"))
        call(message);
    else if (kind == QLatin1String("listen"))
        m_target.listen(message.at(1).toBool());
    else if (kind == QLatin1String("ended"))
        Q_EMIT ended(qBound(0, message.at(1).toInt(), 255));
}

void ScriptHost::call(const QJsonArray& message)
{
    const QPointer<ScriptHost> self(this);
    const int id = message.at(1).toInt();
    const auto answer = [self, id](const QVariantMap& result) {
        if (self)
            self->m_client.sendMessage("answer", {id, ScriptWire::toJson(result)});
    };
    QVariant result;
    QString error;
    const bool isDone =
        m_target.call(message.at(2).toString(), ScriptWire::fromJson(message.at(3)).toList(), answer, &result, &error);
    // What was called may have ended this.
    if (!self)
        return;
    if (isDone)
        m_client.sendMessage("result", {id, ScriptWire::toJson(result)});
    else
        m_client.sendMessage("refusal", {id, error});
}
