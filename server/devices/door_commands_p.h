#pragma once

#include <server/devices/door_controller.h>
#include <server/devices/provisioner.h>
#include <server/devices/remote_devices.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QPointer>

/// What is sent to devices, wherever they are linked, and who waits for the answer.
class DoorCommands
{
public:
    using Answer = CDoorController::Answer;

    /// Answers come by the event loop of `context`, and none once it is deleted. The links outlive it.
    DoorCommands(IDeviceLinks* links, QObject* context);

    void setRemote(CRemoteDevices* remote) { m_remote = remote; }

    /// To a device that is linked here. The number of the command, 0 when it is not linked.
    qint64 send(CDeviceId device, const CLockToDevice& body);
    void send(CDeviceId device, const CProvisioner::Commands& commands);
    /// To a device that is linked to any server; false when it is not.
    bool tell(CDeviceId device, const CLockToDevice& body);
    /// The same, with an answer within CDoorController::answerWait, never from within this call.
    void ask(CDeviceId device, const CLockToDevice& body, const Answer& answer);
    /// As CDoorController::askRemote().
    static bool askRemote(CRemoteDevices* remote, CDeviceId device, const CLockToDevice& body, const Answer& answer);

    /// Passes a device's answer on; false when nobody waits for it.
    bool take(CDeviceId device, const CLockAnswer& answer);
    /// Answers whoever waits for a device that has lost its link.
    void lose(CDeviceId device);
    /// Answers whoever has waited for too long.
    void expire();

private:
    struct Waiting
    {
        CDeviceId device;
        Answer answer;
        qint64 until; // by m_clock
    };

    void reply(const Answer& answer, const QString& error);

    IDeviceLinks* m_links;
    QObject* m_context;
    QPointer<CRemoteDevices> m_remote;
    QElapsedTimer m_clock;
    qint64 m_lastNumber;
    QMap<qint64, Waiting> m_waiting; // by number
};
