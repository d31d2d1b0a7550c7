#include <foundation/core/environment_variable.h>
#include <foundation/core/hash_container.h>
#include <foundation/core/hash_memory.h>
#include <foundation/core/murmur_hash3.h>
#include <foundation/core/random.h>
#include <foundation/core/signal_throttler.h>
#include <foundation/core/string_utils.h>
#include <foundation/core/utf8_p.h>

#include <QtTest/QtTest>

#include <array>

class tst_Utilities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trimsQuotes()
    {
        QCOMPARE(CStringUtils::trimQuotes(" \"'a \"'b'\"\t"), "a \"'b");
        QCOMPARE(CStringUtils::trimQuotes("\"'\""), QString());
        QCOMPARE(CStringUtils::trimQuotes("' a '"), " a ");
    }

    void splits()
    {
        // A text, and its fields (with "|" between them) by splitQuotes and by splitQuotedEscapable.
        const QVector<std::array<const char*, 3>> rows{
            {"a,", "a|", "a"},
            {",", "|", ""},
            {" a,, b ", "a|| b", " a|| b "},
            {"a,\"b,c\",d", "a|b,c|d", "a|b,c|d"},
            {"\"it's\", 'say \"a,b\"'", "it's| say \"a,b\"", "it's| 'say \"a|b\"'"},
            {"\"a\"\"b\",c", "ab|c", "a\"b|c"},
            {"\"a\"b,c", "ab|c", "a|c"},
            {"x\"a,b\"", "xa,b", "x\"a|b\""},
            {"\"\"", "", ""},
            {"\"\",", "|", ""},
            {"\"", "", ""},
            {"\"a\"\",b", "a,b", "a\",b"},
            {"\"a,b\"\"", "a,b", "a,b\""},
            {"a,\"b", "a|b", "a|b"},
        };
        for (const auto& [row, quotes, escapable] : rows) {
            QCOMPARE(CStringUtils::splitQuotes(row, ',').join('|'), quotes);
            QCOMPARE(CStringUtils::splitQuotedEscapable(row, ',', '"').join('|'), escapable);
        }
        QVERIFY(CStringUtils::splitQuotes(" ", ',').isEmpty());
        QVERIFY(CStringUtils::splitQuotedEscapable(QString(), ',', '"').isEmpty());
        QCOMPARE(CStringUtils::splitQuotedEscapable("\"\"", ',', '"').size(), 1);
    }

    void makesForeignTextsPrintable()
    {
        QCOMPARE(CStringUtils::printable(QString("a\r\n12:00 \x1b[2J\x7f\u0085\u2028\u2029|\u202E\u2066\u200F\u061C")),
                 "a??12:00 ?[2J????|????");
        QCOMPARE(CStringUtils::printable(QByteArray::fromRawData("Z\xC3\xBC\0\xFF \xF0\x9F\x94\x91", 10)),
                 QString("Z\u00FC?\uFFFD ") + QString::fromUcs4(U"\U0001F511", 1));
        QCOMPARE(CStringUtils::printable(QString(100, 'x')), QString(100, 'x'));
        QCOMPARE(CStringUtils::printable(QByteArray(101, 'x')), QString(97, 'x') + "...");
        QCOMPARE(CStringUtils::printable(QByteArray("\xE2\x82\xAC").repeated(9), 8), QString(5, QChar(0x20AC)) + "...");
        // A pair that would be cut, and a cut so short that there is room for less than the dots.
        QCOMPARE(CStringUtils::printable(QString("a") + QString::fromUcs4(U"\U0001F511", 1) + "bcd", 5), "a?...");
        QCOMPARE(CStringUtils::printable(QString("abc"), 2), "..");
    }

    void endsPeersTextsAtZero()
    {
        const QByteArray sent = QByteArray::fromRawData("a\xC3\xBC\0b!", 5);
        QCOMPARE(utf8UpToZero(sent), QString("a\u00FC"));
        QCOMPARE(utf8UpToZero(sent.left(3)), QString("a\u00FC"));
        QCOMPARE(utf8Whole(sent).size(), 4);
    }

    void switchesAndOptions()
    {
        const char* const variable = "TST_UTILITIES_OPTION";
        const QStringList arguments{"--verbose", "--ports=1", "--port", " '4000'", "--name=\"a=b\"", "--last"};
        qunsetenv(variable);
        QVERIFY(CEnvironmentVariable::hasArg(arguments, "--verbose", variable));
        QVERIFY(!CEnvironmentVariable::hasArg(arguments, "--verb", variable));
        QVERIFY(!CEnvironmentVariable::hasArg(arguments, "", nullptr));
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--port", variable), "4000");
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--name", ""), "a=b");
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--last", nullptr), QString());
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "", variable), QString());

        for (const char* setting : {"0", "FALSE", "", "no", "00"}) {
            qputenv(variable, setting);
            const bool off = setting == QByteArray("0") || setting == QByteArray("FALSE");
            QVERIFY2(CEnvironmentVariable::hasArg({}, "--verbose", variable) != off, setting);
        }
        qputenv(variable, " \"x\" ");
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--port", variable), "x");
        QCOMPARE(CEnvironmentVariable::valueTrimmed(variable), "x");
        QCOMPARE(CEnvironmentVariable::valueBytes(variable), QByteArray(" \"x\" "));
        qputenv(variable, "");
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--port", variable), QString());
        qunsetenv(variable);
    }

    // One number for all lengths up to 255: the hash of the hashes of 0, 01, 0102..., each with its own seed.
    void murmurHash()
    {
        QByteArray key;
        QByteArray hashes(256 * 4, '\0');
        for (int i = 0; i < 256; ++i) {
            const quint32 hash = murmurHash3_x86_32(key.constData(), i, 256u - static_cast<uint>(i));
            const QByteArray shifted = 'x' + key; // at an odd address
            QCOMPARE(murmurHash3_x86_32(shifted.constData() + 1, i, 256u - static_cast<uint>(i)), hash);
            qToLittleEndian(hash, hashes.data() + 4 * i);
            key.append(static_cast<char>(i));
        }
        QCOMPARE(murmurHash3_x86_32(hashes.constData(), hashes.size(), 0), 0xB0F57EE3u);
        QCOMPARE(murmurHash3_x86_32("", 0, 0xFFFFFFFF), 0x81F16F39u);
    }

    void hashesRecords()
    {
        CHashMemory memory(64);
        memory.add8(0xFE);
        memory.add32(0x11223344u);
        memory.add32(QTime(1, 0, 1, 999));
        memory.add32(QDateTime::fromSecsSinceEpoch(0x155667788));
        memory.add32(QDateTime());
        memory.add64(0x0102030405060708u);
        QCOMPARE(memory.toHex(), QByteArray("fe44332211110e0000887766550000000008070605"
                                            "04030201"));
        const QByteArray padded = QByteArray(memory) + QByteArray(3, '\0');
        QCOMPARE(murmurHash3_x86_32(memory, 7), murmurHash3_x86_32(padded.constData(), padded.size(), 7));
        QCOMPARE(static_cast<const QByteArray&>(memory), padded);

        CHashContainer values{0x80000000u, 3, 1, 3};
        CHashContainer others{3, 1, 3, 0x80000000u};
        const QByteArray sorted = QByteArray::fromHex("01000000030000000300000000000080");
        QCOMPARE(values.hash(5), murmurHash3_x86_32(sorted.constData(), sorted.size(), 5));
        QCOMPARE(values.hash(5), others.hash(5));
        QCOMPARE(values, (QVector<quint32>{1, 3, 3, 0x80000000u}));
        QCOMPARE(CHashContainer().hash(0), 0u);
    }

    void randomBytes()
    {
        QVERIFY(CRandom::getArray(0).isEmpty() && CRandom::getArray(-5).isEmpty());
        const QByteArray bytes = CRandom::getArray(4096);
        QCOMPARE(bytes.size(), 4096);
        // The chance that one of 256 values is missing is about one in 35,000; that four are, beyond any test run.
        QVERIFY(QSet<char>(bytes.begin(), bytes.end()).size() > 252);
        QVERIFY(bytes != CRandom::getArray(4096));
    }

    void throttlesSignals()
    {
        CSignalThrottler throttler;
        QSignalSpy triggered(&throttler, &CSignalThrottler::triggered);
        throttler.setTimeout(60);
        QElapsedTimer elapsed;
        elapsed.start();
        for (int i = 0; i < 10; ++i)
            throttler.throttle();
        QVERIFY(triggered.isEmpty() && triggered.wait());
        QVERIFY(elapsed.elapsed() >= 50);
        QCOMPARE(triggered.size(), 1);

        // Calls inside the period do not prolong it, and a new one starts afterwards.
        QTimer caller;
        connect(&caller, &QTimer::timeout, &throttler, &CSignalThrottler::throttle);
        caller.start(5);
        QVERIFY(triggered.wait());
        caller.stop();
        throttler.stopCurrentThrottle();
        throttler.maybeEmitTriggered();
        QVERIFY(!throttler.stopCurrentThrottle());
        triggered.clear();

        // Stopping keeps the request; serving it at once clears it.
        throttler.throttle();
        QVERIFY(throttler.stopCurrentThrottle() && triggered.isEmpty());
        throttler.maybeEmitTriggered();
        throttler.maybeEmitTriggered();
        QCOMPARE(triggered.size(), 1);
        throttler.throttle();
        throttler.emitTriggered();
        QCOMPARE(triggered.size(), 2);
        QVERIFY(!triggered.wait(100));

        // The receiver may be what deletes it.
        auto* shortLived = new CSignalThrottler;
        const QPointer<CSignalThrottler> guard(shortLived);
        connect(shortLived, &CSignalThrottler::triggered, this, [shortLived] { delete shortLived; });
        shortLived->throttle();
        QTRY_VERIFY(!guard);
    }
};

QTEST_GUILESS_MAIN(tst_Utilities)
#include "tst_utilities.moc"
