#include <foundation/core/json_parser.h>
#include <foundation/core/utf8_p.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/handshake_messages_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStringList>
#include <QtNetwork/QHostAddress>

#include <algorithm>

namespace {

constexpr int shortestRandom = 8; // characters

const QLatin1String randomKey("random");
const QLatin1String timeKey("time");
const QLatin1String deviceKey("deviceid");
const QLatin1String serverKey("serverip");
const QLatin1String challengeKey("challenge");
const QLatin1String certificateKey("certificate");
const QLatin1String signatureKey("signature");

QString now()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
}

QVariantMap readMap(const QByteArray& message)
{
    return CJsonParser::deserialize(utf8UpToZero(message), nullptr, false);
}

// A value that has to be a text: bytes and numbers that look like the expected text are not it.
QString textValue(const QVariantMap& map, const QString& key)
{
    const QVariant value = map.value(key);
    return value.userType() == QMetaType::QString ? value.toString() : QString();
}

bool isPlainWord(const QString& key)
{
    return !key.isEmpty() && std::all_of(key.begin(), key.end(), [](QChar c) {
        return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
               || (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('_') || c == QLatin1Char('-');
    });
}

// The codec writes keys as they are and such a text unquoted, whatever type of value gives it: either could add
// entries of the peer's own to those that the device signs.
bool isHarmless(const QString& key, const QVariant& value)
{
    const QString text = value.toString();
    return isPlainWord(key) && !text.startsWith(QLatin1Char('[')) && !text.startsWith(QLatin1Char('{'));
}

// One flat object of texts, read byte by byte. Its texts hold neither quotes nor backslashes, so that they stand in it
// as they are.
class FlatObject
{
public:
    explicit FlatObject(const QByteArray& text)
        : m_text(text)
    {
    }

    bool read(QHash<QByteArray, QByteArray>& entries)
    {
        if (!m_text.startsWith('{') || !m_text.endsWith('}'))
            return false;
        m_at = 1;
        if (take('}'))
            return m_at == m_text.size();
        QByteArray key, value;
        do {
            if (!takeQuoted(key) || !take(':') || !takeQuoted(value) || entries.contains(key))
                return false;
            entries.insert(key, value);
        } while (take(','));
        return take('}') && m_at == m_text.size();
    }

private:
    char current() const { return m_at < m_text.size() ? m_text.at(m_at) : '\0'; }

    bool take(char expected)
    {
        while (current() == ' ' || current() == '\t' || current() == '\n' || current() == '\r')
            ++m_at;
        if (current() != expected)
            return false;
        ++m_at;
        return true;
    }

    bool takeQuoted(QByteArray& text)
    {
        if (!take('"'))
            return false;
        const auto begin = m_at;
        while (static_cast<uchar>(current()) >= ' ' && current() != '"' && current() != '\\')
            ++m_at;
        text = m_text.mid(begin, m_at - begin);
        return take('"');
    }

    const QByteArray& m_text;
    decltype(QByteArray().size()) m_at = 0;
};

} // namespace

bool DeviceRequest::parse(const QString& line, CSystemId ownSystem, DeviceRequest& request)
{
    request.path = line.split(QLatin1Char(' ')).value(1);
    const QStringList parts = request.path.split(QLatin1Char('/'));
    DeviceIdentity& device = request.device;
    device.id = CDeviceId::fromLabel(parts.value(2));
    bool isNumber = false;
    device.type = parts.value(3).toInt(&isNumber);
    device.system = CSystemId::fromLabel(parts.value(4));
    const bool isKnownType =
        isNumber && device.type != 0 && static_cast<int>(CDataType::deviceTypeCast(device.type)) == device.type;
    return device.id.isValid() && isKnownType && (!device.system.isValid() || device.system == ownSystem);
}

QString DeviceRequest::pathOf(const DeviceIdentity& device)
{
    const QString path = QStringLiteral("/gw/%1/%2").arg(device.id.toLabel()).arg(device.type);
    return device.system.isValid() ? path + QLatin1Char('/') + device.system.toLabel() : path;
}

ChallengeRequest ChallengeRequest::fresh()
{
    // Whoever calls sees this number: from the process-wide generator, he could compute what it gives others.
    const quint64 number = QRandomGenerator64::system()->generate();
    constexpr int digits = 2 * sizeof number;
    const QString random = QStringLiteral("%1").arg(number, digits, 16, QLatin1Char('0'));
    return {{{randomKey, random}, {timeKey, now()}}};
}

bool ChallengeRequest::parse(const QByteArray& message, ChallengeRequest& request)
{
    if (message.size() > ConnectionLimits::challengeRequest)
        return false;
    request.entries = readMap(message);
    if (request.entries.size() > ConnectionLimits::challengeEntries)
        return false;
    for (auto entry = request.entries.cbegin(); entry != request.entries.cend(); ++entry) {
        if (!isHarmless(entry.key(), entry.value()))
            return false;
    }
    return request.entries.value(randomKey).toString().size() >= shortestRandom;
}

QByteArray ChallengeRequest::toBytes() const
{
    return CJsonParser::serialize(entries).toUtf8();
}

QByteArray ChallengeRequest::random() const
{
    return textValue(entries, randomKey).toUtf8();
}

QByteArray Challenge::textFor(const ChallengeRequest& request, CDeviceId device, const QHostAddress& server)
{
    QVariantMap entries = request.entries;
    entries[timeKey] = now();
    entries[deviceKey] = device.toLabel();
    entries[serverKey] = server.toString();
    return CJsonParser::serialize(entries).toUtf8();
}

bool Challenge::parse(const QByteArray& text, Challenge& challenge)
{
    QHash<QByteArray, QByteArray> entries;
    if (!FlatObject(text).read(entries))
        return false;
    const auto entry = [&entries](QLatin1String key) { return entries.value(QByteArray(key.data(), key.size())); };
    challenge = {entry(deviceKey), entry(randomKey), entry(serverKey)};
    return true;
}

ChallengeAnswer ChallengeAnswer::parse(const QByteArray& message)
{
    const QVariantMap map = readMap(message);
    QString pem = textValue(map, certificateKey);
    pem.replace(QLatin1String("\\n"), QLatin1String("\n"));
    return {textValue(map, challengeKey).toUtf8(), pem.toUtf8(),
            QByteArray::fromBase64(textValue(map, signatureKey).toLatin1())};
}

QByteArray ChallengeAnswer::toBytes() const
{
    QVariantMap map{{challengeKey, utf8Whole(challenge)}};
    if (!certificatePem.isEmpty()) {
        map[certificateKey] = utf8Whole(certificatePem);
        map[signatureKey] = QString::fromLatin1(signature.toBase64());
    }
    return CJsonParser::serialize(map).toUtf8();
}
