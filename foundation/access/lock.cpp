#include "lock.h"

#include <algorithm>

namespace {

// A clock that is corrected by less is not written down again: it would wear the memory out.
constexpr qint64 offsetWorthKeeping = 500;

QVector<qint64> sorted(QVector<qint64> numbers)
{
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

} // namespace

CLock::CLock(const CLockMemory& memory)
    : m_memory(memory)
    , m_zone(memory.zone)
    , m_storedOffset(memory.clockOffset)
{
    if (std::optional<CLockList> list = CLockList::fromText(m_memory.list)) {
        m_list = *list;
        m_revision = CLockList::revisionOf(m_memory.list);
    } else {
        m_memory.list.clear();
    }
}

CLockState CLock::state(qint64 now) const
{
    const CLockJournal& journal = m_memory.journal;
    return {m_revision,     journal.epoch(), journal.first(), journal.next(), journal.acknowledged(),
            journal.lost(), clock(now)};
}

void CLock::tell(const CLockFromDevice& message, CLockEffects* effects) const
{
    if (m_isLinked)
        effects->messages.append(CLockMessage::toBytes(message));
}

// One batch at a time is on its way.
void CLock::tellEvents(qint64 now, CLockEffects* effects)
{
    if (!m_isLinked || m_toldUpTo != 0 || m_memory.journal.count() == 0)
        return;
    const CLockEvents batch = m_memory.journal.batch();
    m_toldUpTo = batch.events.constLast().number;
    m_tellAgainAt = now + patienceForStoring;
    tell(batch, effects);
}

void CLock::note(CLockEvent event, qint64 now, CLockEffects* effects)
{
    event.at = clock(now);
    effects->records += m_memory.journal.append(event);
    tellEvents(now, effects);
}

// --- Life and links ------------------------------------------------------------------------------------------------

CLockEffects CLock::start(qint64 now)
{
    CLockEffects effects;
    note(CLockEvent(), now, &effects);
    return effects;
}

CLockEffects CLock::linked(qint64 now)
{
    CLockEffects effects = unlinked(now);
    m_isLinked = true;
    tell(state(now), &effects);
    tellEvents(now, &effects);
    return effects;
}

CLockEffects CLock::unlinked(qint64 now)
{
    CLockEffects effects;
    m_isLinked = false;
    m_transfer.reset();
    m_waitingUntil = 0;
    m_toldUpTo = 0;
    m_tellAgainAt = never;
    for (const qint64 presentation : sorted(m_asks.keys().toVector()))
        giveUpAsking(presentation, now, &effects);
    return effects;
}

bool CLock::handle(const QByteArray& message, qint64 now, CLockEffects* effects)
{
    const CLockCommand command = CLockMessage::toDevice(message);
    if (!m_isLinked || std::holds_alternative<std::monostate>(command.body))
        return false;
    const QString error = std::visit([&](const auto& body) { return take(body, now, effects); }, command.body);
    // The answer comes before what the command led to.
    effects->messages.prepend(CLockMessage::toBytes(CLockFromDevice(CLockAnswer{command.id, error})));
    return true;
}

qint64 CLock::nextTick() const
{
    qint64 next = m_tellAgainAt;
    for (const Ask& ask : m_asks)
        next = qMin(next, ask.until);
    return next;
}

CLockEffects CLock::tick(qint64 now)
{
    CLockEffects effects;
    for (const qint64 presentation : sorted(m_asks.keys().toVector())) {
        if (m_asks.value(presentation).until <= now)
            giveUpAsking(presentation, now, &effects);
    }
    if (m_tellAgainAt <= now) {
        m_toldUpTo = 0;
        m_tellAgainAt = never;
        tellEvents(now, &effects);
    }
    return effects;
}

// --- At the door ---------------------------------------------------------------------------------------------------

CLockEffects CLock::present(const CLockCredential& credential, qint64 now)
{
    CLockEffects effects;
    begin(credential, now, &effects);
    return effects;
}

void CLock::begin(const CLockCredential& credential, qint64 now, CLockEffects* effects)
{
    const qint64 presentation = ++m_presentations;
    effects->presentation = presentation;
    if (credential.isUid() && now < m_waitingUntil) {
        m_waitingUntil = 0;
        tell(CLockDetected{credential.uid(), clock(now)}, effects);
        CLockOutcome outcome;
        outcome.presentation = presentation;
        outcome.way = CLockWay::Online;
        effects->outcomes.append(outcome);
        return;
    }
    const qint64 second = clock(now) / 1000;
    const CLockDecision decision = m_list.decide(credential, second, m_zone);
    if (!decision.isAllowed() && m_list.asksOnline() && m_isLinked && !credential.isNone()
        && m_asks.size() < mostAsks) {
        m_asks.insert(presentation, {credential, decision, now + CLockAsk::patience});
        tell(CLockAsk{presentation, credential, clock(now)}, effects);
        return;
    }
    decide(presentation, credential, decision, CLockWay::Offline, QString(), now, effects);
}

void CLock::decide(qint64 presentation, const CLockCredential& credential, const CLockDecision& decision, CLockWay way,
                   const QString& comment, qint64 now, CLockEffects* effects)
{
    CLockEvent event;
    event.kind = decision.isAllowed() ? CLockEventKind::Granted : CLockEventKind::Denied;
    event.way = way;
    event.reason = decision.reason;
    event.user = decision.user;
    event.medium = decision.medium;
    event.comment = comment;
    if (!decision.isKnown)
        event.uid = credential.uid();
    CLockOutcome outcome;
    outcome.presentation = presentation;
    outcome.isAllowed = decision.isAllowed();
    outcome.reason = decision.reason;
    outcome.user = decision.user;
    outcome.medium = decision.medium;
    outcome.way = way;
    outcome.event = m_memory.journal.next();
    if (decision.isAllowed())
        effects->openSeconds = qMax(effects->openSeconds, int(CLockOpen::defaultSeconds));
    effects->outcomes.append(outcome);
    note(event, now, effects);
}

void CLock::giveUpAsking(qint64 presentation, qint64 now, CLockEffects* effects)
{
    const Ask ask = m_asks.take(presentation);
    decide(presentation, ask.credential, ask.decision, CLockWay::Offline, QStringLiteral("the server did not answer"),
           now, effects);
}

CLockEffects CLock::pressButton(qint64 now)
{
    CLockEffects effects;
    effects.presentation = ++m_presentations;
    effects.openSeconds = CLockOpen::defaultSeconds;
    CLockOutcome outcome;
    outcome.presentation = effects.presentation;
    outcome.isAllowed = true;
    outcome.way = CLockWay::Button;
    outcome.event = m_memory.journal.next();
    effects.outcomes.append(outcome);
    CLockEvent event;
    event.kind = CLockEventKind::Opened;
    event.way = CLockWay::Button;
    note(event, now, &effects);
    return effects;
}

CLockEffects CLock::doorForced(qint64 now)
{
    return doorSensed(CLockEventKind::Forced, now);
}

CLockEffects CLock::doorHeld(qint64 now)
{
    return doorSensed(CLockEventKind::Held, now);
}

CLockEffects CLock::doorSensed(CLockEventKind kind, qint64 now)
{
    CLockEffects effects;
    effects.presentation = ++m_presentations;
    CLockOutcome outcome;
    outcome.presentation = effects.presentation;
    outcome.event = m_memory.journal.next();
    effects.outcomes.append(outcome);
    CLockEvent event;
    event.kind = kind;
    note(event, now, &effects);
    return effects;
}

// --- Time ----------------------------------------------------------------------------------------------------------

void CLock::moveClock(qint64 by, qint64 now, CLockEffects* effects)
{
    m_memory.clockOffset += by;
    if (qAbs(m_memory.clockOffset - m_storedOffset) > offsetWorthKeeping) {
        m_storedOffset = m_memory.clockOffset;
        effects->isSettingsChanged = true;
    }
    if (qAbs(by) <= CLockEvent::clockTolerance)
        return;
    CLockEvent event;
    event.kind = CLockEventKind::Clock;
    event.correction = by;
    note(event, now, effects);
}

CLockEffects CLock::setClock(qint64 utc, qint64 now)
{
    CLockEffects effects;
    moveClock(qBound(qint64(0), utc, CLockTime::latest) - clock(now), now, &effects);
    return effects;
}

QString CLock::take(const CLockTime& time, qint64 now, CLockEffects* effects)
{
    if (time.zone != m_memory.zone) {
        m_memory.zone = time.zone;
        m_zone = CAccessTimeZone(time.zone);
        effects->isSettingsChanged = true;
    }
    moveClock(time.utc - clock(now), now, effects);
    return QString();
}

// --- The list ------------------------------------------------------------------------------------------------------

QString CLock::take(const CLockBegin& begin, qint64, CLockEffects*)
{
    m_transfer.reset();
    if (!begin.base.isEmpty() && begin.base != m_revision)
        return QStringLiteral("the lock has another list than the one to be changed");
    m_transfer = Transfer{begin, QVector<QByteArray>(begin.parts), 0};
    return QString();
}

QString CLock::take(const CLockPart& part, qint64, CLockEffects*)
{
    if (!m_transfer || m_transfer->begin.revision != part.revision)
        return QStringLiteral("no such list is being sent");
    if (part.index >= m_transfer->parts.size())
        return QStringLiteral("there are only %1 parts").arg(m_transfer->parts.size());
    QByteArray& place = m_transfer->parts[part.index];
    m_transfer->size += part.text.size() - place.size();
    place = part.text;
    if (m_transfer->size <= m_transfer->begin.size)
        return QString();
    m_transfer.reset();
    return QStringLiteral("the parts are larger than announced");
}

QString CLock::take(const CLockCommit& commit, qint64 now, CLockEffects* effects)
{
    if (commit.revision == m_revision)
        return QString();
    if (!m_transfer || m_transfer->begin.revision != commit.revision)
        return QStringLiteral("no such list is being sent");
    const Transfer transfer = *m_transfer;
    m_transfer.reset();
    QByteArray text;
    for (const QByteArray& part : transfer.parts) {
        if (part.isEmpty())
            return QStringLiteral("parts are missing");
        text += part;
    }
    if (text.size() != transfer.begin.size)
        return QStringLiteral("the parts are smaller than announced");
    if (!transfer.begin.base.isEmpty())
        text = CLockList::applied(m_memory.list, text).value_or(QByteArray());
    if (CLockList::revisionOf(text) != commit.revision)
        return QStringLiteral("the list has another revision than announced");
    QString error;
    const std::optional<CLockList> list = CLockList::fromText(text, &error);
    if (!list)
        return error;
    m_list = *list;
    m_memory.list = text;
    m_revision = commit.revision;
    effects->isListChanged = true;
    tell(state(now), effects);
    return QString();
}

// --- Other commands ------------------------------------------------------------------------------------------------

QString CLock::take(const CLockAcknowledge& acknowledge, qint64 now, CLockEffects* effects)
{
    if (acknowledge.epoch != m_memory.journal.epoch())
        return QStringLiteral("another epoch");
    effects->records += m_memory.journal.acknowledge(acknowledge.epoch, acknowledge.upTo);
    if (m_memory.journal.acknowledged() >= m_toldUpTo) {
        m_toldUpTo = 0;
        m_tellAgainAt = never;
        tellEvents(now, effects);
    }
    return QString();
}

QString CLock::take(const CLockVerdict& verdict, qint64 now, CLockEffects* effects)
{
    const auto asked = m_asks.constFind(verdict.number);
    if (asked == m_asks.constEnd())
        return QStringLiteral("nobody waits for this answer any more");
    const Ask ask = *asked;
    if (ask.until <= now) {
        giveUpAsking(verdict.number, now, effects);
        return QStringLiteral("nobody waits for this answer any more");
    }
    m_asks.remove(verdict.number);
    CLockDecision decision = ask.decision;
    decision.reason = verdict.reason;
    decision.user = verdict.user;
    decision.medium = verdict.medium;
    decide(verdict.number, ask.credential, decision, CLockWay::Online, QString(), now, effects);
    return QString();
}

QString CLock::take(const CLockOpen& open, qint64 now, CLockEffects* effects)
{
    effects->openSeconds = qMax(effects->openSeconds, open.seconds);
    CLockEvent event;
    event.kind = CLockEventKind::Opened;
    event.way = CLockWay::Opener;
    event.user = open.user;
    event.operatorName = open.operatorName;
    event.comment = open.comment;
    note(event, now, effects);
    return QString();
}

QString CLock::take(const CLockWait& wait, qint64 now, CLockEffects*)
{
    m_waitingUntil = now + wait.seconds * qint64(1000);
    return QString();
}

QString CLock::take(const CLockSimulate& simulate, qint64 now, CLockEffects* effects)
{
    begin(CLockCredential::fromUid(simulate.uid), now, effects);
    return QString();
}

QString CLock::take(std::monostate, qint64, CLockEffects*)
{
    return QString();
}
