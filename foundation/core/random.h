#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>

/// Random bytes from the process-wide generator.
class KYR_FOUNDATION_EXPORT CRandom
{
public:
    CRandom() = delete;

    /// That many bytes; none for a count of 0 or less. Safe in any thread.
    static QByteArray getArray(int count);
};
