#include <foundation/core/canonical_text.h>
#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QTimeZone>
#include <QtCore/QUrl>
#include <QtTest/QtTest>

#include <cmath>
#include <limits>

struct Opaque
{
};
Q_DECLARE_METATYPE(Opaque)

namespace {

template<typename T>
QString textOf(const T& value)
{
    return canonicalText(QVariant::fromValue(value));
}

} // namespace

class tst_CanonicalText : public QObject
{
    Q_OBJECT

public:
    enum Enumeration
    {
        First = 1
    };
    Q_ENUM(Enumeration)

private Q_SLOTS:
    void writesScalars()
    {
        QCOMPARE(canonicalText(QVariant()), QString());
        for (const char* text : {"", "01", " 1", "1.0", "TRUE", "[1]", "\xC3\xA4\n\""})
            QCOMPARE(canonicalText(QString::fromUtf8(text)), QString::fromUtf8(text));
        QCOMPARE(textOf(true) + textOf(false), "truefalse");
        for (const QString& one : {textOf(1),
                                   textOf(1u),
                                   textOf(qint64(1)),
                                   textOf(quint64(1)),
                                   textOf(short(1)),
                                   textOf(char(1)),
                                   textOf<signed char>(1),
                                   textOf<uchar>(1),
                                   textOf<ushort>(1),
                                   textOf(1l),
                                   textOf(1ul),
                                   textOf(1.0),
                                   textOf(1.0f),
                                   textOf(CItemId(1)),
                                   textOf(CDeviceId(1)),
                                   textOf(CSystemId(1)),
                                   textOf(QString("1")),
                                   textOf(First),
                                   textOf(QJsonValue(1)),
                                   textOf(QChar('1'))})
            QCOMPARE(one, "1");
        QCOMPARE(textOf(std::numeric_limits<qint64>::min()), "-9223372036854775808");
        QCOMPARE(textOf(std::numeric_limits<quint64>::max()), "18446744073709551615");
        QCOMPARE(textOf(CItemId(-7)), "-7");
        QCOMPARE(textOf(QUrl("https://a/b")), "https://a/b");

        const double infinity = std::numeric_limits<double>::infinity();
        const std::vector<std::pair<double, const char*>> reals{{0.1, "0.1"},
                                                                {-0.0, "0"},
                                                                {-2, "-2"},
                                                                {1e15, "1000000000000000"},
                                                                {9007199254740993.0, "9007199254740992"},
                                                                {-9223372036854775808.0, "-9223372036854775808"},
                                                                {9223372036854775808.0, "9223372036854775808"},
                                                                {18446744073709551616.0, "18446744073709551616"},
                                                                {-1e19, "-1e+19"},
                                                                {1e30, "1e+30"},
                                                                {1.5e-7, "1.5e-07"},
                                                                {infinity, "inf"},
                                                                {-infinity, "-inf"},
                                                                {std::nan(""), "nan"},
                                                                {-std::nan(""), "nan"},
                                                                {1.0 / 3, "0.3333333333333333"}};
        for (const auto& [number, text] : reals)
            QCOMPARE(textOf(number), text);
        QCOMPARE(textOf(0.1f), "0.1");

        QCOMPARE(textOf(QByteArray()), ":");
        QCOMPARE(textOf(QByteArray("\x7F")), "7f:");
        QCOMPARE(textOf(QByteArray("\x04\xA1")), "04:a1");
    }

    void writesTimes()
    {
        const QString instant = "2026-11-22T03:10:00Z";
        const QDateTime utc = QDateTime::fromString(instant, Qt::ISODate);
        QCOMPARE(textOf(utc), instant);
        QCOMPARE(textOf(utc.addMSecs(999)), instant);
        QCOMPARE(textOf(utc.toLocalTime()), instant);
        QCOMPARE(textOf(utc.toOffsetFromUtc(-19800)), instant);
        QCOMPARE(textOf(utc.toTimeZone(QTimeZone("Asia/Kathmandu"))), instant);
        QCOMPARE(textOf(QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC)), "1969-12-31T23:59:59Z");
        QCOMPARE(textOf(QDateTime(QDate(12026, 1, 2), QTime(3, 4, 5), Qt::UTC)), "12026-01-02T03:04:05Z");
        QCOMPARE(textOf(QDate(-44, 3, 15)), "-0044-03-15");
        QCOMPARE(textOf(QTime(3, 4, 5, 999)), "03:04:05");
        QCOMPARE(textOf(QDateTime()) + textOf(QDate()) + textOf(QTime()), QString());
    }

    void writesContainers()
    {
        const QVariantMap map{{"b", 1}, {"a\"", QVariantList{true, QString(), "[\"1\"]", QVariantList{1}}}};
        const QString text = "{\"a\\\"\":[\"true\",\"\",\"[\\\"1\\\"]\",[\"1\"]],\"b\":\"1\"}";
        QCOMPARE(canonicalText(map), text);
        QCOMPARE(textOf(QVariantHash{{"b", "1"}, {"a\"", map.value("a\"")}}), text);
        QCOMPARE(textOf(QJsonObject::fromVariantMap(map)), text);
        QCOMPARE(textOf(QVariantList()) + textOf(QVariantMap()), "[]{}");
        for (const QString& list : {textOf(QStringList{"1", "2"}), textOf(QVariantList{1, 2.0}),
                                    textOf(QVector<int>{1, 2}), textOf(CItemIdList{1, 2}),
                                    textOf(QList<QVariant>{"1", CDeviceId(2).value()}), textOf(QJsonArray{1, "2"})})
            QCOMPARE(list, "[\"1\",\"2\"]");
        QVERIFY(textOf(QStringList{"a,b"}) != textOf(QStringList{"a", "b"}));
        QVERIFY(textOf(QStringList{"a\",\"b"}) != textOf(QStringList{"a", "b"}));
    }

    // A type without a text is told apart by its stream form, and one without either by its name.
    void writesOtherTypes() { QCOMPARE(textOf(Opaque()), "Opaque:"); }
};

QTEST_GUILESS_MAIN(tst_CanonicalText)
#include "tst_canonical_text.moc"
