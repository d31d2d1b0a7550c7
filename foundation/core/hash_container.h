#pragma once

#include <foundation/core/export.h>

#include <QtCore/QVector>

/// Values whose common hash does not depend on the order in which they were added.
class KYR_FOUNDATION_EXPORT CHashContainer : public QVector<quint32>
{
public:
    using QVector<quint32>::QVector;
    CHashContainer() = default;

    /// Sorts the values in place, which stay so, and hashes them (murmurHash3_x86_32, as little-endian bytes).
    unsigned int hash(unsigned int seed);
};
