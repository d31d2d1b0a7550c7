#include <foundation/network/connection_limits_p.h>
#include <foundation/network/descriptors_p.h>
#include <foundation/network/peer_network.h>
#include <foundation/network/visitor_turns_p.h>

#include <QtCore/QSocketNotifier>

#include <algorithm>
#include <utility>

namespace {

// Null when it has gone already.
QHostAddress addressOf(qintptr descriptor, quint16& port)
{
    SocketAddress address{};
    if (!peerAddress(descriptor, address))
        return QHostAddress();
    // Of both families the port stands behind the family, in the network's byte order.
    port = static_cast<quint16>(address.bytes[2] << 8 | address.bytes[3]);
    return QHostAddress(reinterpret_cast<const sockaddr*>(address.bytes));
}

QString tooMany()
{
    return QStringLiteral("too many connections without a request");
}

} // namespace

// A connection that has said nothing yet.
class VisitorTurns::Silent : public QObject
{
public:
    Silent(qintptr descriptor, const QElapsedTimer& since, QObject* parent)
        : QObject(parent)
        , notifier(descriptor, QSocketNotifier::Read)
        , accepted(since)
        , m_descriptor(descriptor)
    {
    }
    ~Silent() override
    {
        if (m_descriptor >= 0)
            closeDescriptor(take());
    }
    /// The descriptor is the caller's then.
    qintptr take()
    {
        notifier.setEnabled(false);
        return std::exchange(m_descriptor, -1);
    }

    QSocketNotifier notifier; // it talks, or has gone
    const QElapsedTimer accepted;

private:
    qintptr m_descriptor;
};

VisitorTurns::VisitorTurns(QObject* parent)
    : QObject(parent)
    , m_arriving(ConnectionLimits::arrivingVisitors, nullptr)
    , m_silent(ConnectionLimits::visitors, nullptr)
{
    m_turn.setSingleShot(true);
    m_turn.setTimerType(Qt::PreciseTimer);
    connect(&m_turn, &QTimer::timeout, this, &VisitorTurns::admit);
    connect(&m_silent, &HeldSockets::dropping, this, [this](QObject* visitor, bool crowded) {
        drop(static_cast<Silent*>(visitor)->take(), crowded ? tooMany() : QStringLiteral("no TLS in time"));
    });
    connect(&m_arriving, &HeldSockets::dropping, this, [this](QObject* object, bool crowded) {
        auto* const visitor = static_cast<Silent*>(object);
        if (crowded)
            drop(visitor->take(), tooMany());
        else
            await(m_silent, visitor->take(), visitor->accepted, ConnectionTiming::current().request);
    });
}

VisitorTurns::~VisitorTurns()
{
    for (const Queue& queue : qAsConst(m_queues)) {
        for (const auto& visitor : queue)
            closeDescriptor(visitor.first);
    }
}

void VisitorTurns::arrive(qintptr descriptor)
{
    QElapsedTimer accepted;
    accepted.start();
    await(m_arriving, descriptor, accepted, ConnectionTiming::current().arriving);
}

void VisitorTurns::await(HeldSockets& place, qintptr descriptor, const QElapsedTimer& accepted, int milliseconds)
{
    auto* const visitor = new Silent(descriptor, accepted, this);
    place.add(visitor, milliseconds);
    connect(&visitor->notifier, &QSocketNotifier::activated, this, [this, visitor, &place] {
        place.release(visitor);
        const qintptr taken = visitor->take();
        visitor->deleteLater();
        enqueue(taken, visitor->accepted);
    });
}

void VisitorTurns::drop(qintptr descriptor, const QString& reason)
{
    quint16 port = 0;
    const QHostAddress address = addressOf(descriptor, port);
    closeDescriptor(descriptor);
    if (!address.isNull())
        Q_EMIT dropped(address, port, reason);
}

void VisitorTurns::enqueue(qintptr descriptor, const QElapsedTimer& accepted)
{
    quint16 port = 0;
    const QHostAddress network = peerNetwork(addressOf(descriptor, port));
    if (network.isNull())
        return closeDescriptor(descriptor); // it has gone
    if (m_queued >= ConnectionLimits::waitingVisitors) {
        // The newest of the largest crowd goes: those who have waited keep their turns.
        const auto crowd = std::max_element(m_queues.begin(), m_queues.end(),
                                            [](const Queue& a, const Queue& b) { return a.size() < b.size(); });
        if (crowd.key() == network || crowd->size() == 1)
            return drop(descriptor, tooMany());
        --m_queued;
        drop(crowd->takeLast().first, tooMany());
    }
    Queue& queue = m_queues[network];
    if (queue.isEmpty())
        m_round.enqueue(network);
    queue.enqueue({descriptor, accepted});
    ++m_queued;
    admit();
}

void VisitorTurns::admit()
{
    while (!m_talking.isEmpty() && m_talking.constFirst().second.hasExpired())
        m_talking.removeFirst();
    while (m_queued > 0 && m_talking.size() < ConnectionLimits::talkingVisitors) {
        const QHostAddress network = m_round.dequeue();
        const auto queue = m_queues.find(network);
        const auto visitor = queue->dequeue();
        --m_queued;
        if (queue->isEmpty())
            m_queues.erase(queue);
        else
            m_round.enqueue(network);
        // Who has given up meanwhile calls again: time spent on TLS with nobody would make the others give up, too.
        if (hasLeft(visitor.first))
            drop(visitor.first, QStringLiteral("TLS failed: the other end has closed the connection"));
        else
            Q_EMIT turn(visitor.first, visitor.second);
    }
    if (m_queued > 0)
        m_turn.start(static_cast<int>(m_talking.constFirst().second.remainingTime()) + 1);
}

void VisitorTurns::begin(const QObject* visitor)
{
    m_talking.append({visitor, QDeadlineTimer(ConnectionTiming::current().talking, Qt::PreciseTimer)});
}

void VisitorTurns::end(const QObject* visitor)
{
    const auto entry = std::find_if(m_talking.begin(), m_talking.end(),
                                    [visitor](const auto& other) { return other.first == visitor; });
    if (entry == m_talking.end())
        return;
    m_talking.erase(entry);
    // One of many at once, maybe, and in the middle of something.
    if (m_queued > 0)
        m_turn.start(0);
}
