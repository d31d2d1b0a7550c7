#include "server/remote_work.h"

#include "server/device_server.h"

#include <foundation/access/lock_messages.h>
#include <server/devices/door_controller.h>

#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <variant>

namespace {

// Before the one who asks gives up.
constexpr int workLimitMs = CRemoteDevices::commandLife - 1000;

} // namespace

RemoteWork::RemoteWork(DeviceServer* server, CDoorController* controller, CRemoteDevices* remote)
    : m_server(server)
    , m_controller(controller)
    , m_remote(remote)
{
    connect(controller, &CDoorController::statusChanged, this, &RemoteWork::describe);
    // The device has gone to another server: what is left of it here would only wait for its end.
    connect(remote, &CRemoteDevices::movedAway, this, [this](CDeviceId device) {
        if (DeviceLink* link = m_server->link(device))
            link->close();
    });
}

CRemoteDevices::Work RemoteWork::work()
{
    return [this](CDeviceId device, const QString& kind, const QJsonObject& body, const QString&,
                  const CRemoteDevices::Answer& answer) {
        if (kind == QLatin1String("sync"))
            return sync(device, answer);
        if (kind == QLatin1String("send"))
            return sendMessage(device, body, answer);
        const CLockCommand command = CLockMessage::toDevice(body.value(QLatin1String("message")).toString().toUtf8());
        // Lists and clocks are the business of the server that has the link.
        const bool isMeant = std::holds_alternative<CLockOpen>(command.body)
                             || std::holds_alternative<CLockWait>(command.body)
                             || std::holds_alternative<CLockSimulate>(command.body);
        if (kind != QLatin1String("lock") || !isMeant)
            return answer(QStringLiteral("the server of device %1 does not know the command").arg(device.toLabel()),
                          {});
        m_controller->command(device, command.body, [answer](const QString& error) { answer(error, {}); });
    };
}

void RemoteWork::describeAll()
{
    const QList<DeviceLink*> links = m_server->links();
    for (const DeviceLink* link : links)
        describe(link->identity().id);
}

void RemoteWork::describe(CDeviceId device)
{
    const DeviceLink* link = m_server->link(device);
    if (!link)
        return;
    const DeviceLink::Identity& identity = link->identity();
    const CDoorController::Status status = m_controller->status(device);
    m_remote->describe(device, {{QStringLiteral("type"), int(identity.type)},
                                {QStringLiteral("system"), identity.system.toLabel()},
                                {QStringLiteral("peer"), identity.peer},
                                {QStringLiteral("handshakeMs"), identity.handshakeMs},
                                {QStringLiteral("upToDate"), status.isUpToDate},
                                {QStringLiteral("revision"), QString::fromLatin1(status.revision)},
                                {QStringLiteral("fault"), status.fault}});
}

void RemoteWork::sync(CDeviceId device, const CRemoteDevices::Answer& answer)
{
    auto* turn = new QObject(this);
    const auto look = [this, device, answer, turn](bool isLast) {
        const CDoorController::Status status = m_controller->status(device);
        if (!isLast && status.isLinked && !status.isUpToDate)
            return;
        turn->disconnect();
        m_controller->disconnect(turn);
        turn->deleteLater();
        answer({}, {{QStringLiteral("upToDate"), status.isUpToDate},
                    {QStringLiteral("accessPoint"), QString::number(status.accessPoint.value())},
                    {QStringLiteral("revision"), QString::fromLatin1(status.revision)},
                    {QStringLiteral("fault"), status.fault}});
    };
    m_controller->sync(device);
    connect(m_controller, &CDoorController::statusChanged, turn, [device, look](CDeviceId changed) {
        if (changed == device)
            look(false);
    });
    auto* limit = new QTimer(turn);
    limit->setSingleShot(true);
    connect(limit, &QTimer::timeout, turn, [look] { look(true); });
    limit->start(workLimitMs);
}

void RemoteWork::sendMessage(CDeviceId device, const QJsonObject& message, const CRemoteDevices::Answer& answer)
{
    DeviceLink* link = m_server->link(device);
    if (!link)
        return answer(QStringLiteral("device %1 has lost its link").arg(device.toLabel()), {});
    auto* turn = new QObject(this);
    const int number = link->ask(message);
    const auto end = [answer, turn, guard = QPointer<DeviceLink>(link)](const QString& error,
                                                                        const QJsonObject& result) {
        if (guard)
            guard->disconnect(turn);
        turn->deleteLater();
        answer(error, result);
    };
    connect(link, &DeviceLink::answered, turn, [number, end](int answered, const QJsonObject& result) {
        if (answered == number)
            end({}, result);
    });
    connect(link, &DeviceLink::ended, turn,
            [device, end] { end(QStringLiteral("device %1 has lost its link").arg(device.toLabel()), {}); });
    auto* limit = new QTimer(turn);
    limit->setSingleShot(true);
    connect(limit, &QTimer::timeout, turn,
            [device, end] { end(QStringLiteral("device %1 did not answer").arg(device.toLabel()), {}); });
    limit->start(workLimitMs);
}
