#pragma once

#include <foundation/core/export.h>
#include <foundation/core/item_id.h>

#include <QtCore/QString>

class QDataStream;
class QDebug;

/// The serial number of a device, 1 to 0x3FFFFFF (26 bits). Whatever lies outside becomes 0, "no device".
///
/// People read and type it as a label of three groups of three digits, the last of them a check digit:
///
///     bool ok;
///     const CDeviceId device = CDeviceId::fromLabel(QStringLiteral("000.123.457"), &ok);   // 12345
class KYR_FOUNDATION_EXPORT CDeviceId
{
public:
    static constexpr quint32 maximum = 0x3FFFFFF;

    constexpr CDeviceId() = default;
    template<typename Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
    constexpr explicit CDeviceId(Integer id)
        : m_id(static_cast<quint64>(id) <= maximum ? static_cast<quint32>(id) : 0)
    {
    }
    // Behind the template that it calls: clang evaluates it at compile time only so.
    constexpr CDeviceId(CItemId id)
        : CDeviceId(id.value())
    {
    }

    constexpr quint32 value() const { return m_id; }
    /// Whether this names a device at all.
    constexpr bool isValid() const { return m_id != 0; }

    constexpr operator CItemId() const { return CItemId(m_id); }
    template<typename Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
    constexpr explicit operator Integer() const
    {
        return static_cast<Integer>(m_id);
    }

    /// "DDD.DDD.DDD"; the invalid id gives "000.000.000", which fromLabel does not accept.
    QString toLabel() const;
    /// Reads a label. A text of another shape, a wrong check digit or a number out of range sets *ok (if given) to
    /// false and gives the invalid id.
    static CDeviceId fromLabel(const QString& label, bool* ok = nullptr);

    friend constexpr bool operator==(CDeviceId a, CDeviceId b) { return a.m_id == b.m_id; }
    friend constexpr bool operator!=(CDeviceId a, CDeviceId b) { return a.m_id != b.m_id; }
    friend constexpr bool operator<(CDeviceId a, CDeviceId b) { return a.m_id < b.m_id; }
    friend constexpr bool operator>(CDeviceId a, CDeviceId b) { return a.m_id > b.m_id; }
    friend constexpr bool operator<=(CDeviceId a, CDeviceId b) { return a.m_id <= b.m_id; }
    friend constexpr bool operator>=(CDeviceId a, CDeviceId b) { return a.m_id >= b.m_id; }
    // Each type turns into the other: a mixed comparison is one of item ids, so that an id out of range is not 0.
    friend constexpr bool operator==(CDeviceId a, CItemId b) { return CItemId(a) == b; }
    friend constexpr bool operator==(CItemId a, CDeviceId b) { return a == CItemId(b); }
    friend constexpr bool operator!=(CDeviceId a, CItemId b) { return CItemId(a) != b; }
    friend constexpr bool operator!=(CItemId a, CDeviceId b) { return a != CItemId(b); }

private:
    quint32 m_id = 0;
};

Q_DECLARE_TYPEINFO(CDeviceId, Q_PRIMITIVE_TYPE);
Q_DECLARE_METATYPE(CDeviceId)

inline auto qHash(CDeviceId id, decltype(qHash(0)) seed = 0)
{
    return qHash(id.value(), seed);
}

/// Writes the label, without quotes, spaced as the stream is set.
KYR_FOUNDATION_EXPORT QDebug operator<<(QDebug debug, const CDeviceId& id);

/// As a qint32. A number out of range is read as the invalid id.
KYR_FOUNDATION_EXPORT QDataStream& operator<<(QDataStream& stream, const CDeviceId& id);
KYR_FOUNDATION_EXPORT QDataStream& operator>>(QDataStream& stream, CDeviceId& id);
