#include <foundation/core/environment_variable.h>
#include <foundation/core/hash_container.h>
#include <foundation/core/hash_memory.h>
#include <foundation/core/murmur_hash3.h>
#include <foundation/core/random.h>
#include <foundation/core/signal_throttler.h>
#include <foundation/core/string_utils.h>

#include <QtTest/QtTest>

#include <array>

class tst_Utilities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trimsQuotes()
    {
        QCOMPARE(CStringUtils::trimQuotes(QStringLiteral(" \"'a \"'b'\"\t")), QStringLiteral("a \"'b"));
        QCOMPARE(CStringUtils::trimQuotes(QStringLiteral("\"'\"")), QString());
        QCOMPARE(CStringUtils::trimQuotes(QStringLiteral("' a '")), QStringLiteral(" a "));
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
            const QString text = QString::fromUtf8(row);
            QCOMPARE(CStringUtils::splitQuotes(text, ',').join(QLatin1Char('|')), QString::fromUtf8(quotes));
            QCOMPARE(CStringUtils::splitQuotedEscapable(text, ',', '"').join(QLatin1Char('|')),
                     QString::fromUtf8(escapable));
        }
        QVERIFY(CStringUtils::splitQuotes(QStringLiteral(" "), ',').isEmpty());
        QVERIFY(CStringUtils::splitQuotedEscapable(QString(), ',', '"').isEmpty());
        QCOMPARE(CStringUtils::splitQuotedEscapable(QStringLiteral("\"\""), ',', '"').size(), 1);
    }

    void switchesAndOptions()
    {
        const char* const variable = "TST_UTILITIES_OPTION";
        const QStringList arguments{QStringLiteral("--verbose"),      QStringLiteral("--ports=1"),
                                    QStringLiteral("--port"),         QStringLiteral(" '4000'"),
                                    QStringLiteral("--name=\"a=b\""), QStringLiteral("--last")};
        qunsetenv(variable);
        QVERIFY(CEnvironmentVariable::hasArg(arguments, "--verbose", variable));
        QVERIFY(!CEnvironmentVariable::hasArg(arguments, "--verb", variable));
        QVERIFY(!CEnvironmentVariable::hasArg(arguments, "", nullptr));
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--port", variable), QStringLiteral("4000"));
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--name", ""), QStringLiteral("a=b"));
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--last", nullptr), QString());
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "", variable), QString());

        const QVector<QPair<const char*, bool>> settings{
            {"0", false}, {"FALSE", false}, {"", true}, {"no", true}, {"00", true}};
        for (const auto& setting : settings) {
            qputenv(variable, QByteArray(setting.first));
            QCOMPARE(CEnvironmentVariable::hasArg({}, "--verbose", variable), setting.second);
        }
        qputenv(variable, " \"x\" ");
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--port", variable), QStringLiteral("x"));
        QCOMPARE(CEnvironmentVariable::valueTrimmed(variable), QStringLiteral("x"));
        QCOMPARE(CEnvironmentVariable::valueBytes(variable), QByteArray(" \"x\" "));
        qputenv(variable, "");
        QCOMPARE(CEnvironmentVariable::argValue(arguments, "--port", variable), QString());
        qunsetenv(variable);
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
