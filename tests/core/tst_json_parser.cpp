#include <foundation/core/json_parser.h>

#include <QtTest/QtTest>

#include <ctime>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

class tst_JsonParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("written");
        // What reading gives where it is not the value itself.
        QTest::addColumn<QVariant>("read");
        const auto same = [](const QVariant& value, const char* written) {
            QTest::newRow(written) << value << s(written) << value;
        };
        const auto other = [](const QVariant& value, const char* written, const QVariant& read) {
            QTest::newRow(written) << value << s(written) << read;
        };
        same(QVariant(), "null");
        other(QVariant::fromValue(QCborMap{{1, 2}}), "null", QVariant());
        same(true, "true");
        same(false, "false");
        same(-2147483647 - 1, "-2147483648");
        same(2147483648ll, "2147483648");
        same(std::numeric_limits<qint64>::min(), "-9223372036854775808");
        other(7u, "7", 7);
        other(18446744073709551615ull, "18446744073709551615", 18446744073709551615.0);
        same(2.5, "2.5");
        same(1e300, "1e+300");
        same(QByteArray::fromHex("00ff"), "\"00:ff\"");
        same(QByteArray::fromHex("7f"), "\"7f:\"");
        same(QByteArray(""), "\":\"");
        other(QByteArray("[1]\xC3\xA4"), "[1]\xC3\xA4", s("[1]\xC3\xA4"));
        other(QByteArray("\xEF\xBB\xBF{"), "{", s("{"));
        same(QByteArray("\xEF\xBB\xBFx"), "\"ef:bb:bf:78\"");
        same(QDateTime(QDate(2024, 1, 31), QTime(10, 0, 5), Qt::UTC), "\"2024-01-31T10:00:05Z\"");
        same(QDateTime(QDate(2024, 1, 31), QTime(10, 0)), "\"2024-01-31T10:00:00\"");
        other(QDateTime(QDate(2024, 1, 31), QTime(10, 0, 0, 7)), "\"2024-01-31T10:00:00\"",
              QDateTime(QDate(2024, 1, 31), QTime(10, 0)));
        other(QDate(2024, 1, 31), "\"2024-01-31\"", QDate(2024, 1, 31).startOfDay());
        other(QTime(1, 2, 3, 4), "\"01:02:03.004\"", s("01:02:03.004"));
        same(s(""), "\"\"");
        same(s("[1, 2]"), "[1, 2]");
        same(s("{"), "{");
        other(s("a\\b\"c\n\x01"), "\"a\\\\b\\\"c\n\x01\"", s("a\\\\b\\\"c\n\x01"));
        other(s("\u00e4\x7f\U0001F511"), "\"\\u00e4\x7f\\ud83d\\udd11\"", s("\\u00e4\x7f\\ud83d\\udd11"));
        other(QVariantList{1, QVariantList{s("x"), QVariantList()}, true}, "[1, [\"x\", []], true]",
              s("[1, [\"x\", []], true]"));
        other(QVariantList{QVariantMap(), 1, QVariantMap(), 2}, "[1, , 2]", s("[1, , 2]"));
        other(QStringList{s("only")}, "only", s("only"));
        other(QStringList{s("[x")}, "[x", s("[x"));
        other(QStringList{s("a"), s("b")}, "", s(""));
    }

    void values()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, written);
        QCOMPARE(CJsonParser::variantToValueString(value), written);
        QFETCH(QVariant, read);
        QCOMPARE(CJsonParser::valueStringToVariant(written), read);
        // Variants of different types may be equal.
        QCOMPARE(CJsonParser::valueStringToVariant(written).userType(), read.userType());
    }

    void tokens()
    {
        const QVector<QPair<const char*, QVariant>> rows{
            {"\"0:1:F\"", QByteArray::fromHex("001f")},
            {"\"::\"", QByteArray()},
            {"\"abc\"", s("abc")},
            {"\"12:3g\"", s("12:3g")},
            {"\"2024-01-31 10:00\"", s("2024-01-31 10:00")},
            {"\"2024-13-31\"", s("2024-13-31")},
            {"\"2024-01-31T25:00\"", s("2024-01-31T25:00")},
            {"\"", s("")},
            {"", s("")},
            {"\"open", s("\"open")},
            {"1e3", 1000.0},
            {"-", s("-")},
            {"+5", 5},
            {"007", 7},
            {"9223372036854775808", 9223372036854775808.0},
            {"0x10", s("0x10")},
        };
        for (const auto& row : rows) {
            const QVariant value = CJsonParser::valueStringToVariant(s(row.first));
            QVERIFY2(value == row.second && value.userType() == row.second.userType(), row.first);
        }
    }

    void maps()
    {
        QCOMPARE(CJsonParser::serialize(QVariantMap()), s("[]"));
        const QVector<QPair<QVariantMap, const char*>> rows{
            {{{s("a"), 1}, {s("b"), s("x")}}, "{\"a\": 1, \"b\": \"x\"}"},
            {{{s("0"), true}, {s("1"), 2.5}}, "[true, 2.5]"},
            {{{s("0"), 1}, {s("2"), 2}}, "{\"0\": 1, \"2\": 2}"},
            {{{s("0"), 1}, {s("01"), 2}}, "{\"0\": 1, \"01\": 2}"},
            {{{s("0"), 1}, {s("+1"), 2}}, "{\"+1\": 2, \"0\": 1}"},
            {{{s("0"), 1}, {s(""), 2}}, "{\"\": 2, \"0\": 1}"},
            {{{s("0"), 1}, {s("\u0661"), 2}}, "{\"0\": 1, \"\u0661\": 2}"},
            {{{s("k\"\u00e4\\"), s("{}")}}, "{\"k\"\u00e4\\\": {}}"},
            // A place marker in a key takes part in the substitution: the lowest number is the one that is filled.
            {{{s("a"), 1}, {s("b%3"), 2}, {s("c"), 3}}, "{\"a\": 1, \"b2\": 2, \"c\": 3}"},
            {{{s("%1"), s("v")}}, "{\"\"v\"\": %3}"},
            {{{s("%4%"), s("%3")}}, "{\"%4%\": \"%3\"}"},
        };
        for (const auto& row : rows)
            QCOMPARE(CJsonParser::serialize(row.first), s(row.second));
    }

    void texts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("good");
        QTest::addColumn<QVariantMap>("map");
        QTest::addColumn<bool>("strip");
        const auto row = [](const char* text, bool good, const QVariantMap& map, bool strip = false) {
            QTest::addRow("%s%s", text, strip ? " (strip)" : "") << s(text) << good << map << strip;
        };
        const QString a = s("a"), b = s("b"), k0 = s("0"), k1 = s("1");
        row("{\"a\": 1, b: x}", true, {{a, 1}, {b, s("x")}});
        row(" \t\r\n[ true ,\n2.5 ] \n", true, {{k0, true}, {k1, 2.5}});
        row("{", true, {});
        row(" [ ", true, {});
        row("{}", false, {});
        row("[]", false, {});
        row("", false, {});
        row("{a:1,", true, {{a, 1}});
        row("{a:1", false, {});
        row("{a:1}x", false, {{a, 1}});
        row("{a:1}b:2}", true, {{a, 1}, {b, 2}});
        row("[1]2]", true, {{k0, 1}, {k1, 2}});
        row("{a:1]", false, {});
        row("[1}", false, {});
        row("{a:1,,b:2}", false, {{a, 1}});
        row("{a:}", false, {});
        row("{a:1, b:\"open}", false, {{a, 1}});
        row("{a:1, b:[2}", false, {{a, 1}});
        row("{b:1, a:2, b:3}", true, {{a, 2}, {b, 3}});
        row("{\"\":1}", true, {{s(""), 1}});
        row("{\"a\": {\"x\": [1]}, \"b\": [1, {2]}", true, {{a, s("{\"x\": [1]}")}, {b, s("[1, {2]")}});
        row("{a: {b: {c: 1}}}", false, {{a, s("{b: {c: 1}")}});
        row("{\"a\": \"x\\\"y\\\\z\\n\"}", true, {{a, s("x\"y\\z\\n")}});
        row("{\"a\": \"\\\\\\\\\\\"q\"}", true, {{a, s("\\\\\"q")}});
        row("{\"a\": \"x\\\\\"}", false, {});
        row("{\"a\": \"\\u00e4\\u00E4\"}", true, {{a, s("\u00e4\u00e4")}});
        row("{\"a\": \"x\\u0022, \"b\": 1}", true, {{a, s("x")}, {b, 1}});
        row("\\u007ba\\u003a 1}", true, {{a, 1}});
        row("{a: \\u00", false, {});
        row("[\\u0031\\u005d", false, {});        // the last escape has nothing behind it
        row("[\\u0031\\u005d ", true, {{k0, 1}}); // here it has
        row("[\"\\u005cu0041\"]", true, {{k0, s("\\u0041")}});
        row("[\"\\u00g1\\\\u0042\"]", true, {{k0, s("\\u00g1\\B")}});
        row("{a: 1, // one\n b: 2 /* two */}", true, {{a, 1}, {b, 2}}, true);
        row("{a: 1, // one\n b: 2}", false, {{a, 1}}, false);
        row("{a: \"http://x\",\nb: 1}", false, {}, true);
        row("[1] // no line feed", false, {{k0, 1}}, true);
        row("[1] /* open", false, {{k0, 1}}, true);
        row("[/*/1*/2]", true, {{k0, 2}}, true);
        row("[1 /\\u002a x */]", true, {{k0, 1}}, true);
        row("[1 //*x*// c\n]", true, {{k0, 1}}, true);
    }

    void texts()
    {
        QFETCH(QString, text);
        QFETCH(bool, strip);
        bool ok = false;
        QTEST(CJsonParser::deserialize(text, &ok, strip), "map");
        QTEST(ok, "good");
        QTEST(CJsonParser::deserialize(text, nullptr, strip), "map");
    }

    void writesTexts()
    {
        QVariantMap map;
        for (int i = 0; i < 12; ++i)
            map.insert(QString::number(i), i);
        QCOMPARE(CJsonParser::serialize(map), s("[0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11]"));
        QVariantList list;
        for (int i = 0; i < 5000; ++i)
            list = QVariantList{QVariant(list)};
        QCOMPARE(CJsonParser::serialize(list), s("[").repeated(5001) + s("]").repeated(5001));
        QCOMPARE(CJsonParser::toQuotedStringValue(s("a\\\"\n\r\t\b\f\v\u00e4")),
                 s("\"a\\\\\\\"\\n\\r\\t\\b\\f\u00e4\""));
    }

    // Four times the text takes about four times as long, whatever it is made of; a second search from each place
    // would make it sixteen times.
    void staysLinear_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("repeated");
        const auto row = [](const char* start, const char* repeated) {
            QTest::newRow(repeated) << s(start) << s(repeated);
        };
        row("[\"", "\\u0041");
        row("[", "\\u+1\\u");
        row("[", "/*x*/");
        row("[", "/*x");
        row("[", "//x");
        row("[1", "//\n");
        row("{a:", "[");
        row("{a:", "{[");
        row("", "[\"");
        row("[\"", "\\\"");
        row("[\"", "\\\\");
        row("[\"", "ab:");
        row("[", "0");
        row("[", "1.5e9");
        row("[\"2024-01-31T", "1:");
        row("[", "[1],");
        row("{", "\"k\":\"\\\\\",");
        row("[", "\"2024-01-31\",");
    }

    void staysLinear()
    {
        QFETCH(QString, start);
        QFETCH(QString, repeated);
        // Processor time: a busy machine does not make it longer.
        const auto microseconds = [&](int length) {
            const QString text = start + repeated.repeated(length / repeated.size());
            std::clock_t best = std::numeric_limits<std::clock_t>::max();
            for (int i = 0; i < 3; ++i) {
                const std::clock_t begin = std::clock();
                CJsonParser::deserialize(text, nullptr, true);
                best = qMin(best, std::clock() - begin);
            }
            return best * 1000000 / CLOCKS_PER_SEC;
        };
        const int length = 100000;
        const auto small = qMax<std::clock_t>(microseconds(length), 100);
        const auto large = microseconds(8 * length);
        QVERIFY2(large < 32 * small, qPrintable(s("%1 us and %2 us").arg(small).arg(large)));
    }
};

QTEST_GUILESS_MAIN(tst_JsonParser)
#include "tst_json_parser.moc"
