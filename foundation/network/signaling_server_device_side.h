#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/network/signaling_server_base.h>

#include <QtCore/QJsonArray>

/// A device (a gateway) reports to the signaling service who it is and where it can be reached.
class KYR_FOUNDATION_EXPORT CSignalingServerDeviceSide : public CSignalingServerBase
{
public:
    CSignalingServerDeviceSide(const QString& authority, QNetworkAccessManager* networkAccessManager);

    void setDevice(const CDeviceId& deviceId);
    void setSystemId(const CSystemId& systemId);
    /// One more address of the device; each message names all that were added so far.
    void addInterface(const QString& name, const QString& ip, quint16 port);

    QNetworkReply* sendData() override;

    /// Reads from an answer which authorities the device is to accept, separated by blanks; empty when it names none.
    /// False, and the list left alone, for an answer that cannot be trusted or read.
    bool getSoftwareInfo(const QNetworkReply* reply, const QByteArray& body, QString& authorityList) const;

private:
    QJsonArray m_interfaces;
};
