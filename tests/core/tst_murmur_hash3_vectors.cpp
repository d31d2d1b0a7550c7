#include <foundation/core/murmur_hash3.h>

#include <QtTest/QtTest>

// The vectors that the reference implementation and its independent ports agree on.
class tst_MurmurHash3Vectors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void vectors_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<uint>("seed");
        QTest::addColumn<uint>("hash");
        const auto row = [](const QByteArray& data, uint seed, uint hash) {
            QTest::addRow("%s/%x", data.toHex().constData(), seed) << data << seed << hash;
        };
        row("", 0, 0);
        row("", 1, 0x514E28B7);
        row("", 0xFFFFFFFF, 0x81F16F39);
        row("\xFF\xFF\xFF\xFF", 0, 0x76293B50);
        row("\x21\x43\x65\x87", 0, 0xF55B516B);
        row("\x21\x43\x65\x87", 0x5082EDEE, 0x2362F9DE);
        row("\x21\x43\x65", 0, 0x7E4A8634);
        row("\x21\x43", 0, 0xA0F7B07A);
        row("\x21", 0, 0x72661CF4);
        row(QByteArray(4, '\0'), 0, 0x2362F9DE);
        row(QByteArray(3, '\0'), 0, 0x85F0B427);
        row(QByteArray(2, '\0'), 0, 0x30F4C306);
        row(QByteArray(1, '\0'), 0, 0x514E28B7);
        row("Hello, world!", 0x9747b28c, 0x24884CBA);
        row("The quick brown fox jumps over the lazy dog", 0x9747b28c, 0x2FA826CD);
    }

    void vectors()
    {
        QFETCH(QByteArray, data);
        QFETCH(uint, seed);
        // Also at an odd address.
        const QByteArray shifted = 'x' + data;
        QTEST(murmurHash3_x86_32(data.constData(), data.size(), seed), "hash");
        QTEST(murmurHash3_x86_32(shifted.constData() + 1, data.size(), seed), "hash");
    }

    // One number for all lengths up to 255: the hash of the hashes of 0, 01, 0102..., each with its own seed.
    void verificationValue()
    {
        QByteArray key;
        QByteArray hashes(256 * 4, '\0');
        for (int i = 0; i < 256; ++i) {
            qToLittleEndian(murmurHash3_x86_32(key.constData(), i, 256u - static_cast<uint>(i)), hashes.data() + 4 * i);
            key.append(static_cast<char>(i));
        }
        QCOMPARE(murmurHash3_x86_32(hashes.constData(), hashes.size(), 0), 0xB0F57EE3u);
    }
};

QTEST_GUILESS_MAIN(tst_MurmurHash3Vectors)
#include "tst_murmur_hash3_vectors.moc"
