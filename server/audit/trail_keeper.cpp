#include <server/audit/trail_keeper.h>

#include <QtCore/QDateTime>
#include <QtCore/QDebug>

#include <chrono>
#include <ctime>

namespace {

constexpr int lookMs = 1000;
constexpr int headMs = 3600 * 1000;
constexpr qint64 minuteMs = 60000;
// Kept for a database that takes nothing.
constexpr int mostUnstored = 1000;

} // namespace

qint64 CClockWatch::steady()
{
    using namespace std::chrono;
#ifdef CLOCK_BOOTTIME
    timespec now{};
    if (clock_gettime(CLOCK_BOOTTIME, &now) == 0)
        return duration_cast<milliseconds>(seconds(now.tv_sec) + nanoseconds(now.tv_nsec)).count();
#endif
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

CTrailKeeper::CTrailKeeper(CAuditTrail* trail, const QString& operatorName, QObject* parent)
    : QObject(parent)
    , m_trail(trail)
    , m_operatorName(operatorName)
    , m_watch(QDateTime::currentMSecsSinceEpoch(), CClockWatch::steady())
{
    connect(&m_lookTimer, &QTimer::timeout, this, &CTrailKeeper::look);
    connect(&m_headTimer, &QTimer::timeout, this, [this] { m_trail->signHeads(QStringLiteral("hour")); });
    connect(trail->database(), &CDatabase::settled, this, &CTrailKeeper::settle);
    m_lookTimer.start(lookMs);
    m_headTimer.start(headMs);
    note({AuditKind::Start, 0, {}, {}, {}, m_operatorName, {}});
}

CTrailKeeper::~CTrailKeeper()
{
    note({AuditKind::End, 0, {}, {}, {}, m_operatorName, {}});
    if (!m_unstored.isEmpty())
        qWarning("CTrailKeeper: %d events were not stored: %s", int(m_unstored.size()),
                 qUtf8Printable(m_trail->errorString()));
    m_trail->signHeads(QStringLiteral("end"));
}

void CTrailKeeper::look()
{
    if (!m_unstored.isEmpty())
        store();
    const qint64 by = m_watch.look(QDateTime::currentMSecsSinceEpoch(), CClockWatch::steady());
    if (by == 0)
        return;
    AuditEvent event;
    event.kind = AuditKind::Clock;
    event.details.insert(QStringLiteral("correction"), by);
    note(event);
    Q_EMIT clockSet(by);
}

void CTrailKeeper::noteLogin(const QString& reason, const QString& peer, const QString& way)
{
    AuditEvent event;
    event.kind = reason.isEmpty() ? AuditKind::Login : AuditKind::LoginRefused;
    event.details = {{QStringLiteral("peer"), peer}, {QStringLiteral("way"), way}};
    if (!reason.isEmpty()) {
        const qint64 minute = CClockWatch::steady() / minuteMs;
        if (minute != m_minute)
            m_refusals = 0;
        m_minute = minute;
        if (++m_refusals > mostRefusals) {
            ++m_leftOut;
            return;
        }
        event.details.insert(QStringLiteral("reason"), reason);
        if (m_leftOut > 0)
            event.details.insert(QStringLiteral("leftOut"), std::exchange(m_leftOut, 0));
    }
    note(event);
}

void CTrailKeeper::note(AuditEvent event)
{
    event.at = QDateTime::currentMSecsSinceEpoch();
    if (m_unstored.size() < mostUnstored)
        m_unstored.append(event);
    else
        ++m_lost;
    store();
}

void CTrailKeeper::store()
{
    CDatabase* database = m_trail->database();
    if (database->isUnsettled())
        return;
    const QList<AuditEvent> events = std::exchange(m_unstored, {});
    const bool stored = m_trail->append(events);
    if (!stored) {
        m_unstored = events;
        m_doubtful = database->isUnsettled() ? events.size() : 0;
    } else if (m_lost > 0) {
        qWarning("CTrailKeeper: the trail takes events again; %d were lost", std::exchange(m_lost, 0));
    }
    if (!stored && !m_isFaultTold)
        qWarning("CTrailKeeper: events cannot be stored and wait: %s", qUtf8Printable(m_trail->errorString()));
    m_isFaultTold = !stored;
}

void CTrailKeeper::settle(bool isStored)
{
    const qsizetype doubtful = std::exchange(m_doubtful, 0);
    if (isStored)
        m_unstored.erase(m_unstored.begin(), m_unstored.begin() + doubtful);
}
