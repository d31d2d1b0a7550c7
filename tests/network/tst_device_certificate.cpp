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
        const auto row = [](const char* name, const QSslCertificate& certificate, CDeviceId id, bool accepted,
                            const char* message) {
            QTest::newRow(name) << certificate << id << accepted << QString::fromLatin1(message);
        };
        const QSslCertificate right = m_authority.issue(label).certificate();
        const QSslCertificate named =
            m_authority
                .issue(QStringLiteral("gateway"), {QStringLiteral("--name"), QString(QStringLiteral("DNS:") + label)})
                .certificate();
        row("right", right, device, true, "");
        row("right by its alternative name", named, device, true, "");
        row("other device", right, CDeviceId(12346), false,
            "DeviceCertificate: .*The host name did not match.* \\(22\\)");
        row("wildcard",
            m_authority.issue(QStringLiteral("x"), {QStringLiteral("--name"), QStringLiteral("DNS:*.123.457")})
                .certificate(),
            device, false, "DeviceCertificate: .* \\(22\\)");
        row("expired", m_authority.issue(label, {QStringLiteral("--expired")}).certificate(), device, true,
            "CSslConnection: tolerated device certificate error 'The certificate has expired' \\(6\\)");
        row("foreign CA", m_foreign.issue(label).certificate(), device, false,
            "DeviceCertificate: device certificate error '.*' \\(\\d+\\)");
        row("null", QSslCertificate(), device, false, "");
        row("no device", right, CDeviceId(), false, "");
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

    void chains_data()
    {
        QTest::addColumn<QByteArray>("pem");
        QTest::addColumn<bool>("anchored");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray end = "-----END CERTIFICATE-----\n";
        const QByteArray both = m_authority.chainPem();
        const QByteArray root = both.left(both.indexOf(end) + end.size());
        const QByteArray intermediate = both.mid(root.size());
        QTest::newRow("root and intermediate") << both << true << QByteArray();
        QTest::newRow("the other order, comments")
            << "# ours\n" + intermediate + "\n# root\n" + root << true << QByteArray();
        QTest::newRow("no intermediate") << root << true << QByteArray("11 12");
        QTest::newRow("no trust anchor") << intermediate << false << QByteArray("11");
        QTest::newRow("foreign root") << m_foreign.chainPem() << true << QByteArray("11 12");
        QTest::newRow("foreign root, own intermediate")
            << m_foreign.chainPem() + intermediate << true << QByteArray("11");
        QTest::newRow("nothing") << QByteArray() << false << QByteArray("11 12");
        QTest::newRow("garbage") << QByteArray("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n")
                                 << false << QByteArray("11 12");
    }

    void chains()
    {
        QFETCH(QByteArray, pem);
        static const QSslCertificate certificate = m_authority.issue(label).certificate();
        ERR_clear_error();
        const CaChain chain(pem);
        QTEST(chain.hasTrustAnchor(), "anchored");
        QByteArrayList errors;
        for (const QSslError& error : chain.errors(certificate, label))
            errors.append(QByteArray::number(error.error()));
        QTEST(errors.join(' '), "expected");
        QCOMPARE(ERR_peek_error(), 0UL);
    }

    void noOtherAuthorityIsTrusted()
    {
        // An authority that the process trusts for ordinary TLS says nothing about devices.
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        QSslConfiguration trusting = before;
        trusting.setCaCertificates(QSslCertificate::fromData(m_foreign.chainPem(), QSsl::Pem));
        QSslConfiguration::setDefaultConfiguration(trusting);
        const CaChain chain(m_authority.chainPem());
        const QList<QSslError> errors = chain.errors(m_foreign.issue(label).certificate(), label);
        QSslConfiguration::setDefaultConfiguration(before);
        QVERIFY(!errors.isEmpty());
    }

    void keysAreSecret()
    {
        const DeviceCertificate issued = m_authority.issue(label);
        QVERIFY(!issued.key.isNull());
        QCOMPARE(issued.chain.size(), 2);
        const QString dir = QStringLiteral(KYR_BUILD_DIR "/dev-ca/");
        for (const QString& key : {issued.keyFile, QString(dir + QStringLiteral("root.key")),
                                   QString(dir + QStringLiteral("intermediate.key"))}) {
            const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
            QVERIFY2(QFile::exists(key) && !(QFile::permissions(key) & others), qPrintable(key));
        }
    }

private:
    DeviceCertificates m_authority;
    DeviceCertificates m_foreign{DeviceCertificates::Authority::Foreign};
};

QTEST_GUILESS_MAIN(DeviceCertificateTest)

#include "tst_device_certificate.moc"
