#include <server/bridge/bridge_message_p.h>

#include <foundation/core/json_text.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>

namespace {

constexpr int longestName = 64;

// JSON's numbers are exact up to this one.
constexpr double largestNumber = 9007199254740992.0;

QJsonObject objectOf(const QByteArray& payload)
{
    return CJsonText::read(payload).object();
}

std::optional<qint64> numberOf(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    const double number = value.toDouble(-1);
    if (!value.isDouble() || !(number >= 0 && number < largestNumber) || number != double(qint64(number)))
        return std::nullopt;
    return qint64(number);
}

QString nameOf(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString().left(longestName);
}

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

BridgeTopics::BridgeTopics(const QString& system, const QString& server)
    : m_base(QStringLiteral("kyr/1/") + system + QLatin1Char('/'))
    , m_system(system)
    , m_server(server.toLower())
{
}

QByteArray BridgeTopics::sourceUri() const
{
    return "/kyr/" + (m_system + QLatin1Char('/') + m_server).toUtf8();
}

std::optional<BridgeTopics::Place> BridgeTopics::parse(const QString& topic) const
{
    if (!topic.startsWith(m_base))
        return std::nullopt;
    const int end = int(topic.indexOf(QLatin1Char('/'), m_base.size()));
    if (end <= m_base.size() || end - m_base.size() > longestName)
        return std::nullopt;
    return Place{topic.mid(m_base.size(), end - m_base.size()), topic.mid(end + 1)};
}

QString BridgeTopics::sourceOf(const QString& rest)
{
    for (const char* source : {"Model", "Access", "Devices"}) {
        QString name = QLatin1String(source);
        if (rest == restOf(name))
            return name;
    }
    return {};
}

QByteArray BridgeNotification::toPayload() const
{
    return compact({{QStringLiteral("source"), source},
                    {QStringLiteral("data"), QJsonObject::fromVariantMap(data)},
                    {QStringLiteral("seq"), seq},
                    {QStringLiteral("epoch"), epoch},
                    {QStringLiteral("installation"), installation}});
}

std::optional<BridgeNotification> BridgeNotification::fromPayload(const QByteArray& payload)
{
    const QJsonObject object = objectOf(payload);
    const std::optional<qint64> seq = numberOf(object, "seq");
    BridgeNotification read;
    read.source = nameOf(object, "source");
    read.epoch = nameOf(object, "epoch");
    read.installation = nameOf(object, "installation");
    if (!seq || *seq == 0 || read.source.isEmpty() || !object.value(QLatin1String("data")).isObject())
        return std::nullopt;
    read.seq = *seq;
    read.data = object.value(QLatin1String("data")).toObject().toVariantMap();
    return read;
}

QByteArray BridgeReplay::toPayload() const
{
    return compact({{QStringLiteral("source"), source},
                    {QStringLiteral("epoch"), epoch},
                    {QStringLiteral("from"), from},
                    {QStringLiteral("to"), to}});
}

std::optional<BridgeReplay> BridgeReplay::fromPayload(const QByteArray& payload)
{
    const QJsonObject object = objectOf(payload);
    const std::optional<qint64> from = numberOf(object, "from");
    const std::optional<qint64> to = numberOf(object, "to");
    BridgeReplay read;
    read.source = nameOf(object, "source");
    read.epoch = nameOf(object, "epoch");
    if (!from || !to || *from == 0 || *to < *from || read.source.isEmpty())
        return std::nullopt;
    read.from = *from;
    read.to = *to;
    return read;
}

QList<QPair<QByteArray, QByteArray>> eventAttributes(const QByteArray& sourceUri, const QString& kind,
                                                     const QString& epoch, qint64 seq)
{
    const QByteArray number = QByteArray::number(seq);
    const QByteArray type = kind.toLower().toUtf8();
    return {{"specversion", "1.0"},
            {"id", epoch.toLatin1() + '-' + type + '-' + number},
            {"source", sourceUri},
            {"type", "kyr." + type},
            {"time", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs).toLatin1()},
            {"epoch", epoch.toLatin1()},
            {"seq", number}};
}
