#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>

class QDateTime;
class QTime;

/// Gathers the fields of a record as bytes, the least significant first, so that the record can be hashed.
///
///     CHashMemory memory(12);
///     memory.add32(id);
///     memory.add64(flags);
///     const unsigned int hash = murmurHash3_x86_32(memory, 0);
class KYR_FOUNDATION_EXPORT CHashMemory : public QByteArray
{
public:
    CHashMemory() = default;
    /// Sets memory aside for that many bytes; the array is empty all the same.
    explicit CHashMemory(int reserve);

    void add8(unsigned char value);
    void add32(unsigned int value);
    /// Seconds since midnight; an invalid time counts as midnight.
    void add32(const QTime& time);
    /// Seconds since 1970 in UTC, cut to 32 bits; 0 when invalid.
    void add32(const QDateTime& dateTime);
    void add64(unsigned long long value);
};
