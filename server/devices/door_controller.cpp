#include <server/devices/door_controller.h>

#include <foundation/access/lock_list.h>
#include <foundation/core/random.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/notification_service.h>
#include <server/audit/audit_trail.h>
#include <server/database/sql_statement_p.h>
#include <server/devices/concerned_doors_p.h>
#include <server/devices/door_compiler.h>
#include <server/devices/door_event_store_p.h>
#include <server/devices/door_time_zone.h>
#include <server/devices/event_intake.h>
#include <server/devices/provisioner.h>
#include <server/devices/remote_devices.h>
#include <server/model/model_vocabulary_p.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTimer>

#include <map>
#include <optional>

using namespace Model;

namespace {

// Numbers of commands. Whoever else asks over the same links counts in ints.
constexpr qint64 firstCommand = qint64(1) << 32;
constexpr qint64 firstProvision = qint64(1) << 40;
constexpr int tickMs = 200;
// Of lists, at a time.
constexpr int compilingMs = 5;
// Of what devices have said of their lists, together.
constexpr int storeMs = 20;
// When the model could not be read, until it is tried again.
constexpr int unreadMs = 1000;
// How often it is looked whether a door needs new rules of local time.
constexpr qint64 zoneCheckMs = 3600 * 1000;
// Events that wait for the database, of one device; what is more is sent again by the device.
constexpr int mostWaitingMessages = 100;

QString isoText(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC).toString(Qt::ISODate);
}

} // namespace

class CDoorController::Private
{
public:
    struct Session
    {
        explicit Session(CDeviceId id)
            : device(id)
            , provisioner(firstProvision)
        {
            provisioner.linked();
        }

        CDeviceId device;
        CItemId accessPoint;
        bool isDoorKnown = false; // else the model could not be read yet
        CProvisioner provisioner;
        std::optional<CLockState> state;
        qint64 clockAhead = 0;
        qint64 stored = 0;
        /// The list that the model calls for, and texts of others that the device may have, by revision.
        QByteArray wanted;
        QHash<QByteArray, QByteArray> texts;
        QSet<qint64> sources;
        QString fault;
        std::optional<CDeviceTimeZoneSettings> zone;
        QVector<CLockEvents> waiting;
        bool wasUpToDate = false;
    };
    struct Waiting
    {
        CDeviceId device;
        Answer answer;
        qint64 until;
    };

    Private(CDoorController* controller, CSqlAccessControl* inModel, CAuditTrail* trail, IDeviceLinks* inLinks)
        : q(controller)
        , model(inModel)
        , links(inLinks)
        , compiler(inModel)
        , desk(inModel->database())
        , events(inModel->database(), trail, &desk)
    {
        clock.start();
    }

    qint64 now() const { return clock.elapsed(); }
    Session* find(CDeviceId device) const
    {
        const auto found = sessions.find(device.value());
        return found != sessions.end() ? found->second.get() : nullptr;
    }

    void come(CDeviceId device);
    void leave(CDeviceId device);
    void receive(CDeviceId device, const QByteArray& message);
    void takeState(Session& session, const CLockState& state);
    void takeEvents(CDeviceId device, const CLockEvents& events);
    void takeAsk(Session& session, const CLockAsk& ask);
    void takeAnswer(Session& session, const CLockAnswer& answer);
    void modelChanged(const QVariantMap& data);
    void markDirty(CDeviceId device);
    void compileSome();
    bool compile(Session& session);
    void sendTime(Session& session, bool isAlways);
    void tick();
    void send(const Session& session, const CProvisioner::Commands& commands);
    qint64 sendCommand(CDeviceId device, const CLockToDevice& body);
    /// Sends it, here or by another server; false when no server has the device.
    bool tell(CDeviceId device, const CLockToDevice& body)
    {
        return sendCommand(device, body) != 0 || askRemote(remote, device, body, {});
    }
    void reply(const Answer& answer, const QString& error);
    void noteRevision(CDeviceId device, const QByteArray& revision);
    void storeRevisions();
    QByteArray notedRevision(CDeviceId device) const;
    bool isUpToDate(const Session& session) const;
    void checkUpToDate(CDeviceId device);
    /// Nothing when the model cannot be read.
    std::optional<CItemId> doorOf(CDeviceId device) const;
    void notify(const char* source, const QVariantMap& parameters);
    void notifyEvent(CDeviceId device, const AuditEvent& event);

    CDoorController* q;
    CSqlAccessControl* model;
    IDeviceLinks* links;
    CDoorCompiler compiler;
    DoorDesk desk;
    DoorEventStore events;
    QPointer<CNotificationService> notifications;
    QPointer<CRemoteDevices> remote;
    std::map<quint32, std::unique_ptr<Session>> sessions;
    QMap<qint64, Waiting> waiting;
    QVector<CDeviceId> dirty;
    QTimer compileTimer;
    QVector<CDeviceId> unread; // those whose list could not be read from the model
    QTimer unreadTimer;
    QTimer tickTimer;
    QElapsedTimer clock;
    /// Not stored yet, by device.
    QMap<quint32, QByteArray> unstoredRevisions;
    QTimer storeTimer;
    qint64 lastCommand = firstCommand;
    qint64 lastZoneCheck = 0;
};

// --- The model

// Devices by label: a door has one, a device has one door.
std::optional<CItemId> CDoorController::Private::doorOf(CDeviceId device) const
{
    SqlStatement find(model->database(), QStringLiteral("SELECT parent FROM item WHERE kind=? AND label=?"));
    find.bind(int(KindDevice)).bind(device.toLabel());
    const CItemId door = find.exec() && find.next() ? CItemId(find.integer(0)) : CItemId();
    return find.isGood() ? std::optional<CItemId>(door) : std::nullopt;
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

void CDoorController::Private::modelChanged(const QVariantMap& data)
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
    if (!isForAll) {
        isForAll = !addConcernedDoors(model->database(), items, &doors);
    }
    for (const auto& [number, session] : sessions) {
        if (isForAll || doors.contains(session->accessPoint.value()) || session->sources.intersects(items))
            markDirty(session->device);
    }
}

void CDoorController::Private::markDirty(CDeviceId device)
{
    if (!dirty.contains(device))
        dirty.append(device);
    if (!compileTimer.isActive())
        compileTimer.start();
}

// A few milliseconds a turn of the event loop, which itself takes time by the links: whoever asks meanwhile is
// answered.
void CDoorController::Private::compileSome()
{
    QPointer<CDoorController> guard(q);
    QElapsedTimer spent;
    spent.start();
    while (!dirty.isEmpty() && !spent.hasExpired(compilingMs)) {
        const CDeviceId device = dirty.takeFirst();
        Session* session = find(device);
        if (!session)
            continue;
        if (!compile(*session)) {
            unread.append(device);
            if (!unreadTimer.isActive())
                unreadTimer.start();
        }
        checkUpToDate(device);
        if (guard)
            Q_EMIT guard->statusChanged(device);
        if (!guard)
            return;
    }
    if (dirty.isEmpty())
        compileTimer.stop();
}

// False when the model cannot be read now: the device keeps what it has. To take "no answer" for "no door" would take
// its list away.
bool CDoorController::Private::compile(Session& session)
{
    CDatabase* const database = model->database();
    const qint64 failures = database->failures();
    const std::optional<CItemId> accessPoint = doorOf(session.device);
    CCompiledDoor door;
    if (accessPoint)
        door = compiler.compile(*accessPoint);
    if (!accessPoint || database->failures() != failures) {
        session.fault = QStringLiteral("cannot read the model: %1").arg(database->errorString());
        return false;
    }
    session.accessPoint = *accessPoint;
    session.isDoorKnown = true;
    session.fault = door.error;
    if (!door.error.isEmpty())
        return true;
    session.sources.clear();
    for (const CItemId id : door.sources)
        session.sources.insert(id.value());
    session.wanted = door.revision;
    // Of the older ones that alone is of use which the device has.
    const QByteArray present = session.provisioner.revision();
    const QByteArray base = session.texts.value(present);
    session.texts.clear();
    session.texts.insert(door.revision, door.text);
    CProvisionedList list{door.revision, door.text, {}};
    if (!base.isNull() && present != door.revision) {
        session.texts.insert(present, base);
        list.deltas.insert(present, CLockList::delta(base, door.text));
    }
    // A device that never had a door needs no list.
    const bool isNeeded = session.accessPoint != CItemId() || !present.isEmpty();
    if (isNeeded)
        send(session, session.provisioner.want(list, now()));
    sendTime(session, false);
    return true;
}

void CDoorController::Private::sendTime(Session& session, bool isAlways)
{
    const qint64 utc = QDateTime::currentMSecsSinceEpoch();
    const qint64 failures = model->database()->failures();
    const QString name = session.accessPoint != CItemId()
                             ? model->getAccessPointProperty(timeZoneKey, session.accessPoint).toString()
                             : QString();
    const CDeviceTimeZoneSettings zone = DoorTimeZone::settings(name, utc / 1000);
    const bool isRead = session.isDoorKnown && model->database()->failures() == failures;
    if (!session.state || !isRead || (!isAlways && session.zone == zone))
        return;
    session.zone = zone;
    sendCommand(session.device, CLockTime{utc, zone});
}

// --- Links

void CDoorController::Private::come(CDeviceId device)
{
    leave(device);
    auto session = std::make_unique<Session>(device);
    const std::optional<CItemId> accessPoint = doorOf(device);
    session->accessPoint = accessPoint.value_or(CItemId());
    session->isDoorKnown = accessPoint.has_value();
    sessions[device.value()] = std::move(session);
    markDirty(device);
}

void CDoorController::Private::leave(CDeviceId device)
{
    sessions.erase(device.value());
    dirty.removeAll(device);
    unread.removeAll(device);
    for (auto entry = waiting.begin(); entry != waiting.end();) {
        if (entry->device != device) {
            ++entry;
            continue;
        }
        reply(entry->answer, QStringLiteral("device %1 has lost its link").arg(device.toLabel()));
        entry = waiting.erase(entry);
    }
}

qint64 CDoorController::Private::sendCommand(CDeviceId device, const CLockToDevice& body)
{
    const qint64 number = ++lastCommand;
    return links->send(device, CLockMessage::toBytes(CLockCommand{number, body})) ? number : 0;
}

bool CDoorController::askRemote(CRemoteDevices* remote, CDeviceId device, const CLockToDevice& body,
                                const Answer& answer)
{
    if (!remote || !device.isValid() || !remote->isElsewhere(device))
        return false;
    const auto* open = std::get_if<CLockOpen>(&body);
    const QByteArray message = CLockMessage::toBytes(CLockCommand{1, body});
    remote->ask(device, QStringLiteral("lock"), {{QStringLiteral("message"), QString::fromUtf8(message)}},
                open ? open->operatorName : QString(), [answer](const QString& error, const QJsonObject&) {
                    if (answer)
                        answer(error);
                });
    return true;
}

void CDoorController::Private::send(const Session& session, const CProvisioner::Commands& commands)
{
    for (const CLockCommand& command : commands)
        links->send(session.device, CLockMessage::toBytes(command));
}

void CDoorController::Private::receive(CDeviceId device, const QByteArray& bytes)
{
    Session* session = find(device);
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
    else if (const auto* detected = std::get_if<CLockDetected>(&message)) {
        const CredentialOwner owner = desk.ownerOf(CLockCredential::fromUid(detected->uid));
        QVariantMap properties{{uidKey, detected->uid},
                               {QStringLiteral("deviceId"), device.value()},
                               {QStringLiteral("device"), device.toLabel()}};
        if (owner.isKnown())
            properties.insert(idKey, owner.medium.value());
        QPointer<CDoorController> guard(q);
        notify("Devices", {{QStringLiteral("event"), QStringLiteral("detected")},
                           {QStringLiteral("device"), device.toLabel()},
                           {uidKey, CDataType::rfidUidToLabel(detected->uid)}});
        if (guard)
            Q_EMIT guard->d->model->rfidMediumDetected(properties);
    }
}

void CDoorController::Private::takeState(Session& session, const CLockState& state)
{
    const bool isFirst = !session.state;
    const CDeviceId device = session.device;
    session.state = state;
    if (isFirst) {
        session.clockAhead = state.clock - QDateTime::currentMSecsSinceEpoch();
        session.stored = qMax<qint64>(0, events.storedUpTo(device, state.epoch));
        sendTime(session, true);
        if (const auto reminder = CEventIntake::reminder(state, session.stored))
            sendCommand(device, *reminder);
        // Whether a device without a door has a list to be taken away is known now.
        if (session.isDoorKnown && session.accessPoint == CItemId() && !state.revision.isEmpty())
            markDirty(device);
    }
    noteRevision(device, state.revision);
    send(session, session.provisioner.take(state, now()));
    checkUpToDate(device);
}

void CDoorController::Private::takeAnswer(Session& session, const CLockAnswer& answer)
{
    const CDeviceId device = session.device;
    const auto found = waiting.find(answer.id);
    if (found != waiting.end() && found->device == device) {
        reply(found->answer, answer.error);
        waiting.erase(found);
        return;
    }
    const QByteArray before = session.provisioner.revision();
    send(session, session.provisioner.take(answer, now()));
    if (session.provisioner.revision() != before)
        noteRevision(device, session.provisioner.revision());
    checkUpToDate(device);
}

void CDoorController::Private::takeAsk(Session& session, const CLockAsk& ask)
{
    CLockVerdict verdict;
    verdict.number = ask.number;
    const CredentialOwner owner = desk.ownerOf(ask.credential);
    verdict.user = owner.user;
    verdict.medium = owner.medium;
    verdict.reason = desk.reasonFor(owner, session.accessPoint, QDateTime::currentSecsSinceEpoch());
    if (!owner.isKnown())
        verdict.reason = ask.credential.isCode() ? CAccessReason::InvalidPIN : CAccessReason::CredentialUnknown;
    sendCommand(session.device, verdict);
}

void CDoorController::Private::takeEvents(CDeviceId device, const CLockEvents& message)
{
    Session* session = find(device);
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
    sendCommand(device, CLockAcknowledge{message.epoch, result.upTo});
    QPointer<CDoorController> guard(q);
    for (const AuditEvent& event : result.events) {
        notifyEvent(device, event);
        if (!guard)
            return;
    }
    Q_EMIT q->statusChanged(device);
}

void CDoorController::Private::tick()
{
    const qint64 at = now();
    for (auto entry = waiting.begin(); entry != waiting.end();) {
        if (at < entry->until) {
            ++entry;
            continue;
        }
        reply(entry->answer, QStringLiteral("device %1 did not answer").arg(entry->device.toLabel()));
        entry = waiting.erase(entry);
    }
    const bool isZoneTime = at - lastZoneCheck >= zoneCheckMs;
    if (isZoneTime)
        lastZoneCheck = at;
    storeRevisions();
    QVector<CDeviceId> devices;
    for (const auto& [number, session] : sessions) {
        send(*session, session->provisioner.tick(at));
        if (isZoneTime)
            sendTime(*session, false);
        if (!session->waiting.isEmpty())
            devices.append(session->device);
    }
    QPointer<CDoorController> guard(q);
    for (const CDeviceId device : qAsConst(devices)) {
        Session* session = find(device);
        if (!session)
            continue;
        const QVector<CLockEvents> messages = std::exchange(session->waiting, {});
        for (const CLockEvents& message : messages) {
            if (find(device))
                takeEvents(device, message);
            if (!guard)
                return;
        }
    }
}

void CDoorController::Private::reply(const Answer& answer, const QString& error)
{
    if (answer)
        QMetaObject::invokeMethod(
            q, [answer, error] { answer(error); }, Qt::QueuedConnection);
}

// --- Being up to date

bool CDoorController::Private::isUpToDate(const Session& session) const
{
    if (!session.fault.isEmpty() || dirty.contains(session.device) || session.wanted.isEmpty())
        return false;
    if (session.accessPoint == CItemId() && session.provisioner.revision().isEmpty())
        return true;
    return session.provisioner.isUpToDate();
}

void CDoorController::Private::checkUpToDate(CDeviceId device)
{
    Session* session = find(device);
    if (!session)
        return;
    const bool is = isUpToDate(*session);
    if (is == session->wasUpToDate)
        return;
    session->wasUpToDate = is;
    QPointer<CDoorController> guard(q);
    if (session->accessPoint != CItemId()) {
        QVariantMap parameters{
            {QStringLiteral("event"), is ? QStringLiteral("upToDate") : QStringLiteral("notUpToDate")},
            {QStringLiteral("device"), device.toLabel()},
            {accessPointIdKey, session->accessPoint.value()},
            {QStringLiteral("revision"), QString::fromLatin1(session->provisioner.revision())}};
        if (!session->fault.isEmpty())
            parameters.insert(QStringLiteral("reason"), session->fault);
        notify("Devices", parameters);
    }
    if (guard)
        Q_EMIT guard->statusChanged(device);
}

// A change of many lists is noted in few transactions: each costs a write to the disk.
void CDoorController::Private::noteRevision(CDeviceId device, const QByteArray& revision)
{
    if (!model->database()->exists() || notedRevision(device) == revision)
        return;
    unstoredRevisions.insert(device.value(), revision);
    if (!storeTimer.isActive())
        storeTimer.start();
}

void CDoorController::Private::storeRevisions()
{
    if (unstoredRevisions.isEmpty())
        return;
    CDatabase* database = model->database();
    bool good = database->begin();
    SqlStatement note(database, QStringLiteral("INSERT INTO device_state(device,revision,at) VALUES(?,?,?) ON "
                                               "CONFLICT(device) DO UPDATE SET revision=excluded.revision,"
                                               "at=excluded.at"));
    for (auto entry = unstoredRevisions.cbegin(); good && entry != unstoredRevisions.cend(); ++entry) {
        good = note.bind(qint64(entry.key()))
                   .bind(QString::fromLatin1(*entry))
                   .bind(QDateTime::currentSecsSinceEpoch())
                   .exec();
    }
    // What the database does not take now it is given again with the next tick.
    if (database->end(good))
        unstoredRevisions.clear();
}

QByteArray CDoorController::Private::notedRevision(CDeviceId device) const
{
    const auto unstored = unstoredRevisions.constFind(device.value());
    if (unstored != unstoredRevisions.cend())
        return *unstored;
    SqlStatement find(model->database(), QStringLiteral("SELECT revision FROM device_state WHERE device=?"));
    return find.bind(qint64(device.value())).exec() && find.next() ? find.text(0).toLatin1() : QByteArray();
}

// --- Telling

void CDoorController::Private::notify(const char* source, const QVariantMap& parameters)
{
    if (notifications)
        notifications->notifyObservers(QLatin1String(source), parameters);
}

void CDoorController::Private::notifyEvent(CDeviceId device, const AuditEvent& event)
{
    QVariantMap parameters = event.details.toVariantMap();
    parameters.remove(QStringLiteral("deviceEpoch"));
    parameters.insert(QStringLiteral("event"), auditKindName(event.kind));
    parameters.insert(QStringLiteral("device"), device.toLabel());
    parameters.insert(QStringLiteral("at"), isoText(event.at));
    if (event.accessPoint != CItemId())
        parameters.insert(QStringLiteral("accessPoint"), event.accessPoint.value());
    if (event.user != CItemId())
        parameters.insert(QStringLiteral("user"), event.user.value());
    if (event.medium != CItemId())
        parameters.insert(QStringLiteral("medium"), event.medium.value());
    if (!event.operatorName.isEmpty())
        parameters.insert(QStringLiteral("operator"), event.operatorName);
    const bool isOfDevice = event.kind == AuditKind::Clock || event.kind == AuditKind::Start;
    notify(isOfDevice ? "Devices" : "Access", parameters);
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
            d->modelChanged(parameters.value(QStringLiteral("data")).toMap());
    });
    connect(&d->compileTimer, &QTimer::timeout, this, [this] { d->compileSome(); });
    connect(&d->tickTimer, &QTimer::timeout, this, [this] { d->tick(); });
    connect(&d->storeTimer, &QTimer::timeout, this, [this] { d->storeRevisions(); });
    connect(&d->unreadTimer, &QTimer::timeout, this, [this] {
        if (d->model->database()->isAway())
            return d->unreadTimer.start();
        const QVector<CDeviceId> devices = std::exchange(d->unread, {});
        for (const CDeviceId device : devices)
            d->markDirty(device);
    });
    d->compileTimer.setInterval(0);
    d->unreadTimer.setSingleShot(true);
    d->unreadTimer.setInterval(unreadMs);
    d->storeTimer.setSingleShot(true);
    d->storeTimer.setInterval(storeMs);
    d->tickTimer.start(tickMs);
    const QList<CDeviceId> linked = links->linkedDevices();
    for (const CDeviceId device : linked)
        d->come(device);
}

CDoorController::~CDoorController()
{
    d->storeRevisions();
}

void CDoorController::setNotificationService(CNotificationService* service)
{
    d->notifications = service;
}

void CDoorController::setRemote(CRemoteDevices* remote)
{
    d->remote = remote;
}

CDoorController::Status CDoorController::status(CDeviceId device) const
{
    Status status;
    status.device = device;
    const Private::Session* session = d->find(device);
    if (!session) {
        status.accessPoint = d->doorOf(device).value_or(CItemId());
        status.revision = d->notedRevision(device);
        status.fault = QStringLiteral("not linked");
        return status;
    }
    status.accessPoint = session->accessPoint;
    status.isLinked = true;
    // What others have changed meanwhile is not known while the database is away.
    const bool isBlind = d->model->database()->isAway();
    status.isUpToDate = !isBlind && d->isUpToDate(*session);
    status.revision = session->provisioner.revision();
    status.clockAhead = session->clockAhead;
    status.storedEvents = session->stored;
    if (session->state) {
        status.firstEvent = session->state->first;
        status.nextEvent = session->state->next;
        status.lostEvents = session->state->lost;
    }
    if (!status.isUpToDate) {
        status.fault = !session->fault.isEmpty() ? session->fault : session->provisioner.fault();
        if (isBlind)
            status.fault = QStringLiteral("the database is away");
        else if (status.fault.isEmpty())
            status.fault = session->state ? QStringLiteral("its list is being sent")
                                          : QStringLiteral("it has not reported its state");
    }
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

void CDoorController::sync(CDeviceId device)
{
    if (d->find(device))
        d->markDirty(device);
}

void CDoorController::command(CDeviceId device, const CLockToDevice& body, const Answer& answer)
{
    const qint64 number = d->sendCommand(device, body);
    if (number == 0) {
        if (!askRemote(d->remote, device, body, answer))
            d->reply(answer, QStringLiteral("device %1 is not linked").arg(device.toLabel()));
        return;
    }
    d->waiting.insert(number, {device, answer, d->now() + answerWait});
}

void CDoorController::tellTime()
{
    for (const auto& [number, session] : d->sessions)
        d->sendTime(*session, true);
}

bool CDoorController::open(CItemId accessPoint, const CLockOpen& command)
{
    const CDeviceId device = deviceOf(accessPoint);
    return device.isValid() && d->tell(device, command);
}

bool CDoorController::waitForMedium(CDeviceId device, int seconds)
{
    return d->tell(device, CLockWait{seconds});
}

bool CDoorController::simulateMedium(CDeviceId device, const QByteArray& uid)
{
    return d->tell(device, CLockSimulate{uid});
}
