#pragma once

#include <server/bridge/stored_messages_p.h>
#include <server/bridge/volatile_ring_p.h>

#include <QtCore/QQueue>

#include <map>

/// What other servers have missed and asked for, answered one after the other, from the tables or the ring.
class BridgeReplays
{
public:
    using Sources = std::map<QString, StoredMessages>;

    /// All three outlive it.
    BridgeReplays(BridgeStore* store, const Sources* sources, const VolatileRing* ring)
        : m_store(store)
        , m_sources(sources)
        , m_ring(ring)
    {
    }

    /// Passed over when too many wait.
    void add(const BridgeReplay& request);
    void clear();

    struct Sending
    {
        BridgeMessage message;
        QString source;
        QString epoch;
    };
    /// The next message to be sent again; nothing when all that was asked for and is still kept was sent.
    std::optional<Sending> next();

private:
    bool begin(const BridgeReplay& request);

    BridgeStore* m_store;
    const Sources* m_sources;
    const VolatileRing* m_ring;
    QQueue<BridgeReplay> m_asked;
    BridgeReplay m_request; ///< the rest of the one that is answered
    QQueue<BridgeMessage> m_ready;
    bool m_isRunning = false;
};
