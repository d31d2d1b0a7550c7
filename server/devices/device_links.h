#pragma once

#include <server/database/export.h>

#include <foundation/core/device_id.h>

#include <QtCore/QList>
#include <QtCore/QObject>

/// The devices that are linked now, whatever carries their messages. A device has one link: when it calls again, the
/// new link takes the place of the old one, and deviceCame() tells of it without deviceLeft().
class KYR_SERVER_EXPORT IDeviceLinks : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~IDeviceLinks() override;

    /// In any order.
    virtual QList<CDeviceId> linkedDevices() const = 0;
    virtual bool isLinked(CDeviceId device) const = 0;
    /// Sends a message as CLockMessage makes them. False when the device is not linked. True does not mean that the
    /// message arrives. Emits nothing before it returns.
    virtual bool send(CDeviceId device, const QByteArray& message) = 0;

Q_SIGNALS:
    void deviceCame(CDeviceId device);
    void deviceLeft(CDeviceId device);
    /// Bytes from a device, not looked at yet.
    void messageReceived(CDeviceId device, const QByteArray& message);
};
