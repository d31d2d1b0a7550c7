#pragma once

#include <server/bridge/bridge_store_p.h>

#include <QtCore/QQueue>

/// The messages of one source on their way from the tables to the broker, in order. What the broker has not
/// acknowledged is sent again after rewind(). A message has a copy for each of its topics.
class StoredMessages
{
public:
    /// Messages that are read from the tables at once.
    static constexpr int prefetched = 100;

    /// The store outlives it.
    StoredMessages(BridgeStore* store, const QString& source)
        : m_store(store)
        , m_source(source)
    {
    }

    /// Begins where the broker is known to be by the tables, once the store is open.
    void begin();
    /// The next message, all copies of which are to be sent now; nothing when they are more than `room`, when the
    /// broker refuses messages of this source, or when there is none.
    std::optional<BridgeMessage> next(int room);
    /// The broker has a copy of this number.
    void acknowledge(qint64 number);
    /// It does not take one: that stays where it is, and what stands behind it, until rewind().
    void refuse() { m_isRefused = true; }
    void rewind();

    /// The number of the last message that the broker has, as have all before it.
    qint64 acknowledged() const { return m_acknowledged; }

private:
    struct Sent
    {
        qint64 number;
        int copies; ///< not acknowledged
    };

    BridgeStore* m_store;
    QString m_source;
    QQueue<BridgeMessage> m_ready; ///< read, and not sent
    qint64 m_read = 0;             ///< number of the last one read
    QQueue<Sent> m_sent;
    qint64 m_acknowledged = 0;
    bool m_isRefused = false;
};
