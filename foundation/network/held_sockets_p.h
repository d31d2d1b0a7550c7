#pragma once

#include <foundation/core/export.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QTimer>

/// What strangers hold, sockets mostly: each may stay for a certain time, and only so many at a time, the oldest goes
/// first. What has to go is aborted, if it is a socket, and deleted later. One timer serves them all.
///
///     connect(m_silent, &HeldSockets::dropping, this, &Server::warn);
///     m_silent->add(socket, ConnectionTiming::current().silence);
///     // ... it has said something:
///     m_silent->release(socket);
class KYR_FOUNDATION_TEST_EXPORT HeldSockets : public QObject
{
    Q_OBJECT

public:
    HeldSockets(int limit, QObject* parent);

    /// Holds it for `milliseconds`, which are the same for all of this holder, or anew when it is held already. A
    /// socket that disconnects is released by itself.
    void add(QObject* socket, int milliseconds);
    /// It is trusted, or has gone.
    void release(const QObject* socket);
    int size() const { return static_cast<int>(m_held.size()); }

Q_SIGNALS:
    /// Just before it goes: its time is up, or (`crowded`) there were too many.
    void dropping(QObject* socket, bool crowded);

private:
    void dropFirst(bool crowded);
    void dropExpired();

    int m_limit;
    QList<QPair<QObject*, QDeadlineTimer>> m_held;
    QTimer m_timer;
};
