#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QTcpServer>

#include <functional>

class QSslSocket;
class QTimer;

/// The TLS port of the console: brings up TLS, looks at the request and gives the connection to whom it is for, device
/// WebSockets, other WebSockets and ordinary requests.
///
/// Nobody blocks it: from accept, or from the last answer, to the end of the request each visitor has requestMs, and at
/// most mostVisitors are in that stage. One that comes when it is full takes the place of the one that has waited
/// longest.
class FrontDoor : public QTcpServer
{
    Q_OBJECT

public:
    static constexpr int requestMs = 10000;
    static constexpr int mostVisitors = 512;
    static constexpr int longestRequest = 8192; ///< bytes of request line and headers

    /// The answer to an ordinary request: a status line such as "200 OK", a content type and a body.
    struct Response
    {
        QByteArray status;
        QByteArray contentType;
        QByteArray body;
    };

    explicit FrontDoor(QObject* parent = nullptr);
    ~FrontDoor() override;

    /// Certificate chain and key from PEM files; false with a reason.
    bool setCertificate(const QString& certificateFile, const QString& keyFile, QString& error);
    /// Listens on all addresses; port 0 lets the system choose.
    bool open(quint16 port);
    /// What to answer to a GET request of a path.
    void setResponder(std::function<Response(const QByteArray& path)> responder) { m_responder = std::move(responder); }
    int visitors() const { return m_visitors.size(); }
    /// The clock of the times at which connections were accepted.
    qint64 elapsedMs() const { return m_clock.elapsed(); }

Q_SIGNALS:
    /// A WebSocket request stands in the socket, unread. The receiver takes the socket over at once or it is dropped.
    void webSocketRequested(QSslSocket* socket, const QByteArray& path, qint64 acceptedMs);
    /// A connection was dropped before it was anybody's.
    void dropped(const QString& peer, const QString& reason);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    struct Visitor
    {
        QTimer* timer;
        qint64 acceptedMs;
        bool answered; ///< has made an ordinary request and may make more
        bool secure;   ///< TLS is up
    };

    void onReadable(QSslSocket* socket);
    void answer(QSslSocket* socket, const QByteArray& method, const QByteArray& path, int size, bool last);
    void drop(QSslSocket* socket, const QString& reason);
    void makeRoom();

    QSslConfiguration m_configuration;
    std::function<Response(const QByteArray&)> m_responder;
    QHash<QSslSocket*, Visitor> m_visitors;
    QElapsedTimer m_clock;
};

/// Address and port of the other end, as shown to people.
QString peerText(const QSslSocket* socket);
