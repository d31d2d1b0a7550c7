#include <server/model/model_vocabulary_p.h>

#include <foundation/datatypes/data_type.h>

namespace {

struct KindEntry
{
    Model::Kind kind;
    const char* collection;
    const char* word;
    Model::Kind parentKind;
    const char* parentKey;
};

constexpr KindEntry kindTable[] = {
    {Model::KindSystem, "System", "System", Model::KindUnknown, ""},
    {Model::KindAccessPoint, "AccessPoints", "Access Point", Model::KindUnknown, ""},
    {Model::KindAuthorizationPoint, "AuthorizationPoints", "Authorization Point", Model::KindAccessPoint,
     "accessPointId"},
    {Model::KindDevice, "Devices", "Device", Model::KindAccessPoint, "accessPointId"},
    {Model::KindUserOrGroup, "UsersGroups", "User", Model::KindUnknown, ""},
    {Model::KindMedium, "Media", "Medium", Model::KindUserOrGroup, "userId"},
    {Model::KindCode, "Codes", "Code", Model::KindUserOrGroup, "userId"},
    {Model::KindHoliday, "Holidays", "Holiday", Model::KindCalendar, "calendarId"},
    {Model::KindCalendar, "HolidayCalendars", "Calendar", Model::KindUnknown, ""},
    {Model::KindTimeProfile, "TimeProfiles", "Schedule", Model::KindCalendar, "calendarId"},
};

const KindEntry& entryOf(Model::Kind kind)
{
    for (const KindEntry& entry : kindTable) {
        if (entry.kind == kind)
            return entry;
    }
    static constexpr KindEntry none = {Model::KindUnknown, "", "", Model::KindUnknown, ""};
    return none;
}

} // namespace

Model::Kind Model::kindOf(const QString& collection)
{
    if (collection == QLatin1String("AccessPointLocations"))
        return KindAccessPoint;
    for (const KindEntry& entry : kindTable) {
        if (collection == QLatin1String(entry.collection))
            return entry.kind;
    }
    return KindUnknown;
}

QString Model::nameOf(Kind kind)
{
    return QString::fromLatin1(entryOf(kind).collection);
}

QList<Model::Kind> Model::kinds()
{
    QList<Kind> result;
    for (const KindEntry& entry : kindTable)
        result.append(entry.kind);
    return result;
}

QVariantMap Model::everyCollection()
{
    QVariantMap all;
    for (const KindEntry& entry : kindTable)
        all.insert(QString::fromLatin1(entry.collection), QVariantList());
    return all;
}

QString Model::wordOf(Kind kind, int itemClass)
{
    if (kind == KindUserOrGroup && itemClass == UserClassGroup)
        return QStringLiteral("Group");
    return QString::fromLatin1(entryOf(kind).word);
}

QString Model::parentKey(Kind kind)
{
    return QString::fromLatin1(entryOf(kind).parentKey);
}

Model::Kind Model::parentKind(Kind kind)
{
    return entryOf(kind).parentKind;
}

bool Model::isFixed(const QString& property)
{
    return property == idKey || property == classKey || property == locationKey;
}

bool Model::isRelation(const QString& property)
{
    return property == membersKey || property == rightsKey;
}

qint64 Model::toId(const QVariant& value)
{
    return value.userType() == qMetaTypeId<CItemId>() ? value.value<CItemId>().value() : value.toLongLong();
}

QList<qint64> Model::toIds(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<CItemIdList>())
        return toNumbers(value.value<CItemIdList>());
    QList<qint64> ids;
    const QVariantList values = value.toList();
    for (const QVariant& element : values)
        ids.append(toId(element));
    return ids;
}

QList<qint64> Model::toNumbers(const QList<CItemId>& ids)
{
    QList<qint64> numbers;
    numbers.reserve(ids.size());
    for (const CItemId id : ids)
        numbers.append(id.value());
    return numbers;
}

QString Model::locationOf(const QVariantMap& accessPoint)
{
    QStringList parts;
    for (const char* part : {"Building", "Floor", "Access Point"}) {
        const QString text = accessPoint.value(QLatin1String(part)).toString();
        if (!text.isEmpty())
            parts.append(text);
    }
    return parts.join(QLatin1String(", "));
}

QList<CItemId> Model::toItemIds(const QList<qint64>& ids)
{
    QList<CItemId> result;
    result.reserve(ids.size());
    for (const qint64 id : ids)
        result.append(id);
    return result;
}
