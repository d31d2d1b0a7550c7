#include <foundation/services/mock_replacement_p.h>

#include <foundation/core/canonical_text.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/services/mock_store_p.h>

#include <QtCore/QSet>

#include <algorithm>
#include <limits>

using namespace Mock;

namespace {

// The number that a value is, in whatever type; -1 when it is none from 0 on, and 0 when there is no value.
qint64 number(const QVariant& value)
{
    const QString text = canonicalText(value);
    if (text.isEmpty())
        return 0;
    bool ok = false;
    const qint64 result = text.toLongLong(&ok);
    return ok && result >= 0 && QString::number(result) == text ? result : -1;
}

// Reads one replacement. Each step gives why it is refused, or an empty text.
class Reader
{
public:
    Reader(const MockStore& store, const QString& name)
        : m_store(store)
        , m_name(canonicalName(name))
        , m_highest(store.nextId() != CItemId() ? store.nextId().value() - 1 : greatestId)
    {
    }

    QString read(const QVariantList& list, QList<QVariantMap>& items)
    {
        if (!m_store.hasCollection(m_name))
            return QStringLiteral("there is no such collection");
        using Step = QString (Reader::*)(QVariantMap&);
        for (const QVariant& element : list) {
            if (!element.canConvert<QVariantMap>())
                return QStringLiteral("item %1 is not a map").arg(items.size() + 1);
            items.append(withPlainIds(element.toMap()));
        }
        for (const Step step :
             {&Reader::takeId, &Reader::complete, &Reader::checkReferences, &Reader::checkRelations}) {
            for (QVariantMap& item : items) {
                const QString refusal = (this->*step)(item);
                if (!refusal.isEmpty())
                    return QStringLiteral("item %1: %2").arg(&item - &items.first() + 1).arg(refusal);
            }
        }
        return QString();
    }

private:
    QString takeId(QVariantMap& item)
    {
        item.remove(locationKey); // is put together on reading
        const qint64 id = number(item.value(idKey));
        if (id < 0)
            return QStringLiteral("the id is not a number above 0");
        item.insert(idKey, id);
        if (id == 0)
            return QString();
        if (m_ids.contains(id) || (m_store.isInUse(id) && !m_store.contains(m_name, id)))
            return QStringLiteral("the id %1 is taken").arg(id);
        m_ids.insert(id);
        m_highest = std::max(m_highest, id);
        return QString();
    }

    QString complete(QVariantMap& item)
    {
        CItemId id = idOf(item);
        if (id == CItemId()) {
            if (m_highest == greatestId)
                return QStringLiteral("no id is left");
            id = ++m_highest;
            m_ids.insert(m_highest);
            item.insert(idKey, m_highest);
        }
        const QVariant given = item.value(classKey);
        const bool hasClass = !canonicalText(given).isEmpty();
        const qint64 itemClass = hasClass ? number(given) : defaultClass();
        if (itemClass < 0 || itemClass > std::numeric_limits<int>::max()
            || (m_name == usersGroupsName && !CDataType::userClassValues().contains(CUserClass(itemClass))))
            return QStringLiteral("the class is none");
        item.insert(classKey, int(itemClass));
        if (m_name == usersGroupsName && itemClass == UserClassGroup)
            m_groups.insert(id.value());
        if (item.value(labelKey).toString().isEmpty())
            item.insert(labelKey, defaultLabel(m_name, int(itemClass), id));
        return QString();
    }

    int defaultClass() const
    {
        if (m_name == usersGroupsName)
            return UserClassUser;
        return m_name == accessPointsName ? int(CDataType::AccessPointFunctionSimpleDoor) : 0;
    }

    QString checkReferences(QVariantMap& item)
    {
        for (const QString& key : referenceKeys()) {
            if (!item.contains(key))
                continue;
            const QString collection = referencedCollection(key);
            const qint64 id = number(item.value(key));
            const bool there = collection == m_name ? m_ids.contains(id) : m_store.contains(collection, id);
            if (id != 0 && !there)
                return QStringLiteral("its \"%1\" names a user who does not exist").arg(key);
            item.insert(key, id);
        }
        if (m_name == codesName && item.value(userIdKey).toLongLong() == 0)
            return QStringLiteral("a code has an owner");
        return QString();
    }

    QString checkRelations(QVariantMap& item)
    {
        if (m_name != usersGroupsName)
            return QString();
        if (item.contains(membersKey)) {
            QSet<qint64> members;
            CItemIdList ids;
            QVariantList values;
            if (!readList(item.value(membersKey), values))
                return QStringLiteral("\"%1\" is not a list").arg(membersKey);
            for (const QVariant& value : qAsConst(values)) {
                const qint64 member = number(value);
                if (member <= 0 || members.contains(member) || m_groups.contains(member)
                    || goes(usersGroupsName, member))
                    return QStringLiteral("\"%1\" can be no member").arg(canonicalText(value));
                members.insert(member);
                ids.append(member);
            }
            item.insert(membersKey, QVariant::fromValue(ids));
        }
        if (item.contains(rightsKey)) {
            QVariantList rights;
            if (!readList(item.value(rightsKey), rights))
                return QStringLiteral("\"%1\" is not a list").arg(rightsKey);
            for (QVariant& right : rights) {
                QVariantMap map = withPlainIds(right.toMap());
                const qint64 accessPoint = number(map.value(accessPointIdKey));
                if (accessPoint <= 0)
                    return QStringLiteral("a right has no \"%1\"").arg(accessPointIdKey);
                map.insert(accessPointIdKey, accessPoint);
                right = map;
            }
            item.insert(rightsKey, rights);
        }
        return QString();
    }

    static bool readList(const QVariant& value, QVariantList& list)
    {
        if (value.userType() == QMetaType::QString || value.userType() == QMetaType::QByteArray
            || !QtCompat::isList(value))
            return false;
        list = value.value<QVariantList>();
        return true;
    }

    // Whether it is there now and will not be.
    bool goes(const QString& collection, qint64 id) const
    {
        return m_store.contains(collection, id) && !m_ids.contains(id);
    }

    static constexpr qint64 greatestId = std::numeric_limits<qint64>::max();

    const MockStore& m_store;
    const QString m_name;
    QSet<qint64> m_ids; // that the collection will have
    QSet<qint64> m_groups;
    qint64 m_highest; // of all ids, those that go included
};

} // namespace

MockReplacement::MockReplacement(const MockStore& store, const QString& collectionName, const QVariantList& list)
{
    refusal = Reader(store, collectionName).read(list, items);
}
