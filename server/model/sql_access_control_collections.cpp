// Collections by their names: read, replaced as a whole, exported and imported; and items of any collection.
#include <foundation/core/json_text.h>
#include <foundation/datatypes/data_type.h>
#include <server/database/sql_statement_p.h>
#include <server/model/sql_access_control_p.h>
#include <server/model/stored_value_p.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTextStream>

#include <algorithm>

using namespace Model;

namespace {

// Of a file that is imported.
constexpr qint64 largestImport = 1024LL * 1024 * 1024;
// Items that are exported at once.
constexpr int exportedAtOnce = 1000;

// First line of an export: what it is, and its version.
const QString exportMark = QStringLiteral("{\"kyr\":\"installation\",\"version\":1}");

} // namespace

// --- A collection as a whole

QVariantList CSqlAccessControl::getModel(const QString& name, const QVariantMap& filter,
                                         const QStringList& fields) const
{
    ItemQuery query;
    query.kind = kindOf(name);
    query.filter = filter;
    QVariantList result;
    if (query.kind == KindUnknown || query.kind == KindSystem)
        return result;
    const auto items = d->items.load(query.kind, d->items.find(query));
    result.reserve(items.size());
    for (const QVariantMap& item : items) {
        if (fields.isEmpty()) {
            result.append(item);
            continue;
        }
        QVariantMap chosen;
        for (const QString& field : fields) {
            const auto value = item.constFind(field);
            if (value != item.constEnd())
                chosen.insert(field, *value);
        }
        result.append(chosen);
    }
    return result;
}

bool CSqlAccessControl::setModel(const QString& name, const QVariantMap& data)
{
    const Kind kind = kindOf(name);
    if (kind == KindHoliday) {
        const QString request = data.value(QStringLiteral("request")).toString();
        const auto requested = [&](const QString& key) { return request == key || data.contains(key); };
        const auto labelIn = [&](const QString& key) {
            return data.value(data.contains(labelKey) ? labelKey : key).toString();
        };
        const auto hasLabel = [&](Kind collection, const QString& label) {
            return !d->items.first(collection, anyClass, {{labelKey, label}}).isEmpty();
        };
        const QString insertCalendar = QStringLiteral("insertCalendar");
        if (requested(QStringLiteral("exists")))
            return hasLabel(KindHoliday, labelIn(QStringLiteral("exists")));
        if (requested(QStringLiteral("existsCalendar")))
            return hasLabel(KindCalendar, labelIn(QStringLiteral("existsCalendar")));
        if (requested(insertCalendar)) {
            const QString label = labelIn(insertCalendar);
            return d->change([&] {
                return (!label.isEmpty() || d->refuse(QStringLiteral("a calendar needs a label")))
                       && d->create(KindCalendar, 0, {{labelKey, label}}) != 0;
            });
        }
    }
    const QVariant replacement = data.value(data.contains(name) ? name : QStringLiteral("data"));
    return d->change([&] {
        if (kind == KindUnknown || kind == KindSystem)
            return d->refuse(QStringLiteral("there is no collection %1").arg(name.left(100)));
        if (replacement.userType() != QMetaType::QVariantList)
            return d->refuse(QStringLiteral("a collection is replaced by a list of maps"));
        return d->replace(kind, replacement.toList());
    });
}

bool CSqlAccessControl::Private::replace(Kind kind, const QVariantList& replacement)
{
    ItemQuery all;
    all.kind = kind;
    const QList<qint64> present = items.find(all);
    QSet<qint64> gone(present.cbegin(), present.cend());
    const QSet<qint64> known = gone;
    QMap<int, qint64> kept;
    qint64 highest = 0;
    {
        SqlStatement statement(&database, dialectOf(&database).lastItemId);
        if (statement.exec() && statement.next())
            highest = statement.integer(0);
    }
    for (int i = 0; i < replacement.size(); ++i) {
        const qint64 id = toId(replacement[i].toMap().value(idKey));
        if (gone.remove(id))
            kept.insert(i, id);
    }
    for (const qint64 id : qAsConst(gone)) {
        // A user's codes may be gone with the user.
        if (items.exists(kind, anyClass, id) && !remove(kind, anyClass, id))
            return false;
    }
    // First all items, then what they hold: members may stand behind their group.
    QMap<int, qint64> ids;
    for (int i = 0; i < replacement.size(); ++i) {
        const QVariantMap item = replacement[i].toMap();
        const int itemClass = item.value(classKey).toInt();
        qint64 id = kept.value(i);
        if (id != 0) {
            touch(kind, id);
            if (!items.eraseValues(id) || !items.setParent(id, 0) || !items.setClass(id, itemClass)
                || !relations.removeAllUsers(id) || !relations.removeAllRights(id)
                || (itemClass != UserClassUser && !relations.removeFromGroups(id)))
                return false;
            record(kind, id, Changed);
        } else {
            // An id that was in use is never given again.
            const qint64 wanted = toId(item.value(idKey));
            id = items.insert(kind, itemClass, QString(), wanted > highest && !known.contains(wanted) ? wanted : 0);
            if (id == 0)
                return false;
            highest = qMax(highest, id);
            record(kind, id, Created);
        }
        ids.insert(i, id);
    }
    for (int i = 0; i < replacement.size(); ++i) {
        const QVariantMap item = replacement[i].toMap();
        if (!fill(kind, item.value(classKey).toInt(), ids.value(i), item))
            return false;
    }
    return true;
}

// --- Items of a collection

CItemId CSqlAccessControl::createItem(const QString& collection, const QVariantMap& properties)
{
    const Kind kind = kindOf(collection);
    qint64 id = 0;
    const bool done = d->change([&] {
        if (kind == KindUnknown || kind == KindSystem)
            return d->refuse(QStringLiteral("there is no collection %1").arg(collection.left(100)));
        int itemClass = properties.value(classKey).toInt();
        if (kind == KindUserOrGroup && itemClass != UserClassGroup)
            itemClass = UserClassUser;
        if (kind == KindAccessPoint && !properties.contains(classKey))
            itemClass = CDataType::AccessPointFunctionSimpleDoor;
        id = d->create(kind, itemClass, properties);
        return id != 0;
    });
    return done ? CItemId(id) : CItemId();
}

bool CSqlAccessControl::deleteItem(const QString& collection, CItemId item)
{
    return d->change([&] {
        const Kind kind = kindOf(collection);
        return kind != KindSystem && kind != KindUnknown ? d->remove(kind, anyClass, item.value())
                                                         : d->refuseUnknown(kind, anyClass, item.value());
    });
}

QVariant CSqlAccessControl::getItemProperty(const QString& collection, const QString& name, CItemId item) const
{
    return d->items.property(kindOf(collection), anyClass, name, item.value());
}

bool CSqlAccessControl::setItemProperty(const QString& collection, const QString& name, const QVariant& value,
                                        CItemId item)
{
    return d->change([&] { return d->set(kindOf(collection), anyClass, name, value, item.value()); });
}

QStringList CSqlAccessControl::getPropertyNames(const QString& collection) const
{
    QStringList names = d->items.propertyNames(kindOf(collection));
    names.removeAll(labelKey);
    return names;
}

QList<CItemId> CSqlAccessControl::findByLabel(const QString& collection, int itemClass, const QString& text, int limit,
                                              qint64* left) const
{
    return toItemIds(
        d->items.findByLabel(kindOf(collection), itemClass == 0 ? anyClass : itemClass, text, limit, left));
}

QString CSqlAccessControl::getCollectionOf(CItemId item) const
{
    return nameOf(d->items.kindOf(item.value()));
}

// --- Export and import: a line of JSON an item, its types kept

void CSqlAccessControl::exportStream(QTextStream* stream, const QString& name, const QVariantMap& parameters,
                                     std::function<void(bool)> callback)
{
    const Kind wanted = kindOf(name);
    const bool isGood = stream != nullptr && (name.isEmpty() || wanted != KindUnknown);
    if (isGood) {
        *stream << exportMark << '\n';
        for (const Kind kind : kinds()) {
            if (!name.isEmpty() && kind != wanted)
                continue;
            ItemQuery query;
            query.kind = kind;
            query.filter = parameters;
            const QList<qint64> ids = d->items.find(query);
            for (int from = 0; from < ids.size(); from += exportedAtOnce) {
                const auto items = d->items.load(kind, ids.mid(from, exportedAtOnce));
                for (const QVariantMap& item : items)
                    *stream << "{\"collection\":\"" << nameOf(kind) << "\",\"item\":" << StoredValues::mapToText(item)
                            << "}\n";
            }
        }
        stream->flush();
    }
    if (callback)
        callback(isGood && stream->status() == QTextStream::Ok);
}

bool CSqlAccessControl::importData(const QString& path)
{
    return d->change([&] {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return d->refuse(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
        if (file.size() > largestImport)
            return d->refuse(QStringLiteral("%1 is too large").arg(path));
        if (QString::fromUtf8(file.readLine(1000)).trimmed() != exportMark)
            return d->refuse(QStringLiteral("%1 is not an export of an installation").arg(path));
        QMap<QString, QVariantList> collections;
        for (int number = 2; !file.atEnd(); ++number) {
            const QByteArray line = file.readLine();
            if (line.trimmed().isEmpty())
                continue;
            QJsonParseError fault{};
            const QJsonObject entry = CJsonText::read(line, &fault).object();
            const QString collection = entry.value(QLatin1String("collection")).toString();
            if (fault.error != QJsonParseError::NoError || kindOf(collection) == KindUnknown)
                return d->refuse(QStringLiteral("%1: line %2 is not an item").arg(path).arg(number));
            collections[collection].append(StoredValues::mapFromJson(entry.value(QLatin1String("item")).toObject()));
        }
        return d->import(collections);
    });
}

bool CSqlAccessControl::Private::import(const QMap<QString, QVariantList>& collections)
{
    struct Entry
    {
        qint64 wanted;
        Kind kind;
        QVariantMap item;
        qint64 id;
    };
    QList<Entry> entries;
    for (auto collection = collections.cbegin(); collection != collections.cend(); ++collection) {
        const Kind kind = Model::kindOf(collection.key());
        if (kind == KindUnknown)
            return refuse(QStringLiteral("there is no collection %1").arg(collection.key().left(100)));
        for (const QVariant& item : *collection)
            entries.append({toId(item.toMap().value(idKey)), kind, item.toMap(), 0});
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.wanted < b.wanted; });
    // In an empty installation they keep their ids; elsewhere they get new ones, and what refers to them follows.
    bool isEmpty = true;
    for (const Kind kind : kinds()) {
        ItemQuery any;
        any.kind = kind;
        any.limit = 1;
        isEmpty = isEmpty && items.find(any).isEmpty();
    }
    QHash<qint64, qint64> idOf;
    for (Entry& entry : entries) {
        const bool keep = isEmpty && entry.wanted > 0 && !idOf.contains(entry.wanted);
        entry.id = items.insert(entry.kind, entry.item.value(classKey).toInt(), QString(), keep ? entry.wanted : 0);
        if (entry.id == 0)
            return refuse(database.errorString());
        idOf.insert(entry.wanted, entry.id);
        record(entry.kind, entry.id, Created);
    }
    const auto follow = [&](QVariantMap* map, const QString& key) {
        const qint64 id = toId(map->value(key));
        if (id != 0)
            map->insert(key, idOf.value(id, id));
    };
    // Relations last: all items are there then.
    for (Entry& entry : entries) {
        follow(&entry.item, parentKey(entry.kind));
        if (entry.kind == KindUserOrGroup) {
            CItemIdList members;
            const QList<qint64> named = toIds(entry.item.value(membersKey));
            for (const qint64 member : named)
                members.append(idOf.value(member, member));
            QVariantList rights;
            const QVariantList given = entry.item.value(rightsKey).toList();
            for (const QVariant& element : given) {
                QVariantMap right = element.toMap();
                follow(&right, accessPointIdKey);
                follow(&right, timeProfileIdKey);
                rights.append(right);
            }
            entry.item.insert(membersKey, QVariant::fromValue(members));
            entry.item.insert(rightsKey, rights);
        }
        if (entry.item.value(classKey).toInt() != UserClassGroup)
            entry.item.remove(membersKey);
        if (!fill(entry.kind, entry.item.value(classKey).toInt(), entry.id, entry.item))
            return false;
    }
    return true;
}
