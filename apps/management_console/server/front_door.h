#pragma once

#include <foundation/network/tls_door.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtNetwork/QHostAddress>

#include <functional>
#include <memory>

/// An ordinary request that somebody answers. It may be kept until then.
struct HttpRequest
{
    QByteArray method; ///< "GET" (also for HEAD), "POST"
    QByteArray path;   ///< without its query
    QByteArray query;  ///< what stands behind "?", as it came
    QHostAddress peer; ///< an IPv4 address as such, however it came in
    QByteArray body;
    bool bodyUnread = false; ///< it was too long, or its length was not told
    CTlsDoor::Request raw;

    /// The value of a header line, null without one.
    QByteArray header(const QByteArray& name) const { return raw.header(name); }
    /// Made by a page of another server: there is an Origin, and it is not the host that was asked.
    bool isForeign() const;
    static bool isForeign(const CTlsDoor::Request& request);
    /// The value of a cookie, empty without one.
    static QByteArray cookie(const CTlsDoor::Request& request, const QByteArray& name);
};

struct HttpAnswer
{
    int status = 200;
    QByteArray contentType;
    QByteArray body;
    QList<QByteArray> headers{}; ///< further lines, such as "Cache-Control: no-store"
};

/// The TLS port of the console: WebSockets and ordinary requests go to whom their path belongs.
///
///     door.serve("GET", "/health", [](const HttpRequest&, const FrontDoor::Reply& reply) {
///         reply({200, "application/json", "{}"});
///     });
///
/// A handler answers now or later, from the event loop of this thread; of several replies the first counts, one that
/// comes after 60 s, or after the visitor or the door has gone, is dropped. HEAD is answered as GET without a body.
/// Every answer forbids browsers to guess another content type. What nobody serves is 404, 405 with another method.
class FrontDoor : public CTlsDoor
{
    Q_OBJECT

public:
    using Reply = std::function<void(const HttpAnswer& answer)>;
    using Handler = std::function<void(const HttpRequest& request, const Reply& reply)>;
    using WebSocketHandler = std::function<void(QSslSocket* socket, const CTlsDoor::Request& request)>;

    /// Bytes of a body; what has a longer one is handed on without it.
    static constexpr int longestBody = 256 * 1024;

    explicit FrontDoor(QObject* parent = nullptr);
    /// Another port, at which the same is served.
    FrontDoor(const FrontDoor& like, QObject* parent);

    /// Who answers to a method ("GET", "POST") at a path; an empty handler: nobody any more.
    void serve(const QByteArray& method, const QByteArray& path, Handler handler);
    /// Who takes WebSockets of a path over, by setting the socket's parent; an empty handler: nobody any more.
    void serveWebSockets(const QByteArray& path, WebSocketHandler handler);
    /// Refuses a WebSocket before it is one.
    void refuseWebSocket(QSslSocket* socket, int status);

Q_SIGNALS:
    /// A WebSocket of a path that nobody serves by serveWebSockets().
    void otherWebSocketRequested(QSslSocket* socket, const CTlsDoor::Request& request);

private:
    void onRequested(QSslSocket* socket, const CTlsDoor::Request& request);
    void onWebSocketRequested(QSslSocket* socket, const CTlsDoor::Request& request);
    void respond(QSslSocket* socket, const CTlsDoor::Request& request, const HttpAnswer& response);

    struct Served
    {
        QHash<QByteArray, QHash<QByteArray, Handler>> handlers; // by path and method
        QHash<QByteArray, WebSocketHandler> webSocketHandlers;
    };
    FrontDoor(std::shared_ptr<Served> served, QObject* parent);

    std::shared_ptr<Served> m_served; // by all ports
    QObject* m_refused;               // the parent of sockets that are no longer the door's
};
