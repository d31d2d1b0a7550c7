#include <foundation/core/device_id.h>
#include <foundation/network/ca_chain_p.h>
#include <foundation/network/ssl_connection.h>

#include <support/device_certificates.h>

#include <QtCore/QRegularExpression>
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
    void outcomes_data()
    {
        QTest::addColumn<QSslCertificate>("certificate");
        QTest::addColumn<CDeviceId>("id");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("message");
        const auto issue = [this](const QString& name, const char* option, const char* value = nullptr) {
            QStringList options = {QString::fromLatin1(option)};
            if (value)
                options.append(QString::fromLatin1(value));
            return m_authority.issue(name, options).certificate();
        };
        const QSslCertificate right = m_authority.issue(label).certificate();
        QTest::newRow("right") << right << device << true << QString();
        QTest::newRow("right by its other name")
            << issue(QStringLiteral("gateway"), "--name", "DNS:000.123.457") << device << true << QString();
        QTest::newRow("other device") << right << CDeviceId(12346) << false
                                      << QStringLiteral("DeviceCertificate: .*The host name did not match.* \\(22\\)");
        QTest::newRow("wildcard") << issue(QStringLiteral("x"), "--name", "DNS:*.123.457") << device << false
                                  << QStringLiteral("DeviceCertificate: .* \\(22\\)");
        QTest::newRow("expired")
            << issue(label, "--expired") << device << true
            << QStringLiteral(
                   "CSslConnection: tolerated device certificate error 'The certificate has expired' \\(6\\)");
        QTest::newRow("foreign CA") << m_foreign.issue(label).certificate() << device << false
                                    << QStringLiteral("DeviceCertificate: device certificate error '.*' \\(\\d+\\)");
        QTest::newRow("null") << QSslCertificate() << device << false << QString();
        QTest::newRow("no device") << right << CDeviceId() << false << QString();
    }
    void outcomes()
    {
        QFETCH(QSslCertificate, certificate);
        QFETCH(CDeviceId, id);
        QFETCH(QString, message);
        if (compiledIn() != m_authority.chainPem())
            QSKIP("another CA chain than the development CA's is compiled in");
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        if (!message.isEmpty()) {
            QTest::ignoreMessage(message.startsWith(QLatin1String("CSsl")) ? QtDebugMsg : QtWarningMsg,
                                 QRegularExpression(message));
        }
        ERR_clear_error();
        QTEST(CSslConnection::checkDeviceCertificate(certificate, id), "accepted");
        QCOMPARE(ERR_peek_error(), 0UL);
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
