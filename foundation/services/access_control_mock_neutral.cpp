// What the installation in memory does not model: neutral answers.
#include <foundation/services/access_control_mock.h>

bool CAccessControlMock::openAccessPoint(CItemId, const QVariantMap&)
{
    return false;
}

bool CAccessControlMock::startWaitingForRfidMedium(const CDeviceId&)
{
    return false;
}

QVariant CAccessControlMock::getSystemProperty(const QString&, CItemId) const
{
    return {};
}

bool CAccessControlMock::setSystemProperty(const QString&, const QVariant&, CItemId)
{
    return false;
}

bool CAccessControlMock::deleteSystemProperty(const QString&)
{
    return false;
}

CItemId CAccessControlMock::getLoggedInId() const
{
    return {};
}

QStringList CAccessControlMock::getUserReportTemplateNames()
{
    return {};
}

bool CAccessControlMock::setSystemName(const QString&)
{
    return false;
}

QStringList CAccessControlMock::translate(const QStringList&, const QString&, const QString&)
{
    return {};
}

QVariantList CAccessControlMock::getUserRelatedOpenerActions(const QVariantMap&, bool)
{
    return {};
}

bool CAccessControlMock::executeOpenerAuthorizationPoints(const QVariantList&)
{
    return false;
}

QVariantMap CAccessControlMock::getSystemInfoOfLoggedInUser()
{
    return {};
}

QVariantList CAccessControlMock::getAccessPointsRelatedToLoggedInUser(const QString&)
{
    return {};
}

bool CAccessControlMock::executeAccessPointAsLoggedInUser(const QString&, unsigned int, const QVariantMap&,
                                                          const QVariantMap&)
{
    return false;
}

bool CAccessControlMock::addDeviceToAccessPoint(const QString&, CItemId, const QVariantMap&)
{
    return false;
}

bool CAccessControlMock::deleteDevice(const QString&)
{
    return false;
}

bool CAccessControlMock::simulateRfidMedium(const QString&, unsigned int, unsigned int, int, int)
{
    return false;
}

void CAccessControlMock::quit() {}

bool CAccessControlMock::setNotifications(const QStringList&)
{
    return false;
}

CNotificationService* CAccessControlMock::getNotificationService()
{
    return nullptr;
}

QString CAccessControlMock::getAbsolutePath(const QString&)
{
    return {};
}

bool CAccessControlMock::hasLogins() const
{
    return false;
}

bool CAccessControlMock::checkLogin(const QString&, const QString&, CItemId*, QString*, bool*) const
{
    return false;
}

QString CAccessControlMock::getTemporaryMfaSecret(const CItemId&)
{
    return {};
}

QString CAccessControlMock::getNewSessionId(const CItemId&, unsigned int, const QString&, const QString&, int*)
{
    return {};
}

QDateTime CAccessControlMock::getSessionExpirationDate(const CItemId&, const QString&)
{
    return {};
}

bool CAccessControlMock::setLoggedInId(CItemId, const QString&)
{
    return false;
}

bool CAccessControlMock::hasPermission(const QString&, CItemId, bool) const
{
    return false;
}

bool CAccessControlMock::importData(const QString&)
{
    return false;
}

QByteArray CAccessControlMock::getUserReportAsPdf(const QVariantMap&)
{
    return {};
}

QStringList CAccessControlMock::getSystemLog()
{
    return {};
}

QString CAccessControlMock::getAcknowledgementsAsHtml()
{
    return {};
}

bool CAccessControlMock::modifyCustomFile(const QString&, bool, const QByteArray&)
{
    return false;
}

bool CAccessControlMock::setPluginConfigs(const QVariantMap&)
{
    return false;
}

QVariantMap CAccessControlMock::getPluginConfig(const QString&)
{
    return {};
}

bool CAccessControlMock::unauthorized_request_new_password(const QString&)
{
    return false;
}

bool CAccessControlMock::unauthorized_set_new_password(const QString&, const QString&)
{
    return false;
}

QByteArray CAccessControlMock::getSystemHashOfData(const QByteArray&, int) const
{
    return {};
}
