#pragma once

#include "script/script_target.h"

#include <QtCore/QHash>
#include <QtCore/QJsonArray>

#include <functional>

class QLocalSocket;

/// The installation of the console at the other end of a socket. A call waits for its answer, as scripts want it; what
/// else is read meanwhile is its owner's business, who hands in what is meant for this.
class RemoteInstallation : public ScriptTarget
{
    Q_OBJECT

public:
    /// \param readSocket takes what has come, and calls take() with it.
    /// \param patienceMs after that without a sign of life the other end counts as gone.
    RemoteInstallation(QLocalSocket& socket, const std::function<void()>& readSocket, int patienceMs);

    bool call(const QString& name, const QVariantList& arguments, const Callback& callback, QVariant* result,
              QString* error) override;
    void listen(bool isOn) override;

    /// False for a message that is none of a script's.
    bool take(const QJsonArray& message);
    /// A call waits: the script is in the midst of something.
    bool isWaiting() const { return m_waitsFor != 0; }
    /// Nothing is heard of it any more: calls fail from now on.
    void end() { m_hasEnded = true; }

Q_SIGNALS:
    /// Before a call fails for want of the other end, or because it was ended.
    void gone();

private:
    bool waitForAnswer();

    QLocalSocket& m_socket;
    std::function<void()> m_readSocket;
    int m_patienceMs;
    int m_lastId = 0;
    int m_waitsFor = 0;
    bool m_hasEnded = false;
    QJsonArray m_reply; // to the call that waits
    QHash<int, Callback> m_callbacks;
};
