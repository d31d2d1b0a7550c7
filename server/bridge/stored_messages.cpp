#include <server/bridge/stored_messages_p.h>

void StoredMessages::begin()
{
    m_acknowledged = m_store->acknowledged(m_source);
    rewind();
}

std::optional<BridgeMessage> StoredMessages::next(int room)
{
    if (m_isRefused || !m_store->isOpen())
        return std::nullopt;
    if (m_ready.isEmpty()) {
        if (!m_store->hasMore(m_source, m_read))
            return std::nullopt;
        const QList<BridgeMessage> more = m_store->messages(m_source, m_read, prefetched);
        for (const BridgeMessage& message : more)
            m_ready.enqueue(message);
        if (more.isEmpty())
            return std::nullopt;
        m_read = more.last().seq;
    }
    const int copies = int(m_ready.head().topics.size());
    if (copies > room)
        return std::nullopt;
    m_sent.enqueue({m_ready.head().seq, copies});
    return m_ready.dequeue();
}

void StoredMessages::acknowledge(qint64 number)
{
    for (Sent& sent : m_sent) {
        if (sent.number == number)
            --sent.copies;
    }
    while (!m_sent.isEmpty() && m_sent.head().copies == 0)
        m_acknowledged = m_sent.dequeue().number;
}

void StoredMessages::rewind()
{
    m_ready.clear();
    m_sent.clear();
    m_read = m_acknowledged;
    m_isRefused = false;
}
