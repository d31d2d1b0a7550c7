#include <foundation/network/ca_chain_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtNetwork/QSslCertificate>

#include <openssl/err.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <vector>

// Q_INIT_RESOURCE works in the global namespace only.
static void registerCertificateResources()
{
    static const bool registered = [] {
        Q_INIT_RESOURCE(kyr_ca_chain);
        return true;
    }();
    Q_UNUSED(registered)
}

namespace {

struct OpenSslDeleter
{
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_STORE* store) const { X509_STORE_free(store); }
    void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
    void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
};
using Certificate = std::unique_ptr<X509, OpenSslDeleter>;

struct Anchor
{
    Certificate certificate;
    QDateTime expiry;
};

Certificate toOpenSsl(const QSslCertificate& certificate)
{
    const QByteArray der = certificate.toDer();
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.constData());
    return Certificate(d2i_X509(nullptr, &bytes, der.size()));
}

QSslError::SslError toSslError(int error)
{
    switch (error) {
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
        return QSslError::UnableToGetIssuerCertificate;
    case X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE:
        return QSslError::UnableToDecryptCertificateSignature;
    case X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY:
        return QSslError::UnableToDecodeIssuerPublicKey;
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
        return QSslError::CertificateSignatureFailed;
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return QSslError::CertificateNotYetValid;
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return QSslError::CertificateExpired;
    case X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD:
        return QSslError::InvalidNotBeforeField;
    case X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD:
        return QSslError::InvalidNotAfterField;
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        return QSslError::SelfSignedCertificate;
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        return QSslError::SelfSignedCertificateInChain;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        return QSslError::UnableToGetLocalIssuerCertificate;
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        return QSslError::UnableToVerifyFirstCertificate;
    case X509_V_ERR_CERT_REVOKED:
        return QSslError::CertificateRevoked;
    case X509_V_ERR_INVALID_CA:
        return QSslError::InvalidCaCertificate;
    case X509_V_ERR_PATH_LENGTH_EXCEEDED:
        return QSslError::PathLengthExceeded;
    case X509_V_ERR_INVALID_PURPOSE:
        return QSslError::InvalidPurpose;
    case X509_V_ERR_CERT_UNTRUSTED:
        return QSslError::CertificateUntrusted;
    case X509_V_ERR_CERT_REJECTED:
        return QSslError::CertificateRejected;
    default:
        return QSslError::UnspecifiedError;
    }
}

// Notes the error and lets the verification go on, so that all errors are found.
int noteError(int ok, X509_STORE_CTX* context)
{
    if (!ok)
        static_cast<std::vector<int>*>(X509_STORE_CTX_get_app_data(context))
            ->push_back(X509_STORE_CTX_get_error(context));
    return 1;
}

// By its common name or a DNS name, whole.
bool isNamed(X509* certificate, const QString& name)
{
    const QByteArray host = name.toUtf8();
    constexpr unsigned int exactNames = X509_CHECK_FLAG_NO_WILDCARDS | X509_CHECK_FLAG_ALWAYS_CHECK_SUBJECT;
    return X509_check_host(certificate, host.constData(), size_t(host.size()), exactNames, nullptr) == 1;
}

// The first certificate of a PEM text, where QSslCertificate finds it, too. Null when it is written in another way than
// the usual one, each mark on a line of its own: then ask that class.
Certificate firstOf(const QByteArray& pem)
{
    static const QByteArray begin("-----BEGIN CERTIFICATE-----"), end("-----END CERTIFICATE-----");
    const auto endsLine = [&pem](qint64 at) { return at < pem.size() && pem.constData()[at] == '\n'; };
    const auto from = pem.indexOf(begin);
    const auto to = from < 0 ? from : pem.indexOf(end, from);
    if (to < 0 || !endsLine(from + begin.size()) || !endsLine(to + end.size()))
        return nullptr;
    const QByteArray der = QByteArray::fromBase64(pem.mid(from + begin.size(), to - from - begin.size()));
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.constData());
    return Certificate(d2i_X509(nullptr, &bytes, der.size()));
}

} // namespace

struct CaChain::Private
{
    std::vector<Anchor> anchors;
    std::vector<Certificate> intermediates;

    std::vector<int> verify(X509* certificate) const;
};

CaChain::CaChain(const QByteArray& pem)
    : d(std::make_unique<Private>())
{
    ERR_set_mark();
    const QList<QSslCertificate> certificates = QSslCertificate::fromData(pem, QSsl::Pem);
    for (const QSslCertificate& certificate : certificates) {
        Certificate parsed = toOpenSsl(certificate);
        if (!parsed)
            continue;
        if (certificate.isSelfSigned())
            d->anchors.push_back({std::move(parsed), certificate.expiryDate()});
        else
            d->intermediates.push_back(std::move(parsed));
    }
    ERR_pop_to_mark();
}

CaChain::~CaChain() = default;

void CaChain::registerResources()
{
    registerCertificateResources();
}

const CaChain& CaChain::compiledIn()
{
    static const CaChain chain([] {
        registerCertificateResources();
        QFile file(QStringLiteral(":/SSL/ca-chain.pem"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }());
    return chain;
}

bool CaChain::hasTrustAnchor() const
{
    return !d->anchors.empty();
}

std::vector<int> CaChain::Private::verify(X509* certificate) const
{
    const std::unique_ptr<X509_STORE, OpenSslDeleter> store(X509_STORE_new());
    const std::unique_ptr<X509_STORE_CTX, OpenSslDeleter> context(X509_STORE_CTX_new());
    const std::unique_ptr<STACK_OF(X509), OpenSslDeleter> untrusted(sk_X509_new_null());
    std::vector<int> errors;
    if (!certificate || !store || !context || !untrusted)
        return {X509_V_ERR_UNSPECIFIED};
    // An expired root vouches for nobody; only the other certificates may be past their dates.
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const Anchor& anchor : anchors) {
        if (anchor.expiry >= now)
            X509_STORE_add_cert(store.get(), anchor.certificate.get());
    }
    for (const Certificate& intermediate : intermediates)
        sk_X509_push(untrusted.get(), intermediate.get());
    if (X509_STORE_CTX_init(context.get(), store.get(), certificate, untrusted.get()) != 1)
        return {X509_V_ERR_UNSPECIFIED};
    X509_STORE_CTX_set_app_data(context.get(), &errors);
    X509_STORE_CTX_set_verify_cb(context.get(), noteError);
    if (X509_verify_cert(context.get()) != 1)
        errors.push_back(X509_V_ERR_UNSPECIFIED);
    return errors;
}

QList<QSslError> CaChain::errors(const QSslCertificate& certificate, const QString& name) const
{
    ERR_set_mark();
    QList<QSslError> result;
    const Certificate parsed = toOpenSsl(certificate);
    if (!parsed || !isNamed(parsed.get(), name))
        result.append(QSslError(QSslError::HostNameMismatch, certificate));
    for (const int error : d->verify(parsed.get()))
        result.append(QSslError(toSslError(error), certificate));
    ERR_pop_to_mark();
    return result;
}

bool CaChain::accepts(const QSslCertificate& certificate, const QString& name) const
{
    bool accepted = true;
    const QList<QSslError> found = errors(certificate, name);
    for (const QSslError& error : found) {
        if (error.error() == QSslError::CertificateExpired) {
            qDebug("CSslConnection: tolerated device certificate error '%s' (%u)", qPrintable(error.errorString()),
                   static_cast<unsigned int>(error.error()));
        } else {
            qWarning("DeviceCertificate: device certificate error '%s' (%u)", qPrintable(error.errorString()),
                     static_cast<unsigned int>(error.error()));
            accepted = false;
        }
    }
    return accepted;
}

QByteArray CaChain::publicKeyIfFlawless(const QByteArray& pem, const QString& name) const
{
    QByteArray key;
    ERR_set_mark();
    const Certificate certificate = firstOf(pem);
    if (certificate && hasTrustAnchor() && isNamed(certificate.get(), name) && d->verify(certificate.get()).empty()) {
        unsigned char* der = nullptr;
        const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate.get()), &der);
        if (size > 0)
            key = QByteArray(reinterpret_cast<const char*>(der), size);
        OPENSSL_free(der);
    }
    ERR_pop_to_mark();
    return key;
}
