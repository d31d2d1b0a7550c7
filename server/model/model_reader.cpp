#include <server/model/model_reader.h>

#include <foundation/core/canonical_text.h>
#include <foundation/datatypes/data_type.h>
#include <server/database/id_list_p.h>
#include <server/database/sql_statement_p.h>
#include <server/model/checked_value_p.h>
#include <server/model/login_store_p.h>
#include <server/model/sql_access_control_p.h>

#include <QtCore/QDateTime>

#include <algorithm>

using namespace Model;

namespace {

using Related = QHash<qint64, QList<qint64>>;

// Items that are read together.
constexpr int chunkSize = 1000;

ItemQuery itemQuery(Kind kind, int itemClass, const CModelReader::Query& query)
{
    ItemQuery result;
    result.kind = kind;
    result.itemClass = itemClass;
    result.after = query.after.value();
    result.among = toNumbers(query.among);
    result.limit = query.limit;
    for (auto entry = query.filter.cbegin(); entry != query.filter.cend(); ++entry) {
        // What a person types for a UID or a time is brought into the form in which it is stored.
        QVariant value = *entry;
        QString reason;
        if (value.toString().isEmpty() || isRelation(entry.key()) || isFixed(entry.key())
            || !CheckedValues::check(kind, entry.key(), &value, &reason))
            value = *entry;
        result.filter.insert(entry.key(), value);
    }
    // What has no row is so, too.
    const auto unlessOpposite = [&](const QString& key, const char* usual, const char* opposite) {
        if (canonicalText(result.filter.value(key)) == QLatin1String(usual)) {
            result.filter.remove(key);
            result.unlike.insert(key, QLatin1String(opposite));
        }
    };
    unlessOpposite(enabledKey, "true", "false");
    unlessOpposite(blockedKey, "false", "true");
    return result;
}

bool flag(const QVariantMap& item, const QString& key, bool usual)
{
    return item.contains(key) ? item.value(key).toBool() : usual;
}

QVariant idOrNothing(const QVariant& value)
{
    const qint64 id = toId(value);
    return id != 0 ? QVariant(id) : QVariant();
}

QVariantMap furtherProperties(QVariantMap item, const QStringList& shown)
{
    for (const QString& key : {idKey, classKey, labelKey, locationKey, membersKey, rightsKey, codeKey})
        item.remove(key);
    for (const QString& key : shown)
        item.remove(key);
    return item;
}

QVariantList numbers(const QList<qint64>& ids)
{
    QVariantList result;
    for (const qint64 id : ids)
        result.append(id);
    return result;
}

QStringList texts(const QList<qint64>& ids, const QHash<qint64, QString>& labels)
{
    QStringList result;
    for (const qint64 id : ids)
        result.append(labels.value(id));
    return result;
}

void addTo(QList<qint64>* all, const Related& related)
{
    for (const QList<qint64>& ids : related)
        all->append(ids);
}

// Doors of the item's own rights, each once, in the order of the rights.
QList<qint64> ownDoors(const QVariantMap& item)
{
    QList<qint64> doors;
    const QVariantList rights = item.value(rightsKey).toList();
    for (const QVariant& right : rights) {
        const qint64 door = toId(right.toMap().value(accessPointIdKey));
        if (!doors.contains(door))
            doors.append(door);
    }
    return doors;
}

// Two columns: whom the second belongs to.
Related related(CDatabase* database, const QString& sql, const QList<qint64>& ids)
{
    const IdList list(database, ids);
    SqlStatement statement(database, sql.arg(list.sql()));
    Related result;
    for (statement.bind(list.value()).exec(); statement.next();)
        result[statement.integer(0)].append(statement.integer(1));
    return result;
}

const QString groupsOfUsers =
    QStringLiteral("SELECT user_id,group_id FROM membership WHERE user_id IN %1 ORDER BY user_id,group_id");
const QString mediaOfUsers =
    QStringLiteral("SELECT parent,id FROM item WHERE parent IN %1 AND kind=6 ORDER BY parent,id");
const QString devicesOfDoors =
    QStringLiteral("SELECT parent,id FROM item WHERE parent IN %1 AND kind=4 ORDER BY parent,id");

} // namespace

CModelReader::CModelReader(const CSqlAccessControl* model)
    : m_model(model)
{
}

// Rows are made of each thousand items by `makeRows`, which sees them and their ids.
template<typename MakeRows>
static CModelReader::Page readPage(ItemStore* items, const ItemQuery& query, MakeRows&& makeRows)
{
    CModelReader::Page page;
    const QList<qint64> ids = items->find(query);
    for (int from = 0; from < ids.size(); from += chunkSize) {
        const QList<qint64> chunk = ids.mid(from, chunkSize);
        makeRows(chunk, items->load(query.kind, chunk), &page.rows);
    }
    if (query.limit >= 0 && ids.size() == query.limit) {
        ItemQuery behind = query;
        behind.after = ids.isEmpty() ? query.after : ids.last();
        behind.limit = -1;
        page.left = qMax(qint64(0), items->count(behind));
    }
    return page;
}

CModelReader::Page CModelReader::users(const Query& query) const
{
    auto* d = m_model->d.get();
    return readPage(
        &d->items, itemQuery(KindUserOrGroup, UserClassUser, query),
        [&](const QList<qint64>& ids, const QList<QVariantMap>& items, QList<QVariantMap>* rows) {
            const Related groups = related(&d->database, groupsOfUsers, ids);
            const Related media = related(&d->database, mediaOfUsers, ids);
            QList<qint64> named;
            addTo(&named, groups);
            addTo(&named, media);
            for (const QVariantMap& item : items)
                named.append(ownDoors(item));
            const QHash<qint64, QString> labels = d->items.labels(named);
            for (const QVariantMap& item : items) {
                const qint64 id = toId(item.value(idKey));
                const QList<qint64> doors = ownDoors(item);
                rows->append(
                    {{idKey, id},
                     {labelKey, item.value(labelKey)},
                     {QStringLiteral("department"), item.value(QStringLiteral("Department")).toString()},
                     {QStringLiteral("email"), item.value(QStringLiteral("Email")).toString()},
                     {QStringLiteral("groups"), texts(groups.value(id), labels)},
                     {QStringLiteral("groupIds"), numbers(groups.value(id))},
                     {QStringLiteral("accessPoints"), texts(doors, labels)},
                     {QStringLiteral("accessPointIds"), numbers(doors)},
                     {QStringLiteral("media"), texts(media.value(id), labels)},
                     {QStringLiteral("mediaIds"), numbers(media.value(id))},
                     {enabledKey, flag(item, enabledKey, true)},
                     {QStringLiteral("properties"),
                      furtherProperties(item, {QStringLiteral("Department"), QStringLiteral("Email"), enabledKey})}});
            }
        });
}

CModelReader::Page CModelReader::groups(const Query& query) const
{
    auto* d = m_model->d.get();
    return readPage(&d->items, itemQuery(KindUserOrGroup, UserClassGroup, query),
                    [&](const QList<qint64>&, const QList<QVariantMap>& items, QList<QVariantMap>* rows) {
                        QList<qint64> named;
                        for (const QVariantMap& item : items) {
                            named.append(toIds(item.value(membersKey)));
                            named.append(ownDoors(item));
                        }
                        const QHash<qint64, QString> labels = d->items.labels(named);
                        for (const QVariantMap& item : items) {
                            const QList<qint64> users = toIds(item.value(membersKey));
                            const QList<qint64> doors = ownDoors(item);
                            rows->append({{idKey, item.value(idKey)},
                                          {labelKey, item.value(labelKey)},
                                          {QStringLiteral("users"), texts(users, labels)},
                                          {QStringLiteral("userIds"), numbers(users)},
                                          {QStringLiteral("accessPoints"), texts(doors, labels)},
                                          {QStringLiteral("accessPointIds"), numbers(doors)},
                                          {QStringLiteral("properties"), furtherProperties(item, {})}});
                        }
                    });
}

CModelReader::Page CModelReader::doors(const Query& query) const
{
    auto* d = m_model->d.get();
    return readPage(&d->items, itemQuery(KindAccessPoint, anyClass, query),
                    [&](const QList<qint64>& ids, const QList<QVariantMap>& items, QList<QVariantMap>* rows) {
                        const Related devices = related(&d->database, devicesOfDoors, ids);
                        QList<qint64> named;
                        addTo(&named, devices);
                        const QHash<qint64, QString> labels = d->items.labels(named);
                        const QString building = QStringLiteral("Building");
                        const QString floor = QStringLiteral("Floor");
                        for (const QVariantMap& item : items) {
                            const qint64 device = devices.value(toId(item.value(idKey))).value(0);
                            rows->append({{idKey, item.value(idKey)},
                                          {labelKey, item.value(labelKey)},
                                          {QStringLiteral("building"), item.value(building).toString()},
                                          {QStringLiteral("floor"), item.value(floor).toString()},
                                          {timeZoneKey, item.value(timeZoneKey).toString()},
                                          {QStringLiteral("device"), labels.value(device, QString())},
                                          {enabledKey, flag(item, enabledKey, true)},
                                          {QStringLiteral("properties"),
                                           furtherProperties(item, {building, floor, timeZoneKey, enabledKey})}});
                        }
                    });
}

// What media and codes have in common.
static QVariantMap credentialRow(const QVariantMap& item, const QHash<qint64, QString>& labels)
{
    const QString description = QStringLiteral("description");
    return {{idKey, item.value(idKey)},
            {description, item.value(description).toString()},
            {QStringLiteral("user"), labels.value(toId(item.value(userIdKey)))},
            {userIdKey, idOrNothing(item.value(userIdKey))},
            {validFromKey, item.value(validFromKey)},
            {validToKey, item.value(validToKey)},
            {blockedKey, flag(item, blockedKey, false)},
            {QStringLiteral("properties"),
             furtherProperties(item, {description, userIdKey, validFromKey, validToKey, blockedKey, uidKey})}};
}

// The items that the given ones belong to.
static QHash<qint64, QString> parentLabels(ItemStore* store, Kind kind, const QList<QVariantMap>& items)
{
    QList<qint64> parents;
    for (const QVariantMap& item : items)
        parents.append(toId(item.value(parentKey(kind))));
    return store->labels(parents);
}

CModelReader::Page CModelReader::media(const Query& query) const
{
    auto* d = m_model->d.get();
    return readPage(
        &d->items, itemQuery(KindMedium, anyClass, query),
        [&](const QList<qint64>&, const QList<QVariantMap>& items, QList<QVariantMap>* rows) {
            const auto labels = parentLabels(&d->items, KindMedium, items);
            for (const QVariantMap& item : items) {
                const auto type = CDataType::cardMediumTypeCast(item.value(QStringLiteral("mediumType")).toInt());
                QVariantMap row = credentialRow(item, labels);
                row.insert(labelKey, item.value(labelKey));
                row.insert(QStringLiteral("type"), QString::fromUtf8(CDataType::cardMediumTypeToString(type)));
                row.insert(uidKey, CDataType::rfidUidToLabel(item.value(uidKey).toByteArray()));
                rows->append(row);
            }
        });
}

CModelReader::Page CModelReader::codes(const Query& query) const
{
    auto* d = m_model->d.get();
    return readPage(&d->items, itemQuery(KindCode, anyClass, query),
                    [&](const QList<qint64>&, const QList<QVariantMap>& items, QList<QVariantMap>* rows) {
                        const auto labels = parentLabels(&d->items, KindCode, items);
                        for (const QVariantMap& item : items)
                            rows->append(credentialRow(item, labels));
                    });
}

// Items that belong to another one by its id and label, under keys of the two.
static CModelReader::Page ownedRows(ItemStore* store, const ItemQuery& query, const QString& ownerKey,
                                    const QStringList& keys)
{
    return readPage(store, query, [&](const QList<qint64>&, const QList<QVariantMap>& items, QList<QVariantMap>* rows) {
        const auto labels = parentLabels(store, query.kind, items);
        const QString key = parentKey(query.kind);
        for (const QVariantMap& item : items) {
            QVariantMap row{{idKey, item.value(idKey)}, {labelKey, item.value(labelKey)}};
            if (!key.isEmpty()) {
                row.insert(key, idOrNothing(item.value(key)));
                row.insert(ownerKey, labels.value(toId(item.value(key))));
            }
            for (const QString& further : keys)
                row.insert(further, item.value(further));
            rows->append(row);
        }
    });
}

CModelReader::Page CModelReader::schedules(const Query& query) const
{
    return ownedRows(&m_model->d->items, itemQuery(KindTimeProfile, anyClass, query), QStringLiteral("calendar"),
                     {slotsKey});
}

CModelReader::Page CModelReader::holidays(const Query& query) const
{
    return ownedRows(&m_model->d->items, itemQuery(KindHoliday, anyClass, query), QStringLiteral("calendar"),
                     {QStringLiteral("date")});
}

CModelReader::Page CModelReader::calendars(const Query& query) const
{
    return ownedRows(&m_model->d->items, itemQuery(KindCalendar, anyClass, query), QString(), {});
}

CModelReader::Page CModelReader::devices(const Query& query) const
{
    return ownedRows(&m_model->d->items, itemQuery(KindDevice, anyClass, query), QStringLiteral("accessPoint"), {});
}

QList<QVariantMap> CModelReader::logins() const
{
    QList<QVariantMap> rows;
    QList<qint64> users;
    const QStringList names = m_model->getLogins();
    for (const QString& name : names) {
        rows.append(m_model->getLogin(name));
        users.append(toId(rows.last().value(userIdKey)));
    }
    const QHash<qint64, QString> labels = m_model->d->items.labels(users);
    for (QVariantMap& row : rows)
        row.insert(QStringLiteral("user"), labels.value(toId(row.value(userIdKey))));
    return rows;
}

QVariantMap CModelReader::counts() const
{
    CDatabase* database = &m_model->d->database;
    QVariantMap result;
    const auto count = [&](const char* name, const char* condition) {
        SqlStatement statement(database, QLatin1String("SELECT count(*) FROM ") + QLatin1String(condition));
        result.insert(QLatin1String(name), statement.exec() && statement.next() ? statement.integer(0) : qint64(0));
    };
    count("users", "item WHERE kind=5 AND class=1");
    count("groups", "item WHERE kind=5 AND class=2");
    count("doors", "item WHERE kind=2");
    count("devices", "item WHERE kind=4");
    count("media", "item WHERE kind=6");
    count("codes", "item WHERE kind=7");
    count("holidays", "item WHERE kind=8");
    count("schedules", "item WHERE kind=10");
    count("rights", "access_right");
    count("logins", "login");
    return result;
}

QList<CItemId> CModelReader::resolve(const QString& collection, int itemClass, const QString& name,
                                     Preference preference) const
{
    const Kind kind = kindOf(collection);
    const int wantedClass = kind == KindUserOrGroup && itemClass != 0 ? itemClass : anyClass;
    ItemStore& items = m_model->d->items;
    const bool isNumber = !name.isEmpty() && std::all_of(name.begin(), name.end(), [](QChar character) {
        return character >= QLatin1Char('0') && character <= QLatin1Char('9');
    });
    const bool isId = isNumber && items.exists(kind, wantedClass, name.toLongLong());
    if (isId && preference == IdFirst)
        return {name.toLongLong()};
    ItemQuery query;
    query.kind = kind;
    query.itemClass = wantedClass;
    query.filter = {{labelKey, name}};
    QList<qint64> ids = items.find(query);
    const auto addOthers = [&](const QString& property, const QVariant& value) {
        const QList<qint64> others = items.idsByValue(kind, property, value);
        for (const qint64 other : others) {
            if (!ids.contains(other))
                ids.append(other);
        }
    };
    QVariant uid = name;
    QString reason;
    if (kind == KindMedium && CheckedValues::check(kind, uidKey, &uid, &reason))
        addOthers(uidKey, uid);
    if (kind == KindCode && !name.isEmpty())
        addOthers(QStringLiteral("description"), name);
    if (ids.isEmpty() && isId)
        return {name.toLongLong()};
    return toItemIds(ids);
}

QStringList CModelReader::labelsThatBegin(const QString& collection, int itemClass, const QString& begin,
                                          int limit) const
{
    // No range of labels: what order they have is the database's business.
    SqlStatement find(&m_model->d->database,
                      QStringLiteral("SELECT DISTINCT label FROM item WHERE kind=? AND (class=? OR ?=0) AND "
                                     "substr(label,1,?)=? AND label<>'' ORDER BY label LIMIT ?"));
    find.bind(int(kindOf(collection))).bind(itemClass).bind(itemClass).bind(int(begin.toUcs4().size())).bind(begin);
    QStringList labels;
    for (find.bind(limit).exec(); find.next();)
        labels.append(find.text(0));
    return labels;
}

QStringList CModelReader::propertyNames(const QString& collection) const
{
    SqlStatement find(&m_model->d->database, QStringLiteral("SELECT name FROM property WHERE kind=? ORDER BY name"));
    QStringList names;
    for (find.bind(int(kindOf(collection))).exec(); find.next();)
        names.append(find.text(0));
    return names;
}

QMap<CItemId, QString> CModelReader::labels(const QList<CItemId>& ids) const
{
    const QHash<qint64, QString> found = m_model->d->items.labels(toNumbers(ids));
    QMap<CItemId, QString> result;
    for (auto entry = found.cbegin(); entry != found.cend(); ++entry)
        result.insert(entry.key(), entry.value());
    return result;
}
