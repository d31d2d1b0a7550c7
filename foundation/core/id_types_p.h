#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/item_id.h>
#include <foundation/core/qt_compat_p.h>

#include <QtCore/QStringList>
#include <QtCore/QVariantList>

#include <cmath>
#include <type_traits>

/// What each type of id can do inside a variant: turn into and come from any type of number and texts, compare, and in
/// lists, too. A number that does not fit on the other side is 0 there, as is a text that is no decimal number.
namespace IdTypes {

// An id or a number of any type.
template<typename T>
qint64 toNumber(T from)
{
    if constexpr (std::is_floating_point<T>::value) {
        constexpr T limit = 9223372036854775808.0; // 2^63
        return from >= -limit && from < limit && std::trunc(from) == from ? static_cast<qint64>(from) : 0;
    } else if constexpr (std::is_integral<T>::value) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): a number, whose sign counts
        const auto number = static_cast<qint64>(from);
        return (number < 0) == (from < T(0)) ? number : 0;
    } else {
        return static_cast<qint64>(from.value());
    }
}

template<typename Id, typename Number>
void registerNumber()
{
    QMetaType::registerConverter<Id, Number>([](Id id) {
        const qint64 value = toNumber(id);
        const auto number = static_cast<Number>(value);
        return toNumber(number) == value ? number : Number(0);
    });
    QMetaType::registerConverter<Number, Id>([](Number number) { return Id(toNumber(number)); });
}

template<typename Id, typename... Numbers>
void registerNumbers()
{
    (registerNumber<Id, Numbers>(), ...);
}

template<typename Id>
Id fromText(const QString& text)
{
    return Id(text.toLongLong());
}

// The elements may be ids, numbers or texts.
template<typename Id, typename List>
QList<Id> fromList(const List& list)
{
    QList<Id> ids;
    ids.reserve(list.size());
    for (const auto& element : list)
        ids.append(QVariant(element).template value<Id>());
    return ids;
}

// "[1, 2]", as JSON has it.
template<typename Id>
QString listText(const QList<Id>& ids)
{
    QStringList texts;
    for (const Id id : ids)
        texts.append(QString::number(id.value()));
    return QLatin1Char('[') + texts.join(QLatin1String(", ")) + QLatin1Char(']');
}

template<typename Id>
QList<Id> listFromText(const QString& text)
{
    const QString inside = text.trimmed();
    if (inside.size() < 2 || !inside.startsWith(QLatin1Char('[')) || !inside.endsWith(QLatin1Char(']')))
        return {};
    const QString texts = inside.mid(1, inside.size() - 2).trimmed();
    return texts.isEmpty() ? QList<Id>() : fromList<Id>(texts.split(QLatin1Char(',')));
}

/// Called for each type when the library is loaded: a variant that is read by name finds the types known.
template<typename Id>
bool registerType(const char* name, const char* listName)
{
    qRegisterMetaType<Id>(name);
    qRegisterMetaType<QList<Id>>(listName);
    QtCompat::registerComparison<Id>();
    QtCompat::registerEquality<QList<Id>>();

    registerNumbers<Id, char, signed char, uchar, short, ushort, int, uint, long, ulong, qlonglong, qulonglong, float,
                    double>();
    QMetaType::registerConverter<Id, QString>([](Id id) { return QString::number(id.value()); });
    QMetaType::registerConverter<QString, Id>(fromText<Id>);

    QMetaType::registerConverter<QList<Id>, QString>(listText<Id>);
    QMetaType::registerConverter<QString, QList<Id>>(listFromText<Id>);
    QMetaType::registerConverter<QVariantList, QList<Id>>(fromList<Id, QVariantList>);
    QMetaType::registerConverter<QStringList, QList<Id>>(fromList<Id, QStringList>);
    return true;
}

} // namespace IdTypes
