#include <foundation/network/door_certificate_p.h>

#include <QtCore/QFile>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslCipher>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslDiffieHellmanParameters>
#include <QtNetwork/QSslKey>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace {

QByteArray readFile(const QString& name, QString& error)
{
    QFile file(name);
    if (file.open(QIODevice::ReadOnly))
        return file.readAll();
    error = QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString());
    return QByteArray();
}

bool belongTogether(const QSslCertificate& certificate, const QSslKey& key)
{
    const QByteArray certificateDer = certificate.toDer();
    const QByteArray keyDer = key.toDer();
    const auto* bytes = reinterpret_cast<const unsigned char*>(certificateDer.constData());
    X509* const x509 = d2i_X509(nullptr, &bytes, certificateDer.size());
    bytes = reinterpret_cast<const unsigned char*>(keyDer.constData());
    EVP_PKEY* const privateKey = d2i_AutoPrivateKey(nullptr, &bytes, keyDer.size());
    const bool result = x509 && privateKey && X509_check_private_key(x509, privateKey) == 1;
    EVP_PKEY_free(privateKey);
    X509_free(x509);
    ERR_clear_error(); // it would be taken for one of the next connection's
    return result;
}

// The group ffdhe2048 of RFC 7919. What Qt 5 would take has 1024 bits, which OpenSSL refuses. As DER, since Qt loses
// memory with each PEM.
QSslDiffieHellmanParameters finiteField()
{
    return QSslDiffieHellmanParameters::fromEncoded(
        QByteArray::fromBase64("MIIBCAKCAQEA//////////+t+FRYortKmq/cViAnPTzx2LnFg84tNpWp4TZBFGQz"
                               "+8yTnc4kmz75fS/jY2MMddj2gbICrsRhetPfHtXV/WVhJDP1H18GbtCFY2VVPe0a"
                               "87VXE15/V8k1mE8McODmi3fipona8+/och3xWKE2rec1MKzKT0g6eXq8CrGCsyT7"
                               "YdEIqUuyyOP7uWrat2DX9GgdT0Kj3jlN9K5W7edjcrsZCwenyO4KbXCeAvzhzffi"
                               "7MA0BM0oNC9hkXL+nOmFg/+OTxIy7vKBg8P+OxtMb61zO7X8vC7CIAXFjvGDfRaD"
                               "ssbzSibBsu/6iGtCOGEoXJf//////////wIBAg=="),
        QSsl::Der);
}

// Of those that the system allows. Each takes time in each handshake, as Qt hands the list to OpenSSL as text.
QList<QSslCipher> ciphers(bool finiteFieldDh)
{
    QList<QSslCipher> result;
    const QList<QSslCipher> allowed = QSslConfiguration::defaultConfiguration().ciphers();
    for (const QSslCipher& cipher : allowed) {
        const QString name = cipher.name();
        const bool isSealed = name.contains(QLatin1String("GCM")) || name.contains(QLatin1String("CHACHA20"));
        if (name.startsWith(QLatin1String("TLS_")) // of TLS 1.3
            || (isSealed
                && (name.startsWith(QLatin1String("ECDHE-"))
                    || (finiteFieldDh && name.startsWith(QLatin1String("DHE-RSA-"))))))
            result += cipher;
    }
    return result;
}

} // namespace

bool configureDoor(QSslConfiguration& configuration, const QString& certificateFile, const QString& keyFile,
                   bool finiteFieldDh, QString& error)
{
    error.clear();
    const QList<QSslCertificate> chain = QSslCertificate::fromData(readFile(certificateFile, error), QSsl::Pem);
    const QByteArray keyText = readFile(keyFile, error);
    QSslKey key(keyText, QSsl::Rsa);
    if (key.isNull())
        key = QSslKey(keyText, QSsl::Ec);
    if (error.isEmpty() && chain.isEmpty())
        error = QStringLiteral("\"%1\" contains no certificate").arg(certificateFile);
    if (error.isEmpty() && key.isNull())
        error = QStringLiteral("\"%1\" contains no key").arg(keyFile);
    if (error.isEmpty() && !belongTogether(chain.constFirst(), key))
        error = QStringLiteral("the key in \"%1\" does not belong to the certificate in \"%2\"")
                    .arg(keyFile, certificateFile);
    if (!error.isEmpty())
        return false;
    configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    // Devices prove themselves after the upgrade. Nobody's certificate is checked here, and the system's authorities
    // would be loaded for each connection anew.
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setCaCertificates({});
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setCiphers(ciphers(finiteFieldDh));
    configuration.setDiffieHellmanParameters(finiteFieldDh ? finiteField() : QSslDiffieHellmanParameters());
    return true;
}
