#pragma once

#include <server/devices/remote_devices.h>

#include <QtCore/QObject>

class CDoorController;
class DeviceServer;

/// What this server does for the others with the devices that are linked here: "lock" (a command for the lock), "sync",
/// and "send" (a message as the command send takes it).
class RemoteWork : public QObject
{
    Q_OBJECT

public:
    /// All of them outlive it.
    RemoteWork(DeviceServer* server, CDoorController* controller, CRemoteDevices* remote);

    CRemoteDevices* remote() const { return m_remote; }
    CRemoteDevices::Work work();
    void describeAll();

private:
    void describe(CDeviceId device);
    void sync(CDeviceId device, const CRemoteDevices::Answer& answer);
    void sendMessage(CDeviceId device, const QJsonObject& message, const CRemoteDevices::Answer& answer);

    DeviceServer* m_server;
    CDoorController* m_controller;
    CRemoteDevices* m_remote;
};
