#include <foundation/services/simple_access_control.h>

#include <foundation/services/notification_service.h>

ISimpleAccessControl::ISimpleAccessControl(QObject* parent)
    : QObject(parent)
{
}

ISimpleAccessControl::~ISimpleAccessControl() = default;

void ISimpleAccessControl::beginTransaction(const QString&) {}

void ISimpleAccessControl::endTransaction() {}
