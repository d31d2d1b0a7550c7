#pragma once

#include <foundation/core/export.h>
#include <foundation/network/held_sockets_p.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QElapsedTimer>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QQueue>
#include <QtCore/QString>
#include <QtCore/QTimer>
#include <QtNetwork/QHostAddress>

/// Lets the visitors of a TLS door in by turns. TLS costs a socket with its buffers and some milliseconds of the
/// processor; until a visitor has begun to talk, and until it is its turn, it costs a descriptor.
///
/// It is a visitor's turn at once, unless `ConnectionLimits::talkingVisitors` others are talking. Turns go round by the
/// networks that visitors come from, so that one that sends a crowd makes others wait for one turn, not for the crowd.
class KYR_FOUNDATION_TEST_EXPORT VisitorTurns : public QObject
{
    Q_OBJECT

public:
    explicit VisitorTurns(QObject* parent = nullptr);
    ~VisitorTurns() override;

    /// A connection has come. Owns the descriptor until its turn, or until it is dropped.
    void arrive(qintptr descriptor);

    /// From its turn on, for `ConnectionTiming::talking` at most: this one's TLS goes on.
    void begin(const QObject* visitor);
    /// TLS is up, or the visitor has gone: makes room for the next one, from the event loop.
    void end(const QObject* visitor);

    /// Those who have come and whose turn was not yet.
    int waiting() const { return m_arriving.size() + m_silent.size() + m_queued; }

Q_SIGNALS:
    /// The descriptor is the receiver's, which calls begin() unless the connection has gone already.
    void turn(qintptr descriptor, const QElapsedTimer& accepted);
    /// It was closed before its turn.
    void dropped(const QHostAddress& address, quint16 port, const QString& reason);

private:
    class Silent;

    void await(HeldSockets& place, qintptr descriptor, const QElapsedTimer& accepted, int milliseconds);
    void drop(qintptr descriptor, const QString& reason);
    void enqueue(qintptr descriptor, const QElapsedTimer& accepted);
    void admit();

    using Queue = QQueue<QPair<qintptr, QElapsedTimer>>;

    HeldSockets m_arriving; // have said nothing yet, are new
    HeldSockets m_silent;   // are no longer new
    // Have begun to talk and wait for their turn: by network, and the networks in the order of their turns.
    QHash<QHostAddress, Queue> m_queues;
    QQueue<QHostAddress> m_round;
    int m_queued = 0;
    QList<QPair<const QObject*, QDeadlineTimer>> m_talking;
    QTimer m_turn; // runs until the first of them has kept others waiting for long enough
};
