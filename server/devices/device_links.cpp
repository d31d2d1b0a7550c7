#include <server/devices/device_links.h>

IDeviceLinks::~IDeviceLinks() = default;
