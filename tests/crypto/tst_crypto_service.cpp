#include <kyr_crypto/crypto_service.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <openssl/err.h>

// The openssl tool makes the keys, and signs and verifies independently.
class tst_CryptoService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        for (const char* step : {
                 "genrsa -out rsa.pem 2048",
                 "rsa -in rsa.pem -outform DER -traditional -out pkcs1.der",
                 "pkcs8 -topk8 -nocrypt -in rsa.pem -outform DER -out pkcs8.der",
                 "pkcs8 -topk8 -passout pass:secret -in rsa.pem -outform DER -out encrypted.der",
                 "rsa -in rsa.pem -aes128 -passout pass:secret -out encrypted.pem",
                 "rsa -in rsa.pem -pubout -outform DER -out public.der",
                 "rsa -in rsa.pem -RSAPublicKey_out -outform DER -out public-pkcs1.der",
                 "genrsa -out other.pem 2048",
                 "rsa -in other.pem -pubout -outform DER -out other-public.der",
                 "ecparam -name prime256v1 -genkey -noout -outform DER -out ec.der",
                 "ec -inform DER -in ec.der -pubout -outform DER -out ec-public.der",
                 "genpkey -algorithm ed25519 -outform DER -out ed.der",
                 "genpkey -algorithm rsa-pss -pkeyopt rsa_keygen_bits:2048 -outform DER -out pss.der",
             })
            QVERIFY2(openssl(step), step);
    }

    void cleanup() { QCOMPARE(ERR_peek_error(), 0UL); }

    void withTheTool()
    {
        for (const QByteArray& data : {QByteArray(), QByteArray(3, '\0'), QByteArray(1024 * 1024, 'x')}) {
            write("data", data);
            const QByteArray signature = CCryptoService::getRsaSign(data, read("pkcs8.der"));
            QCOMPARE(signature.size(), 256);
            QCOMPARE(CCryptoService::getRsaSign(data, read("pkcs1.der")), signature); // the scheme has no salt
            write("signature", signature);
            QVERIFY(openssl("dgst -sha256 -prverify rsa.pem -signature signature data"));

            QVERIFY(openssl("dgst -sha256 -sign rsa.pem -out signature data"));
            QVERIFY(CCryptoService::verifyRsaSign(data, read("signature"), read("public.der")));
            QVERIFY(CCryptoService::verifyRsaSign(data, read("signature"), read("public-pkcs1.der")));
            QVERIFY(!CCryptoService::verifyRsaSign(data + 'x', read("signature"), read("public.der")));
            QVERIFY(!CCryptoService::verifyRsaSign(data, read("signature"), read("other-public.der")));
        }
    }

    void badKeys()
    {
        const QByteArray secret = read("pkcs8.der"), open = read("public.der");
        const QByteArray signature = CCryptoService::getRsaSign("data", secret);
        QByteArrayList keys = {secret + '\0', open + '\0', QByteArray("\x30\x84\x7f\xff\xff\xff\x02\x01\x00", 9),
                               QByteArray("\x30\x80").repeated(100000)};
        for (const char* name :
             {"ec.der", "ec-public.der", "ed.der", "pss.der", "rsa.pem", "encrypted.der", "encrypted.pem", "missing"})
            keys.append(read(name));
        for (int size = 0; size < secret.size(); size += 97)
            keys += {secret.left(size)};
        for (int size = 1; size < open.size(); size += 31)
            keys += {open.left(size)};
        for (const QByteArray& key : qAsConst(keys)) {
            QVERIFY2(CCryptoService::getRsaSign("data", key).isEmpty(), key.left(20).toHex());
            QVERIFY2(!CCryptoService::verifyRsaSign("data", signature, key), key.left(20).toHex());
        }
    }

    void badSignatures()
    {
        const QByteArray key = read("public.der");
        const QByteArray right = CCryptoService::getRsaSign("data", read("pkcs8.der"));
        QVERIFY(CCryptoService::verifyRsaSign("data", right, key));
        write("data", "data");
        QVERIFY(openssl("dgst -sha512 -sign rsa.pem -out sha512 data"));
        QVERIFY(openssl("dgst -sha256 -sigopt rsa_padding_mode:pss -sign rsa.pem -out pss data"));
        QByteArrayList wrong = {"", right.left(255), right + 'x', '\0' + right, read("sha512"), read("pss")};
        wrong += {QByteArray(256, '\0'), QByteArray(256, '\xff'), QByteArray(1000000, 'x')};
        for (const int byte : {0, 128, 255}) {
            wrong.append(right);
            wrong.last()[byte] = static_cast<char>(right[byte] ^ 1);
        }
        for (const QByteArray& signature : qAsConst(wrong))
            QVERIFY2(!CCryptoService::verifyRsaSign("data", signature, key), signature.left(8).toHex());
    }

    void earlierErrorsStay()
    {
        ERR_put_error(ERR_LIB_USER, 0, 42, "", 0);
        CCryptoService::getRsaSign("data", "garbage");
        QCOMPARE(ERR_GET_REASON(ERR_get_error()), 42);
    }

private:
    // Runs the tool in the temporary folder.
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
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(tst_CryptoService)

#include "tst_crypto_service.moc"
