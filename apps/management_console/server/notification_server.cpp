#include "server/notification_server.h"

#include "server/notification_client.h"

#include <foundation/core/json_text.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QJsonDocument>
#include <QtCore/QSet>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

#include <algorithm>

namespace {

enum Fault
{
    NoJson = -32700,
    NoRequest = -32600,
    UnknownMethod = -32601,
    BadParams = -32602,
    NotLoggedIn = -32001,
    TooMuch = -32002,
    NotTheirs = -32003,
};

const char* faultText(Fault fault)
{
    switch (fault) {
    case NoJson:
        return "no JSON, or a key twice";
    case NoRequest:
        return "no JSON-RPC 2.0 request";
    case UnknownMethod:
        return "unknown method";
    case BadParams:
        return "params is no list, or empty";
    case NotLoggedIn:
        return "not logged in";
    case TooMuch:
        return "too many sources or names, or too long a name";
    case NotTheirs:
        return "the name is another client's";
    }
    return "";
}

QJsonObject errorObject(Fault fault)
{
    return {{QStringLiteral("error"), QJsonObject{{QStringLiteral("code"), int(fault)},
                                                  {QStringLiteral("message"), QLatin1String(faultText(fault))}}}};
}

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

bool isServiceMethod(const QString& method)
{
    static const QStringList methods{QStringLiteral("registerObserver"), QStringLiteral("unregisterObserver"),
                                     QStringLiteral("registerExtension"), QStringLiteral("unregisterExtension"),
                                     QStringLiteral("customNotificationResponse")};
    return methods.contains(method);
}

// A log-in is one object with one list in it: of a stranger no more is read.
bool isFlat(const QByteArray& json)
{
    int brackets[2] = {0, 0};
    bool quoted = false;
    for (int i = 0; i < json.size(); ++i) {
        if (json[i] == '"')
            quoted = !quoted;
        else if (quoted && json[i] == '\\')
            ++i;
        else if (!quoted && (json[i] == '{' || json[i] == '['))
            ++brackets[json[i] == '['];
    }
    return brackets[0] <= 1 && brackets[1] <= 1;
}

// What the service would allow and a client may not; 0 for nothing.
int objection(const CNotificationService& service, const QString& address, const QString& method,
              const QVariant& parameter)
{
    const auto tooLong = [](const QString& name) { return name.size() > NotificationServer::longestName; };
    if (method == QLatin1String("registerObserver")) {
        const QSet<QString> sources = CNotificationService::sourceNames(parameter);
        if (std::any_of(sources.cbegin(), sources.cend(), tooLong)
            || (service.sourcesOf(address) + sources).size() > NotificationServer::mostSources)
            return TooMuch;
    } else if (method == QLatin1String("registerExtension") || method == QLatin1String("unregisterExtension")) {
        const QString name = parameter.toString();
        const QString holder = service.extensionHolder(name);
        if (!holder.isNull())
            return holder != address ? NotTheirs : 0;
        if (method == QLatin1String("registerExtension")
            && (tooLong(name) || service.extensionsOf(address).size() >= NotificationServer::mostExtensions))
            return TooMuch;
    }
    return 0;
}

// The service takes back one name of who goes: the others are unregistered. Whoever is told may call back, and delete.
void signOff(CNotificationService& registeredWith, const QString& address)
{
    const QString leaving = address;
    const QPointer<CNotificationService> service(&registeredWith);
    const QStringList names = service->extensionsOf(leaving);
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
            signOff(m_service, address);
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

void NotificationServer::onConnection()
{
    while (QWebSocket* socket = m_server->nextPendingConnection()) {
        if (m_strangers.size() >= mostStrangers) {
            NotificationClient* longest = m_strangers.takeFirst();
            qWarning("NotificationServer: %s: too many wait for their log-in", qUtf8Printable(longest->address()));
            longest->abort();
        }
        QSslSocket* tls = m_tlsSockets.take(peerKey(socket->peerAddress(), socket->peerPort()));
        auto* client = new NotificationClient(socket, tls, ++m_connections, this);
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
    const QByteArray json = text.toUtf8();
    if (client->stage() == NotificationClient::Stage::Stranger) {
        login(client, isFlat(json) ? CJsonText::read(json).object() : QJsonObject());
        return;
    }
    const QJsonDocument document = CJsonText::read(json);
    if (document.isNull())
        reply(client, QJsonValue::Null, errorObject(NoJson));
    else
        onRequest(client, document.object());
}

void NotificationServer::onOverdue(NotificationClient* client)
{
    qWarning("NotificationServer: %s: no log-in in time", qUtf8Printable(client->address()));
    client->abort();
}

void NotificationServer::login(NotificationClient* client, const QJsonObject& request)
{
    const QString token = request.value(QStringLiteral("params")).toArray().at(0).toString();
    const QJsonValue id = request.value(QStringLiteral("id"));
    const char* refusal = nullptr;
    if (request.value(QStringLiteral("method")).toString() != QLatin1String("login"))
        refusal = "no log-in";
    else if (!equalInConstantTime(hashOf(token), m_tokenHash))
        refusal = "wrong token";
    else if (m_clients.size() >= mostClients)
        refusal = "too many clients";
    m_strangers.removeOne(client);
    if (refusal != nullptr) {
        qWarning("NotificationServer: %s: %s", qUtf8Printable(client->address()), refusal);
        client->answer(id, errorObject(NotLoggedIn));
        client->part(QLatin1String(refusal));
        return;
    }
    client->admit();
    m_clients.insert(client->address(), client);
    qInfo("NotificationServer: %s logged in", qUtf8Printable(client->address()));
    reply(client, id, success());
}

void NotificationServer::onRequest(NotificationClient* client, const QJsonObject& request)
{
    const QJsonValue id = request.value(QStringLiteral("id"));
    const QString method = request.value(QStringLiteral("method")).toString();
    const QVariantList params = request.value(QStringLiteral("params")).toArray().toVariantList();
    if (request.value(QStringLiteral("jsonrpc")).toString() != QLatin1String("2.0") || method.isEmpty())
        return reply(client, id.isUndefined() ? QJsonValue(QJsonValue::Null) : id, errorObject(NoRequest));
    if (method == QLatin1String("login"))
        return reply(client, id, success());
    if (!isServiceMethod(method))
        return reply(client, id, errorObject(UnknownMethod));
    if (params.isEmpty())
        return reply(client, id, errorObject(BadParams));
    if (const int fault = objection(m_service, client->address(), method, params.first()))
        return reply(client, id, errorObject(Fault(fault)));
    const QPointer<NotificationClient> alive(client);
    reply(client, id, success());
    if (alive && client->stage() == NotificationClient::Stage::LoggedIn)
        m_service.receiveMessage(client->address(), method, params, client->number());
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
    qWarning("NotificationServer: %s lags and is cut off", qUtf8Printable(client->address()));
    m_clients.remove(client->address());
    client->dropQueue();
    client->part(QStringLiteral("lagging"));
    signOff(m_service, client->address());
}

void NotificationServer::forget(NotificationClient* client)
{
    m_strangers.removeOne(client);
    client->deleteLater();
    if (m_clients.remove(client->address())) {
        qInfo("NotificationServer: %s is gone", qUtf8Printable(client->address()));
        signOff(m_service, client->address());
    }
}
