#include <foundation/services/device_action.h>

IDeviceAction::IDeviceAction(QObject* parent)
    : QObject(parent)
{
}

IDeviceAction::~IDeviceAction() = default;
