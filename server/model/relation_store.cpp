#include <server/model/relation_store_p.h>

#include <foundation/core/canonical_text.h>
#include <foundation/datatypes/data_type.h>
#include <server/database/id_list_p.h>
#include <server/database/sql_statement_p.h>
#include <server/model/checked_value_p.h>
#include <server/model/item_store_p.h>
#include <server/model/stored_value_p.h>

#include <QtCore/QDateTime>

#include <algorithm>

using namespace Model;

namespace {

const QString rightColumns =
    QStringLiteral("id,holder,access_point,time_profile,options,valid_from,valid_to,properties");

// Of a row with rightColumns.
QVariantMap rightOf(const SqlStatement& row)
{
    QVariantMap right;
    if (!row.isNull(7))
        right = StoredValues::mapFromText(row.text(7));
    right.insert(idKey, row.integer(0));
    right.insert(accessPointIdKey, row.integer(2));
    if (!row.isNull(3))
        right.insert(timeProfileIdKey, row.integer(3));
    if (row.integer(4) != 0)
        right.insert(optionsKey, uint(row.integer(4)));
    if (!row.isNull(5))
        right.insert(validFromKey, QDateTime::fromSecsSinceEpoch(row.integer(5)));
    if (!row.isNull(6))
        right.insert(validToKey, QDateTime::fromSecsSinceEpoch(row.integer(6)));
    return right;
}

struct RightColumns
{
    explicit RightColumns(QVariantMap right)
    {
        const auto seconds = [&](const QString& key) {
            const QDateTime instant = right.take(key).toDateTime();
            return instant.isValid() ? QVariant(instant.toSecsSinceEpoch()) : QVariant();
        };
        right.remove(idKey);
        right.remove(accessPointIdKey);
        const qint64 profile = toId(right.take(timeProfileIdKey));
        timeProfile = profile > 0 ? QVariant(profile) : QVariant();
        options = right.take(optionsKey).toUInt();
        validFrom = seconds(validFromKey);
        validTo = seconds(validToKey);
        for (auto entry = right.begin(); entry != right.end();)
            entry = entry->isValid() ? std::next(entry) : right.erase(entry);
        if (!right.isEmpty())
            properties = StoredValues::mapToText(right);
    }

    void bindTo(SqlStatement* statement) const
    {
        statement->bind(timeProfile).bind(qint64(options)).bind(validFrom).bind(validTo).bind(properties);
    }

    QVariant timeProfile;
    uint options = 0;
    QVariant validFrom;
    QVariant validTo;
    QVariant properties;
};

QList<qint64> ids(CDatabase* database, const QString& sql, qint64 value)
{
    SqlStatement statement(database, sql);
    QList<qint64> result;
    for (statement.bind(value).exec(); statement.next();)
        result.append(statement.integer(0));
    return result;
}

bool run(CDatabase* database, const QString& sql, qint64 value)
{
    return SqlStatement(database, sql).bind(value).exec();
}

} // namespace

RelationStore::RelationStore(CDatabase* database)
    : m_database(database)
{
}

// --- Groups

QList<qint64> RelationStore::usersOfGroup(qint64 group)
{
    return ids(m_database, QStringLiteral("SELECT user_id FROM membership WHERE group_id=? ORDER BY position"), group);
}

QList<qint64> RelationStore::groupsOfUser(qint64 user)
{
    return ids(m_database, QStringLiteral("SELECT group_id FROM membership WHERE user_id=? ORDER BY group_id"), user);
}

bool RelationStore::addUsers(const QList<qint64>& users, qint64 group)
{
    qint64 position = 0;
    {
        SqlStatement last(m_database, QStringLiteral("SELECT max(position) FROM membership WHERE group_id=?"));
        if (!last.bind(group).exec() || !last.next())
            return false;
        position = last.integer(0);
    }
    SqlStatement statement(m_database, QStringLiteral("INSERT INTO membership(group_id,user_id,position) VALUES(?,?,?) "
                                                      "ON CONFLICT(group_id,user_id) DO NOTHING"));
    for (const qint64 user : users) {
        if (!statement.bind(group).bind(user).bind(++position).exec())
            return false;
    }
    return true;
}

bool RelationStore::removeUsers(const QList<qint64>& users, qint64 group)
{
    const IdList list(m_database, users);
    SqlStatement statement(m_database,
                           QLatin1String("DELETE FROM membership WHERE group_id=? AND user_id IN ") + list.sql());
    return statement.bind(group).bind(list.value()).exec();
}

bool RelationStore::removeAllUsers(qint64 group)
{
    return run(m_database, QStringLiteral("DELETE FROM membership WHERE group_id=?"), group);
}

bool RelationStore::removeFromGroups(qint64 user)
{
    return run(m_database, QStringLiteral("DELETE FROM membership WHERE user_id=?"), user);
}

// --- Rights

QList<qint64> RelationStore::accessPointsOf(qint64 holder)
{
    return ids(m_database,
               QStringLiteral("SELECT access_point FROM access_right WHERE holder=? GROUP BY access_point "
                              "ORDER BY min(id)"),
               holder);
}

QList<qint64> RelationStore::holdersAt(qint64 accessPoint)
{
    return ids(m_database,
               QStringLiteral("SELECT DISTINCT holder FROM access_right WHERE access_point=? ORDER BY holder"),
               accessPoint);
}

QVariantList RelationStore::rights(qint64 holder, qint64 accessPoint)
{
    SqlStatement statement(
        m_database, QStringLiteral("SELECT %1 FROM access_right WHERE holder=?%2 ORDER BY id")
                        .arg(rightColumns, accessPoint == 0 ? QString() : QStringLiteral(" AND access_point=?")));
    statement.bind(holder);
    if (accessPoint != 0)
        statement.bind(accessPoint);
    QVariantList result;
    for (statement.exec(); statement.next();)
        result.append(rightOf(statement));
    return result;
}

qint64 RelationStore::findRight(qint64 holder, qint64 accessPoint, const QVariantMap& properties)
{
    const auto comparable = [](QVariantMap right) {
        right.remove(idKey);
        right.remove(accessPointIdKey);
        for (auto entry = right.begin(); entry != right.end();) {
            const QString text = canonicalText(*entry);
            const bool says =
                !text.isEmpty()
                && !((entry.key() == timeProfileIdKey || entry.key() == optionsKey) && text == QLatin1String("0"));
            entry = says ? std::next(entry) : right.erase(entry);
        }
        return canonicalText(right);
    };
    const QString wanted = comparable(properties);
    const QVariantList present = rights(holder, accessPoint);
    for (const QVariant& right : present) {
        if (comparable(right.toMap()) == wanted)
            return toId(right.toMap().value(idKey));
    }
    return 0;
}

qint64 RelationStore::addRight(qint64 holder, qint64 accessPoint, const QVariantMap& properties)
{
    SqlStatement statement(m_database,
                           QStringLiteral("INSERT INTO access_right(holder,access_point,time_profile,options,"
                                          "valid_from,valid_to,properties) VALUES(?,?,?,?,?,?,?) RETURNING id"));
    statement.bind(holder).bind(accessPoint);
    RightColumns(properties).bindTo(&statement);
    return statement.exec() && statement.next() ? statement.integer(0) : 0;
}

bool RelationStore::changeRight(qint64 right, const QVariantMap& properties)
{
    QVariantMap changed;
    {
        SqlStatement statement(m_database, QStringLiteral("SELECT %1 FROM access_right WHERE id=?").arg(rightColumns));
        if (!statement.bind(right).exec() || !statement.next())
            return false;
        changed = rightOf(statement);
    }
    for (auto entry = properties.cbegin(); entry != properties.cend(); ++entry)
        changed.insert(entry.key(), entry.value());
    SqlStatement statement(m_database,
                           QStringLiteral("UPDATE access_right SET time_profile=?,options=?,valid_from=?,valid_to=?,"
                                          "properties=? WHERE id=?"));
    RightColumns(changed).bindTo(&statement);
    return statement.bind(right).exec();
}

bool RelationStore::removeRight(qint64 right)
{
    return run(m_database, QStringLiteral("DELETE FROM access_right WHERE id=?"), right);
}

bool RelationStore::removeRights(qint64 holder, const QList<qint64>& accessPoints)
{
    const IdList list(m_database, accessPoints);
    SqlStatement statement(m_database,
                           QLatin1String("DELETE FROM access_right WHERE holder=? AND access_point IN ") + list.sql());
    return statement.bind(holder).bind(list.value()).exec();
}

bool RelationStore::removeAllRights(qint64 holder)
{
    return run(m_database, QStringLiteral("DELETE FROM access_right WHERE holder=?"), holder);
}

qint64 RelationStore::holderOf(qint64 right)
{
    return ids(m_database, QStringLiteral("SELECT holder FROM access_right WHERE id=?"), right).value(0);
}

qint64 RelationStore::rightsWith(qint64 timeProfile)
{
    return ids(m_database, QStringLiteral("SELECT count(*) FROM access_right WHERE time_profile=?"), timeProfile)
        .value(0);
}

bool RelationStore::checkRight(QVariantMap* properties, QString* errorString)
{
    for (auto entry = properties->begin(); entry != properties->end(); ++entry) {
        const QString& name = entry.key();
        if (name == idKey || name == accessPointIdKey || name == timeProfileIdKey) {
            const QString text = canonicalText(*entry);
            const qint64 id = toId(*entry);
            // What is read as no schedule would open the door at any time.
            if (name == timeProfileIdKey && (id < 0 || (id == 0 && !text.isEmpty() && text != QLatin1String("0")))) {
                *errorString = name + QLatin1String(": is the id of a schedule");
                return false;
            }
            *entry = entry->isValid() ? QVariant(id) : QVariant();
        } else if (name == optionsKey) {
            if (!entry->isValid())
                continue;
            bool good = false;
            const uint options = entry->toUInt(&good);
            if (!good || (options & ~uint(CDataType::AccessRightOptionOnlineAccess)) != 0) {
                *errorString = name + QLatin1String(": there is no such option of a right");
                return false;
            }
            *entry = options;
        } else if (name == classKey || name == labelKey || name == locationKey) {
            // Rights have none of these; they may carry what they are given.
            continue;
        } else if (!CheckedValues::check(KindUnknown, name, &*entry, errorString)) {
            return false;
        }
    }
    return true;
}

// --- Both, for many items at once

void RelationStore::addRelations(const IdList& ids, const QHash<qint64, int>& places, QList<QVariantMap>* items)
{
    const auto isGroup = [items](int place) { return items->at(place).value(classKey).toInt() == UserClassGroup; };
    QHash<qint64, CItemIdList> members;
    if (std::any_of(places.cbegin(), places.cend(), isGroup)) {
        SqlStatement statement(m_database, QLatin1String("SELECT group_id,user_id FROM membership WHERE group_id IN ")
                                               + ids.sql() + QLatin1String(" ORDER BY group_id,position"));
        for (statement.bind(ids.value()).exec(); statement.next();)
            members[statement.integer(0)].append(statement.integer(1));
    }
    QHash<qint64, QVariantList> rights;
    {
        SqlStatement statement(m_database, QStringLiteral("SELECT %1 FROM access_right WHERE holder IN %2 "
                                                          "ORDER BY holder,id")
                                               .arg(rightColumns, ids.sql()));
        for (statement.bind(ids.value()).exec(); statement.next();)
            rights[statement.integer(1)].append(rightOf(statement));
    }
    for (auto place = places.cbegin(); place != places.cend(); ++place) {
        QVariantMap& item = (*items)[*place];
        if (isGroup(*place))
            item.insert(membersKey, QVariant::fromValue(members.value(place.key())));
        item.insert(rightsKey, rights.value(place.key()));
    }
}
