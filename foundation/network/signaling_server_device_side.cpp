#include <foundation/network/signaling_server_device_side.h>

CSignalingServerDeviceSide::CSignalingServerDeviceSide(const QString& authority,
                                                       QNetworkAccessManager* networkAccessManager)
    : CSignalingServerBase(authority, networkAccessManager)
{
}

void CSignalingServerDeviceSide::setDevice(const CDeviceId& deviceId)
{
    addInfo(QStringLiteral("device"), static_cast<int>(deviceId.value()));
}

void CSignalingServerDeviceSide::setSystemId(const CSystemId& systemId)
{
    addInfo(QStringLiteral("system"), static_cast<int>(systemId.value()));
}

void CSignalingServerDeviceSide::addInterface(const QString& name, const QString& ip, quint16 port)
{
    m_interfaces.append(
        QJsonObject{{QStringLiteral("name"), name}, {QStringLiteral("ip"), ip}, {QStringLiteral("port"), port}});
}

QNetworkReply* CSignalingServerDeviceSide::sendData()
{
    addInfo(QStringLiteral("interfaces"), m_interfaces);
    return CSignalingServerBase::sendData();
}

bool CSignalingServerDeviceSide::getSoftwareInfo(const QNetworkReply* reply, const QByteArray& body,
                                                 QString& authorityList) const
{
    QJsonObject object;
    if (!checkReply(reply, body, object))
        return false;
    authorityList = object.value(QLatin1String("authority_list")).toString();
    return true;
}
