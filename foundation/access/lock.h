#pragma once

#include <foundation/access/lock_journal.h>
#include <foundation/access/lock_list.h>

#include <QtCore/QHash>

/// What a lock keeps over a power cut.
struct CLockMemory
{
    /// The text of its list; empty when it never got one.
    QByteArray list;
    CLockJournal journal;
    /// The rules of local time at the door, and how far the lock's time is ahead of its hardware's, in milliseconds.
    CDeviceTimeZoneSettings zone;
    qint64 clockOffset = 0;
};

/// What came of somebody at the door.
struct CLockOutcome
{
    /// As CLockEffects::presentation gave it.
    qint64 presentation = 0;
    bool isAllowed = false;
    CAccessReason reason = CAccessReason::None;
    CItemId user;
    CItemId medium;
    CLockWay way = CLockWay::Offline;
    /// The number of its event; 0 for a medium that the server was waiting for: that was not decided on.
    qint64 event = 0;
};

/// What is to be done, in this order: keep, then open, then tell. When keeping fails nothing may be told.
struct CLockEffects
{
    /// To be appended to the journal.
    QByteArray records;
    /// CLock::memory() has another list, another zone or clock offset.
    bool isListChanged = false;
    bool isSettingsChanged = false;
    /// Open for so many seconds; 0: leave the door as it is.
    int openSeconds = 0;
    /// To the server, in this order.
    QVector<QByteArray> messages;
    QVector<CLockOutcome> outcomes;
    /// Names what was just begun in an outcome, here or later.
    qint64 presentation = 0;
};

/// The lock of one door: decides by its list, asks the server when the list says so, notes what happens and reports it.
///
/// A state machine: what happens goes in, with the time, and what is to be done comes out. It has no clock, no files
/// and no connection, so it runs in a device, in a simulator and in a test alike.
///
///     CLockEffects effects = lock.present(credential, now);
///     store.save(lock, effects) ...; door.open(effects.openSeconds); link.send(effects.messages);
///
/// `now` is the hardware's time in milliseconds since 1970 UTC. It never runs backwards; what the server says about the
/// time makes an offset to it.
class KYR_FOUNDATION_EXPORT CLock
{
public:
    /// So long it waits for an acknowledgement before it sends the events again, in milliseconds.
    static constexpr int patienceForStoring = 10000;
    /// More people than this at once are not asked about.
    static constexpr int mostAsks = 16;
    static constexpr qint64 never = CAccessTimeZone::never;

    /// A list in the memory that cannot be read is none.
    explicit CLock(const CLockMemory& memory = CLockMemory());

    /// Once, when it comes to life.
    CLockEffects start(qint64 now);
    /// Linked to a server that may command it: one whose certificate was verified.
    CLockEffects linked(qint64 now);
    CLockEffects unlinked(qint64 now);
    bool isLinked() const { return m_isLinked; }

    /// A message of the server. False for what is none of the commands of CLockMessage.
    bool handle(const QByteArray& message, qint64 now, CLockEffects* effects);
    /// What waits has waited long enough at nextTick().
    CLockEffects tick(qint64 now);
    qint64 nextTick() const;

    CLockEffects present(const CLockCredential& credential, qint64 now);
    CLockEffects pressButton(qint64 now);
    /// The door was opened by force, or stood open for too long.
    CLockEffects doorForced(qint64 now);
    CLockEffects doorHeld(qint64 now);

    /// The lock's own time, in milliseconds.
    qint64 clock(qint64 now) const { return now + m_memory.clockOffset; }
    /// Somebody sets it by hand; more than CLockEvent::clockTolerance is an event.
    CLockEffects setClock(qint64 utc, qint64 now);

    const CLockMemory& memory() const { return m_memory; }
    /// Of the list; empty when there is none.
    const QByteArray& revision() const { return m_revision; }
    CLockState state(qint64 now) const;

private:
    struct Transfer
    {
        CLockBegin begin;
        QVector<QByteArray> parts;
        int size;
    };
    struct Ask
    {
        CLockCredential credential;
        CLockDecision decision;
        qint64 until = 0;
    };

    QString take(const CLockTime& time, qint64 now, CLockEffects* effects);
    QString take(const CLockBegin& begin, qint64 now, CLockEffects* effects);
    QString take(const CLockPart& part, qint64 now, CLockEffects* effects);
    QString take(const CLockCommit& commit, qint64 now, CLockEffects* effects);
    QString take(const CLockAcknowledge& acknowledge, qint64 now, CLockEffects* effects);
    QString take(const CLockVerdict& verdict, qint64 now, CLockEffects* effects);
    QString take(const CLockOpen& open, qint64 now, CLockEffects* effects);
    QString take(const CLockWait& wait, qint64 now, CLockEffects* effects);
    QString take(const CLockSimulate& simulate, qint64 now, CLockEffects* effects);
    QString take(std::monostate, qint64 now, CLockEffects* effects);

    void begin(const CLockCredential& credential, qint64 now, CLockEffects* effects);
    void decide(qint64 presentation, const CLockCredential& credential, const CLockDecision& decision, CLockWay way,
                const QString& comment, qint64 now, CLockEffects* effects);
    CLockEffects doorSensed(CLockEventKind kind, qint64 now);
    void giveUpAsking(qint64 presentation, qint64 now, CLockEffects* effects);
    void note(CLockEvent event, qint64 now, CLockEffects* effects);
    void moveClock(qint64 by, qint64 now, CLockEffects* effects);
    void tell(const CLockFromDevice& message, CLockEffects* effects) const;
    void tellEvents(qint64 now, CLockEffects* effects);

    CLockMemory m_memory;
    CLockList m_list;
    QByteArray m_revision;
    CAccessTimeZone m_zone;
    bool m_isLinked = false;
    std::optional<Transfer> m_transfer;
    QHash<qint64, Ask> m_asks;
    qint64 m_presentations = 0;
    qint64 m_waitingUntil = 0; // for a medium
    qint64 m_toldUpTo = 0;     // of the events, 0 when all that was told is acknowledged
    qint64 m_tellAgainAt = never;
    qint64 m_storedOffset = 0;
};
