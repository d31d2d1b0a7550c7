#pragma once

#include <foundation/network/device_identity.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonObject>
#include <QtCore/QObject>

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

    /// Takes the socket over. Asks for a sign of life every `pingSeconds`; without an answer the link ends.
    DeviceLink(const Identity& identity, QWebSocket* socket, int pingSeconds, QObject* parent);
    ~DeviceLink() override;

    const Identity& identity() const { return m_identity; }
    QDateTime since() const { return m_since; }
    int sent() const { return m_sent; }
    int received() const { return m_received; }

    /// Sends a question and returns the number that its answer carries.
    int ask(QJsonObject question);
    void close();

Q_SIGNALS:
    void answered(int number, const QJsonObject& answer);
    /// The peer has gone, or was silent too long.
    void ended();

private:
    void onData(const QByteArray& data);

    Identity m_identity;
    CWebSocketConnection* m_connection;
    QDateTime m_since;
    int m_lastNumber = 0;
    int m_sent = 0;
    int m_received = 0;
};
