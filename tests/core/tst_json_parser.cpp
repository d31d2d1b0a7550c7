#include <foundation/core/json_parser.h>

#include <QtTest/QtTest>

class tst_JsonParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values()
    {
        const auto other = [](const QVariant& value, const char* written, const QVariant& read) {
            QCOMPARE(CJsonParser::variantToValueString(value), written);
            const QVariant again = CJsonParser::valueStringToVariant(written);
            // Variants of different types may be equal.
            QVERIFY2(again == read && again.userType() == read.userType(), written);
        };
        const auto same = [&](const QVariant& value, const char* written) { other(value, written, value); };
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
        other(QByteArray("[1]\xC3\xA4"), "[1]\xC3\xA4", "[1]\xC3\xA4");
        other(QByteArray("\xEF\xBB\xBF{"), "{", "{");
        same(QByteArray("\xEF\xBB\xBFx"), "\"ef:bb:bf:78\"");
        same(QDateTime(QDate(2024, 1, 31), QTime(10, 0, 5), Qt::UTC), "\"2024-01-31T10:00:05Z\"");
        same(QDateTime(QDate(2024, 1, 31), QTime(10, 0)), "\"2024-01-31T10:00:00\"");
        other(QDateTime(QDate(2024, 1, 31), QTime(10, 0, 0, 7)), "\"2024-01-31T10:00:00\"",
              QDateTime(QDate(2024, 1, 31), QTime(10, 0)));
        other(QDate(2024, 1, 31), "\"2024-01-31\"", QDate(2024, 1, 31).startOfDay());
        other(QTime(1, 2, 3, 4), "\"01:02:03.004\"", "01:02:03.004");
        same("", "\"\"");
        same("[1, 2]", "[1, 2]");
        same("{", "{");
        other("a\\b\"c\n\x01", "\"a\\\\b\\\"c\n\x01\"", "a\\\\b\\\"c\n\x01");
        other("\u00e4\x7f\U0001F511", "\"\\u00e4\x7f\\ud83d\\udd11\"", "\\u00e4\x7f\\ud83d\\udd11");
        other(QVariantList{1, QVariantList{"x", QVariantList()}, true}, "[1, [\"x\", []], true]",
              "[1, [\"x\", []], true]");
        other(QVariantList{QVariantMap(), 1, QVariantMap(), 2}, "[1, , 2]", "[1, , 2]");
        other(QStringList{"only"}, "only", "only");
        other(QStringList{"[x"}, "[x", "[x");
        other(QStringList{"a", "b"}, "", "");
    }

    void tokens()
    {
        const QVector<QPair<const char*, QVariant>> rows{
            {"\"0:1:F\"", QByteArray::fromHex("001f")},
            {"\"::\"", QByteArray()},
            {"\"abc\"", "abc"},
            {"\"12:3g\"", "12:3g"},
            {"\"2024-01-31 10:00\"", "2024-01-31 10:00"},
            {"\"2024-13-31\"", "2024-13-31"},
            {"\"2024-01-31T25:00\"", "2024-01-31T25:00"},
            {"\"", ""},
            {"", ""},
            {"\"open", "\"open"},
            {"1e3", 1000.0},
            {"-", "-"},
            {"+5", 5},
            {"007", 7},
            {"9223372036854775808", 9223372036854775808.0},
            {"0x10", "0x10"},
        };
        for (const auto& [text, expected] : rows) {
            const QVariant value = CJsonParser::valueStringToVariant(text);
            QVERIFY2(value == expected && value.userType() == expected.userType(), text);
        }
    }

    void maps()
    {
        QCOMPARE(CJsonParser::serialize(QVariantMap()), "[]");
        const QVector<QPair<QVariantMap, const char*>> rows{
            {{{"a", 1}, {"b", "x"}}, "{\"a\": 1, \"b\": \"x\"}"},
            {{{"0", true}, {"1", 2.5}}, "[true, 2.5]"},
            {{{"0", 1}, {"2", 2}}, "{\"0\": 1, \"2\": 2}"},
            {{{"0", 1}, {"01", 2}}, "{\"0\": 1, \"01\": 2}"},
            {{{"0", 1}, {"+1", 2}}, "{\"+1\": 2, \"0\": 1}"},
            {{{"0", 1}, {"", 2}}, "{\"\": 2, \"0\": 1}"},
            {{{"0", 1}, {"\u0661", 2}}, "{\"0\": 1, \"\u0661\": 2}"},
            {{{"k\"\u00e4\\", "{}"}}, "{\"k\"\u00e4\\\": {}}"},
            // A place marker in a key takes part in the substitution: the lowest number is the one that is filled.
            {{{"a", 1}, {"b%3", 2}, {"c", 3}}, "{\"a\": 1, \"b2\": 2, \"c\": 3}"},
            {{{"%1", "v"}}, "{\"\"v\"\": %3}"},
            {{{"%4%", "%3"}}, "{\"%4%\": \"%3\"}"},
        };
        for (const auto& [map, text] : rows)
            QCOMPARE(CJsonParser::serialize(map), text);
    }

    void texts()
    {
        const auto row = [](const QString& text, bool good, const QVariantMap& map, bool strip = false) {
            bool ok = false;
            const QVariantMap read = CJsonParser::deserialize(text, &ok, strip);
            QVERIFY2(read == map && ok == good, qPrintable(text));
            QVERIFY2(CJsonParser::deserialize(text, nullptr, strip) == map, qPrintable(text));
        };
        const QString a = "a", b = "b", k0 = "0", k1 = "1";
        row("{\"a\": 1, b: x}", true, {{a, 1}, {b, "x"}});
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
        row("{\"\":1}", true, {{"", 1}});
        row("{\"a\": {\"x\": [1]}, \"b\": [1, {2]}", true, {{a, "{\"x\": [1]}"}, {b, "[1, {2]"}});
        row("{a: {b: {c: 1}}}", false, {{a, "{b: {c: 1}"}});
        row("{\"a\": \"x\\\"y\\\\z\\n\"}", true, {{a, "x\"y\\z\\n"}});
        row("{\"a\": \"\\\\\\\\\\\"q\"}", true, {{a, "\\\\\"q"}});
        row("{\"a\": \"x\\\\\"}", false, {});
        row("{\"a\": \"\\u00e4\\u00E4\"}", true, {{a, "\u00e4\u00e4"}});
        row("{\"a\": \"x\\u0022, \"b\": 1}", true, {{a, "x"}, {b, 1}});
        row("\\u007ba\\u003a 1}", true, {{a, 1}});
        row("{a: \\u00", false, {});
        row("[\\u0031\\u005d", false, {});        // the last escape has nothing behind it
        row("[\\u0031\\u005d ", true, {{k0, 1}}); // here it has
        row("[\"\\u005cu0041\"]", true, {{k0, "\\u0041"}});
        row("[\"\\u00g1\\\\u0042\"]", true, {{k0, "\\u00g1\\B"}});
        row("{a: 1, // one\n b: 2 /* two */}", true, {{a, 1}, {b, 2}}, true);
        row("{a: 1, // one\n b: 2}", false, {{a, 1}}, false);
        row("{a: \"http://x\",\nb: 1}", false, {}, true);
        row("[1] // no line feed", false, {{k0, 1}}, true);
        row("[1] /* open", false, {{k0, 1}}, true);
        row("[/*/1*/2]", true, {{k0, 2}}, true);
        row("[1 /\\u002a x */]", true, {{k0, 1}}, true);
        row("[1 //*x*// c\n]", true, {{k0, 1}}, true);
    }

    void writesTexts()
    {
        QVariantMap map;
        for (int i = 0; i < 12; ++i)
            map.insert(QString::number(i), i);
        QCOMPARE(CJsonParser::serialize(map), "[0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11]");
        QVariantList list;
        for (int i = 0; i < 5000; ++i)
            list = QVariantList{QVariant(list)};
        QCOMPARE(CJsonParser::serialize(list), QString(5001, '[') + QString(5001, ']'));
        QCOMPARE(CJsonParser::toQuotedStringValue("a\\\"\n\r\t\b\f\v\u00e4"), "\"a\\\\\\\"\\n\\r\\t\\b\\f\u00e4\"");
    }
};

QTEST_GUILESS_MAIN(tst_JsonParser)
#include "tst_json_parser.moc"
