#include "simulated_device.h"

#include <foundation/network/device_connector_device_side.h>
#include <foundation/network/device_discovery_device_side.h>
#include <foundation/network/web_socket_connection.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QUdpSocket>
#include <QtWebSockets/QWebSocket>

namespace {

constexpr int silentPeerMs = 30000; // a TCP peer that asks nothing for so long is dropped
constexpr int keepaliveSeconds = 30;
// Between calls that lead nowhere; each is twice the one before. A link that lasted is a new beginning.
constexpr int firstPauseMs = 500;
constexpr int longestPauseMs = 60000;
constexpr int lastingLinkMs = 10000;
// In a reconnect storm.
constexpr int longestStormLinkMs = 500;
constexpr int longestStormPauseMs = 100;
// A request of long ago, whose answer somebody has recorded and plays again.
constexpr int mostEvents = CLockJournal::defaultCapacity;
// Of a timer, which takes an int.
constexpr qint64 longestWaitMs = 3600000;
const QByteArray oldRequest = R"({"random":"0123456789abcdef","time":"2020-01-01T00:00:00Z"})";

} // namespace

// The connector takes certificate and key from the process-wide TLS configuration, but many devices share this process:
// each puts its own there for the moment in which it is read.
class SimulatedConnector : public CDeviceConnectorDeviceSide
{
public:
    SimulatedConnector(const SimulatedDevice::Settings& settings, QObject* parent)
        : CDeviceConnectorDeviceSide(0, !settings.tls.isNull(), settings.accessManager, parent)
        , m_tls(settings.tls)
        , m_replay(settings.replay)
        , m_otherTls(settings.otherTls)
        , m_faults(settings.faults)
        , m_device(settings.id.value())
    {
    }

    void useOwnIdentity()
    {
        if (!m_tls.isNull())
            QSslConfiguration::setDefaultConfiguration(m_tls);
    }

    void onNewOutgoingConnection(QTcpSocket* socket) override
    {
        if (auto* sslSocket = qobject_cast<QSslSocket*>(socket))
            sslSocket->setSslConfiguration(m_tls);
        CDeviceConnectorDeviceSide::onNewOutgoingConnection(socket);
    }

    void onNewOutgoingWebSocketConnection(QWebSocket* socket, const QByteArray& initialRequest,
                                          const QString& discoverAddress) override
    {
        HandshakeFate fate = m_replay ? HandshakeFate::OldRandom : HandshakeFate::Honest;
        if (m_faults && fate == HandshakeFate::Honest)
            fate = drawHandshakeFate(m_faults->rates, m_faults->seed, m_device, ++m_handshakes);
        if (fate != HandshakeFate::Honest && m_faults)
            ++m_faults->falseAnswers;
        if (fate == HandshakeFate::Silence)
            return;
        if (fate == HandshakeFate::Rubbish) {
            socket->sendBinaryMessage(R"({"challenge":"{","certificate":[],"signature":7})");
            return;
        }
        useOwnIdentity();
        if (fate == HandshakeFate::OtherCertificate && !m_otherTls.isNull())
            QSslConfiguration::setDefaultConfiguration(m_otherTls);
        CDeviceConnectorDeviceSide::onNewOutgoingWebSocketConnection(
            socket, fate == HandshakeFate::OldRandom ? oldRequest : initialRequest, discoverAddress);
    }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        useOwnIdentity();
        CDeviceConnectorDeviceSide::incomingConnection(descriptor);
    }

private:
    QSslConfiguration m_tls;
    bool m_replay;
    QSslConfiguration m_otherTls;
    SimulatedDevice::Faults* m_faults;
    quint32 m_device;
    quint32 m_handshakes = 0;
};

SimulatedDevice::SimulatedDevice(const Settings& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_connector(new SimulatedConnector(settings, this))
    , m_pauseMs(firstPauseMs)
    , m_bornAtMs(QDateTime::currentMSecsSinceEpoch())
    , m_random(settings.faults ? settings.faults->seed ^ settings.id.value() : QRandomGenerator::global()->generate())
    , m_urls(settings.urls)
{
    m_clock.start();
    m_connector->setDeviceId(settings.id.value());
    m_connector->setDeviceType(settings.type);
    m_connector->setSystemId(settings.system.value());
    connect(m_connector, &CDeviceConnectorDeviceSide::isIncomingConnectionAccepted, this,
            [](bool& accepted) { accepted = true; });
    connect(m_connector, &CDeviceConnectorDeviceSide::newTcpConnectionToApplication, this,
            &SimulatedDevice::onTcpConnection);
    connect(m_connector, &CDeviceConnectorDeviceSide::newWebSocketConnectionToApplication, this,
            &SimulatedDevice::onLinked);
    connect(m_connector, &CDeviceConnectorBase::connectToAddressesFinished, this, [this](bool success) {
        if (!success)
            callLater();
    });
    m_lockTimer.setSingleShot(true);
    connect(&m_lockTimer, &QTimer::timeout, this, [this] { carryOut(m_lock->tick(now())); });
    m_callTimer.setSingleShot(true);
    connect(&m_callTimer, &QTimer::timeout, this, &SimulatedDevice::call);
}

SimulatedDevice::~SimulatedDevice()
{
    if (m_link)
        m_link->disconnect(this);
}

bool SimulatedDevice::startLock(QString& error)
{
    if (m_settings.stateFolder.isEmpty())
        return true;
    m_store = std::make_unique<CLockStore>(m_settings.stateFolder);
    const std::optional<CLockMemory> memory = m_store->open(mostEvents, &error);
    if (!memory)
        return false;
    m_lock = std::make_unique<CLock>(*memory);
    carryOut(m_lock->start(now()));
    return true;
}

bool SimulatedDevice::start(quint16 tcpPort)
{
    if (!m_connector->listen(QHostAddress::Any, tcpPort))
        return false;
    if (m_settings.faults) {
        for (QString& url : m_urls) {
            auto* wire = new FaultyWire(QUrl(url), m_settings.faults->rates, m_settings.faults->connections,
                                        m_settings.faults->seed, m_settings.id.value(), this);
            m_wires.append(wire);
            if (!wire->open())
                return false;
            url = wire->url().toString();
        }
    }
    if (!m_urls.isEmpty())
        m_callTimer.start(0);
    return true;
}

quint16 SimulatedDevice::tcpPort() const
{
    return m_connector->serverPort();
}

CDeviceDiscoveryDeviceSide* SimulatedDevice::discovery() const
{
    return m_connector->findChild<CDeviceDiscoveryDeviceSide*>();
}

quint16 SimulatedDevice::udpPort() const
{
    const auto* socket = discovery()->findChild<QUdpSocket*>();
    return socket ? socket->localPort() : 0;
}

void SimulatedDevice::call()
{
    // It also says which authorities of applications are trusted.
    m_connector->useOwnIdentity();
    m_connector->connectToApplication(m_urls);
}

void SimulatedDevice::callLater()
{
    if (isStorming()) {
        m_callTimer.start(m_random.bounded(longestStormPauseMs + 1));
        return;
    }
    // Half of the pause is left to chance, or all devices would return in one instant.
    m_callTimer.start(m_pauseMs / 2 + m_random.bounded(m_pauseMs / 2 + 1));
    qInfo("Simulator: %s calls again in %d ms", qUtf8Printable(m_settings.id.toLabel()), m_callTimer.interval());
    m_pauseMs = qMin(m_pauseMs * 2, longestPauseMs);
}

void SimulatedDevice::onLinked(QWebSocket* socket, const QString& url)
{
    qInfo("Simulator: %s is linked to %s", qUtf8Printable(m_settings.id.toLabel()), qUtf8Printable(url));
    if (m_link)
        onLinkLost();
    m_link = CWebSocketConnection::takeOver(socket, keepaliveSeconds, this);
    m_linkedFor.start();
    connect(m_link, &CMessageTransfer::dataReceived, this, &SimulatedDevice::onMessage);
    connect(m_link, &CMessageTransfer::connectionStateChanged, this, [this](bool connected) {
        if (!connected) {
            qInfo("Simulator: %s has lost its link", qUtf8Printable(m_settings.id.toLabel()));
            onLinkLost();
            callLater();
        }
    });
    // Without ignored errors, an encrypted link is one whose certificate was verified.
    const bool isVerified =
        socket->requestUrl().scheme() == QLatin1String("wss") && !socket->sslConfiguration().peerCertificate().isNull();
    if (m_lock && (isVerified || m_settings.believesAnyServer))
        carryOut(m_lock->linked(now()));
    else if (m_lock)
        qWarning("Simulator: %s does not obey %s, whose certificate was not verified",
                 qUtf8Printable(m_settings.id.toLabel()), qUtf8Printable(url));
    if (m_link && isStorming())
        QTimer::singleShot(m_random.bounded(longestStormLinkMs), m_link,
                           [link = m_link] { link->webSocket()->abort(); });
}

void SimulatedDevice::onMessage(const QByteArray& message)
{
    const CLockCommand command = m_lock ? CLockMessage::toDevice(message) : CLockCommand();
    // Codes stand in lists.
    if (m_settings.journal && !std::holds_alternative<CLockPart>(command.body)) {
        m_settings.journal->write(m_settings.id.toLabel().toLatin1() + ' ' + message + '\n');
        m_settings.journal->flush(); // the process may be killed any time
    }
    if (std::holds_alternative<std::monostate>(command.body)) {
        m_link->sendData(m_dialogue.answer(message));
        return;
    }
    CLockEffects effects;
    if (!m_lock->handle(message, now(), &effects)) {
        m_link->sendData(CLockMessage::toBytes(
            CLockFromDevice(CLockAnswer{command.id, QStringLiteral("this server's certificate was not verified")})));
        return;
    }
    if (std::holds_alternative<CLockOpen>(command.body) && effects.openSeconds > 0) {
        // The dialogue opens the door, and says how it is.
        effects.messages.first() = m_dialogue.answer(message);
        effects.openSeconds = 0;
    }
    carryOut(effects);
}

// Keep, open, tell: what could not be kept is not told, or a number would be given twice after a power cut.
void SimulatedDevice::carryOut(const CLockEffects& effects, const Report& report)
{
    if (report)
        m_reports.insert(effects.presentation, report);
    QString error;
    const bool kept = m_store->keep(*m_lock, effects, &error);
    if (effects.openSeconds > 0)
        m_dialogue.open(effects.openSeconds);
    if (!kept) {
        qWarning("Simulator: %s: %s", qUtf8Printable(m_settings.id.toLabel()), qUtf8Printable(error));
        if (m_link && !effects.messages.isEmpty())
            m_link->webSocket()->abort();
    } else {
        for (const QByteArray& message : effects.messages) {
            if (m_link)
                m_link->sendData(message);
        }
    }
    const qint64 next = m_lock->nextTick();
    if (next == CLock::never)
        m_lockTimer.stop();
    else
        m_lockTimer.start(int(qBound(qint64(0), next - now(), longestWaitMs)));
    for (const CLockOutcome& outcome : effects.outcomes) {
        if (const Report waiting = m_reports.take(outcome.presentation))
            waiting(outcome);
    }
}

void SimulatedDevice::present(const CLockCredential& credential, const Report& report)
{
    carryOut(m_lock->present(credential, now()), report);
}

void SimulatedDevice::pressButton(const Report& report)
{
    carryOut(m_lock->pressButton(now()), report);
}

void SimulatedDevice::forceDoor(const Report& report)
{
    carryOut(m_lock->doorForced(now()), report);
}

void SimulatedDevice::holdDoor(const Report& report)
{
    carryOut(m_lock->doorHeld(now()), report);
}

void SimulatedDevice::setClock(qint64 utc)
{
    carryOut(m_lock->setClock(utc, now()));
}

void SimulatedDevice::drop()
{
    for (FaultyWire* wire : qAsConst(m_wires))
        wire->dropAll();
}

void SimulatedDevice::halt()
{
    for (FaultyWire* wire : qAsConst(m_wires))
        wire->haltAll();
}

void SimulatedDevice::storm(int milliseconds)
{
    m_stormUntilMs = m_clock.elapsed() + milliseconds;
    m_pauseMs = firstPauseMs;
    if (m_link)
        m_link->webSocket()->abort();
    else if (m_callTimer.isActive())
        m_callTimer.start(m_random.bounded(longestStormPauseMs + 1));
}

void SimulatedDevice::onLinkLost()
{
    m_link->disconnect(this);
    m_link->deleteLater();
    m_link = nullptr;
    if (obeysLink())
        carryOut(m_lock->unlinked(now()));
    if (m_linkedFor.elapsed() >= lastingLinkMs)
        m_pauseMs = firstPauseMs;
}

// Applications look who is there and leave; nothing else is said on these connections.
void SimulatedDevice::onTcpConnection(QTcpSocket* socket, bool outgoing)
{
    Q_UNUSED(outgoing)
    socket->setParent(this);
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    auto* timer = new QTimer(socket);
    connect(timer, &QTimer::timeout, socket, &QTcpSocket::abort);
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, timer] {
        timer->start(silentPeerMs);
        if (qobject_cast<QSslSocket*>(socket))
            socket->readAll();
        else
            discovery()->checkMessageAndSendDeviceInforResult(socket);
    });
    timer->start(silentPeerMs);
}
