#pragma once

#include <server/database/export.h>

#include <foundation/access/lock_messages.h>

#include <QtCore/QHash>

/// A door's list as it is sent.
struct CProvisionedList
{
    QByteArray revision;
    /// All of it.
    QByteArray whole;
    /// What makes it of older ones, by their revisions; used where it is the shorter way.
    QHash<QByteArray, QByteArray> deltas;
};

/// Brings one lock's list up to date: what it says goes in, what is to be sent to it comes out. It has no link, no
/// clock and no timer; times are milliseconds that only grow.
///
///     send(provisioner.want(list, now));                         // whenever the list has changed
///     provisioner.linked(); ... provisioner.unlinked();
///     send(provisioner.take(state, now));                        // what came from the lock
///     send(provisioner.tick(now));                               // now and then
///
/// A lock that has the revision gets nothing. Otherwise what changed is sent, or, where its revision is not known any
/// more or it refuses the change, the whole list; few parts are under way at a time. What broke off is begun anew.
/// Answers to anything else are passed over, so that messages may come twice or late.
class KYR_SERVER_EXPORT CProvisioner
{
public:
    using Commands = QVector<CLockCommand>;

    /// Commands that are sent and not answered yet, at the most.
    static constexpr int window = 4;
    /// Without an answer for so many milliseconds a transfer is begun anew.
    static constexpr qint64 patience = 10000;
    /// A lock that has refused the whole list is tried again after so many milliseconds.
    static constexpr qint64 retryPause = 30000;

    /// Its commands have numbers above `lastNumber`.
    explicit CProvisioner(qint64 lastNumber)
        : m_lastNumber(lastNumber)
    {
    }

    /// The list that the lock is to have from now on.
    Commands want(const CProvisionedList& list, qint64 now);
    /// Nothing is sent before the lock has told its state.
    void linked();
    void unlinked();
    /// What the lock has said. Answers to commands of others are passed over.
    Commands take(const CLockState& state, qint64 now);
    Commands take(const CLockAnswer& answer, qint64 now);
    /// Looks whether a transfer has stood still, or is to be tried again.
    Commands tick(qint64 now);

    bool isUpToDate() const { return m_isKnown && !m_list.revision.isEmpty() && m_revision == m_list.revision; }
    /// What the lock has by its own words; empty before it said so.
    QByteArray revision() const { return m_revision; }
    /// Why it refused the list last; empty when it did not.
    QString fault() const { return m_fault; }
    /// Whether a list is under way.
    bool isSending() const { return !m_queue.isEmpty(); }

private:
    Commands begin(bool isDeltaAllowed, qint64 now);
    Commands proceed(qint64 now);
    void stop();

    CProvisionedList m_list;
    QByteArray m_revision;
    QString m_fault;
    // begin, parts, commit; m_next is the first one that was not sent.
    QVector<CLockToDevice> m_queue;
    int m_next = 0;
    int m_answered = 0;
    qint64 m_firstNumber = 0; // of m_queue
    qint64 m_lastNumber;
    qint64 m_lastProgress = 0;
    qint64 m_retryAt = 0;
    bool m_isDelta = false;
    bool m_isLinked = false;
    bool m_isKnown = false; // the lock has told its revision since it is linked
};
