#include <foundation/core/canonical_text.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/permission.h>
#include <server/database/sql_statement_p.h>
#include <server/model/model_reader.h>
#include <server/model/one_time_password_p.h>
#include <server/model/password_hash.h>
#include <server/model/sql_access_control.h>

#include <QtTest/QtTest>

#include "support/database_places.h"

#include <memory>

namespace {

CItemId idOf(const QVariantMap& item)
{
    return item.value("id").toLongLong();
}

} // namespace

class TestSqlAccessControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_places = std::make_unique<DatabasePlaces>();
        m_model = opened();
    }
    void cleanup()
    {
        if (m_model)
            QCOMPARE(m_model->database()->check(), QStringList());
        m_model.reset();
    }

    // What was entered is there when the file is opened again, with its types.
    void valuesStay()
    {
        const QVariantMap values{{"Text", QString::fromUtf8("Ekstr\xc3\xb6m")},
                                 {"Empty", ""},
                                 {"Long", QString(QString(9999, 'x') + QChar(0x20ac))},
                                 {"Bool", true},
                                 {"Int", -7},
                                 {"Unsigned", quint64(-1)},
                                 {"Double", 0.1},
                                 {"Bytes", QByteArray("\0\x01", 2)},
                                 {"Date", QDate(2026, 11, 22)},
                                 {"Time", QDateTime(QDate(2026, 11, 22), QTime(3, 10))},
                                 {"List", QVariantList{1, "1", QVariantMap{{"k", QVariantList{true}}}}},
                                 {"Texts", QStringList{"a", "b"}}};
        QVariantMap properties = values;
        properties.insert("label", "Ada");
        const CItemId user = m_model->createUser(properties);
        QVERIFY2(user > CItemId(), qPrintable(m_model->errorString()));
        m_model = opened();
        for (auto value = values.cbegin(); value != values.cend(); ++value) {
            const QVariant stored = m_model->getUserProperty(value.key(), user);
            QCOMPARE(stored, *value);
            QCOMPARE(stored.userType(), value->userType());
            QCOMPARE(idOf(m_model->getUser({{value.key(), *value}, {"label", "Ada"}})), user);
        }
        // Texts that are equal as far as the index looks, and differ behind that.
        QVERIFY(m_model->getUser({{"Long", QString(QString(9999, 'x') + QChar(0x20ad))}}).isEmpty());
        QVariant deep;
        for (int i = 0; i < 40; ++i)
            deep = QVariantList{deep};
        for (const auto& [name, value] : QList<QPair<QString, QVariant>>{{"Deep", deep},
                                                                         {"Endless", QString(1000001, 'x')},
                                                                         {QString(201, 'x'), 1},
                                                                         {"label", QString(10001, 'x')}})
            QVERIFY2(!m_model->setUserProperty(name, value, user), qPrintable(name.left(9)));
        QVERIFY(m_model->setUserProperty("label", QString(9999, 'L'), user));
        QCOMPARE(m_model->getUserProperty("label", user).toString().size(), 9999);
        QCOMPARE(idOf(m_model->getUser({{"label", QString(9999, 'L')}})), user);
        QVERIFY(m_model->setUserProperty("label", "short", user));
        QCOMPARE(m_model->getUserProperty("label", user).toString(), QString("short"));
        QVERIFY(m_model->setUserProperty("Text", QVariant(), user));
        QVERIFY(!m_model->getUserProperty("Text", user).isValid());
    }

    void relationsStayWhole()
    {
        const CItemId user = m_model->createUser({});
        const CItemId group = m_model->createGroup({{"Members", QVariantList{user.value()}}});
        const CItemId door = m_model->createAccessPoint({});
        const CItemId medium = m_model->createRfidMedium({{"userId", user.value()}, {"uid", "04:A1:22:3B:5C:6D:80"}});
        const CItemId code = m_model->createItem("Codes", {{"userId", user.value()}, {"code", "1234"}});
        const CItemId schedule =
            m_model->createItem("TimeProfiles", {{"label", "Office"}, {"slots", "mon-fri 07:00-19:00"}});
        QVERIFY(user > CItemId() && group > CItemId() && door > CItemId() && medium > CItemId() && code > CItemId());
        QCOMPARE(m_model->getItemProperty("TimeProfiles", "slots", schedule).toString(),
                 QString("Mon-Fri 07:00-19:00"));

        // Nothing refers to what is not there, and a refusal changes nothing.
        QVERIFY(!m_model->addUsersToGroup({user, 999}, group) && !m_model->addUsersToGroup({group}, group));
        QVERIFY(!m_model->addAccessPointsToUser({door, 999}, user) && m_model->getAccessPointsOfUser(user).isEmpty());
        QVERIFY(m_model->createRfidMedium({{"userId", 999}}) == CItemId());
        QVERIFY(m_model->createRfidMedium({{"uid", "04a1223b5c6d80"}}) == CItemId());
        QVERIFY(m_model->createItem("Codes", {{"code", "1234"}}) == CItemId());
        QVERIFY(!m_model->errorString().contains("1234"));
        for (const char* name : {"id", "class", "Members", "Access Points", "location"})
            QVERIFY(!m_model->setUserProperty(name, 1, user));
        QVERIFY(!m_model->setRfidMediumProperty("userId", user.value(), medium));

        // Several rights at one door.
        const CItemId right = m_model->addAccessRight(user, door, {{"timeProfileId", schedule.value()}});
        QVERIFY(right > CItemId());
        QCOMPARE(m_model->addAccessRight(user, door, {{"timeProfileId", schedule.value()}}), right);
        const CItemId other = m_model->addAccessRight(user, door, {{"validTo", "2026-12-31"}});
        QVERIFY(other > right);
        QCOMPARE(m_model->getAccessRightProperties(door, user).size(), 2);
        QCOMPARE(m_model->getAccessRightProperties(user, door).at(1).toMap().value("validTo").toDateTime(),
                 QDateTime(QDate(2026, 12, 31), QTime(23, 59, 59)));
        QCOMPARE(m_model->getAccessPointsOfUser(user), QList<CItemId>{door});
        QVERIFY(!m_model->addAccessPointsToUser({door}, medium));
        QVERIFY(m_model->addAccessRight(user, door, {{"timeProfileId", 999}}) == CItemId());
        QVERIFY(!m_model->deleteItem("TimeProfiles", schedule));
        QVERIFY(m_model->deleteAccessRight(right) && m_model->deleteItem("TimeProfiles", schedule));
        QVERIFY(m_model->addAccessPointsToUser({door}, group));
        QCOMPARE(m_model->getUsersOfAccessPoint(door), (QList<CItemId>{user, group}));

        QVERIFY(m_model->deleteUser(user));
        QVERIFY(m_model->getUsersOfGroup(group).isEmpty());
        QCOMPARE(m_model->getUsersOfAccessPoint(door), QList<CItemId>{group});
        QVERIFY(m_model->getModel("Codes", {}, {}).isEmpty());
        QCOMPARE(m_model->getUserOfRfidMedium(medium), CItemId());
        m_model = opened();
        QVERIFY(m_model->createUser({}) > schedule); // an id is never given twice
    }

    // By every way in: alone, at creation, as part of a whole collection.
    void valuesThatDecideAreChecked_data()
    {
        QTest::addColumn<QString>("collection");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("stored"); // invalid: refused
        const auto row = [](const char* collection, const char* name, const QVariant& value, const QVariant& stored) {
            QTest::addRow("%s %s %s %s", collection, name, value.typeName(), qPrintable(value.toString()))
                << collection << name << value << stored;
        };
        row("UsersGroups", "enabled", "false", false);
        row("UsersGroups", "enabled", true, true);
        for (const QVariant& value : {QVariant("no"), QVariant("0"), QVariant(0), QVariant(""), QVariant("False")})
            row("UsersGroups", "enabled", value, QVariant());
        row("Media", "blocked", "true", true);
        row("Media", "validFrom", "2026-11-22T03:10Z", QDateTime(QDate(2026, 11, 22), QTime(3, 10), Qt::UTC));
        row("Media", "validFrom", "2026-11-22", QDateTime(QDate(2026, 11, 22), QTime(0, 0)));
        row("Codes", "validTo", QDate(2026, 11, 22), QDateTime(QDate(2026, 11, 22), QTime(23, 59, 59)));
        row("Codes", "validTo", "2026-11-22T03:10:07+02:00", QDateTime(QDate(2026, 11, 22), QTime(1, 10, 7), Qt::UTC));
        for (const char* value :
             {"soon", "2026-13-01", "2026-02-30", "22.11.2026", "2026-11-22 03:10", "2026-11-22T25:00"})
            row("Media", "validTo", value, QVariant());
        row("Media", "validTo", 7, QVariant());
        row("TimeProfiles", "slots", "", "");
        row("TimeProfiles", "slots", "Mon 25:00-26:00", QVariant());
        row("AccessPoints", "timeZone", "Europe/Berlin", "Europe/Berlin");
        for (const char* zone : {"Etc/UTC", "CET", "EST5EDT", "Asia/Calcutta"}) // of no country, of older days
            row("AccessPoints", "timeZone", zone, zone);
        for (const char* zone : {"Europe/Atlantis", "UTC+1", "../zone.tab", "localtime", "right/UTC"})
            row("AccessPoints", "timeZone", zone, QVariant());
        row("Media", "uid", "9c41d27a", QByteArray::fromHex("9c41d27a"));
        row("Media", "uid", "9c41d2", QVariant());
        row("Codes", "code", "0012", "0012");
        row("Codes", "code", "12a", QVariant());
        row("AccessPoints", "label", " ", QVariant());
    }
    void valuesThatDecideAreChecked()
    {
        QFETCH(QString, collection);
        QFETCH(QString, name);
        QFETCH(QVariant, value);
        QFETCH(QVariant, stored);
        const CItemId item = m_model->createItem(collection, {});
        QCOMPARE(m_model->setItemProperty(collection, name, value, item), stored.isValid());
        QCOMPARE(m_model->errorString().isEmpty(), stored.isValid());
        if (stored.isValid()) {
            QCOMPARE(m_model->getItemProperty(collection, name, item), stored);
            QVERIFY(m_model->deleteItem(collection, item));
        }
        QCOMPARE(m_model->createItem(collection, {{name, value}}) > CItemId(), stored.isValid());
        const auto count = m_model->getModel(collection, {}, {}).size();
        QCOMPARE(m_model->setModel(collection, {{collection, QVariantList{QVariantMap{{name, value}}}}}),
                 stored.isValid());
        QCOMPARE(m_model->getModel(collection, {}, {}).size(), stored.isValid() ? 1 : count);
    }

    void transactionsAreAllOrNothing()
    {
        QSignalSpy failed(m_model.get(), &CSqlAccessControl::transactionFailed);
        QSignalSpy told(m_model.get(), &ISimpleAccessControl::notify);
        m_model->beginTransaction("outer");
        const CItemId user = m_model->createUser({});
        m_model->beginTransaction("inner");
        QVERIFY(m_model->setUserProperty("Department", "IT", user));
        m_model->endTransaction();
        QCOMPARE(told.size(), 0);
        m_model->endTransaction();
        QCOMPARE(told.size(), 1);
        const QVariantMap data = told[0][1].toMap().value("data").toMap();
        QCOMPARE(data, (QVariantMap{{"UsersGroups", QVariantList{QVariantMap{{"id", user.value()}}}}}));

        m_model->beginTransaction("outer");
        QVERIFY(m_model->deleteUser(user));
        m_model->beginTransaction("inner");
        QVERIFY(!m_model->deleteUser(999));
        m_model->endTransaction();
        QVERIFY(m_model->createGroup({}) == CItemId()); // it is lost already
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("transaction outer was undone: there is no user 999"));
        m_model->endTransaction();
        QCOMPARE(failed.size(), 1);
        QCOMPARE(failed[0], (QVariantList{"outer", "there is no user 999"}));
        QCOMPARE(m_model->errorString(), QString("there is no user 999"));
        QCOMPARE(told.size(), 1);
        QCOMPARE(idOf(m_model->getUser({{"id", user.value()}})), user);
        QVERIFY(m_model->deleteUser(user) && m_model->errorString().isEmpty());
    }

    // A receiver may delete the model, or change it.
    void receiversMayDoAnything()
    {
        int calls = 0;
        connect(m_model.get(), &ISimpleAccessControl::notify, this, [&] {
            if (++calls == 1)
                m_model->createGroup({{"label", "made by the receiver"}});
            else
                m_model.reset();
        });
        QVERIFY(m_model->createUser({}) > CItemId());
        QVERIFY(!m_model);
        m_model = opened();
        QVERIFY(!m_model->getGroup({{"label", "made by the receiver"}}).isEmpty());
        connect(m_model.get(), &ISimpleAccessControl::notify, this, [&] { m_model.reset(); });
        m_model->beginTransaction("t");
        m_model->createUser({});
        m_model->endTransaction();
        QVERIFY(!m_model);
    }

    void otherProcessesHear()
    {
        const std::unique_ptr<CSqlAccessControl> other = opened();
        QSignalSpy told(other.get(), &ISimpleAccessControl::notify);
        const CItemId user = m_model->createUser({});
        QTRY_COMPARE_WITH_TIMEOUT(told.size(), 1, 2000);
        QVERIFY(told[0][1].toMap().value("data").toMap().contains("UsersGroups"));
        QCOMPARE(idOf(other->getUser({})), user);
        QVERIFY(told[0][1].toMap().value("seq").toLongLong() > 0);
    }

    // Whoever was away for longer than changes are kept reads everything again.
    void changesAreKeptForAWhile()
    {
        QVERIFY(m_model->createUser({{"label", "Ada"}}) > CItemId());
        const auto late = opened();
        const QSignalSpy told(late.get(), &CSqlAccessControl::notify);
        m_model->beginTransaction("two");
        // Only SQLite counts on from a number that was given by hand.
        const qint64 last = DatabasePlaces::onPostgres() ? 101001 : 100999;
        for (const qint64 seq : {qint64(1001), qint64(1002), last}) {
            SqlStatement change(m_model->database(),
                                "INSERT INTO change(seq,at,server,kind,item,what) VALUES(?,0,'other',1,7,2)");
            QVERIFY(change.bind(seq).exec());
        }
        QVERIFY(m_model->createUser({{"label", "Bo"}}) > CItemId());
        QVERIFY(m_model->createUser({{"label", "Cy"}}) > CItemId());
        m_model->endTransaction();
        {
            SqlStatement first(m_model->database(), "SELECT min(seq) FROM change");
            QVERIFY(first.exec() && first.next());
            QCOMPARE(first.integer(0), qint64(1002));
        }
        QTRY_COMPARE(told.size(), 1);
        const QVariantMap data = told.first().at(1).toMap().value("data").toMap();
        QCOMPARE(data.value("TimeProfiles"), QVariant(QVariantList()));
        QCOMPARE(data.value("UsersGroups"), QVariant(QVariantList()));
    }

    void memoryIsTheDemonstration()
    {
        CSqlAccessControl model;
        QVERIFY2(model.open("memory"), qPrintable(model.errorString()));
        CModelReader reader(&model);
        CModelReader::Query query;
        query.filter = {{"Department", "IT"}, {"enabled", "true"}};
        query.limit = 1;
        const CModelReader::Page page = reader.users(query);
        QCOMPARE(page.rows.size(), 1);
        QCOMPARE(page.left, 1);
        const QVariantMap clara = page.rows.first();
        QCOMPARE(clara.value("label").toString(), QString("Clara Dubois"));
        QCOMPARE(clara.value("groups").toStringList(), QStringList("Employees"));
        QCOMPARE(clara.value("accessPoints").toStringList(), (QStringList{"Main Entrance", "Workshop", "Server Room"}));
        QCOMPARE(clara.value("mediaIds").toList(), (QVariantList{53, 54}));
        QCOMPARE(clara.value("properties").toMap().keys(), (QStringList{"First Name", "Last Name"}));
        query.filter = {{"uid", "9C41D27A"}};
        QCOMPARE(reader.media(query).rows.value(0).value("user").toString(), QString("Clara Dubois"));
        QCOMPARE(reader.resolve("Media", 0, "9c:41:d2:7a"), QList<CItemId>{54});
        QCOMPARE(reader.doors({}).rows.value(2).value("device").toString(),
                 model.getModel("Devices", {{"accessPointId", 3}}, {}).value(0).toMap().value("label").toString());
        QVERIFY(!reader.codes({}).rows.value(0).value("properties").toMap().contains("code"));
    }

    void loginsAndSessions()
    {
        const CItemId user = m_model->createUser({{"label", "Ada"}});
        const QString password = QString::fromUtf8("p\xc3\xa4ss word");
        QVERIFY(!m_model->hasLogins());
        QVERIFY(!m_model->addLogin("ada", 999, password) && !m_model->addLogin("ada", user, ""));
        QVERIFY(m_model->addLogin("ada", user, password) && !m_model->addLogin("ada", user, password));
        QVERIFY(m_model->setLoginPermissions("ada", PermissionUsersRead | PermissionLogs));
        QVERIFY(m_model->hasPermission("UsersRead", user, false) && m_model->hasPermission("Users Read", user, false));
        QVERIFY(!m_model->hasPermission("UsersWrite", user, false)
                && !m_model->hasPermission("Administrator", user, false));
        QVERIFY(!m_model->hasPermission("", user, false) && !m_model->hasPermission("Nonsense", user, false));

        CItemId found;
        QString error;
        QString unknown;
        bool mfa = true;
        QVERIFY(!m_model->checkLogin("ada", "wrong", &found, &error, &mfa) && found == CItemId() && !mfa);
        QVERIFY(!m_model->checkLogin("bob", password, &found, &unknown, &mfa));
        QCOMPARE(error, unknown);
        QVERIFY(m_model->checkLogin("ada", password, &found, nullptr, nullptr) && found == user);

        int seconds = 0;
        const QString session = m_model->getNewSessionId(user, 0, "test", "::1", &seconds);
        QCOMPARE(session.size(), 64);
        QCOMPARE(seconds, 3600);
        QVERIFY(m_model->getSessionExpirationDate(user, session) > QDateTime::currentDateTime());
        QVERIFY(!m_model->getSessionExpirationDate(999, session).isValid());
        QVERIFY(m_model->setLoggedInId(user, session) && m_model->getLoggedInId() == user);
        QVERIFY(!m_model->setLoggedInId(user, "guess") && m_model->getLoggedInId() == CItemId());
        QVERIFY(m_model->setLoginPassword("ada", "other"));
        QVERIFY(m_model->getSession(session).isEmpty()); // a changed password ends them
        QVERIFY(!m_model->checkLogin("ada", password, nullptr, nullptr, nullptr));
        m_model->setSessionLength(1);
        const QString brief = m_model->getNewSessionId(user, 0, "", "", nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(m_model->getSession(brief).isEmpty(), 3000);
        // The clock is set back by a day: a session does not last that much longer.
        m_model->setSessionLength(3600);
        const QString ahead = m_model->getNewSessionId(user, 0, "", "", nullptr);
        QVERIFY(!m_model->getSession(ahead).isEmpty() && m_model->database()->begin());
        QVERIFY(
            SqlStatement(m_model->database(), "UPDATE session SET created=created+86400,expires=expires+86400").exec());
        QVERIFY(m_model->database()->end(true) && m_model->getSession(ahead).isEmpty());
        QVERIFY(m_model->deleteUser(user) && m_model->getLogins().isEmpty());
        // Neither password nor session stands in the file.
        for (const char* name : {"a.db", "a.db-wal"}) {
            if (DatabasePlaces::onPostgres())
                break;
            QFile file(m_places->folder.filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray bytes = file.readAll();
            QVERIFY(!bytes.contains(password.toUtf8()) && !bytes.contains(session.toLatin1()));
        }
    }

    // Appendix B of the RFC, SHA-1, eight digits.
    void oneTimePasswords()
    {
        const QByteArray secret("12345678901234567890");
        QCOMPARE(OneTimePassword::code(secret, 59 / 30, 8), QString("94287082"));
        QCOMPARE(OneTimePassword::code(secret, 1111111109 / 30, 8), QString("07081804"));
        QCOMPARE(OneTimePassword::code(secret, 20000000000 / 30, 8), QString("65353130"));
        QCOMPARE(OneTimePassword::toBase32("foobar"), QString("MZXW6YTBOI"));
        const CItemId user = m_model->createUser({});
        QVERIFY(m_model->addLogin("ada", user, "x") && m_model->setLoginSecret("ada", secret));
        bool mfa = false;
        QVERIFY(m_model->checkLogin("ada", "x", nullptr, nullptr, &mfa) && mfa);
        const QString now = OneTimePassword::code(secret, QDateTime::currentSecsSinceEpoch() / 30);
        QVERIFY(!m_model->checkOneTimePassword("ada", "000"));
        QVERIFY(m_model->checkOneTimePassword("ada", now));
        QVERIFY(!m_model->checkOneTimePassword("ada", now)); // a code counts once
    }

    void exportsAreImported()
    {
        CSqlAccessControl demonstration;
        QVERIFY(demonstration.open("memory"));
        const QString path = m_places->folder.filePath("export.jsonl");
        bool good = false;
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QTextStream stream(&file);
            demonstration.exportStream(&stream, QString(), {}, [&](bool result) { good = result; });
        }
        QVERIFY(good);
        QVERIFY2(m_model->importData(path), qPrintable(m_model->errorString()));
        for (const char* name : {"UsersGroups", "Media", "Codes", "Holidays", "AccessPoints", "Devices"})
            QCOMPARE(canonicalText(m_model->getModel(name, {}, {})),
                     canonicalText(demonstration.getModel(name, {}, {})));
        // Once more: UIDs are taken, so nothing at all comes in.
        QVERIFY(!m_model->importData(path));
        QCOMPARE(m_model->getModel("UsersGroups", {}, {}).size(), 7);
    }

private:
    std::unique_ptr<CSqlAccessControl> opened() const
    {
        auto model = std::make_unique<CSqlAccessControl>();
        if (!model->open(m_places->location("a.db")))
            qFatal("%s", qPrintable(model->errorString()));
        return model;
    }

    std::unique_ptr<DatabasePlaces> m_places;
    std::unique_ptr<CSqlAccessControl> m_model;
};

int main(int argc, char** argv)
{
    return runOnAllDatabases<TestSqlAccessControl>(argc, argv);
}

#include "tst_sql_access_control.moc"
