#include <server/bridge/notification_bridge.h>

#include <foundation/core/string_utils.h>
#include <foundation/services/notification_service.h>
#include <server/bridge/bridge_peers_p.h>
#include <server/bridge/bridge_sender_p.h>
#include <server/database/database.h>
#include <server/devices/device_links.h>

#include <QtCore/QPointer>
#include <QtCore/QTimer>

namespace {

const QString subscriber = QStringLiteral("mqtt");
const QString modelSource = QStringLiteral("Model");
const QString notifyMethod = QStringLiteral("notify");

// What comes at once is taken up at once.
constexpr int collectDelayMs = 10;
// Until the database is asked again that was busy; after so many times it is away, and asked with each beat.
constexpr int busyDelayMs = 100;
constexpr int mostBusy = 10;
constexpr int acknowledgeDelayMs = 200;

MqttSettings brokerSettings(const CNotificationBridge::Settings& settings, const BridgeTopics& topics)
{
    MqttSettings broker = settings.broker;
    broker.clientId = QStringLiteral("kyr-%1-%2").arg(settings.system, topics.server());
    broker.will = BridgeStates::ofServer(topics, "lost");
    broker.farewell = BridgeStates::ofServer(topics, "ended");
    broker.topics = QStringList{topics.ofAll(QStringLiteral("notify/+")), topics.own(BridgeSender::replayTopic())};
    return broker;
}

} // namespace

class CNotificationBridge::Private
{
public:
    Private(CNotificationBridge* bridge, const Settings& settings, CNotificationService* inService,
            CDatabase* inDatabase, IDeviceLinks* inLinks)
        : q(bridge)
        , service(inService)
        , database(inDatabase)
        , links(inLinks)
        , topics(settings.system, settings.server)
        , store(inDatabase, topics, settings.server)
        , broker(settings.broker.url())
        , client(std::make_unique<CMqttClient>(brokerSettings(settings, topics)))
        , sender(client.get(), broker, &topics, &store)
    {
    }

    void onTransmission(const QString& address, const QString& method, const QVariantList& params);
    void onBeat();
    void collectLater(int milliseconds);
    void collect();
    void collectAgain();
    void writeAcknowledged();

    void onReceived(const MqttMessage& message);
    void takeNotification(const QString& server, const QString& topicSource, const QByteArray& payload);
    void requestMissed(const BridgePeers::Request& request);

    CNotificationBridge* q;
    QPointer<CNotificationService> service;
    CDatabase* database;
    QPointer<IDeviceLinks> links;
    BridgeTopics topics;
    BridgeStore store;
    QString broker;
    std::unique_ptr<CMqttClient> client;
    BridgeSender sender;
    BridgePeers peers;
    int busy = 0;
    bool isForwarding = false;
    QTimer collectTimer;
    QTimer acknowledgeTimer;
    QTimer beatTimer;
};

// --- Taking up what is to be told

void CNotificationBridge::Private::collectLater(int milliseconds)
{
    if (!collectTimer.isActive() || collectTimer.remainingTime() > milliseconds)
        collectTimer.start(milliseconds);
}

void CNotificationBridge::Private::collectAgain()
{
    if (++busy <= mostBusy)
        collectLater(busyDelayMs);
    sender.fill();
}

void CNotificationBridge::Private::collect()
{
    if (!store.exists())
        return;
    if (!store.isOpen()) {
        if (!store.open())
            return collectAgain();
        store.beat();
        sender.begin();
    }
    const BridgeStore::Result result = store.collect();
    if (result == BridgeIntake::Failed)
        return collectAgain();
    busy = 0;
    if (result == BridgeIntake::More)
        collectLater(0);
    sender.fill();
}

void CNotificationBridge::Private::writeAcknowledged()
{
    const QMap<QString, qint64> moved = sender.acknowledged();
    if (!moved.isEmpty() && !store.acknowledge(moved))
        acknowledgeTimer.start();
}

void CNotificationBridge::Private::onTransmission(const QString& address, const QString& method,
                                                  const QVariantList& params)
{
    if (address != subscriber || method != notifyMethod || isForwarding || params.size() < 2)
        return;
    const QString source = params.at(0).toString();
    if (BridgeStore::sources().contains(source))
        return collectLater(collectDelayMs);
    sender.tell(source, params.at(1).toMap());
}

void CNotificationBridge::Private::onBeat()
{
    const QPointer<CNotificationBridge> self(q);
    const bool wasPublisher = store.isPublisher();
    store.beat();
    if (store.isPublisher() != wasPublisher)
        Q_EMIT q->statusChanged();
    if (!self)
        return;
    if (client->isConnected()) {
        const QList<BridgePeers::Request> requests = peers.requests();
        for (const BridgePeers::Request& request : requests)
            requestMissed(request);
    }
    // Also what nothing woke for: a chain that another process writes.
    collectLater(0);
}

// --- What comes from the broker

void CNotificationBridge::Private::onReceived(const MqttMessage& message)
{
    const std::optional<BridgeTopics::Place> place = topics.parse(message.topic);
    if (!place)
        return;
    if (place->server == topics.server()) {
        const bool isReplay = place->rest == BridgeSender::replayTopic();
        if (const auto request = isReplay ? BridgeReplay::fromPayload(message.payload) : std::nullopt)
            sender.replay(*request);
        return;
    }
    const QString source = BridgeTopics::sourceOf(place->rest);
    if (!source.isEmpty())
        takeNotification(place->server, source, message.payload);
}

void CNotificationBridge::Private::takeNotification(const QString& server, const QString& topicSource,
                                                    const QByteArray& payload)
{
    std::optional<BridgeNotification> notification = BridgeNotification::fromPayload(payload);
    if (!notification || notification->source != topicSource || !service)
        return;
    // The database that both share has told of it.
    const bool isKnown =
        notification->source == modelSource && store.exists() && notification->installation == store.installation();
    if (isKnown)
        return;
    const BridgePeers::Heard heard = peers.hear(server, *notification);
    if (heard.request)
        requestMissed(*heard.request);
    if (!heard.isNews)
        return;
    notification->data.insert(QStringLiteral("server"), server);
    const QPointer<CNotificationBridge> self(q);
    isForwarding = true;
    service->notifyObservers(notification->source, notification->data);
    if (self)
        isForwarding = false;
}

void CNotificationBridge::Private::requestMissed(const BridgePeers::Request& request)
{
    const BridgeReplay& missed = request.missed;
    qInfo("Broker %s: %s of %s from %lld to %lld were missed and are requested again", qUtf8Printable(broker),
          qUtf8Printable(missed.source), qUtf8Printable(CStringUtils::printable(request.server)),
          static_cast<long long>(missed.from), static_cast<long long>(missed.to));
    sender.ask(request.server, missed);
}

// --- From outside

CNotificationBridge::CNotificationBridge(const Settings& settings, CNotificationService* service, CDatabase* database,
                                         IDeviceLinks* links, QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this, settings, service, database, links))
{
    connect(d->client.get(), &CMqttClient::connected, this, [this] {
        d->collectLater(0);
        d->sender.connected(d->database, d->links);
        Q_EMIT statusChanged();
    });
    connect(d->client.get(), &CMqttClient::disconnected, this, [this] {
        d->sender.disconnected();
        Q_EMIT statusChanged();
    });
    connect(d->client.get(), &CMqttClient::failed, this, &CNotificationBridge::statusChanged);
    connect(d->client.get(), &CMqttClient::published, &d->sender, &BridgeSender::published);
    connect(d->client.get(), &CMqttClient::received, this,
            [this](const MqttMessage& message) { d->onReceived(message); });
    connect(&d->sender, &BridgeSender::refused, this, &CNotificationBridge::statusChanged);
    connect(&d->sender, &BridgeSender::acknowledgedMore, this, [this] {
        if (!d->acknowledgeTimer.isActive())
            d->acknowledgeTimer.start();
    });

    connect(service, &CNotificationService::messageTransmissionRequested, this,
            [this](const QString& address, const QString& method, const QVariantList& params) {
                d->onTransmission(address, method, params);
            });
    service->registerObserver(subscriber, {modelSource, QStringLiteral("Access"), QStringLiteral("Devices")}, 0);
    connect(database, &CDatabase::changedByOthers, this, [this] { d->collectLater(collectDelayMs); });
    // A database that was away may come back as an older one.
    connect(database, &CDatabase::awayChanged, this, [this](bool isAway) {
        if (isAway)
            d->store.close();
    });
    if (links) {
        connect(links, &IDeviceLinks::deviceCame, this,
                [this](CDeviceId device) { d->sender.tellDevice(device, true); });
        connect(links, &IDeviceLinks::deviceLeft, this,
                [this](CDeviceId device) { d->sender.tellDevice(device, false); });
    }

    d->collectTimer.setSingleShot(true);
    d->acknowledgeTimer.setSingleShot(true);
    d->acknowledgeTimer.setInterval(acknowledgeDelayMs);
    connect(&d->collectTimer, &QTimer::timeout, this, [this] { d->collect(); });
    connect(&d->acknowledgeTimer, &QTimer::timeout, this, [this] { d->writeAcknowledged(); });
    connect(&d->beatTimer, &QTimer::timeout, this, [this] { d->onBeat(); });
    d->beatTimer.start(BridgeStore::beatMs);
    d->collectLater(0);
    d->client->start();
}

CNotificationBridge::~CNotificationBridge()
{
    d->client->disconnect();
    if (d->service) {
        disconnect(d->service, nullptr, this, nullptr);
        d->service->disconnectSubscriber(subscriber);
    }
    d->writeAcknowledged();
    // What was stored last is still told; whether the broker has it nobody waits for, it is told again the next time.
    d->collect();
    d->client.reset();
}

CNotificationBridge::Status CNotificationBridge::status() const
{
    Status status;
    status.isConnected = d->client->isConnected();
    status.broker = d->broker;
    status.fault = status.isConnected ? d->sender.refusal() : d->client->fault();
    status.waiting = d->store.waiting() + d->sender.waitingNews();
    status.dropped = d->sender.droppedNews() + d->client->dropped();
    status.isPublisher = d->store.isPublisher();
    return status;
}

void CNotificationBridge::wake()
{
    d->collectLater(collectDelayMs);
}
