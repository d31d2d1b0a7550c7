#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>

#include <QtTest/QtTest>

#include <random>

namespace {

const QString label = QStringLiteral("label");
const QString members = QStringLiteral("Members");

CItemId idOf(const QVariantMap& item)
{
    return item.value(QStringLiteral("id")).toLongLong();
}

} // namespace

class TestAccessControlMock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void relationsStayWhole();
    void relationsAnswer();
    void models();
    void neutralAnswers();
};

// Whatever is created, connected and deleted: ids are unique and new, and nothing refers to what is not there.
void TestAccessControlMock::relationsStayWhole()
{
    CAccessControlMock mock;
    std::mt19937 random(5);
    const auto any = [&](const QString& collection) {
        const auto items = mock.getMockObjectsForName(collection);
        return items.isEmpty() || random() % 20 == 0 ? CItemId(999)
                                                     : idOf(items[int(random() % unsigned(items.size()))]);
    };
    const QString people = QStringLiteral("UsersGroups");
    const QString doors = QStringLiteral("AccessPoints");
    const QString media = QStringLiteral("Media");
    for (int step = 0; step < 1000; ++step) {
        QSet<CItemId> ids;
        CItemId highest = 0;
        for (const char* name : {"AccessPointLocations", "AuthorizationPoints", "Devices", "UsersGroups", "Media",
                                 "Codes", "Holidays", "HolidayCalendars"}) {
            const auto items = mock.getMockObjectsForName(QLatin1String(name));
            for (const QVariantMap& item : items) {
                const CItemId id = idOf(item);
                QVERIFY(id > CItemId() && !ids.contains(id));
                QVERIFY(item.contains(QStringLiteral("class")) && item.contains(label));
                ids.insert(id);
                highest = std::max(highest, id);
                for (const char* key : {"userId", "accessPointId"})
                    QVERIFY(item.value(QLatin1String(key)).toLongLong() == 0
                            || !mock.getModel(key[0] == 'u' ? people : doors,
                                              {{QStringLiteral("id"), item.value(QLatin1String(key))}}, {})
                                    .isEmpty());
                for (const CItemId member : mock.getUsersOfGroup(id))
                    QVERIFY(mock.getUserProperty(label, member).isValid());
                for (const CItemId door : mock.getAccessPointsOfUser(id))
                    QVERIFY(mock.getAccessPointProperty(label, door).isValid());
            }
        }
        switch (random() % 12) {
        case 0:
            QCOMPARE(mock.createUser({}).value(), highest.value() + 1);
            break;
        case 1:
            QCOMPARE(mock.createGroup({{members, QVariantList{any(people).value()}}}).value(), highest.value() + 1);
            break;
        case 2:
            QCOMPARE(mock.createRfidMedium({{QStringLiteral("userId"), any(people).value()}}).value(),
                     highest.value() + 1);
            break;
        case 3:
            QCOMPARE(mock.createAccessPoint({}).value(), highest.value() + 1);
            break;
        case 4:
            mock.deleteUser(any(people));
            break;
        case 5:
            mock.deleteUsersAndGroups({any(people)});
            break;
        case 6:
            mock.deleteAccessPoint(any(doors));
            break;
        case 7:
            mock.deleteRfidMedium(any(media));
            break;
        case 8:
            mock.addUsersToGroup({any(people), any(people)}, any(people));
            break;
        case 9:
            mock.addRfidMediaToUser({any(media)}, any(people));
            break;
        case 10:
            mock.addAccessPointsToUser({any(doors), any(doors)}, any(people));
            break;
        default:
            mock.setRfidMediumProperty(QStringLiteral("userId"), any(people).value(), any(media));
            break;
        }
    }
}

void TestAccessControlMock::relationsAnswer()
{
    CAccessControlMock mock;
    const CItemId user = mock.createUser({{label, QStringLiteral("Ada")}, {QStringLiteral("class"), 2}});
    const CItemId group = mock.createGroup({});
    QCOMPARE(mock.getUserProperty(QStringLiteral("class"), user).toInt(), int(UserClassUser));
    QCOMPARE(idOf(mock.getUser({{label, QStringLiteral("Ada")}})), user);
    QCOMPARE(idOf(mock.getUser({{QStringLiteral("id"), QString::number(user.value())}})), user);
    QVERIFY(mock.getUser({{QStringLiteral("id"), group.value()}}).isEmpty());
    QVERIFY(!mock.deleteUser(group));

    QVERIFY(mock.addUsersToGroup({user, user}, group));
    QVERIFY(!mock.addUsersToGroup({user, 999}, group));
    QCOMPARE(mock.getUsersOfGroup(group), QList<CItemId>{user});
    QCOMPARE(mock.getGroupsOfUser(user), QList<CItemId>{group});
    QCOMPARE(mock.getGroupProperty(members, group).userType(), QMetaType::type("CItemIdList"));

    const CItemId medium = mock.createRfidMedium({});
    QVERIFY(mock.addRfidMediaToUser({medium}, user));
    QCOMPARE(mock.getRfidMediaOfUser(user), QList<CItemId>{medium});
    QCOMPARE(mock.getUserOfRfidMedium(medium), user);

    const CItemId door = mock.createAccessPoint({});
    const QString validTo = QStringLiteral("validTo");
    QVERIFY(mock.addAccessPointsToUser({door}, user));
    QVERIFY(mock.setAccessRightProperties({door}, user, {{validTo, 7}}));
    QVERIFY(mock.addAccessPointsToUser({door}, user));
    QCOMPARE(mock.getAccessPointsOfUser(user), QList<CItemId>{door});
    QCOMPARE(mock.getUsersOfAccessPoint(door), QList<CItemId>{user});
    QCOMPARE(mock.getAccessRightProperties(door, user).value(0).toMap().value(validTo).toInt(), 7);
    QCOMPARE(mock.getAccessRightProperties(user, door), mock.getAccessRightProperties(door, user));
    QVERIFY(mock.deleteAccessPointsOfUser({door}, user));
    QVERIFY(mock.getAccessRightProperties(door, user).isEmpty());

    QVERIFY(mock.deleteUser(user));
    QVERIFY(mock.getUsersOfGroup(group).isEmpty());
    QCOMPARE(mock.getUserOfRfidMedium(medium), CItemId());

    QVERIFY(mock.setAccessPointsLocationProperties({{QStringLiteral("Building"), QStringLiteral("West")}}, {door}));
    QVERIFY(mock.setAccessPointProperty(QStringLiteral("Access Point"), QStringLiteral("Gate"), door));
    QCOMPARE(mock.getAccessPointProperty(QStringLiteral("location"), door).toString(), QStringLiteral("West, Gate"));
    QVERIFY(mock.deleteAccessPointProperty(QStringLiteral("Building")));
    QVERIFY(!mock.deleteAccessPointProperty(QStringLiteral("id")));
    QCOMPARE(mock.getAccessPointProperty(QStringLiteral("location"), door).toString(), QStringLiteral("Gate"));
}

void TestAccessControlMock::models()
{
    CAccessControlMock mock;
    const QString holidays = QStringLiteral("Holidays");
    QCOMPARE(mock.getModel(QStringLiteral("AccessPoints"), {}, {}),
             mock.getModel(QStringLiteral("AccessPointLocations"), {}, {}));
    QVERIFY(mock.getModel(QStringLiteral("Users"), {}, {}).isEmpty());
    QVERIFY(!mock.setModel(QStringLiteral("Users"), {{QStringLiteral("data"), QVariantList()}}));

    QVERIFY(!mock.setModel(holidays, {{QStringLiteral("exists"), true}, {label, QStringLiteral("Carnival")}}));
    QVERIFY(mock.setModel(holidays, {{QStringLiteral("insertCalendar"), true}, {label, QStringLiteral("Schools")}}));
    QVERIFY(!mock.setModel(holidays, {{QStringLiteral("insertCalendar"), QStringLiteral("Schools")}}));
    QVERIFY(mock.setModel(
        holidays, {{QStringLiteral("request"), QStringLiteral("existsCalendar")}, {label, QStringLiteral("Schools")}}));

    // Written items keep their ids, except those that are taken.
    const QVariantList written{QVariantMap{{QStringLiteral("id"), 5000}, {label, QStringLiteral("Carnival")}},
                               QVariantMap{{QStringLiteral("id"), 5000}}, QVariantMap{{QStringLiteral("id"), 1}}};
    QVERIFY(mock.setModel(holidays, {{holidays, written}}));
    QVERIFY(mock.setModel(holidays, {{QStringLiteral("exists"), true}, {label, QStringLiteral("Carnival")}}));
    const QVariantList ids = mock.getModel(holidays, {}, {QStringLiteral("id")});
    const QVariantList expected{QVariantMap{{QStringLiteral("id"), 5000}}, QVariantMap{{QStringLiteral("id"), 5001}},
                                QVariantMap{{QStringLiteral("id"), 5002}}};
    QCOMPARE(ids, expected);
}

void TestAccessControlMock::neutralAnswers()
{
    CAccessControlMock mock;
    const QVariantMap info{{QStringLiteral("systemName"), QStringLiteral("mock")},
                           {QStringLiteral("systemid"), QStringLiteral("0000.0000")},
                           {QStringLiteral("unlockIndex"), 0},
                           {QStringLiteral("systemType"), 3},
                           {QStringLiteral("softwareVersion"), QStringLiteral("1.0.0")}};
    QCOMPARE(mock.getSystemInfo(), info);
    QTest::ignoreMessage(QtDebugMsg, "Event door forced (\xc3\x84lpli, level 1, class 2, ID -3, flags 4");
    QVERIFY(!mock.logEvent(QStringLiteral("door forced"), QStringLiteral("\u00c4lpli"), 1, 2, -3, 4, true));

    QList<QVariantMap> answers{mock.cloneUserOrGroup(1, {})};
    const auto answer = [&](const QVariantMap& map) { answers.append(map); };
    mock.addSmartAccessLoginToUser(1, {}, answer);
    mock.sendTemplateEmail(1, {}, {}, answer);
    mock.sendCustomNotification(QString(), QString(), {}, answer);
    mock.sendCustomNotification(QString(), QString(), {}, nullptr);
    const QVariantMap error{{QStringLiteral("status"), QStringLiteral("error")},
                            {QStringLiteral("error"), QStringLiteral("Not implemented")}};
    QCOMPARE(answers, (QList<QVariantMap>{error, error, error, error}));
}

QTEST_GUILESS_MAIN(TestAccessControlMock)
#include "tst_access_control_mock.moc"
