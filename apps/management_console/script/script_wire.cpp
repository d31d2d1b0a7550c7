#include "script/script_wire.h"

#include <foundation/core/canonical_text.h>
#include <foundation/core/qt_compat_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <cmath>
#include <limits>

namespace {

const QString mark = QStringLiteral("$");

QJsonObject marked(const QJsonValue& value)
{
    return {{mark, value}};
}

bool isMarked(const QJsonObject& object)
{
    return object.size() == 1 && object.contains(mark);
}

QVariantMap mapFrom(const QJsonObject& object)
{
    QVariantMap map;
    for (auto entry = object.begin(); entry != object.end(); ++entry)
        map.insert(entry.key(), ScriptWire::fromJson(entry.value()));
    return map;
}

} // namespace

QJsonValue ScriptWire::toJson(const QVariant& value)
{
    if (!value.isValid())
        return marked(QJsonValue::Null);
    switch (value.userType()) {
    case QMetaType::Nullptr:
        return QJsonValue::Null;
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double: {
        const double number = value.toDouble();
        return std::isfinite(number) ? QJsonValue(number) : QJsonValue(canonicalText(value));
    }
    case QMetaType::QDateTime:
        return marked(value.toDateTime().isValid() ? QJsonValue(double(value.toDateTime().toMSecsSinceEpoch()))
                                                   : QJsonValue(QJsonValue::Null));
    case QMetaType::QVariantMap: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto entry = map.begin(); entry != map.end(); ++entry)
            object.insert(entry.key(), toJson(entry.value()));
        return isMarked(object) ? marked(object) : object;
    }
    default:
        break;
    }
    if (value.userType() == QMetaType::QByteArray || !QtCompat::isList(value))
        return canonicalText(value);
    QJsonArray array;
    const QVariantList list = value.toList();
    for (const QVariant& element : list)
        array.append(toJson(element));
    return array;
}

QVariant ScriptWire::fromJson(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Double: {
        // As the engine tells them apart.
        const double number = value.toDouble();
        const bool isInt = number == std::floor(number) && std::abs(number) <= std::numeric_limits<int>::max();
        return isInt ? QVariant(int(number)) : QVariant(number);
    }
    case QJsonValue::Array: {
        QVariantList list;
        const QJsonArray array = value.toArray();
        for (const QJsonValue element : array)
            list.append(fromJson(element));
        return list;
    }
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject();
        if (!isMarked(object))
            return mapFrom(object);
        const QJsonValue inner = object.value(mark);
        if (inner.isDouble())
            return QDateTime::fromMSecsSinceEpoch(qint64(inner.toDouble()), Qt::UTC);
        return inner.isObject() ? QVariant(mapFrom(inner.toObject())) : QVariant();
    }
    case QJsonValue::Null:
        return QVariant::fromValue(nullptr);
    default:
        return value.toVariant();
    }
}
