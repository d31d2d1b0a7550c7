#include <server/model/change_images_p.h>

#include <foundation/core/canonical_text.h>

#include <QtCore/QSet>

using namespace Model;

namespace {

// As a record shows it: lists of ids as lists of texts, nothing that is empty, and no code: it opens doors, and whoever
// reads the record need not know it.
void makeShown(Kind kind, QVariantMap* item)
{
    if (kind == KindCode)
        item->remove(codeKey);
    if (item->contains(membersKey)) {
        QVariantList members;
        const QList<qint64> ids = toIds(item->value(membersKey));
        for (const qint64 id : ids)
            members.append(QString::number(id));
        item->insert(membersKey, members);
    }
    for (const QString& relation : {membersKey, rightsKey}) {
        if (item->value(relation).toList().isEmpty())
            item->remove(relation);
    }
}

// Of two lists what stands in the first alone.
QVariantList without(const QVariantList& list, const QVariantList& other)
{
    QSet<QString> known;
    for (const QVariant& element : other)
        known.insert(canonicalText(element));
    QVariantList left;
    for (const QVariant& element : list) {
        if (!known.contains(canonicalText(element)))
            left.append(element);
    }
    return left;
}

void keepDifferences(QVariantMap* before, QVariantMap* after)
{
    const QStringList names = before->keys() + after->keys();
    for (const QString& name : names) {
        const QVariant old = before->value(name);
        const QVariant now = after->value(name);
        if (canonicalText(old) == canonicalText(now) && old.isValid() == now.isValid()) {
            before->remove(name);
            after->remove(name);
        } else if (isRelation(name)) {
            before->insert(name, without(old.toList(), now.toList()));
            after->insert(name, without(now.toList(), old.toList()));
        }
    }
}

} // namespace

IModelRecorder::~IModelRecorder() = default;

void ChangeImages::keep(ItemStore& items, Kind kind, qint64 id)
{
    const QPair<int, qint64> key(int(kind), id);
    if (!m_before.contains(key))
        m_before.insert(key, items.load(kind, {id}).value(0));
}

QVector<CModelChange> ChangeImages::differences(ItemStore& items, const QVector<ItemChange>& changes)
{
    // Read in one go for each kind, however many there are.
    QMap<int, QList<qint64>> ids;
    QHash<QPair<int, qint64>, bool> created;
    QVector<QPair<int, qint64>> order;
    for (const ItemChange& change : changes) {
        const QPair<int, qint64> key(change.kind, change.id);
        if (!created.contains(key)) {
            order.append(key);
            ids[change.kind].append(change.id);
        }
        created[key] = created.value(key) || change.what == Created;
    }
    QHash<QPair<int, qint64>, QVariantMap> now;
    for (auto entry = ids.cbegin(); entry != ids.cend(); ++entry) {
        const QList<QVariantMap> found = items.load(Kind(entry.key()), *entry);
        for (const QVariantMap& item : found)
            now.insert({entry.key(), toId(item.value(idKey))}, item);
    }
    QVector<CModelChange> result;
    for (const QPair<int, qint64>& key : qAsConst(order)) {
        const Kind kind = Kind(key.first);
        CModelChange change{nameOf(kind), CItemId(key.second), {}, {}, m_before.value(key), now.value(key)};
        if (created.value(key))
            change.before.clear(); // kept after it was made
        else if (change.before.isEmpty())
            continue; // one of many, which are told of as a whole
        if (change.before.isEmpty() && change.after.isEmpty())
            continue; // made and deleted again
        change.what = change.before.isEmpty()  ? QStringLiteral("created")
                      : change.after.isEmpty() ? QStringLiteral("deleted")
                                               : QStringLiteral("changed");
        change.label = (change.after.isEmpty() ? change.before : change.after).value(labelKey).toString();
        const bool isSecretChange =
            kind == KindCode && change.before.value(codeKey) != change.after.value(codeKey) && !change.after.isEmpty();
        const qint64 owner = toId(change.after.value(userIdKey));
        change.owner = CItemId(owner != 0 ? owner : toId(change.before.value(userIdKey)));
        makeShown(kind, &change.before);
        makeShown(kind, &change.after);
        if (change.what == QLatin1String("changed")) {
            keepDifferences(&change.before, &change.after);
            if (change.before.isEmpty() && change.after.isEmpty() && !isSecretChange)
                continue; // nothing is otherwise than it was
        }
        result.append(change);
    }
    return result;
}
