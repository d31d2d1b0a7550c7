#include <foundation/network/device_discovery_base.h>

#include <foundation/core/system_id.h>
#include <foundation/network/device_discovery_text_p.h>
#include <foundation/network/socket_owner_p.h>

#include <QtCore/QPointer>
#include <QtNetwork/QUdpSocket>

#include <array>
#include <charconv>
#include <string_view>

namespace {

using Bytes = std::string_view;

constexpr int largestDatagram = 0xFFFF;
constexpr Bytes startWord = "DISCOVERY ";
// What follows the start word, by message type.
constexpr std::array<Bytes, 3> messageNames = {"", "GET DeviceInfo", "RESULT DeviceInfo"};
// The name on the wire, by header.
constexpr std::array<Bytes, 4> headerNames = {"", "DeviceType", "DeviceId", "SystemId"};

bool startsWith(Bytes text, Bytes prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

bool isSpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

Bytes trimmed(Bytes text)
{
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

// The line at the front of `rest`, without its line feed, taken off `rest`.
Bytes takeLine(Bytes& rest)
{
    const size_t end = rest.find('\n');
    const Bytes line = rest.substr(0, end);
    rest.remove_prefix(end == Bytes::npos ? rest.size() : end + 1);
    return line;
}

CDeviceDiscoveryBase::DatagramType datagramType(Bytes firstLine)
{
    if (startsWith(firstLine, startWord)) {
        firstLine.remove_prefix(startWord.size());
        for (size_t type = 1; type < messageNames.size(); ++type) {
            if (startsWith(firstLine, messageNames[type]))
                return static_cast<CDeviceDiscoveryBase::DatagramType>(type);
        }
    }
    return CDeviceDiscoveryBase::NoDatagram;
}

template<typename Number>
bool readDigits(Bytes text, Number& number)
{
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

// A plain number, as nearly all are, is read in place; any other as Qt reads it.
QVariant headerValue(size_t header, Bytes text)
{
    const auto copy = [text] { return QByteArray(text.data(), static_cast<int>(text.size())); };
    if (header == CDeviceDiscoveryBase::DeviceType) {
        int number = 0;
        return readDigits(text, number) ? number : copy().toInt();
    }
    uint number = 0;
    return readDigits(text, number) ? number : copy().toUInt();
}

void writeStart(DiscoveryText& message, CDeviceDiscoveryBase::DatagramType type)
{
    const auto index = static_cast<size_t>(type);
    message << startWord << (index < messageNames.size() ? messageNames[index] : Bytes()) << "\r\n";
}

void writeHeader(DiscoveryText& message, CDeviceDiscoveryBase::Header header, qint64 value)
{
    message << headerNames[static_cast<size_t>(header)] << ": " << value << "\r\n";
}

// Of those that are ready to share, the system may choose a port that another socket has, and only one of them would
// get the answers. So a port that nobody has is looked for first.
void bindShared(QUdpSocket* socket, quint16 port)
{
    if (port == 0 && socket->bind(0)) {
        const quint16 free = socket->localPort();
        socket->close();
        if (socket->bind(free, QAbstractSocket::ShareAddress))
            return;
        // Somebody took it meanwhile, for himself alone: a doubtful port is better than none.
    }
    socket->bind(port, QAbstractSocket::ShareAddress);
}

} // namespace

CDeviceDiscoveryBase::CDeviceDiscoveryBase(quint16 port, QObject* parent)
    : QObject(parent)
    , m_socket(new QUdpSocket(this))
    , m_defaultPort(port)
    , m_boundPort(port)
{
    // Travels in signals: spies, string connections and queued calls look it up by name.
    qRegisterMetaType<QHostAddress>("QHostAddress");
    bindShared(m_socket, port);
    connect(m_socket, &QUdpSocket::readyRead, this, &CDeviceDiscoveryBase::receiveDatagram);
}

CDeviceDiscoveryBase::~CDeviceDiscoveryBase()
{
    releaseSocket(m_socket, this, m_signalDepth > 0);
}

void CDeviceDiscoveryBase::setSystemId(quint32 systemId)
{
    m_systemId = CSystemId(systemId).value();
}

void CDeviceDiscoveryBase::bindOnUdpPort(quint16 port)
{
    if (port == m_boundPort)
        return;
    m_socket->close();
    bindShared(m_socket, port);
    m_boundPort = port;
}

QByteArray CDeviceDiscoveryBase::renderHeaders(const QMap<Header, QVariant>& headers, DatagramType type)
{
    DiscoveryText message;
    writeStart(message, type);
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (header.key() >= DeviceType && header.key() <= SystemId) {
            const bool isSigned = header.key() == DeviceType;
            writeHeader(message, header.key(), isSigned ? qint64(header->toInt()) : qint64(header->toUInt()));
        }
    }
    return message.toBytes();
}

QByteArray CDeviceDiscoveryBase::renderValues(std::initializer_list<std::pair<Header, qint64>> values,
                                              DatagramType type)
{
    DiscoveryText message;
    writeStart(message, type);
    for (const auto& [header, value] : values)
        writeHeader(message, header, value);
    return message.toBytes();
}

QMap<CDeviceDiscoveryBase::Header, QVariant> CDeviceDiscoveryBase::parseHeaders(const QByteArray& data,
                                                                                DatagramType& type)
{
    Bytes rest(data.constData(), static_cast<size_t>(data.size()));
    type = datagramType(takeLine(rest));

    // Only where the last value of each header stands is kept: whoever sends a million lines causes no allocation.
    std::array<Bytes, headerNames.size()> values;
    while (!rest.empty()) {
        const Bytes line = takeLine(rest);
        const size_t colon = line.find(':');
        if (colon == Bytes::npos)
            continue;
        const Bytes name = trimmed(line.substr(0, colon));
        for (size_t header = DeviceType; header < headerNames.size(); ++header) {
            if (name == headerNames[header])
                values[header] = line.substr(colon + 1);
        }
    }

    QMap<Header, QVariant> headers;
    for (size_t header = DeviceType; header < values.size(); ++header) {
        if (values[header].data())
            headers.insert(static_cast<Header>(header), headerValue(header, trimmed(values[header])));
    }
    return headers;
}

void CDeviceDiscoveryBase::receiveDatagram()
{
    // A receiver may delete this object.
    const QPointer<CDeviceDiscoveryBase> alive(this);
    ++m_signalDepth;
    QByteArray buffer(largestDatagram, Qt::Uninitialized);
    do {
        QHostAddress sender;
        quint16 senderPort = 0;
        // Not asked before for its size, or whether it is there: each is a call into the system.
        const qint64 size = m_socket->readDatagram(buffer.data(), buffer.size(), &sender, &senderPort);
        if (size < 0)
            break;
        DatagramType type = NoDatagram;
        const auto headers = parseHeaders(QByteArray::fromRawData(buffer.constData(), static_cast<int>(size)), type);
        if (type != NoDatagram)
            receiveMessage(type, headers, plainAddress(sender), senderPort);
    } while (alive && m_socket->hasPendingDatagrams());
    if (alive)
        --m_signalDepth;
}

QHostAddress CDeviceDiscoveryBase::plainAddress(const QHostAddress& address)
{
    bool isIPv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(ipv4) : address;
}

void CDeviceDiscoveryBase::sendDatagram(const QByteArray& message, const QHostAddress& address, quint16 port)
{
    m_socket->writeDatagram(message, address, port);
}
