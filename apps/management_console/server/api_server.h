#pragma once

#include "server/front_door.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QQueue>

class CApi;
class CNotificationService;
class NotificationClient;
class QWebSocketServer;
struct CApiAnswer;
struct CApiCaller;

/// The way to the API over the TLS port: a WebSocket at /api, or requests by POST.
///
///     ApiServer server(api, *hub, door);
///
/// A WebSocket is logged in by the method "login", by "Authorization: Bearer SESSION" or by the cookie; a text frame is
/// a message, and so is each answer and each notification. Of one connection so much may wait: to be read by it, what
/// NotificationServer lets wait; to be answered, mostWaiting characters, and nothing of that is begun while answers
/// wait to be read. Who is beyond that is cut off.
///
/// By POST a log-in sets the cookie, which no script can read and no other server's page can use: what such a page
/// sends is refused unless it names a session itself.
class ApiServer : public QObject
{
    Q_OBJECT

public:
    static constexpr int mostStrangers = 256;
    static constexpr int mostClients = 1000;
    static constexpr int loginMs = 60000;
    static constexpr int mostWaiting = 1024 * 1024;

    static QByteArray path() { return QByteArrayLiteral("/api"); }
    static QByteArray cookieName() { return QByteArrayLiteral("__Host-kyr-session"); }

    /// None of them is taken over; all outlive it.
    ApiServer(CApi& api, CNotificationService& hub, FrontDoor& door, QObject* parent = nullptr);
    ~ApiServer() override;

private:
    struct Connection;

    void takeSocket(QSslSocket* socket, const CTlsDoor::Request& request);
    void onConnection();
    void onMessage(NotificationClient* client, const QString& text);
    void work(NotificationClient* client);
    void send(const QString& address, const QString& method, const QVariantList& params);
    void cutOff(NotificationClient* client, const QString& reason);
    void forget(NotificationClient* client);

    void onPost(const HttpRequest& request, const FrontDoor::Reply& reply);

    struct Arrival
    {
        QPointer<QSslSocket> socket;
        QString session;
    };

    CApi& m_api;
    CNotificationService& m_hub;
    FrontDoor& m_door;
    QWebSocketServer* m_server;
    QHash<QString, Arrival> m_arrivals; // taken over and not yet WebSockets, by peer
    QHash<NotificationClient*, std::shared_ptr<Connection>> m_connections;
    QHash<QString, NotificationClient*> m_bySubscriber;
    QList<NotificationClient*> m_strangers; // the longest-waiting first
    qint64 m_count = 0;
};
