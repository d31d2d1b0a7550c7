#pragma once

#include <QtCore/QList>
#include <QtCore/QVariantMap>

class CDoorController;
class CRemoteDevices;
class DeviceServer;

/// The devices that are linked, as rows for people and programs, in the order of their ids: "label" "type" "typeName"
/// "system" "peer" "since" "lastHeard" "handshakeMs" "sent" "received" "upToDate" "revision" "fault" "server". Without
/// a controller nothing is known of their lists. With `remote` also those of other servers, of which some values are
/// unknown; a device that has moved stands at the server of its newest link. All of them may be null.
QList<QVariantMap> deviceRows(const DeviceServer* server, const CDoorController* doors, CRemoteDevices* remote);

/// The name of a device type from the catalog.
QString deviceTypeName(int type);
