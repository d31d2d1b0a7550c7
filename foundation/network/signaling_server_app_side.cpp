#include <foundation/network/signaling_server_app_side.h>

#include <QtCore/QJsonArray>

CSignalingServerAppSide::CSignalingServerAppSide(const QString& authority, QNetworkAccessManager* networkAccessManager)
    : CSignalingServerBase(authority, networkAccessManager)
{
}

void CSignalingServerAppSide::setSystemId(const CSystemId& systemId)
{
    addInfo(QStringLiteral("system"), static_cast<int>(systemId.value()));
}

void CSignalingServerAppSide::setGateways(const QVector<CDeviceId>& gateways)
{
    QJsonArray ids;
    for (const CDeviceId& gateway : gateways)
        ids.append(static_cast<int>(gateway.value()));
    addInfo(QStringLiteral("gateways"), ids);
}

void CSignalingServerAppSide::setAuthorities(const QStringList& authorities)
{
    QStringList named = authorities;
    named.removeAll(QString());
    addInfo(QStringLiteral("authority_list"), named.join(QLatin1Char(' ')));
}

bool CSignalingServerAppSide::getGatewaysInfo(const QNetworkReply* reply, const QByteArray& body,
                                              QMap<CDeviceId, QString>& gateways) const
{
    QJsonObject object;
    if (!checkReply(reply, body, object))
        return false;
    gateways.clear();
    const QJsonObject found = object.value(QLatin1String("gateways")).toObject();
    for (auto it = found.begin(); it != found.end(); ++it) {
        const QString place = it.value().toString();
        if (!place.isEmpty())
            gateways.insert(CDeviceId(it.key().toUInt()), place);
    }
    return true;
}
