#include "server/notification_server.h"

#include "server/notification_client.h"

#include <foundation/services/notification_service.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

namespace {

enum Fault
{
    NoJson = -32700,
    NoRequest = -32600,
    UnknownMethod = -32601,
    BadParams = -32602,
    NotLoggedIn = -32001,
};

const char* faultText(Fault fault)
{
    switch (fault) {
    case NoJson:
        return "no JSON";
    case NoRequest:
        return "no JSON-RPC 2.0 request";
    case UnknownMethod:
        return "unknown method";
    case BadParams:
        return "params is no list, or empty";
    case NotLoggedIn:
        return "not logged in";
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
        if (m_clients.contains(client->address()))
            m_service.disconnectSubscriber(client->address());
        delete client;
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
            longest->socket()->abort();
        }
        QSslSocket* tls = m_tlsSockets.take(peerKey(socket->peerAddress(), socket->peerPort()));
        auto* client = new NotificationClient(socket, tls, ++m_connections, this);
        socket->setMaxAllowedIncomingFrameSize(longestLogin);
        socket->setMaxAllowedIncomingMessageSize(longestLogin);
        m_strangers.append(client);
        connect(client, &NotificationClient::messageReceived, this,
                [this, client](const QString& text) { onMessage(client, text); });
        connect(client, &NotificationClient::gone, this, [this, client] { forget(client); });
        connect(client, &NotificationClient::timeout, this, [client] {
            qWarning("NotificationServer: %s: no log-in in time", qUtf8Printable(client->address()));
            client->socket()->abort();
        });
        client->startTimer(loginMs);
    }
}

void NotificationServer::onMessage(NotificationClient* client, const QString& text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    const QJsonObject request = document.object();
    if (!m_clients.contains(client->address()))
        login(client, request);
    else if (document.isNull())
        reply(client, QJsonValue::Null, errorObject(NoJson));
    else
        onRequest(client, request);
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
    client->stopTimer();
    client->socket()->setMaxAllowedIncomingFrameSize(longestMessage);
    client->socket()->setMaxAllowedIncomingMessageSize(longestMessage);
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
    reply(client, id, success());
    if (m_clients.contains(client->address()))
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
    if (m_lastText.isEmpty() || method != m_lastMethod || !params.isSharedWith(m_lastParams)) {
        m_lastMethod = method;
        m_lastParams = params;
        const QJsonObject message{{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                                  {QStringLiteral("method"), method},
                                  {QStringLiteral("params"), QJsonArray::fromVariantList(params)}};
        m_lastText = QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact));
        m_lastText.chop(1);
        m_lastText += QLatin1String(",\"seq\":");
    }
    if (!client->enqueue(m_lastText))
        cutOff(client);
}

void NotificationServer::cutOff(NotificationClient* client)
{
    qWarning("NotificationServer: %s lags and is cut off", qUtf8Printable(client->address()));
    m_clients.remove(client->address());
    client->dropQueue();
    client->part(QStringLiteral("lagging"));
    m_service.disconnectSubscriber(client->address());
}

void NotificationServer::forget(NotificationClient* client)
{
    m_strangers.removeOne(client);
    client->deleteLater();
    if (m_clients.remove(client->address())) {
        qInfo("NotificationServer: %s is gone", qUtf8Printable(client->address()));
        m_service.disconnectSubscriber(client->address());
    }
}
