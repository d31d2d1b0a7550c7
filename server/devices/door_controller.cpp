#include <server/devices/door_controller.h>

#include <server/audit/audit_trail.h>
#include <server/database/sql_statement_p.h>
#include <server/devices/door_commands_p.h>
#include <server/devices/door_event_store_p.h>
#include <server/devices/door_notifications_p.h>
#include <server/devices/door_revisions_p.h>
#include <server/devices/door_updates_p.h>
#include <server/devices/event_intake.h>
#include <server/model/model_vocabulary_p.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

using namespace Model;

namespace {

// Between two looks at what was to be answered, sent or stored by now.
constexpr int tickMs = 200;
// How often it is looked whether a door needs new rules of local time.
constexpr qint64 zoneCheckMs = qint64(3600) * 1000;
// Events that wait for the database, of one device; what is more is sent again by the device.
constexpr int mostWaitingMessages = 100;

} // namespace

class CDoorController::Private
{
public:
    Private(CDoorController* controller, CSqlAccessControl* inModel, CAuditTrail* trail, IDeviceLinks* links)
        : q(controller)
        , model(inModel)
        , commands(links, controller)
        , updates(inModel, &sessions, &commands)
        , revisions(inModel->database())
        , desk(inModel->database())
        , events(inModel->database(), trail, &desk)
    {
    }

    void come(CDeviceId device);
    void leave(CDeviceId device);
    void receive(CDeviceId device, const QByteArray& message);
    void takeState(DoorSession& session, const CLockState& state);
    void takeEvents(CDeviceId device, const CLockEvents& events);
    void takeAsk(const DoorSession& session, const CLockAsk& ask);
    void takeDetected(CDeviceId device, const CLockDetected& detected);
    void takeAnswer(DoorSession& session, const CLockAnswer& answer);
    void tick();
    void storeWaiting();
    void checkUpToDate(CDeviceId device);

    CDoorController* q;
    CSqlAccessControl* model;
    DoorSessions sessions;
    DoorCommands commands;
    DoorUpdates updates;
    DoorRevisions revisions;
    DoorDesk desk;
    DoorEventStore events;
    DoorNotifications notifications;
    QTimer tickTimer;
    qint64 lastZoneCheck = 0;
};

// --- Links

void CDoorController::Private::come(CDeviceId device)
{
    leave(device);
    const std::optional<CItemId> accessPoint = updates.doorOf(device);
    DoorSession& session = sessions.add(device);
    session.accessPoint = accessPoint.value_or(CItemId());
    session.isDoorKnown = accessPoint.has_value();
    updates.mark(session);
}

void CDoorController::Private::leave(CDeviceId device)
{
    sessions.remove(device);
    commands.lose(device);
}

void CDoorController::Private::receive(CDeviceId device, const QByteArray& bytes)
{
    DoorSession* session = sessions.find(device);
    if (!session)
        return;
    const CLockFromDevice message = CLockMessage::fromDevice(bytes);
    if (const auto* state = std::get_if<CLockState>(&message))
        takeState(*session, *state);
    else if (const auto* list = std::get_if<CLockEvents>(&message))
        takeEvents(device, *list);
    else if (const auto* ask = std::get_if<CLockAsk>(&message))
        takeAsk(*session, *ask);
    else if (const auto* answer = std::get_if<CLockAnswer>(&message))
        takeAnswer(*session, *answer);
    else if (const auto* detected = std::get_if<CLockDetected>(&message))
        takeDetected(device, *detected);
}

void CDoorController::Private::takeState(DoorSession& session, const CLockState& state)
{
    const bool isFirst = !session.state;
    const CDeviceId device = session.device;
    session.state = state;
    if (isFirst) {
        session.clockAhead = state.clock - QDateTime::currentMSecsSinceEpoch();
        session.stored = qMax<qint64>(0, events.storedUpTo(device, state.epoch));
        updates.sendTime(session, true);
        if (const auto reminder = CEventIntake::reminder(state, session.stored))
            commands.send(device, *reminder);
        // Whether a device without a door has a list to be taken away is known now.
        if (session.isDoorKnown && session.accessPoint == CItemId() && !state.revision.isEmpty())
            updates.mark(session);
    }
    revisions.note(device, state.revision);
    commands.send(device, session.provisioner.take(state, sessions.now()));
    checkUpToDate(device);
}

void CDoorController::Private::takeAnswer(DoorSession& session, const CLockAnswer& answer)
{
    const CDeviceId device = session.device;
    if (commands.take(device, answer))
        return;
    const QByteArray before = session.provisioner.revision();
    commands.send(device, session.provisioner.take(answer, sessions.now()));
    if (session.provisioner.revision() != before)
        revisions.note(device, session.provisioner.revision());
    checkUpToDate(device);
}

void CDoorController::Private::takeAsk(const DoorSession& session, const CLockAsk& ask)
{
    CLockVerdict verdict;
    verdict.number = ask.number;
    const CredentialOwner owner = desk.ownerOf(ask.credential);
    verdict.user = owner.user;
    verdict.medium = owner.medium;
    verdict.reason = desk.reasonFor(owner, session.accessPoint, QDateTime::currentSecsSinceEpoch());
    if (!owner.isKnown())
        verdict.reason = ask.credential.isCode() ? CAccessReason::InvalidPIN : CAccessReason::CredentialUnknown;
    commands.send(session.device, verdict);
}

void CDoorController::Private::takeDetected(CDeviceId device, const CLockDetected& detected)
{
    const CredentialOwner owner = desk.ownerOf(CLockCredential::fromUid(detected.uid));
    QVariantMap properties{{uidKey, detected.uid},
                           {QStringLiteral("deviceId"), device.value()},
                           {QStringLiteral("device"), device.toLabel()}};
    if (owner.isKnown())
        properties.insert(idKey, owner.medium.value());
    QPointer<CDoorController> guard(q);
    notifications.detected(device, detected.uid);
    if (guard)
        Q_EMIT guard->d->model->rfidMediumDetected(properties);
}

void CDoorController::Private::takeEvents(CDeviceId device, const CLockEvents& message)
{
    DoorSession* session = sessions.find(device);
    DoorEventStore::Result result;
    if (session->isDoorKnown)
        result = events.take(device, session->accessPoint, message);
    if (!result.isStored) {
        // The database is busy or away: once more with the next tick. What does not fit the device sends again.
        if (session->waiting.size() < mostWaitingMessages)
            session->waiting.append(message);
        return;
    }
    session->stored = result.upTo;
    commands.send(device, CLockAcknowledge{message.epoch, result.upTo});
    QPointer<CDoorController> guard(q);
    for (const AuditEvent& event : result.events) {
        notifications.happened(device, event);
        if (!guard)
            return;
    }
    Q_EMIT q->statusChanged(device);
}

void CDoorController::Private::tick()
{
    commands.expire();
    revisions.store();
    const qint64 at = sessions.now();
    const bool isZoneTime = at - lastZoneCheck >= zoneCheckMs;
    if (isZoneTime)
        lastZoneCheck = at;
    for (const auto& [number, session] : sessions) {
        commands.send(session->device, session->provisioner.tick(at));
        if (isZoneTime)
            updates.sendTime(*session, false);
    }
    storeWaiting();
}

// Events that the database did not take when they came.
void CDoorController::Private::storeWaiting()
{
    QVector<CDeviceId> devices;
    for (const auto& [number, session] : sessions) {
        if (!session->waiting.isEmpty())
            devices.append(session->device);
    }
    QPointer<CDoorController> guard(q);
    for (const CDeviceId device : qAsConst(devices)) {
        DoorSession* session = sessions.find(device);
        if (!session)
            continue;
        const QVector<CLockEvents> messages = std::exchange(session->waiting, {});
        for (const CLockEvents& message : messages) {
            if (sessions.find(device))
                takeEvents(device, message);
            if (!guard)
                return;
        }
    }
}

void CDoorController::Private::checkUpToDate(CDeviceId device)
{
    DoorSession* session = sessions.find(device);
    if (!session)
        return;
    const bool isUpToDate = session->isUpToDate();
    if (isUpToDate == session->wasUpToDate)
        return;
    session->wasUpToDate = isUpToDate;
    QPointer<CDoorController> guard(q);
    notifications.changed(*session, isUpToDate);
    if (guard)
        Q_EMIT guard->statusChanged(device);
}

// --- From outside

CDoorController::CDoorController(CSqlAccessControl* model, CAuditTrail* trail, IDeviceLinks* links, QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this, model, trail, links))
{
    connect(links, &IDeviceLinks::deviceCame, this, [this](CDeviceId device) { d->come(device); });
    connect(links, &IDeviceLinks::deviceLeft, this, [this](CDeviceId device) {
        d->leave(device);
        Q_EMIT statusChanged(device);
    });
    connect(links, &IDeviceLinks::messageReceived, this,
            [this](CDeviceId device, const QByteArray& message) { d->receive(device, message); });
    connect(model, &ISimpleAccessControl::notify, this, [this](const QString& source, const QVariantMap& parameters) {
        if (source == QLatin1String("Model"))
            d->updates.modelChanged(parameters.value(QStringLiteral("data")).toMap());
    });
    connect(&d->updates, &DoorUpdates::updated, this, [this](CDeviceId device) {
        QPointer<CDoorController> guard(this);
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): what is captured as `this` is never null
        d->checkUpToDate(device);
        if (guard)
            Q_EMIT guard->statusChanged(device);
    });
    connect(&d->tickTimer, &QTimer::timeout, this, [this] { d->tick(); });
    d->tickTimer.start(tickMs);
    const QList<CDeviceId> linked = links->linkedDevices();
    for (const CDeviceId device : linked)
        d->come(device);
}

CDoorController::~CDoorController()
{
    d->revisions.store();
}

void CDoorController::setNotificationService(CNotificationService* service)
{
    d->notifications.setService(service);
}

void CDoorController::setRemote(CRemoteDevices* remote)
{
    d->commands.setRemote(remote);
}

CDoorController::Status CDoorController::status(CDeviceId device) const
{
    // What others have changed meanwhile is not known while the database is away.
    if (const DoorSession* session = d->sessions.find(device))
        return session->status(d->model->database()->isAway());
    Status status;
    status.device = device;
    status.accessPoint = d->updates.doorOf(device).value_or(CItemId());
    status.revision = d->revisions.noted(device);
    status.fault = QStringLiteral("not linked");
    return status;
}

QList<CDoorController::Status> CDoorController::statuses() const
{
    QMap<quint32, Status> all;
    for (const auto& [number, session] : d->sessions)
        all.insert(number, status(session->device));
    SqlStatement assigned(d->model->database(),
                          QStringLiteral("SELECT label FROM item WHERE kind=? AND parent IS NOT NULL"));
    QVector<CDeviceId> devices;
    for (assigned.bind(int(KindDevice)).exec(); assigned.next();)
        devices.append(CDeviceId::fromLabel(assigned.text(0)));
    for (const CDeviceId device : qAsConst(devices)) {
        if (device.isValid() && !all.contains(device.value()))
            all.insert(device.value(), status(device));
    }
    return all.values();
}

CDeviceId CDoorController::deviceOf(CItemId accessPoint) const
{
    return deviceOf(d->model->database(), accessPoint);
}

CDeviceId CDoorController::deviceOf(CDatabase* database, CItemId accessPoint)
{
    SqlStatement find(database, QStringLiteral("SELECT label FROM item WHERE kind=? AND parent=?"));
    find.bind(int(KindDevice)).bind(accessPoint.value());
    return find.exec() && find.next() ? CDeviceId::fromLabel(find.text(0)) : CDeviceId();
}

void CDoorController::sync(CDeviceId device)
{
    if (DoorSession* session = d->sessions.find(device))
        d->updates.mark(*session);
}

void CDoorController::command(CDeviceId device, const CLockToDevice& body, const Answer& answer)
{
    d->commands.ask(device, body, answer);
}

void CDoorController::tellTime()
{
    for (const auto& [number, session] : d->sessions)
        d->updates.sendTime(*session, true);
}

bool CDoorController::askRemote(CRemoteDevices* remote, CDeviceId device, const CLockToDevice& body,
                                const Answer& answer)
{
    return DoorCommands::askRemote(remote, device, body, answer);
}

bool CDoorController::open(CItemId accessPoint, const CLockOpen& command)
{
    const CDeviceId device = deviceOf(accessPoint);
    return device.isValid() && d->commands.tell(device, command);
}

bool CDoorController::waitForMedium(CDeviceId device, int seconds)
{
    return d->commands.tell(device, CLockWait{seconds});
}

bool CDoorController::simulateMedium(CDeviceId device, const QByteArray& uid)
{
    return d->commands.tell(device, CLockSimulate{uid});
}
