#pragma once

#include <foundation/core/export.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVariant>

/// A position on the earth: latitude and longitude in degrees, altitude in metres; NaN stands for what is not known.
///
///     const CGeoCoordinate door(47.05, 8.31), gate(47.06, 8.31);
///     const double metres = door.distanceTo(gate);    // about 1112; -1 if one of them is not valid
class KYR_FOUNDATION_EXPORT CGeoCoordinate
{
public:
    /// Nothing known.
    CGeoCoordinate() = default;
    /// Latitude -90 to 90, longitude -180 to 180; out of range, the whole coordinate is not valid.
    CGeoCoordinate(double latitude, double longitude)
        : CGeoCoordinate(latitude, longitude, qQNaN())
    {
    }
    /// As above; an altitude outside -1000 to 10000 is dropped.
    CGeoCoordinate(double latitude, double longitude, double altitude);
    /// Takes what converts to numbers, without a check of the ranges: isValid2D() then tells. Without both latitude and
    /// longitude nothing is taken.
    CGeoCoordinate(const QVariant& latitude, const QVariant& longitude, const QVariant& altitude);

    double latitude() const { return m_latitude; }
    double longitude() const { return m_longitude; }
    double altitude() const { return m_altitude; }

    /// Whether latitude and longitude are known and within their ranges.
    bool isValid2D() const { return isLatitude(m_latitude) && isLongitude(m_longitude); }
    /// The same with the altitude.
    bool isValid3D() const { return isValid2D() && isAltitude(m_altitude); }

    /// The great-circle distance in metres, altitudes ignored; -1 when one of the two is not valid.
    double distanceTo(const CGeoCoordinate& other) const;

    /// Whether all components agree within rounding; what both do not know agrees.
    static bool equals(const CGeoCoordinate& a, const CGeoCoordinate& b);

    /// Reads "coordinates" ("47.1, 8.5") or, in a map without that key, "latitude" and "longitude"; and "altitude".
    static CGeoCoordinate create(const QMap<QString, QVariant>& map);

private:
    // A NaN fails each comparison.
    static bool isLatitude(double value) { return value >= -90 && value <= 90; }
    static bool isLongitude(double value) { return value >= -180 && value <= 180; }
    static bool isAltitude(double value) { return value >= -1000 && value <= 10000; }

    double m_latitude = qQNaN();
    double m_longitude = qQNaN();
    double m_altitude = qQNaN();
};

Q_DECLARE_TYPEINFO(CGeoCoordinate, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(CGeoCoordinate)
