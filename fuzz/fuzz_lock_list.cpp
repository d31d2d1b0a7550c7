// A list that a lock was sent or finds in its memory, and a change to it.
#include "fuzz_support.h"

#include <foundation/access/lock_list.h>

FUZZ_TARGET(lock_list)
{
    const QByteArray text = input.word();
    const QByteArray delta = input.rest();
    QString error;
    const auto list = CLockList::fromText(text, &error);
    FUZZ_CHECK(list.has_value() == error.isEmpty());
    const auto applied = CLockList::applied(text, delta);
    if (list) {
        FUZZ_CHECK(list->entries().size() <= CLockList::mostEntries);
        for (const CLockEntry& entry : list->entries()) {
            FUZZ_CHECK(text.contains(QByteArray(entry.toLine() + '\n')));
            const CLockDecision decision = list->decide(entry.credential, 1795348800, CAccessTimeZone());
            FUZZ_CHECK(decision.isKnown);
            if (list->entries().size() > 100)
                break;
        }
        const auto stranger = CLockCredential::fromUidLabel(QStringLiteral("DE:AD:BE:EF"));
        if (!text.contains("DE:AD:BE:EF"))
            FUZZ_CHECK(!list->decide(stranger, 1795348800, CAccessTimeZone()).isAllowed());
        if (applied)
            FUZZ_CHECK(CLockList::applied(text, CLockList::delta(text, *applied)) == applied);
    }
}
