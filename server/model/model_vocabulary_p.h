#pragma once

#include <foundation/core/item_id.h>

#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

/// The vocabulary of the model in the database: its collections, the keys of its items.
namespace Model {

/// Stored: a number keeps its meaning.
enum Kind
{
    KindUnknown = 0,
    KindSystem = 1,
    KindAccessPoint = 2,
    KindAuthorizationPoint = 3,
    KindDevice = 4,
    KindUserOrGroup = 5,
    KindMedium = 6,
    KindCode = 7,
    KindHoliday = 8,
    KindCalendar = 9,
    KindTimeProfile = 10,
};

/// Stored, too.
enum Change
{
    Created = 1,
    Changed = 2,
    Deleted = 3,
};

/// For any class of an item.
inline constexpr int anyClass = -1;

inline const QString idKey = QStringLiteral("id");
inline const QString classKey = QStringLiteral("class");
inline const QString labelKey = QStringLiteral("label");
inline const QString userIdKey = QStringLiteral("userId");
inline const QString accessPointIdKey = QStringLiteral("accessPointId");
inline const QString calendarIdKey = QStringLiteral("calendarId");
inline const QString timeProfileIdKey = QStringLiteral("timeProfileId");
inline const QString optionsKey = QStringLiteral("options");
inline const QString membersKey = QStringLiteral("Members");
inline const QString rightsKey = QStringLiteral("Access Points");
inline const QString locationKey = QStringLiteral("location");
inline const QString enabledKey = QStringLiteral("enabled");
inline const QString blockedKey = QStringLiteral("blocked");
inline const QString validFromKey = QStringLiteral("validFrom");
inline const QString validToKey = QStringLiteral("validTo");
inline const QString slotsKey = QStringLiteral("slots");
inline const QString uidKey = QStringLiteral("uid");
inline const QString codeKey = QStringLiteral("code");
inline const QString timeZoneKey = QStringLiteral("timeZone");

/// KindUnknown for a name that is none of a collection.
Kind kindOf(const QString& collection);
QString nameOf(Kind kind);
QList<Kind> kinds();
/// What a notification says when any item of any collection may have changed.
QVariantMap everyCollection();
/// What an item is called in a message, and in its label when it was made without one.
QString wordOf(Kind kind, int itemClass);
/// The key under which an item of that kind names another one that it belongs to, "" for none, and that one's kind.
QString parentKey(Kind kind);
Kind parentKind(Kind kind);

/// Whether a property is derived or given once for all.
bool isFixed(const QString& property);
/// Whether a property is put together from relations, which have operations of their own.
bool isRelation(const QString& property);

/// An id given as CItemId, number or decimal text; 0 for anything else.
qint64 toId(const QVariant& value);
QList<qint64> toIds(const QVariant& value);
QList<qint64> toNumbers(const QList<CItemId>& ids);
QList<CItemId> toItemIds(const QList<qint64>& ids);
QString locationOf(const QVariantMap& accessPoint);

} // namespace Model
