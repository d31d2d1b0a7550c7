#include "server/device_rows.h"

#include "server/device_server.h"

#include <foundation/datatypes/data_type.h>
#include <server/devices/door_controller.h>

namespace {

QString timeText(const QDateTime& time)
{
    return time.isValid() ? time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate) : QString();
}

} // namespace

QList<QVariantMap> deviceRows(const DeviceServer& server, const CDoorController* doors)
{
    QList<QVariantMap> rows;
    const QList<DeviceLink*> links = server.links();
    for (const DeviceLink* link : links) {
        const DeviceLink::Identity& device = link->identity();
        const CDoorController::Status status = doors ? doors->status(device.id) : CDoorController::Status();
        rows.append({{QStringLiteral("label"), device.id.toLabel()},
                     {QStringLiteral("type"), device.type},
                     {QStringLiteral("typeName"), deviceTypeName(device.type)},
                     {QStringLiteral("system"), device.system.toLabel()},
                     {QStringLiteral("peer"), device.peer},
                     {QStringLiteral("since"), timeText(link->since())},
                     {QStringLiteral("lastHeard"), timeText(link->lastHeard())},
                     {QStringLiteral("handshakeMs"), device.handshakeMs},
                     {QStringLiteral("sent"), link->sent()},
                     {QStringLiteral("received"), link->receivedCount()},
                     {QStringLiteral("upToDate"), status.isUpToDate},
                     {QStringLiteral("revision"), QString::fromLatin1(status.revision)},
                     {QStringLiteral("fault"), status.fault}});
    }
    return rows;
}

QString deviceTypeName(int type)
{
    return QString::fromUtf8(CDataType::deviceTypeToString(CDataType::deviceTypeCast(type)));
}
