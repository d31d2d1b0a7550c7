#include <foundation/core/check_digit.h>
#include <foundation/core/device_id.h>
#include <foundation/core/device_time_zone_settings.h>
#include <foundation/core/json_parser.h>
#include <foundation/core/mira_revision.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/core/system_id.h>

#include <QtCore/QDataStream>
#include <QtCore/QDebug>
#include <QtCore/QSet>
#include <QtTest/QtTest>

namespace {

// The usual expressions compile, and a number out of range is caught on each way into an id.
static_assert(std::is_trivially_copyable<CItemId>::value, "ids travel by value");
static_assert(CDeviceId(CItemId(5)) == CDeviceId(5) && CItemId(CDeviceId(5)) == CItemId(5), "there and back");
static_assert(CDeviceId(CItemId(0x3FFFFFF)).value() == 0x3FFFFFF && CDeviceId(CItemId(0x4000000)).value() == 0,
              "range");
static_assert(CDeviceId(CItemId(-1)) == CDeviceId() && CDeviceId(-1) == CDeviceId(), "negative");
static_assert(CDeviceId(qint64(0x100000005)) == CDeviceId() && CDeviceId(CItemId(0x100000005)) == CDeviceId(),
              "64 bits");
static_assert(CSystemId(0x7FFFFF).value() == 0x7FFFFF && CSystemId(0x800000) == CSystemId(), "range");
static_assert(CDeviceId(5) == CItemId(5) && CDeviceId() != CItemId(-1),
              "an id out of range is no device, but not equal");
static_assert(static_cast<quint32>(CDeviceId(7)) == 7 && static_cast<qint64>(CItemId(-7)) == -7, "to numbers");
static_assert(CItemId(5) == 5 && 4 < CItemId(5) && CDeviceId(4) < CDeviceId(5), "comparisons");
static_assert(modulo10Checksum(0) == 0 && modulo10Checksum(1) == 1 && modulo10Checksum(2) == 6, "check digit");
static_assert(modulo10Checksum(12345) == 7 && modulo10Checksum(1234567) == 6, "check digit");

// An item id would be cut to a device id's 26 bits on its way through a stream.
template<typename T, typename = void>
constexpr bool isStreamable = false;
template<typename T>
constexpr bool isStreamable<T, std::void_t<decltype(std::declval<QDataStream&>() << std::declval<T>())>> = true;
static_assert(isStreamable<CDeviceId> && isStreamable<CSystemId> && !isStreamable<CItemId>, "streams");

template<typename T>
QByteArray streamed(const T& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return bytes;
}

template<typename T>
T unstreamed(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    T value;
    stream >> value;
    return value;
}

} // namespace

class tst_Identifiers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesLabels()
    {
        QCOMPARE(CDeviceId(0).toLabel(), "000.000.000");
        QCOMPARE(CDeviceId(12345).toLabel(), "000.123.457");
        QCOMPARE(CDeviceId(67108863).toLabel(), "671.088.637");
        QCOMPARE(CSystemId(1).toLabel(), "0000.0011");
        QCOMPARE(CSystemId(12345).toLabel(), "0012.3457");
    }

    void readsLabels()
    {
        // A label, and the device or system it stands for.
        const QVector<std::tuple<const char*, quint32, quint32>> rows{
            {"000.000.011", 1, 0},
            {"671.088.637", 67108863, 0},
            {"000.000.012", 0, 0}, // check digit
            {"671.088.639", 0, 0}, // check digit of the greatest id
            {"671.088.645", 0, 0}, // right check digit, one id too many
            {"999.999.999", 0, 0},
            {"000.000.000", 0, 0},
            {"0000.0000", 0, 0},
            {"000.000.011.0", 0, 0},
            {"000.000011.", 0, 0},
            {"000.00a.011", 0, 0},
            {"..", 0, 0},
            {"000.000.\u0661\u0661\u0661", 0, 0},
            // Numbers are read as QString::toInt reads them, with signs and blanks.
            {"000.+00. 11", 1, 0},
            {"-01.000.011", 0, 0},
            {"0000.0011", 0, 1},
            {"8388.6077", 0, 8388607},
            {"8388.6085", 0, 0},
            {"0000.0012", 0, 0},
            {"0000.0000.0011", 0, 0},
        };
        for (const auto& [text, device, system] : rows) {
            bool deviceOk = device == 0;
            bool systemOk = system == 0;
            QVERIFY2(CDeviceId::fromLabel(text, &deviceOk).value() == device && deviceOk == (device != 0), text);
            QVERIFY2(CSystemId::fromLabel(text, &systemOk).value() == system && systemOk == (system != 0), text);
            QCOMPARE(CDeviceId::fromLabel(text).value() + CSystemId::fromLabel(text).value(), device + system);
        }
    }

    void streams()
    {
        QCOMPARE(streamed(CDeviceId(0x1020304)), QByteArray::fromHex("01020304"));
        QCOMPARE(unstreamed<CDeviceId>(QByteArray::fromHex("03ffffff")), CDeviceId(0x3FFFFFF));
        QCOMPARE(unstreamed<CDeviceId>(QByteArray::fromHex("04000000")), CDeviceId());
        QCOMPARE(unstreamed<CDeviceId>(QByteArray::fromHex("ffffffff")), CDeviceId());
        QCOMPARE(unstreamed<CDeviceId>(QByteArray::fromHex("0102")), CDeviceId());
        QCOMPARE(unstreamed<CSystemId>(QByteArray::fromHex("007fffff")), CSystemId(0x7FFFFF));
        QCOMPARE(unstreamed<CSystemId>(QByteArray::fromHex("00800000")), CSystemId());
        const CMiraRevision revision(0xFF000001u, 2u, true);
        QCOMPARE(streamed(revision), QByteArray::fromHex("ff0000010000000201"));
        QCOMPARE(unstreamed<CMiraRevision>(streamed(revision)), revision);
    }

    void itemIdsInQtTypes()
    {
        // Known by name before any list was put into a variant.
        QVERIFY(QtCompat::typeId("CItemIdList") != QMetaType::UnknownType);
        QCOMPARE(QtCompat::typeId("CItemIdList"), QtCompat::typeId("QList<CItemId>"));
        QCOMPARE(QVariant::fromValue(QList<CItemId>{1, -2}).value<QList<CItemId>>(), (QList<CItemId>{1, -2}));
        QCOMPARE((QSet<CDeviceId>{CDeviceId(1), CDeviceId(1), CDeviceId(2)}).size(), 2);
        QCOMPARE(qHash(CDeviceId(77)), qHash(77u));

        QString text;
        QDebug debug(&text);
        debug << CItemId(-5) << CDeviceId(1) << CSystemId(12345);
        debug.nospace() << CItemId(std::numeric_limits<qint64>::max());
        QDebug(&text) << CItemId(7);
        QCOMPARE(text, "-5 000.000.011 0012.3457 92233720368547758077 ");
    }

    void idsInVariants()
    {
        // What a property or a JSON text may hold in place of an id, and which id it is then: of an item, a device and
        // a system.
        const QVector<std::tuple<QVariant, qint64, quint32, quint32>> rows{
            {7, 7, 7, 7},
            {7u, 7, 7, 7},
            {QVariant::fromValue<uchar>(7), 7, 7, 7},
            {QVariant::fromValue<short>(-7), -7, 0, 0},
            {qlonglong(0x100000001), 0x100000001, 0, 0},
            {qulonglong(0xFFFFFFFFFFFFFFFF), 0, 0, 0},
            {0x3FFFFFF, 0x3FFFFFF, 0x3FFFFFF, 0},
            {7.0, 7, 7, 7},
            {7.5, 0, 0, 0},
            {1e30, 0, 0, 0},
            {"7", 7, 7, 7},
            {"E-7", 0, 0, 0},
            {QVariant(), 0, 0, 0},
            {QVariant::fromValue(CItemId(0x100000001)), 0x100000001, 0, 0},
        };
        for (const auto& [value, item, device, system] : rows) {
            QCOMPARE(value.value<CItemId>(), CItemId(item));
            QCOMPARE(value.value<CDeviceId>(), CDeviceId(device));
            if (value.userType() != qMetaTypeId<CItemId>())
                QCOMPARE(value.value<CSystemId>(), CSystemId(system));
        }
        QCOMPARE(QVariant::fromValue(CDeviceId(7)).value<CItemId>(), CItemId(7));

        // And the other way round; what does not fit is 0.
        for (const QVariant& id : {QVariant::fromValue(CItemId(200)), QVariant::fromValue(CDeviceId(200)),
                                   QVariant::fromValue(CSystemId(200))}) {
            QCOMPARE(id.toInt() + id.toUInt() + id.toLongLong() + id.toULongLong(), 800u);
            QCOMPARE(id.value<short>() + id.value<uchar>(), 400);
            QCOMPARE(int(id.value<signed char>()), 0);
            QCOMPARE(id.toDouble(), 200.0);
            QCOMPARE(id.toString(), "200");
        }
        QCOMPARE(QVariant::fromValue(CItemId(0x100000001)).toInt(), 0);
        QCOMPARE(QVariant::fromValue(CItemId(-1)).toUInt(), 0u);

        const auto list = QVariant::fromValue(CItemIdList{1, -2});
        QVERIFY(list == QVariant::fromValue(CItemIdList{1, -2}) && list != QVariant::fromValue(CItemIdList{1, 2}));
        QVERIFY(QVariant::fromValue(CDeviceId(7)) == QVariant::fromValue(CDeviceId(7)));
        QCOMPARE(list.toString(), "[1, -2]");
        for (const QVariant& source :
             {list, QVariant("[1,-2 ]"), QVariant(QVariantList{1, "-2"}), QVariant(QStringList{"1", "-2"})})
            QCOMPARE(source.value<CItemIdList>(), (CItemIdList{1, -2}));
        for (const QVariant& source : {QVariant("[]"), QVariant("7"), QVariant("["), QVariant()})
            QCOMPARE(source.value<CItemIdList>(), CItemIdList());
        QCOMPARE(QVariant("[7, 67108864]").value<QList<CDeviceId>>(), (QList<CDeviceId>{CDeviceId(7), CDeviceId()}));

        // What is written is read.
        const QVariantMap map{
            {"id", QVariant::fromValue(CItemId(7))}, {"device", QVariant::fromValue(CDeviceId(8))}, {"ids", list}};
        const QString json = CJsonParser::serialize(map);
        QCOMPARE(json, "{\"device\": 8, \"id\": 7, \"ids\": [1, -2]}");
        const QVariantMap read = CJsonParser::deserialize(json, nullptr, false);
        QCOMPARE(read.value("id").value<CItemId>(), CItemId(7));
        QCOMPARE(read.value("device").value<CDeviceId>(), CDeviceId(8));
        QCOMPARE(read.value("ids").value<CItemIdList>(), (CItemIdList{1, -2}));
        const QVariantList ids{QVariant::fromValue(CDeviceId(8)), QVariant::fromValue(CSystemId(9))};
        const auto unstreamedIds = unstreamed<QVariantList>(streamed(ids));
        QCOMPARE(unstreamedIds.value(0).value<CDeviceId>(), CDeviceId(8));
        QCOMPARE(unstreamedIds.value(1).value<CSystemId>(), CSystemId(9));
    }

    void boardRevisions()
    {
        CMiraRevision revision(qint64(0x1234567), qint64(0xABCDEF12), true);
        QCOMPARE(revision.getVersion(), 0x234567u);
        QCOMPARE(revision.getHash(), 0xCDEF12u);
        QVERIFY(revision.matchesVersion(0x7234567) && revision.matchesHash(-0x3210EE) && !revision.matchesHash(0));
        revision.setVersion(0x1234567);
        QVERIFY(!revision.matchesVersion(0x1234567));
        QVERIFY(!(revision == CMiraRevision(0x1234567u, 0xCDEF12u, false)));
    }

    void daylightSaving()
    {
        const CDeviceDstInfo info{QDateTime::fromSecsSinceEpoch(0x100000003), QDateTime::fromSecsSinceEpoch(0x20), -8};
        QCOMPARE(qHash(info), 0x23u ^ 0xFFFFFFF8u);
        QCOMPARE(unstreamed<CDeviceDstInfo>(streamed(info)), info);

        // Two winters, two summers and a quarter hour of its own, in no order.
        const auto start = [](int month, int offset) {
            const QDateTime at(QDate(2024, month, 1), QTime(1, 0), Qt::UTC);
            return QTimeZone::OffsetData{{}, at, offset, 3600, offset - 3600};
        };
        const QTimeZone::OffsetDataList periods{start(9, 7200), start(1, 3600), start(3, 7200), start(11, 20700),
                                                start(6, 3600)};
        const CDeviceTimeZoneSettings settings(2, periods);
        QCOMPARE(settings.getBaseOffset(), qint8(4));
        QCOMPARE(settings.dstPeriods, (QList<CDeviceDstInfo>{{start(3, 0).atUtc, start(6, 0).atUtc, 8},
                                                             {start(9, 0).atUtc, start(11, 0).atUtc, 8}}));
        const CDeviceTimeZoneSettings all(100, periods);
        QCOMPARE(all.dstPeriods.size(), 3);
        QVERIFY(all.dstPeriods.last().offset == 23 && !all.dstPeriods.last().to.isValid());
        QVERIFY(CDeviceTimeZoneSettings(-1, periods).dstPeriods.isEmpty());
        QCOMPARE(CDeviceTimeZoneSettings(5, {}), CDeviceTimeZoneSettings(qint8(0)));

        const QByteArray bytes = streamed(settings);
        QCOMPARE(bytes.left(5), QByteArray::fromHex("0400000002"));
        QCOMPARE(unstreamed<CDeviceTimeZoneSettings>(bytes), settings);
        // A count that nothing follows costs neither memory nor time.
        QVERIFY(unstreamed<CDeviceTimeZoneSettings>(QByteArray::fromHex("047fffffff")).dstPeriods.isEmpty());
        QVERIFY(unstreamed<CDeviceTimeZoneSettings>(bytes.chopped(1)).dstPeriods.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_Identifiers)
#include "tst_identifiers.moc"
