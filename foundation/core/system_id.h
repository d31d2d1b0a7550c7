#pragma once

#include <foundation/core/export.h>

#include <QtCore/QHashFunctions>
#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <type_traits>

class QDataStream;
class QDebug;

/// The number of an installation, 0 to 0x7FFFFF (23 bits). Whatever lies outside becomes 0.
///
/// Its label has two groups of four digits, the last of them a check digit: 12345 is "0012.3457".
class KYR_FOUNDATION_EXPORT CSystemId
{
public:
    static constexpr quint32 maximum = 0x7FFFFF;

    constexpr CSystemId() = default;
    template<typename Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
    constexpr explicit CSystemId(Integer id)
        : m_id(static_cast<quint64>(id) <= maximum ? static_cast<quint32>(id) : 0)
    {
    }

    constexpr quint32 value() const { return m_id; }
    /// Whether this names an installation. 0 travels between devices, but no label stands for it.
    constexpr bool isValid() const { return m_id != 0; }

    template<typename Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
    constexpr explicit operator Integer() const
    {
        return static_cast<Integer>(m_id);
    }

    /// "DDDD.DDDD"; 0 gives "0000.0000", which fromLabel does not accept.
    QString toLabel() const;
    /// Reads a label. A text of another shape, a wrong check digit or a number out of range sets *ok (if given) to
    /// false and gives 0.
    static CSystemId fromLabel(const QString& label, bool* ok = nullptr);

    friend constexpr bool operator==(CSystemId a, CSystemId b) { return a.m_id == b.m_id; }
    friend constexpr bool operator!=(CSystemId a, CSystemId b) { return a.m_id != b.m_id; }
    friend constexpr bool operator<(CSystemId a, CSystemId b) { return a.m_id < b.m_id; }

private:
    quint32 m_id = 0;
};

Q_DECLARE_TYPEINFO(CSystemId, Q_PRIMITIVE_TYPE);
Q_DECLARE_METATYPE(CSystemId)

inline auto qHash(CSystemId id, decltype(qHash(0)) seed = 0)
{
    return qHash(id.value(), seed);
}

/// Writes the label, without quotes, spaced as the stream is set.
KYR_FOUNDATION_EXPORT QDebug operator<<(QDebug debug, const CSystemId& id);

/// As a qint32. A number out of range is read as 0.
KYR_FOUNDATION_EXPORT QDataStream& operator<<(QDataStream& stream, const CSystemId& id);
KYR_FOUNDATION_EXPORT QDataStream& operator>>(QDataStream& stream, CSystemId& id);
