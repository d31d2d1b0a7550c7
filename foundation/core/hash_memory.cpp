#include <foundation/core/hash_memory.h>

#include <QtCore/QDateTime>
#include <QtCore/QtEndian>

CHashMemory::CHashMemory(int reserve)
{
    QByteArray::reserve(qMax(reserve, 0));
}

void CHashMemory::add8(unsigned char value)
{
    append(static_cast<char>(value));
}

void CHashMemory::add32(unsigned int value)
{
    const quint32 bytes = qToLittleEndian<quint32>(value);
    append(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

void CHashMemory::add32(const QTime& time)
{
    add32(static_cast<unsigned int>(QTime(0, 0, 0, 0).secsTo(time)));
}

void CHashMemory::add32(const QDateTime& dateTime)
{
    add32(dateTime.isValid() ? static_cast<unsigned int>(dateTime.toSecsSinceEpoch()) : 0u);
}

void CHashMemory::add64(unsigned long long value)
{
    const quint64 bytes = qToLittleEndian<quint64>(value);
    append(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}
