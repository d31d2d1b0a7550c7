#pragma once

#include <server/bridge/mqtt_client.h>

#include <QtCore/QJsonObject>
#include <QtCore/QVariantMap>

#include <optional>

/// A message of one server and source, as it is kept until the broker has it.
struct BridgeMessage
{
    qint64 seq = 0;
    /// Below the server's own place; a second one is for those who watch one door.
    QStringList topics{};
    QByteArray payload{};
    bool isRetained = false;
};

/// How servers of one installation call one another at a broker: "kyr/1/SYSTEM/SERVER/...".
class KYR_SERVER_TEST_EXPORT BridgeTopics
{
public:
    BridgeTopics(const QString& system, const QString& server);

    QString own(const QString& rest) const { return m_base + m_server + QLatin1Char('/') + rest; }
    QString other(const QString& server, const QString& rest) const
    {
        return m_base + server + QLatin1Char('/') + rest;
    }
    QString ofAll(const QString& rest) const { return m_base + QLatin1Char('+') + QLatin1Char('/') + rest; }
    /// Where the messages of a source stand: "notify/model"; and the source of such a place, of others none.
    static QString restOf(const QString& source) { return QStringLiteral("notify/") + source.toLower(); }
    static QString sourceOf(const QString& rest);
    /// In lower case.
    QString server() const { return m_server; }
    /// As the source of an event: "/kyr/SYSTEM/SERVER".
    QByteArray sourceUri() const;

    struct Place
    {
        QString server;
        QString rest;
    };
    /// Nothing for a topic of another installation.
    std::optional<Place> parse(const QString& topic) const;

private:
    QString m_base;
    QString m_system;
    QString m_server;
};

/// What stands in a message of a source. The form is
/// {"source":"Model","data":{...},"seq":7,"epoch":"0f3a...","installation":"..."}.
struct KYR_SERVER_TEST_EXPORT BridgeNotification
{
    QString source{};
    QVariantMap data{};
    qint64 seq = 0;
    QString epoch{};
    /// Servers that share a database share this.
    QString installation{};

    QByteArray toPayload() const;
    /// Nothing for whatever is not of that form.
    static std::optional<BridgeNotification> fromPayload(const QByteArray& payload);
};

/// Somebody asks for messages again: {"source":"Model","epoch":"0f3a...","from":5,"to":9}.
struct KYR_SERVER_TEST_EXPORT BridgeReplay
{
    QString source{};
    QString epoch{};
    qint64 from = 0;
    qint64 to = 0;

    QByteArray toPayload() const;
    static std::optional<BridgeReplay> fromPayload(const QByteArray& payload);
};

/// The attributes of a cloud event, by which programs of others tell messages apart.
QList<QPair<QByteArray, QByteArray>> eventAttributes(const QByteArray& sourceUri, const QString& kind,
                                                     const QString& epoch, qint64 seq);
