#include "server/notification_message.h"

#include <QtCore/QJsonDocument>

NotificationMessage NotificationMessage::answer(const QJsonValue& id, const QJsonObject& resultOrError)
{
    QJsonObject object = resultOrError;
    object.insert(QStringLiteral("jsonrpc"), QStringLiteral("2.0"));
    object.insert(QStringLiteral("id"), id);
    NotificationMessage message;
    message.m_content = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
    return message;
}

NotificationMessage NotificationMessage::whole(const QString& text)
{
    NotificationMessage message;
    message.m_content = text;
    return message;
}

NotificationMessage NotificationMessage::numbered(quint64 number, const QString& method, const QString& params)
{
    NotificationMessage message;
    message.m_number = number;
    message.m_method = method;
    message.m_content = params;
    return message;
}

QString NotificationMessage::parameters(const QJsonArray& params)
{
    return QString::fromUtf8(QJsonDocument(params).toJson(QJsonDocument::Compact));
}

QString NotificationMessage::text() const
{
    if (m_number == 0)
        return m_content;
    // JSON has no document of one text: the list's brackets are taken off.
    const QString method = parameters({m_method}).chopped(1).mid(1);
    return QLatin1String(R"({"jsonrpc":"2.0","method":)") + method + QLatin1String(R"(,"params":)") + m_content
           + QLatin1String(R"(,"seq":)") + QString::number(m_number) + QLatin1Char('}');
}
