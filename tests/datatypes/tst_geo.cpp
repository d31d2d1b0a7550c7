#include <foundation/datatypes/geo_position_info.h>

#include <QtTest/QtTest>

#include <cmath>
#include <limits>

using Map = QMap<QString, QVariant>;

namespace {

Map map(std::initializer_list<std::pair<const char*, QVariant>> entries)
{
    Map result;
    for (const auto& [key, value] : entries)
        result.insert(QLatin1String(key), value);
    return result;
}

QString text(const char* latin1)
{
    return QLatin1String(latin1);
}

} // namespace

class tst_Geo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ranges_data();
    void ranges();
    void distance_data();
    void distance();
    void create_data();
    void create();
    void coordinateEquality();
    void mapsRoundTrip();
    void compactMap();
};

void tst_Geo::ranges_data()
{
    QTest::addColumn<CGeoCoordinate>("coordinate");
    QTest::addColumn<bool>("kept");
    QTest::addColumn<bool>("valid2D");
    QTest::addColumn<bool>("valid3D");

    QTest::newRow("corner") << CGeoCoordinate(-90.0, 180.0, -1000.0) << true << true << true;
    QTest::newRow("latitude above") << CGeoCoordinate(91, 10, 5) << false << false << false;
    QTest::newRow("longitude below") << CGeoCoordinate(45, -180.0001, 5) << false << false << false;
    QTest::newRow("infinite") << CGeoCoordinate(qInf(), 10, 5) << false << false << false;
    QTest::newRow("altitude above") << CGeoCoordinate(45, 10, 20000) << true << true << false;
    QTest::newRow("no altitude") << CGeoCoordinate(45, 10) << true << true << false;
    QTest::newRow("variants are not checked")
        << CGeoCoordinate(QVariant(text("91")), QVariant(text("10")), QVariant(text("5"))) << true << false << false;
    QTest::newRow("variants") << CGeoCoordinate(QVariant(45), QVariant(text("10")), QVariant(5.5)) << true << true
                              << true;
    QTest::newRow("one variant fails") << CGeoCoordinate(QVariant(45), QVariant(text("x")), QVariant(5)) << false
                                       << false << false;
}

void tst_Geo::ranges()
{
    QFETCH(CGeoCoordinate, coordinate);
    QFETCH(bool, kept);
    QTEST(coordinate.isValid2D(), "valid2D");
    QTEST(coordinate.isValid3D(), "valid3D");
    QCOMPARE(!qIsNaN(coordinate.latitude()), kept);
    QCOMPARE(!qIsNaN(coordinate.longitude()), kept);
    if (!kept)
        QVERIFY(qIsNaN(coordinate.altitude()));
}

void tst_Geo::distance_data()
{
    QTest::addColumn<CGeoCoordinate>("from");
    QTest::addColumn<CGeoCoordinate>("to");
    QTest::addColumn<double>("metres");
    QTest::addColumn<double>("tolerance");

    const double halfAround = 20015109.36; // pi times the radius
    QTest::newRow("a degree") << CGeoCoordinate(0, 0) << CGeoCoordinate(0, 1) << 111195.05 << 0.01;
    QTest::newRow("Bern to Zurich") << CGeoCoordinate(46.9480, 7.4474) << CGeoCoordinate(47.3769, 8.5417) << 95492.0
                                    << 10.0;
    QTest::newRow("a metre at the pole") << CGeoCoordinate(89.999995, 0) << CGeoCoordinate(89.999995, 180) << 1.111952
                                         << 1e-5;
    QTest::newRow("a centimetre") << CGeoCoordinate(47.1, 8.5) << CGeoCoordinate(47.1000001, 8.5) << 0.0111195 << 1e-6;
    QTest::newRow("across the date line") << CGeoCoordinate(0, 179.5) << CGeoCoordinate(0, -179.5) << 111195.05 << 0.01;
    QTest::newRow("poles") << CGeoCoordinate(90, 12) << CGeoCoordinate(-90, 77) << halfAround << 1.0;
    QTest::newRow("antipodes, sum above 1")
        << CGeoCoordinate(-89.460940794628897, 115.39982384502838)
        << CGeoCoordinate(89.460940794628897, -64.60017615497162) << halfAround << 1.0;
    QTest::newRow("same") << CGeoCoordinate(12, 34, 5) << CGeoCoordinate(12, 34, 500) << 0.0 << 0.0;
    QTest::newRow("invalid") << CGeoCoordinate(12, 34) << CGeoCoordinate() << -1.0 << 0.0;
    QTest::newRow("unchecked") << CGeoCoordinate(QVariant(91), QVariant(0), QVariant()) << CGeoCoordinate(12, 34)
                               << -1.0 << 0.0;
}

void tst_Geo::distance()
{
    QFETCH(CGeoCoordinate, from);
    QFETCH(CGeoCoordinate, to);
    QFETCH(double, metres);
    QFETCH(double, tolerance);
    QVERIFY2(std::abs(from.distanceTo(to) - metres) <= tolerance,
             qPrintable(QString::number(from.distanceTo(to), 'g', 12)));
    QCOMPARE(to.distanceTo(from), from.distanceTo(to));
}

void tst_Geo::create_data()
{
    QTest::addColumn<Map>("source");
    QTest::addColumn<CGeoCoordinate>("expected");

    QTest::newRow("text wins") << map(
        {{"coordinates", text(" 47.1, 8.5")}, {"latitude", 1}, {"longitude", 2}, {"altitude", 3}})
                               << CGeoCoordinate(47.1, 8.5, 3);
    QTest::newRow("an unreadable text wins, too")
        << map({{"coordinates", text("here")}, {"latitude", 1}, {"longitude", 2}}) << CGeoCoordinate();
    QTest::newRow("surplus pieces") << map({{"coordinates", text("1,2,3")}}) << CGeoCoordinate(1, 2);
    QTest::newRow("numbers") << map({{"latitude", text("1.5")}, {"longitude", -2}, {"altitude", text("high")}})
                             << CGeoCoordinate(1.5, -2);
    QTest::newRow("half") << map({{"latitude", 1}, {"altitude", 3}}) << CGeoCoordinate();
}

void tst_Geo::create()
{
    QFETCH(Map, source);
    QFETCH(CGeoCoordinate, expected);
    QVERIFY(CGeoCoordinate::equals(CGeoCoordinate::create(source), expected));
}

void tst_Geo::coordinateEquality()
{
    QVERIFY(CGeoCoordinate::equals(CGeoCoordinate(), CGeoCoordinate()));
    QVERIFY(CGeoCoordinate::equals(CGeoCoordinate(0.1 + 0.2, 1), CGeoCoordinate(0.3, 1)));
    QVERIFY(!CGeoCoordinate::equals(CGeoCoordinate(0.3, 1), CGeoCoordinate(0.3, 1, 0)));
    QVERIFY(!CGeoCoordinate::equals(CGeoCoordinate(0.3, 1), CGeoCoordinate(0.3, 1.0000001)));
}

void tst_Geo::mapsRoundTrip()
{
    const QDateTime time(QDate(2024, 3, 1), QTime(14, 5, 9, 123), Qt::OffsetFromUTC, 3600);
    CGeoPositionInfo info(CGeoCoordinate(47.123456789012345, -8.1 / 3, 436.7), time);
    info.setAttribute(CGeoPositionInfo::Speed, 1.0 / 3);
    info.setAttribute(CGeoPositionInfo::VerticalAccuracy, 1e-9);

    Map full = info.toMap(true, true);
    QVERIFY(CGeoPositionInfo::equals(CGeoPositionInfo(full), info));
    full.remove(text("coordinates"));
    QVERIFY(CGeoPositionInfo::equals(CGeoPositionInfo(full), info));
    full.insert(text("course"), text("north"));
    QVERIFY(CGeoPositionInfo::equals(CGeoPositionInfo(full), info));
    full.insert(text("course"), text("90"));
    QVERIFY(!CGeoPositionInfo::equals(CGeoPositionInfo(full), info));

    const Map bare = info.toMap(false, false);
    QCOMPARE(bare.keys().join(QLatin1Char(' ')), text("altitude coordinates latitude longitude"));
    QVERIFY(!CGeoPositionInfo(bare).isValid());
    QVERIFY(CGeoPositionInfo().toMap(true, true).isEmpty());

    CGeoPositionInfo undefined(info);
    undefined.setAttribute(CGeoPositionInfo::Speed, qQNaN());
    QVERIFY(!CGeoPositionInfo::equals(undefined, undefined));
    QVERIFY(undefined.hasAttribute(CGeoPositionInfo::Speed));
    QVERIFY(!undefined.hasAttribute(CGeoPositionInfo::Course));

    for (int i = 0; i <= 7; ++i) {
        const auto attribute = static_cast<CGeoPositionInfo::Attribute>(i);
        const QString name = CGeoPositionInfo::attributeToString(attribute);
        QCOMPARE(name.isNull(), i == 0 || i == 7);
        QCOMPARE(static_cast<int>(CGeoPositionInfo::attributeFromString(name)), i == 7 ? 0 : i);
    }
}

void tst_Geo::compactMap()
{
    CGeoPositionInfo info(CGeoCoordinate(47.1234567, -8.5, -0.9), QDateTime::currentDateTimeUtc().addSecs(-90));
    info.setAttribute(CGeoPositionInfo::Course, 359.99);
    info.setAttribute(CGeoPositionInfo::Speed, qQNaN());
    info.setAttribute(CGeoPositionInfo::SpeedAccuracy, qInf());
    info.setAttribute(CGeoPositionInfo::HorizontalAccuracy, -1e300);
    Map compact = info.toCompactMap();
    const qlonglong age = compact.take(text("age")).toLongLong();
    QVERIFY(age >= 90000 && age < 95000);
    const qlonglong limit = Q_INT64_C(1) << 53;
    QCOMPARE(compact, map({{"coordinates", text("47.12346, -8.50000")},
                           {"altitude", text("0")},
                           {"course", 359LL},
                           {"speedAccuracy", limit},
                           {"horizontalAccuracy", -limit}}));
    QVERIFY(CGeoPositionInfo().toCompactMap().isEmpty());
}

QTEST_GUILESS_MAIN(tst_Geo)
#include "tst_geo.moc"
