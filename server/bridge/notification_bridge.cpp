#include <server/bridge/notification_bridge.h>

#include <foundation/core/device_id.h>
#include <foundation/core/string_utils.h>
#include <foundation/services/notification_service.h>
#include <server/bridge/bridge_store_p.h>
#include <server/bridge/volatile_ring_p.h>
#include <server/database/sql_statement_p.h>
#include <server/devices/device_links.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QPointer>
#include <QtCore/QQueue>
#include <QtCore/QSet>
#include <QtCore/QTimer>

#include <algorithm>

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
// Until the broker is asked again to take what it refused.
constexpr int refusedDelayMs = 30000;
constexpr int prefetched = 100;
// Of others: servers times sources that are followed, and numbers of one of them that are waited for.
constexpr int mostPeers = 1000;
constexpr int mostMissing = 1000;
// Beats until what was asked for and did not come is asked for again, and how often.
constexpr int patientBeats = 5;
constexpr int mostAsked = 3;
// Of others' questions for what they have missed.
constexpr int mostReplays = 100;

QByteArray stateText(const char* state)
{
    return QByteArrayLiteral("{\"state\":\"") + state + QByteArrayLiteral("\"}");
}

// The sources of other servers, by the last part of their topics.
QString sourceOfTopic(const QString& rest)
{
    for (const char* source : {"Model", "Access", "Devices"}) {
        const QString name = QLatin1String(source);
        if (rest == QLatin1String("notify/") + name.toLower())
            return name;
    }
    return {};
}

} // namespace

class CNotificationBridge::Private
{
public:
    /// Messages of one source that stands in tables.
    struct Durable
    {
        QQueue<BridgeMessage> ready;                ///< read, and not sent
        qint64 read = 0;                            ///< number of the last one read
        QQueue<std::pair<qint64, int>> outstanding; ///< sent: number, topics that are not acknowledged
        qint64 acknowledged = 0;
        bool isRefused = false;
    };
    struct InFlight
    {
        enum Kind
        {
            Table,
            Ring,
            Other
        };
        Kind kind;
        QString topic;
        QString source{};
        qint64 number = 0;
    };
    /// What others have missed and asked for, one after the other.
    struct Replay
    {
        QQueue<BridgeReplay> asked;
        BridgeReplay request; ///< the rest of the one that is answered
        QQueue<BridgeMessage> ready;
        bool isRunning = false;
    };
    /// A source of another server.
    struct Peer
    {
        QString epoch;
        qint64 highest = 0;
        QSet<qint64> missing;
        int asked = 0;    ///< times, since something came
        int patience = 0; ///< beats until it is asked for again
    };

    Private(CNotificationBridge* bridge, const Settings& settings, CNotificationService* inService,
            CDatabase* inDatabase, IDeviceLinks* inLinks)
        : q(bridge)
        , service(inService)
        , database(inDatabase)
        , links(inLinks)
        , topics(settings.system, settings.server)
        , store(inDatabase, topics, settings.server)
        , broker(settings.broker)
    {
    }

    void onConnected();
    void onDisconnected();
    void onPublished(qint64 id, const QString& fault);
    void onReceived(const MqttMessage& message);
    void onTransmission(const QString& address, const QString& method, const QVariantList& params);
    void onDevice(CDeviceId device, bool isLinked);

    void collectLater(int milliseconds);
    void collect();
    void collectAgain();
    void writeAcknowledged();
    void rewind();
    void fill();
    bool sendState();
    bool sendDurable(const QString& source);
    bool sendVolatile();
    bool sendReplayed();
    void send(const InFlight& what, const QByteArray& payload, bool isRetained, const QString& epoch, qint64 seq);
    void takeNotification(const QString& server, const QString& topicSource, const QByteArray& payload);
    bool isNews(const QString& server, const BridgeNotification& notification);
    void askAgain(const QString& server, const BridgeReplay& request);
    void askForMissing();
    void takeReplay(const QByteArray& payload);
    bool beginReplay(const BridgeReplay& request);
    bool hasRoom(int messages) const { return inFlight.size() + messages <= mostInFlight; }

    CNotificationBridge* q;
    QPointer<CNotificationService> service;
    CDatabase* database;
    QPointer<IDeviceLinks> links;
    BridgeTopics topics;
    BridgeStore store;
    MqttSettings broker;
    std::unique_ptr<CMqttClient> client;
    VolatileRing ring;
    QMap<QString, Durable> durables;
    QMap<QString, QByteArray> states; ///< the last word of each that is to be said, by topic
    Replay replay;
    QHash<qint64, InFlight> inFlight;
    qint64 lastId = 0;
    int turn = 0;
    QHash<QString, Peer> peers;
    QString refusal;
    qint64 refused = 0; ///< of the ring: nobody sends them again
    int busy = 0;
    bool isForwarding = false;
    QTimer collectTimer;
    QTimer beatTimer;
    QTimer acknowledgeTimer;
    QTimer refusedTimer;
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
    fill();
}

void CNotificationBridge::Private::collect()
{
    if (!store.exists())
        return;
    if (!store.isOpen()) {
        if (!store.open())
            return collectAgain();
        store.beat();
        for (const QString& source : BridgeStore::sources())
            durables[source].acknowledged = store.acknowledged(source);
        rewind();
    }
    const BridgeStore::Result result = store.collect();
    if (result == BridgeStore::Failed)
        return collectAgain();
    busy = 0;
    if (result == BridgeStore::More)
        collectLater(0);
    fill();
}

void CNotificationBridge::Private::writeAcknowledged()
{
    QMap<QString, qint64> moved;
    for (auto durable = durables.cbegin(); durable != durables.cend(); ++durable) {
        if (durable->acknowledged > store.acknowledged(durable.key()))
            moved.insert(durable.key(), durable->acknowledged);
    }
    if (!moved.isEmpty() && !store.acknowledge(moved))
        acknowledgeTimer.start(acknowledgeDelayMs);
}

void CNotificationBridge::Private::onTransmission(const QString& address, const QString& method,
                                                  const QVariantList& params)
{
    if (address != subscriber || method != notifyMethod || isForwarding || params.size() < 2)
        return;
    const QString source = params.at(0).toString();
    if (BridgeStore::sources().contains(source))
        return collectLater(collectDelayMs);
    ring.add(source, params.at(1).toMap());
    fill();
}

void CNotificationBridge::Private::onDevice(CDeviceId device, bool isLinked)
{
    const QJsonObject state{{QStringLiteral("linked"), isLinked},
                            {QStringLiteral("at"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)}};
    states.insert(topics.own(QStringLiteral("device/%1/state").arg(device.toLabel())),
                  QJsonDocument(state).toJson(QJsonDocument::Compact));
    fill();
}

// --- Sending

void CNotificationBridge::Private::onConnected()
{
    rewind();
    states.insert(topics.own(QStringLiteral("state")), stateText("up"));
    // The broker remembers what an earlier life of this server said, or nothing at all.
    QSet<quint32> linked;
    if (links) {
        const QList<CDeviceId> devices = links->linkedDevices();
        for (const CDeviceId device : devices) {
            linked.insert(device.value());
            onDevice(device, true);
        }
    }
    QVector<CDeviceId> others;
    SqlStatement known(database, QStringLiteral("SELECT device FROM device_state"));
    for (known.exec(); known.next();) {
        if (!linked.contains(quint32(known.integer(0))))
            others.append(CDeviceId(known.integer(0)));
    }
    for (const CDeviceId device : qAsConst(others))
        onDevice(device, false);
    collectLater(0);
    fill();
    Q_EMIT q->statusChanged();
}

void CNotificationBridge::Private::onDisconnected()
{
    rewind();
    replay = {};
    Q_EMIT q->statusChanged();
}

void CNotificationBridge::Private::rewind()
{
    inFlight.clear();
    ring.rewind();
    for (Durable& durable : durables) {
        durable.ready.clear();
        durable.outstanding.clear();
        durable.read = durable.acknowledged;
        durable.isRefused = false;
    }
    refusal.clear();
    refusedTimer.stop();
}

void CNotificationBridge::Private::fill()
{
    if (!client || !client->isConnected())
        return;
    // Each in its turn, so that a long backlog of one holds up none of the others.
    const QStringList& sources = BridgeStore::sources();
    const int kinds = int(sources.size()) + 3;
    for (int idle = 0; idle < kinds && hasRoom(1); turn = (turn + 1) % kinds) {
        bool isSent = false;
        if (turn < sources.size())
            isSent = sendDurable(sources.at(turn));
        else if (turn == sources.size())
            isSent = sendState();
        else if (turn == sources.size() + 1)
            isSent = sendVolatile();
        else
            isSent = sendReplayed();
        idle = isSent ? 0 : idle + 1;
    }
}

void CNotificationBridge::Private::send(const InFlight& what, const QByteArray& payload, bool isRetained,
                                        const QString& epoch, qint64 seq)
{
    const qint64 id = ++lastId;
    MqttMessage message;
    message.topic = what.topic;
    message.payload = payload;
    message.isRetained = isRetained;
    const QString kind = what.source.isEmpty() ? QStringLiteral("state") : what.source;
    message.properties =
        eventAttributes(topics.sourceUri(), kind, epoch.isEmpty() ? ring.epoch() : epoch, seq > 0 ? seq : id);
    inFlight.insert(id, what);
    client->publish(id, message);
}

bool CNotificationBridge::Private::sendState()
{
    if (states.isEmpty())
        return false;
    // That the server is up comes first: "state" stands behind all "device/..." otherwise.
    const QString up = topics.own(QStringLiteral("state"));
    const QString topic = states.contains(up) ? up : states.firstKey();
    const QByteArray payload = states.take(topic);
    send({InFlight::Other, topic}, payload, true, {}, 0);
    return true;
}

bool CNotificationBridge::Private::sendDurable(const QString& source)
{
    Durable& durable = durables[source];
    if (durable.isRefused || !store.isOpen())
        return false;
    if (durable.ready.isEmpty()) {
        const QList<BridgeMessage> more = store.messages(source, durable.read, prefetched);
        for (const BridgeMessage& message : more)
            durable.ready.enqueue(message);
        if (more.isEmpty())
            return false;
        durable.read = more.last().seq;
    }
    const int copies = int(durable.ready.head().topics.size());
    if (!hasRoom(copies))
        return false;
    const BridgeMessage message = durable.ready.dequeue();
    durable.outstanding.enqueue({message.seq, copies});
    for (const QString& topic : message.topics)
        send({InFlight::Table, topics.own(topic), source, message.seq}, message.payload, message.isRetained,
             store.epoch(source), message.seq);
    return true;
}

bool CNotificationBridge::Private::sendVolatile()
{
    const std::optional<VolatileRing::Sending> next = ring.next();
    if (!next)
        return false;
    const QString& source = next->notification.source;
    send({InFlight::Ring, topics.own(QStringLiteral("notify/") + source.toLower()), source, next->place},
         next->notification.toPayload(), false, next->notification.epoch, next->notification.seq);
    return true;
}

void CNotificationBridge::Private::onPublished(qint64 id, const QString& fault)
{
    const auto found = inFlight.constFind(id);
    if (found == inFlight.cend())
        return;
    const InFlight what = *found;
    inFlight.erase(found);
    if (!fault.isEmpty()) {
        refused += what.kind == InFlight::Ring;
        const QString text = QStringLiteral("%1 is refused: %2").arg(what.topic, fault);
        if (refusal.isEmpty()) {
            qWarning("Broker %s: %s", qUtf8Printable(broker.url()), qUtf8Printable(text));
            refusal = text;
            Q_EMIT q->statusChanged();
        }
    }
    if (what.kind == InFlight::Ring) {
        ring.acknowledge(what.number);
    } else if (what.kind == InFlight::Table) {
        Durable& durable = durables[what.source];
        if (!fault.isEmpty()) {
            // It stays where it is, and what stands behind it, until the broker takes it.
            durable.isRefused = true;
            if (!refusedTimer.isActive())
                refusedTimer.start(refusedDelayMs);
        }
        for (auto& [number, copies] : durable.outstanding) {
            if (number == what.number && fault.isEmpty())
                --copies;
        }
        while (!durable.outstanding.isEmpty() && durable.outstanding.head().second == 0)
            durable.acknowledged = durable.outstanding.dequeue().first;
        if (!acknowledgeTimer.isActive())
            acknowledgeTimer.start(acknowledgeDelayMs);
    }
    fill();
}

// --- What comes from the broker

void CNotificationBridge::Private::onReceived(const MqttMessage& message)
{
    const std::optional<BridgeTopics::Place> place = topics.parse(message.topic);
    if (!place)
        return;
    if (place->server == topics.server()) {
        if (place->rest == QLatin1String("replay"))
            takeReplay(message.payload);
        return;
    }
    const QString source = sourceOfTopic(place->rest);
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
    if (isKnown || !isNews(server, *notification))
        return;
    notification->data.insert(QStringLiteral("server"), server);
    const QPointer<CNotificationBridge> self(q);
    isForwarding = true;
    service->notifyObservers(notification->source, notification->data);
    if (self)
        isForwarding = false;
}

bool CNotificationBridge::Private::isNews(const QString& server, const BridgeNotification& notification)
{
    const QString key = server + QLatin1Char('/') + notification.source;
    auto peer = peers.find(key);
    if (peer == peers.end()) {
        // Whoever may write at the broker can think of any number of servers.
        if (peers.size() >= mostPeers)
            return false;
        peer = peers.insert(key, Peer());
    }
    if (peer->epoch != notification.epoch || peer->highest == 0) {
        *peer = {notification.epoch, notification.seq, {}};
        return true;
    }
    if (notification.seq <= peer->highest) {
        peer->asked = 1;
        return peer->missing.remove(notification.seq);
    }
    const qint64 first = qMax(peer->highest + 1, notification.seq - mostMissing);
    if (first < notification.seq) {
        for (qint64 seq = first; seq < notification.seq && peer->missing.size() < mostMissing; ++seq)
            peer->missing.insert(seq);
        peer->asked = 1;
        peer->patience = patientBeats;
        askAgain(server, {notification.source, notification.epoch, first, notification.seq - 1});
    }
    peer->highest = notification.seq;
    return true;
}

void CNotificationBridge::Private::askAgain(const QString& server, const BridgeReplay& request)
{
    qInfo("Broker %s: %s of %s from %lld to %lld were missed and are requested again", qUtf8Printable(broker.url()),
          qUtf8Printable(request.source), qUtf8Printable(CStringUtils::printable(server)),
          static_cast<long long>(request.from), static_cast<long long>(request.to));
    if (client && client->isConnected())
        send({InFlight::Other, topics.other(server, QStringLiteral("replay")), QStringLiteral("replay")},
             request.toPayload(), false, {}, 0);
}

// The question, too, may have been lost, or its answer.
void CNotificationBridge::Private::askForMissing()
{
    for (auto peer = peers.begin(); client->isConnected() && peer != peers.end(); ++peer) {
        if (peer->missing.isEmpty() || --peer->patience > 0)
            continue;
        if (++peer->asked > mostAsked) {
            peer->missing.clear();
            continue;
        }
        peer->patience = patientBeats;
        const auto [first, last] = std::minmax_element(peer->missing.cbegin(), peer->missing.cend());
        const int end = int(peer.key().indexOf(QLatin1Char('/')));
        askAgain(peer.key().left(end), {peer.key().mid(end + 1), peer->epoch, *first, *last});
    }
}

void CNotificationBridge::Private::takeReplay(const QByteArray& payload)
{
    const std::optional<BridgeReplay> request = BridgeReplay::fromPayload(payload);
    if (!request || replay.asked.size() >= mostReplays)
        return;
    replay.asked.enqueue(*request);
    fill();
}

bool CNotificationBridge::Private::beginReplay(const BridgeReplay& request)
{
    replay.request = request;
    replay.request.to = qMin(request.to, request.from + mostReplayed - 1);
    if (BridgeStore::sources().contains(request.source) && request.epoch == store.epoch(request.source)) {
        // What the broker does not have yet comes by itself.
        replay.request.to = qMin(replay.request.to, durables.value(request.source).acknowledged);
    } else if (request.epoch == ring.epoch()) {
        const QList<BridgeNotification> sent = ring.sent(request.source, request.from, replay.request.to);
        for (const BridgeNotification& notification : sent)
            replay.ready.enqueue(
                {notification.seq, {QStringLiteral("notify/") + request.source.toLower()}, notification.toPayload()});
        replay.request.from = replay.request.to + 1;
    } else {
        return false;
    }
    return true;
}

bool CNotificationBridge::Private::sendReplayed()
{
    BridgeReplay& request = replay.request;
    while (replay.ready.isEmpty()) {
        if (replay.isRunning && request.from <= request.to) {
            const QList<BridgeMessage> more = store.messages(request.source, request.from - 1, prefetched, request.to);
            for (const BridgeMessage& message : more)
                replay.ready.enqueue(message);
            request.from = more.isEmpty() ? request.to + 1 : more.last().seq + 1;
            continue;
        }
        replay.isRunning = false;
        if (replay.asked.isEmpty())
            return false;
        replay.isRunning = beginReplay(replay.asked.dequeue());
    }
    const BridgeMessage message = replay.ready.dequeue();
    send({InFlight::Other, topics.own(message.topics.first()), request.source}, message.payload, message.isRetained,
         request.epoch, message.seq);
    return true;
}

// --- From outside

CNotificationBridge::CNotificationBridge(const Settings& settings, CNotificationService* service, CDatabase* database,
                                         IDeviceLinks* links, QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this, settings, service, database, links))
{
    const BridgeTopics& topics = d->topics;
    MqttSettings& broker = d->broker;
    broker.clientId = QStringLiteral("kyr-%1-%2").arg(settings.system, topics.server());
    broker.will = {topics.own(QStringLiteral("state")), stateText("lost"), true};
    broker.farewell = {topics.own(QStringLiteral("state")), stateText("ended"), true};
    broker.topics = QStringList{topics.ofAll(QStringLiteral("notify/+")), topics.own(QStringLiteral("replay"))};
    d->client = std::make_unique<CMqttClient>(broker);
    connect(d->client.get(), &CMqttClient::connected, this, [this] { d->onConnected(); });
    connect(d->client.get(), &CMqttClient::disconnected, this, [this] { d->onDisconnected(); });
    connect(d->client.get(), &CMqttClient::failed, this, &CNotificationBridge::statusChanged);
    connect(d->client.get(), &CMqttClient::published, this,
            [this](qint64 id, const QString& fault) { d->onPublished(id, fault); });
    connect(d->client.get(), &CMqttClient::received, this,
            [this](const MqttMessage& message) { d->onReceived(message); });

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
        connect(links, &IDeviceLinks::deviceCame, this, [this](CDeviceId device) { d->onDevice(device, true); });
        connect(links, &IDeviceLinks::deviceLeft, this, [this](CDeviceId device) { d->onDevice(device, false); });
    }

    for (QTimer* timer : {&d->collectTimer, &d->acknowledgeTimer, &d->refusedTimer})
        timer->setSingleShot(true);
    connect(&d->collectTimer, &QTimer::timeout, this, [this] { d->collect(); });
    connect(&d->acknowledgeTimer, &QTimer::timeout, this, [this] { d->writeAcknowledged(); });
    connect(&d->refusedTimer, &QTimer::timeout, this, [this] {
        d->rewind();
        d->fill();
    });
    connect(&d->beatTimer, &QTimer::timeout, this, [this] {
        const bool wasPublisher = d->store.isPublisher();
        d->store.beat();
        if (d->store.isPublisher() != wasPublisher)
            Q_EMIT statusChanged();
        d->askForMissing();
        // Also what nothing woke for: a chain that another process writes.
        d->collectLater(0);
    });
    d->beatTimer.start(BridgeStore::beatMs);
    d->collectLater(0);
    d->client->start();
}

CNotificationBridge::~CNotificationBridge()
{
    disconnect(d->client.get(), nullptr, this, nullptr);
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
    status.broker = d->broker.url();
    status.fault = status.isConnected ? d->refusal : d->client->fault();
    status.waiting = d->store.waiting() + d->ring.waiting();
    status.dropped = d->ring.dropped() + d->refused + d->client->dropped();
    status.isPublisher = d->store.isPublisher();
    return status;
}

void CNotificationBridge::wake()
{
    d->collectLater(collectDelayMs);
}
