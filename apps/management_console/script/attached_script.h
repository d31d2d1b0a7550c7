#pragma once

#include "script/remote_installation.h"
#include "script/script_run.h"

/// A script of a client that talks to a console: it runs here, and works on the installation there.
class AttachedScript : public QObject
{
    Q_OBJECT

public:
    AttachedScript(QLocalSocket& socket, const std::function<void()>& readSocket, int patienceMs);

    /// As the console asks for it by `message`; from the event loop.
    void start(const QJsonArray& message);
    /// Nothing more of it is run or told.
    void stop();

    bool take(const QJsonArray& message) { return m_target.take(message); }
    bool isWaiting() const { return m_target.isWaiting(); }

Q_SIGNALS:
    void printed(const QString& text);
    void warned(const QString& text);

private:
    void end(int code, const QString& error);

    QLocalSocket& m_socket;
    RemoteInstallation m_target;
    ScriptRun m_run;
};
