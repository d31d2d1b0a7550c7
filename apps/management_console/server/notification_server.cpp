#include "server/notification_server.h"

#include "server/notification_client.h"
#include "server/notification_request.h"

#include <foundation/services/notification_service.h>

#include <QtCore/QCryptographicHash>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

namespace {

QJsonObject success()
{
    return {{QStringLiteral("result"), true}};
}

// Of one length for tokens of any length, so that the comparison tells nothing.
QByteArray hashOf(const QString& token)
{
    return QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256);
}

bool equalInConstantTime(const QByteArray& a, const QByteArray& b)
{
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (int i = 0; i < a.size(); ++i)
        difference = static_cast<unsigned char>(difference | (a[i] ^ b[i]));
    return difference == 0;
}

QString peerKey(const QHostAddress& address, quint16 port)
{
    return address.toString() + QLatin1Char(' ') + QString::number(port);
}

// The service takes back one name of who goes: the others are unregistered. Whoever is told may call back, and delete.
void signOff(CNotificationService& registeredWith, const QString& address)
{
    const QString leaving = address;
    const QPointer<CNotificationService> service(&registeredWith);
    const QStringList names = registeredWith.extensionsOf(leaving);
    for (const QString& name : names) {
        if (service && service->extensionHolder(name) == leaving)
            service->receiveMessage(leaving, QStringLiteral("unregisterExtension"), {name}, 0);
    }
    if (service)
        service->disconnectSubscriber(leaving);
}

} // namespace

NotificationServer::NotificationServer(CNotificationService& service, const QString& token, QObject* parent)
    : QObject(parent)
    , m_service(service)
    , m_tokenHash(token.isEmpty() ? QByteArray() : hashOf(token))
    , m_server(new QWebSocketServer(QString(), QWebSocketServer::NonSecureMode, this))
{
    connect(m_server, &QWebSocketServer::newConnection, this, &NotificationServer::onConnection);
    connect(&m_service, &CNotificationService::messageTransmissionRequested, this, &NotificationServer::send);
}

NotificationServer::~NotificationServer()
{
    // The service may send to others while these are signed off.
    disconnect(&m_service, nullptr, this, nullptr);
    const QList<NotificationClient*> all = findChildren<NotificationClient*>(QString(), Qt::FindDirectChildrenOnly);
    for (NotificationClient* client : all) {
        client->disconnect(this);
        if (m_signalsOfSocket > 0)
            client->releaseSocket();
        const bool loggedIn = m_clients.contains(client->address());
        const QString address = client->address();
        delete client;
        if (loggedIn)
            signOff(address);
    }
    if (m_signalsOfSocket > 0) {
        // What carries the WebSockets goes after them.
        const QList<QTcpSocket*> carriers = findChildren<QTcpSocket*>(QString(), Qt::FindDirectChildrenOnly);
        for (QTcpSocket* carrier : carriers)
            carrier->setParent(m_server);
        m_server->setParent(nullptr);
        m_server->close();
        m_server->deleteLater();
    }
}

void NotificationServer::takeSocket(QTcpSocket* socket)
{
    socket->setParent(this);
    // The WebSocket keeps to itself what carries it.
    if (auto* tls = qobject_cast<QSslSocket*>(socket)) {
        const QString peer = peerKey(tls->peerAddress(), tls->peerPort());
        m_tlsSockets.insert(peer, tls);
        connect(tls, &QObject::destroyed, this, [this, peer] {
            if (!m_tlsSockets.value(peer))
                m_tlsSockets.remove(peer);
        });
    }
    m_server->handleConnection(socket);
}

bool NotificationServer::listen(quint16 port)
{
    return m_server->listen(QHostAddress::LocalHost, port);
}

quint16 NotificationServer::port() const
{
    return m_server->serverPort();
}

int NotificationServer::others() const
{
    return findChildren<NotificationClient*>(QString(), Qt::FindDirectChildrenOnly).size() - m_clients.size();
}

qint64 NotificationServer::queued() const
{
    qint64 sum = 0;
    for (const NotificationClient* client : m_clients)
        sum += client->queued();
    return sum;
}

void NotificationServer::onConnection()
{
    while (QWebSocket* socket = m_server->nextPendingConnection()) {
        if (m_strangers.size() >= mostStrangers) {
            NotificationClient* longest = m_strangers.takeFirst();
            qWarning("NotificationServer: %s: too many connections without a log-in",
                     qUtf8Printable(longest->address()));
            longest->abort();
        }
        QSslSocket* tls = m_tlsSockets.take(peerKey(socket->peerAddress(), socket->peerPort()));
        auto* client =
            new NotificationClient(socket, tls, ++m_connections, {longestLogin, longestMessage, loginMs}, this);
        m_strangers.append(client);
        connect(client, &NotificationClient::messageReceived, this, [this, client](const QString& text) {
            inSignalOfSocket([this, client, text] { onMessage(client, text); });
        });
        connect(client, &NotificationClient::gone, this,
                [this, client] { inSignalOfSocket([this, client] { forget(client); }); });
        connect(client, &NotificationClient::overdue, this, [this, client] { onOverdue(client); });
    }
}

// What is done may end in somebody deleting this server: then the socket has to outlive its signal.
template<typename Handle>
void NotificationServer::inSignalOfSocket(Handle handle)
{
    const QPointer<NotificationServer> self(this);
    ++m_signalsOfSocket;
    handle();
    if (self)
        --m_signalsOfSocket;
}

void NotificationServer::onMessage(NotificationClient* client, const QString& text)
{
    if (client->stage() == NotificationClient::Stage::Stranger)
        login(client, NotificationRequest::parseLogin(text.toUtf8()));
    else
        onRequest(client, NotificationRequest::parse(text.toUtf8()));
}

void NotificationServer::onOverdue(NotificationClient* client)
{
    qWarning("NotificationServer: %s: no log-in in time", qUtf8Printable(client->address()));
    client->abort();
}

void NotificationServer::login(NotificationClient* client, const NotificationRequest& request)
{
    const char* refusal = nullptr;
    const bool hasToken = equalInConstantTime(hashOf(request.token()), m_tokenHash);
    if (!request.isLogin())
        refusal = "no log-in";
    else if (!hasToken && !(m_admit && m_admit(client->address(), request.token())))
        refusal = "wrong token";
    else if (m_clients.size() >= mostClients)
        refusal = "too many clients";
    m_strangers.removeOne(client);
    if (refusal != nullptr) {
        qWarning("NotificationServer: %s: %s", qUtf8Printable(client->address()), refusal);
        if (m_forget)
            m_forget(client->address()); // it may have been admitted before there was no room
        client->answer(request.id, toJson(NotificationFault::NotLoggedIn));
        client->part(QLatin1String(refusal));
        if (request.isLogin())
            Q_EMIT loginTried(client->address(), QLatin1String(refusal));
        return;
    }
    client->admit();
    if (!hasToken)
        m_observers.insert(client->address());
    m_clients.insert(client->address(), client);
    qInfo("NotificationServer: %s logged in", qUtf8Printable(client->address()));
    const QPointer<NotificationServer> self(this);
    const QString address = client->address();
    reply(client, request.id, success());
    if (self)
        Q_EMIT loginTried(address, QString());
}

void NotificationServer::onRequest(NotificationClient* client, const NotificationRequest& request)
{
    if (request.fault == NotificationFault::None && request.isLogin())
        return reply(client, request.id, success());
    NotificationFault fault =
        request.fault != NotificationFault::None ? request.fault : request.objection(m_service, client->address());
    if (fault == NotificationFault::None && m_observers.contains(client->address()) && !request.isOfObservers())
        fault = NotificationFault::NotPermitted;
    if (fault != NotificationFault::None)
        return reply(client, request.id, toJson(fault));
    const QPointer<NotificationClient> alive(client);
    reply(client, request.id, success());
    if (alive && client->stage() == NotificationClient::Stage::LoggedIn)
        m_service.receiveMessage(client->address(), request.method, request.params, client->number());
}

void NotificationServer::reply(NotificationClient* client, const QJsonValue& id, const QJsonObject& resultOrError)
{
    if (!client->answer(id, resultOrError))
        cutOff(client);
}

void NotificationServer::send(const QString& address, const QString& method, const QVariantList& params)
{
    NotificationClient* client = m_clients.value(address);
    if (client == nullptr)
        return;
    QString text = NotificationMessage::parameters(QJsonArray::fromVariantList(params));
    if (text == m_lastParams)
        text = m_lastParams; // many clients are sent the same: what waits for them stands in memory once
    else
        m_lastParams = text;
    if (!client->enqueue(method, text))
        cutOff(client);
}

void NotificationServer::cutOff(NotificationClient* client)
{
    qWarning("NotificationServer: %s does not read fast enough: disconnected", qUtf8Printable(client->address()));
    m_clients.remove(client->address());
    client->dropQueue();
    client->part(QStringLiteral("lagging"));
    signOff(client->address());
}

void NotificationServer::forget(NotificationClient* client)
{
    m_strangers.removeOne(client);
    client->deleteLater();
    if (m_clients.remove(client->address())) {
        qInfo("NotificationServer: %s has left", qUtf8Printable(client->address()));
        signOff(client->address());
    }
}

void NotificationServer::signOff(const QString& address)
{
    m_observers.remove(address);
    if (m_forget)
        m_forget(address);
    ::signOff(m_service, address);
}
