#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>

/// Random bytes from the process-wide generator, for what only has to differ.
///
/// Not for what nobody may guess (keys, tokens, challenges): who sees enough of these bytes can compute the generator's
/// state, and all that follow. Such bytes come from QRandomGenerator64::system().
class KYR_FOUNDATION_EXPORT CRandom
{
public:
    CRandom() = delete;

    /// That many bytes; none for a count of 0 or less. Safe in any thread.
    static QByteArray getArray(int count);
};
