#include "server/api_server.h"

#include "server/notification_client.h"
#include "server/notification_server.h"

#include <foundation/services/notification_service.h>
#include <server/api/api.h>

#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

struct ApiServer::Connection
{
    std::shared_ptr<CApiCaller> caller = std::make_shared<CApiCaller>();
    QQueue<QString> requests;
    qint64 characters = 0; // of these
    bool isWorking = false;
};

namespace {

// Bytes of a message. Who sends more than the API takes is told so, up to here; beyond it QWebSocket ends the
// connection.
constexpr quint64 longestOfStrangers = 0x100000;
constexpr quint64 longestMessage = 0x400000;

QString peerKey(const QHostAddress& address, quint16 port)
{
    return address.toString() + QLatin1Char(' ') + QString::number(port);
}

QString plainAddress(const QHostAddress& address)
{
    bool isIPv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIPv4);
    return (isIPv4 ? QHostAddress(ipv4) : address).toString();
}

// What a program names itself.
QString bearerOf(const CTlsDoor::Request& request)
{
    const QByteArray text = request.header("authorization");
    return text.left(7).toLower() == "bearer " ? QString::fromLatin1(text.mid(7).trimmed()) : QString();
}

QByteArray errorBody(ApiError code, const QByteArray& message)
{
    return R"({"error":{"code":)" + QByteArray::number(int(code)) + R"(,"message":")" + message
           + R"("},"id":null,"jsonrpc":"2.0"})";
}

QByteArray cookieLine(const QString& session, qint64 seconds)
{
    return "Set-Cookie: " + ApiServer::cookieName() + '=' + session.toLatin1()
           + "; Path=/; HttpOnly; Secure; SameSite=Strict; Max-Age=" + QByteArray::number(seconds);
}

bool isJson(const HttpRequest& request)
{
    return request.header("content-type").split(';').constFirst().trimmed().toLower() == "application/json";
}

} // namespace

ApiServer::ApiServer(CApi& api, CNotificationService& hub, FrontDoor& door, QObject* parent)
    : QObject(parent)
    , m_api(api)
    , m_hub(hub)
    , m_door(door)
    , m_server(new QWebSocketServer(QString(), QWebSocketServer::NonSecureMode, this))
{
    connect(m_server, &QWebSocketServer::newConnection, this, &ApiServer::onConnection);
    connect(&m_hub, &CNotificationService::messageTransmissionRequested, this, &ApiServer::send);
    m_door.serveWebSockets(
        path(), [this](QSslSocket* socket, const CTlsDoor::Request& request) { takeSocket(socket, request); });
    m_door.serve("POST", path(),
                 [this](const HttpRequest& request, const FrontDoor::Reply& reply) { onPost(request, reply); });
}

ApiServer::~ApiServer()
{
    m_door.serveWebSockets(path(), nullptr);
    m_door.serve("POST", path(), nullptr);
    disconnect(&m_hub, nullptr, this, nullptr);
    const auto connections = m_connections;
    m_connections.clear();
    for (auto connection = connections.cbegin(); connection != connections.cend(); ++connection) {
        connection.key()->disconnect(this);
        connection.key()->releaseSocket();
        m_api.forget(*(*connection)->caller);
    }
}

// --- WebSockets

void ApiServer::takeSocket(QSslSocket* socket, const CTlsDoor::Request& request)
{
    if (HttpRequest::isForeign(request)) {
        qWarning("ApiServer: %s: refused a WebSocket from a page of another server",
                 qUtf8Printable(CTlsDoor::peerText(socket)));
        m_door.refuseWebSocket(socket, 403);
        return;
    }
    QString session = bearerOf(request);
    if (session.isEmpty())
        session = QString::fromLatin1(HttpRequest::cookie(request, cookieName()));
    socket->setParent(this);
    const QString peer = peerKey(socket->peerAddress(), socket->peerPort());
    m_arrivals.insert(peer, {socket, session});
    connect(socket, &QObject::destroyed, this, [this, peer] {
        if (!m_arrivals.value(peer).socket)
            m_arrivals.remove(peer);
    });
    m_server->handleConnection(socket);
}

void ApiServer::onConnection()
{
    while (QWebSocket* socket = m_server->nextPendingConnection()) {
        const Arrival arrival = m_arrivals.take(peerKey(socket->peerAddress(), socket->peerPort()));
        if (m_strangers.size() >= mostStrangers) {
            qWarning("ApiServer: too many connections without a log-in");
            m_strangers.takeFirst()->abort();
        }
        auto* client = new NotificationClient(socket, arrival.socket, ++m_count,
                                              {longestOfStrangers, longestMessage, loginMs}, this);
        const auto connection = std::make_shared<Connection>();
        connection->caller->address = plainAddress(socket->peerAddress());
        connection->caller->subscriber = QStringLiteral("api ") + client->address();
        connection->caller->session = arrival.session;
        m_connections.insert(client, connection);
        m_bySubscriber.insert(connection->caller->subscriber, client);
        m_strangers.append(client);
        connect(socket, &QWebSocket::aboutToClose, client, [socket] {
            if (socket->closeCode() == QWebSocketProtocol::CloseCodeTooMuchData)
                socket->sendTextMessage(
                    QString::fromLatin1(errorBody(ApiError::NoRequest, "the request is too large")));
        });
        connect(
            socket, &QWebSocket::binaryMessageReceived, client,
            [this, client] { cutOff(client, QStringLiteral("text frames are wanted")); }, Qt::QueuedConnection);
        connect(client, &NotificationClient::messageReceived, this,
                [this, client](const QString& text) { onMessage(client, text); });
        connect(
            client, &NotificationClient::drained, this, [this, client] { work(client); }, Qt::QueuedConnection);
        connect(
            client, &NotificationClient::gone, this, [this, client] { forget(client); }, Qt::QueuedConnection);
        connect(client, &NotificationClient::overdue, this, [client] {
            qWarning("ApiServer: %s: no log-in in time", qUtf8Printable(client->address()));
            client->abort();
        });
    }
}

void ApiServer::onMessage(NotificationClient* client, const QString& text)
{
    const std::shared_ptr<Connection> connection = m_connections.value(client);
    if (!connection)
        return;
    if (!connection->requests.isEmpty() && connection->characters + text.size() > mostWaiting)
        return cutOff(client, QStringLiteral("too many calls without an answer"));
    connection->characters += text.size();
    connection->requests.enqueue(text);
    // Not within a signal of the socket: a call may end anything.
    QMetaObject::invokeMethod(
        client, [this, client] { work(client); }, Qt::QueuedConnection);
}

void ApiServer::work(NotificationClient* client)
{
    const QPointer<ApiServer> alive(this);
    const std::shared_ptr<Connection> connection = m_connections.value(client);
    if (!connection || connection->isWorking || connection->requests.isEmpty() || client->isBehind())
        return;
    // What a stranger says behind a log-in is meant for the session that it begins.
    if (connection->caller->session.isEmpty() && connection->caller->waiting > 0)
        return;
    connection->isWorking = true;
    const QString text = connection->requests.dequeue();
    connection->characters -= text.size();
    m_api.handle(text.toUtf8(), connection->caller,
                 [this, alive, target = QPointer<NotificationClient>(client)](const CApiAnswer& answer) {
                     if (!alive || !target || !m_connections.contains(target))
                         return;
                     if (!answer.body.isEmpty() && !target->say(QString::fromUtf8(answer.body)))
                         return cutOff(target, QStringLiteral("lagging"));
                     QMetaObject::invokeMethod(
                         target.data(), [this, target] { work(target); }, Qt::QueuedConnection);
                 });
    if (!alive || !m_connections.contains(client))
        return;
    connection->isWorking = false;
    if (!connection->caller->session.isEmpty() && m_strangers.removeOne(client)) {
        if (m_connections.size() - m_strangers.size() > mostClients)
            return cutOff(client, QStringLiteral("too many clients"));
        client->admit();
    }
}

void ApiServer::send(const QString& address, const QString& method, const QVariantList& params)
{
    NotificationClient* client = m_bySubscriber.value(address);
    if (client != nullptr
        && !client->enqueue(method, NotificationMessage::parameters(QJsonArray::fromVariantList(params))))
        cutOff(client, QStringLiteral("lagging"));
}

void ApiServer::cutOff(NotificationClient* client, const QString& reason)
{
    const std::shared_ptr<Connection> connection = m_connections.take(client);
    if (!connection)
        return;
    qWarning("ApiServer: %s was disconnected: %s", qUtf8Printable(client->address()), qUtf8Printable(reason));
    m_strangers.removeOne(client);
    m_bySubscriber.remove(connection->caller->subscriber);
    client->dropQueue();
    client->part(reason);
    m_api.forget(*connection->caller);
}

void ApiServer::forget(NotificationClient* client)
{
    client->deleteLater();
    m_strangers.removeOne(client);
    const std::shared_ptr<Connection> connection = m_connections.take(client);
    if (!connection)
        return;
    m_bySubscriber.remove(connection->caller->subscriber);
    m_api.forget(*connection->caller);
}

// --- Requests

void ApiServer::onPost(const HttpRequest& request, const FrontDoor::Reply& reply)
{
    const auto refuse = [&reply](int status, ApiError code, const QByteArray& message) {
        reply({status, "application/json", errorBody(code, message)});
    };
    const auto caller = std::make_shared<CApiCaller>();
    caller->address = plainAddress(request.peer);
    caller->session = bearerOf(request.raw);
    const QString cookie = QString::fromLatin1(HttpRequest::cookie(request.raw, cookieName()));
    if (caller->session.isEmpty()) {
        if (request.isForeign())
            return refuse(403, ApiError::NotPermitted, "a page of another server needs a session of its own");
        caller->session = cookie;
    }
    // What a form can send is taken from no browser.
    const bool isBrowser = !request.header("origin").isNull() || !request.header("cookie").isNull();
    if (isBrowser && !isJson(request))
        return refuse(415, ApiError::NoRequest, "the content type must be application/json");
    if (request.bodyUnread)
        return refuse(200, ApiError::NoRequest, "the request is too large, or has no length");
    m_api.handle(request.body, caller, [caller, cookie, reply, before = caller->session](const CApiAnswer& answer) {
        HttpAnswer response{answer.body.isEmpty() ? 204 : answer.status, "application/json", answer.body, {}};
        response.headers.append("Cache-Control: no-store");
        if (response.status == 401)
            response.headers.append("WWW-Authenticate: Bearer");
        if (!caller->session.isEmpty() && caller->session != before)
            response.headers.append(
                cookieLine(caller->session, QDateTime::currentDateTimeUtc().secsTo(caller->expires)));
        else if (caller->session.isEmpty() && !cookie.isEmpty() && cookie == before)
            response.headers.append(cookieLine(QString(), 0));
        reply(response);
    });
}
