#include <foundation/core/accept_guard_p.h>
#include <foundation/network/candidate_address_p.h>
#include <foundation/network/connection_job.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/descriptors_p.h>
#include <foundation/network/device_connector_base.h>
#include <foundation/network/socket_options_p.h>

#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QNetworkInterface>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>

struct CDeviceConnectorBase::Private
{
    bool useSsl;
    QPointer<QNetworkAccessManager> networkAccessManager;
    bool tcpListeningEnabled = false;
    quint16 tcpListeningPort = 0;
    bool connectSucceeded = false;
    QList<ConnectionJob*> jobs = {};
    int aborts = 0;
    std::unique_ptr<AcceptGuard> acceptGuard = {};
};

CDeviceConnectorBase::CDeviceConnectorBase(bool useSsl, QNetworkAccessManager* networkAccessManager, QObject* parent)
    : QTcpServer(parent)
    , d(new Private{useSsl, networkAccessManager})
{
    // Travel in signals: spies, string connections and queued calls look them up by name.
    qRegisterMetaType<QHostAddress>("QHostAddress");
    qRegisterMetaType<QWebSocket*>("QWebSocket*");
    // Without a free descriptor the server stops accepting, and would never begin again by itself.
    const auto pause = [this](const QString& reason) {
        qWarning("CDeviceConnector: cannot accept a connection: %s", qUtf8Printable(reason));
        pauseAccepting();
        QTimer::singleShot(ConnectionTiming::current().acceptPause, this, [this] {
            if (isListening())
                resumeAccepting();
        });
    };
    connect(this, &QTcpServer::acceptError, this, [this, pause] { pause(errorString()); });
    d->acceptGuard = std::make_unique<AcceptGuard>(this, [pause] { pause(QStringLiteral("out of file descriptors")); });
}

CDeviceConnectorBase::~CDeviceConnectorBase() = default;

bool CDeviceConnectorBase::useSsl() const
{
    return d->useSsl;
}

void CDeviceConnectorBase::setTcpListeningPort(quint16 port)
{
    d->tcpListeningPort = port;
    if (d->tcpListeningEnabled)
        applyTcpListeningPort();
}

void CDeviceConnectorBase::enableTcpListening()
{
    d->tcpListeningEnabled = true;
    if (d->tcpListeningPort != 0)
        applyTcpListeningPort();
}

void CDeviceConnectorBase::applyTcpListeningPort()
{
    if (isListening()) {
        if (serverPort() == d->tcpListeningPort)
            return;
        close();
    }
    if (d->tcpListeningPort == 0)
        return;
    if (!listen(QHostAddress::Any, d->tcpListeningPort)) {
        qWarning("CDeviceConnector: TCP listening failed on port %u", d->tcpListeningPort);
        return;
    }
    setListenBacklog(socketDescriptor(), ConnectionLimits::listenBacklog);
    d->acceptGuard->watch();
    qInfo("CDeviceConnector: started TCP listening on port %u", serverPort());
}

void CDeviceConnectorBase::addIncomingConnection(qintptr descriptor)
{
    QTcpSocket* socket = d->useSsl ? new QSslSocket(this) : new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    setLowDelay(socket);
    addPendingConnection(socket);
}

void CDeviceConnectorBase::connectToAddresses(const QVector<QStringList>& addressGroups, quint16 port,
                                              bool tcpDiscovery, const QString& path)
{
    // All jobs stand in the list before the first one starts: a group that fails at once does not end the run.
    QList<QPointer<ConnectionJob>> started;
    for (const QStringList& group : addressGroups) {
        auto* job = new ConnectionJob(group, port, tcpDiscovery, d->useSsl, d->networkAccessManager, path, this);
        connect(job, &ConnectionJob::tcpConnectionEstablished, this, &CDeviceConnectorBase::onNewOutgoingConnection);
        connect(job, &ConnectionJob::sendDataUsingUdp, this, &CDeviceConnectorBase::onSendDataUsingUdp,
                Qt::DirectConnection);
        connect(job, &ConnectionJob::jobFinished, this, &CDeviceConnectorBase::onConnectionJobFinished);
        connect(job, &ConnectionJob::updateResolvedHostname, this, &CDeviceConnectorBase::updateResolvedHostname);
        connect(job, &ConnectionJob::webSocketInitialDataReceived, this,
                &CDeviceConnectorBase::onNewOutgoingWebSocketConnection);
        if (d->jobs.isEmpty()) {
            qDebug("CDeviceConnector: Start connect to addresses");
            d->connectSucceeded = false;
        }
        d->jobs.append(job);
        started.append(job);
    }
    // A receiver may abort the run or delete the connector meanwhile; jobs that were disposed of do not start.
    for (const QPointer<ConnectionJob>& job : qAsConst(started)) {
        if (job)
            job->resume();
    }
}

void CDeviceConnectorBase::abortConnectToAddresses()
{
    const auto jobs = d->jobs;
    d->jobs.clear();
    d->connectSucceeded = true; // an aborted run is not a failed one
    ++d->aborts;
    for (ConnectionJob* job : jobs)
        job->dispose();
}

int CDeviceConnectorBase::aborts() const
{
    return d->aborts;
}

void CDeviceConnectorBase::connectionJobCompleted(const QHostAddress& address, const CDeviceId& deviceId,
                                                  const QString& discoverAddress)
{
    QList<QPointer<ConnectionJob>> answered;
    for (ConnectionJob* job : qAsConst(d->jobs)) {
        if (job->isAnsweredBy(address, deviceId, discoverAddress))
            answered.append(job);
    }
    // Completing one may end the run, and its receiver may do anything with the others.
    for (const QPointer<ConnectionJob>& job : qAsConst(answered)) {
        if (job)
            job->complete();
    }
}

void CDeviceConnectorBase::onConnectionJobFinished(bool success)
{
    auto* job = qobject_cast<ConnectionJob*>(sender());
    if (!job || !d->jobs.removeOne(job))
        return;
    job->dispose();
    if (success)
        d->connectSucceeded = true;
    if (!d->jobs.isEmpty())
        return;
    qDebug("CDeviceConnector: Finished connect to address %s", d->connectSucceeded ? "successfully" : "without result");
    Q_EMIT connectToAddressesFinished(d->connectSucceeded);
}

QStringList CDeviceConnectorBase::getTcpListeningAddrs() const
{
    QStringList result;
    if (!isListening())
        return result;
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& networkInterface : interfaces) {
        const auto flags = networkInterface.flags();
        if (!networkInterface.isValid() || !flags.testFlag(QNetworkInterface::IsUp)
            || !flags.testFlag(QNetworkInterface::IsRunning) || flags.testFlag(QNetworkInterface::IsLoopBack))
            continue;
        const auto entries = networkInterface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries)
            result += CandidateAddress::toText(entry.ip(), serverPort());
    }
    return result;
}

QVector<QStringList> CDeviceConnectorBase::filterPrivateIpsAndBroadcast(const QVector<QStringList>& addressGroups)
{
    const auto isPrivate = [](const QHostAddress& address) {
        if (address.protocol() != QAbstractSocket::IPv4Protocol)
            return false;
        const quint32 value = address.toIPv4Address();
        return value >> 24 == 10 || value >> 20 == 0xAC1 || value >> 16 == 0xC0A8;
    };
    QVector<QStringList> result;
    for (const QStringList& group : addressGroups) {
        QStringList kept;
        for (const QString& text : group) {
            const CandidateAddress candidate = CandidateAddress::parse(text, 0);
            const bool drop = candidate.kind == CandidateAddress::Kind::Nothing
                              || (candidate.kind == CandidateAddress::Kind::Label && kept.isEmpty())
                              || (candidate.kind == CandidateAddress::Kind::Address
                                  && (candidate.isBroadcast() || isPrivate(candidate.address)));
            if (!drop)
                kept += text;
        }
        if (!kept.isEmpty())
            result += kept;
    }
    return result;
}

void CDeviceConnectorBase::onSendDataUsingUdp(const QHostAddress& hostAddress, quint16 port, bool& dataSent)
{
    Q_UNUSED(hostAddress)
    Q_UNUSED(port)
    Q_UNUSED(dataSent)
}

void CDeviceConnectorBase::onNewOutgoingWebSocketConnection(QWebSocket* socket, const QByteArray& initialRequest,
                                                            const QString& discoverAddress)
{
    Q_UNUSED(initialRequest)
    Q_UNUSED(discoverAddress)
    if (socket)
        socket->abort();
}

void CDeviceConnectorBase::onNewOutgoingConnection(QTcpSocket* socket)
{
    Q_UNUSED(socket)
}
