#include "server/front_door.h"

#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtCore/QUrl>

namespace {

constexpr int refusalMs = 2000; // to read why a WebSocket was refused

QByteArray statusLine(int status)
{
    static const QHash<int, QByteArray> reasons{
        {200, "OK"},
        {204, "No Content"},
        {304, "Not Modified"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {411, "Length Required"},
        {413, "Content Too Large"},
        {415, "Unsupported Media Type"},
        {429, "Too Many Requests"},
        {503, "Service Unavailable"},
    };
    return "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasons.value(status, "Other") + "\r\n";
}

QByteArray pathOf(const CTlsDoor::Request& request)
{
    return request.path.split('?').constFirst();
}

QHostAddress peerOf(const QSslSocket* socket)
{
    bool isIPv4 = false;
    const quint32 ipv4 = socket->peerAddress().toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(ipv4) : socket->peerAddress();
}

} // namespace

bool HttpRequest::isForeign(const CTlsDoor::Request& request)
{
    const QByteArray origin = request.header("origin");
    if (origin.isNull())
        return false;
    const QUrl from = QUrl::fromEncoded(origin, QUrl::StrictMode);
    const QUrl here = QUrl::fromEncoded("https://" + request.header("host"), QUrl::StrictMode);
    return !from.isValid() || !here.isValid() || here.host().isEmpty() || from.scheme() != here.scheme()
           || from.host() != here.host() || from.port(443) != here.port(443);
}

bool HttpRequest::isForeign() const
{
    return isForeign(raw);
}

QByteArray HttpRequest::cookie(const CTlsDoor::Request& request, const QByteArray& name)
{
    const QList<QByteArray> cookies = request.header("cookie").split(';');
    for (const QByteArray& cookie : cookies) {
        const int equals = cookie.indexOf('=');
        if (equals > 0 && cookie.left(equals).trimmed() == name)
            return cookie.mid(equals + 1).trimmed();
    }
    return QByteArray();
}

FrontDoor::FrontDoor(QObject* parent)
    : FrontDoor(std::make_shared<Served>(), parent)
{
}

FrontDoor::FrontDoor(const FrontDoor& like, QObject* parent)
    : FrontDoor(like.m_served, parent)
{
}

FrontDoor::FrontDoor(std::shared_ptr<Served> served, QObject* parent)
    : CTlsDoor(parent)
    , m_served(std::move(served))
    , m_refused(new QObject(this))
{
    setLongestBody(longestBody);
    connect(this, &CTlsDoor::requested, this, &FrontDoor::onRequested);
    connect(this, &CTlsDoor::webSocketRequested, this, &FrontDoor::onWebSocketRequested);
}

void FrontDoor::serve(const QByteArray& method, const QByteArray& path, Handler handler)
{
    if (handler)
        m_served->handlers[path].insert(method, std::move(handler));
    else if (m_served->handlers[path].remove(method) && m_served->handlers[path].isEmpty())
        m_served->handlers.remove(path);
}

void FrontDoor::serveWebSockets(const QByteArray& path, WebSocketHandler handler)
{
    if (handler)
        m_served->webSocketHandlers.insert(path, std::move(handler));
    else
        m_served->webSocketHandlers.remove(path);
}

void FrontDoor::onRequested(QSslSocket* socket, const CTlsDoor::Request& request)
{
    const QByteArray path = pathOf(request);
    HttpRequest asked;
    asked.method = request.method == "HEAD" ? QByteArray("GET") : request.method;
    asked.path = path;
    asked.query = request.path.mid(path.size() + 1);
    asked.peer = peerOf(socket);
    asked.body = request.body;
    asked.bodyUnread = request.bodyUnread;
    asked.raw = request;
    asked.raw.body.clear();

    const auto handlers = m_served->handlers.constFind(path);
    if (handlers == m_served->handlers.cend())
        return respond(socket, request, {404, "text/plain", "nothing here\n"});
    const Handler handler = handlers->value(asked.method);
    if (!handler) {
        const QByteArray methods = handlers->keys().join(", ");
        return respond(socket, request, {405, "text/plain", "only " + methods + '\n', {"Allow: " + methods}});
    }
    // The socket may be gone, and another one in its place, when the answer comes.
    handler(asked, [door = QPointer<FrontDoor>(this), visitor = QPointer<QSslSocket>(socket), raw = asked.raw,
                    answered = std::make_shared<bool>(false)](const HttpAnswer& answer) {
        if (door && visitor && !*answered)
            door->respond(visitor, raw, answer);
        *answered = true;
    });
}

void FrontDoor::respond(QSslSocket* socket, const CTlsDoor::Request& request, const HttpAnswer& response)
{
    // Who does not know what is served here is no program that goes on to ask.
    const bool last = request.last || response.status == 405;
    QByteArray bytes = statusLine(response.status);
    if (!response.contentType.isEmpty())
        bytes += "Content-Type: " + response.contentType + "\r\n";
    if (response.status != 204)
        bytes += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    bytes += "X-Content-Type-Options: nosniff\r\n";
    for (const QByteArray& line : response.headers)
        bytes += line + "\r\n";
    bytes += last ? "Connection: close\r\n\r\n" : "\r\n";
    if (request.method != "HEAD")
        bytes += response.body;
    answer(socket, bytes, last);
}

void FrontDoor::onWebSocketRequested(QSslSocket* socket, const CTlsDoor::Request& request)
{
    const WebSocketHandler handler = m_served->webSocketHandlers.value(pathOf(request));
    if (handler)
        handler(socket, request);
    else
        Q_EMIT otherWebSocketRequested(socket, request);
}

void FrontDoor::refuseWebSocket(QSslSocket* socket, int status)
{
    socket->setParent(m_refused);
    connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
    QTimer::singleShot(refusalMs, socket, [socket] {
        socket->abort();
        socket->deleteLater();
    });
    socket->readAll();
    socket->write(statusLine(status) + "Content-Length: 0\r\nConnection: close\r\n\r\n");
    socket->disconnectFromHost();
}
