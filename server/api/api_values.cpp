#include <server/api/api_values_p.h>

#include <foundation/core/canonical_text.h>
#include <foundation/core/item_id.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QSet>

#include <cmath>
#include <limits>

namespace {

constexpr qint64 mostExact = qint64(1) << 53; // that every reader of JSON keeps

// Whole numbers of up to 64 bits.
std::optional<qint64> wholeNumber(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    const QVariant variant = value.toVariant();
    if (variant.userType() != QMetaType::Double)
        return variant.toLongLong();
    const double number = value.toDouble();
    if (number != std::floor(number) || std::abs(number) > double(mostExact))
        return std::nullopt;
    return qint64(number);
}

std::optional<QVariant> textFrom(const QJsonValue& value)
{
    if (value.isString())
        return QVariant(value.toString());
    const auto number = wholeNumber(value);
    return number ? std::optional<QVariant>(QString::number(*number)) : std::nullopt;
}

template<typename Number>
std::optional<QVariant> numberFrom(const QJsonValue& value)
{
    const auto number = wholeNumber(value);
    if (!number || *number < qint64(std::numeric_limits<Number>::min())
        || *number > qint64(std::numeric_limits<Number>::max()))
        return std::nullopt;
    return QVariant(Number(*number));
}

QJsonValue numberTo(qint64 number)
{
    return std::abs(number) <= mostExact ? QJsonValue(number) : QJsonValue(QString::number(number));
}

bool isIdName(const QString& name)
{
    static const QSet<QString> names{QStringLiteral("id"), QStringLiteral("user"), QStringLiteral("accessPoint"),
                                     QStringLiteral("medium")};
    return names.contains(name) || name.endsWith(QLatin1String("Id"));
}

bool isInteger(const QVariant& value)
{
    const int type = value.userType();
    return type == QMetaType::LongLong || type == QMetaType::ULongLong || type == QMetaType::Int
           || type == QMetaType::UInt || type == qMetaTypeId<CItemId>();
}

} // namespace

QVariant ApiValues::withIdTexts(const QVariant& value)
{
    if (value.userType() == QMetaType::QVariantMap)
        return withIdTexts(value.toMap());
    if (value.userType() != QMetaType::QVariantList)
        return value;
    QVariantList list = value.toList();
    for (QVariant& element : list)
        element = withIdTexts(element);
    return list;
}

std::optional<QVariant> ApiValues::fromJson(const QJsonValue& value, int type)
{
    switch (type) {
    case QMetaType::QString:
        return textFrom(value);
    case QMetaType::QStringList: {
        if (!value.isArray())
            return std::nullopt;
        QStringList texts;
        const QJsonArray array = value.toArray();
        for (const QJsonValue element : array) {
            const auto text = textFrom(element);
            if (!text)
                return std::nullopt;
            texts.append(text->toString());
        }
        return QVariant(texts);
    }
    case QMetaType::Int:
        return numberFrom<int>(value);
    case QMetaType::UInt:
        return numberFrom<unsigned int>(value);
    case QMetaType::Bool:
        return value.isBool() ? std::optional<QVariant>(value.toBool()) : std::nullopt;
    case QMetaType::QVariantMap:
        return value.isObject() ? std::optional<QVariant>(value.toObject().toVariantMap()) : std::nullopt;
    case QMetaType::QVariantList:
        return value.isArray() ? std::optional<QVariant>(value.toArray().toVariantList()) : std::nullopt;
    default:
        return value.isNull() ? QVariant() : value.toVariant();
    }
}

QJsonValue ApiValues::toJson(const QVariant& value, const QString& name)
{
    const int type = value.userType();
    if (type == qMetaTypeId<CItemId>())
        return QString::number(value.value<CItemId>().value());
    switch (type) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return QJsonValue::Null;
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return numberTo(value.toLongLong());
    case QMetaType::ULongLong:
        return value.toULongLong() <= quint64(mostExact) ? QJsonValue(value.toLongLong())
                                                         : QJsonValue(value.toString());
    case QMetaType::Double:
    case QMetaType::Float:
        return std::isfinite(value.toDouble()) ? QJsonValue(value.toDouble()) : QJsonValue(QJsonValue::Null);
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QDateTime:
        return value.toDateTime().isValid() ? QJsonValue(value.toDateTime().toUTC().toString(Qt::ISODate))
                                            : QJsonValue(QJsonValue::Null);
    case QMetaType::QDate:
        return value.toDate().toString(Qt::ISODate);
    case QMetaType::QTime:
        return value.toTime().toString(Qt::ISODate);
    case QMetaType::QByteArray:
        return name == QLatin1String("uid") ? CDataType::rfidUidToLabel(value.toByteArray())
                                            : QString::fromLatin1(value.toByteArray().toBase64());
    case QMetaType::QVariantMap: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
            object.insert(entry.key(), toJson(*entry, entry.key()));
        return object;
    }
    default:
        break;
    }
    if (!QtCompat::isList(value))
        return canonicalText(value);
    QJsonArray array;
    const auto list = value.value<QVariantList>();
    for (const QVariant& element : list)
        array.append(toJson(element, name));
    return array;
}

QVariantMap ApiValues::withIdTexts(QVariantMap map)
{
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        if (isIdName(entry.key()) && isInteger(*entry))
            *entry = canonicalText(*entry);
        else
            *entry = withIdTexts(*entry);
    }
    return map;
}

QString ApiValues::typeName(int type)
{
    switch (type) {
    case QMetaType::QString:
        return QStringLiteral("string");
    case QMetaType::QStringList:
        return QStringLiteral("string[]");
    case QMetaType::Int:
    case QMetaType::UInt:
        return QStringLiteral("integer");
    case QMetaType::Bool:
        return QStringLiteral("boolean");
    case QMetaType::QVariantMap:
        return QStringLiteral("object");
    case QMetaType::QVariantList:
        return QStringLiteral("array");
    case QMetaType::Void:
        return QStringLiteral("null");
    default:
        return QStringLiteral("any");
    }
}
