#include <server/model/access_facts_sql_p.h>

#include <server/database/id_list_p.h>
#include <server/database/sql_statement_p.h>
#include <server/model/model_vocabulary_p.h>
#include <server/model/stored_value_p.h>

#include <QtCore/QDate>

using namespace Model;

namespace {

// A property of the item whose id is in `column`, or NULL: its lookup text says all there is to a value that decides.
QString joinValue(const char* alias, const char* column, Kind kind, const QString& name)
{
    return QStringLiteral(" LEFT JOIN property_value %1 ON %1.item=%2 AND %1.property="
                          "(SELECT id FROM property WHERE kind=%3 AND name='%4')")
        .arg(QLatin1String(alias), QLatin1String(column), QString::number(kind), name);
}

// id, label, enabled
QString selectUsers(const QString& condition)
{
    return QStringLiteral("SELECT u.id,u.label,e.value FROM item u")
           + joinValue("e", "u.id", KindUserOrGroup, enabledKey)
           + QStringLiteral(" WHERE u.kind=%1 AND u.class=%2 AND ").arg(KindUserOrGroup).arg(UserClassUser) + condition;
}

// id, group or 0, its label, door, schedule, options, begin, end
QString selectRights(const QString& from, const QString& condition)
{
    return QStringLiteral("SELECT r.id,CASE WHEN h.class=%1 THEN h.id ELSE 0 END,h.label,r.access_point,r.time_profile,"
                          "r.options,r.valid_from,r.valid_to%2 WHERE %3 ORDER BY r.id")
        .arg(QString::number(UserClassGroup), from, condition);
}

// owner, id, label, description, blocked, begin, end
QString selectCredentials(Kind kind, const QString& owners)
{
    return QStringLiteral("SELECT c.parent,c.id,c.label,d.value,b.value,f.value,t.value,c.kind FROM item c")
           + joinValue("d", "c.id", kind, QStringLiteral("description")) + joinValue("b", "c.id", kind, blockedKey)
           + joinValue("f", "c.id", kind, validFromKey) + joinValue("t", "c.id", kind, validToKey)
           + QStringLiteral(" WHERE c.kind=%1 AND c.parent %2").arg(QString::number(kind), owners);
}

QString selectAllCredentials(const QString& owners)
{
    return selectCredentials(KindMedium, owners) + QStringLiteral(" UNION ALL ") + selectCredentials(KindCode, owners);
}

const QString rightsFrom = QStringLiteral(" FROM access_right r JOIN item h ON h.id=r.holder");
const QString holdersAtDoor = QStringLiteral("(SELECT holder FROM access_right WHERE access_point=?)");

/// All facts of a question are of the same moment: a right and its schedule are not of two.
class OneMoment
{
public:
    OneMoment(CDatabase* database, QString* error)
        : m_database(database->beginRead() ? database : nullptr)
    {
        *error = m_database != nullptr ? QString() : database->errorString();
    }
    ~OneMoment()
    {
        if (m_database != nullptr)
            m_database->endRead();
    }
    Q_DISABLE_COPY(OneMoment)

private:
    CDatabase* m_database;
};

int addRight(AccessFactsBuilder* builder, const SqlStatement& row)
{
    CAccessRight right;
    right.id = row.integer(0);
    right.group = row.integer(1);
    if (right.group != CItemId())
        right.groupLabel = row.text(2);
    right.accessPoint = builder->accessPointAt(row.integer(3));
    if (!row.isNull(4))
        right.schedule = builder->schedule(row.integer(4));
    right.options = CDataType::accessRightOptionsCast(static_cast<unsigned int>(row.integer(5)));
    if (!row.isNull(6))
        right.period.from = row.integer(6);
    if (!row.isNull(7))
        right.period.to = row.integer(7);
    return builder->addRight(right);
}

int addUser(AccessFactsBuilder* builder, const SqlStatement& row)
{
    return builder->addUser(row.integer(0), row.text(1), row.value(2));
}

void addCredentials(AccessFactsBuilder* builder, SqlStatement* rows)
{
    while (rows->next()) {
        const int user = builder->userAt(rows->integer(0));
        if (user < 0)
            continue;
        const CItemId id = rows->integer(1);
        const QString description = rows->text(3);
        builder->addCredential(
            user, id,
            rows->integer(7) == KindMedium ? AccessFactsBuilder::mediumLabel(description, rows->text(2))
                                           : AccessFactsBuilder::codeLabel(description, id),
            rows->value(4), CAccessPeriod::fromVariants(rows->value(5), rows->value(6), AccessFactsBuilder::ownZone()));
    }
}

} // namespace

// Members of groups and, as holders of rights of their own, users; groups among the holders have no credentials.
const QString& AccessFactsSql::peopleAtDoor()
{
    static const QString sql = QStringLiteral("IN (SELECT user_id FROM membership WHERE group_id IN %1 UNION %2)")
                                   .arg(holdersAtDoor, holdersAtDoor.mid(1, holdersAtDoor.size() - 2));
    return sql;
}

const QString& AccessFactsSql::user()
{
    static const QString sql = selectUsers(QStringLiteral("u.id=?"));
    return sql;
}

const QString& AccessFactsSql::accessPoint()
{
    static const QString sql = QStringLiteral("SELECT a.id,a.label,e.value,z.value FROM item a")
                               + joinValue("e", "a.id", KindAccessPoint, enabledKey)
                               + joinValue("z", "a.id", KindAccessPoint, timeZoneKey)
                               + QStringLiteral(" WHERE a.id=? AND a.kind=%1").arg(KindAccessPoint);
    return sql;
}

const QString& AccessFactsSql::rightsOfUserAtDoor()
{
    static const QString sql =
        selectRights(rightsFrom, QStringLiteral("r.access_point=? AND (r.holder=? OR r.holder IN "
                                                "(SELECT group_id FROM membership WHERE user_id=?))"));
    return sql;
}

const QString& AccessFactsSql::rightsOfUser()
{
    static const QString sql = selectRights(
        QStringLiteral(",a.label,e.value,z.value") + rightsFrom + QStringLiteral(" JOIN item a ON a.id=r.access_point")
            + joinValue("e", "a.id", KindAccessPoint, enabledKey)
            + joinValue("z", "a.id", KindAccessPoint, timeZoneKey),
        QStringLiteral("(r.holder=? OR r.holder IN (SELECT group_id FROM membership WHERE user_id=?))"));
    return sql;
}

const QString& AccessFactsSql::rightsAtDoor()
{
    static const QString sql =
        selectRights(QStringLiteral(",r.holder") + rightsFrom, QStringLiteral("r.access_point=?"));
    return sql;
}

const QString& AccessFactsSql::membersAtDoor()
{
    static const QString sql =
        QStringLiteral("SELECT group_id,user_id FROM membership WHERE group_id IN %1").arg(holdersAtDoor);
    return sql;
}

const QString& AccessFactsSql::usersAtDoor()
{
    static const QString sql = selectUsers(QStringLiteral("u.id ") + AccessFactsSql::peopleAtDoor());
    return sql;
}

const QString& AccessFactsSql::credentialsOfUser()
{
    static const QString sql = selectAllCredentials(QStringLiteral("=?"));
    return sql;
}

const QString& AccessFactsSql::credentialsAtDoor()
{
    static const QString sql = selectAllCredentials(AccessFactsSql::peopleAtDoor());
    return sql;
}

const QString& AccessFactsSql::identitiesAtDoor()
{
    static const QString sql = [] {
        const auto select = [](Kind kind, const QString& name) {
            return QStringLiteral("SELECT c.id,c.kind,v.type,v.value,v.data FROM item c JOIN property_value v ON "
                                  "v.item=c.id AND v.property=(SELECT id FROM property WHERE kind=%1 AND name='%2') "
                                  "WHERE c.kind=%1 AND c.parent %3")
                .arg(QString::number(kind), name, AccessFactsSql::peopleAtDoor());
        };
        return QString(select(KindMedium, uidKey) + QLatin1String(" UNION ALL ") + select(KindCode, codeKey));
    }();
    return sql;
}

void SqlAccessFacts::look(const SqlStatement& rows)
{
    if (!rows.isGood() && m_error.isEmpty())
        m_error = m_database->errorString();
}

CAccessFacts SqlAccessFacts::finish(AccessFactsBuilder* builder)
{
    describeSchedules(builder);
    return m_error.isEmpty() ? builder->take() : CAccessFacts();
}

CAccessFacts SqlAccessFacts::ofUserAtDoor(CItemId user, CItemId accessPoint)
{
    const OneMoment moment(m_database, &m_error);
    AccessFactsBuilder builder(&m_zones);
    const qint64 userId = user.value();
    const qint64 doorId = accessPoint.value();
    SqlStatement door(m_database, AccessFactsSql::accessPoint());
    if (door.bind(doorId).exec() && door.next())
        builder.addAccessPoint(doorId, door.text(1), door.value(2), door.value(3));
    look(door);
    SqlStatement person(m_database, AccessFactsSql::user());
    if (person.bind(userId).exec() && person.next()) {
        const int place = addUser(&builder, person);
        if (builder.accessPointAt(doorId) >= 0) {
            SqlStatement rights(m_database, AccessFactsSql::rightsOfUserAtDoor());
            for (rights.bind(doorId).bind(userId).bind(userId).exec(); rights.next();)
                builder.addGrant(place, addRight(&builder, rights));
            look(rights);
        }
        readCredentials(&builder, userId);
    }
    look(person);
    return finish(&builder);
}

CAccessFacts SqlAccessFacts::ofUser(CItemId user)
{
    const OneMoment moment(m_database, &m_error);
    AccessFactsBuilder builder(&m_zones);
    const qint64 userId = user.value();
    SqlStatement person(m_database, AccessFactsSql::user());
    if (person.bind(userId).exec() && person.next()) {
        const int place = addUser(&builder, person);
        SqlStatement rights(m_database, AccessFactsSql::rightsOfUser());
        for (rights.bind(userId).bind(userId).exec(); rights.next();) {
            builder.addAccessPoint(rights.integer(3), rights.text(8), rights.value(9), rights.value(10));
            builder.addGrant(place, addRight(&builder, rights));
        }
        look(rights);
        readCredentials(&builder, userId);
    }
    look(person);
    return finish(&builder);
}

CAccessFacts SqlAccessFacts::ofDoor(CItemId accessPoint)
{
    const OneMoment moment(m_database, &m_error);
    AccessFactsBuilder builder(&m_zones);
    const qint64 doorId = accessPoint.value();
    SqlStatement door(m_database, AccessFactsSql::accessPoint());
    if (!door.bind(doorId).exec() || !door.next()) {
        look(door);
        return CAccessFacts();
    }
    builder.addAccessPoint(doorId, door.text(1), door.value(2), door.value(3));

    SqlStatement users(m_database, AccessFactsSql::usersAtDoor());
    for (users.bind(doorId).bind(doorId).exec(); users.next();)
        addUser(&builder, users);
    look(users);
    QHash<qint64, QVector<int>> rightsOfGroup;
    SqlStatement rights(m_database, AccessFactsSql::rightsAtDoor());
    for (rights.bind(doorId).exec(); rights.next();) {
        const int right = addRight(&builder, rights);
        const int user = builder.userAt(rights.integer(8));
        if (user >= 0)
            builder.addGrant(user, right);
        else
            rightsOfGroup[rights.integer(8)].append(right);
    }
    look(rights);
    SqlStatement members(m_database, AccessFactsSql::membersAtDoor());
    for (members.bind(doorId).exec(); members.next();) {
        const int user = builder.userAt(members.integer(1));
        const QVector<int> held = rightsOfGroup.value(members.integer(0));
        for (int i = 0; user >= 0 && i < held.size(); ++i)
            builder.addGrant(user, held.at(i));
    }
    look(members);
    SqlStatement credentials(m_database, AccessFactsSql::credentialsAtDoor());
    credentials.bind(doorId).bind(doorId).bind(doorId).bind(doorId).exec();
    addCredentials(&builder, &credentials);
    look(credentials);
    return finish(&builder);
}

void SqlAccessFacts::readCredentials(AccessFactsBuilder* builder, qint64 userId)
{
    SqlStatement credentials(m_database, AccessFactsSql::credentialsOfUser());
    credentials.bind(userId).bind(userId).exec();
    addCredentials(builder, &credentials);
    look(credentials);
}

void SqlAccessFacts::describeSchedules(AccessFactsBuilder* builder)
{
    if (builder->schedules().isEmpty())
        return;
    QList<qint64> ids;
    for (const CAccessSchedule& schedule : builder->schedules())
        ids.append(schedule.id.value());
    const IdList chosen(m_database, ids);

    QHash<qint64, QVector<QDate>> holidays;
    const QString holidaySql =
        QStringLiteral("SELECT h.parent,d.value FROM item h")
        + joinValue("d", "h.id", KindHoliday, QStringLiteral("date"))
        + QStringLiteral(" WHERE h.kind=%1 AND h.parent IN (SELECT parent FROM item WHERE id IN %2)")
              .arg(QString::number(KindHoliday), chosen.sql());
    SqlStatement dates(m_database, holidaySql);
    for (dates.bind(chosen.value()).exec(); dates.next();)
        holidays[dates.integer(0)].append(QDate::fromString(dates.text(1), Qt::ISODate));
    look(dates);

    const QString scheduleSql =
        QStringLiteral("SELECT s.id,s.label,s.parent,t.type,t.value,t.data FROM item s")
        + joinValue("t", "s.id", KindTimeProfile, slotsKey)
        + QStringLiteral(" WHERE s.kind=%1 AND s.id IN %2").arg(QString::number(KindTimeProfile), chosen.sql());
    SqlStatement rows(m_database, scheduleSql);
    for (rows.bind(chosen.value()).exec(); rows.next();) {
        const QVariant timeSlots = StoredValues::decode(static_cast<int>(rows.integer(3)), rows.text(4), rows.bytes(5));
        builder->describeSchedule(rows.integer(0), rows.text(1), timeSlots, holidays.value(rows.integer(2)));
    }
    look(rows);
}
