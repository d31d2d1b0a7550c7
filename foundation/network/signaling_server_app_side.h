#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/network/signaling_server_base.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// An application asks the signaling service where the gateways of its system can be reached.
class KYR_FOUNDATION_EXPORT CSignalingServerAppSide : public CSignalingServerBase
{
public:
    CSignalingServerAppSide(const QString& authority, QNetworkAccessManager* networkAccessManager);

    void setSystemId(const CSystemId& systemId);
    /// The gateways that are looked for.
    void setGateways(const QVector<CDeviceId>& gateways);
    /// Where the application can be reached itself; empty entries are left out.
    void setAuthorities(const QStringList& authorities);

    /// Reads from an answer where each gateway can be reached; gateways that the service does not know are not in it. A
    /// name that is no device id counts as the invalid id. False, and the map left alone, for an answer that cannot be
    /// trusted or read.
    bool getGatewaysInfo(const QNetworkReply* reply, const QByteArray& body, QMap<CDeviceId, QString>& gateways) const;
};
