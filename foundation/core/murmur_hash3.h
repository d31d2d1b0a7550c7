#pragma once

#include <foundation/core/export.h>

class QByteArray;

/// MurmurHash3, the x86 variant with 32 bits: quick, spread evenly, of no use against an adversary. The result is the
/// same on every machine. The data may lie at any address and may be null when the length is 0 (or less).
KYR_FOUNDATION_EXPORT unsigned int murmurHash3_x86_32(const void* data, int length, unsigned int seed);

/// Pads the array itself with zero bytes to a multiple of 4, then hashes it. So the result differs from that of the
/// bytes alone when their number is no multiple of 4.
KYR_FOUNDATION_EXPORT unsigned int murmurHash3_x86_32(QByteArray& data, unsigned int seed);
