#pragma once

#include <QtCore/QDeadlineTimer>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QTimer>

class QTcpSocket;

/// Accepted sockets that nobody trusts yet: each may stay for a certain time, and only so many at a time, the oldest
/// goes first. A socket that leaves is aborted and deleted later. One timer serves them all.
class HeldSockets : public QObject
{
    Q_OBJECT

public:
    HeldSockets(int limit, QObject* parent);

    /// Holds a socket for `milliseconds`, which are the same for all sockets of this holder.
    void add(QTcpSocket* socket, int milliseconds);
    /// The socket is trusted, or has gone.
    void release(QObject* socket);

Q_SIGNALS:
    /// Just before a socket is aborted: its time is up, or (`crowded`) there were too many.
    void dropping(QTcpSocket* socket, bool crowded);

private:
    void dropFirst(bool crowded);
    void dropExpired();

    int m_limit;
    QList<QPair<QTcpSocket*, QDeadlineTimer>> m_sockets;
    QTimer m_timer;
};
