#include <foundation/formats/string_template.h>

#include <QtCore/QDateTime>
#include <QtTest/QtTest>

namespace {

// A template whose keys are answered in capitals, and whose unknown keys vanish.
class ShoutingTemplate : public CStringTemplate
{
public:
    using CStringTemplate::CStringTemplate;
    QString substituteKey(const QString& key) const override
    {
        seen.append(key); // kept beyond the call
        return CStringTemplate::substituteKey(key).toUpper();
    }
    QString handleUnknownKey(const QString& key) const override
    {
        return values().isEmpty() || key.isEmpty() ? QString() : values().firstKey();
    }

    mutable QStringList seen;
};

} // namespace

class tst_StringTemplate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void substitute_data();
    void substitute();
    void overriding();
    void longText();
};

void tst_StringTemplate::substitute_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* text, const char* expected) {
        QTest::newRow(text) << QString::fromUtf8(text) << QString::fromUtf8(expected);
    };
    row("Hello $name!", "Hello Ann!");
    row("$name_2$name", "twoAnn");
    row("$name\xC3\xA9$n", "Ann\xC3\xA9"
                           "3");         // a letter, but no name character
    row("$name\xC5\x81", "Ann\xC5\x81"); // U+0141, whose low byte is that of "A"
    row("$other.", "${other}.");
    row("costs 5$", "costs 5$");
    row("$ $$n", "${} ${}3");
    row("${name}!", "Ann}!");
    row("${two words} $n", "2} 3");
    row("${$}name", "$}name");
    row("${}name} $n", "${}name}} 3"); // the key is "}name"
    row("${name $n", "${name $n");
    row("$n ${", "3 ${");
    row("$n ${}", "3 ${}");
    row("$loop ${loop}", "$name $name}");
    row("$time", "2024-03-01T14:05:09Z");
    row("[$null|$empty]", "[${null}|]");
    row("", "");
}

void tst_StringTemplate::substitute()
{
    QFETCH(QString, text);
    const QVariantMap values{
        {QStringLiteral("name"), QStringLiteral("Ann")},
        {QStringLiteral("name_2"), QByteArrayLiteral("two")},
        {QStringLiteral("n"), 3},
        {QStringLiteral("two words"), 2.0},
        {QStringLiteral("$"), QStringLiteral("never asked for")},
        {QStringLiteral("loop"), QStringLiteral("$name")},
        {QStringLiteral("time"), QDateTime(QDate(2024, 3, 1), QTime(14, 5, 9), Qt::UTC)},
        {QStringLiteral("null"), QString()},
        {QStringLiteral("empty"), QStringLiteral("")},
    };
    CStringTemplate stringTemplate(text);
    QTEST(stringTemplate.substitute(values), "expected");
    QTEST(stringTemplate.substitute(values), "expected");
}

void tst_StringTemplate::overriding()
{
    ShoutingTemplate shouting(QStringLiteral("$a $none$ ${b c} $a"));
    CStringTemplate& base = shouting;
    const QVariantMap values{{QStringLiteral("a"), QStringLiteral("x")}, {QStringLiteral("b c"), QStringLiteral("y")}};
    QCOMPARE(base.substitute(values), QStringLiteral("X a Y} X"));
    QCOMPARE(shouting.seen.join(QLatin1Char('|')), QStringLiteral("a|none||b c|a"));
    base.setTemplate(QStringLiteral("${a}"));
    QCOMPARE(base.substitute({}), QStringLiteral("}"));
}

void tst_StringTemplate::longText()
{
    // Open braces without an end, and many placeholders: each must take one pass.
    const int count = 1000000;
    CStringTemplate stringTemplate(QStringLiteral("${").repeated(count));
    QCOMPARE(stringTemplate.substitute({}).size(), 2 * count);
    stringTemplate.setTemplate(QStringLiteral("$n,").repeated(count));
    QCOMPARE(stringTemplate.substitute({{QStringLiteral("n"), QStringLiteral("seven")}}).size(), 6 * count);
}

QTEST_GUILESS_MAIN(tst_StringTemplate)
#include "tst_string_template.moc"
