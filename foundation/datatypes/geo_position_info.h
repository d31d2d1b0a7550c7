#pragma once

#include <foundation/core/export.h>
#include <foundation/datatypes/geo_coordinate.h>

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QMap>

/// Where something was at a time, and, as far as it was measured, how it moved and how exact that is.
///
///     CGeoPositionInfo fix(CGeoCoordinate(47.1, 8.5, 436), QDateTime::currentDateTimeUtc());
///     fix.setAttribute(CGeoPositionInfo::HorizontalAccuracy, 12.5);
///     const CGeoPositionInfo same(fix.toMap(true, true));
class KYR_FOUNDATION_EXPORT CGeoPositionInfo
{
public:
    enum Attribute
    {
        UnknownAttribute = 0,
        Course = 1,
        CourseAccuracy = 2,
        Speed = 3,
        SpeedAccuracy = 4,
        HorizontalAccuracy = 5,
        VerticalAccuracy = 6
    };

    CGeoPositionInfo() = default;
    CGeoPositionInfo(const CGeoCoordinate& coordinate, const QDateTime& timestamp);
    /// Reads what toMap() writes; what is missing or unreadable is left unset.
    explicit CGeoPositionInfo(const QMap<QString, QVariant>& map);

    const CGeoCoordinate& coordinate() const { return m_coordinate; }
    void setCoordinate(const CGeoCoordinate& coordinate) { m_coordinate = coordinate; }
    const QDateTime& timestamp() const { return m_timestamp; }
    void setTimestamp(const QDateTime& timestamp) { m_timestamp = timestamp; }

    /// Whether the time and the horizontal position are known.
    bool isValid() const;

    void setAttribute(Attribute attribute, double value);
    /// NaN when it was not set.
    double attribute(Attribute attribute) const;
    bool hasAttribute(Attribute attribute) const;

    /// The name that the maps use; a null text for any other value.
    static QString attributeToString(Attribute attribute);
    /// Exact, case-sensitive; 0 for any other text.
    static Attribute attributeFromString(const QString& name);

    /// Same time, same coordinate (within rounding), same attributes with exactly the same values; a NaN equals
    /// nothing.
    static bool equals(const CGeoPositionInfo& a, const CGeoPositionInfo& b);

    /// For display and short messages: "coordinates" with five decimals, "altitude" (text) and the attributes as whole
    /// numbers, cut, not rounded, and "age" in milliseconds. What is not known has no entry.
    QMap<QString, QVariant> toCompactMap() const;
    /// All in full precision: "latitude", "longitude", "altitude" as numbers, "coordinates" as text; the attributes and
    /// the "timestamp" (ISO 8601 in UTC with milliseconds) when asked for. What is not known has no entry.
    QMap<QString, QVariant> toMap(bool withAttributes, bool withTimestamp) const;

private:
    CGeoCoordinate m_coordinate;
    QDateTime m_timestamp;
    QHash<Attribute, double> m_attributes;
};

Q_DECLARE_METATYPE(CGeoPositionInfo)
