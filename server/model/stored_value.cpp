#include <server/model/stored_value_p.h>

#include <foundation/core/canonical_text.h>
#include <foundation/core/device_id.h>
#include <foundation/core/item_id.h>
#include <foundation/core/system_id.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

using namespace StoredValues;

namespace {

// Of lists in lists; deeper ones are refused.
constexpr int deepest = 32;

int typeOf(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return None;
    case QMetaType::Bool:
        return Bool;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
        return Int;
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
        return UInt;
    case QMetaType::Long:
    case QMetaType::LongLong:
        return LongLong;
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return ULongLong;
    case QMetaType::Float:
    case QMetaType::Double:
        return Double;
    case QMetaType::QByteArray:
        return Bytes;
    case QMetaType::QDate:
        return Date;
    case QMetaType::QTime:
        return Time;
    case QMetaType::QDateTime:
        return value.toDateTime().timeSpec() == Qt::UTC ? UtcDateTime : LocalDateTime;
    case QMetaType::QVariantList:
        return List;
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return Map;
    case QMetaType::QStringList:
        return TextList;
    default:
        break;
    }
    const int type = value.userType();
    if (type == qMetaTypeId<CItemIdList>())
        return IdList;
    if (type == qMetaTypeId<CItemId>())
        return LongLong;
    if (type == qMetaTypeId<CDeviceId>() || type == qMetaTypeId<CSystemId>())
        return UInt;
    return Text;
}

bool isContainer(int type)
{
    return type == List || type == Map || type == TextList || type == IdList;
}

QJsonValue toJson(const QVariant& value, int depth, bool* good);

QJsonValue bodyOf(int type, const QVariant& value, int depth, bool* good)
{
    if (depth > deepest)
        *good = false;
    if (!*good)
        return QJsonValue();
    switch (type) {
    case List: {
        QJsonArray array;
        const QVariantList list = value.toList();
        for (const QVariant& element : list)
            array.append(toJson(element, depth + 1, good));
        return array;
    }
    case Map: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
            object.insert(entry.key(), toJson(entry.value(), depth + 1, good));
        return object;
    }
    case TextList:
        return QJsonArray::fromStringList(value.toStringList());
    case IdList: {
        QJsonArray array;
        const CItemIdList ids = value.value<CItemIdList>();
        for (const CItemId id : ids)
            array.append(QString::number(id.value()));
        return array;
    }
    default:
        return canonicalText(value);
    }
}

QJsonValue toJson(const QVariant& value, int depth, bool* good)
{
    const int type = typeOf(value);
    return QJsonArray{type, bodyOf(type, value, depth, good)};
}

QVariant fromText(int type, const QString& text)
{
    switch (type) {
    case Bool:
        return text == QLatin1String("true");
    case Int:
        return text.toInt();
    case UInt:
        return text.toUInt();
    case LongLong:
        return text.toLongLong();
    case ULongLong:
        return text.toULongLong();
    case Double:
        return text.toDouble();
    case Text:
        return text;
    case Bytes:
        return QByteArray::fromHex(text.toLatin1());
    case Date:
        return QDate::fromString(text, Qt::ISODate);
    case Time:
        return QTime::fromString(text, Qt::ISODate);
    case LocalDateTime:
        return QDateTime::fromString(text, Qt::ISODate).toLocalTime();
    case UtcDateTime:
        return QDateTime::fromString(text, Qt::ISODate);
    default:
        return QVariant();
    }
}

QVariant fromBody(int type, const QJsonValue& body);

QVariant fromJson(const QJsonValue& value)
{
    const QJsonArray pair = value.toArray();
    return fromBody(pair.at(0).toInt(), pair.at(1));
}

QVariant fromBody(int type, const QJsonValue& body)
{
    switch (type) {
    case List: {
        QVariantList list;
        const QJsonArray array = body.toArray();
        for (const QJsonValue element : array)
            list.append(fromJson(element));
        return list;
    }
    case Map: {
        QVariantMap map;
        const QJsonObject object = body.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry)
            map.insert(entry.key(), fromJson(entry.value()));
        return map;
    }
    case TextList: {
        QStringList list;
        const QJsonArray array = body.toArray();
        for (const QJsonValue element : array)
            list.append(element.toString());
        return list;
    }
    case IdList: {
        CItemIdList ids;
        const QJsonArray array = body.toArray();
        for (const QJsonValue element : array)
            ids.append(element.toString().toLongLong());
        return QVariant::fromValue(ids);
    }
    default:
        return fromText(type, body.toString());
    }
}

} // namespace

QString StoredValues::lookUpText(const QString& canonical)
{
    if (canonical.size() <= longestLookUp)
        return canonical;
    // A hash instead of the rest: what is equal up to the cut and different behind it does not match.
    const QByteArray hash = QCryptographicHash::hash(canonical.toUtf8(), QCryptographicHash::Sha256).left(16).toHex();
    return canonical.left(longestLookUp - 1 - hash.size()) + QLatin1Char('#') + QString::fromLatin1(hash);
}

bool StoredValues::encode(const QVariant& value, StoredValue* stored)
{
    const QString canonical = canonicalText(value);
    stored->type = typeOf(value);
    stored->value = lookUpText(canonical);
    stored->data = QByteArray();
    if (isContainer(stored->type)) {
        bool good = true;
        const QJsonValue body = bodyOf(stored->type, value, 0, &good);
        stored->data = body.isArray() ? QJsonDocument(body.toArray()).toJson(QJsonDocument::Compact)
                                      : QJsonDocument(body.toObject()).toJson(QJsonDocument::Compact);
        return good;
    }
    // Where the text alone could not be told from one that was cut, too.
    if (canonical.size() >= longestLookUp)
        stored->data = stored->type == Bytes ? value.toByteArray() : canonical.toUtf8();
    return true;
}

QVariant StoredValues::decode(int type, const QString& value, const QByteArray& data)
{
    if (isContainer(type)) {
        const QJsonDocument document = QJsonDocument::fromJson(data);
        return fromBody(type, document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object()));
    }
    if (data.isNull())
        return fromText(type, value);
    return type == Bytes ? QVariant(data) : fromText(type, QString::fromUtf8(data));
}

QString StoredValues::mapToText(const QVariantMap& map)
{
    bool good = true;
    const QByteArray text = QJsonDocument(bodyOf(Map, map, 0, &good).toObject()).toJson(QJsonDocument::Compact);
    return good ? QString::fromUtf8(text) : QString();
}

QVariantMap StoredValues::mapFromText(const QString& text)
{
    return fromBody(Map, QJsonDocument::fromJson(text.toUtf8()).object()).toMap();
}

QVariantMap StoredValues::mapFromJson(const QJsonObject& object)
{
    return fromBody(Map, object).toMap();
}
