#pragma once

#include <foundation/access/lock_messages.h>

#include <deque>

/// The events of a lock, numbered, until the server has stored them: a ring that forgets the oldest when it is full and
/// counts what was never acknowledged.
///
/// It is kept as a text to which records are appended, each with a checksum; what a record changes happens only by
/// reading it back, live and after a power cut alike. A record that was torn was never told to anybody, so its number
/// is free again; a whole record that cannot be read any more counts as a lost event.
class KYR_FOUNDATION_EXPORT CLockJournal
{
public:
    static constexpr int defaultCapacity = 10000;
    /// In bytes; longer texts are not read.
    static constexpr int largestText = 64 * 1024 * 1024;

    /// An empty one with a new, random epoch.
    explicit CLockJournal(int capacity = defaultCapacity);

    /// From what toText() and the records behind it gave. Nothing when the beginning cannot be read; *isWhole (if
    /// given) says whether all of it could.
    static std::optional<CLockJournal> fromText(const QByteArray& text, int capacity, bool* isWhole = nullptr);
    QByteArray toText() const;

    /// Gives the event its number and keeps it; the record is to be stored before anybody hears of the event.
    QByteArray append(CLockEvent event);
    /// Forgets what the server has; empty when that is nothing new, or another epoch's.
    QByteArray acknowledge(const QByteArray& epoch, qint64 upTo);

    /// The oldest events, up to a gap and to what fits into one message.
    CLockEvents batch() const;

    const QByteArray& epoch() const { return m_epoch; }
    qint64 first() const { return m_events.empty() ? m_next : m_events.front().number; }
    qint64 next() const { return m_next; }
    qint64 acknowledged() const { return m_acknowledged; }
    qint64 lost() const { return m_lost; }
    int count() const { return int(m_events.size()); }

private:
    // How many events follow that were kept when the text was written.
    bool readBeginning(const QByteArray& payload, int* kept);
    bool read(const QByteArray& payload, qint64 largest);
    void take(const CLockEvent& event);
    void forget(qint64 upTo);

    int m_capacity;
    QByteArray m_epoch;
    std::deque<CLockEvent> m_events;
    qint64 m_next = 1;
    qint64 m_acknowledged = 0;
    qint64 m_lost = 0;
};
