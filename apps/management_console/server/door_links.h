#pragma once

#include <server/audit/trail_keeper.h>
#include <server/devices/device_links.h>
#include <server/devices/device_service.h>
#include <server/devices/device_sightings.h>
#include <server/devices/remote_devices.h>

#include "server/remote_work.h"

#include <QtCore/QTimer>

class CSqlAccessControl;
class DeviceServer;

/// The links of the device server, as the doors see them.
class DoorLinks : public IDeviceLinks
{
    Q_OBJECT

public:
    /// The server outlives it.
    explicit DoorLinks(DeviceServer* server);

    QList<CDeviceId> linkedDevices() const override;
    bool isLinked(CDeviceId device) const override;
    bool send(CDeviceId device, const QByteArray& message) override;

private:
    DeviceServer* m_server;
};

/// What keeps the doors in step with an installation while its devices are served.
struct ServedDoors
{
    /// `chain` is that of the trail; `operatorName` says who starts serving.
    ServedDoors(DeviceServer* server, CSqlAccessControl* model, CRemoteDevices* remote, const QString& chain,
                const QString& operatorName);
    ~ServedDoors();

    CSqlAccessControl* model;
    /// Into the same chain as what is done here; but what happens at a door is no operator's doing.
    CAuditTrail trail;
    CTrailKeeper keeper;
    DoorLinks links;
    CDoorController controller;
    CDeviceSightings sightings;
    RemoteWork remoteWork;

private:
    void noteSighted();
    /// Of all that are linked, too.
    void noteSightings();

    DeviceServer* m_server;
    QMap<quint32, CDeviceSightings::Sighting> m_sighted; // and not noted yet
    QTimer m_soon;
    QTimer m_sightingTimer;
    static CAuditTrail* named(CAuditTrail* trail, const QString& chain);
};
