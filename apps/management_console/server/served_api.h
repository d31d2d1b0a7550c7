#pragma once

#include "server/api_server.h"

#include <server/api/api.h>

class DeviceServer;
struct ServedDoors;

/// The API while devices are served: who calls it reaches the installation, and the devices that are linked.
struct ServedApi
{
    /// None is taken over; all outlive it.
    ServedApi(DeviceServer* server, ServedDoors* doors, IDeviceService* devices);
    ~ServedApi();

    DeviceServer* served;
    CApi api;
    ApiServer server;
};
