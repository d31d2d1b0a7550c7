#pragma once

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtNetwork/QAbstractSocket>

#include <functional>

class QTcpSocket;
class QWebSocket;

/// Nothing happens when `owner` is no job.
void holdClock(QObject* owner);
void letClockGo(QObject* owner);

/// A socket's way from one owner to the next. It is offered by a signal; a receiver takes it over by setting another
/// parent. What arrived before the new owner listened is announced to it once more.
///
///     HandOver offer(socket);
///     Q_EMIT newSocket(socket);       // the receiver may do anything, delete the sender included
///     if (offer.isTaken())
///         offer.conclude();
///     else if (offer.isLeft())
///         socket->abort();
///
/// Nothing but the socket is touched, so that the sender need not exist any more.
/// The time of a job to which the socket belonged stands still meanwhile.
template<typename Socket>
class HandOver
{
public:
    explicit HandOver(Socket* socket)
        : m_socket(socket)
        , m_owner(socket->parent())
        , m_formerly(socket->parent())
        , m_state(socket->state())
    {
        holdClock(m_owner);
    }
    ~HandOver() { letClockGo(m_owner); }
    HandOver(const HandOver&) = delete;
    HandOver& operator=(const HandOver&) = delete;

    /// It has another parent. Neither this nor isLeft: it was deleted.
    bool isTaken() const { return m_socket && m_socket->parent() != m_formerly; }
    bool isLeft() const { return m_socket && m_socket->parent() == m_formerly; }

    /// A former owner that must not hear of the socket any more, and the limits for strangers, let it go.
    void release();
    /// Tells what came in meanwhile, unless somebody has closed or aborted the socket: that is an end.
    void announce();
    void conclude()
    {
        release();
        announce();
    }

private:
    QPointer<Socket> m_socket;
    QPointer<QObject> m_owner;
    const QObject* m_formerly; // to compare with, not to look at
    QAbstractSocket::SocketState m_state;
};

template<>
void HandOver<QTcpSocket>::release();
template<>
void HandOver<QTcpSocket>::announce();
template<>
void HandOver<QWebSocket>::release();
template<>
void HandOver<QWebSocket>::announce();

/// The peer is trusted: its messages may have any size, and as much as need be may wait for it.
void liftLimits(QWebSocket* webSocket);

/// The messages that arrive on a WebSocket while it has no owner who listens: between the one that made the next owner
/// known and that owner's first look. That is one turn of the event loop, but a peer that sends faster than the
/// WebSocket reads makes it last: who sends too much then is aborted, with a warning.
class MessageBacklog : public QObject
{
    Q_OBJECT

public:
    /// Keeps what arrives from now on, until HandOver::announce, and up to `limit` bytes of it.
    static void begin(QWebSocket* webSocket, qint64 limit);
    /// Keeps nothing more, and emits what was kept as long as the WebSocket lives in `state`.
    static void announce(QWebSocket* webSocket, QAbstractSocket::SocketState state);

private:
    MessageBacklog(QWebSocket* webSocket, qint64 limit);
    void keep(qint64 size, const std::function<void(QWebSocket*)>& announce);

    QWebSocket* m_webSocket;
    qint64 m_room;
    QList<std::function<void(QWebSocket*)>> m_messages;
};
