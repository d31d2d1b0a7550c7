#include <foundation/core/hash_container.h>

#include <foundation/core/murmur_hash3.h>

#include <QtCore/QtEndian>

#include <algorithm>

unsigned int CHashContainer::hash(unsigned int seed)
{
    std::sort(begin(), end());
    const int length = static_cast<int>(size()) * 4;
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    return murmurHash3_x86_32(constData(), length, seed);
#else
    QVector<quint32> bytes(size());
    qToLittleEndian<quint32>(constData(), size(), bytes.data());
    return murmurHash3_x86_32(bytes.constData(), length, seed);
#endif
}
