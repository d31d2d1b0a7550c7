#pragma once

#include <server/bridge/bridge_message_p.h>

#include <QtCore/QMap>

#include <deque>

/// News that is worth telling now and is stored nowhere: the last so many, whether the broker has them or not.
///
/// A message gets its number when it is first sent. One that has to make room before the broker has it is counted, and
/// the next message of its source tells how many there were.
class KYR_SERVER_TEST_EXPORT VolatileRing
{
public:
    static constexpr int mostMessages = 1000;
    static constexpr int mostBytes = 1024 * 1024;

    VolatileRing();

    void add(const QString& source, const QVariantMap& data);
    /// The next one to be sent, and its place by which it is acknowledged; nothing when all were sent.
    struct Sending
    {
        qint64 place = 0;
        BridgeNotification notification;
    };
    std::optional<Sending> next();
    void acknowledge(qint64 place);
    /// Those that were sent and not acknowledged are sent again, under their numbers.
    void rewind();
    /// Messages that were sent before.
    QList<BridgeNotification> sent(const QString& source, qint64 from, qint64 to) const;

    QString epoch() const { return m_epoch; }
    /// Messages that nobody will hear, since the beginning.
    qint64 dropped() const { return m_dropped; }
    qint64 waiting() const { return m_first + qint64(m_entries.size()) - m_next; }

private:
    struct Entry
    {
        BridgeNotification notification{};
        int bytes = 0;
        bool isAcknowledged = false;
    };
    void insert(const std::deque<Entry>::const_iterator& before, const QString& source, const QVariantMap& data);

    std::deque<Entry> m_entries;
    qint64 m_first = 0; ///< place of the first entry
    qint64 m_next = 0;  ///< place of the first that was not sent
    int m_bytes = 0;
    QString m_epoch;
    QMap<QString, qint64> m_seq;
    QMap<QString, qint64> m_untold; ///< dropped and not told yet
    qint64 m_dropped = 0;
};
