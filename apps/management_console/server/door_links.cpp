#include "server/door_links.h"

#include "server/device_server.h"

#include <foundation/services/notification_service.h>
#include <server/model/sql_access_control.h>

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

ServedDoors::ServedDoors(DeviceServer* server, CSqlAccessControl* inModel, const QString& chain,
                         const QString& operatorName)
    : model(inModel)
    , trail(inModel->database())
    , keeper(named(&trail, chain), operatorName)
    , links(server)
    , controller(inModel, &trail, &links)
{
    controller.setNotificationService(server->notifications());
    model->setDevices(&controller);
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

ServedDoors::~ServedDoors()
{
    model->setDevices(nullptr);
    model->setNotificationService(nullptr);
}
