#include <foundation/datatypes/geo_coordinate.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr double radiansPerDegree = 0.017453292519943295;
constexpr double earthRadiusMetres = 6371.0072 * 1000;

double square(double value)
{
    return value * value;
}

// cos(latitude1) * cos(latitude2), given sin^2 of half their difference. The sum form saves one cosine of two; it loses
// digits where the product is small, and so two points near a pole take the plain form.
double cosineProduct(double latitude1, double latitude2, double halfDifferenceSineSquare)
{
    constexpr double exactEnough = 1e-4;
    const double product = 0.5 - halfDifferenceSineSquare + std::cos(latitude1 + latitude2) / 2;
    return product > exactEnough ? product : std::cos(latitude1) * std::cos(latitude2);
}

bool componentsEqual(double a, double b)
{
    return (qIsNaN(a) && qIsNaN(b)) || qFuzzyCompare(a, b);
}

} // namespace

CGeoCoordinate::CGeoCoordinate(double latitude, double longitude, double altitude)
{
    if (!isLatitude(latitude) || !isLongitude(longitude))
        return; // an altitude alone says nothing
    m_latitude = latitude;
    m_longitude = longitude;
    if (isAltitude(altitude))
        m_altitude = altitude;
}

CGeoCoordinate::CGeoCoordinate(const QVariant& latitude, const QVariant& longitude, const QVariant& altitude)
{
    bool latitudeOk = false;
    bool longitudeOk = false;
    const double latitudeValue = latitude.toDouble(&latitudeOk);
    const double longitudeValue = longitude.toDouble(&longitudeOk);
    if (!latitudeOk || !longitudeOk)
        return;
    m_latitude = latitudeValue;
    m_longitude = longitudeValue;
    bool altitudeOk = false;
    const double altitudeValue = altitude.toDouble(&altitudeOk);
    if (altitudeOk)
        m_altitude = altitudeValue;
}

double CGeoCoordinate::distanceTo(const CGeoCoordinate& other) const
{
    if (!isValid2D() || !other.isValid2D())
        return -1.0;
    const double latitude1 = m_latitude * radiansPerDegree;
    const double latitude2 = other.m_latitude * radiansPerDegree;
    const double longitudeDifference = (other.m_longitude - m_longitude) * radiansPerDegree;
    const double latitudePart = square(std::sin((latitude2 - latitude1) / 2));
    const double a =
        latitudePart + cosineProduct(latitude1, latitude2, latitudePart) * square(std::sin(longitudeDifference / 2));
    // Rounding lifts the sum above 1 for some antipodes; asin must never see that.
    return 2 * std::asin(std::sqrt(std::min(a, 1.0))) * earthRadiusMetres;
}

bool CGeoCoordinate::equals(const CGeoCoordinate& a, const CGeoCoordinate& b)
{
    return componentsEqual(a.m_latitude, b.m_latitude) && componentsEqual(a.m_longitude, b.m_longitude)
           && componentsEqual(a.m_altitude, b.m_altitude);
}

CGeoCoordinate CGeoCoordinate::create(const QMap<QString, QVariant>& map)
{
    QVariant latitude;
    QVariant longitude;
    const auto coordinates = map.constFind(QStringLiteral("coordinates"));
    if (coordinates != map.cend()) {
        const QString text = coordinates->toString();
        latitude = text.section(QLatin1Char(','), 0, 0).trimmed();
        longitude = text.section(QLatin1Char(','), 1, 1).trimmed();
    } else {
        latitude = map.value(QStringLiteral("latitude"));
        longitude = map.value(QStringLiteral("longitude"));
    }
    return CGeoCoordinate(latitude, longitude, map.value(QStringLiteral("altitude")));
}
