// What needs devices that are linked, and what this model has nothing behind.
#include <server/model/sql_access_control_p.h>

namespace {

bool noDevice(const char* operation)
{
    qWarning("SqlAccessControl: %s: no device is linked", operation);
    return false;
}

} // namespace

bool CSqlAccessControl::openAccessPoint(CItemId, const QVariantMap&)
{
    return noDevice("openAccessPoint");
}

bool CSqlAccessControl::startWaitingForRfidMedium(const CDeviceId&)
{
    return noDevice("startWaitingForRfidMedium");
}

bool CSqlAccessControl::executeOpenerAuthorizationPoints(const QVariantList&)
{
    return noDevice("executeOpenerAuthorizationPoints");
}

bool CSqlAccessControl::executeAccessPointAsLoggedInUser(const QString&, unsigned int, const QVariantMap&,
                                                         const QVariantMap&)
{
    return noDevice("executeAccessPointAsLoggedInUser");
}

bool CSqlAccessControl::simulateRfidMedium(const QString&, unsigned int, unsigned int, int, int)
{
    return noDevice("simulateRfidMedium");
}

void CSqlAccessControl::addSmartAccessLoginToUser(CItemId, const QVariantMap&, MapCallback callback)
{
    if (callback)
        callback({{QStringLiteral("status"), QStringLiteral("error")},
                  {QStringLiteral("error"), QStringLiteral("Not implemented")}});
}

QString CSqlAccessControl::getAcknowledgementsAsHtml()
{
    return {};
}

bool CSqlAccessControl::modifyCustomFile(const QString&, bool, const QByteArray&)
{
    return false;
}

bool CSqlAccessControl::setPluginConfigs(const QVariantMap&)
{
    return false;
}

QVariantMap CSqlAccessControl::getPluginConfig(const QString&)
{
    return {};
}

bool CSqlAccessControl::unauthorized_request_new_password(const QString&)
{
    return false;
}

bool CSqlAccessControl::unauthorized_set_new_password(const QString&, const QString&)
{
    return false;
}
