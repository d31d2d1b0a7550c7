#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

/// One text frame to a client of the notification server: an answer to a request of its own, or what the service has
/// for it, which bears the number that it has for this client. Copies share what they hold.
class NotificationMessage
{
public:
    /// `resultOrError` has one entry, "result" or "error".
    static NotificationMessage answer(const QJsonValue& id, const QJsonObject& resultOrError);
    /// Written by somebody else.
    static NotificationMessage whole(const QString& text);
    /// `params` is JSON text, written by parameters(); many clients are sent the same.
    static NotificationMessage numbered(quint64 number, const QString& method, const QString& params);
    static QString parameters(const QJsonArray& params);

    /// Written when it is wanted, so that what waits for a slow client takes no room of its own.
    QString text() const;
    /// The characters that it holds, or shares.
    qint64 size() const { return m_method.size() + m_content.size(); }

private:
    quint64 m_number = 0; // 0 for an answer
    QString m_method;
    QString m_content; // parameters, or the whole answer
};
