#include "lock_journal.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QRandomGenerator>

namespace {

constexpr int checksumSize = 8;
constexpr qint64 largestNumber = Q_INT64_C(1) << 52;
// Of a message, for what stands around the events.
constexpr int envelope = 200;

QByteArray checksum(const QByteArray& payload)
{
    return QCryptographicHash::hash(payload, QCryptographicHash::Sha256).toHex().left(checksumSize);
}

QByteArray record(const QByteArray& payload)
{
    return checksum(payload) + ' ' + payload + '\n';
}

// Null for a line that is no record.
QByteArray payloadOf(const QByteArray& line)
{
    const QByteArray payload = line.mid(checksumSize + 1);
    const QByteArray begin = checksum(payload) + ' ';
    return line.startsWith(begin) ? payload : QByteArray();
}

qint64 numberOf(const QByteArray& text)
{
    bool ok = false;
    const qint64 number = text.toLongLong(&ok);
    return ok && number >= 0 && number <= largestNumber ? number : -1;
}

} // namespace

CLockJournal::CLockJournal(int capacity)
    : m_capacity(qMax(1, capacity))
{
    quint32 words[4];
    QRandomGenerator::system()->fillRange(words);
    m_epoch = QByteArray(reinterpret_cast<const char*>(words), sizeof words).toHex();
}

std::optional<CLockJournal> CLockJournal::fromText(const QByteArray& text, int capacity, bool* isWhole)
{
    CLockJournal journal(capacity);
    const int firstEnd = text.indexOf('\n');
    int kept = 0;
    if (text.size() > largestText || firstEnd < 0 || !journal.readBeginning(payloadOf(text.left(firstEnd)), &kept))
        return std::nullopt;
    const qint64 next = journal.m_next;
    journal.m_next = journal.m_acknowledged + 1;
    bool whole = text.endsWith('\n');
    qint64 unreadable = 0;
    for (int from = firstEnd + 1, line = 0; from < text.size(); ++line) {
        if (line == kept)
            journal.m_next = next;
        const int end = text.indexOf('\n', from);
        if (end < 0)
            break; // torn while it was written
        const bool isKept = line < kept;
        const qint64 before = journal.m_next;
        const bool good = journal.read(payloadOf(text.mid(from, end - from)), isKept ? next - 1 : largestNumber);
        whole = whole && good;
        if (!good && isKept)
            ++journal.m_lost;
        else if (!good)
            ++unreadable;
        else if (journal.m_next != before)
            unreadable = 0; // what is missing before an event shows in its number
        from = end + 1;
    }
    // Numbers that may have been told to somebody are never given again.
    journal.m_next = qMax(journal.m_next, next) + unreadable;
    journal.m_lost += unreadable;
    if (isWhole)
        *isWhole = whole;
    return journal;
}

QByteArray CLockJournal::toText() const
{
    QByteArray text =
        record("journal 1 " + m_epoch + ' ' + QByteArray::number(m_next) + ' ' + QByteArray::number(m_acknowledged)
               + ' ' + QByteArray::number(m_lost) + ' ' + QByteArray::number(count()));
    for (const CLockEvent& event : m_events)
        text += record("event " + CLockMessage::eventToBytes(event));
    return text;
}

bool CLockJournal::readBeginning(const QByteArray& payload, int* kept)
{
    const QList<QByteArray> fields = payload.split(' ');
    if (fields.size() != 7 || fields.at(0) != "journal" || fields.at(1) != "1" || !CLockMessage::isEpoch(fields.at(2)))
        return false;
    m_epoch = fields.at(2);
    m_next = numberOf(fields.at(3));
    m_acknowledged = numberOf(fields.at(4));
    m_lost = numberOf(fields.at(5));
    *kept = int(qMin(numberOf(fields.at(6)), qint64(largestText)));
    // Each number that was given is acknowledged, kept or lost.
    return m_acknowledged >= 0 && m_acknowledged < m_next && m_lost >= 0 && *kept >= 0 && m_lost + *kept < m_next
           && m_acknowledged + *kept < m_next;
}

bool CLockJournal::read(const QByteArray& payload, qint64 largest)
{
    if (payload.startsWith("acknowledged ")) {
        const qint64 upTo = numberOf(payload.mid(13));
        if (upTo <= m_acknowledged || upTo >= m_next)
            return false;
        forget(upTo);
        return true;
    }
    if (!payload.startsWith("event "))
        return false;
    const std::optional<CLockEvent> event = CLockMessage::eventFromBytes(payload.mid(6));
    if (!event || event->number < m_next || event->number > largest)
        return false;
    // Gaps between those that were kept have been counted.
    if (largest == largestNumber)
        m_lost += event->number - m_next;
    take(*event);
    return true;
}

void CLockJournal::take(const CLockEvent& event)
{
    m_next = event.number + 1;
    m_events.push_back(event);
    if (int(m_events.size()) <= m_capacity)
        return;
    m_events.pop_front();
    ++m_lost;
}

void CLockJournal::forget(qint64 upTo)
{
    m_acknowledged = upTo;
    while (!m_events.empty() && m_events.front().number <= upTo)
        m_events.pop_front();
}

QByteArray CLockJournal::append(CLockEvent event)
{
    event.number = m_next;
    take(event);
    return record("event " + CLockMessage::eventToBytes(event));
}

QByteArray CLockJournal::acknowledge(const QByteArray& epoch, qint64 upTo)
{
    upTo = qMin(upTo, m_next - 1);
    if (epoch != m_epoch || upTo <= m_acknowledged)
        return QByteArray();
    forget(upTo);
    return record("acknowledged " + QByteArray::number(upTo));
}

CLockEvents CLockJournal::batch() const
{
    CLockEvents batch;
    batch.epoch = m_epoch;
    int size = envelope;
    for (const CLockEvent& event : m_events) {
        size += CLockMessage::eventToBytes(event).size() + 1;
        const bool isGap = !batch.events.isEmpty() && event.number != batch.events.constLast().number + 1;
        if (isGap || size > CLockMessage::longest || batch.events.size() == CLockMessage::mostEvents)
            break;
        batch.events.append(event);
    }
    return batch;
}
