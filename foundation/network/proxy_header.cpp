#include <foundation/network/proxy_header_p.h>

#include <QtCore/QtEndian>

#include <algorithm>
#include <cstring>

namespace {

constexpr char signature[] = "\r\n\r\n\0\r\nQUIT\n";
constexpr int signatureSize = sizeof signature - 1;
constexpr int fixedSize = 16; // signature, version and command, family and transport, length of the rest

constexpr int versionBits = 0x20;
enum Command
{
    Local = 0,
    Proxy = 1
};
enum Transport
{
    Unspecified = 0x00,
    Tcp4 = 0x11,
    Tcp6 = 0x21
};

constexpr int size4 = 12; // two addresses, two ports
constexpr int size6 = 36;

} // namespace

ProxyHeader::Result ProxyHeader::parse(const QByteArray& bytes, ProxyHeader& header)
{
    const int known = std::min(int(bytes.size()), signatureSize);
    if (std::memcmp(bytes.constData(), signature, size_t(known)) != 0)
        return Invalid;
    if (bytes.size() < fixedSize)
        return Incomplete;
    const auto* const data = reinterpret_cast<const uchar*>(bytes.constData());
    const int command = data[signatureSize] - versionBits;
    const int transport = data[signatureSize + 1];
    const int rest = qFromBigEndian<quint16>(data + signatureSize + 2);
    const int needed = command == Local || transport == Unspecified ? 0
                       : transport == Tcp4                          ? size4
                       : transport == Tcp6                          ? size6
                                                                    : longest;
    if ((command != Local && command != Proxy) || rest < needed || fixedSize + rest > longest)
        return Invalid;
    if (bytes.size() < fixedSize + rest)
        return Incomplete;
    header = ProxyHeader();
    header.size = fixedSize + rest;
    const uchar* const addresses = data + fixedSize;
    if (needed == size4) {
        header.address = QHostAddress(qFromBigEndian<quint32>(addresses));
        header.port = qFromBigEndian<quint16>(addresses + 8);
    } else if (needed == size6) {
        header.address = QHostAddress(addresses);
        header.port = qFromBigEndian<quint16>(addresses + 32);
    }
    return Complete;
}
