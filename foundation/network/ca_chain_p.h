#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtNetwork/QSslError>

#include <memory>

class QSslCertificate;
class QString;

/// The certificates of the system's own authority, parsed once: self-signed ones are trust anchors, the others
/// intermediates. Nobody else's certificates count, those of the operating system's store included, which is why this
/// does not ask QSslCertificate::verify: that adds the whole store to the anchors it is given.
class KYR_FOUNDATION_TEST_EXPORT CaChain
{
public:
    explicit CaChain(const QByteArray& pem);
    ~CaChain();
    CaChain(const CaChain&) = delete;
    CaChain& operator=(const CaChain&) = delete;

    /// The chain that was compiled in.
    static const CaChain& compiledIn();
    /// Makes the compiled-in resources known to the process.
    static void registerResources();

    bool hasTrustAnchor() const;

    /// All that is wrong with `certificate` as one of `name` (common name or DNS name, compared whole); empty when it
    /// is right. Neither the process's TLS settings nor OpenSSL's error queue are touched; any thread may ask.
    QList<QSslError> errors(const QSslCertificate& certificate, const QString& name) const;

    /// The verdict: expired is tolerated, anything else is not. Logs each error.
    bool accepts(const QSslCertificate& certificate, const QString& name) const;

    /// The public key (SubjectPublicKeyInfo) of a certificate in PEM form with which nothing at all is wrong as one of
    /// `name`. Empty in every other case, without a word in the log: then ask the functions above. This takes a third
    /// of their time and of what it takes to make a QSslCertificate, which counts when all devices return at once.
    QByteArray publicKeyIfFlawless(const QByteArray& pem, const QString& name) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
