#include <foundation/datatypes/geo_position_info.h>

#include <QtCore/QLocale>

#include <cmath>

namespace {

struct AttributeName
{
    CGeoPositionInfo::Attribute attribute;
    const char* name;
};

constexpr AttributeName attributeNames[] = {
    {CGeoPositionInfo::Course, "course"},
    {CGeoPositionInfo::CourseAccuracy, "courseAccuracy"},
    {CGeoPositionInfo::Speed, "speed"},
    {CGeoPositionInfo::SpeedAccuracy, "speedAccuracy"},
    {CGeoPositionInfo::HorizontalAccuracy, "horizontalAccuracy"},
    {CGeoPositionInfo::VerticalAccuracy, "verticalAccuracy"},
};

// A value outside the integer's range (an infinite one, too) is cut to the nearest that fits; not for NaN.
qlonglong wholeNumber(double value)
{
    constexpr double limit = 9007199254740992; // 2^53, beyond which a double has gaps
    return static_cast<qlonglong>(qBound(-limit, value, limit));
}

// The shortest text that reads back as the same number.
QString exactText(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

} // namespace

CGeoPositionInfo::CGeoPositionInfo(const CGeoCoordinate& coordinate, const QDateTime& timestamp)
    : m_coordinate(coordinate)
    , m_timestamp(timestamp)
{
}

CGeoPositionInfo::CGeoPositionInfo(const QMap<QString, QVariant>& map)
    : m_coordinate(CGeoCoordinate::create(map))
    , m_timestamp(map.value(QStringLiteral("timestamp")).toDateTime())
{
    for (const AttributeName& entry : attributeNames) {
        bool ok = false;
        const double value = map.value(QLatin1String(entry.name)).toDouble(&ok);
        if (ok)
            m_attributes.insert(entry.attribute, value);
    }
}

bool CGeoPositionInfo::isValid() const
{
    return m_timestamp.isValid() && m_coordinate.isValid2D();
}

void CGeoPositionInfo::setAttribute(Attribute attribute, double value)
{
    m_attributes.insert(attribute, value);
}

double CGeoPositionInfo::attribute(Attribute attribute) const
{
    return m_attributes.value(attribute, qQNaN());
}

bool CGeoPositionInfo::hasAttribute(Attribute attribute) const
{
    return m_attributes.contains(attribute);
}

QString CGeoPositionInfo::attributeToString(Attribute attribute)
{
    for (const AttributeName& entry : attributeNames) {
        if (entry.attribute == attribute)
            return QLatin1String(entry.name);
    }
    return QString();
}

CGeoPositionInfo::Attribute CGeoPositionInfo::attributeFromString(const QString& name)
{
    for (const AttributeName& entry : attributeNames) {
        if (name == QLatin1String(entry.name))
            return entry.attribute;
    }
    return UnknownAttribute;
}

bool CGeoPositionInfo::equals(const CGeoPositionInfo& a, const CGeoPositionInfo& b)
{
    if (a.m_timestamp != b.m_timestamp || !CGeoCoordinate::equals(a.m_coordinate, b.m_coordinate)
        || a.m_attributes.size() != b.m_attributes.size())
        return false;
    for (auto it = a.m_attributes.cbegin(); it != a.m_attributes.cend(); ++it) {
        const auto other = b.m_attributes.constFind(it.key());
        if (other == b.m_attributes.cend() || !(*other == *it))
            return false;
    }
    return true;
}

QMap<QString, QVariant> CGeoPositionInfo::toCompactMap() const
{
    QMap<QString, QVariant> map;
    const double latitude = m_coordinate.latitude();
    const double longitude = m_coordinate.longitude();
    if (!qIsNaN(latitude) && !qIsNaN(longitude)) {
        const QString text =
            QString::number(latitude, 'f', 5) + QLatin1String(", ") + QString::number(longitude, 'f', 5);
        map.insert(QStringLiteral("coordinates"), text);
    }
    if (!qIsNaN(m_coordinate.altitude()))
        map.insert(QStringLiteral("altitude"), QString::number(wholeNumber(m_coordinate.altitude())));
    for (auto it = m_attributes.cbegin(); it != m_attributes.cend(); ++it) {
        const QString name = attributeToString(it.key());
        if (!name.isNull() && !qIsNaN(*it))
            map.insert(name, wholeNumber(*it));
    }
    if (m_timestamp.isValid())
        map.insert(QStringLiteral("age"), m_timestamp.msecsTo(QDateTime::currentDateTimeUtc()));
    return map;
}

QMap<QString, QVariant> CGeoPositionInfo::toMap(bool withAttributes, bool withTimestamp) const
{
    QMap<QString, QVariant> map;
    const double latitude = m_coordinate.latitude();
    const double longitude = m_coordinate.longitude();
    if (!qIsNaN(latitude) && !qIsNaN(longitude)) {
        map.insert(QStringLiteral("latitude"), latitude);
        map.insert(QStringLiteral("longitude"), longitude);
        const QString text = exactText(latitude) + QLatin1String(", ") + exactText(longitude);
        map.insert(QStringLiteral("coordinates"), text);
    }
    if (!qIsNaN(m_coordinate.altitude()))
        map.insert(QStringLiteral("altitude"), m_coordinate.altitude());
    if (withAttributes) {
        for (auto it = m_attributes.cbegin(); it != m_attributes.cend(); ++it) {
            const QString name = attributeToString(it.key());
            if (!name.isNull() && !qIsNaN(*it))
                map.insert(name, *it);
        }
    }
    if (withTimestamp && m_timestamp.isValid())
        map.insert(QStringLiteral("timestamp"), m_timestamp.toUTC().toString(Qt::ISODateWithMs));
    return map;
}
