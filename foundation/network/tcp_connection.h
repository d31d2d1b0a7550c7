#pragma once

#include <foundation/network/message_transfer.h>

#include <QtNetwork/QAbstractSocket>

#include <memory>

class QTcpSocket;

/// A transport over a TCP socket: a stream of bytes without message borders.
///
///     auto* connection = new CTcpConnection(this);            // with a socket of its own, or
///     auto* accepted = new CTcpConnection(socket, this);      // around one that a server accepted
///     connection->setHost(QStringLiteral("192.0.2.7"), 4000);
///     connection->open();
///
/// A socket of its own dies with the connection. An accepted one is only referred to: it may be destroyed by others,
/// and when the connection goes first, all the socket's signals are disconnected and it is deleted later.
class KYR_FOUNDATION_EXPORT CTcpConnection : public CMessageTransfer
{
    Q_OBJECT

public:
    explicit CTcpConnection(QObject* parent = nullptr);
    /// `socket` may be null. Its state is reported with its next signal or the next updateConnectionState.
    CTcpConnection(QTcpSocket* socket, QObject* parent);
    ~CTcpConnection() override;

    /// Null when there is none or it was destroyed.
    QTcpSocket* socket() const;
    /// Uses another socket from now on. The signals of the one before stay connected.
    void setSocket(QTcpSocket* socket);
    /// Connects the socket's signals.
    void initCTcp();

    /// Where open connects to.
    void setHost(const QString& host, quint16 port);
    void getHost(QString& host, quint16& port) const;

    /// Connects an idle socket to the host. On a connected one it only looks at the state again; one whose TLS
    /// handshake is still going on gets 3 s more; one stuck in between is aborted, with error 11.
    void open() override;
    void close() override;
    qint64 sendData(const QByteArray& data) override;
    bool getConnectionState() const override;
    int getError() const override;
    QString getErrorString() const override;
    /// True when the peer closed the connection, so that connecting again makes sense.
    bool hasReconnectAdvice() const;

    /// Applied at once when connected, and again at each new connection.
    void setKeepalive(int seconds) override;
    /// Reports a state that was found out elsewhere.
    void setConnectionState(bool state);
    void updateConnectionState() override;

    /// Whether the socket can carry data now.
    virtual bool isConnectionUsable() const;
    virtual void connectToHost(QTcpSocket* socket, const QString& host, quint16 port);

public Q_SLOTS:
    void onError(QAbstractSocket::SocketError socketError);
    void onBytesWritten(qint64 bytes);
    void receiveData();
    void delayedAbort();

private:
    void abortUnfinished();
    void configureTcpKeepAlive() const;

    struct Private;
    std::unique_ptr<Private> d;
};
