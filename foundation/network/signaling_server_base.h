#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtNetwork/QNetworkAccessManager>

class QNetworkReply;

/// What both ends have in common that meet through the signaling service on the internet. Each exchange is one HTTPS
/// POST of a JSON object to https://AUTHORITY/tovr/signal; request and answer carry a message authentication code over
/// a key that the library and the service share. Nothing is retried and nothing kept open.
///
///     CSignalingServerAppSide server(QStringLiteral("signal.example.com"), &networkAccessManager);
///     server.setSystemId(system);
///     server.setGateways({gateway});
///     QNetworkReply* reply = server.sendData();
///     connect(reply, &QNetworkReply::finished, this, [=] {
///         QMap<CDeviceId, QString> gateways;
///         if (server.getGatewaysInfo(reply, reply->readAll(), gateways))
///             connectTo(gateways);
///         reply->deleteLater();
///     });
class KYR_FOUNDATION_EXPORT CSignalingServerBase
{
public:
    /// The host and, if need be, the port of the service: "host", "host:8443", "[::1]:8443". The manager is not owned;
    /// it decides about proxies and TLS errors.
    CSignalingServerBase(const QString& authority, QNetworkAccessManager* networkAccessManager);
    virtual ~CSignalingServerBase();

    /// Sets any entry of the message, in place of an earlier one.
    void addInfo(const QString& key, const QJsonValue& value);
    /// The version of the sender's software.
    void setVersion(const QString& version);

    /// Posts the message as it is now; may be called again. The caller owns the reply, learns from it of network and
    /// TLS errors, and reads its body before it asks one of the readers of the derived classes. Redirects are not
    /// followed. Null when there is no manager (any more).
    virtual QNetworkReply* sendData();

protected:
    /// Whether the body is signed JSON; gives its object. A missing reply, an empty or broken body and a wrong code
    /// fail, the last with a warning; the object is left alone then.
    static bool checkReply(const QNetworkReply* reply, const QByteArray& body, QJsonObject& object);

private:
    QString m_authority;
    QPointer<QNetworkAccessManager> m_networkAccessManager;
    QJsonObject m_info;
};
