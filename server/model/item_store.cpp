#include <server/model/item_store_p.h>

#include <foundation/core/canonical_text.h>
#include <foundation/datatypes/data_type.h>
#include <server/database/id_list_p.h>
#include <server/database/sql_statement_p.h>
#include <server/model/relation_store_p.h>
#include <server/model/stored_value_p.h>

using namespace Model;

namespace {

// Items that are read together.
constexpr int chunkSize = 1000;

} // namespace

ItemStore::ItemStore(CDatabase* database)
    : m_database(database)
{
}

void ItemStore::forget()
{
    m_ids.clear();
}

// --- Finding

bool ItemStore::matches(const QVariantMap& item, const QVariantMap& filter) const
{
    for (auto entry = filter.cbegin(); entry != filter.cend(); ++entry) {
        if (canonicalText(item.value(entry.key())) != canonicalText(entry.value()))
            return false;
    }
    return true;
}

QList<qint64> ItemStore::find(const ItemQuery& query)
{
    QList<qint64> ids;
    if (query.limit == 0)
        return ids;
    const ItemCondition condition(m_database, query);
    {
        QString sql = QLatin1String("SELECT ") + condition.id + QLatin1String(" FROM ") + condition.from
                      + QLatin1String(" ORDER BY ") + condition.id;
        const bool isLimited = condition.isExact && query.limit > 0;
        if (isLimited)
            sql += QLatin1String(" LIMIT ?");
        SqlStatement statement(m_database, sql);
        for (const QVariant& value : condition.values)
            statement.bind(value);
        if (isLimited)
            statement.bind(query.limit);
        for (statement.exec(); statement.next();)
            ids.append(statement.integer(0));
    }
    if (condition.isExact)
        return ids;
    QList<qint64> matching;
    const auto items = load(query.kind, ids);
    for (const QVariantMap& item : items) {
        if (query.limit >= 0 && matching.size() == query.limit)
            break;
        if (matches(item, query.filter))
            matching.append(toId(item.value(idKey)));
    }
    return matching;
}

qint64 ItemStore::count(const ItemQuery& query)
{
    ItemQuery all = query;
    all.limit = -1;
    const ItemCondition condition(m_database, all);
    if (!condition.isExact)
        return find(all).size();
    SqlStatement statement(m_database, QLatin1String("SELECT count(*) FROM ") + condition.from);
    for (const QVariant& value : condition.values)
        statement.bind(value);
    return statement.exec() && statement.next() ? statement.integer(0) : -1;
}

QVariantMap ItemStore::first(Kind kind, int itemClass, const QVariantMap& filter)
{
    ItemQuery query;
    query.kind = kind;
    query.itemClass = itemClass;
    query.filter = filter;
    query.limit = 1;
    const QList<qint64> ids = find(query);
    return ids.isEmpty() ? QVariantMap() : load(kind, ids).value(0);
}

// --- Reading

const QString& ItemStore::nameOf(qint64 property)
{
    // The name of a number never changes, and a number is never given twice.
    auto known = m_names.find(property);
    if (known == m_names.end()) {
        SqlStatement statement(m_database, QStringLiteral("SELECT name FROM property WHERE id=?"));
        const bool found = statement.bind(property).exec() && statement.next();
        known = m_names.insert(property, found ? statement.text(0) : QString());
    }
    return *known;
}

QList<QVariantMap> ItemStore::load(Kind kind, const QList<qint64>& ids)
{
    QList<QVariantMap> items;
    items.reserve(ids.size());
    for (int from = 0; from < ids.size(); from += chunkSize)
        loadChunk(kind, IdList(m_database, ids, from, chunkSize), &items);
    return items;
}

void ItemStore::loadChunk(Kind kind, const IdList& ids, QList<QVariantMap>* items)
{
    QHash<qint64, int> places;
    const QString key = parentKey(kind);
    {
        SqlStatement statement(m_database, QLatin1String("SELECT id,class,label,parent FROM item WHERE id IN ")
                                               + ids.sql() + QLatin1String(" ORDER BY id"));
        for (statement.bind(ids.value()).exec(); statement.next();) {
            QVariantMap item{
                {idKey, statement.integer(0)}, {classKey, int(statement.integer(1))}, {labelKey, statement.text(2)}};
            if (!key.isEmpty())
                item.insert(key, statement.integer(3));
            places.insert(statement.integer(0), items->size());
            items->append(item);
        }
    }
    {
        SqlStatement statement(m_database,
                               QLatin1String("SELECT item,property,type,value,data FROM property_value WHERE item IN ")
                                   + ids.sql() + QLatin1String(" ORDER BY item"));
        for (statement.bind(ids.value()).exec(); statement.next();) {
            const auto place = places.constFind(statement.integer(0));
            if (place == places.constEnd())
                continue;
            const QByteArray data = statement.isNull(4) ? QByteArray() : statement.bytes(4);
            (*items)[*place].insert(nameOf(statement.integer(1)),
                                    StoredValues::decode(int(statement.integer(2)), statement.text(3), data));
        }
    }
    if (kind == KindAccessPoint) {
        for (const int place : qAsConst(places))
            (*items)[place].insert(locationKey, locationOf(items->at(place)));
    }
    if (kind == KindUserOrGroup)
        RelationStore(m_database).addRelations(ids, places, items);
}

QVariant ItemStore::property(Kind kind, int itemClass, const QString& name, qint64 id)
{
    const QString key = parentKey(kind);
    if (name == idKey || name == classKey || name == labelKey || (!key.isEmpty() && name == key) || name == locationKey
        || (isRelation(name) && kind == KindUserOrGroup)) {
        if (!exists(kind, itemClass, id))
            return QVariant();
        return load(kind, {id}).value(0).value(name);
    }
    SqlStatement statement(m_database,
                           QStringLiteral("SELECT v.type,v.value,v.data,i.class FROM property_value v JOIN item i ON "
                                          "i.id=v.item WHERE v.item=? AND v.%1")
                               .arg(ItemCondition::ofProperty));
    if (!statement.bind(id).bind(int(kind)).bind(name).exec() || !statement.next()
        || (itemClass != anyClass && statement.integer(3) != itemClass))
        return QVariant();
    return StoredValues::decode(int(statement.integer(0)), statement.text(1),
                                statement.isNull(2) ? QByteArray() : statement.bytes(2));
}

bool ItemStore::exists(Kind kind, int itemClass, qint64 id)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT kind,class FROM item WHERE id=?"));
    return statement.bind(id).exec() && statement.next() && statement.integer(0) == kind
           && (itemClass == anyClass || statement.integer(1) == itemClass);
}

bool ItemStore::haveAll(Kind kind, int itemClass, const QList<qint64>& ids)
{
    if (ids.size() == 1)
        return exists(kind, itemClass, ids.first());
    const QSet<qint64> distinct(ids.cbegin(), ids.cend());
    qint64 found = 0;
    const IdList list(m_database, distinct.values());
    SqlStatement statement(m_database, QLatin1String("SELECT class FROM item WHERE kind=? AND id IN ") + list.sql());
    for (statement.bind(int(kind)).bind(list.value()).exec(); statement.next();)
        found += itemClass == anyClass || statement.integer(0) == itemClass;
    return found == distinct.size();
}

Kind ItemStore::kindOf(qint64 id)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT kind FROM item WHERE id=?"));
    return statement.bind(id).exec() && statement.next() ? Kind(statement.integer(0)) : KindUnknown;
}

int ItemStore::classOf(qint64 id)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT class FROM item WHERE id=?"));
    return statement.bind(id).exec() && statement.next() ? int(statement.integer(0)) : 0;
}

QHash<qint64, QString> ItemStore::labels(const QList<qint64>& ids)
{
    QHash<qint64, QString> result;
    const IdList list(m_database, QSet<qint64>(ids.cbegin(), ids.cend()).values());
    {
        SqlStatement statement(m_database, QLatin1String("SELECT id,label FROM item WHERE id IN ") + list.sql());
        for (statement.bind(list.value()).exec(); statement.next();)
            result.insert(statement.integer(0), statement.text(1));
    }
    // Those that the column does not hold whole.
    SqlStatement statement(m_database,
                           QLatin1String("SELECT item,value,data FROM property_value WHERE property IN (SELECT id FROM "
                                         "property WHERE name='label') AND item IN ")
                               + list.sql());
    for (statement.bind(list.value()).exec(); statement.next();)
        result.insert(statement.integer(0),
                      StoredValues::decode(StoredValues::Text, statement.text(1),
                                           statement.isNull(2) ? QByteArray() : statement.bytes(2))
                          .toString());
    return result;
}

QList<qint64> ItemStore::idsByParent(Kind kind, qint64 parent)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT id FROM item WHERE parent=? AND kind=? ORDER BY id"));
    QList<qint64> ids;
    for (statement.bind(parent).bind(int(kind)).exec(); statement.next();)
        ids.append(statement.integer(0));
    return ids;
}

QList<qint64> ItemStore::findByLabel(Kind kind, int itemClass, const QString& text, int limit, qint64* left)
{
    QString pattern = text;
    for (const char special : {'\\', '%', '_'})
        pattern.replace(QLatin1Char(special), QLatin1Char('\\') + QString(QLatin1Char(special)));
    QString where =
        QStringLiteral(" FROM item WHERE kind=%1 AND lower(label) LIKE lower(?) ESCAPE '\\'").arg(int(kind));
    if (itemClass != anyClass)
        where += QStringLiteral(" AND class=%1").arg(itemClass);
    pattern = QLatin1Char('%') + pattern + QLatin1Char('%');
    SqlStatement statement(m_database, QStringLiteral("SELECT id%1 ORDER BY id LIMIT ?").arg(where));
    QList<qint64> ids;
    for (statement.bind(pattern).bind(limit).exec(); statement.next();)
        ids.append(statement.integer(0));
    *left = 0;
    if (ids.size() < limit)
        return ids;
    SqlStatement count(m_database, QStringLiteral("SELECT COUNT(*)") + where);
    if (count.bind(pattern).exec() && count.next())
        *left = count.integer(0) - limit;
    return ids;
}

QList<qint64> ItemStore::idsByValue(Kind kind, const QString& name, const QVariant& value)
{
    ItemQuery query;
    query.kind = kind;
    query.filter = {{name, value}};
    return find(query);
}

QStringList ItemStore::propertyNames(Kind kind)
{
    SqlStatement statement(m_database, QStringLiteral("SELECT name FROM property WHERE kind=? ORDER BY name"));
    QStringList names;
    for (statement.bind(int(kind)).exec(); statement.next();)
        names.append(statement.text(0));
    return names;
}

// --- Changing

qint64 ItemStore::propertyId(Kind kind, const QString& name)
{
    const auto key = qMakePair(int(kind), name);
    const auto known = m_ids.constFind(key);
    if (known != m_ids.constEnd())
        return *known;
    {
        SqlStatement statement(m_database, QStringLiteral("SELECT id FROM property WHERE kind=? AND name=?"));
        if (statement.bind(int(kind)).bind(name).exec() && statement.next())
            return *m_ids.insert(key, statement.integer(0));
    }
    SqlStatement statement(m_database, QStringLiteral("INSERT INTO property(kind,name) VALUES(?,?) RETURNING id"));
    return statement.bind(int(kind)).bind(name).exec() && statement.next() ? *m_ids.insert(key, statement.integer(0))
                                                                           : 0;
}

qint64 ItemStore::insert(Kind kind, int itemClass, const QString& label, qint64 id)
{
    const QString lookUp = StoredValues::lookUpText(label);
    qint64 made = 0;
    {
        SqlStatement statement(m_database,
                               QStringLiteral("INSERT INTO item(id,kind,class,label) VALUES(?,?,?,?) RETURNING id"));
        statement.bind(id > 0 ? QVariant(id) : QVariant()).bind(int(kind)).bind(itemClass).bind(lookUp);
        if (!statement.exec() || !statement.next())
            return 0;
        made = statement.integer(0);
    }
    if (label.isEmpty())
        return setLabel(kind, made, wordOf(kind, itemClass) + QLatin1Char(' ') + QString::number(made)) ? made : 0;
    return lookUp == label || setValue(kind, made, labelKey, label) ? made : 0;
}

bool ItemStore::erase(qint64 id)
{
    SqlStatement statement(m_database, QStringLiteral("DELETE FROM item WHERE id=?"));
    return statement.bind(id).exec() && statement.changed() > 0;
}

bool ItemStore::setLabel(Kind kind, qint64 id, const QString& label)
{
    const QString lookUp = StoredValues::lookUpText(label);
    {
        SqlStatement statement(m_database, QStringLiteral("UPDATE item SET label=? WHERE id=?"));
        if (!statement.bind(lookUp).bind(id).exec())
            return false;
    }
    // What the column does not hold stands among the properties; it is read after the column, and so wins.
    return setValue(kind, id, labelKey, lookUp == label ? QVariant() : QVariant(label));
}

bool ItemStore::setClass(qint64 id, int itemClass)
{
    SqlStatement statement(m_database, QStringLiteral("UPDATE item SET class=? WHERE id=?"));
    return statement.bind(itemClass).bind(id).exec();
}

bool ItemStore::setParent(qint64 id, qint64 parent)
{
    SqlStatement statement(m_database, QStringLiteral("UPDATE item SET parent=? WHERE id=?"));
    return statement.bind(parent > 0 ? QVariant(parent) : QVariant()).bind(id).exec();
}

bool ItemStore::setValue(Kind kind, qint64 id, const QString& name, const QVariant& value)
{
    if (!value.isValid()) {
        SqlStatement statement(m_database, QStringLiteral("DELETE FROM property_value WHERE item=? AND ")
                                               + ItemCondition::ofProperty);
        return statement.bind(id).bind(int(kind)).bind(name).exec();
    }
    StoredValue stored;
    const qint64 property = propertyId(kind, name);
    if (property == 0 || !StoredValues::encode(value, &stored))
        return false;
    SqlStatement statement(m_database, QStringLiteral("INSERT INTO property_value(item,property,type,value,data) "
                                                      "VALUES(?,?,?,?,?) ON CONFLICT(item,property) DO UPDATE SET "
                                                      "type=excluded.type,value=excluded.value,data=excluded.data"));
    return statement.bind(id).bind(property).bind(stored.type).bind(stored.value).bind(QVariant(stored.data)).exec();
}

bool ItemStore::eraseValues(qint64 id)
{
    SqlStatement statement(m_database, QStringLiteral("DELETE FROM property_value WHERE item=?"));
    return statement.bind(id).exec();
}

bool ItemStore::eraseProperty(Kind kind, int itemClass, const QString& name, QList<qint64>* had)
{
    const QString ofClass = itemClass == anyClass ? QString() : QStringLiteral(" AND i.class=?");
    {
        SqlStatement statement(m_database, QStringLiteral("SELECT v.item FROM property_value v JOIN item i ON "
                                                          "i.id=v.item WHERE v.%1%2 ORDER BY v.item")
                                               .arg(ItemCondition::ofProperty, ofClass));
        statement.bind(int(kind)).bind(name);
        if (itemClass != anyClass)
            statement.bind(itemClass);
        for (statement.exec(); statement.next();)
            had->append(statement.integer(0));
    }
    {
        const IdList list(m_database, *had);
        SqlStatement statement(m_database, QLatin1String("DELETE FROM property_value WHERE ")
                                               + ItemCondition::ofProperty + QLatin1String(" AND item IN ")
                                               + list.sql());
        if (!statement.bind(int(kind)).bind(name).bind(list.value()).exec())
            return false;
    }
    // The definition goes with its last value: users and groups share theirs.
    SqlStatement statement(m_database,
                           QStringLiteral("DELETE FROM property WHERE kind=? AND name=? AND NOT EXISTS(SELECT 1 FROM "
                                          "property_value v WHERE v.property=property.id)"));
    m_ids.remove(qMakePair(int(kind), name));
    return statement.bind(int(kind)).bind(name).exec() && !had->isEmpty();
}
