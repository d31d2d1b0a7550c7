#include "server/server_certificate.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtNetwork/QSslCertificate>

#include <memory>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace {

constexpr int warnDays = 30;

bool readFile(const QString& name, QByteArray& content, QString& error)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString());
        return false;
    }
    content = file.readAll();
    return true;
}

// Without an answer, where OpenSSL would ask for a pass phrase at the terminal.
int noPassPhrase(char*, int, int, void*)
{
    return 0;
}

template<class T, class Read>
auto readPem(const QByteArray& text, Read read, void (*release)(T*))
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new_mem_buf(text.constData(), int(text.size())),
                                                           &BIO_free);
    return std::unique_ptr<T, void (*)(T*)>(read(memory.get(), nullptr, &noPassPhrase, nullptr), release);
}

QString timeWarning(const QSslCertificate& certificate)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime end = certificate.expiryDate();
    const QString day = end.date().toString(Qt::ISODate);
    if (certificate.effectiveDate() > now)
        return QStringLiteral("the certificate is not valid before %1: devices will refuse it")
            .arg(certificate.effectiveDate().toString(Qt::ISODate));
    if (end < now)
        return QStringLiteral("the certificate has expired on %1: devices will refuse it").arg(day);
    const qint64 days = now.daysTo(end);
    if (days < warnDays)
        return QStringLiteral("the certificate expires on %1, in %2 days").arg(day).arg(days);
    return QString();
}

} // namespace

bool checkServerCertificate(const QString& certificateFile, const QString& keyFile, QString& error, QString& warning)
{
    QByteArray certificateText;
    QByteArray keyText;
    if (!readFile(certificateFile, certificateText, error) || !readFile(keyFile, keyText, error))
        return false;
    const auto certificate = readPem<X509>(certificateText, &PEM_read_bio_X509, &X509_free);
    const auto key = readPem<EVP_PKEY>(keyText, &PEM_read_bio_PrivateKey, &EVP_PKEY_free);
    if (!certificate)
        error = QStringLiteral("\"%1\" contains no certificate").arg(certificateFile);
    else if (!key)
        error = QStringLiteral("\"%1\" contains no key that can be read without a pass phrase").arg(keyFile);
    else if (X509_check_private_key(certificate.get(), key.get()) != 1)
        error = QStringLiteral("the key in \"%1\" does not belong to the first certificate in \"%2\"")
                    .arg(keyFile, certificateFile);
    ERR_clear_error();
    if (!error.isEmpty())
        return false;
    warning = timeWarning(QSslCertificate(certificateText, QSsl::Pem));
    return true;
}
