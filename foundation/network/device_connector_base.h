#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/export.h>

#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <QtNetwork/QHostAddress>
#include <QtNetwork/QTcpServer>

#include <memory>

class ConnectionJob;
class QNetworkAccessManager;
class QWebSocket;

/// What the connectors of both ends share: listening for TCP connections, and running connection jobs.
///
///     connector.setTcpListeningPort(4000);
///     connector.enableTcpListening();
///     connector.connectToAddresses({{QStringLiteral("192.168.1.20:4001")}, {QStringLiteral("door.example:4001")}}, 0,
///                                  true, QString());
///     // ... connectToAddressesFinished(success)
///
/// The subclasses decide in the virtual slots what happens on a connection, and report a peer that has identified
/// itself with connectionJobCompleted.
class KYR_FOUNDATION_EXPORT CDeviceConnectorBase : public QTcpServer
{
    Q_OBJECT

public:
    /// With `useSsl` connections are TLS sockets. The network access manager (it may be null: then URLs are passed
    /// over) stays the caller's.
    CDeviceConnectorBase(bool useSsl, QNetworkAccessManager* networkAccessManager, QObject* parent = nullptr);
    ~CDeviceConnectorBase() override;

    bool useSsl() const;

    /// The port to listen on, at once when listening is enabled; 0 stops listening. A failure is logged once.
    void setTcpListeningPort(quint16 port);
    void enableTcpListening();

    /// Starts one job for each group of candidates; all run at the same time, and join a run that is going on. The end
    /// of the run is told once, by connectToAddressesFinished. No groups: nothing happens.
    void connectToAddresses(const QVector<QStringList>& addressGroups, quint16 port, bool tcpDiscovery,
                            const QString& path);
    /// Drops all jobs. Nothing is signalled.
    void abortConnectToAddresses();
    /// A peer has identified itself: ends the jobs that were trying to reach it. `discoverAddress` is the URL
    /// candidate that led to it, if one did.
    void connectionJobCompleted(const QHostAddress& address, const CDeviceId& deviceId, const QString& discoverAddress);

    /// "address:port" for each address of the interfaces that are up, loopback left out; empty unless listening.
    QStringList getTcpListeningAddrs() const;

    /// The groups without private IPv4 addresses and broadcast addresses. A label stays if an address stays before it
    /// in its group; groups that have nothing left are dropped.
    static QVector<QStringList> filterPrivateIpsAndBroadcast(const QVector<QStringList>& addressGroups);

public Q_SLOTS:
    /// A UDP query is due; sets `dataSent` when one was sent.
    virtual void onSendDataUsingUdp(const QHostAddress& hostAddress, quint16 port, bool& dataSent);
    /// A job's WebSocket has received its first message.
    virtual void onNewOutgoingWebSocketConnection(QWebSocket* socket, const QByteArray& initialRequest,
                                                  const QString& discoverAddress);
    /// A job's socket is connected.
    virtual void onNewOutgoingConnection(QTcpSocket* socket);

Q_SIGNALS:
    /// All jobs of the run are over; `success` tells whether any of them reached its peer.
    void connectToAddressesFinished(bool success);
    /// A job has resolved a host name; a null address tells that it could not.
    void updateResolvedHostname(const QString& hostName, const QHostAddress& address);

protected:
    /// Queues an accepted connection as a TLS socket that has not started TLS yet, or as a plain one.
    void addIncomingConnection(qintptr descriptor);
    /// How many runs were aborted: what was heard before the last of them is reported no more.
    int aborts() const;

private:
    void applyTcpListeningPort();
    void onConnectionJobFinished(bool success);

    struct Private;
    std::unique_ptr<Private> d;
};
