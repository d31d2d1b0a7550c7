#pragma once

#include <QtCore/QByteArray>

#if defined(KYR_CRYPTO_BUILD)
#    define KYR_CRYPTO_EXPORT Q_DECL_EXPORT
#else
#    define KYR_CRYPTO_EXPORT Q_DECL_IMPORT
#endif

/// RSA signatures of the device link: RSASSA-PKCS1-v1_5 with SHA-256, as `openssl dgst -sha256` makes and checks them.
///
///     const QByteArray signature = CCryptoService::getRsaSign(challenge, privateKeyDer);
///     const bool genuine = CCryptoService::verifyRsaSign(challenge, signature, publicKeyDer);
///
/// Both functions are thread-safe and leave OpenSSL's error queue as empty as they found it. Each thread keeps the
/// private key that it used last.
class KYR_CRYPTO_EXPORT CCryptoService
{
public:
    /// The signature of `data`, as long as the key's modulus. `privateKeyDer` is an RSA key in PKCS#1 or PKCS#8 form.
    /// An unreadable key, one of another kind, or trailing bytes behind it give an empty array.
    static QByteArray getRsaSign(const QByteArray& data, const QByteArray& privateKeyDer);

    /// Whether `signature` is a signature of `data` by the key. `publicKeyDer` is an RSA key as SubjectPublicKeyInfo
    /// (what QSslKey::toDer gives) or in PKCS#1 form. Anything unreadable is false.
    static bool verifyRsaSign(const QByteArray& data, const QByteArray& signature, const QByteArray& publicKeyDer);
};
