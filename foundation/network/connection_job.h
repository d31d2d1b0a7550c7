#pragma once

#include <foundation/core/export.h>

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtNetwork/QHostAddress>
#include <QtNetwork/QHostInfo>
#include <QtNetwork/QTcpSocket>
#include <QtWebSockets/QWebSocket>

#include <memory>

class CDeviceId;
class QNetworkAccessManager;

/// Tries the candidate addresses of one group, strictly in order, until one of them leads to the wanted peer.
///
///     auto* job = new ConnectionJob({QStringLiteral("192.168.1.20:4000"), QStringLiteral("console.example")}, 0, true,
///                                   useSsl, nullptr, QString(), this);
///     connect(job, &ConnectionJob::tcpConnectionEstablished, this, &Finder::greet);
///     connect(job, &ConnectionJob::jobFinished, job, &ConnectionJob::dispose);
///     job->resume();
///
/// An address is tried by TCP, then by a UDP query; a host name is looked up; a URL is asked for a redirect and then
/// connected as a WebSocket. Each of these attempts has 5 s. The job never judges a peer: it hands out sockets and
/// first messages, and whoever finds the right peer calls `complete`, else the time runs out.
///
/// Sockets, timers and replies are the job's children and die with it, unless a receiver makes a socket its own by
/// setting another parent. Signals about sockets are not emitted from within the sockets' own signals, so a receiver
/// may delete the socket, the job or the job's owner, or abort the run.
class KYR_FOUNDATION_EXPORT ConnectionJob : public QObject
{
    Q_OBJECT

public:
    /// `port` serves candidates without one of their own. Without `tcpDiscovery` no TCP attempts are made. URLs need a
    /// network access manager, which stays the caller's and whose proxy leads to them, and a `path`, which is appended
    /// to theirs.
    ConnectionJob(const QStringList& candidates, quint16 port, bool tcpDiscovery, bool useSsl,
                  QNetworkAccessManager* networkAccessManager, const QString& path, QObject* parent = nullptr);
    ~ConnectionJob() override;

    /// While a receiver decides about a socket, however long that takes, the attempt's time stands still.
    void holdClock();
    void letClockGo();
    /// Finished or disposed of: nobody waits for its sockets any more.
    bool isOver() const;
    bool hasCandidates() const;
    /// The candidate that is being tried; empty without candidates.
    QString currentCandidate() const;

    /// Whether a peer that has identified itself is the one that this job tries to reach at the moment. A URL is
    /// compared with `discoverAddress`, an address with `address`; a label in the group has to name `deviceId`.
    bool isAnsweredBy(const QHostAddress& address, const CDeviceId& deviceId, const QString& discoverAddress) const;
    /// The wanted peer was reached: drops all candidates and finishes with success.
    void complete();

public Q_SLOTS:
    /// Starts the job, or goes on with the next kind of attempt or the next candidate.
    void resume();
    /// Ends the job and its connections, without another signal; it is deleted later.
    void dispose();
    /// For a reply whose body lists addresses, separated by commas: connect the reply's `finished` to this slot. The
    /// addresses take the place of the current candidate, and the reply is deleted later.
    void onIpAddressReceived();
    void onHostInfoReceived(QHostInfo info);
    void onTcpConnected();
    void onWebSocketDataReceived(const QByteArray& data);
    void onConnectionError();

Q_SIGNALS:
    /// A UDP query is due. A receiver that sends one sets `dataSent`, directly: the job reads it after the emission.
    void sendDataUsingUdp(const QHostAddress& hostAddress, quint16 port, bool& dataSent);
    void tcpConnectionEstablished(QTcpSocket* socket);
    /// The first message on a WebSocket that was opened for the candidate `discoverAddress`. Those that have come in
    /// behind it are announced after this signal, unless a receiver has closed the WebSocket.
    void webSocketInitialDataReceived(QWebSocket* socket, const QByteArray& data, const QString& discoverAddress);
    /// A host name was resolved; a null address tells that it was not.
    void updateResolvedHostname(const QString& hostName, const QHostAddress& address);
    /// All candidates are used up, or the job was completed. Emitted once.
    void jobFinished(bool success);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    /// What a step leaves behind: something that will call resume or onConnectionError, or nothing.
    enum class Step
    {
        Waits,
        GoesOn
    };

    Step tryCandidate();
    Step askWebService(const QString& url);
    Step lookUpHostName(const QString& host);
    Step connectTcp(const QString& candidate, const QHostAddress& address, quint16 port);
    Step queryUdp(const QString& candidate, const QHostAddress& address, quint16 port);
    void onProbeFinished(const QString& location);
    void openWebSocket(const QString& candidate, const QString& location);
    void startStepTimer();
    void stopStepTimer();
    void abortLookUp();
    void abortProbe();

    struct Private;
    std::unique_ptr<Private> d;
};
