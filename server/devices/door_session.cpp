#include <server/devices/door_session_p.h>

#include <foundation/access/lock_list.h>
#include <server/devices/door_compiler.h>

namespace {

// Of a list's commands. Below are those of DoorCommands.
constexpr qint64 firstProvision = qint64(1) << 40;

} // namespace

DoorSession::DoorSession(CDeviceId id)
    : device(id)
    , provisioner(firstProvision)
{
    provisioner.linked();
}

CProvisioner::Commands DoorSession::want(CItemId door, const CCompiledDoor& compiled, qint64 now)
{
    accessPoint = door;
    isDoorKnown = true;
    fault = compiled.error;
    if (!fault.isEmpty())
        return {};
    sources.clear();
    for (const CItemId id : compiled.sources)
        sources.insert(id.value());
    m_wanted = compiled.revision;
    // Of the older ones that alone is of use which the device has.
    const QByteArray present = provisioner.revision();
    const QByteArray base = m_texts.value(present);
    m_texts.clear();
    m_texts.insert(compiled.revision, compiled.text);
    CProvisionedList list{compiled.revision, compiled.text, {}};
    if (!base.isNull() && present != compiled.revision) {
        m_texts.insert(present, base);
        list.deltas.insert(present, CLockList::delta(base, compiled.text));
    }
    // A device that never had a door needs no list.
    const bool isNeeded = accessPoint != CItemId() || !present.isEmpty();
    return isNeeded ? provisioner.want(list, now) : CProvisioner::Commands();
}

bool DoorSession::isUpToDate() const
{
    if (!fault.isEmpty() || isDirty || m_wanted.isEmpty())
        return false;
    if (accessPoint == CItemId() && provisioner.revision().isEmpty())
        return true;
    return provisioner.isUpToDate();
}

CDoorController::Status DoorSession::status(bool isBlind) const
{
    CDoorController::Status status;
    status.device = device;
    status.accessPoint = accessPoint;
    status.isLinked = true;
    status.isUpToDate = !isBlind && isUpToDate();
    status.revision = provisioner.revision();
    status.clockAhead = clockAhead;
    status.storedEvents = stored;
    if (state) {
        status.firstEvent = state->first;
        status.nextEvent = state->next;
        status.lostEvents = state->lost;
    }
    if (status.isUpToDate)
        return status;
    status.fault = !fault.isEmpty() ? fault : provisioner.fault();
    if (isBlind)
        status.fault = QStringLiteral("the database is away");
    else if (status.fault.isEmpty())
        status.fault =
            state ? QStringLiteral("its list is being sent") : QStringLiteral("it has not reported its state");
    return status;
}

DoorSession& DoorSessions::add(CDeviceId device)
{
    std::unique_ptr<DoorSession>& session = m_sessions[device.value()];
    session = std::make_unique<DoorSession>(device);
    return *session;
}

DoorSession* DoorSessions::find(CDeviceId device) const
{
    const auto found = m_sessions.find(device.value());
    return found != m_sessions.end() ? found->second.get() : nullptr;
}
