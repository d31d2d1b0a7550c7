#include "server/door_links.h"

#include "server/device_server.h"

#include <foundation/services/notification_service.h>
#include <server/model/sql_access_control.h>

namespace {

// What a program that is killed may have heard of its devices and not noted.
constexpr int sightingIntervalMs = 600000;
// Devices that come and go together are noted together.
constexpr int sightingDelayMs = 1000;

} // namespace

DoorLinks::DoorLinks(DeviceServer* server)
    : IDeviceLinks(nullptr)
    , m_server(server)
{
    connect(server, &DeviceServer::deviceCame, this,
            [this](const DeviceLink::Identity& device) { Q_EMIT deviceCame(device.id); });
    connect(server, &DeviceServer::deviceLeft, this,
            [this](const DeviceLink::Identity& device) { Q_EMIT deviceLeft(device.id); });
    connect(server, &DeviceServer::messageReceived, this, &DoorLinks::messageReceived);
}

QList<CDeviceId> DoorLinks::linkedDevices() const
{
    QList<CDeviceId> devices;
    const QList<DeviceLink*> links = m_server->links();
    for (const DeviceLink* link : links)
        devices.append(link->identity().id);
    return devices;
}

bool DoorLinks::isLinked(CDeviceId device) const
{
    return m_server->link(device) != nullptr;
}

bool DoorLinks::send(CDeviceId device, const QByteArray& message)
{
    DeviceLink* link = m_server->link(device);
    if (link)
        link->send(message);
    return link != nullptr;
}

// Before the first event.
CAuditTrail* ServedDoors::named(CAuditTrail* trail, const QString& chain)
{
    trail->setChainName(chain);
    return trail;
}

ServedDoors::ServedDoors(DeviceServer* server, CSqlAccessControl* inModel, CRemoteDevices* remote, const QString& chain,
                         const QString& operatorName)
    : model(inModel)
    , trail(inModel->database())
    , keeper(named(&trail, chain), operatorName)
    , links(server)
    , controller(inModel, &trail, &links)
    , sightings(inModel->database())
    , remoteWork(server, &controller, remote)
    , m_server(server)
{
    const auto note = [this](const DeviceLink::Identity& device, const QDateTime& at) {
        m_sighted.insert(device.id.value(), {device.id, at, device.peer});
        if (!m_soon.isActive())
            m_soon.start(sightingDelayMs);
    };
    QObject::connect(server, &DeviceServer::deviceCame, &links,
                     [note](const DeviceLink::Identity& device) { note(device, QDateTime::currentDateTime()); });
    QObject::connect(server, &DeviceServer::deviceLeft, &links, note);
    m_soon.setSingleShot(true);
    QObject::connect(&m_soon, &QTimer::timeout, &links, [this] { noteSighted(); });
    QObject::connect(&m_sightingTimer, &QTimer::timeout, &links, [this] { noteSightings(); });
    m_sightingTimer.start(sightingIntervalMs);
    controller.setNotificationService(server->notifications());
    model->setDevices(&controller);
    controller.setRemote(remote);
    // A name that was given belongs to one server.
    remote->serve(&links, chain, chain != CAuditTrail::defaultChainName(), remoteWork.work());
    remoteWork.describeAll();
    // Who watches "Model" hears of every change, whoever made it.
    QObject::connect(model, &ISimpleAccessControl::notify, &links,
                     [server](const QString& source, const QVariantMap& parameters, const QString& extension) {
                         server->notifications()->notifyObservers(source, parameters, extension);
                     });
    model->setNotificationService(server->notifications());
    QObject::connect(server, &DeviceServer::clientLogin, &keeper, [this](const QString& peer, const QString& refusal) {
        keeper.noteLogin(refusal, peer, QStringLiteral("notifications"));
    });
    QObject::connect(&keeper, &CTrailKeeper::clockSet, &controller, &CDoorController::tellTime);
}

void ServedDoors::noteSighted()
{
    sightings.note(m_sighted.values());
    m_sighted.clear();
}

void ServedDoors::noteSightings()
{
    const QList<DeviceLink*> linked = m_server->links();
    for (const DeviceLink* link : linked)
        m_sighted.insert(link->identity().id.value(), {link->identity().id, link->lastHeard(), link->identity().peer});
    noteSighted();
}

ServedDoors::~ServedDoors()
{
    noteSightings();
    model->setDevices(nullptr);
    model->setNotificationService(nullptr);
}
