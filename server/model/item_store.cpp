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

const QString ofProperty = QStringLiteral("property=(SELECT id FROM property WHERE kind=? AND name=?)");

// Whether a text is the decimal form of the number, and nothing else.
bool isNumber(const QString& text, qint64* number)
{
    bool good = false;
    *number = text.toLongLong(&good);
    return good && QString::number(*number) == text;
}

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

// The part behind FROM. `exact` becomes false when the rows that it finds are to be looked at once more.
QString ItemStore::condition(const ItemQuery& query, QVariantList* values, bool* exact) const
{
    *exact = true;
    const QString key = parentKey(query.kind);
    QString from = QStringLiteral("item i WHERE i.kind=?");
    QString byItem;
    QString byValue;
    QVariantList itemValues;
    QVariantList valueValues;
    QString driving;
    QVariantList drivingValues;
    // Few items have the same label or belong to the same one: then these lead. A "+" keeps other columns from leading.
    const bool isLedByItem = query.filter.contains(idKey) || query.filter.contains(labelKey)
                             || (!key.isEmpty() && toId(query.filter.value(key)) != 0);
    const QLatin1String plus(isLedByItem ? "+" : "");
    for (auto entry = query.filter.cbegin(); entry != query.filter.cend(); ++entry) {
        const QString& name = entry.key();
        const QString text = canonicalText(entry.value());
        qint64 number = 0;
        if (name == idKey || name == classKey || (!key.isEmpty() && name == key)) {
            const bool isNumeric = isNumber(text, &number);
            if (name == idKey)
                byItem += QLatin1String(" AND i.id=?");
            else if (name == classKey)
                byItem += QLatin1String(" AND ") + plus + QLatin1String("i.class=?");
            else
                byItem += number != 0 ? QLatin1String(" AND i.parent=?") : QLatin1String(" AND COALESCE(i.parent,0)=?");
            if (!isNumeric)
                byItem += QLatin1String(" AND 1=0");
            itemValues.append(number);
        } else if (name == labelKey) {
            byItem += QLatin1String(" AND i.label=?");
            itemValues.append(StoredValues::lookUpText(text));
        } else if (name == locationKey || isRelation(name)) {
            *exact = false;
        } else if (text.isEmpty()) {
            byValue += QStringLiteral(" AND NOT EXISTS(SELECT 1 FROM property_value v WHERE v.item=i.id AND v.%1 AND "
                                      "v.value<>'')")
                           .arg(ofProperty);
            valueValues << int(query.kind) << name;
        } else if (driving.isEmpty() && !isLedByItem) {
            // The index of values leads; it has the ids in their order.
            driving = QStringLiteral("property_value w %2 item i ON i.id=w.item WHERE w.%1 AND w.value=? AND "
                                     "w.item>? AND i.kind=?")
                          .arg(ofProperty, dialectOf(m_database).leadingJoin);
            drivingValues << int(query.kind) << name << StoredValues::lookUpText(text) << query.after;
        } else {
            byValue += QStringLiteral(" AND EXISTS(SELECT 1 FROM property_value v WHERE v.item=i.id AND v.%1 AND "
                                      "v.value=?)")
                           .arg(ofProperty);
            valueValues << int(query.kind) << name << StoredValues::lookUpText(text);
        }
    }
    for (auto entry = query.unlike.cbegin(); entry != query.unlike.cend(); ++entry) {
        byValue +=
            QStringLiteral(" AND NOT EXISTS(SELECT 1 FROM property_value v WHERE v.item=i.id AND v.%1 AND v.value=?)")
                .arg(ofProperty);
        valueValues << int(query.kind) << entry.key() << StoredValues::lookUpText(canonicalText(*entry));
    }
    if (!driving.isEmpty())
        from = driving;
    *values << drivingValues << int(query.kind);
    if (query.itemClass != anyClass) {
        from += QLatin1String(" AND ") + plus + QLatin1String("i.class=?");
        *values << query.itemClass;
    }
    from += QLatin1String(" AND ") + plus + QLatin1String("i.id>?");
    *values << query.after;
    if (!query.among.isEmpty()) {
        const IdList among(m_database, query.among);
        from += QLatin1String(" AND i.id IN ") + among.sql();
        *values << among.value();
    }
    *values << itemValues << valueValues;
    return from + byItem + byValue;
}

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
    QVariantList values;
    bool exact = true;
    const QString from = condition(query, &values, &exact);
    QList<qint64> ids;
    if (query.limit == 0)
        return ids;
    {
        const bool byValue = from.startsWith(QLatin1String("property_value"));
        QString sql = (byValue ? QLatin1String("SELECT w.item FROM ") : QLatin1String("SELECT i.id FROM ")) + from
                      + (byValue ? QLatin1String(" ORDER BY w.item") : QLatin1String(" ORDER BY i.id"));
        if (exact && query.limit > 0) {
            sql += QLatin1String(" LIMIT ?");
            values << query.limit;
        }
        SqlStatement statement(m_database, sql);
        for (const QVariant& value : qAsConst(values))
            statement.bind(value);
        for (statement.exec(); statement.next();)
            ids.append(statement.integer(0));
    }
    if (exact)
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
    QVariantList values;
    bool exact = true;
    ItemQuery all = query;
    all.limit = -1;
    const QString from = condition(all, &values, &exact);
    if (!exact)
        return find(all).size();
    SqlStatement statement(m_database, QLatin1String("SELECT count(*) FROM ") + from);
    for (const QVariant& value : qAsConst(values))
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
                               .arg(ofProperty));
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
        SqlStatement statement(m_database, QStringLiteral("DELETE FROM property_value WHERE item=? AND ") + ofProperty);
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
                                               .arg(ofProperty, ofClass));
        statement.bind(int(kind)).bind(name);
        if (itemClass != anyClass)
            statement.bind(itemClass);
        for (statement.exec(); statement.next();)
            had->append(statement.integer(0));
    }
    {
        const IdList list(m_database, *had);
        SqlStatement statement(m_database, QLatin1String("DELETE FROM property_value WHERE ") + ofProperty
                                               + QLatin1String(" AND item IN ") + list.sql());
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
