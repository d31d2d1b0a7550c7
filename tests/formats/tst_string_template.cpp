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
    void substitute()
    {
        const QVariantMap values{
            {"name", "Ann"},
            {"name_2", QByteArrayLiteral("two")},
            {"n", 3},
            {"two words", 2.0},
            {"$", "never asked for"},
            {"loop", "$name"},
            {"time", QDateTime(QDate(2024, 3, 1), QTime(14, 5, 9), Qt::UTC)},
            {"null", QString()},
            {"empty", ""},
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

    void overriding()
    {
        ShoutingTemplate shouting("$a $none$ ${b c} $a");
        CStringTemplate& base = shouting;
        const QVariantMap values{{"a", "x"}, {"b c", "y"}};
        QCOMPARE(base.substitute(values), "X  Y} X");
        QCOMPARE(shouting.seen.join('|'), "a|none||b c|a");
        base.setTemplate("${a}");
        QCOMPARE(base.substitute({}), "}");
    }
};

QTEST_GUILESS_MAIN(tst_StringTemplate)
#include "tst_string_template.moc"
