// What this model has nothing behind.
#include <server/model/sql_access_control_p.h>

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
