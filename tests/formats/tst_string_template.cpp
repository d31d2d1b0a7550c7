#include <foundation/formats/string_template.h>

#include <QtCore/QDateTime>
#include <QtTest/QtTest>

namespace {

// Answers in capitals, drops what it does not know, and keeps the keys beyond the call.
class ShoutingTemplate : public CStringTemplate
{
public:
    using CStringTemplate::CStringTemplate;
    QString substituteKey(const QString& key) const override
    {
        seen.append(key);
        return CStringTemplate::substituteKey(key).toUpper();
    }
    QString handleUnknownKey(const QString&) const override { return QString(); }

    mutable QStringList seen;
};

} // namespace

class tst_StringTemplate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void substitute();
    void overriding();
    void longText();
};

void tst_StringTemplate::substitute()
{
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
    const std::pair<const char*, const char*> rows[] = {
        {"Hello $name!", "Hello Ann!"},
        {"$name_2$name", "twoAnn"},
        {"$name\xC3\xA9 $n", "Ann\xC3\xA9 3"}, // a letter, but no name character
        {"$name\xC5\x81", "Ann\xC5\x81"},      // U+0141, whose low byte is that of "A"
        {"$other.", "${other}."},
        {"costs 5$", "costs 5$"},
        {"$ $$n", "${} ${}3"},
        {"${name}!", "Ann}!"},
        {"${two words} $n", "2} 3"},
        {"${$}name", "$}name"},
        {"${}name} $n", "${}name}} 3"}, // the key is "}name"
        {"${name $n", "${name $n"},
        {"$n ${", "3 ${"},
        {"$n ${}", "3 ${}"},
        {"$loop ${loop}", "$name $name}"},
        {"$time", "2024-03-01T14:05:09Z"},
        {"[$null|$empty]", "[${null}|]"},
        {"", ""},
    };
    for (const auto& [text, expected] : rows)
        QCOMPARE(CStringTemplate(QString::fromUtf8(text)).substitute(values), QString::fromUtf8(expected));
}

void tst_StringTemplate::overriding()
{
    ShoutingTemplate shouting(QStringLiteral("$a $none$ ${b c} $a"));
    CStringTemplate& base = shouting;
    const QVariantMap values{{QStringLiteral("a"), QStringLiteral("x")}, {QStringLiteral("b c"), QStringLiteral("y")}};
    QCOMPARE(base.substitute(values), QStringLiteral("X  Y} X"));
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
