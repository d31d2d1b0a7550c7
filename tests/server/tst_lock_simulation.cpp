// A lock and its server against each other, in time that is only counted: messages are lost, doubled, late and out of
// order, either side is killed at any step, the lock's clock drifts. One seed is one day of a door.
//
//     tst_lock_simulation              some days, always the same
//     tst_lock_simulation SEED [N]     N days, from that seed on (1)
//     tst_lock_simulation random       days from a random seed on, for a minute
#include <foundation/access/lock.h>
#include <server/devices/event_intake.h>
#include <server/devices/provisioner.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSet>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr qint64 dayMs = 86400000;
constexpr qint64 beginMs = 1795305600000; // 2026-11-22T00:00:00Z
constexpr int ringCapacity = 20;
constexpr int longestDelayMs = 3000;
// A list of some parts.
constexpr int longList = 2000;

thread_local quint32 currentSeed = 0;

void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "seed %u: %s\n", currentSeed, what);
    std::_Exit(1); // other days are still going on
}

class Day
{
public:
    explicit Day(quint32 seed)
        : m_random(seed)
        , m_drift(m_random.bounded(-300, 301)) // parts per million
    {
        changeList();
        rewriteJournal(CLockJournal(ringCapacity).toText());
        startServer();
        startLock();
    }

    void run()
    {
        while (m_now < beginMs + dayMs)
            step(1 + m_random.bounded(1 << m_random.bounded(22)));
        beQuiet();
    }

private:
    struct Letter
    {
        qint64 at;
        QByteArray bytes;
    };

    bool chance(int percent) { return !m_isQuiet && m_random.bounded(100) < percent; }
    qint64 hardwareNow() const { return m_now + (m_now - beginMs) * m_drift / 1000000 + m_hardwareOffset; }

    // --- The wire ---

    void post(QVector<Letter>& way, const QByteArray& bytes)
    {
        const int copies = chance(5) ? 0 : chance(5) ? 2 : 1;
        for (int i = 0; i < copies; ++i)
            way.append({m_now + (chance(10) ? m_random.bounded(longestDelayMs) : 0), bytes});
    }

    static QByteArray take(QVector<Letter>& way, int index)
    {
        const QByteArray bytes = way.at(index).bytes;
        way.removeAt(index);
        return bytes;
    }

    int due(const QVector<Letter>& way) const
    {
        for (int i = 0; i < way.size(); ++i) {
            if (way.at(i).at <= m_now)
                return i;
        }
        return -1;
    }

    void breakLink()
    {
        m_toLock.clear();
        m_toServer.clear();
        if (!m_isLinked)
            return;
        m_isLinked = false;
        m_provisioner->unlinked();
        carryOut(m_lock->unlinked(hardwareNow()));
    }

    void link()
    {
        m_isLinked = true;
        m_provisioner->linked();
        carryOut(m_lock->linked(hardwareNow()));
        if (m_isLinked)
            command(CLockTime{m_now, CDeviceTimeZoneSettings(4)});
    }

    // --- The lock ---

    void startLock()
    {
        const auto journal = CLockJournal::fromText(m_journalText, ringCapacity);
        require(journal.has_value(), "the journal cannot be read");
        m_said.clear();
        m_lock = std::make_unique<CLock>(CLockMemory{m_list, *journal, m_zone, m_clockOffset});
        require(m_lock->memory().list == m_list, "the list cannot be read");
        rewriteJournal(journal->toText());
        carryOut(m_lock->start(hardwareNow()));
    }

    void killLock()
    {
        breakWithoutWord();
        startLock();
    }

    // The peer is gone: this side learns of it, the other one is no more.
    void breakWithoutWord()
    {
        m_toLock.clear();
        m_toServer.clear();
        m_isLinked = false;
        m_provisioner->unlinked();
    }

    // What is kept is all there, or the lock was killed before or within it.
    void carryOut(const CLockEffects& effects)
    {
        if (chance(1)) {
            m_journalText += effects.records.left(m_random.bounded(effects.records.size() + 1));
            noteTruth();
            return killLock();
        }
        m_journalText += effects.records;
        if (effects.isListChanged)
            m_list = m_lock->memory().list;
        if (effects.isSettingsChanged) {
            m_zone = m_lock->memory().zone;
            m_clockOffset = m_lock->memory().clockOffset;
        }
        noteTruth();
        if (chance(5))
            rewriteJournal(m_lock->memory().journal.toText());
        for (const CLockOutcome& outcome : effects.outcomes) {
            if (outcome.isAllowed && outcome.way == CLockWay::Online)
                require(m_said.contains(outcome.presentation), "opened without the server's word");
        }
        if (chance(1))
            return killLock();
        if (m_isLinked) {
            for (const QByteArray& message : effects.messages)
                post(m_toServer, message);
        }
    }

    void rewriteJournal(const QByteArray& text)
    {
        m_journalText = text;
        m_notedBytes = text.size();
    }

    // Every event that is kept, by its number; a number is never given to another one.
    void noteTruth()
    {
        // What stands behind the last line is torn.
        for (int end = 0; (end = m_journalText.indexOf('\n', m_notedBytes)) >= 0; m_notedBytes = end + 1) {
            constexpr int checksum = 8;
            const QByteArray record = m_journalText.mid(m_notedBytes + checksum, end - m_notedBytes - checksum);
            const char word[] = " event ";
            if (!record.startsWith(word))
                continue;
            const auto event = CLockMessage::eventFromBytes(record.mid(int(sizeof word) - 1));
            require(event.has_value(), "a record cannot be read");
            const auto known = m_truth.constFind(event->number);
            require(known == m_truth.constEnd() || *known == *event, "a number was given twice");
            m_truth.insert(event->number, *event);
        }
    }

    // --- The server ---

    void startServer()
    {
        m_provisioner = std::make_unique<CProvisioner>(m_random.bounded(1000000));
        m_deltas.clear();
        want();
    }

    void killServer()
    {
        const bool wasLinked = m_isLinked;
        m_toLock.clear();
        m_toServer.clear();
        m_isLinked = false;
        startServer();
        if (wasLinked)
            carryOut(m_lock->unlinked(hardwareNow()));
    }

    void want()
    {
        if (m_provisioner)
            send(m_provisioner->want({CLockList::revisionOf(m_wanted), m_wanted, m_deltas}, m_now));
    }

    void changeList()
    {
        CLockListBuilder builder;
        builder.setAsksOnline(m_random.bounded(2) == 1);
        CLockEntry entry;
        entry.schedule = builder.schedule(CTimeProfile::always());
        // Now and then it takes several parts.
        const int count = m_random.bounded(200) == 0 ? longList : m_random.bounded(20);
        for (int i = 0; i < count; ++i) {
            entry.credential = CLockCredential::fromCode(QString::number(m_random.bounded(count * 2)));
            entry.user = 1 + m_random.bounded(9);
            entry.medium = entry.user;
            builder.append(entry);
        }
        const QByteArray before = m_wanted;
        m_wanted = builder.text();
        m_everWanted.insert(m_wanted);
        for (const QByteArray& older : {before, m_list}) {
            if (!older.isEmpty() && older != m_wanted)
                m_deltas.insert(CLockList::revisionOf(older), CLockList::delta(older, m_wanted));
        }
        // Others lead to a list that is not wanted any more.
        for (const QByteArray& revision : m_deltas.keys()) {
            if (revision != CLockList::revisionOf(before) && revision != CLockList::revisionOf(m_list))
                m_deltas.remove(revision);
        }
        m_deltas.remove(CLockList::revisionOf(m_wanted));
        want();
    }

    void send(const CProvisioner::Commands& commands)
    {
        for (const CLockCommand& command : commands) {
            if (m_isLinked)
                post(m_toLock, CLockMessage::toBytes(command));
        }
    }

    void command(const CLockToDevice& body) { post(m_toLock, CLockMessage::toBytes(CLockCommand{0, body})); }

    void serverReads(const QByteArray& bytes)
    {
        const CLockFromDevice message = CLockMessage::fromDevice(bytes);
        require(!std::holds_alternative<std::monostate>(message), "the server cannot read what the lock says");
        if (const auto* state = std::get_if<CLockState>(&message)) {
            if (const auto reminder = CEventIntake::reminder(*state, m_stored[state->epoch]))
                command(*reminder);
            send(m_provisioner->take(*state, m_now));
        } else if (const auto* answer = std::get_if<CLockAnswer>(&message))
            send(m_provisioner->take(*answer, m_now));
        else if (const auto* ask = std::get_if<CLockAsk>(&message))
            decide(*ask);
        else if (const auto* events = std::get_if<CLockEvents>(&message))
            store(*events);
    }

    void decide(const CLockAsk& ask)
    {
        const bool allowed = m_random.bounded(2) == 1;
        if (allowed)
            m_said.insert(ask.number);
        command(CLockVerdict{ask.number, allowed ? CAccessReason::None : CAccessReason::Unauthorized, 7, 7});
    }

    // In one transaction, which the database refuses now and then, or which is the last thing that the server did.
    void store(const CLockEvents& events)
    {
        if (chance(2))
            return;
        qint64& stored = m_stored[events.epoch];
        const CEventIntake intake = CEventIntake::of(events, stored);
        for (const CLockEvent& event : intake.news) {
            require(m_truth.contains(event.number), "an event was told that was not kept");
            require(m_truth.value(event.number) == event, "another event was told than was kept");
            require(!m_trail.contains(event.number), "an event was stored twice");
            m_trail.insert(event.number);
        }
        stored = intake.upTo;
        m_lost += intake.lost;
        if (chance(1))
            return killServer();
        command(CLockAcknowledge{events.epoch, stored});
    }

    // --- A day ---

    void step(int milliseconds)
    {
        // What is due on the way is not left lying.
        const qint64 until = m_now + milliseconds;
        while (m_now < until) {
            deliver();
            qint64 next = until;
            for (const QVector<Letter>* way : {&m_toLock, &m_toServer}) {
                for (const Letter& letter : *way)
                    next = qMin(next, letter.at);
            }
            const qint64 untilTick = m_lock->nextTick() == CLock::never ? dayMs : m_lock->nextTick() - hardwareNow();
            m_now = qMax(m_now + 1, qMin(next, m_now + qMax(qint64(1), untilTick)));
            if (m_lock->nextTick() <= hardwareNow())
                carryOut(m_lock->tick(hardwareNow()));
            check();
        }
        send(m_provisioner->tick(m_now));
        if (!m_isQuiet)
            happen();
        else if (!m_isLinked)
            link();
        deliver();
        check();
    }

    void deliver()
    {
        for (int i = 0; i < 200; ++i) {
            const int toLock = due(m_toLock);
            const int toServer = due(m_toServer);
            if (toLock < 0 && toServer < 0)
                return;
            if (toLock >= 0 && (toServer < 0 || m_random.bounded(2) == 0)) {
                CLockEffects effects;
                require(m_lock->handle(take(m_toLock, toLock), hardwareNow(), &effects), "the lock cannot read");
                carryOut(effects);
            } else {
                serverReads(take(m_toServer, toServer));
            }
            check();
        }
    }

    void happen()
    {
        switch (m_random.bounded(12)) {
        case 0:
            return changeList();
        case 1:
            return breakLink();
        case 2:
        case 3:
            if (!m_isLinked)
                link();
            return;
        case 4:
            return m_random.bounded(4) == 0 ? killLock() : carryOut(m_lock->pressButton(hardwareNow()));
        case 5:
            return m_random.bounded(4) == 0 ? killServer() : carryOut(m_lock->doorForced(hardwareNow()));
        case 6:
            if (m_random.bounded(20) == 0)
                m_hardwareOffset += m_random.bounded(100000);
            return;
        default:
            carryOut(m_lock->present(CLockCredential::fromCode(QString::number(m_random.bounded(30))), hardwareNow()));
        }
    }

    void check()
    {
        const QByteArray& list = m_lock->memory().list;
        require(list == m_list, "the lock decides by another list than it keeps");
        if (list.constData() != m_checkedList.constData()) {
            require(m_everWanted.contains(list), "the lock has a list that was never wanted");
            require(m_lock->revision() == CLockList::revisionOf(list), "a list's revision is false");
            m_checkedList = list;
        }
        // Below the ring's first are those that are stored, and those that it has counted as lost.
        const CLockJournal& journal = m_lock->memory().journal;
        for (; m_checkedUpTo < qMin(journal.acknowledged(), journal.first() - 1); ++m_checkedUpTo)
            m_unstored += m_trail.contains(m_checkedUpTo + 1) ? 0 : 1;
        require(m_unstored <= journal.lost(), "an acknowledged event was not stored");
    }

    void beQuiet()
    {
        m_isQuiet = true;
        breakLink();
        m_toLock.clear();
        m_toServer.clear();
        for (int i = 0; i < 120; ++i)
            step(1000);
        const CLockJournal& journal = m_lock->memory().journal;
        require(m_list == m_wanted, "the lock did not get its list in the end");
        require(m_provisioner->isUpToDate(), "the server does not know that the lock has its list");
        require(journal.count() == 0, "events were not reported in the end");
        require(m_trail.size() + m_lost == journal.next() - 1, "events are missing");
        require(m_lost <= journal.lost(), "the server has counted more events as lost than the lock");
        require(qAbs(m_lock->clock(hardwareNow()) - m_now) < 1000, "the lock's clock is wrong in the end");
    }

    QRandomGenerator m_random;
    int m_drift;
    qint64 m_now = beginMs;
    qint64 m_hardwareOffset = 0;
    bool m_isLinked = false;
    bool m_isQuiet = false;
    QVector<Letter> m_toLock;
    QVector<Letter> m_toServer;

    // The lock, and what it has kept.
    std::unique_ptr<CLock> m_lock;
    QByteArray m_journalText;
    int m_notedBytes = 0;
    QByteArray m_list;
    CDeviceTimeZoneSettings m_zone;
    qint64 m_clockOffset = 0;

    // The server, and what it has kept.
    std::unique_ptr<CProvisioner> m_provisioner;
    QHash<QByteArray, QByteArray> m_deltas;
    QByteArray m_wanted;
    QHash<QByteArray, qint64> m_stored; // the last number of each epoch
    QSet<qint64> m_trail;
    qint64 m_lost = 0;

    // What is true.
    QSet<QByteArray> m_everWanted;
    QMap<qint64, CLockEvent> m_truth;
    QSet<qint64> m_said;
    QByteArray m_checkedList;
    qint64 m_checkedUpTo = 0;
    qint64 m_unstored = 0;
};

} // namespace

int main(int argc, char** argv)
{
    const bool isRandom = argc > 1 && QByteArray(argv[1]) == "random";
    const bool isReplay = argc > 1 && !isRandom;
    const quint32 first = isRandom   ? QRandomGenerator::global()->generate() % 1000000000
                          : isReplay ? quint32(std::strtoul(argv[1], nullptr, 10))
                                     : 1;
    constexpr int shortForm = 60;
    const int count = isRandom ? 0 : argc > 2 ? std::atoi(argv[2]) : isReplay ? 1 : shortForm;
    constexpr qint64 minute = 60000;
    QElapsedTimer clock;
    clock.start();
    std::atomic<int> begun{0};
    std::atomic<int> days{0};
    const auto liveDays = [&] {
        for (int day = begun++; count > 0 ? day < count : clock.elapsed() < minute; day = begun++, ++days) {
            currentSeed = first + quint32(day);
            Day(currentSeed).run();
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < std::thread::hardware_concurrency() && !isReplay; ++i)
        threads.emplace_back(liveDays);
    liveDays();
    for (std::thread& thread : threads)
        thread.join();
    std::printf("%d days of a door from seed %u in %.1f s: %.0f days a minute\n", days.load(), first,
                double(clock.elapsed()) / 1000, days * double(minute) / double(qMax(qint64(1), clock.elapsed())));
    return 0;
}
