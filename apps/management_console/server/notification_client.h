#pragma once

#include "server/notification_message.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QQueue>
#include <QtCore/QTimer>
#include <QtNetwork/QSslSocket>

class QWebSocket;

/// The server's side of one connection: its socket, what stage it is in, and what waits until the other side has read.
class NotificationClient : public QObject
{
    Q_OBJECT

public:
    /// A connection only ever moves on to the next stage.
    enum class Stage
    {
        Stranger, ///< has a time limit, and may send little
        LoggedIn,
        Parting, ///< what it still says does not count, and it ends within a time limit
        Gone
    };

    /// What a client may send, in bytes, and take until it is logged in.
    struct Limits
    {
        quint64 longestLogin;
        quint64 longestMessage;
        int loginMs;
    };

    /// Takes the socket over, of a stranger. `tls` is what carries it, if TLS does.
    NotificationClient(QWebSocket* socket, QSslSocket* tls, qint64 number, const Limits& limits, QObject* parent);

    Stage stage() const { return m_stage; }
    /// The name under which the service knows the client: peer address and port, and its number.
    const QString& address() const { return m_address; }
    int queued() const { return m_queue.size(); }
    qint64 number() const { return m_number; }

    void admit();
    /// Ends the connection after what was sent, by force if the other side takes too long.
    void part(const QString& reason);
    /// Ends it at once; gone() follows before it returns.
    void abort();
    /// Leaves the socket to the event loop: for an owner that goes while the socket is in the middle of a signal.
    void releaseSocket();

    /// Queues a message of the service under the next number. False if there is no room: then it counts as dropped.
    bool enqueue(const QString& method, const QString& params);
    /// Queues the answer to a request; those without an id get none. False if there is no room.
    bool answer(const QJsonValue& id, const QJsonObject& resultOrError);
    /// Queues a whole message. False if there is no room.
    bool say(const QString& text);
    /// Something waits that the connection does not take yet; drained() follows.
    bool isBehind() const { return !m_queue.isEmpty(); }
    /// Drops what waits and says so in one last message.
    void dropQueue();

Q_SIGNALS:
    void messageReceived(const QString& text);
    /// A stranger has not logged in in time.
    void overdue();
    void gone();
    void drained();

private:
    void setLongestMessage(quint64 bytes);
    void onTimeout();
    bool put(const NotificationMessage& message);
    void pump();

    QWebSocket* m_socket;
    QPointer<QSslSocket> m_tls;
    qint64 m_number;
    Limits m_limits;
    QString m_address;
    Stage m_stage = Stage::Stranger;
    QTimer m_timer{this}; // of the stages that end by themselves
    QQueue<NotificationMessage> m_queue;
    qint64 m_queuedCharacters = 0;
    quint64 m_sequence = 0;
    quint64 m_dropped = 0;
};
