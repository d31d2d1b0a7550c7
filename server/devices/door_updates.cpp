#include <server/devices/door_updates_p.h>

#include <server/database/sql_statement_p.h>
#include <server/devices/concerned_doors_p.h>
#include <server/devices/door_commands_p.h>
#include <server/devices/door_time_zone.h>
#include <server/model/model_vocabulary_p.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QPointer>

using namespace Model;

namespace {

// Of lists, in one turn of the event loop, which itself takes time by the links.
constexpr int compilingMs = 5;
// When the model could not be read, until it is tried again.
constexpr int unreadMs = 1000;

} // namespace

DoorUpdates::DoorUpdates(CSqlAccessControl* model, DoorSessions* sessions, DoorCommands* commands)
    : m_model(model)
    , m_sessions(sessions)
    , m_commands(commands)
    , m_compiler(model)
{
    m_compileTimer.setInterval(0);
    m_unreadTimer.setSingleShot(true);
    m_unreadTimer.setInterval(unreadMs);
    connect(&m_compileTimer, &QTimer::timeout, this, &DoorUpdates::compileSome);
    connect(&m_unreadTimer, &QTimer::timeout, this, &DoorUpdates::markUnread);
}

void DoorUpdates::modelChanged(const QVariantMap& data)
{
    // Schedules, holidays, doors and devices concern few changes and any list; of people and what they carry only the
    // lists that they stood in or may stand in now.
    bool isForAll = false;
    QSet<qint64> items;
    for (auto entry = data.cbegin(); entry != data.cend(); ++entry) {
        const Kind kind = kindOf(entry.key());
        const QVariantList named = entry->toList();
        if ((kind != KindUserOrGroup && kind != KindMedium && kind != KindCode) || named.isEmpty()) {
            isForAll = true;
            break;
        }
        for (const QVariant& item : named)
            items.insert(toId(item.toMap().value(idKey)));
    }
    QSet<qint64> doors;
    if (!isForAll)
        isForAll = !addConcernedDoors(m_model->database(), items, &doors);
    for (const auto& [number, session] : *m_sessions) {
        if (isForAll || doors.contains(session->accessPoint.value()) || session->sources.intersects(items))
            mark(*session);
    }
}

void DoorUpdates::mark(DoorSession& session)
{
    if (!session.isDirty)
        m_marked.enqueue(session.device);
    session.isDirty = true;
    if (!m_compileTimer.isActive())
        m_compileTimer.start();
}

void DoorUpdates::compileSome()
{
    QPointer<DoorUpdates> guard(this);
    QElapsedTimer spent;
    spent.start();
    while (!m_marked.isEmpty() && !spent.hasExpired(compilingMs)) {
        const CDeviceId device = m_marked.dequeue();
        DoorSession* session = m_sessions->find(device);
        if (!session || !session->isDirty)
            continue;
        session->isDirty = false;
        if (!compile(*session)) {
            session->isUnread = true;
            if (!m_unreadTimer.isActive())
                m_unreadTimer.start();
        }
        Q_EMIT updated(device);
        if (!guard)
            return;
    }
    if (m_marked.isEmpty())
        m_compileTimer.stop();
}

// False when the model cannot be read now: the device keeps what it has. To take "no answer" for "no door" would take
// its list away.
bool DoorUpdates::compile(DoorSession& session)
{
    CDatabase* const database = m_model->database();
    const qint64 failures = database->failures();
    const std::optional<CItemId> accessPoint = doorOf(session.device);
    CCompiledDoor door;
    if (accessPoint)
        door = m_compiler.compile(*accessPoint);
    if (!accessPoint || database->failures() != failures) {
        session.fault = QStringLiteral("cannot read the model: %1").arg(database->errorString());
        return false;
    }
    m_commands->send(session.device, session.want(*accessPoint, door, m_sessions->now()));
    if (session.fault.isEmpty())
        sendTime(session, false);
    return true;
}

void DoorUpdates::sendTime(DoorSession& session, bool isAlways)
{
    const qint64 utc = QDateTime::currentMSecsSinceEpoch();
    const qint64 failures = m_model->database()->failures();
    const QString name = session.accessPoint != CItemId()
                             ? m_model->getAccessPointProperty(timeZoneKey, session.accessPoint).toString()
                             : QString();
    const CDeviceTimeZoneSettings zone = DoorTimeZone::settings(name, utc / 1000);
    const bool isRead = session.isDoorKnown && m_model->database()->failures() == failures;
    if (!session.state || !isRead || (!isAlways && session.zone == zone))
        return;
    session.zone = zone;
    m_commands->send(session.device, CLockTime{utc, zone});
}

void DoorUpdates::markUnread()
{
    if (m_model->database()->isAway())
        return m_unreadTimer.start();
    for (const auto& [number, session] : *m_sessions) {
        if (std::exchange(session->isUnread, false))
            mark(*session);
    }
}

// Devices by label: a door has one, a device has one door.
std::optional<CItemId> DoorUpdates::doorOf(CDeviceId device) const
{
    SqlStatement find(m_model->database(), QStringLiteral("SELECT parent FROM item WHERE kind=? AND label=?"));
    find.bind(int(KindDevice)).bind(device.toLabel());
    const CItemId door = find.exec() && find.next() ? CItemId(find.integer(0)) : CItemId();
    return find.isGood() ? std::optional<CItemId>(door) : std::nullopt;
}
