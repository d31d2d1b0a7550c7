#pragma once

#include <foundation/core/export.h>
#include <foundation/network/handshake_messages_p.h>

#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtNetwork/QHostAddress>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>

class QWebSocketServer;

/// One device that calls in, on the application's side: from its request line to the moment when it has proved who it
/// is, or is turned away. Each stage has its time; `failed` or `proved` comes exactly once, not from within a signal of
/// the sockets.
///
///     RequestLine --(complete)--> Ready --upgrade()--> Upgrading --challenge()--> Challenged --> proved
///           any stage, on a wrong line or answer, a lost connection or when the time is up    --> failed
class DeviceHandshake : public QObject
{
    Q_OBJECT

public:
    /// Tells connections apart: peer address and peer port.
    using Key = QPair<QHostAddress, quint16>;

    enum class Stage
    {
        RequestLine,
        Ready,
        Upgrading,
        Challenged,
        Over
    };

    /// The server makes WebSockets of the sockets, and has them until they are taken over.
    DeviceHandshake(QSslSocket* socket, const QString& text, CSystemId ownSystem, bool verifyCertificate,
                    QWebSocketServer* server, QObject* parent);

    /// Reads the request line as far as it has arrived; `ready` or `failed` may come at once.
    void start();
    /// Lets the server turn the socket into a WebSocket.
    void upgrade();
    /// Sends the challenge.
    void challenge(QWebSocket* webSocket);
    /// Drops the connection with a warning.
    void fail(const QString& reason);

    Stage stage() const { return m_stage; }
    const Key& key() const { return m_key; }
    const DeviceRequest& request() const { return m_request; }
    const QString& text() const { return m_text; }
    const QSslSocket* socket() const { return m_socket; }
    QWebSocket* webSocket() const { return m_webSocket; }

    /// The reason why a device's answer is not accepted; empty when it is. `random` is what was sent to the device.
    KYR_FOUNDATION_TEST_EXPORT static QString refusal(const QByteArray& message, const QByteArray& random,
                                                      CDeviceId deviceId, bool verifyCertificate);
    /// Drops a WebSocket with a warning: aborted, so that no close frame is sent, and deleted later.
    static void drop(QWebSocket* webSocket, const QString& reason);

Q_SIGNALS:
    void ready();
    void proved();
    void failed(const QString& reason);

private:
    void readRequestLine();
    void onAnswer(const QByteArray& answer);
    void onPeerGone();
    void onTimeOut();

    QPointer<QSslSocket> m_socket;
    QPointer<QWebSocket> m_webSocket;
    Key m_key;
    QString m_text;
    CSystemId m_ownSystem;
    bool m_verifyCertificate;
    QWebSocketServer* m_server;
    Stage m_stage = Stage::RequestLine;
    DeviceRequest m_request;
    QByteArray m_random;
    QTimer m_timer;
};
