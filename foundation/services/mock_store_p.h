#pragma once

#include <foundation/core/item_id.h>
#include <foundation/services/id_sequence_p.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

#include <map>
#include <optional>

/// The vocabulary of the installation in memory: names of its collections, keys of its items, and what values mean.
namespace Mock {

inline const QString accessPointsName = QStringLiteral("AccessPoints");
inline const QString authorizationPointsName = QStringLiteral("AuthorizationPoints");
inline const QString devicesName = QStringLiteral("Devices");
inline const QString usersGroupsName = QStringLiteral("UsersGroups");
inline const QString mediaName = QStringLiteral("Media");
inline const QString codesName = QStringLiteral("Codes");
inline const QString holidaysName = QStringLiteral("Holidays");
inline const QString calendarsName = QStringLiteral("HolidayCalendars");

inline const QString idKey = QStringLiteral("id");
inline const QString classKey = QStringLiteral("class");
inline const QString labelKey = QStringLiteral("label");
inline const QString userIdKey = QStringLiteral("userId");
inline const QString accessPointIdKey = QStringLiteral("accessPointId");
inline const QString calendarIdKey = QStringLiteral("calendarId");
inline const QString membersKey = QStringLiteral("Members");
inline const QString rightsKey = QStringLiteral("Access Points");
inline const QString locationKey = QStringLiteral("location");

/// One name for each collection: "AccessPointLocations" is the access points.
QString canonicalName(const QString& name);
/// The collection that an id under `key` names an item of; empty for a key that stands for no reference.
QString referencedCollection(const QString& key);
/// The keys that do, wherever they stand.
const QStringList& referenceKeys();

CItemId toId(const QVariant& value);
QList<CItemId> toIds(const QVariant& value);
CItemId idOf(const QVariantMap& item);
int classOf(const QVariantMap& item);
/// The access point of a right.
CItemId accessPointOf(const QVariant& right);
/// Ids are kept as numbers, so that whoever reads a map need not know CItemId.
QVariantMap withPlainIds(QVariantMap map);
/// Whether a property is derived or given once for all, so that nobody may set or delete it.
bool isFixed(const QString& property);
/// What an item is called that was given no label.
QString defaultLabel(const QString& collectionName, int itemClass, CItemId id);

} // namespace Mock

/// The items of the installation in memory: property maps, in collections by name. Ids are unique in all of them, and
/// after each change no item refers to one that is not there; but members and the access points of rights may have been
/// unknown from the start. An item is found by its id, and by what it refers to, without looking at the others.
class MockStore
{
public:
    /// Starts as the demonstration installation.
    MockStore();
    MockStore(const MockStore&) = delete;
    MockStore& operator=(const MockStore&) = delete;

    bool hasCollection(const QString& name) const;
    /// Empty for a name that is unknown.
    QList<QVariantMap> items(const QString& name) const;
    /// The items that match, with the named fields only (none named: with all); the first `most` of them.
    QVariantList select(const QString& name, const QVariantMap& filter, const QStringList& fields, int most = -1) const;
    QVariantMap firstMatch(const QString& name, const QVariantMap& filter) const;

    bool contains(const QString& name, CItemId id) const;
    bool containsAll(const QString& name, const QList<CItemId>& ids) const;
    /// Whether there is a user or group of that class.
    bool containsOfClass(int userClass, CItemId id) const;
    /// The item of that id, in whatever collection.
    bool isInUse(CItemId id) const { return m_index.count(id) > 0; }
    /// One above the highest in use; 0 when there is none.
    CItemId nextId() const;

    /// Without a label among the properties the item gets the default one. 0 when no id is left.
    CItemId create(const QString& name, const QVariantMap& properties, int itemClass);
    bool remove(const QString& name, CItemId id);
    /// Replaces a whole collection. The items are complete, with ids, and refer to nothing that is not there then.
    void replace(const QString& name, const QList<QVariantMap>& items);
    /// Invalid when there is no such item or property.
    QVariant property(const QString& collectionName, const QString& name, CItemId id) const;
    bool setProperty(const QString& collectionName, const QString& name, const QVariant& value, CItemId id);
    /// Deletes it in all items, or in those of one class of users; false when none had it.
    bool deleteProperty(const QString& collectionName, const QString& name, int userClass = -1);

    // Relations; those that change something give false when there is no such item.
    bool addMembers(const QList<CItemId>& members, CItemId group);
    bool removeMembers(const QList<CItemId>& members, CItemId group);
    QList<CItemId> members(CItemId group) const;
    QList<CItemId> groupsOf(CItemId member) const;
    /// Adds the properties to rights that the holder (a user or group) has, and rights that it lacks.
    bool setRights(const QList<CItemId>& accessPoints, CItemId holder, const QVariantMap& properties);
    bool removeRights(const QList<CItemId>& accessPoints, CItemId holder);
    QList<CItemId> accessPointsOf(CItemId holder) const;
    QList<CItemId> holdersOf(CItemId accessPoint) const;
    /// Invalid when there is none.
    QVariant right(CItemId accessPoint, CItemId holder) const;
    QList<CItemId> mediaOf(CItemId user) const;

private:
    struct Item
    {
        CItemId id;
        QString collection;
        quint64 place = 0;      // in its collection, by which that is sorted
        QVariantMap properties; // all but the following two
        std::optional<IdSequence> members;
        std::optional<IdSequence> rights; // by access point
    };
    using Collection = std::map<quint64, Item>;

    const Item* find(const QString& name, CItemId id) const;
    Item* find(const QString& name, CItemId id);
    static QVariant valueOf(const Item& item, const QString& name);
    static QVariantMap mapOf(const Item& item);

    Item& insert(const QString& name, const QVariantMap& properties);
    void erase(const Item& item);
    void forget(CItemId id);
    void assign(Item& item, const QString& name, const QVariant& value);
    void clear(Item& item, const QString& name);
    void link(const Item& item, CItemId target);
    void unlink(const Item& item, CItemId target);
    template<typename Condition>
    QList<CItemId> referring(CItemId target, Condition condition) const;

    std::map<QString, Collection> m_collections; // where items stay in their place, so that others may point to them
    std::map<CItemId, Item*> m_index;
    // Who refers to an id, and how often: all of those that have to change when it goes.
    QHash<CItemId, QHash<CItemId, int>> m_referrers;
    quint64 m_lastPlace = 0;
};
