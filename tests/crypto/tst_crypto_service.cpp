#include <kyr_crypto/crypto_service.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <openssl/err.h>

class CryptoServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const char* const steps[] = {
            "genrsa -out rsa.pem 2048",
            "rsa -in rsa.pem -outform DER -traditional -out rsa-pkcs1.der",
            "pkcs8 -topk8 -nocrypt -in rsa.pem -outform DER -out rsa-pkcs8.der",
            "pkcs8 -topk8 -passout pass:secret -in rsa.pem -outform DER -out rsa-encrypted.der",
            "rsa -in rsa.pem -pubout -outform DER -out public.der",
            "rsa -in rsa.pem -RSAPublicKey_out -outform DER -out public-pkcs1.der",
            "rsa -in rsa.pem -aes128 -passout pass:secret -out rsa-encrypted.pem",
            "genrsa -out other.pem 2048",
            "rsa -in other.pem -pubout -outform DER -out other-public.der",
            "ecparam -name prime256v1 -genkey -noout -outform DER -out ec.der",
            "ec -inform DER -in ec.der -pubout -outform DER -out ec-public.der",
            "genpkey -algorithm ed25519 -outform DER -out ed.der",
            "genpkey -algorithm rsa-pss -pkeyopt rsa_keygen_bits:2048 -outform DER -out pss.der",
        };
        for (const char* step : steps)
            QVERIFY2(openssl(step), step);
    }

    void withTheTool_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("zero bytes") << QByteArray(3, '\0');
        QTest::newRow("challenge") << QByteArray("{\"random\":\"0123456789abcdef\"}");
        QTest::newRow("a MiB") << QByteArray(1024 * 1024, 'x');
    }

    void withTheTool()
    {
        QFETCH(QByteArray, data);
        write("data", data);
        const QByteArray signature = CCryptoService::getRsaSign(data, read("rsa-pkcs8.der"));
        QCOMPARE(signature.size(), 256);
        QCOMPARE(CCryptoService::getRsaSign(data, read("rsa-pkcs1.der")), signature); // the scheme has no salt
        write("signature", signature);
        QVERIFY(openssl("dgst -sha256 -prverify rsa.pem -signature signature data"));

        QVERIFY(openssl("dgst -sha256 -sign rsa.pem -out signature data"));
        QVERIFY(CCryptoService::verifyRsaSign(data, read("signature"), read("public.der")));
        QVERIFY(CCryptoService::verifyRsaSign(data, read("signature"), read("public-pkcs1.der")));
        QVERIFY(!CCryptoService::verifyRsaSign(data + 'x', read("signature"), read("public.der")));
        QVERIFY(!CCryptoService::verifyRsaSign(data, read("signature"), read("other-public.der")));
        QCOMPARE(ERR_peek_error(), 0UL);
    }

    void badKeys_data()
    {
        QTest::addColumn<QByteArray>("key");
        for (const char* name : {"ec.der", "ec-public.der", "ed.der", "pss.der", "rsa.pem", "rsa-encrypted.der",
                                 "rsa-encrypted.pem", "missing"})
            QTest::newRow(name) << read(name);
        const QByteArray whole = read("rsa-pkcs8.der"), open = read("public.der");
        QTest::newRow("trailing byte") << QByteArray(whole + '\0');
        QTest::newRow("trailing byte, public") << QByteArray(open + '\0');
        QTest::newRow("length of 2 GiB") << QByteArray("\x30\x84\x7f\xff\xff\xff\x02\x01\x00", 9);
        QTest::newRow("nested sequences") << QByteArray("\x30\x80").repeated(100000);
        for (int size = 0; size < whole.size(); size += 97)
            QTest::addRow("first %d bytes", size) << whole.left(size);
        for (int size = 1; size < open.size(); size += 31)
            QTest::addRow("first %d bytes, public", size) << open.left(size);
    }

    void badKeys()
    {
        QFETCH(QByteArray, key);
        static const QByteArray signature = CCryptoService::getRsaSign("data", read("rsa-pkcs8.der"));
        QCOMPARE(CCryptoService::getRsaSign("data", key), QByteArray());
        QVERIFY(!CCryptoService::verifyRsaSign("data", signature, key));
        QCOMPARE(ERR_peek_error(), 0UL);
    }

    void badSignatures()
    {
        const QByteArray key = read("public.der");
        const QByteArray right = CCryptoService::getRsaSign("data", read("rsa-pkcs8.der"));
        QVERIFY(CCryptoService::verifyRsaSign("data", right, key));
        QByteArrayList wrong = {"",
                                "x",
                                right.left(255),
                                right + 'x',
                                '\0' + right,
                                QByteArray(256, '\0'),
                                QByteArray(256, '\xff'),
                                QByteArray(1000000, 'x')};
        for (const int byte : {0, 128, 255}) {
            wrong.append(right);
            wrong.last()[byte] = static_cast<char>(right[byte] ^ 1);
        }
        write("data", "data");
        QVERIFY(openssl("dgst -sha512 -sign rsa.pem -out sha512 data"));
        QVERIFY(openssl("dgst -sha256 -sigopt rsa_padding_mode:pss -sign rsa.pem -out pss data"));
        wrong += QByteArrayList{read("sha512"), read("pss")};
        for (const QByteArray& signature : qAsConst(wrong))
            QVERIFY2(!CCryptoService::verifyRsaSign("data", signature, key), signature.left(8).toHex());
        QCOMPARE(ERR_peek_error(), 0UL);
    }

    void earlierErrorsStay()
    {
        ERR_put_error(ERR_LIB_USER, 0, 42, "", 0);
        CCryptoService::getRsaSign("data", "garbage");
        QVERIFY(CCryptoService::verifyRsaSign("data", CCryptoService::getRsaSign("data", read("rsa-pkcs8.der")),
                                              read("public.der")));
        QCOMPARE(ERR_GET_REASON(ERR_get_error()), 42);
        QCOMPARE(ERR_get_error(), 0UL);
    }

private:
    // Runs the openssl tool in the temporary folder; true when it succeeds.
    bool openssl(const char* arguments)
    {
        QProcess tool;
        tool.setWorkingDirectory(m_dir.path());
        tool.start(QStringLiteral("openssl"), QString::fromLatin1(arguments).split(QLatin1Char(' ')));
        return tool.waitForFinished() && tool.exitCode() == 0;
    }
    QByteArray read(const char* name) const
    {
        QFile file(m_dir.filePath(QString::fromLatin1(name)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void write(const char* name, const QByteArray& data) const
    {
        QFile file(m_dir.filePath(QString::fromLatin1(name)));
        file.open(QIODevice::WriteOnly);
        file.write(data);
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(CryptoServiceTest)

#include "tst_crypto_service.moc"
