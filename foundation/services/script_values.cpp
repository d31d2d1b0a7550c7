#include <foundation/services/script_values_p.h>

#include <foundation/core/device_id.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/core/system_id.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QSet>

namespace {

template<typename Value>
QVariantMap mappingOf(const QList<Value>& values, const char* (*toString)(Value))
{
    QVariantMap map;
    for (const Value value : values)
        map.insert(QString::number(static_cast<qint64>(value)), QString(QLatin1String(toString(value))));
    return map;
}

// Whether an entry of that name holds an id.
bool isIdName(const QString& name)
{
    return name == QLatin1String("id") || name.endsWith(QLatin1String("Id"));
}

// Whether every item's property of that name is the model's own, and an id.
bool isIdOfModel(const QString& name)
{
    static const QSet<QString> names{
        QStringLiteral("id"),         QStringLiteral("userId"),   QStringLiteral("accessPointId"),
        QStringLiteral("calendarId"), QStringLiteral("parentId"), QStringLiteral("actionProfileId")};
    return names.contains(name);
}

// The decimal text of an id given as CItemId, number or text.
QString idText(const QVariant& id)
{
    return QString::number(id.userType() == qMetaTypeId<CItemId>() ? id.value<CItemId>().value() : id.toLongLong());
}

// Whether a value is a list of any element type, text and bytes not being one.
bool isList(const QVariant& value)
{
    return value.userType() != QMetaType::QString && value.userType() != QMetaType::QByteArray
           && QtCompat::isList(value);
}

} // namespace

CItemId ScriptValues::itemId(const QString& text)
{
    return text.toLongLong(nullptr, 10);
}

QList<CItemId> ScriptValues::itemIds(const QStringList& texts)
{
    QList<CItemId> ids;
    for (const QString& text : texts)
        ids.append(itemId(text));
    return ids;
}

QVariant ScriptValues::fromModel(CItemId id)
{
    return idText(QVariant::fromValue(id));
}

QVariant ScriptValues::fromModel(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<CItemId>())
        return idText(value);
    if (value.userType() == qMetaTypeId<CItemIdList>())
        return fromModel(value.value<CItemIdList>());
    return value;
}

QVariant ScriptValues::propertyFromModel(const QString& name, const QVariant& value)
{
    if (value.isValid() && isIdOfModel(name))
        return idText(value);
    if (value.userType() == QMetaType::QVariantMap)
        return fromModel(value.toMap());
    if (value.userType() == qMetaTypeId<CItemIdList>() || !isList(value) || value.userType() == QMetaType::QStringList)
        return fromModel(value);
    return fromModel(value.value<QVariantList>());
}

QVariantMap ScriptValues::fromModel(QVariantMap map)
{
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        if (isIdName(entry.key()))
            entry.value() = idText(entry.value());
        else if (entry.key() == QLatin1String("nodes"))
            entry.value() = fromModel(entry.value().value<QVariantList>());
        else
            entry.value() = fromModel(entry.value());
    }
    return map;
}

QVariantList ScriptValues::fromModel(const QVariantList& list)
{
    QVariantList converted;
    for (const QVariant& element : list) {
        if (element.userType() == QMetaType::QVariantMap)
            converted.append(fromModel(element.toMap()));
        else
            converted.append(element.userType() == qMetaTypeId<CItemId>() ? QVariant(idText(element)) : element);
    }
    return converted;
}

QVariantList ScriptValues::fromModel(const QList<CItemId>& ids)
{
    QVariantList texts;
    for (const CItemId id : ids)
        texts.append(fromModel(id));
    return texts;
}

QVariantList ScriptValues::fromModel(const QStringList& texts)
{
    return QVariant(texts).toList();
}

void ScriptValues::addOperationEntries(QVariantMap* properties)
{
    const auto add = [&](const char* source, const char* target, auto convert) {
        const QVariant value = properties->value(QLatin1String(source));
        if (!value.isNull())
            properties->insert(QLatin1String(target), convert(value));
    };
    add("deviceId", "deviceid", [](const QVariant& id) { return id.value<CDeviceId>().toLabel(); });
    add("systemId", "systemid", [](const QVariant& id) { return id.value<CSystemId>().toLabel(); });
    add("uid", "uid", [](const QVariant& uid) {
        return CDataType::rfidUidExternalRepresentationFromLabel(CDataType::rfidUidToLabel(uid.toByteArray()));
    });
    add("architecture", "cardArchitecture", [](const QVariant& architecture) {
        const auto value = CDataType::cardArchitectureCast(architecture.toInt());
        return QString(QLatin1String(CDataType::cardArchitectureToString(value)));
    });
    add("publicMediaId", "publicMediaLabel",
        [](const QVariant& id) { return CDataType::publicMediaIdToLabel(id.toULongLong()); });
    add("results", "results", [](const QVariant& results) {
        QVariantList texts;
        const auto elements = results.value<QVariantList>();
        for (const QVariant& element : elements)
            texts.append(element.toString());
        return texts;
    });
}

namespace {

struct Mapping
{
    const char* name;
    QVariantMap (*make)();
};

constexpr Mapping mappings[] = {
    {"DeviceType", [] { return mappingOf(CDataType::deviceTypeValues(), CDataType::deviceTypeToString); }},
    {"UserClass", [] { return mappingOf(CDataType::userClassValues(), CDataType::userClassToString); }},
    {"CardArchitecture",
     [] { return mappingOf(CDataType::cardArchitectureValues(), CDataType::cardArchitectureToString); }},
    {"CardMediumType", [] { return mappingOf(CDataType::cardMediumTypeValues(), CDataType::cardMediumTypeToString); }},
    {"DeviceRole",
     [] {
         return mappingOf(CDataType::deviceRoleValues(CDataType::DeviceRoles(0x77)), CDataType::deviceRoleToString);
     }},
    {"AccessPointFunction",
     [] { return mappingOf(CDataType::accessPointFunctionValues(), CDataType::accessPointFunctionToString); }},
    {"AuthPointClass", [] { return mappingOf(CDataType::authPointClassValues(), CDataType::authPointClassToString); }},
    {"UserAction",
     [] {
         return mappingOf(CDataType::userActionValues(CDataType::UserActions(0x17FF7)), CDataType::userActionToString);
     }},
    {"OutputType", [] { return mappingOf(CDataType::outputTypeValues(), CDataType::outputTypeToString); }},
    {"ActionProfileClass",
     [] { return mappingOf(CDataType::actionProfileClassValues(), CDataType::actionProfileClassToString); }},
    {"PositionClass", [] { return mappingOf(CDataType::positionClassValues(), CDataType::positionClassToString); }},
};

} // namespace

QVariantMap ScriptValues::mapping(const QString& name)
{
    for (const Mapping& mapping : mappings) {
        if (name == QLatin1String(mapping.name))
            return mapping.make();
    }
    return {};
}

QStringList ScriptValues::mappingNames()
{
    QStringList names;
    for (const Mapping& mapping : mappings)
        names.append(QLatin1String(mapping.name));
    return names;
}
