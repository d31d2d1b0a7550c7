// The files of a lock after a power cut, or after somebody has been at them: the lock starts with what can be read, and
// what it keeps then it finds again.
#include "fuzz_support.h"

#include <foundation/access/lock_store.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

namespace {

constexpr int capacity = 8;

void write(const QTemporaryDir& folder, const char* name, const QByteArray& bytes)
{
    QFile file(folder.filePath(QLatin1String(name)));
    FUZZ_CHECK(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

CLockMemory opened(const QTemporaryDir& folder)
{
    QString error;
    const auto memory = CLockStore(folder.path()).open(capacity, &error);
    FUZZ_CHECK(memory && error.isEmpty());
    return *memory;
}

bool isSame(const CLockMemory& a, const CLockMemory& b)
{
    constexpr qint64 notWorthKeeping = 500; // milliseconds
    return a.list == b.list && a.journal.toText() == b.journal.toText() && a.zone == b.zone
           && qAbs(a.clockOffset - b.clockOffset) <= notWorthKeeping;
}

} // namespace

FUZZ_TARGET(lock_store)
{
    const QTemporaryDir folder;
    const bool isListRight = input.flag();
    const QByteArray list = input.word();
    // Nobody guesses hashes.
    write(folder, "list", isListRight ? CLockList::revisionOf(list) + '\n' + list : list);
    write(folder, "settings", input.word());
    write(folder, "journal", input.rest());

    const CLockMemory memory = opened(folder);
    FUZZ_CHECK(memory.list.isEmpty() || (isListRight && memory.list == list));
    FUZZ_CHECK(memory.journal.count() <= capacity);
    FUZZ_CHECK(isSame(opened(folder), memory));
    for (const char* name : {"list", "settings", "journal"})
        QFile::remove(folder.filePath(QLatin1String(name) + QLatin1String(".damaged")));

    // It comes to life, is linked, told the time, and loses its power again.
    constexpr qint64 now = 1795348800000;
    CLock lock(memory);
    {
        CLockStore store(folder.path());
        QString error;
        FUZZ_CHECK(store.open(capacity, &error));
        FUZZ_CHECK(store.keep(lock, lock.start(now), &error));
        FUZZ_CHECK(store.keep(lock, lock.linked(now), &error));
        CLockEffects effects;
        const CLockTime time{now + 60000, memory.zone};
        FUZZ_CHECK(lock.handle(CLockMessage::toBytes(CLockCommand{1, time}), now, &effects));
        FUZZ_CHECK(store.keep(lock, effects, &error));
    }
    FUZZ_CHECK(isSame(opened(folder), lock.memory()));
    FUZZ_CHECK(QDir(folder.path()).entryList({QStringLiteral("*.damaged")}).isEmpty());
}
