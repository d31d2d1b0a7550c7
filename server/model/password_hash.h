#pragma once

#include <server/database/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// A password as it is stored: by a memory-hard function (scrypt), with its parameters beside it, so that they can be
/// raised one day and old hashes still be checked.
///
/// Making one and comparing takes about a tenth of a second and 32 MiB: a value, safe in any thread, for a pool of
/// them.
struct KYR_SERVER_EXPORT CPasswordHash
{
    /// Longer passwords, in UTF-8 bytes, are refused.
    static constexpr int longestPassword = 1000;

    QString algorithm;  ///< "scrypt"
    QString parameters; ///< "N=32768,r=8,p=1"
    QByteArray salt;
    QByteArray hash;

    /// Invalid when the password is empty or too long.
    static CPasswordHash make(const QString& password);
    bool isValid() const { return !hash.isEmpty(); }
    /// In time that does not depend on where two differ. An invalid one matches nothing, after as long a time.
    bool matches(const QString& password) const;
};
