#pragma once

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslKey>

/// What a device installs: its certificate with the issuer's behind it, and its key.
struct DeviceCertificate
{
    QString certificateFile, keyFile; ///< gone with the DeviceCertificates that issued it
    QList<QSslCertificate> chain;
    QSslKey key;

    QSslCertificate certificate() const { return chain.value(0); }
    QSslConfiguration configuration() const
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificateChain(chain);
        configuration.setPrivateKey(key);
        return configuration;
    }
};

/// Certificates of the build's development CA, or of a foreign CA of the same making.
///
///     DeviceCertificates authority;
///     const DeviceCertificate device = authority.issue(QStringLiteral("000.123.457"));
///     const DeviceCertificate old = authority.issue(QStringLiteral("000.123.457"), {QStringLiteral("--expired")});
class DeviceCertificates
{
public:
    enum class Authority
    {
        Development,
        Foreign
    };

    explicit DeviceCertificates(Authority authority = Authority::Development)
        : m_authority(QStringLiteral(KYR_BUILD_DIR "/dev-ca"))
    {
        if (authority == Authority::Foreign) {
            m_authority = m_dir.filePath(QStringLiteral("ca"));
            run(QStringLiteral("development-ca"), {m_authority});
        }
    }

    /// The root and the intermediate, as PEM.
    QByteArray chainPem() const { return read(m_authority + QStringLiteral("/ca-chain.pem")); }

    /// `options` are those of the device-certificate script. Ends the program when it fails.
    DeviceCertificate issue(const QString& label, const QStringList& options = {})
    {
        const QString dir = m_dir.filePath(QString::number(++m_issued));
        run(QStringLiteral("device-certificate"), QStringList{label, dir, m_authority} + options);
        DeviceCertificate issued;
        issued.certificateFile = QString(dir + QLatin1Char('/') + label + QStringLiteral(".pem"));
        issued.keyFile = QString(dir + QLatin1Char('/') + label + QStringLiteral(".key"));
        issued.chain = QSslCertificate::fromData(read(issued.certificateFile), QSsl::Pem);
        issued.key = QSslKey(read(issued.keyFile), options.contains(QStringLiteral("--ec")) ? QSsl::Ec : QSsl::Rsa);
        if (issued.chain.isEmpty() || issued.key.isNull())
            qFatal("no certificate for %s", qPrintable(label));
        return issued;
    }

private:
    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static void run(const QString& script, const QStringList& arguments)
    {
        QProcess::execute(QStringLiteral("bash"),
                          QStringList{QString(QStringLiteral(KYR_SCRIPTS_DIR "/") + script)} + arguments);
    }

    QTemporaryDir m_dir;
    QString m_authority;
    int m_issued = 0;
};
