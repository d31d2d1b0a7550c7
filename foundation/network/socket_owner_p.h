#pragma once

#include <QtCore/QObject>

/// The signals of its socket that a connection is handling, as its member. A receiver may delete the connection in the
/// middle of one; the socket, which has not come back from its own signal, must then outlive it.
class SocketSignals
{
public:
    /// One of them, for as long as it lives on the stack. It may outlive the connection, and costs two pointers: there
    /// is one for each message that comes.
    class Scope
    {
    public:
        explicit Scope(SocketSignals& signals)
            : m_signals(&signals)
            , m_outer(signals.m_innermost)
        {
            signals.m_innermost = this;
        }
        ~Scope()
        {
            if (m_signals)
                m_signals->m_innermost = m_outer;
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        friend class SocketSignals;
        SocketSignals* m_signals; // null when it is gone
        Scope* m_outer;
    };

    SocketSignals() = default;
    ~SocketSignals()
    {
        for (Scope* scope = m_innermost; scope; scope = scope->m_outer)
            scope->m_signals = nullptr;
    }
    SocketSignals(const SocketSignals&) = delete;
    SocketSignals& operator=(const SocketSignals&) = delete;

    bool areHandled() const { return m_innermost; }

private:
    Scope* m_innermost = nullptr;
};

/// What happens to the socket of a connection that is being destroyed: one of its own dies with it as its child, any
/// other, and one that is in the middle of a signal, is silenced and deleted later.
inline void releaseSocket(QObject* socket, const QObject* connection, bool insideSignal)
{
    if (!socket)
        return;
    const bool own = socket->parent() == connection;
    if (own && !insideSignal)
        return;
    if (own)
        socket->setParent(nullptr);
    socket->disconnect();
    socket->deleteLater();
}

/// Ends a socket or WebSocket for good; it may have more signals to tell, which nobody shall hear.
template<typename Socket>
void discard(Socket* socket)
{
    socket->disconnect();
    socket->abort();
    socket->deleteLater();
}
