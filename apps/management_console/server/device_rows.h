#pragma once

#include <QtCore/QList>
#include <QtCore/QVariantMap>

class CDoorController;
class DeviceServer;

/// The devices that are linked, as rows for people and programs, in the order of their ids: "label" "type" "typeName"
/// "system" "peer" "since" "lastHeard" "handshakeMs" "sent" "received" "upToDate" "revision" "fault". Without a
/// controller nothing is known of their lists.
QList<QVariantMap> deviceRows(const DeviceServer& server, const CDoorController* doors);

/// The name of a device type from the catalog.
QString deviceTypeName(int type);
