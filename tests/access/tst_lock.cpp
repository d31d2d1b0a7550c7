#include <foundation/access/lock.h>
#include <foundation/access/lock_store.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

constexpr qint64 start = 1795348800000; // 2026-11-22T12:00:00Z, a Sunday

CLockCredential uid(const char* label)
{
    return CLockCredential::fromUidLabel(QString::fromLatin1(label));
}

CLockCredential code(const char* digits)
{
    return CLockCredential::fromCode(QString::fromLatin1(digits));
}

/// Opens to the card 04:A1:22:3B always, to further ones `more`.
QByteArray listText(int more = 0, bool asksOnline = false)
{
    CLockListBuilder builder;
    builder.setAsksOnline(asksOnline);
    CLockEntry entry;
    entry.schedule = builder.schedule(CTimeProfile::always());
    entry.credential = uid("04:A1:22:3B");
    entry.user = 33;
    entry.medium = 100203;
    builder.append(entry);
    for (int i = 0; i < more; ++i) {
        entry.credential = CLockCredential::fromCode(QString::number(100000 + i));
        builder.append(entry);
    }
    return builder.text();
}

template<typename Message>
QVector<Message> only(const CLockEffects& effects)
{
    QVector<Message> found;
    for (const QByteArray& bytes : effects.messages) {
        const CLockFromDevice message = CLockMessage::fromDevice(bytes);
        if (const auto* wanted = std::get_if<Message>(&message))
            found.append(*wanted);
    }
    return found;
}

CLockEffects say(CLock& lock, const CLockToDevice& body, qint64 now = start)
{
    CLockEffects effects;
    if (!lock.handle(CLockMessage::toBytes(CLockCommand{7, body}), now, &effects))
        qFatal("not a command");
    return effects;
}

QString errorOf(const CLockEffects& effects)
{
    return only<CLockAnswer>(effects).value(0, {0, QStringLiteral("no answer")}).error;
}

/// The error of the last step.
QString send(CLock& lock, const QByteArray& text, const QByteArray& base = QByteArray())
{
    const QByteArray revision = CLockList::revisionOf(text);
    const QByteArray bytes = base.isEmpty() ? text : CLockList::delta(base, text);
    const QVector<QByteArray> parts = CLockMessage::cut(bytes);
    say(lock, CLockBegin{revision, base.isEmpty() ? base : CLockList::revisionOf(base), int(parts.size()),
                         int(bytes.size())});
    for (int i = 0; i < parts.size(); ++i)
        say(lock, CLockPart{revision, i, parts.at(i)});
    return errorOf(say(lock, CLockCommit{revision}));
}

CLock linkedLock(const QByteArray& text)
{
    CLock lock;
    lock.linked(start);
    if (!send(lock, text).isEmpty())
        qFatal("no list");
    return lock;
}

CLockOutcome outcomeOf(const CLockEffects& effects)
{
    return effects.outcomes.value(0);
}

} // namespace

class TestLock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listsAreTakenWhole();
    void decidesOffline();
    void asksTheServer();
    void reportsUntilAcknowledged();
    void keepsTime();
    void opensAndWaits();
    void believesNobodyWithoutALink();
    void ringForgetsTheOldestAndCounts();
    void journalSurvivesACutAtEveryByte();
    void journalNeverGivesANumberTwice();
    void storeKeepsTheOldOrTheNew();
    void storeSetsDamagedFilesAside();
};

void TestLock::listsAreTakenWhole()
{
    CLock lock;
    lock.linked(start);
    const QByteArray small = listText();
    const QByteArray large = listText(3000);
    QVERIFY(CLockMessage::cut(large).size() > 2);
    QCOMPARE(send(lock, small), QString());
    QCOMPARE(lock.revision(), CLockList::revisionOf(small));

    // Whatever goes wrong on the way, the door keeps the list it has.
    const QByteArray revision = CLockList::revisionOf(large);
    const QVector<QByteArray> parts = CLockMessage::cut(large);
    const CLockBegin begin{revision, QByteArray(), int(parts.size()), int(large.size())};
    QVERIFY(!errorOf(say(lock, CLockCommit{revision})).isEmpty());
    say(lock, begin);
    say(lock, CLockPart{revision, 0, parts.at(0)});
    QVERIFY(!errorOf(say(lock, CLockCommit{revision})).isEmpty());
    say(lock, begin);
    for (int i = 0; i < parts.size(); ++i)
        say(lock, CLockPart{revision, i, i == 1 ? QByteArray(parts.at(1)).replace(30, 1, "7") : parts.at(i)});
    QVERIFY(!errorOf(say(lock, CLockCommit{revision})).isEmpty());
    say(lock, begin);
    for (int i = 0; i < parts.size(); ++i)
        say(lock, CLockPart{revision, i, parts.at(i)});
    lock.unlinked(start);
    lock.linked(start);
    QVERIFY(!errorOf(say(lock, CLockCommit{revision})).isEmpty());
    say(lock, CLockBegin{revision, QByteArray(), 2, 10});
    QVERIFY(!errorOf(say(lock, CLockPart{revision, 0, parts.at(0)})).isEmpty());
    QVERIFY(!errorOf(say(lock, CLockBegin{revision, revision, 1, 10})).isEmpty());
    QVERIFY(!send(lock, small + "x\n").isEmpty());
    QCOMPARE(lock.memory().list, small);

    // In another order and twice it is the same list; a change is one part.
    say(lock, begin);
    for (int i = parts.size() - 1; i >= 0; --i) {
        say(lock, CLockPart{revision, i, parts.at(i)});
        say(lock, CLockPart{revision, i, parts.at(i)});
    }
    const CLockEffects effects = say(lock, CLockCommit{revision});
    QCOMPARE(errorOf(effects), QString());
    QVERIFY(effects.isListChanged);
    QCOMPARE(only<CLockState>(effects).value(0).revision, revision);
    QCOMPARE(send(lock, listText(3001), large), QString());
    QCOMPARE(lock.memory().list, listText(3001));
}

void TestLock::decidesOffline()
{
    CLock lock = linkedLock(listText(1));
    lock.unlinked(start);
    CLockEffects effects = lock.present(uid("04:A1:22:3B"), start);
    QVERIFY(outcomeOf(effects).isAllowed);
    QCOMPARE(outcomeOf(effects).user, CItemId(33));
    QCOMPARE(effects.openSeconds, int(CLockOpen::defaultSeconds));
    QVERIFY(effects.messages.isEmpty() && !effects.records.isEmpty());

    effects = lock.present(uid("00:00:00:04:A1:22:3B"), start);
    QCOMPARE(outcomeOf(effects).reason, CAccessReason::CredentialUnknown);
    QCOMPARE(effects.openSeconds, 0);
    QVERIFY(effects.records.contains("00:00:00:04:A1:22:3B"));
    effects = lock.present(code("999999"), start);
    QCOMPARE(outcomeOf(effects).reason, CAccessReason::InvalidPIN);
    QVERIFY(!effects.records.contains("999999"));
    QVERIFY(!lock.present(code("100000"), start).records.contains("\"100000\""));
}

void TestLock::asksTheServer()
{
    CLock lock = linkedLock(listText(0, true));
    // Whom the list lets in is not asked about.
    QVERIFY(only<CLockAsk>(lock.present(uid("04:A1:22:3B"), start)).isEmpty());

    CLockEffects effects = lock.present(code("4711"), start);
    const CLockAsk ask = only<CLockAsk>(effects).value(0);
    QCOMPARE(ask.credential, code("4711"));
    QVERIFY(effects.outcomes.isEmpty() && effects.openSeconds == 0 && effects.records.isEmpty());
    QVERIFY(!errorOf(say(lock, CLockVerdict{ask.number + 1, CAccessReason::None, 1, 1})).isEmpty());
    effects = say(lock, CLockVerdict{ask.number, CAccessReason::None, 5, 6}, start + 900);
    QVERIFY(outcomeOf(effects).isAllowed && outcomeOf(effects).way == CLockWay::Online);
    QCOMPARE(outcomeOf(effects).presentation, ask.number);
    QCOMPARE(effects.openSeconds, int(CLockOpen::defaultSeconds));
    // A verdict counts once, and not when it is late.
    QCOMPARE(say(lock, CLockVerdict{ask.number, CAccessReason::None, 5, 6}, start + 900).openSeconds, 0);

    effects = lock.present(uid("01:02:03:04"), start + 1000);
    QCOMPARE(lock.nextTick(), start + 1000 + CLockAsk::patience);
    QVERIFY(lock.tick(start + 1999).outcomes.isEmpty());
    const CLockEffects late = say(lock, CLockVerdict{effects.presentation, CAccessReason::None, 5, 6}, start + 2000);
    QCOMPARE(late.openSeconds, 0);
    QCOMPARE(outcomeOf(late).reason, CAccessReason::CredentialUnknown);

    effects = lock.present(uid("01:02:03:04"), start + 3000);
    QCOMPARE(outcomeOf(lock.tick(start + 4000)).presentation, effects.presentation);
    effects = lock.present(uid("01:02:03:04"), start + 5000);
    QCOMPARE(outcomeOf(lock.unlinked(start + 5000)).presentation, effects.presentation);
    // Without a server it does not even wait.
    QCOMPARE(outcomeOf(lock.present(uid("01:02:03:04"), start + 6000)).reason, CAccessReason::CredentialUnknown);
}

void TestLock::reportsUntilAcknowledged()
{
    CLock lock;
    lock.start(start);
    for (int i = 0; i < 250; ++i)
        lock.present(code("1"), start);
    CLockEffects effects = lock.linked(start);
    QCOMPARE(only<CLockState>(effects).value(0).next, qint64(252));
    CLockEvents events = only<CLockEvents>(effects).value(0);
    QCOMPARE(events.events.size(), int(CLockMessage::mostEvents));
    QCOMPARE(events.events.constFirst().kind, CLockEventKind::Start);
    // Nothing more until it is stored; then the rest. What is not acknowledged comes again, in time and at a new link.
    QVERIFY(only<CLockEvents>(lock.present(code("1"), start)).isEmpty());
    QVERIFY(only<CLockEvents>(lock.tick(start + CLock::patienceForStoring - 1)).isEmpty());
    QVERIFY(only<CLockEvents>(lock.tick(start + CLock::patienceForStoring)).value(0).events == events.events);
    QVERIFY(only<CLockEvents>(lock.linked(start)).value(0).events == events.events);
    QVERIFY(!errorOf(say(lock, CLockAcknowledge{QByteArray(32, 'a'), 100})).isEmpty());
    effects = say(lock, CLockAcknowledge{events.epoch, 100});
    QVERIFY(!effects.records.isEmpty());
    QCOMPARE(only<CLockEvents>(effects).value(0).events.constFirst().number, qint64(101));
    QVERIFY(say(lock, CLockAcknowledge{events.epoch, 50}).records.isEmpty());
    say(lock, CLockAcknowledge{events.epoch, 200});
    say(lock, CLockAcknowledge{events.epoch, 252});
    QCOMPARE(lock.nextTick(), CLock::never);
    QCOMPARE(only<CLockEvents>(lock.present(code("1"), start)).value(0).events.constFirst().number, qint64(253));
}

void TestLock::keepsTime()
{
    CLock lock;
    lock.linked(start);
    CDeviceTimeZoneSettings zone(4);
    CLockEffects effects = say(lock, CLockTime{start + 2000, zone});
    QVERIFY(effects.isSettingsChanged && effects.records.isEmpty());
    QCOMPARE(lock.clock(start + 10), start + 2010);
    effects = say(lock, CLockTime{start - 60000, zone});
    const CLockEvent event = only<CLockEvents>(effects).value(0).events.value(0);
    QCOMPARE(event.kind, CLockEventKind::Clock);
    QCOMPARE(event.correction, qint64(-62000));
    QCOMPARE(event.at, start - 60000);
    QVERIFY(!say(lock, CLockTime{start - 59900, zone}).isSettingsChanged);
    effects = lock.setClock(start + 86400000, start);
    QVERIFY(effects.isSettingsChanged && !effects.records.isEmpty());
    QCOMPARE(lock.state(start).clock, start + 86400000);

    // Local time decides: at 12:30Z it is 13:30 at this door.
    CLockListBuilder builder;
    CLockEntry entry;
    entry.credential = code("1");
    entry.schedule = builder.schedule(*CTimeProfile::fromText(QStringLiteral("Sun 13:00-14:00"), nullptr));
    builder.append(entry);
    QCOMPARE(send(lock, builder.text()), QString());
    lock.setClock(start + 1800000, start);
    QVERIFY(outcomeOf(lock.present(code("1"), start)).isAllowed);
    say(lock, CLockTime{start + 1800000, CDeviceTimeZoneSettings(0)});
    QCOMPARE(outcomeOf(lock.present(code("1"), start)).reason, CAccessReason::NotPermittedAtThisTime);
}

void TestLock::opensAndWaits()
{
    CLock lock = linkedLock(listText());
    CLockEffects effects = say(lock, CLockOpen{9, QStringLiteral("admin"), 33, QStringLiteral("delivery")});
    QCOMPARE(effects.openSeconds, 9);
    const CLockEvent event = only<CLockEvents>(effects).value(0).events.value(0);
    QVERIFY(event.kind == CLockEventKind::Opened && event.way == CLockWay::Opener);
    QCOMPARE(event.operatorName, QStringLiteral("admin"));

    say(lock, CLockWait{30});
    effects = lock.present(uid("04:A1:22:3B"), start + 29999);
    QCOMPARE(only<CLockDetected>(effects).value(0).uid, QByteArray::fromHex("04a1223b"));
    QVERIFY(effects.openSeconds == 0 && effects.records.isEmpty() && outcomeOf(effects).event == 0);
    QVERIFY(outcomeOf(lock.present(uid("04:A1:22:3B"), start + 29999)).isAllowed);
    say(lock, CLockWait{30});
    QVERIFY(outcomeOf(lock.present(uid("04:A1:22:3B"), start + 30000)).isAllowed);
    QCOMPARE(say(lock, CLockSimulate{QByteArray::fromHex("04a1223b")}, start + 40000).openSeconds,
             int(CLockOpen::defaultSeconds));

    QVERIFY(outcomeOf(lock.pressButton(start)).isAllowed);
    QVERIFY(!outcomeOf(lock.doorForced(start)).isAllowed);
    QVERIFY(!lock.doorHeld(start).records.isEmpty());
}

void TestLock::believesNobodyWithoutALink()
{
    CLock lock;
    CLockEffects effects;
    QVERIFY(!lock.handle(CLockMessage::toBytes(CLockCommand{1, CLockOpen()}), start, &effects));
    QVERIFY(effects.openSeconds == 0 && effects.messages.isEmpty() && effects.records.isEmpty());
}

void TestLock::ringForgetsTheOldestAndCounts()
{
    CLock lock(CLockMemory{QByteArray(), CLockJournal(10), {}, 0});
    for (int i = 0; i < 25; ++i)
        lock.present(code("1"), start);
    const CLockState state = lock.state(start);
    QCOMPARE(state.first, qint64(16));
    QCOMPARE(state.next, qint64(26));
    QCOMPARE(state.lost, qint64(15));
    QCOMPARE(only<CLockEvents>(lock.linked(start)).value(0).events.constFirst().number, qint64(16));
    say(lock, CLockAcknowledge{state.epoch, 25});
    lock.present(code("1"), start);
    QCOMPARE(lock.state(start).lost, qint64(15));
}

void TestLock::journalSurvivesACutAtEveryByte()
{
    CLockJournal journal(5);
    QByteArray text = journal.toText();
    QVector<QPair<int, CLockJournal>> states{{text.size(), journal}};
    for (int i = 0; i < 12; ++i) {
        const QByteArray record =
            i % 4 == 3 ? journal.acknowledge(journal.epoch(), journal.next() - 2) : journal.append(CLockEvent());
        text += record;
        if (i == 6)
            text = journal.toText(); // as when it is rewritten
        else
            states.append({text.size(), journal});
        if (i == 6)
            states = {{text.size(), journal}};
    }
    for (int size = 0, at = -1; size <= text.size(); ++size) {
        while (at + 1 < states.size() && states.at(at + 1).first <= size)
            ++at;
        bool whole = false;
        const auto read = CLockJournal::fromText(text.left(size), 5, &whole);
        if (at < 0)
            continue; // it is replaced as a whole: a part of it is never found
        QVERIFY(read);
        QCOMPARE(read->toText(), states.at(at).second.toText());
        QCOMPARE(whole, states.at(at).first == size);
    }
}

void TestLock::journalNeverGivesANumberTwice()
{
    CLockJournal journal(50);
    QByteArray text = journal.toText();
    for (int i = 0; i < 5; ++i)
        text += journal.append(CLockEvent());
    text += journal.acknowledge(journal.epoch(), 2);
    const int beginning = text.indexOf('\n') + 1;
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == '\n' && i >= beginning)
            continue; // then it is as if the record had been torn
        QByteArray damaged = text;
        damaged[i] = char(damaged.at(i) ^ 1);
        const auto read = CLockJournal::fromText(damaged, 50);
        QCOMPARE(read.has_value(), i >= beginning);
        if (!read)
            continue;
        QVERIFY(read->next() >= journal.next());
        QVERIFY(read->acknowledged() <= 2);
        // Every number is here, acknowledged or counted.
        QVERIFY(read->count() + read->acknowledged() + read->lost() >= journal.next() - 1);
        QCOMPARE(CLockJournal::fromText(read->toText(), 50)->toText(), read->toText());
    }
}

void TestLock::storeKeepsTheOldOrTheNew()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("lock"));
    QString error;
    QByteArray epoch;
    {
        CLockStore store(path);
        const auto memory = store.open(100, &error);
        QVERIFY2(memory, qPrintable(error));
        QVERIFY(!CLockStore(path).open(100, &error)); // in use
        CLock lock(*memory);
        epoch = memory->journal.epoch();
        QVERIFY(store.keep(lock, lock.start(start), &error));
        lock.linked(start);
        CLockEffects effects = say(lock, CLockTime{start + 90000, CDeviceTimeZoneSettings(4)});
        QVERIFY(store.keep(lock, effects, &error));
        const QByteArray text = listText(5);
        const QByteArray revision = CLockList::revisionOf(text);
        say(lock, CLockBegin{revision, QByteArray(), 1, int(text.size())});
        say(lock, CLockPart{revision, 0, text});
        QVERIFY(store.keep(lock, say(lock, CLockCommit{revision}), &error));
        // Killed here: nothing is said to the store.
    }
    // What a write that was cut off leaves behind.
    QFile half(path + QStringLiteral("/journal"));
    QVERIFY(half.open(QIODevice::Append));
    half.write("0123abcd event {\"numb");
    half.close();

    CLockStore store(path);
    const auto memory = store.open(100, &error);
    QVERIFY2(memory, qPrintable(error));
    CLock lock(*memory);
    QCOMPARE(memory->journal.epoch(), epoch);
    QCOMPARE(memory->journal.next(), qint64(3));
    QCOMPARE(lock.memory().list, listText(5));
    QCOMPARE(lock.clock(start), start + 90000);
    QVERIFY(lock.memory().zone == CDeviceTimeZoneSettings(4));
    QVERIFY(outcomeOf(lock.present(uid("04:A1:22:3B"), start)).isAllowed);
    const auto permissions = QFileInfo(path + QStringLiteral("/list")).permissions();
    QVERIFY(!(permissions & (QFile::ReadGroup | QFile::ReadOther)));
}

void TestLock::storeSetsDamagedFilesAside()
{
    QTemporaryDir folder;
    QString error;
    QByteArray epoch;
    {
        CLockStore store(folder.path());
        CLock lock(*store.open(100, &error));
        epoch = lock.memory().journal.epoch();
        lock.linked(start);
        const QByteArray text = listText();
        say(lock, CLockBegin{CLockList::revisionOf(text), QByteArray(), 1, int(text.size())});
        say(lock, CLockPart{CLockList::revisionOf(text), 0, text});
        QVERIFY(store.keep(lock, say(lock, CLockCommit{CLockList::revisionOf(text)}), &error));
        QVERIFY(store.keep(lock, say(lock, CLockTime{start, CDeviceTimeZoneSettings(4)}), &error));
    }
    for (const char* name : {"list", "settings", "journal"}) {
        QFile file(folder.filePath(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        bytes[bytes.indexOf('\n') > 20 ? 12 : 0] = '?';
        file.seek(0);
        file.write(bytes);
    }
    CLockStore store(folder.path());
    const auto memory = store.open(100, &error);
    QVERIFY2(memory, qPrintable(error));
    QVERIFY(memory->list.isEmpty());
    QVERIFY(memory->zone == CDeviceTimeZoneSettings());
    QVERIFY(memory->journal.epoch() != epoch);
    QCOMPARE(QDir(folder.path()).entryList({QStringLiteral("*.damaged")}).size(), 3);
}

QTEST_APPLESS_MAIN(TestLock)
#include "tst_lock.moc"
