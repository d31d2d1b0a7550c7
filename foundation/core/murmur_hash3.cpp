#include <foundation/core/murmur_hash3.h>

#include <QtCore/QByteArray>
#include <QtCore/QtEndian>

namespace {

constexpr quint32 rotateLeft(quint32 value, int bits)
{
    return value << bits | value >> (32 - bits);
}

constexpr quint32 scramble(quint32 block)
{
    return rotateLeft(block * 0xcc9e2d51u, 15) * 0x1b873593u;
}

} // namespace

unsigned int murmurHash3_x86_32(const void* data, int length, unsigned int seed)
{
    length = qMax(length, 0);
    const auto* bytes = static_cast<const uchar*>(data);
    const uchar* const blocksEnd = bytes + (length & ~3);
    quint32 hash = seed;
    for (; bytes != blocksEnd; bytes += 4)
        hash = rotateLeft(hash ^ scramble(qFromLittleEndian<quint32>(bytes)), 13) * 5 + 0xe6546b64u;

    quint32 rest = 0;
    switch (length & 3) {
    case 3:
        rest = static_cast<quint32>(bytes[2]) << 16;
        Q_FALLTHROUGH();
    case 2:
        rest |= static_cast<quint32>(bytes[1]) << 8;
        Q_FALLTHROUGH();
    case 1:
        hash ^= scramble(rest | bytes[0]);
    }

    hash ^= static_cast<quint32>(length);
    hash = (hash ^ hash >> 16) * 0x85ebca6bu;
    hash = (hash ^ hash >> 13) * 0xc2b2ae35u;
    return hash ^ hash >> 16;
}

unsigned int murmurHash3_x86_32(QByteArray& data, unsigned int seed)
{
    while (data.size() % 4 != 0)
        data.append('\0');
    return murmurHash3_x86_32(data.constData(), static_cast<int>(data.size()), seed);
}
