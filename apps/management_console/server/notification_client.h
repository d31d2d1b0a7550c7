#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QQueue>
#include <QtCore/QTimer>
#include <QtNetwork/QSslSocket>

class QWebSocket;

/// The server's side of one connection: its socket, and what waits until the other side has read.
class NotificationClient : public QObject
{
    Q_OBJECT

public:
    /// Takes the socket over. `tls` is what carries it, if TLS does.
    NotificationClient(QWebSocket* socket, QSslSocket* tls, qint64 number, QObject* parent);

    /// The name under which the service knows the client: peer address and port, and its number.
    const QString& address() const { return m_address; }
    qint64 number() const { return m_number; }
    QWebSocket* socket() const { return m_socket; }

    void startTimer(int milliseconds) { m_timer.start(milliseconds); }
    void stopTimer() { m_timer.stop(); }

    /// Queues a message, of which the sequence number and the last brace are still missing. False if there is no room:
    /// then it counts as dropped.
    bool enqueue(const QString& messageStart);
    /// Queues the answer to a request; those without an id get none. False if there is no room.
    bool answer(const QJsonValue& id, const QJsonObject& resultOrError);
    /// Drops what waits and says so in one last message.
    void dropQueue();
    /// Ends the connection after what was sent, by force if the other side takes too long.
    void part(const QString& reason);

Q_SIGNALS:
    void messageReceived(const QString& text);
    void timeout();
    void gone();

private:
    bool put(const QString& text);
    void pump();

    QWebSocket* m_socket;
    QPointer<QSslSocket> m_tls;
    qint64 m_number;
    QString m_address;
    QTimer m_timer;
    QQueue<QString> m_queue;
    qint64 m_queuedCharacters = 0;
    quint64 m_sequence = 0;
    quint64 m_dropped = 0;
};
