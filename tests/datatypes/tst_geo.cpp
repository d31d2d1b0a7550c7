#include <foundation/datatypes/geo_position_info.h>

#include <QtTest/QtTest>

#include <cmath>

using Map = QMap<QString, QVariant>;

namespace {

// From strings, as records have them.
CGeoCoordinate unchecked(const char* latitude, const char* longitude, const char* altitude)
{
    return CGeoCoordinate(QVariant(latitude), QVariant(longitude), QVariant(altitude));
}

// "2", "3" for what is valid in two and three dimensions; what is NaN is left out of the numbers behind it.
QString described(const CGeoCoordinate& c)
{
    QString result = (c.isValid3D() ? "3" : c.isValid2D() ? "2" : "-");
    for (const double value : {c.latitude(), c.longitude(), c.altitude()})
        result += qIsNaN(value) ? QString() : QString(' ' + QString::number(value));
    return result;
}

} // namespace

class tst_Geo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void coordinates()
    {
        QCOMPARE(described(CGeoCoordinate(-90.0, 180.0, -1000.0)), "3 -90 180 -1000");
        QCOMPARE(described(CGeoCoordinate(91, 10, 5)), "-");
        QCOMPARE(described(CGeoCoordinate(45, -180.0001, 5)), "-");
        QCOMPARE(described(CGeoCoordinate(qInf(), 10, 5)), "-");
        QCOMPARE(described(CGeoCoordinate(45, 10, 20000)), "2 45 10");
        QCOMPARE(described(CGeoCoordinate(45, 10)), "2 45 10");
        QCOMPARE(described(unchecked("91", "10", "5")), "- 91 10 5");
        QCOMPARE(described(unchecked("45.5", "10", "high")), "2 45.5 10");
        QCOMPARE(described(unchecked("45", "x", "5")), "-");

        const auto created = [](const Map& source) { return described(CGeoCoordinate::create(source)); };
        QCOMPARE(created({{"coordinates", " 47.1, 8.5"}, {"latitude", 1}, {"longitude", 2}, {"altitude", 3}}),
                 "3 47.1 8.5 3");
        QCOMPARE(created({{"coordinates", "here"}, {"latitude", 1}, {"longitude", 2}}), "-");
        QCOMPARE(created({{"coordinates", "1,2,3"}}), "2 1 2");
        QCOMPARE(created({{"latitude", "1.5"}, {"longitude", -2}}), "2 1.5 -2");
        QCOMPARE(created({{"latitude", 1}, {"altitude", 3}}), "-");
    }

    void distances()
    {
        struct
        {
            CGeoCoordinate from, to;
            double metres, tolerance;
        } const rows[] = {
            {{0, 0}, {0, 1}, 111195.05, 0.01},
            {{46.9480, 7.4474}, {47.3769, 8.5417}, 95492, 10},
            {{89.999995, 0}, {89.999995, 180}, 1.111952, 1e-5}, // a metre at the pole
            {{47.1, 8.5}, {47.1000001, 8.5}, 0.0111195, 1e-6},
            {{0, 179.5}, {0, -179.5}, 111195.05, 0.01},
            {{90, 12}, {-90, 77}, 20015109.36, 1},
            // Antipodes where rounding lifts the sine above 1.
            {{-89.460940794628897, 115.39982384502838}, {89.460940794628897, -64.60017615497162}, 20015109.36, 1},
            {{12, 34, 5}, {12, 34, 500}, 0, 0},
            {{12, 34}, {}, -1, 0},
            {unchecked("91", "0", ""), {12, 34}, -1, 0},
        };
        for (const auto& row : rows) {
            const double metres = row.from.distanceTo(row.to);
            QVERIFY2(std::abs(metres - row.metres) <= row.tolerance, qPrintable(QString::number(metres, 'g', 12)));
            QCOMPARE(row.to.distanceTo(row.from), metres);
        }
    }

    void equality()
    {
        QVERIFY(CGeoCoordinate::equals(CGeoCoordinate(), CGeoCoordinate()));
        QVERIFY(CGeoCoordinate::equals(CGeoCoordinate(0.1 + 0.2, 1), CGeoCoordinate(0.3, 1)));
        QVERIFY(!CGeoCoordinate::equals(CGeoCoordinate(0.3, 1), CGeoCoordinate(0.3, 1, 0)));
        QVERIFY(!CGeoCoordinate::equals(CGeoCoordinate(0.3, 1), CGeoCoordinate(0.3, 1.0000001)));

        CGeoPositionInfo undefined;
        QVERIFY(CGeoPositionInfo::equals(undefined, undefined));
        undefined.setAttribute(CGeoPositionInfo::Speed, qQNaN());
        QVERIFY(undefined.hasAttribute(CGeoPositionInfo::Speed) && !undefined.hasAttribute(CGeoPositionInfo::Course));
        QVERIFY(!CGeoPositionInfo::equals(undefined, undefined));
    }

    void roundTrip()
    {
        const QDateTime time(QDate(2024, 3, 1), QTime(14, 5, 9, 123), Qt::OffsetFromUTC, 3600);
        CGeoPositionInfo info(CGeoCoordinate(47.123456789012345, -8.1 / 3, 436.7), time);
        for (int i = 1; i <= 6; ++i)
            info.setAttribute(static_cast<CGeoPositionInfo::Attribute>(i), 1.0 / i);
        QVERIFY(info.isValid());

        Map full = info.toMap(true, true);
        QCOMPARE(full.value("timestamp").toString(), "2024-03-01T13:05:09.123Z");
        QVERIFY(CGeoPositionInfo::equals(CGeoPositionInfo(full), info));
        full.remove("coordinates");
        QVERIFY(CGeoPositionInfo::equals(CGeoPositionInfo(full), info));
        full.insert("course", "90");
        QVERIFY(!CGeoPositionInfo::equals(CGeoPositionInfo(full), info));
        full.insert("course", "north");
        QVERIFY(!CGeoPositionInfo(full).hasAttribute(CGeoPositionInfo::Course));

        const Map bare = info.toMap(false, false);
        QCOMPARE(bare.keys().join(' '), "altitude coordinates latitude longitude");
        QVERIFY(!CGeoPositionInfo(bare).isValid());
        QVERIFY(CGeoPositionInfo().toMap(true, true).isEmpty());
        QVERIFY(CGeoPositionInfo::attributeToString(static_cast<CGeoPositionInfo::Attribute>(7)).isNull());
        QCOMPARE(int(CGeoPositionInfo::attributeFromString("verticalAccuracy")), 6);
        QCOMPARE(int(CGeoPositionInfo::attributeFromString(QString())), 0);
    }

    void compactMap()
    {
        CGeoPositionInfo info(CGeoCoordinate(47.1234567, -8.5, -0.9), QDateTime::currentDateTimeUtc().addSecs(-90));
        info.setAttribute(CGeoPositionInfo::Course, 359.99);
        info.setAttribute(CGeoPositionInfo::Speed, qQNaN());
        info.setAttribute(CGeoPositionInfo::SpeedAccuracy, qInf());
        Map compact = info.toCompactMap();
        const qlonglong age = compact.take("age").toLongLong();
        QVERIFY(age >= 90000 && age < 95000);
        QCOMPARE(compact, (Map{{"coordinates", "47.12346, -8.50000"},
                               {"altitude", "0"},
                               {"course", 359LL},
                               {"speedAccuracy", Q_INT64_C(1) << 53}}));
        QVERIFY(CGeoPositionInfo().toCompactMap().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_Geo)
#include "tst_geo.moc"
