// The same random operations and filters on the installation in memory and on the one in a database: every answer is
// compared. Where the database answers otherwise, the operation or the answer is treated here, and the reason stands
// beside it; there are no other differences.
#include <foundation/core/canonical_text.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>
#include <server/model/sql_access_control.h>

#include <QtTest/QtTest>

#include "support/database_places.h"

#include <random>

namespace {

const QStringList collections{"UsersGroups", "Media",   "AccessPoints",     "AuthorizationPoints",
                              "Codes",       "Devices", "HolidayCalendars", "Holidays"};

} // namespace

class TestModelContract : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sameAnswers_data()
    {
        QTest::addColumn<int>("seed");
        for (int seed = 1; seed <= (DatabasePlaces::onPostgres() ? 5 : 20); ++seed)
            QTest::addRow("seed %d", seed) << seed;
    }
    void sameAnswers()
    {
        QFETCH(int, seed);
        m_random.seed(std::mt19937::result_type(seed));
        m_ids.clear();
        CAccessControlMock mock;
        CSqlAccessControl sql;
        DatabasePlaces places;
        openDemonstration(&sql, &places);
        m_mock = &mock;
        m_sql = &sql;
        for (const QString& name : collections) {
            for (const QVariantMap& item : mock.getMockObjectsForName(name))
                know(name, item.value("id").toLongLong(), item.value("id").toLongLong());
        }
        for (int step = 0; step < 400; ++step) {
            m_step = QString("seed %1, step %2: ").arg(seed).arg(step);
            if (pick(3) == 0)
                change();
            else
                ask();
            if (QTest::currentTestFailed())
                return;
            if (step % 40 == 39) {
                for (const QString& name : collections)
                    compare(name, mock.getModel(name, {}, {}), sql.getModel(name, {}, {}));
            }
        }
        QCOMPARE(sql.database()->check(), QStringList());
    }

private:
    void openDemonstration(CSqlAccessControl* sql, DatabasePlaces* places)
    {
        if (!DatabasePlaces::onPostgres()) {
            QVERIFY2(sql->open("memory"), qPrintable(sql->errorString()));
            return;
        }
        CSqlAccessControl memory;
        QVERIFY(memory.open("memory"));
        const QString path = places->folder.filePath("export.jsonl");
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QTextStream stream(&file);
            memory.exportStream(&stream, QString(), {}, [](bool good) { QVERIFY(good); });
        }
        QVERIFY2(sql->open(places->location("a")) && sql->importData(path), qPrintable(sql->errorString()));
    }

    int pick(int count) { return int(m_random() % unsigned(count)); }
    template<typename T>
    T pick(const QList<T>& values)
    {
        return values[pick(int(values.size()))];
    }

    // Of the mock; the other one's is found by toSql().
    void know(const QString& collection, qint64 mock, qint64 sql)
    {
        m_ids.insert(mock, sql);
        m_known[collection].append(mock);
    }
    qint64 someId(const QString& collection)
    {
        // Now and then one that was never there.
        return pick(12) == 0 || m_known[collection].isEmpty() ? 99999 : pick(m_known[collection]);
    }
    QList<CItemId> someIds(const QString& collection)
    {
        QList<CItemId> ids;
        for (int i = pick(4); i >= 0; --i)
            ids.append(someId(collection));
        return ids;
    }
    CItemId toSql(CItemId id) const { return m_ids.value(id.value(), id.value()); }
    QList<CItemId> toSql(const QList<CItemId>& ids) const
    {
        QList<CItemId> result;
        for (const CItemId id : ids)
            result.append(toSql(id));
        return result;
    }
    bool isThere(const QString& collection, CItemId id) const
    {
        return !m_sql->getModel(collection, {{"id", toSql(id).value()}}, {}).isEmpty();
    }
    bool areThere(const QString& collection, const QList<CItemId>& ids) const
    {
        return std::all_of(ids.cbegin(), ids.cend(), [&](CItemId id) { return isThere(collection, id); });
    }

    QString someName()
    {
        return pick(QStringList{"Department", "Email", "Count", "Flag", "First Name", "Since", "no such"});
    }
    QVariant someValue()
    {
        const QVariantList values{"IT",
                                  "Workshop",
                                  "",
                                  "1",
                                  "01",
                                  1,
                                  1.0,
                                  0,
                                  true,
                                  false,
                                  "true",
                                  2.5,
                                  quint64(-1),
                                  -3,
                                  QByteArray("\x04\xa1"),
                                  "04:a1",
                                  QDate(2026, 11, 22),
                                  "2026-11-22",
                                  QDateTime(QDate(2026, 11, 22), QTime(3, 10), Qt::UTC),
                                  "2026-11-22T03:10:00Z",
                                  QVariantList{1, "a"},
                                  QVariantList{"1", "a"},
                                  QVariantMap{{"k", 1}},
                                  QString(300, 'x'),
                                  QString(QString(299, 'x') + 'y'),
                                  QString::fromUtf8("\xc3\xa4")};
        return pick(values);
    }

    // --- Comparing

    // Ids as the database's; and what the database holds otherwise.
    QVariant likeSql(const QVariant& value, const QString& collection = QString()) const
    {
        if (value.userType() == qMetaTypeId<CItemIdList>())
            return QVariant::fromValue(toSql(value.value<CItemIdList>()));
        if (value.userType() == QMetaType::QVariantList) {
            QVariantList list;
            for (const QVariant& element : value.toList())
                list.append(likeSql(element, collection));
            return list;
        }
        if (value.userType() != QMetaType::QVariantMap)
            return value;
        QVariantMap map = value.toMap();
        for (auto entry = map.begin(); entry != map.end();) {
            const QStringList idNames{"id", "userId", "accessPointId", "calendarId"};
            if (idNames.contains(entry.key()))
                *entry = toSql(entry->toLongLong()).value();
            else
                *entry = likeSql(*entry);
            // An invalid value is none: it takes the property away.
            entry = entry->isValid() ? std::next(entry) : map.erase(entry);
        }
        // Relations are always there, also those of nothing.
        if (collection == "UsersGroups" && !map.contains("Access Points"))
            map.insert("Access Points", QVariantList());
        if (collection == "UsersGroups" && map.value("class") == UserClassGroup && !map.contains("Members"))
            map.insert("Members", QVariant::fromValue(CItemIdList()));
        if ((collection == "Media" || collection == "Codes") && !map.contains("userId"))
            map.insert("userId", 0);
        return map;
    }
    // Rights have ids of their own in the database.
    static QVariant withoutRightIds(const QVariant& value)
    {
        if (value.userType() == QMetaType::QVariantList) {
            QVariantList list;
            for (const QVariant& element : value.toList())
                list.append(withoutRightIds(element));
            return list;
        }
        if (value.userType() != QMetaType::QVariantMap)
            return value;
        QVariantMap map = value.toMap();
        if (map.contains("accessPointId") && !map.contains("class"))
            map.remove("id");
        for (QVariant& entry : map)
            entry = withoutRightIds(entry);
        return map;
    }
    void compare(const QString& collection, const QVariant& mock, const QVariant& sql)
    {
        const QString expected = canonicalText(likeSql(mock, collection));
        const QString actual = canonicalText(withoutRightIds(sql));
        QVERIFY2(actual == expected, qPrintable(m_step + "\n   mock " + expected + "\n   sql  " + actual));
    }
    void compareIds(const QList<CItemId>& mock, const QList<CItemId>& sql)
    {
        compare({}, QVariant::fromValue(mock), QVariant::fromValue(sql));
    }
    // True where both are to be compared further.
    void agree(bool mock, bool sql)
    {
        QVERIFY2(mock == sql,
                 qPrintable(m_step + "answers " + (mock ? "true" : "false") + " in memory; " + m_sql->errorString()));
    }

    // --- Questions

    QVariantMap someFilter(const QString& collection)
    {
        QVariantMap filter;
        for (int i = pick(3); i > 0; --i)
            filter.insert(someName(), someValue());
        if (pick(3) == 0)
            filter.insert("label", pick(QVariantList{"Clara Dubois", "Employees", "Workshop", 100206, "no such"}));
        if (pick(6) == 0)
            filter.insert("class", pick(QVariantList{0, 1, "1", 2, "01"}));
        if (pick(4) == 0)
            filter.insert("id", someId(collection));
        if (pick(4) == 0 && (collection == "Media" || collection == "Codes"))
            filter.insert("userId", pick(QVariantList{0, "33", 33, 34}));
        if (pick(4) == 0 && collection == "AccessPoints")
            filter.insert("location", "Head Office, First Floor, Server Room");
        m_step += canonicalText(filter);
        return filter;
    }
    QVariantMap forSql(QVariantMap filter) const
    {
        for (const char* name : {"id", "userId"}) {
            if (filter.contains(name) && filter.value(name).userType() != QMetaType::QString)
                filter.insert(name, toSql(filter.value(name).toLongLong()).value());
        }
        return filter;
    }

    void ask()
    {
        const CItemId user = someId("UsersGroups");
        const CItemId group = someId("UsersGroups");
        const CItemId medium = someId("Media");
        const CItemId door = someId("AccessPoints");
        m_step += QString("user %1, group %2, medium %3, door %4 ")
                      .arg(user.value())
                      .arg(group.value())
                      .arg(medium.value())
                      .arg(door.value());
        const QString property =
            pick(4) == 0 ? pick(QStringList{"label", "id", "class", "userId", "location"}) : someName();
        switch (pick(14)) {
        case 0: {
            const QVariantMap filter = someFilter("UsersGroups");
            return compare("UsersGroups", nonEmpty(m_mock->getUser(filter)), nonEmpty(m_sql->getUser(forSql(filter))));
        }
        case 1: {
            const QVariantMap filter = someFilter("UsersGroups");
            return compare("UsersGroups", nonEmpty(m_mock->getGroup(filter)),
                           nonEmpty(m_sql->getGroup(forSql(filter))));
        }
        case 2: {
            const QVariantMap filter = someFilter("Media");
            return compare("Media", nonEmpty(m_mock->getRfidMedium(filter)),
                           nonEmpty(m_sql->getRfidMedium(forSql(filter))));
        }
        case 3: {
            const QVariantMap filter = someFilter("AccessPoints");
            return compare("AccessPoints", nonEmpty(m_mock->getAccessPoint(filter)),
                           nonEmpty(m_sql->getAccessPoint(forSql(filter))));
        }
        case 4:
        case 5: {
            const QString name = pick(collections + QStringList{"AccessPointLocations", "Nothing"});
            const QVariantMap filter = someFilter(name);
            const QStringList fields = pick(2) == 0 ? QStringList() : QStringList{"label", "Department", "userId"};
            return compare(fields.isEmpty() ? name : QString(),
                           withUserId(name, m_mock->getModel(name, filter, fields), fields),
                           m_sql->getModel(name, forSql(filter), fields));
        }
        case 6:
            return compare({}, ids(property, m_mock->getUserProperty(property, user)),
                           m_sql->getUserProperty(property, toSql(user)));
        case 7:
            return compare({}, ids(property, m_mock->getGroupProperty(property, group)),
                           m_sql->getGroupProperty(property, toSql(group)));
        case 8: {
            const QVariant mock = ids(property, m_mock->getRfidMediumProperty(property, medium));
            const QVariant sql = m_sql->getRfidMediumProperty(property, toSql(medium));
            // Media always have an owner, if only nobody.
            return compare({}, property == "userId" && sql == 0 && !mock.isValid() ? sql : mock, sql);
        }
        case 9:
            return compare({}, ids(property, m_mock->getAccessPointProperty(property, door)),
                           m_sql->getAccessPointProperty(property, toSql(door)));
        case 10:
            compareIds(m_mock->getUsersOfGroup(group), m_sql->getUsersOfGroup(toSql(group)));
            return compareIds(m_mock->getGroupsOfUser(user), m_sql->getGroupsOfUser(toSql(user)));
        case 11:
            compareIds(m_mock->getRfidMediaOfUser(user), m_sql->getRfidMediaOfUser(toSql(user)));
            return compareIds({m_mock->getUserOfRfidMedium(medium)}, {m_sql->getUserOfRfidMedium(toSql(medium))});
        case 12:
            compareIds(m_mock->getAccessPointsOfUser(user), m_sql->getAccessPointsOfUser(toSql(user)));
            return compareIds(m_mock->getUsersOfAccessPoint(door), m_sql->getUsersOfAccessPoint(toSql(door)));
        default:
            return pick(2) == 0 ? compare({}, m_mock->getAccessRightProperties(door, user),
                                          m_sql->getAccessRightProperties(toSql(door), toSql(user)))
                                : compare({}, m_mock->getAccessRightProperties(user, door),
                                          m_sql->getAccessRightProperties(toSql(user), toSql(door)));
        }
    }
    static QVariant nonEmpty(const QVariantMap& item) { return item.isEmpty() ? QVariant() : QVariant(item); }
    QVariant ids(const QString& property, const QVariant& value) const
    {
        const bool isId = value.isValid() && (property == "id" || property == "userId");
        return isId ? QVariant(toSql(value.toLongLong()).value()) : value;
    }
    static QVariantList withUserId(const QString& name, QVariantList items, const QStringList& fields)
    {
        // Media and codes always have an owner, if only nobody.
        for (QVariant& item : items) {
            QVariantMap map = item.toMap();
            if (fields.contains("userId") && (name == "Media" || name == "Codes") && !map.contains("userId"))
                map.insert("userId", 0);
            item = map;
        }
        return items;
    }

    // --- Changes

    void change()
    {
        const CItemId user = someId("UsersGroups");
        const CItemId group = someId("UsersGroups");
        const CItemId medium = someId("Media");
        const CItemId door = someId("AccessPoints");
        const QString name = someName();
        const QVariant value = pick(8) == 0 ? QVariant() : someValue();
        QVariantMap properties{{someName(), someValue()}, {name, value}};
        switch (pick(17)) {
        case 0:
            return create("UsersGroups", [&](auto* model) { return model->createUser(properties); });
        case 1:
            return create("UsersGroups", [&](auto* model) { return model->createGroup(properties); });
        case 2:
            return create("Media", [&](auto* model) { return model->createRfidMedium(properties); });
        case 3:
            return create("AccessPoints", [&](auto* model) { return model->createAccessPoint(properties); });
        case 4:
            return agree(m_mock->setUserProperty(name, value, user), m_sql->setUserProperty(name, value, toSql(user)));
        case 5:
            return agree(m_mock->setGroupProperty(name, value, group),
                         m_sql->setGroupProperty(name, value, toSql(group)));
        case 6:
            return agree(m_mock->setRfidMediumProperty(name, value, medium),
                         m_sql->setRfidMediumProperty(name, value, toSql(medium)));
        case 7:
            return agree(m_mock->setAccessPointProperty(name, value, door),
                         m_sql->setAccessPointProperty(name, value, toSql(door)));
        case 8:
            // Rarely: deletions leave little behind.
            if (pick(4) != 0)
                return;
            return agree(m_mock->deleteUser(user), m_sql->deleteUser(toSql(user)));
        case 9:
            if (pick(4) != 0)
                return;
            return agree(m_mock->deleteRfidMedium(medium), m_sql->deleteRfidMedium(toSql(medium)));
        case 10: {
            // A property that items have with an invalid value only is none.
            const bool sql = m_sql->deleteUserProperty(name);
            const bool mock = m_mock->deleteUserProperty(name);
            return agree(mock || sql, sql || mock);
        }
        case 11: {
            const QList<CItemId> users = someIds("UsersGroups");
            const bool sql = m_sql->addUsersToGroup(toSql(users), toSql(group));
            // Members that are not there are refused.
            if (!areThere("UsersGroups", users))
                return agree(false, sql);
            return agree(m_mock->addUsersToGroup(users, group), sql);
        }
        case 12: {
            const QList<CItemId> users = someIds("UsersGroups");
            return agree(m_mock->removeUsersFromGroup(users, group),
                         m_sql->removeUsersFromGroup(toSql(users), toSql(group)));
        }
        case 13: {
            const QList<CItemId> media = someIds("Media");
            return agree(m_mock->addRfidMediaToUser(media, user), m_sql->addRfidMediaToUser(toSql(media), toSql(user)));
        }
        case 14: {
            const QList<CItemId> doors = someIds("AccessPoints");
            const QVariantMap right =
                pick(2) == 0
                    ? QVariantMap()
                    : QVariantMap{{"note", someValue()}, {"validTo", QDateTime(QDate(2027, 1, 1), QTime(0, 0))}};
            const bool sql = m_sql->setAccessRightProperties(toSql(doors), toSql(user), right);
            // Doors that are not there are refused.
            if (!areThere("AccessPoints", doors))
                return agree(false, sql);
            return agree(m_mock->setAccessRightProperties(doors, user, right), sql);
        }
        case 15: {
            const QList<CItemId> doors = someIds("AccessPoints");
            return agree(m_mock->deleteAccessPointsOfUser(doors, user),
                         m_sql->deleteAccessPointsOfUser(toSql(doors), toSql(user)));
        }
        default: {
            if (pick(5) == 0)
                return agree(m_mock->deleteAccessPoint(door), m_sql->deleteAccessPoint(toSql(door)));
            const QList<CItemId> doors = someIds("AccessPoints");
            const QVariantMap place{{"Building", "Annex"}, {"Floor", pick(3)}};
            return agree(m_mock->setAccessPointsLocationProperties(place, doors),
                         m_sql->setAccessPointsLocationProperties(place, toSql(doors)));
        }
        }
    }
    template<typename Make>
    void create(const QString& collection, Make&& make)
    {
        const CItemId mock = make(m_mock);
        const CItemId sql = make(m_sql);
        agree(mock > CItemId(), sql > CItemId());
        know(collection, mock.value(), sql.value());
        // The default label holds the id.
        m_mock->setUserProperty("label", QString::number(sql.value()), mock);
        m_mock->setGroupProperty("label", QString::number(sql.value()), mock);
        m_mock->setRfidMediumProperty("label", QString::number(sql.value()), mock);
        // In the database a medium has an owner from the start, if only nobody.
        m_mock->setRfidMediumProperty("userId", 0, mock);
        m_mock->setAccessPointProperty("label", QString::number(sql.value()), mock);
        for (const auto set :
             {&ISimpleAccessControl::setUserProperty, &ISimpleAccessControl::setGroupProperty,
              &ISimpleAccessControl::setRfidMediumProperty, &ISimpleAccessControl::setAccessPointProperty})
            (m_sql->*set)("label", QString::number(sql.value()), sql);
    }

    std::mt19937 m_random;
    QString m_step;
    QHash<qint64, qint64> m_ids;
    QMap<QString, QList<qint64>> m_known;
    ISimpleAccessControl* m_mock = nullptr;
    CSqlAccessControl* m_sql = nullptr;
};

int main(int argc, char** argv)
{
    return runOnAllDatabases<TestModelContract>(argc, argv);
}

#include "tst_model_contract.moc"
