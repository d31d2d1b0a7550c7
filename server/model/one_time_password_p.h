#pragma once

#include <server/database/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Time-based one-time passwords as in RFC 6238: HMAC-SHA-1, steps of 30 seconds, six digits.
namespace OneTimePassword {

inline constexpr int stepLength = 30;
/// Steps before and after the present one that count, for clocks that are off.
inline constexpr int tolerance = 1;

KYR_SERVER_TEST_EXPORT QString code(const QByteArray& secret, qint64 step, int digits = 6);
/// The step that a code belongs to, at that time (seconds since 1970); 0 when it belongs to none.
KYR_SERVER_TEST_EXPORT qint64 stepOf(const QByteArray& secret, const QString& code, qint64 now);
/// As authenticator programs take it: RFC 4648, upper case, without padding.
KYR_SERVER_TEST_EXPORT QString toBase32(const QByteArray& bytes);

} // namespace OneTimePassword
