#pragma once

#include <foundation/core/item_id.h>

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

/// The vocabulary of the installation in memory: names of its collections, keys of its items, and what values mean.
namespace Mock {

inline const QString accessPointsName = QStringLiteral("AccessPoints");
inline const QString authorizationPointsName = QStringLiteral("AuthorizationPoints");
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

CItemId toId(const QVariant& value);
QList<CItemId> toIds(const QVariant& value);
CItemId idOf(const QVariantMap& item);
/// The access point of a right.
CItemId accessPointOf(const QVariant& right);
QString locationOf(const QVariantMap& accessPoint);
/// Ids are kept as numbers, so that whoever reads a map need not know CItemId.
QVariantMap withPlainIds(QVariantMap map);
/// Whether a property is derived or given once for all, so that nobody may set or delete it.
bool isFixed(const QString& property);

} // namespace Mock

/// The items of the installation in memory: property maps, in collections by name. Ids are unique in all of them, and
/// after each change no item refers to one that is not there; but members and the access points of rights may have been
/// unknown from the start.
class MockStore
{
public:
    using Collection = QList<QVariantMap>;

    /// Starts as the demonstration installation.
    MockStore();

    /// Empty for a name that is unknown.
    Collection items(const QString& name) const;
    /// The items that match, with the named fields only (none named: with all).
    QVariantList select(const QString& name, const QVariantMap& filter, const QStringList& fields) const;
    QVariantMap firstMatch(const QString& name, const QVariantMap& filter) const;

    /// Null when there is none.
    const QVariantMap* find(const QString& name, CItemId id) const;
    /// A user or group, if it is of that class.
    const QVariantMap* findUserOrGroup(CItemId id, int userClass) const;
    bool haveAll(const QString& name, const QList<CItemId>& ids) const;

    /// Without a label among the properties the item gets the default one and its id.
    CItemId create(const QString& name, const QVariantMap& properties, int itemClass, const QString& defaultLabel);
    bool remove(const QString& name, CItemId id);
    /// Replaces a whole collection; items without an id of their own get one. False for an unknown name.
    bool replace(const QString& name, const QVariantList& replacement);
    /// An item to be changed in place, null when there is none. What is put into it must refer to items that are there.
    QVariantMap* edit(const QString& name, CItemId id);
    bool setProperty(const QString& collectionName, const QString& name, const QVariant& value, CItemId id);
    /// Deletes it in all items, or in those of one class of users; false when none had it.
    bool deleteProperty(const QString& collectionName, const QString& name, int userClass = -1);

private:
    CItemId nextId() const;
    void restoreRelations(const QSet<CItemId>& gone = {});

    QMap<QString, Collection> m_collections;
};
