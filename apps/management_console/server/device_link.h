#pragma once

#include <foundation/network/device_identity.h>

#include <QtCore/QDateTime>
#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonObject>
#include <QtCore/QObject>
#include <QtCore/QTimer>

class CWebSocketConnection;
class QWebSocket;

/// The authenticated link of one device: who it is, and messages both ways. A message is a JSON object in a binary
/// WebSocket message; an answer repeats the "id" of its question.
class DeviceLink : public QObject
{
    Q_OBJECT

public:
    struct Identity : DeviceIdentity
    {
        QString peer;
        int handshakeMs = 0; ///< from accept to the end of all checks
    };

    /// What an answer may take on top.
    static constexpr int graceMs = 2000;

    /// Takes the socket over. Asks for a sign of life every `pingSeconds`; when nothing is heard of the device for two
    /// such turns and graceMs, the link ends.
    DeviceLink(const Identity& identity, QWebSocket* socket, int pingSeconds, QObject* parent);
    ~DeviceLink() override;

    const Identity& identity() const { return m_identity; }
    QDateTime since() const { return m_since; }
    /// When a message or a sign of life came last.
    QDateTime lastHeard() const { return m_lastHeard; }
    int sent() const { return m_sent; }
    int receivedCount() const { return m_received; }

    /// Sends a question and returns the number that its answer carries.
    int ask(QJsonObject question);
    /// Sends a message that carries its own number, or none.
    void send(const QByteArray& message);
    void close();

Q_SIGNALS:
    /// Each message, before answered().
    void received(const QByteArray& message);
    void answered(int number, const QJsonObject& answer);
    /// The peer has gone, or was silent too long.
    void ended();

private:
    void onData(const QByteArray& data);
    void onHeard();
    void onWatch();

    Identity m_identity;
    CWebSocketConnection* m_connection;
    QDateTime m_since;
    QDateTime m_lastHeard;
    QElapsedTimer m_silence;
    int m_pingSeconds;
    QTimer m_watch;
    int m_lastNumber = 0;
    int m_sent = 0;
    int m_received = 0;
};
