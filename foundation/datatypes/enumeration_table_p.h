#pragma once

#include <foundation/core/qt_compat_p.h>

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QFlags>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <array>
#include <iterator>
#include <type_traits>

// Everything that a vocabulary of the catalog can do, made from one table of its values and texts:
//
//     constexpr Entry<Colour> colourTable[] = {
//         {ColourRed, QT_TRANSLATE_NOOP("@default", "Red")},
//         {ColourBlue, QT_TRANSLATE_NOOP("@default", "Blue")},
//     };
//     using ColourFamily = Enumeration<colourTable>;                  // or FlagEnumeration<colourTable, 0x3>
//
//     KYR_ENUMERATION(ColourFamily, colour)               // or KYR_FLAG_ENUMERATION(ColourFamily, colour, colours, nullptr)
//
// The macros define the functions that CDataType declares for it: colourToString and so on.
// A table stands in ascending order of its values, without doubles; that is checked when it is compiled.

template<typename Enum>
struct Entry
{
    Enum value;
    const char* text;
};

/// Finds a row of a table by its member `value`, in constant time.
template<const auto& Rows>
class Lookup
{
public:
    using Row = std::remove_const_t<std::remove_reference_t<decltype(Rows[0])>>;
    using Enum = decltype(Row::value);

    /// Null for a value that is not in the table.
    static const Row* find(Enum value)
    {
        // An empty slot leads to the first row, whose value is then another one.
        const Row& row = Rows[slotRows[number(value) % slotRows.size()]];
        return row.value == value ? &row : nullptr;
    }

protected:
    static constexpr quint32 number(Enum value) { return static_cast<quint32>(value); }

private:
    static constexpr bool ascending()
    {
        for (std::size_t i = 1; i < std::size(Rows); ++i) {
            if (number(Rows[i - 1].value) >= number(Rows[i].value))
                return false;
        }
        return true;
    }
    static_assert(ascending(), "the rows of a table ascend without doubles");
    static_assert(std::size(Rows) <= 256, "a slot is one byte");

    static constexpr bool distinct(std::size_t modulus)
    {
        for (std::size_t i = 1; i < std::size(Rows); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                if (number(Rows[i].value) % modulus == number(Rows[j].value) % modulus)
                    return false;
            }
        }
        return true;
    }

    // Small values are their own slots: the next power of two makes the division a mask. Flags and other scattered
    // values get the smallest modulus that keeps them apart (37 does for any set of single bits).
    static constexpr std::size_t slotCount()
    {
        const quint32 last = number(Rows[std::size(Rows) - 1].value);
        std::size_t count = 1;
        if (last < 256) {
            while (count <= last)
                count *= 2;
        } else {
            count = std::size(Rows);
            while (!distinct(count))
                ++count;
        }
        return count;
    }

    static constexpr auto makeSlots()
    {
        std::array<quint8, slotCount()> result{};
        for (std::size_t i = 0; i < std::size(Rows); ++i)
            result[number(Rows[i].value) % result.size()] = static_cast<quint8>(i);
        return result;
    }
    static constexpr std::array<quint8, slotCount()> slotRows = makeSlots();
};

/// The family of a plain enumeration; Fallback is what undefined values are cast to.
template<const auto& Rows, int Fallback = 0>
class Enumeration : public Lookup<Rows>
{
public:
    using Enum = typename Lookup<Rows>::Enum;

    static const char* text(Enum value, const char* unknown = "Unknown")
    {
        const auto* row = Enumeration::find(value);
        return row ? row->text : unknown;
    }

    /// Looked up at each call: the language may change.
    static QString translated(Enum value) { return QCoreApplication::translate("@default", text(value)); }

    static Enum cast(int value)
    {
        return Enumeration::find(static_cast<Enum>(value)) ? static_cast<Enum>(value) : static_cast<Enum>(Fallback);
    }

    static QList<Enum> values()
    {
        static const QList<Enum> all = [] {
            QList<Enum> result;
            for (const auto& row : Rows)
                result.append(row.value);
            return result;
        }();
        return all;
    }

    /// 0 for a text of no value; of several values with one text the last.
    static Enum fromText(const QByteArray& text) { return findText<~0u>(text); }

protected:
    /// Values with bits outside the mask are not found.
    template<quint32 Mask>
    static Enum findText(const QByteArray& text)
    {
        static const QHash<QByteArray, Enum> byText = [] {
            QHash<QByteArray, Enum> result;
            for (const auto& row : Rows) {
                if ((Lookup<Rows>::number(row.value) & ~Mask) == 0)
                    result.insert(row.text, row.value);
            }
            return result;
        }();
        return byText.value(text, Enum(0));
    }
};

/// The family of a flag enumeration whose sets keep the bits of Mask. Unlisted bits have a text and may be cast one by
/// one, but are in no set and no list.
template<const auto& Rows, quint32 Mask, quint32 Unlisted = 0>
class FlagEnumeration : public Enumeration<Rows>
{
public:
    using Enum = typename Lookup<Rows>::Enum;
    using Set = QFlags<Enum>;

    /// With a name, warns under it when other bits are set.
    static Set castSet(quint32 bits, const char* name = nullptr)
    {
        if (name && (bits & ~Mask))
            qWarning("%s: Cast with invalid value %x", name, bits);
        return Set(QFlag(bits & Mask));
    }

    /// The bits that are set and kept, lowest first.
    static QList<Enum> values(Set set)
    {
        QList<Enum> result;
        for (quint32 rest = bitsOf(set); rest != 0; rest &= rest - 1)
            result.append(static_cast<Enum>(rest & (~rest + 1)));
        return result;
    }

    static QStringList texts(Set set)
    {
        QStringList result;
        for (const Enum value : values(set))
            result.append(Enumeration<Rows>::translated(value));
        return result;
    }

    static Enum fromText(const QByteArray& text) { return Enumeration<Rows>::template findText<Mask>(text); }

    static QVariant toVariant(Set set)
    {
        const quint32 bits = bitsOf(set);
        return bits != 0 ? QVariant(bits) : QtCompat::nullUnsigned();
    }

    static Set fromVariant(const QVariant& variant) { return variant.isNull() ? Set() : castSet(variant.toUInt()); }

private:
    static quint32 bitsOf(Set set) { return static_cast<quint32>(typename Set::Int(set)) & Mask; }

    static constexpr bool withinMask()
    {
        for (const auto& row : Rows) {
            const quint32 bit = Lookup<Rows>::number(row.value);
            if (bit == 0 || (bit & (bit - 1)) != 0 || (bit & (Mask | Unlisted)) == 0)
                return false;
        }
        return true;
    }
    static_assert(withinMask(), "the rows of a flag table are single bits within the mask");
};

// clang-format off
#define KYR_ENUMERATION_BASE(Family, name)                                                                             \
    const char* CDataType::name##ToString(Family::Enum value) { return Family::text(value); }                          \
    Family::Enum CDataType::name##Cast(int value) { return Family::cast(value); }                                      \
    Family::Enum CDataType::name##FromString(const QByteArray& text) { return Family::fromText(text); }

/// The four functions of a plain enumeration.
#define KYR_ENUMERATION(Family, name)                                                                                  \
    KYR_ENUMERATION_BASE(Family, name)                                                                                 \
    QList<Family::Enum> CDataType::name##Values() { return Family::values(); }

/// The six functions of a flag enumeration. A set with bits outside the mask is warned of under the name `warning`, or
/// not at all when that is null.
#define KYR_FLAG_ENUMERATION(Family, name, names, warning)                                                             \
    KYR_ENUMERATION_BASE(Family, name)                                                                                 \
    QList<Family::Enum> CDataType::name##Values(Family::Set flags) { return Family::values(flags); }                   \
    Family::Set CDataType::names##Cast(unsigned int value) { return Family::castSet(value, warning); }                 \
    QStringList CDataType::names##ToStrings(Family::Set flags) { return Family::texts(flags); }
// clang-format on
