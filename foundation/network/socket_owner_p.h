#pragma once

#include <QtCore/QPointer>

/// Counts, for as long as it lives, that `connection` is handling a signal of its socket. A receiver may delete the
/// connection meanwhile; the socket, which is still in the middle of its own signal, must then outlive it.
template<typename Connection>
class SocketSignal
{
public:
    SocketSignal(Connection* connection, int& depth)
        : m_connection(connection)
        , m_depth(depth)
    {
        ++m_depth;
    }
    ~SocketSignal()
    {
        if (m_connection)
            --m_depth;
    }
    SocketSignal(const SocketSignal&) = delete;
    SocketSignal& operator=(const SocketSignal&) = delete;

private:
    QPointer<Connection> m_connection;
    int& m_depth;
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
