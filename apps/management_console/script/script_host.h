#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QObject>

class CommandClient;
class ScriptTarget;

/// Calls an installation that is open here for a script that a client runs; see CommandProtocol for what passes.
class ScriptHost : public QObject
{
    Q_OBJECT

public:
    /// Both outlive it.
    ScriptHost(ScriptTarget& target, CommandClient& client);

    /// A message of the client on its script.
    void take(const QJsonArray& message);

Q_SIGNALS:
    /// The script has come to its end, at the client.
    void ended(int code);

private:
    void call(const QJsonArray& message);

    ScriptTarget& m_target;
    CommandClient& m_client;
};
