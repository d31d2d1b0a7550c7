#pragma once

#include <server/devices/device_links.h>
#include <server/devices/device_service.h>

class CAuditTrail;
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
    ServedDoors(DeviceServer* server, CSqlAccessControl* model, CAuditTrail* trail);
    ~ServedDoors();

    CSqlAccessControl* model;
    DoorLinks links;
    CDoorController controller;
};
