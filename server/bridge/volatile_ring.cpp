#include <server/bridge/volatile_ring_p.h>

#include <foundation/core/random.h>

#include <utility>

namespace {

constexpr int epochSize = 8; // bytes

} // namespace

VolatileRing::VolatileRing()
    : m_epoch(QString::fromLatin1(CRandom::getArray(epochSize).toHex()))
{
}

void VolatileRing::insert(const std::deque<Entry>::const_iterator& before, const QString& source,
                          const QVariantMap& data)
{
    Entry entry;
    entry.notification.source = source;
    entry.notification.data = data;
    entry.notification.epoch = m_epoch;
    entry.bytes = int(entry.notification.toPayload().size());
    m_bytes += entry.bytes;
    m_entries.insert(before, std::move(entry));
}

void VolatileRing::add(const QString& source, const QVariantMap& data)
{
    insert(m_entries.end(), source, data);
    while (int(m_entries.size()) > mostMessages || m_bytes > mostBytes) {
        const Entry& oldest = m_entries.front();
        m_bytes -= oldest.bytes;
        if (!oldest.isAcknowledged) {
            ++m_dropped;
            ++m_untold[oldest.notification.source];
        }
        m_entries.pop_front();
        ++m_first;
    }
    m_next = qMax(m_next, m_first);
}

std::optional<VolatileRing::Sending> VolatileRing::next()
{
    if (waiting() <= 0)
        return std::nullopt;
    auto entry = m_entries.begin() + std::ptrdiff_t(m_next - m_first);
    const QString source = entry->notification.source;
    // Before a message without a number: one that is said again keeps its own, and they go up.
    if (const qint64 lost = entry->notification.seq == 0 ? m_untold.take(source) : 0) {
        insert(entry, source, {{QStringLiteral("event"), QStringLiteral("dropped")}, {QStringLiteral("count"), lost}});
        entry = m_entries.begin() + std::ptrdiff_t(m_next - m_first);
    }
    if (entry->notification.seq == 0)
        entry->notification.seq = ++m_seq[source];
    return Sending{m_next++, entry->notification};
}

void VolatileRing::acknowledge(qint64 place)
{
    if (place >= m_first && place < m_next)
        m_entries[size_t(place - m_first)].isAcknowledged = true;
}

void VolatileRing::rewind()
{
    while (m_next > m_first && !m_entries[size_t(m_next - m_first - 1)].isAcknowledged)
        --m_next;
}

QList<BridgeNotification> VolatileRing::sent(const QString& source, qint64 from, qint64 to) const
{
    QList<BridgeNotification> found;
    for (const Entry& entry : m_entries) {
        const BridgeNotification& notification = entry.notification;
        if (notification.source == source && notification.seq >= from && notification.seq <= to)
            found.append(notification);
    }
    return found;
}
