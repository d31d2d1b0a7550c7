#include "server/served_api.h"

#include "server/device_rows.h"
#include "server/device_server.h"
#include "server/door_links.h"

#include <foundation/services/notification_service.h>
#include <server/model/sql_access_control.h>

ServedApi::ServedApi(DeviceServer* inServed, ServedDoors* doors, IDeviceService* devices)
    : served(inServed)
    , api(doors->model, &doors->trail, devices)
    , server(api, *inServed->notifications(), inServed->door())
{
    api.setNotificationService(served->notifications());
    api.setDeviceList([inServed, doors] {
        QVariantList list;
        const QList<QVariantMap> rows = deviceRows(inServed, &doors->controller, doors->remoteWork.remote());
        for (const QVariantMap& row : rows)
            list.append(row);
        return list;
    });
    served->setSessions(
        [this](const QString& client, const QString& session) { return api.admitSubscriber(client, session); },
        [this](const QString& client) { api.forgetSubscriber(client); });
}

ServedApi::~ServedApi()
{
    served->setSessions(nullptr, nullptr);
}
