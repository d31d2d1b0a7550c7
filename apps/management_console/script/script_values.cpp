#include "script/script_values.h"

#include <foundation/core/canonical_text.h>
#include <foundation/core/qt_compat_p.h>

#include <QtCore/QDateTime>
#include <QtQml/QJSEngine>
#include <QtQml/QJSValueIterator>

bool ScriptConversion::toVariant(const QJSValue& value, QVariant* variant)
{
    return read(value, 0, variant);
}

bool ScriptConversion::fail(const QString& reason)
{
    m_error = reason;
    return false;
}

bool ScriptConversion::read(const QJSValue& value, int depth, QVariant* variant)
{
    if (depth > deepest)
        return fail(QStringLiteral("a value is nested too deeply, or contains itself"));
    if (++m_count > most)
        return fail(QStringLiteral("a value is too large"));
    if (value.isCallable())
        return fail(QStringLiteral("a value is expected, not a function"));
    if (value.isUndefined() || value.isNull()) {
        *variant = QVariant();
        return true;
    }
    if (value.isArray()) {
        // A list may say that it is longer than all memory.
        const double length = value.property(QStringLiteral("length")).toNumber();
        if (length > most - m_count)
            return fail(QStringLiteral("a list is too long"));
        QVariantList list;
        for (quint32 i = 0; i < quint32(length); ++i) {
            QVariant element;
            if (!read(value.property(i), depth + 1, &element))
                return false;
            list.append(element);
        }
        *variant = list;
        return true;
    }
    if (value.isDate() || !value.isObject()) {
        *variant = value.toVariant();
        return true;
    }
    QVariantMap map;
    QJSValueIterator property(value);
    while (property.next()) {
        QVariant element;
        if (!read(property.value(), depth + 1, &element))
            return false;
        map.insert(property.name(), element);
    }
    *variant = map;
    return true;
}

QJSValue ScriptConversion::toScript(QJSEngine& engine, const QVariant& value)
{
    if (!value.isValid())
        return QJSValue(QJSValue::UndefinedValue);
    switch (value.userType()) {
    case QMetaType::Nullptr:
        return QJSValue(QJSValue::NullValue);
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
        return value.toInt();
    case QMetaType::UInt:
        return value.toUInt();
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return value.toDouble();
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QDateTime:
        return engine.toScriptValue(value.toDateTime());
    case QMetaType::QVariantMap: {
        QJSValue object = engine.newObject();
        const QVariantMap map = value.toMap();
        for (auto entry = map.begin(); entry != map.end(); ++entry)
            object.setProperty(entry.key(), toScript(engine, entry.value()));
        return object;
    }
    default:
        break;
    }
    if (value.userType() == QMetaType::QByteArray || !QtCompat::isList(value))
        return canonicalText(value);
    const QVariantList list = value.toList();
    QJSValue array = engine.newArray(uint(list.size()));
    for (int i = 0; i < list.size(); ++i)
        array.setProperty(quint32(i), toScript(engine, list.at(i)));
    return array;
}
