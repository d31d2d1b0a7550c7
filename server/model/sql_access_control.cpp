#include <server/model/sql_access_control.h>

#include <foundation/core/random.h>
#include <foundation/services/access_control_mock.h>
#include <server/database/sql_statement_p.h>
#include <server/model/checked_value_p.h>
#include <server/model/login_store_p.h>
#include <server/model/sql_access_control_p.h>

#include <foundation/datatypes/data_type.h>

#include <QtCore/QDateTime>

#include <algorithm>

using namespace Model;

namespace {

// Of one kind in one transaction; more are told of as "many".
constexpr int mostNamedChanges = 1000;
// Changes that others may still want to hear of.
constexpr int keptChanges = 100000;

} // namespace

// --- The frame around a change

bool CSqlAccessControl::Private::refuse(const QString& reason)
{
    if (error.isEmpty())
        error = reason;
    return false;
}

bool CSqlAccessControl::Private::refuseUnknown(Kind kind, int itemClass, qint64 id)
{
    return refuse(QStringLiteral("there is no %1 %2").arg(wordOf(kind, itemClass).toLower()).arg(id));
}

bool CSqlAccessControl::Private::beginChange()
{
    if (database.depth() == 0) {
        error.clear();
        items.forget();
    }
    return database.begin() || refuse(database.depth() > 1 ? error : database.errorString());
}

bool CSqlAccessControl::Private::endChange(bool good)
{
    const bool isOutermost = database.depth() == 1;
    if (!good && error.isEmpty())
        refuse(database.hasFailed() ? database.errorString() : QStringLiteral("the change was refused"));
    if (isOutermost && good && !database.hasFailed())
        good = tellRecorder();
    if (isOutermost && good && !database.hasFailed() && !changes.isEmpty()) {
        SqlStatement statement(&database,
                               QStringLiteral("INSERT INTO change(at,server,kind,item,what) VALUES(?,?,?,?,?)"));
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        QMap<int, int> counts;
        for (const auto& [item, what] : qAsConst(changes))
            ++counts[item.first];
        QSet<int> collective;
        for (const auto& [item, what] : qAsConst(changes)) {
            const bool isNamed = counts.value(item.first) <= mostNamedChanges;
            if (!isNamed && collective.contains(item.first))
                continue;
            collective.insert(item.first);
            good = good
                   && statement.bind(now)
                          .bind(server)
                          .bind(item.first)
                          .bind(isNamed ? item.second : qint64(0))
                          .bind(isNamed ? what : int(Changed))
                          .exec();
        }
        const qint64 last = good ? lastChange() : 0;
        if (last % 1000 < counts.size())
            SqlStatement(&database, QStringLiteral("DELETE FROM change WHERE seq<=?")).bind(last - keptChanges).exec();
    }
    const bool done = database.end(good);
    if (!isOutermost)
        return done;
    items.forget();
    const bool told = std::exchange(areLoginsChanged, false);
    changes.clear();
    images.clear();
    furtherChanges.clear();
    if (!done) {
        if (error.isEmpty())
            error = database.errorString();
        return false;
    }
    QPointer<CSqlAccessControl> guard(q);
    announce();
    if (guard && told)
        Q_EMIT guard->loginsChanged();
    return true;
}

void CSqlAccessControl::Private::record(Kind kind, qint64 id, Change what)
{
    changes.append({{int(kind), id}, int(what)});
}

void CSqlAccessControl::Private::touch(Kind kind, qint64 id)
{
    if (recorder)
        images.keep(items, kind, id);
}

void CSqlAccessControl::Private::noteLogin(const QString& name, const QString& what)
{
    if (recorder) {
        const CItemId owner(LoginStore(&database).find(name).user);
        furtherChanges.append({QStringLiteral("Logins"), {}, what, name, {}, {}, owner});
    }
}

bool CSqlAccessControl::Private::tellRecorder()
{
    if (!recorder)
        return true;
    const QVector<CModelChange> all = images.differences(items, changes) + furtherChanges;
    return all.isEmpty() || recorder->record(all, loggedIn)
           || refuse(QStringLiteral("the change could not be recorded: ") + database.errorString());
}

qint64 CSqlAccessControl::Private::lastChange()
{
    SqlStatement statement(&database, QStringLiteral("SELECT max(seq) FROM change"));
    return statement.exec() && statement.next() ? statement.integer(0) : 0;
}

void CSqlAccessControl::Private::announce()
{
    QVariantMap data;
    qint64 last = toldChange;
    {
        SqlStatement statement(&database, QStringLiteral("SELECT seq,kind,item FROM change WHERE seq>? ORDER BY seq"));
        QHash<int, QSet<qint64>> told;
        QSet<int> many;
        QMap<int, QVariantList> named;
        for (statement.bind(toldChange).exec(); statement.next();) {
            last = statement.integer(0);
            const int kind = int(statement.integer(1));
            const qint64 item = statement.integer(2);
            if (item == 0)
                many.insert(kind);
            else if (told[kind].contains(item))
                continue;
            told[kind].insert(item);
            named[kind].append(QVariantMap{{idKey, item}});
        }
        for (auto entry = named.cbegin(); entry != named.cend(); ++entry)
            data.insert(nameOf(Kind(entry.key())),
                        many.contains(entry.key()) || entry->size() > mostNamedChanges ? QVariantList() : *entry);
    }
    toldChange = last;
    if (!data.isEmpty())
        Q_EMIT q->notify(QStringLiteral("Model"),
                         {{QStringLiteral("event"), QStringLiteral("changed")},
                          {QStringLiteral("data"), data},
                          {QStringLiteral("seq"), last}},
                         QString());
}

void CSqlAccessControl::beginTransaction(const QString& name)
{
    d->transactions.append(name);
    d->beginChange();
}

void CSqlAccessControl::endTransaction()
{
    if (d->transactions.isEmpty()) {
        qWarning("SqlAccessControl: end of a transaction that was not begun");
        return;
    }
    const QString name = d->transactions.takeLast();
    const bool isOutermost = d->database.depth() == 1;
    QPointer<CSqlAccessControl> guard(this);
    if (d->endChange(!d->database.hasFailed()) || !isOutermost || !guard)
        return;
    qWarning("SqlAccessControl: transaction %s was undone: %s", qUtf8Printable(name), qUtf8Printable(d->error));
    Q_EMIT transactionFailed(name, d->error);
}

// --- Opening

CSqlAccessControl::CSqlAccessControl(QObject* parent)
    : ISimpleAccessControl(parent)
    , d(std::make_unique<Private>(this))
{
    d->server = QString::fromLatin1(CRandom::getArray(4).toHex());
    connect(&d->database, &CDatabase::changedByOthers, this, [this] { d->announce(); });
}

CSqlAccessControl::~CSqlAccessControl() = default;

bool CSqlAccessControl::open(const QString& location)
{
    d->error.clear();
    d->transactions.clear();
    d->changes.clear();
    if (!d->database.open(location))
        return d->refuse(d->database.errorString());
    if (d->database.backend() == QLatin1String("memory")) {
        const CAccessControlMock demonstration;
        QMap<QString, QVariantList> collections;
        for (const Kind kind : kinds()) {
            const auto found = demonstration.getMockObjectsForName(nameOf(kind));
            for (const QVariantMap& item : found)
                collections[nameOf(kind)].append(item);
        }
        if (!d->change([&] { return d->import(collections); }))
            return false;
    }
    d->toldChange = d->lastChange();
    return true;
}

void CSqlAccessControl::setServerName(const QString& name)
{
    d->server = name;
}

void CSqlAccessControl::setRecorder(IModelRecorder* recorder)
{
    d->recorder = recorder;
}

CDatabase* CSqlAccessControl::database() const
{
    return &d->database;
}

QString CSqlAccessControl::errorString() const
{
    return d->error;
}

// --- Items, within a transaction

bool CSqlAccessControl::Private::isUnique(Kind kind, const QString& name, const QVariant& value, qint64 id)
{
    const QList<qint64> same = items.idsByValue(kind, name, value);
    if (same.isEmpty() || same == QList<qint64>{id})
        return true;
    // A code is not repeated in a message: who reads it need not know it.
    return refuse(kind == KindCode ? QStringLiteral("this code is in use already")
                                   : QStringLiteral("%1 already belongs to %2 %3")
                                         .arg(name, wordOf(kind, anyClass).toLower())
                                         .arg(same.first()));
}

bool CSqlAccessControl::Private::setParent(Kind kind, qint64 id, qint64 parent)
{
    if (parent != 0 && !items.exists(parentKind(kind), anyClass, parent))
        return refuseUnknown(parentKind(kind), anyClass, parent);
    touch(kind, id);
    return items.setParent(id, parent);
}

bool CSqlAccessControl::Private::set(Kind kind, int itemClass, const QString& name, const QVariant& value, qint64 id)
{
    if (!items.exists(kind, itemClass, id))
        return refuseUnknown(kind, itemClass, id);
    touch(kind, id);
    if (!put(kind, name, value, id))
        return false;
    record(kind, id, Changed);
    return true;
}

bool CSqlAccessControl::Private::put(Kind kind, const QString& name, const QVariant& value, qint64 id)
{
    QString reason;
    QVariant checked = value.userType() == qMetaTypeId<CItemId>() ? QVariant(toId(value)) : value;
    const QString key = parentKey(kind);
    if (!key.isEmpty() && name == key)
        return setParent(kind, id, toId(value));
    if (!CheckedValues::check(kind, name, &checked, &reason))
        return refuse(reason);
    if (name == labelKey) {
        return isLabelFree(kind, checked, id) && items.setLabel(kind, id, checked.toString());
    }
    const bool isSingle = (kind == KindMedium && name == uidKey) || (kind == KindCode && name == codeKey);
    if (isSingle && checked.isValid() && !isUnique(kind, name, checked, id))
        return false;
    return items.setValue(kind, id, name, checked)
           || refuse(database.hasFailed() ? database.errorString()
                                          : QString(name + QLatin1String(": is nested too deep")));
}

qint64 CSqlAccessControl::Private::create(Kind kind, int itemClass, const QVariantMap& properties, qint64 id)
{
    QString reason;
    QVariant label = properties.value(labelKey);
    const bool isNamed = !label.toString().isEmpty();
    if ((isNamed && !CheckedValues::check(kind, labelKey, &label, &reason)) || !isLabelFree(kind, label, 0)) {
        refuse(reason);
        return 0;
    }
    const qint64 made = items.insert(kind, itemClass, isNamed ? label.toString() : QString(), id);
    if (made == 0) {
        refuse(database.errorString());
        return 0;
    }
    QVariantMap further = properties;
    further.remove(labelKey);
    if (!fill(kind, itemClass, made, further))
        return 0;
    record(kind, made, Created);
    return made;
}

bool CSqlAccessControl::Private::isLabelFree(Kind kind, const QVariant& label, qint64 id)
{
    // Those that are told apart by their names.
    return (kind != KindTimeProfile && kind != KindCalendar) || isUnique(kind, labelKey, label, id);
}

bool CSqlAccessControl::Private::fill(Kind kind, int itemClass, qint64 id, const QVariantMap& properties)
{
    const bool isGroup = kind == KindUserOrGroup && itemClass == UserClassGroup;
    for (auto entry = properties.cbegin(); entry != properties.cend(); ++entry) {
        const QString& name = entry.key();
        if (isFixed(name) || !entry->isValid() || (name == labelKey && entry->toString().isEmpty()))
            continue;
        bool good = false;
        if (name == membersKey && isGroup)
            good = setMembers(id, toIds(*entry));
        else if (name == rightsKey && kind == KindUserOrGroup)
            good = setRights(id, entry->toList());
        else
            good = put(kind, name, *entry, id);
        if (!good)
            return false;
    }
    return true;
}

bool CSqlAccessControl::Private::setMembers(qint64 group, const QList<qint64>& users)
{
    if (!items.haveAll(KindUserOrGroup, UserClassUser, users))
        return refuse(QStringLiteral("not all of these users are there"));
    return relations.removeAllUsers(group) && relations.addUsers(users, group);
}

bool CSqlAccessControl::Private::checkRight(QVariantMap* properties)
{
    QString reason;
    if (!RelationStore::checkRight(properties, &reason))
        return refuse(reason);
    const qint64 profile = properties->value(timeProfileIdKey).toLongLong();
    return profile == 0 || items.exists(KindTimeProfile, anyClass, profile)
           || refuseUnknown(KindTimeProfile, anyClass, profile);
}

bool CSqlAccessControl::Private::setRights(qint64 holder, const QVariantList& rights)
{
    if (!relations.removeAllRights(holder))
        return false;
    for (const QVariant& element : rights) {
        QVariantMap right = element.toMap();
        const qint64 accessPoint = toId(right.value(accessPointIdKey));
        if (addRight(holder, accessPoint, right) == 0)
            return false;
    }
    return true;
}

qint64 CSqlAccessControl::Private::addRight(qint64 holder, qint64 accessPoint, QVariantMap properties)
{
    if (!items.exists(KindAccessPoint, anyClass, accessPoint)) {
        refuseUnknown(KindAccessPoint, anyClass, accessPoint);
        return 0;
    }
    if (!checkRight(&properties))
        return 0;
    const qint64 present = relations.findRight(holder, accessPoint, properties);
    return present != 0 ? present : relations.addRight(holder, accessPoint, properties);
}

bool CSqlAccessControl::Private::setRight(qint64 holder, qint64 accessPoint, QVariantMap properties)
{
    const qint64 wanted = toId(properties.value(idKey));
    const QVariantList present = relations.rights(holder, accessPoint);
    if (present.isEmpty() && wanted == 0)
        return addRight(holder, accessPoint, properties) != 0;
    if (!checkRight(&properties))
        return false;
    bool found = false;
    for (const QVariant& right : present) {
        const qint64 id = toId(right.toMap().value(idKey));
        if (wanted != 0 && id != wanted)
            continue;
        found = true;
        if (!properties.isEmpty() && !relations.changeRight(id, properties))
            return false;
    }
    return found || refuse(QStringLiteral("there is no right %1 of %2 at %3").arg(wanted).arg(holder).arg(accessPoint));
}

bool CSqlAccessControl::Private::isHolderThere(qint64 holder)
{
    return items.exists(KindUserOrGroup, anyClass, holder) || refuseUnknown(KindUserOrGroup, UserClassUser, holder);
}

bool CSqlAccessControl::Private::remove(Kind kind, int itemClass, qint64 id)
{
    if (!items.exists(kind, itemClass, id))
        return refuseUnknown(kind, itemClass, id);
    touch(kind, id);
    if (kind == KindTimeProfile) {
        // Without it "office hours" would become "always".
        if (const qint64 count = relations.rightsWith(id))
            return refuse(QStringLiteral("schedule %1 is in use by %2 rights").arg(id).arg(count));
    }
    for (const Kind child : kinds()) {
        if (parentKind(child) != kind)
            continue;
        const QList<qint64> children = items.idsByParent(child, id);
        if (child == KindTimeProfile && !children.isEmpty())
            return refuse(QStringLiteral("calendar %1 is in use by schedule %2").arg(id).arg(children.first()));
        for (const qint64 one : children) {
            touch(child, one);
            // A medium that nobody owns can be handed out again, a code that nobody owns must not open anything.
            if (child == KindCode ? !items.erase(one) : !items.setParent(one, 0))
                return false;
            record(child, one, child == KindCode ? Deleted : Changed);
        }
    }
    if (kind == KindUserOrGroup) {
        const QList<qint64> groups = relations.groupsOfUser(id);
        for (const qint64 group : groups) {
            touch(KindUserOrGroup, group);
            record(KindUserOrGroup, group, Changed);
        }
        SqlStatement login(&database, QStringLiteral("SELECT 1 FROM login WHERE \"user\"=?"));
        areLoginsChanged |= login.bind(id).exec() && login.next();
    } else if (kind == KindAccessPoint) {
        const QList<qint64> holders = relations.holdersAt(id);
        for (const qint64 holder : holders) {
            touch(KindUserOrGroup, holder);
            record(KindUserOrGroup, holder, Changed);
        }
    }
    if (!items.erase(id))
        return false;
    record(kind, id, Deleted);
    return true;
}

bool CSqlAccessControl::Private::eraseProperty(Kind kind, int itemClass, const QString& name)
{
    if (isFixed(name) || isRelation(name) || name == labelKey || name == parentKey(kind))
        return refuse(name + QLatin1String(": cannot be deleted"));
    QList<qint64> had;
    if (!items.eraseProperty(kind, itemClass, name, &had))
        return refuse(QStringLiteral("there is no property %1").arg(name.left(CheckedValues::longestName)));
    if (recorder)
        furtherChanges.append({nameOf(kind), {}, QStringLiteral("property deleted"), name, {}, {}});
    for (const qint64 item : qAsConst(had))
        record(kind, item, Changed);
    return true;
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
