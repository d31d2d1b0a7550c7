#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>

/// The header that carries the message authentication code, in requests and replies.
constexpr char signalingMacHeader[] = "BrellMAC";

/// The message authentication code of a body: SHA-256 over the shared key and the body, 64 lower-case hexadecimal
/// digits. Empty when OpenSSL fails. The key is put together on the stack for this one use and wiped after it.
KYR_FOUNDATION_TEST_EXPORT QByteArray signalingMac(const QByteArray& body);

/// Whether this is the body's code; how long that takes does not tell how much of a wrong one is right.
KYR_FOUNDATION_TEST_EXPORT bool isSignalingMac(const QByteArray& mac, const QByteArray& body);
