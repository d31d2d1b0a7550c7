#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>

#include <QtTest/QtTest>

namespace {

CItemId idOf(const QVariantMap& item)
{
    return item.value("id").toLongLong();
}

} // namespace

class TestAccessControlMock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Ids are new in all collections, and nothing refers to what is not there.
    void relationsStayWhole()
    {
        CAccessControlMock mock;
        const CItemId user = mock.createUser({});
        const CItemId group = mock.createGroup({{"Members", QVariantList{user.value(), user.value()}}});
        const CItemId medium = mock.createRfidMedium({{"userId", 999}});
        const CItemId door = mock.createAccessPoint({});
        QVERIFY(user > CItemId() && group == user.value() + 1 && medium == user.value() + 2
                && door == user.value() + 3);
        QCOMPARE(mock.getUsersOfGroup(group), QList<CItemId>{user});
        QCOMPARE(mock.getUserOfRfidMedium(medium), CItemId());
        QVERIFY(!mock.setRfidMediumProperty("userId", 999, medium));
        QVERIFY(mock.setRfidMediumProperty("userId", user.value(), medium));
        QVERIFY(!mock.setUserProperty("Email", "a@example.com", 999));
        QVERIFY(!mock.addRfidMediaToUser({medium, 999}, user) && !mock.addAccessPointsToUser({door}, 999));
        QVERIFY(!mock.deleteRfidMedium(999) && !mock.deleteUsersAndGroups({user, 999}));
        QVERIFY(mock.addAccessPointsToUser({door}, user));
        QVERIFY(mock.deleteAccessPoint(door) && mock.getAccessPointsOfUser(user).isEmpty());
        QVERIFY(mock.deleteRfidMedium(medium) && mock.getRfidMediaOfUser(user).isEmpty());

        const auto ids = [&](const char* collection) {
            QList<CItemId> result;
            for (const QVariantMap& item : mock.getMockObjectsForName(collection))
                result.append(idOf(item));
            return result;
        };
        QVERIFY(mock.deleteUsersAndGroups(ids("UsersGroups")) && ids("UsersGroups").isEmpty());
        QVERIFY(ids("Codes").isEmpty()); // a code that nobody owns must not open anything
        for (const CItemId left : ids("Media"))
            QCOMPARE(mock.getUserOfRfidMedium(left), CItemId());
    }

    void relationsAnswer()
    {
        CAccessControlMock mock;
        const CItemId user = mock.createUser({{"label", "Ada"}, {"class", 2}});
        const CItemId group = mock.createGroup({});
        QCOMPARE(mock.getUserProperty("class", user).toInt(), int(UserClassUser));
        QCOMPARE(idOf(mock.getUser({{"label", "Ada"}})), user);
        QCOMPARE(idOf(mock.getUser({{"id", QString::number(user.value())}})), user);
        QVERIFY(mock.getUser({{"id", group.value()}}).isEmpty());
        QVERIFY(!mock.deleteUser(group));

        QVERIFY(mock.addUsersToGroup({user, user}, group));
        QVERIFY(!mock.addUsersToGroup({user, group}, group));
        QVERIFY(mock.addUsersToGroup({999}, group)); // who it is, a demonstration may know
        QCOMPARE(mock.getUsersOfGroup(group), (QList<CItemId>{user, 999}));
        QCOMPARE(mock.getGroupsOfUser(user), QList<CItemId>{group});
        QCOMPARE(mock.getGroupProperty("Members", group).userType(), QtCompat::typeId("CItemIdList"));

        const CItemId medium = mock.createRfidMedium({});
        QVERIFY(mock.addRfidMediaToUser({medium}, user));
        QCOMPARE(mock.getRfidMediaOfUser(user), QList<CItemId>{medium});
        QCOMPARE(mock.getUserOfRfidMedium(medium), user);

        const CItemId door = mock.createAccessPoint({});
        QVERIFY(mock.addAccessPointsToUser({door}, user));
        QVERIFY(mock.setAccessRightProperties({door}, user, {{"validTo", 7}}));
        QVERIFY(mock.addAccessPointsToUser({door, 999}, user));
        QCOMPARE(mock.getAccessPointsOfUser(user), (QList<CItemId>{door, 999}));
        QCOMPARE(mock.getUsersOfAccessPoint(door), QList<CItemId>{user});
        QCOMPARE(mock.getAccessRightProperties(door, user).value(0).toMap().value("validTo").toInt(), 7);
        QCOMPARE(mock.getAccessRightProperties(user, door), mock.getAccessRightProperties(door, user));
        QVERIFY(mock.deleteAccessPointsOfUser({door}, user));
        QVERIFY(mock.getAccessRightProperties(door, user).isEmpty());

        QVERIFY(mock.deleteUser(user));
        QCOMPARE(mock.getUsersOfGroup(group), QList<CItemId>{999});
        QCOMPARE(mock.getUserOfRfidMedium(medium), CItemId());

        QVERIFY(mock.setAccessPointsLocationProperties({{"Building", "West"}}, {door}));
        QVERIFY(mock.setAccessPointProperty("Access Point", "Gate", door));
        QCOMPARE(mock.getAccessPointProperty("location", door).toString(), "West, Gate");
        QVERIFY(mock.deleteAccessPointProperty("Building"));
        QVERIFY(!mock.deleteAccessPointProperty("id"));
        QCOMPARE(mock.getAccessPointProperty("location", door).toString(), "Gate");
    }

    void models()
    {
        CAccessControlMock mock;
        QCOMPARE(mock.getModel("AccessPoints", {}, {}), mock.getModel("AccessPointLocations", {}, {}));
        QVERIFY(mock.getModel("Users", {}, {}).isEmpty());
        QVERIFY(!mock.setModel("Users", {{"data", QVariantList()}}));

        QVERIFY(!mock.setModel("Holidays", {{"exists", true}, {"label", "Carnival"}}));
        QVERIFY(!mock.setModel("Holidays", {{"data", "a text is no list"}}));
        QVERIFY(mock.setModel("Holidays", {{"insertCalendar", true}, {"label", "Schools"}}));
        QVERIFY(!mock.setModel("Holidays", {{"insertCalendar", "Schools"}}));
        QVERIFY(mock.setModel("Holidays", {{"request", "existsCalendar"}, {"label", "Schools"}}));

        // Written items keep their ids, except those that are taken.
        const QVariantList written{QVariantMap{{"id", 5000}, {"label", "Carnival"}}, QVariantMap{{"id", 5000}},
                                   QVariantMap{{"id", 1}}};
        QVERIFY(mock.setModel("Holidays", {{"Holidays", written}}));
        QVERIFY(mock.setModel("Holidays", {{"exists", true}, {"label", "Carnival"}}));
        const QVariantList ids = mock.getModel("Holidays", {}, {"id"});
        const QVariantList expected{QVariantMap{{"id", 5000}}, QVariantMap{{"id", 5001}}, QVariantMap{{"id", 5002}}};
        QCOMPARE(ids, expected);
    }

    void neutralAnswers()
    {
        CAccessControlMock mock;
        const QVariantMap info{{"systemName", "mock"},
                               {"systemid", "0000.0000"},
                               {"unlockIndex", 0},
                               {"systemType", 3},
                               {"softwareVersion", "1.0.0"}};
        QCOMPARE(mock.getSystemInfo(), info);
        QTest::ignoreMessage(QtDebugMsg, "Event door forced (\xc3\x84lpli, level 1, class 2, ID -3, flags 4");
        QVERIFY(!mock.logEvent("door forced", "\u00c4lpli", 1, 2, -3, 4, true));

        QList<QVariantMap> answers{mock.cloneUserOrGroup(1, {})};
        const auto answer = [&](const QVariantMap& map) { answers.append(map); };
        mock.addSmartAccessLoginToUser(1, {}, answer);
        mock.sendTemplateEmail(1, {}, {}, answer);
        mock.sendCustomNotification(QString(), QString(), {}, answer);
        mock.sendCustomNotification(QString(), QString(), {}, nullptr);
        const QVariantMap error{{"status", "error"}, {"error", "Not implemented"}};
        QCOMPARE(answers, (QList<QVariantMap>{error, error, error, error}));
    }
};

QTEST_GUILESS_MAIN(TestAccessControlMock)
#include "tst_access_control_mock.moc"
