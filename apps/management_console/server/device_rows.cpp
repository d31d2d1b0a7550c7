#include "server/device_rows.h"

#include "server/device_server.h"

#include <foundation/datatypes/data_type.h>
#include <server/devices/door_controller.h>
#include <server/devices/remote_devices.h>

#include <QtCore/QMap>

namespace {

QString timeText(const QDateTime& time)
{
    return time.isValid() ? time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate) : QString();
}

} // namespace

QList<QVariantMap> deviceRows(const DeviceServer* server, const CDoorController* doors, CRemoteDevices* remote)
{
    QMap<quint32, QVariantMap> rows;
    const QList<CRemoteDevices::Link> all = remote ? remote->links() : QList<CRemoteDevices::Link>();
    for (const CRemoteDevices::Link& link : all) {
        if (link.isOwn)
            continue;
        QVariantMap row = link.details.toVariantMap();
        row.insert(QStringLiteral("label"), link.device.toLabel());
        row.insert(QStringLiteral("typeName"), deviceTypeName(row.value(QStringLiteral("type")).toInt()));
        row.insert(QStringLiteral("since"), timeText(link.since));
        row.insert(QStringLiteral("lastHeard"), timeText(link.lastHeard));
        row.insert(QStringLiteral("server"), link.server);
        rows.insert(link.device.value(), row);
    }
    const QString own = remote ? remote->server() : QString();
    const QList<DeviceLink*> links = server ? server->links() : QList<DeviceLink*>();
    for (const DeviceLink* link : links) {
        const DeviceLink::Identity& device = link->identity();
        if (rows.contains(device.id.value()))
            continue;
        const CDoorController::Status status = doors ? doors->status(device.id) : CDoorController::Status();
        rows.insert(device.id.value(), {{QStringLiteral("label"), device.id.toLabel()},
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
                                        {QStringLiteral("fault"), status.fault},
                                        {QStringLiteral("server"), own}});
    }
    return rows.values();
}

QString deviceTypeName(int type)
{
    return QString::fromUtf8(CDataType::deviceTypeToString(CDataType::deviceTypeCast(type)));
}
