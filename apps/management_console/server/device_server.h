#pragma once

#include "server/device_link.h"

#include <foundation/network/tls_door.h>

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QVector>

class CDeviceConnectorAppSide;
class CNotificationService;
class FrontDoor;
class NotificationServer;
class QSslSocket;
class QWebSocket;

/// Lets devices in: one TLS port for their WebSockets and for ordinary requests, the links of those that have proved
/// who they are, and a list of those that were refused.
class DeviceServer : public QObject
{
    Q_OBJECT

public:
    struct Settings
    {
        quint16 port = 0; ///< 0: the system chooses
        QString certificateFile;
        QString keyFile;
        CSystemId system; ///< devices of another installation are refused, with 0 those of any
        int pingSeconds = 20;
        bool finiteFieldDh = false;              ///< see CTlsDoor::setFiniteFieldDh
        QList<QPair<QHostAddress, int>> proxies; ///< networks of TLS balancers; empty: there are none
        quint16 proxyPort = 0;                   ///< where these call in; 0: the system chooses
        QString token;                           ///< with which clients log in for notifications; empty: there are none
    };

    struct Refusal
    {
        QDateTime time;
        QString peer;
        QString device; ///< who it said it was; may be empty
        QString reason;
    };

    explicit DeviceServer(QObject* parent = nullptr);
    ~DeviceServer() override;

    bool start(const Settings& settings, QString& error);
    /// Reads certificate and key anew, for connections from now on; links stay. False with a reason: then those before
    /// stay, too. A warning is for people.
    bool reloadCertificate(QString& error, QString& warning);
    /// When the certificate ends.
    QDateTime certificateEnd() const { return m_certificateEnd; }
    quint16 port() const;
    /// The port for balancers; 0 when there are none.
    quint16 proxyPort() const;
    /// For others that answer on the TLS port; the port for balancers answers alike.
    FrontDoor& door() { return *m_door; }
    /// The hub that those who watch are connected to.
    CNotificationService* notifications() const { return m_notifications; }
    /// See NotificationServer::setSessions(), which may come later.
    void setSessions(const std::function<bool(const QString& client, const QString& session)>& admit,
                     const std::function<void(const QString& client)>& forget);
    /// Clients that are logged in for notifications.
    int clients() const;
    /// Messages that wait for these clients to read.
    qint64 queuedNotifications() const;
    /// Connections of devices that have not proved yet who they are.
    int handshakes() const { return m_arrivals.size(); }

    /// In the order of their ids. The newest link of a device is the only one.
    QList<DeviceLink*> links() const { return m_links.values(); }
    DeviceLink* link(CDeviceId id) const { return m_links.value(id.value()); }
    /// The last ones, oldest first.
    const QVector<Refusal>& refusals() const { return m_refusals; }
    /// All of them since the start.
    qint64 refusalCount() const { return m_refusalCount; }
    QDateTime since() const { return m_since; }

Q_SIGNALS:
    void deviceCame(const DeviceLink::Identity& device);
    void deviceLeft(const DeviceLink::Identity& device, const QDateTime& lastHeard);
    void refused(const DeviceServer::Refusal& refusal);
    /// A client for notifications has given the token, or has not: why it was refused.
    void clientLogin(const QString& peer, const QString& refusal);
    void messageReceived(CDeviceId device, const QByteArray& message);

private:
    void serveAt(FrontDoor* door);
    void onWebSocketRequested(QSslSocket* socket, const CTlsDoor::Request& request);
    void onEstablished(CDeviceId id, int type, CSystemId system, QWebSocket* socket, const QString& peer);
    void onLinkEnded(DeviceLink* link);
    void refuse(const QString& peer, const QString& device, const QString& reason);

    void publish(const QString& event, const DeviceLink::Identity& device);

    FrontDoor* m_door;
    FrontDoor* m_proxyDoor = nullptr;
    CNotificationService* m_notifications;
    NotificationServer* m_notificationServer = nullptr;
    CDeviceConnectorAppSide* m_connector;
    QMap<quint32, DeviceLink*> m_links;
    QHash<QString, QElapsedTimer> m_arrivals; // of those whose handshake goes on, by peer; run since accept
    QVector<Refusal> m_refusals;
    qint64 m_refusalCount = 0;
    QDateTime m_since;
    int m_pingSeconds = 0;
    QString m_certificateFile;
    QString m_keyFile;
    QDateTime m_certificateEnd;
};
