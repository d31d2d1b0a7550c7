// Messages of a server to a lock, one a line: whatever they say, its list is whole and its events are counted.
#include "fuzz_support.h"

#include <foundation/access/lock.h>

FUZZ_TARGET(lock_to_device)
{
    CLock lock(CLockMemory{QByteArray(), CLockJournal(4), {}, 0});
    qint64 now = 1795348800000;
    lock.linked(now);
    const QByteArray all = input.rest();
    int left = 100; // each may come with events
    for (int from = 0; from < all.size() && --left > 0;) {
        const int end = all.indexOf('\n', from);
        const QByteArray line = all.mid(from, end < 0 ? -1 : end - from);
        from += line.size() + 1;
        CLockEffects effects;
        if (lock.handle(line, ++now, &effects)) {
            const CLockFromDevice answer = CLockMessage::fromDevice(effects.messages.constFirst());
            FUZZ_CHECK(std::holds_alternative<CLockAnswer>(answer));
        }
        for (const QByteArray& message : effects.messages)
            FUZZ_CHECK(!std::holds_alternative<std::monostate>(CLockMessage::fromDevice(message)));
        FUZZ_CHECK(effects.openSeconds >= 0 && effects.openSeconds <= CLockOpen::mostSeconds);
        if (effects.isListChanged) {
            FUZZ_CHECK(CLockList::revisionOf(lock.memory().list) == lock.revision());
            FUZZ_CHECK(CLockList::fromText(lock.memory().list));
        }
        lock.tick(now);
    }
    const CLockState state = lock.state(now);
    FUZZ_CHECK(state.acknowledged < state.next && state.first <= state.next && state.lost < state.next);
}
