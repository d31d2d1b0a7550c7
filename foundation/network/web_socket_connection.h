#pragma once

#include <foundation/network/message_transfer.h>

#include <QtNetwork/QAbstractSocket>

#include <memory>

class QWebSocket;

/// A transport over a WebSocket that a connector opened or accepted: each message sent is one binary message, each
/// binary message that arrives is one dataReceived.
///
///     // A ping every 20 s; no pong within 30 s ends the connection.
///     auto* connection = CWebSocketConnection::takeOver(webSocket, 20, this);
///     connect(connection, &CMessageTransfer::dataReceived, this, &Protocol::onData);
///
/// Unless it is taken over, the WebSocket is only referred to: when the connection goes first, all its signals are
/// disconnected and it is deleted later. Bytes count as transmitted when as many have left, frame headers included.
class KYR_FOUNDATION_EXPORT CWebSocketConnection : public CMessageTransfer
{
    Q_OBJECT

public:
    /// `webSocket` may be null. Its state is reported with its next signal or the next updateConnectionState.
    CWebSocketConnection(QWebSocket* webSocket, QObject* parent);
    ~CWebSocketConnection() override;

    /// Takes over a WebSocket that a connector hands out: makes it the connection's child, with which it goes, sets the
    /// keepalive, and looks at the state, so that getConnectionState() tells it at once.
    static CWebSocketConnection* takeOver(QWebSocket* webSocket, int keepaliveSeconds, QObject* parent);

    /// Null when there is none or it was destroyed.
    QWebSocket* webSocket() const;

    void close() override;
    qint64 sendData(const QByteArray& data) override;
    bool getConnectionState() const override;
    int getError() const override;
    QString getErrorString() const override;

    void setKeepalive(int seconds) override;
    /// Reports a state that was found out elsewhere.
    void setConnectionState(bool state);
    void updateConnectionState() override;

    bool isConnectionUsable() const;

public Q_SLOTS:
    void sendPing();
    void onError(QAbstractSocket::SocketError socketError);
    void onBytesWritten(qint64 bytes);

private:
    void init();

    struct Private;
    std::unique_ptr<Private> d;
};
