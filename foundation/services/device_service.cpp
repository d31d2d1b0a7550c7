#include <foundation/services/device_service.h>

IDeviceService::IDeviceService(QObject* parent)
    : QObject(parent)
{
}

IDeviceService::~IDeviceService() = default;
