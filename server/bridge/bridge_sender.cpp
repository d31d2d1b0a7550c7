#include <server/bridge/bridge_sender_p.h>

#include <server/bridge/notification_bridge.h>

namespace {

// Until the broker is asked again to take what it refused.
constexpr int refusedDelayMs = 30000;

} // namespace

BridgeSender::BridgeSender(CMqttClient* client, const QString& broker, const BridgeTopics* topics, BridgeStore* store)
    : m_client(client)
    , m_broker(broker)
    , m_topics(topics)
    , m_store(store)
    , m_replays(store, &m_stored, &m_ring)
    , m_states(topics)
{
    for (const QString& source : BridgeStore::sources())
        m_stored.emplace(source, StoredMessages(store, source));
    m_refusedTimer.setSingleShot(true);
    m_refusedTimer.setInterval(refusedDelayMs);
    connect(&m_refusedTimer, &QTimer::timeout, this, [this] {
        rewind();
        fill();
    });
}

void BridgeSender::begin()
{
    for (auto& [source, messages] : m_stored)
        messages.begin();
    rewind();
}

void BridgeSender::connected(CDatabase* database, const IDeviceLinks* links)
{
    rewind();
    m_states.noteAll(database, links);
    fill();
}

void BridgeSender::disconnected()
{
    rewind();
    m_replays.clear();
}

void BridgeSender::rewind()
{
    m_inFlight.clear();
    m_ring.rewind();
    for (auto& [source, messages] : m_stored)
        messages.rewind();
    m_refusal.clear();
    m_refusedTimer.stop();
}

// --- What is to be told

void BridgeSender::tell(const QString& source, const QVariantMap& data)
{
    m_ring.add(source, data);
    fill();
}

void BridgeSender::tellDevice(CDeviceId device, bool isLinked)
{
    m_states.noteDevice(device, isLinked);
    fill();
}

void BridgeSender::replay(const BridgeReplay& request)
{
    m_replays.add(request);
    fill();
}

void BridgeSender::ask(const QString& server, const BridgeReplay& missed)
{
    if (m_client && m_client->isConnected())
        send({InFlight::Other, replayTopic()}, {m_topics->other(server, replayTopic()), missed.toPayload()});
}

// --- Sending

void BridgeSender::fill()
{
    if (!m_client || !m_client->isConnected())
        return;
    const QStringList& sources = BridgeStore::sources();
    const int kinds = int(sources.size()) + 3;
    for (int idle = 0; idle < kinds && room() > 0; m_turn = (m_turn + 1) % kinds) {
        bool isSent = false;
        if (m_turn < sources.size())
            isSent = sendStored(sources.at(m_turn));
        else if (m_turn == sources.size())
            isSent = sendState();
        else if (m_turn == sources.size() + 1)
            isSent = sendNews();
        else
            isSent = sendReplayed();
        idle = isSent ? 0 : idle + 1;
    }
}

void BridgeSender::send(InFlight what, MqttMessage message, const QString& epoch, qint64 seq)
{
    const qint64 id = ++m_lastId;
    const QString kind = what.source.isEmpty() ? QStringLiteral("state") : what.source;
    message.properties =
        eventAttributes(m_topics->sourceUri(), kind, epoch.isEmpty() ? m_ring.epoch() : epoch, seq > 0 ? seq : id);
    what.topic = message.topic;
    m_inFlight.insert(id, what);
    m_client->publish(id, message);
}

bool BridgeSender::sendStored(const QString& source)
{
    const std::optional<BridgeMessage> message = m_stored.at(source).next(room());
    if (!message)
        return false;
    for (const QString& topic : message->topics)
        send({InFlight::Stored, source, message->seq}, {m_topics->own(topic), message->payload, message->isRetained},
             m_store->epoch(source), message->seq);
    return true;
}

bool BridgeSender::sendState()
{
    const std::optional<MqttMessage> state = m_states.next();
    if (state)
        send({InFlight::Other}, *state);
    return state.has_value();
}

bool BridgeSender::sendNews()
{
    const std::optional<VolatileRing::Sending> next = m_ring.next();
    if (!next)
        return false;
    const BridgeNotification& notification = next->notification;
    send({InFlight::News, notification.source, next->place},
         {m_topics->own(BridgeTopics::restOf(notification.source)), notification.toPayload()}, notification.epoch,
         notification.seq);
    return true;
}

bool BridgeSender::sendReplayed()
{
    const std::optional<BridgeReplays::Sending> next = m_replays.next();
    if (!next)
        return false;
    const BridgeMessage& message = next->message;
    send({InFlight::Other, next->source}, {m_topics->own(message.topics.first()), message.payload, message.isRetained},
         next->epoch, message.seq);
    return true;
}

int BridgeSender::room() const
{
    return CNotificationBridge::mostInFlight - int(m_inFlight.size());
}

// --- What became of it

void BridgeSender::published(qint64 id, const QString& fault)
{
    if (!m_inFlight.contains(id))
        return;
    const InFlight what = m_inFlight.take(id);
    const bool isTaken = fault.isEmpty();
    const bool isFirstRefusal = !isTaken && m_refusal.isEmpty();
    if (isFirstRefusal) {
        m_refusal = QStringLiteral("%1 is refused: %2").arg(what.topic, fault);
        qWarning("Broker %s: %s", qUtf8Printable(m_broker), qUtf8Printable(m_refusal));
    }
    if (what.kind == InFlight::News) {
        m_ring.acknowledge(what.number);
        m_refusedNews += !isTaken;
    } else if (what.kind == InFlight::Stored && isTaken) {
        m_stored.at(what.source).acknowledge(what.number);
    } else if (what.kind == InFlight::Stored) {
        m_stored.at(what.source).refuse();
        if (!m_refusedTimer.isActive())
            m_refusedTimer.start();
    }
    fill();
    const QPointer<BridgeSender> self(this);
    if (what.kind == InFlight::Stored)
        Q_EMIT acknowledgedMore();
    if (self && isFirstRefusal)
        Q_EMIT refused();
}

QMap<QString, qint64> BridgeSender::acknowledged() const
{
    QMap<QString, qint64> moved;
    for (const auto& [source, messages] : m_stored) {
        if (messages.acknowledged() > m_store->acknowledged(source))
            moved.insert(source, messages.acknowledged());
    }
    return moved;
}
