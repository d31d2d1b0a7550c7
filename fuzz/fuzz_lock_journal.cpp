// The events in a lock's memory after a power cut, or after somebody has been at it.
#include "fuzz_support.h"

#include <foundation/access/lock_journal.h>

#include <QtCore/QCryptographicHash>

namespace {

// Nobody guesses checksums: lines get right ones, but for those that begin with "!".
QByteArray withChecksums(const QByteArray& text)
{
    QByteArray all;
    // Piece by piece: adding a sum of texts makes room for just that each time.
    for (const QByteArray& line : text.split('\n')) {
        if (!line.startsWith('!')) {
            all.append(QCryptographicHash::hash(line, QCryptographicHash::Sha256).toHex().left(8));
            all.append(' ');
        }
        all.append(line);
        all.append('\n');
    }
    return all;
}

void check(const QByteArray& text)
{
    constexpr int capacity = 8;
    bool isWhole = false;
    std::optional<CLockJournal> journal = CLockJournal::fromText(text, capacity, &isWhole);
    if (!journal)
        return;
    FUZZ_CHECK(CLockMessage::isEpoch(journal->epoch()));
    FUZZ_CHECK(journal->count() <= capacity && journal->lost() >= 0);
    FUZZ_CHECK(journal->acknowledged() < journal->next() && journal->first() <= journal->next());
    FUZZ_CHECK(journal->batch().events.size() <= journal->count());
    // What is rewritten is the same, and it goes on with the next number.
    const QByteArray rewritten = journal->toText();
    FUZZ_CHECK(CLockJournal::fromText(rewritten, capacity, &isWhole)->toText() == rewritten && isWhole);
    const qint64 next = journal->next();
    const QByteArray record = journal->append(CLockEvent());
    FUZZ_CHECK(CLockJournal::fromText(rewritten + record, capacity)->toText() == journal->toText());
    FUZZ_CHECK(journal->next() == next + 1);
}

} // namespace

FUZZ_TARGET(lock_journal)
{
    const QByteArray text = input.rest();
    check(text);
    check(withChecksums(text));
}
