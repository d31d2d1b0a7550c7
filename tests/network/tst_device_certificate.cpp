#include <foundation/core/device_id.h>
#include <foundation/network/ca_chain_p.h>
#include <foundation/network/ssl_connection.h>

#include <support/device_certificates.h>

#include <QtCore/QRegularExpression>
#include <QtNetwork/QSslKey>
#include <QtTest/QTest>

#include <openssl/err.h>

namespace {

const QString label = QStringLiteral("000.123.457");
const CDeviceId device(12345);

QByteArray compiledIn()
{
    QFile file(QStringLiteral(":/SSL/ca-chain.pem"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class DeviceCertificateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outcomes()
    {
        if (compiledIn() != m_authority.chainPem())
            QSKIP("another CA chain than the development CA's is compiled in");
        const QString other = QStringLiteral("--name");
        const QSslCertificate right = m_authority.issue(label).certificate();
        const QSslCertificate expired = m_authority.issue(label, {QStringLiteral("--expired")}).certificate();
        const QSslCertificate otherName =
            m_authority.issue(QStringLiteral("gateway"), {other, QStringLiteral("DNS:000.123.457")}).certificate();
        const QSslCertificate wildcard =
            m_authority.issue(QStringLiteral("x"), {other, QStringLiteral("DNS:*.123.457")}).certificate();
        const QSslCertificate foreign = m_foreign.issue(label).certificate();
        const struct
        {
            const char* name;
            QSslCertificate certificate;
            CDeviceId id;
            bool accepted;
            const char* message;
        } rows[] = {
            {"right", right, device, true, ""},
            {"right by its other name", otherName, device, true, ""},
            {"other device", right, CDeviceId(12346), false,
             "DeviceCertificate: .*The host name did not match.* \\(22\\)"},
            {"wildcard", wildcard, device, false, "DeviceCertificate: .* \\(22\\)"},
            {"expired", expired, device, true,
             "CSslConnection: tolerated device certificate error 'The certificate has expired' \\(6\\)"},
            {"foreign CA", foreign, device, false, "DeviceCertificate: device certificate error '.*' \\(\\d+\\)"},
            {"null", QSslCertificate(), device, false, ""},
            {"no device", right, CDeviceId(), false, ""},
        };
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        for (const auto& row : rows) {
            if (*row.message) {
                QTest::ignoreMessage(row.accepted ? QtDebugMsg : QtWarningMsg,
                                     QRegularExpression(QString::fromLatin1(row.message)));
            }
            ERR_clear_error();
            QVERIFY2(CSslConnection::checkDeviceCertificate(row.certificate, row.id) == row.accepted, row.name);
            QCOMPARE(ERR_peek_error(), 0UL);
        }
        QVERIFY(QSslConfiguration::defaultConfiguration() == before);
    }

    void chains()
    {
        const QByteArray end = "-----END CERTIFICATE-----\n";
        const QByteArray both = m_authority.chainPem(), foreign = m_foreign.chainPem();
        const QByteArray root = both.left(both.indexOf(end) + end.size());
        const QByteArray intermediate = both.mid(root.size());
        const struct
        {
            const char* name;
            QByteArray pem;
            bool anchored;
            QByteArray errors;
        } rows[] = {
            {"root and intermediate", both, true, ""},
            {"the other order, comments", "# ours\n" + intermediate + "\n# root\n" + root, true, ""},
            {"no intermediate", root, true, "11 12"},
            {"no trust anchor", intermediate, false, "11"},
            {"foreign root", foreign, true, "11 12"},
            {"foreign root, own intermediate", foreign + intermediate, true, "11"},
            {"nothing", "", false, "11 12"},
            {"garbage", "-----BEGIN CERTIFICATE-----\nAAAA\n" + end, false, "11 12"},
        };
        const QSslCertificate certificate = m_authority.issue(label).certificate();
        for (const auto& row : rows) {
            ERR_clear_error();
            const CaChain chain(row.pem);
            QVERIFY2(chain.hasTrustAnchor() == row.anchored, row.name);
            QByteArrayList errors;
            for (const QSslError& error : chain.errors(certificate, label))
                errors.append(QByteArray::number(error.error()));
            QVERIFY2(errors.join(' ') == row.errors, row.name);
            QCOMPARE(ERR_peek_error(), 0UL);
        }
    }

    // The quick look finds the certificate that QSslCertificate finds, and judges it alike.
    void quickLook()
    {
        if (compiledIn() != m_authority.chainPem())
            QSKIP("another CA chain than the development CA's is compiled in");
        const QByteArray own = m_authority.issue(label).certificate().toPem();
        const QByteArray other = m_authority.issue(QStringLiteral("000.000.011")).certificate().toPem();
        const QByteArray oldMark = QByteArray(own).replace(" CERTIFICATE", " X509 CERTIFICATE");
        const QByteArrayList rows{own,
                                  other,
                                  oldMark,
                                  oldMark + other,
                                  other + own,
                                  own + other,
                                  "text\n" + own,
                                  QByteArray(own).replace("\n", ""),
                                  own.left(own.size() / 2),
                                  "",
                                  "-----BEGIN"};
        for (const QByteArray& pem : rows) {
            const QSslCertificate certificate(pem, QSsl::Pem);
            const bool accepted = CSslConnection::checkDeviceCertificate(certificate, device);
            const QByteArray key = CaChain::compiledIn().publicKeyIfFlawless(pem, label);
            QCOMPARE(key, accepted ? certificate.publicKey().toDer() : QByteArray());
        }
    }

    void theSystemsAuthoritiesAreNotTrusted()
    {
        const QList<QSslCertificate> authorities = QSslConfiguration::systemCaCertificates();
        if (authorities.isEmpty())
            QSKIP("the system has no certificate store");
        const QString name = authorities[0].subjectInfo(QSslCertificate::CommonName).value(0);
        QVERIFY(!CaChain(m_authority.chainPem()).errors(authorities[0], name).isEmpty());
    }

    void keysAreSecret()
    {
        const DeviceCertificate issued = m_authority.issue(label);
        QCOMPARE(issued.chain.size(), 2);
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        for (const QString& key : {issued.keyFile, QStringLiteral(KYR_BUILD_DIR "/dev-ca/root.key"),
                                   QStringLiteral(KYR_BUILD_DIR "/dev-ca/intermediate.key")})
            QVERIFY2(QFile::exists(key) && !(QFile::permissions(key) & others), qPrintable(key));
    }

private:
    DeviceCertificates m_authority;
    DeviceCertificates m_foreign{DeviceCertificates::Authority::Foreign};
};

QTEST_GUILESS_MAIN(DeviceCertificateTest)

#include "tst_device_certificate.moc"
