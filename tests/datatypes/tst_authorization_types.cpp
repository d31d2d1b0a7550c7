#include <foundation/datatypes/authorization_types.h>
#include <foundation/datatypes/data_type.h>

#include <QtTest/QtTest>

#include <memory>

using Data = CAuthorizationTypeData;
using DataPtr = std::unique_ptr<Data>;
namespace {

DataPtr parsed(const QString& joined)
{
    return DataPtr(Data::fromStringList(joined.split(',')));
}

const QDateTime from(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
const QDateTime to(QDate(2024, 12, 31), QTime(23, 59, 59), Qt::UTC);
const unsigned long long code = CDataType::pinCodeFromString("0012");

} // namespace

class tst_AuthorizationTypes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lists()
    {
        const auto check = [](const Data& data, const char* expected, int idType) {
            const QString list =
                QString::fromLatin1(expected).replace("PERIOD", "2024-01-01T00:00:00Z,2024-12-31T23:59:59Z");
            QCOMPARE(data.toStringList().join(','), list);
            QCOMPARE(int(data.getIdType()), idType);
            const DataPtr read = parsed(list);
            QVERIFY(read && *read == data && data == *read);
            const DataPtr copy(data.clone());
            QVERIFY(*copy == data);
            copy->setId(copy->getId() + 1);
            QVERIFY(*copy != data);
            // Another last digit in any field makes another authorization.
            for (int i = 2; i <= list.count(','); ++i) {
                QStringList changed = list.split(',');
                changed[i][changed[i].size() - (changed[i].endsWith('Z') ? 2 : 1)] = '8';
                QVERIFY2(*parsed(changed.join(',')) != data, qPrintable(changed.join(',')));
            }
        };
        check(CAuthorizationType01(0xFFFFFFFF, ~0ull), "1,4294967295,18446744073709551615", 1);
        check(CAuthorizationType02(0x04A122B3C4D5E6), "2,04:A1:22:B3:C4:D5:E6", 3);
        check(CAuthorizationType03(0), "3,0", 1);
        check(CAuthorizationType04(1234, 2, 7), "4,1234,2,7", 1);
        check(CAuthorizationType05(1234, 2, 7, from, to), "5,1234,2,7,PERIOD", 1);
        check(CAuthorizationType06(code, 255, 1, from, to), "6,0012,255,1,PERIOD", 4);
        check(CAuthorizationType07(99), "7,99", 2);
        check(CAuthorizationType08(67108863), "8,67108863", 5);
        check(CAuthorizationType09(0x04A122B3, 1, 2, from, to), "9,04:A1:22:B3,1,2,PERIOD", 3);
        check(CAuthorizationType10(7, 0xFFFFFFFF, 1, 2, 3, from, to), "10,7,4294967295,1,2,3,PERIOD", 6);
        check(CAuthorizationType11(1, 2, 3, 4, 5, from, to), "11,1,2,3,4,5,PERIOD", 1);
        check(CAuthorizationType12(0x04A122B3, 2, 3, 4, 5, from, to), "12,04:A1:22:B3,2,3,4,5,PERIOD", 3);
        check(CAuthorizationType13(code, 1, 2, 3, 4, 5, 6, from, to), "13,0012,1,2,3,4,5,6,PERIOD", 4);
    }

    void creation()
    {
        for (const int none : {0, 14, -1, 256 + 1, INT_MIN})
            QVERIFY(Data::createAuthorizationType(none) == nullptr);
        const QList<Data::AuthType> types = Data::supportedTypes();
        QCOMPARE(types.size(), 13);
        for (int i = 0; i < types.size(); ++i) {
            const DataPtr data(Data::createAuthorizationType(types.at(i)));
            QCOMPARE(static_cast<int>(data->getType()), i + 1);
            QCOMPARE(data->getId(), 0ull);
            // With nothing set the list can be read again.
            QVERIFY(*DataPtr(Data::fromStringList(data->toStringList())) == *data);
        }
        QCOMPARE(Data::idTypeToString(Data::IdTypeUid), "UID");
        QCOMPARE(Data::idTypeToString(static_cast<Data::IdType>(7)), "Unknown");
    }

    void reading()
    {
        for (const char* none : {"5", "", "0,1", "14,1", "x,1", "4294967297,1", "-1,1"})
            QVERIFY2(!parsed(none), none);
        QVERIFY(!DataPtr(Data::fromStringList({})));

        const DataPtr noDates = parsed("5,1234,2,7");
        QVERIFY(*noDates == CAuthorizationType05(1234, 2, 7, QDateTime(), QDateTime()));
        QVERIFY(*parsed("5,1234,2,7,2024-01-01T00:00:00Z") == *noDates); // half a period
        QVERIFY(*parsed("5,1234,2,7,2024-01-01T00:00:00Z,2024-12-31T23:59:59Z,1,2,3")
                == CAuthorizationType05(1234, 2, 7, from, to));
        QVERIFY(*parsed("5,1234") == CAuthorizationType05(1234, 0, 0, QDateTime(), QDateTime()));
        QVERIFY(*parsed("4,x,-1,300") == CAuthorizationType04(0, 255, 44));
        QCOMPARE(parsed("3,18446744073709551615")->getId(), ~0ull);
        QCOMPARE(parsed("3,18446744073709551616")->getId(), 0ull);
        QCOMPARE(parsed("2,nonsense")->getId(), 0ull);
        QCOMPARE(parsed("6, 0012 ")->getId(), code);
    }

    void equality()
    {
        const CAuthorizationType02 two(5);
        CAuthorizationType03 three(5);
        const CAuthorizationType04 four(5, 0, 0);
        const CAuthorizationType05 five(5, 0, 0, QDateTime(), QDateTime());
        three.setIdType(Data::IdTypeUid);
        QVERIFY(two != three && three != two);
        QVERIFY(three != CAuthorizationType03(5));
        QVERIFY(four != three && three != four && four != five && five != four);

        // The same moment in another time zone; a millisecond apart.
        QVERIFY(CAuthorizationType05(5, 0, 0, from.toOffsetFromUtc(3600), to)
                == CAuthorizationType05(5, 0, 0, from, to));
        QVERIFY(CAuthorizationType05(5, 0, 0, from.addMSecs(1), to) != CAuthorizationType05(5, 0, 0, from, to));
    }
};

QTEST_GUILESS_MAIN(tst_AuthorizationTypes)
#include "tst_authorization_types.moc"
