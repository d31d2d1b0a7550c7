#include <foundation/network/candidate_address_p.h>

#include <QtNetwork/QAbstractSocket>

namespace {

bool isDecimal(const QString& text, int from, int to)
{
    for (int i = from; i < to; ++i) {
        if (text[i] < QLatin1Char('0') || text[i] > QLatin1Char('9'))
            return false;
    }
    return to > from;
}

// Four decimal numbers without leading zeros (those would be octal to some readers and decimal to others).
bool parseDottedQuad(const QString& text, QHostAddress& address)
{
    constexpr int longest = 15;
    if (text.size() > longest)
        return false;
    quint32 value = 0;
    int begin = 0;
    for (int part = 0; part < 4; ++part) {
        const int end = part < 3 ? text.indexOf(QLatin1Char('.'), begin) : text.size();
        if (end < 0 || end - begin > 3 || !isDecimal(text, begin, end))
            return false;
        const uint number = text.mid(begin, end - begin).toUInt();
        if (number > 255 || (text[begin] == QLatin1Char('0') && end - begin > 1))
            return false;
        value = value << 8 | number;
        begin = end + 1;
    }
    address.setAddress(value);
    return true;
}

bool parseIPv6(const QString& text, QHostAddress& address)
{
    QHostAddress parsed;
    // A bracket, which Qt takes for a part of the zone ("::1%eth0]:70"), would stand in the wrong place when the
    // address is written.
    if (text.count(QLatin1Char(':')) < 2 || text.contains(QLatin1Char(']')) || !parsed.setAddress(text)
        || parsed.protocol() != QAbstractSocket::IPv6Protocol)
        return false;
    address = parsed;
    return true;
}

bool parseAddress(const QString& text, QHostAddress& address)
{
    return parseDottedQuad(text, address) || parseIPv6(text, address);
}

bool parsePort(const QString& text, int from, quint16& port)
{
    if (!isDecimal(text, from, text.size()))
        return false;
    bool ok = false;
    const quint16 parsed = text.mid(from).toUShort(&ok);
    if (ok)
        port = parsed;
    return ok;
}

bool parseLabel(const QString& text, CDeviceId& deviceId)
{
    constexpr int labelLength = 11;
    bool ok = false;
    if (text.size() == labelLength) // spares the long lists of addresses the splitting
        deviceId = CDeviceId::fromLabel(text, &ok);
    return ok;
}

} // namespace

CandidateAddress CandidateAddress::parse(const QString& text, quint16 defaultPort)
{
    CandidateAddress result;
    result.port = defaultPort;
    if (text.isEmpty())
        return result;
    if (parseLabel(text, result.deviceId)) {
        result.kind = Kind::Label;
        return result;
    }
    if (text.startsWith(QLatin1String("http://")) || text.startsWith(QLatin1String("https://"))) {
        result.kind = Kind::Url;
        return result;
    }
    result.kind = Kind::Address;
    if (text == QLatin1String("broadcast")) {
        result.address = QHostAddress(QHostAddress::Broadcast);
        return result;
    }
    if (parseAddress(text, result.address))
        return result;
    if (text.startsWith(QLatin1Char('['))) {
        const int close = text.indexOf(QLatin1Char(']'));
        if (close > 0 && parseIPv6(text.mid(1, close - 1), result.address)) {
            if (close + 1 == text.size())
                return result;
            result.hasPort = text[close + 1] == QLatin1Char(':') && parsePort(text, close + 2, result.port);
            if (result.hasPort)
                return result;
            result.address.clear();
        }
    }
    const int colon = text.indexOf(QLatin1Char(':'));
    result.hasPort = colon > 0 && parsePort(text, colon + 1, result.port);
    result.host = result.hasPort ? text.left(colon) : text;
    if (result.hasPort && parseAddress(result.host, result.address))
        result.host.clear();
    else
        result.kind = Kind::HostName;
    return result;
}

QString CandidateAddress::toText(const QHostAddress& address)
{
    const QString text = address.toString();
    return address.protocol() == QAbstractSocket::IPv6Protocol ? QString(QLatin1Char('[') + text + QLatin1Char(']'))
                                                               : text;
}

QString CandidateAddress::toText(const QHostAddress& address, quint16 port)
{
    return toText(address) + QLatin1Char(':') + QString::number(port);
}

QUrl CandidateAddress::webSocketUrl(const QString& text, bool useSsl, const QString& path)
{
    QUrl url(text);
    const bool secure = useSsl || url.scheme() == QLatin1String("https");
    url.setScheme(secure ? QStringLiteral("wss") : QStringLiteral("ws"));
    QString base = url.path(QUrl::FullyEncoded);
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    url.setPath(base + path, QUrl::TolerantMode);
    return url;
}

bool CandidateAddress::isSame(const QHostAddress& left, const QHostAddress& right)
{
    if (left == right)
        return true;
    bool leftIsIPv4 = false;
    bool rightIsIPv4 = false;
    const quint32 leftValue = left.toIPv4Address(&leftIsIPv4);
    const quint32 rightValue = right.toIPv4Address(&rightIsIPv4);
    return leftIsIPv4 && rightIsIPv4 && leftValue == rightValue;
}
