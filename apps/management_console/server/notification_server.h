#pragma once

#include <QtCore/QHash>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QVariant>
#include <QtNetwork/QHostAddress>

#include <functional>

class CNotificationService;
class NotificationClient;
struct NotificationRequest;
class QSslSocket;
class QTcpSocket;
class QWebSocketServer;

/// Offers a notification service to WebSocket clients, in JSON-RPC 2.0 text frames.
///
///     NotificationServer server(service, token);
///     door.serveWebSockets(NotificationServer::path(),
///                          [&](QSslSocket* socket, const CTlsDoor::Request&) { server.takeSocket(socket); });
///     service.notifyObservers(QStringLiteral("Devices"), {{QStringLiteral("event"), QStringLiteral("came")}});
///
/// A client logs in first, then sends the service's methods. A request with an "id" is answered:
///
///     > {"jsonrpc":"2.0","id":1,"method":"login","params":["the token"]}
///     < {"jsonrpc":"2.0","id":1,"result":true}
///     > {"jsonrpc":"2.0","method":"registerObserver","params":[["Devices"]]}
///     < {"jsonrpc":"2.0","method":"acknowledge","params":["registerObserver",[["Devices"]]],"seq":1}
///     < {"jsonrpc":"2.0","method":"notify","params":["Devices",{"event":"came"}],"seq":2}
///
/// "seq" counts what the service had for this client since it logged in; a gap means that something was missed.
///
/// What a client has not read waits for it, up to mostQueued messages and mostQueuedCharacters. One that lags further
/// is cut off at once, with a log line: it is forgotten, what waited is dropped, and the last it can read is "lagging"
/// with the number of messages dropped, its "seq" behind theirs. If it does not even read that within partingMs, the
/// connection is aborted. Before log-in a client may send longestLogin bytes and take loginMs; at most mostStrangers
/// wait for their log-in, the longest-waiting goes first. A wrong token ends the connection. A text in which an object
/// has a key twice counts as no JSON.
///
/// How many sources a client may observe and how many extension names it may hold, NotificationRequest says. A name
/// that another subscriber holds it can neither take over nor take away. A request beyond that is answered with an
/// error and changes nothing. When the client goes, its names are free again.
class NotificationServer : public QObject
{
    Q_OBJECT

public:
    using Admit = std::function<bool(const QString& address, const QString& session)>;
    using Forget = std::function<void(const QString& address)>;

    static constexpr int mostStrangers = 64;
    static constexpr int mostClients = 1000;
    static constexpr int loginMs = 5000;
    static constexpr int longestLogin = 4096;         ///< bytes
    static constexpr int longestMessage = 256 * 1024; ///< bytes, after log-in
    static constexpr int mostQueued = 1000;
    static constexpr int mostQueuedCharacters = 1024 * 1024;
    static constexpr int partingMs = 5000;

    /// The request path of these WebSockets on a port that serves others, too.
    static QByteArray path() { return QByteArrayLiteral("/notifications"); }

    /// With an empty token only whoever has a session can log in, see setSessions(). The service must outlive the
    /// server.
    NotificationServer(CNotificationService& service, const QString& token, QObject* parent = nullptr);
    ~NotificationServer() override;

    /// Takes over a connection, TLS or not, whose WebSocket request has not been read.
    void takeSocket(QTcpSocket* socket);
    /// `admit` is asked whether a text that is not the token is a session, whose rights are then those of the client at
    /// that address until `forget` is told; it may observe, no more. Without the one no session is.
    void setSessions(const Admit& admit, const Forget& forget)
    {
        m_admit = admit;
        m_forget = forget;
    }
    /// A port of its own, without TLS; for this machine only. 0 lets the system choose.
    bool listen(quint16 port);
    quint16 port() const;

    /// Clients that are logged in, and connections that are not (yet, or no longer).
    int clients() const { return m_clients.size(); }
    int others() const;
    /// Messages that wait for clients to read.
    qint64 queued() const;

Q_SIGNALS:
    /// Somebody has sent a log-in; `refusal` is empty for one that was taken.
    void loginTried(const QString& address, const QString& refusal);

private:
    void onConnection();
    void onMessage(NotificationClient* client, const QString& text);
    void onRequest(NotificationClient* client, const NotificationRequest& request);
    void login(NotificationClient* client, const NotificationRequest& request);
    void onOverdue(NotificationClient* client);
    void reply(NotificationClient* client, const QJsonValue& id, const QJsonObject& resultOrError);
    void send(const QString& address, const QString& method, const QVariantList& params);
    void cutOff(NotificationClient* client);
    void forget(NotificationClient* client);
    void signOff(const QString& address);
    template<typename Handle>
    void inSignalOfSocket(Handle handle);

    CNotificationService& m_service;
    QByteArray m_tokenHash;
    Admit m_admit;
    Forget m_forget;
    QWebSocketServer* m_server;
    QHash<QString, NotificationClient*> m_clients;     // those logged in, by address
    QSet<QString> m_observers;                         // of these, those that have a session instead of the token
    QList<NotificationClient*> m_strangers;            // the longest-waiting first
    QHash<QString, QPointer<QSslSocket>> m_tlsSockets; // taken over and not yet WebSockets, by peer
    qint64 m_connections = 0;
    QString m_lastParams;      // shared by all that were sent the same
    int m_signalsOfSocket = 0; // that are being handled
};
