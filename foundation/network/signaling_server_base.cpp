#include <foundation/network/signaling_server_base.h>

#include <foundation/core/json_text.h>
#include <foundation/network/signaling_mac_p.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QUrl>
#include <QtNetwork/QNetworkReply>
#include <QtNetwork/QNetworkRequest>

CSignalingServerBase::CSignalingServerBase(const QString& authority, QNetworkAccessManager* networkAccessManager)
    : m_authority(authority)
    , m_networkAccessManager(networkAccessManager)
{
}

CSignalingServerBase::~CSignalingServerBase() = default;

void CSignalingServerBase::addInfo(const QString& key, const QJsonValue& value)
{
    m_info.insert(key, value);
}

void CSignalingServerBase::setVersion(const QString& version)
{
    addInfo(QStringLiteral("version"), version);
}

QNetworkReply* CSignalingServerBase::sendData()
{
    if (!m_networkAccessManager)
        return nullptr;
    const QByteArray body = QJsonDocument(m_info).toJson(QJsonDocument::Compact);
    QUrl url;
    url.setScheme(QStringLiteral("https"));
    url.setAuthority(m_authority);
    url.setPath(QStringLiteral("/tovr/signal"));
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("text/plain; charset=UTF-8"));
    request.setRawHeader(signalingMacHeader, signalingMac(body));
    // The same in all versions of Qt; what is signed for this service is not handed on to another.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    return m_networkAccessManager->post(request, body);
}

bool CSignalingServerBase::checkReply(const QNetworkReply* reply, const QByteArray& body, QJsonObject& object)
{
    if (reply == nullptr)
        return false;
    const QJsonDocument document = CJsonText::read(body);
    if (document.isNull())
        return false;
    if (!isSignalingMac(reply->rawHeader(signalingMacHeader), body)) {
        qWarning("SignalingServer: mismatching MACs");
        return false;
    }
    object = document.object();
    return true;
}
