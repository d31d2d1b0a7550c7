#pragma once

#include <foundation/core/export.h>

#include <QtCore/QHashFunctions>
#include <QtCore/QList>
#include <QtCore/QMetaType>

#include <type_traits>

class QDataStream;
class QDebug;

/// Names one object of the access-control database: a user, a group, a medium, a door, a device.
///
/// A plain 64-bit value, cheap to copy; 0 is what unreadable ids turn into. Numbers become ids by themselves, ids
/// become numbers only when asked:
///
///     CItemId user = 4711;
///     QString text = QString::number(user.value());
///
/// In a variant it turns into any number or text and comes from any of them, as what a script or a JSON text held; what
/// is no number, or does not fit, is 0. The same holds for CDeviceId and CSystemId, and for lists of ids: their text is
/// "[1, 2]", and they come from that or from lists of numbers and texts.
class CItemId
{
public:
    constexpr CItemId() = default;
    constexpr CItemId(qint64 id)
        : m_id(id)
    {
    }

    constexpr qint64 value() const { return m_id; }

    template<typename Integer, std::enable_if_t<std::is_integral<Integer>::value, int> = 0>
    constexpr explicit operator Integer() const
    {
        return static_cast<Integer>(m_id);
    }

    friend constexpr bool operator==(CItemId a, CItemId b) { return a.m_id == b.m_id; }
    friend constexpr bool operator!=(CItemId a, CItemId b) { return a.m_id != b.m_id; }
    friend constexpr bool operator<(CItemId a, CItemId b) { return a.m_id < b.m_id; }
    friend constexpr bool operator>(CItemId a, CItemId b) { return a.m_id > b.m_id; }
    friend constexpr bool operator<=(CItemId a, CItemId b) { return a.m_id <= b.m_id; }
    friend constexpr bool operator>=(CItemId a, CItemId b) { return a.m_id >= b.m_id; }

private:
    qint64 m_id = 0;
};

using CItemIdList = QList<CItemId>;

Q_DECLARE_TYPEINFO(CItemId, Q_PRIMITIVE_TYPE);
Q_DECLARE_METATYPE(CItemId)
// Variants hold lists of ids under this name, whoever reads them.
Q_DECLARE_METATYPE(CItemIdList)

inline auto qHash(CItemId id, decltype(qHash(0)) seed = 0)
{
    return qHash(id.value(), seed);
}

// It would go as a CDeviceId, cut to what that holds: write value().
QDataStream& operator<<(QDataStream& stream, const CItemId& id) = delete;
QDataStream& operator>>(QDataStream& stream, CItemId& id) = delete;

/// Writes the id as a decimal number, spaced as the stream is set.
KYR_FOUNDATION_EXPORT QDebug& operator<<(QDebug& debug, const CItemId& id);

/// The same for the stream that qDebug() and its like have just made.
inline QDebug& operator<<(QDebug&& debug, const CItemId& id)
{
    return debug << id;
}
