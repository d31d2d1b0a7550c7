#include <server/bridge/bridge_replays_p.h>

#include <server/bridge/notification_bridge.h>

namespace {

// Questions that wait.
constexpr int mostReplays = 100;

} // namespace

void BridgeReplays::add(const BridgeReplay& request)
{
    if (m_asked.size() < mostReplays)
        m_asked.enqueue(request);
}

void BridgeReplays::clear()
{
    m_asked.clear();
    m_ready.clear();
    m_isRunning = false;
}

// False when it asks for what is not here.
bool BridgeReplays::begin(const BridgeReplay& request)
{
    m_request = request;
    m_request.to = qMin(request.to, request.from + CNotificationBridge::mostReplayed - 1);
    const auto stored = m_sources->find(request.source);
    if (stored != m_sources->end() && request.epoch == m_store->epoch(request.source)) {
        // What the broker does not have yet comes by itself.
        m_request.to = qMin(m_request.to, stored->second.acknowledged());
    } else if (request.epoch == m_ring->epoch()) {
        const QList<BridgeNotification> sent = m_ring->sent(request.source, request.from, m_request.to);
        for (const BridgeNotification& notification : sent)
            m_ready.enqueue({notification.seq, {BridgeTopics::restOf(request.source)}, notification.toPayload()});
        m_request.from = m_request.to + 1;
    } else {
        return false;
    }
    return true;
}

std::optional<BridgeReplays::Sending> BridgeReplays::next()
{
    while (m_ready.isEmpty()) {
        if (m_isRunning && m_request.from <= m_request.to) {
            const QList<BridgeMessage> more =
                m_store->messages(m_request.source, m_request.from - 1, StoredMessages::prefetched, m_request.to);
            for (const BridgeMessage& message : more)
                m_ready.enqueue(message);
            m_request.from = more.isEmpty() ? m_request.to + 1 : more.last().seq + 1;
            continue;
        }
        m_isRunning = false;
        if (m_asked.isEmpty())
            return std::nullopt;
        m_isRunning = begin(m_asked.dequeue());
    }
    return Sending{m_ready.dequeue(), m_request.source, m_request.epoch};
}
