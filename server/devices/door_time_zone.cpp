#include <server/devices/door_time_zone.h>

#include <limits>

CDeviceTimeZoneSettings DoorTimeZone::settings(const QTimeZone& zone, qint64 now)
{
    if (!zone.isValid())
        return CDeviceTimeZoneSettings();
    const int year = QDateTime::fromSecsSinceEpoch(now, Qt::UTC).date().year();
    const QDateTime begin(QDate(year, 1, 1), QTime(0, 0), Qt::UTC);
    const QDateTime end = begin.addYears(yearsAhead + 1);
    // A zone whose clock was never changed has no data of an offset.
    QTimeZone::OffsetData first{QString(), begin, zone.offsetFromUtc(begin), zone.standardTimeOffset(begin), 0};
    QTimeZone::OffsetDataList periods{first};
    periods += zone.transitions(begin.addSecs(1), end);
    return CDeviceTimeZoneSettings(std::numeric_limits<int>::max(), periods);
}

CDeviceTimeZoneSettings DoorTimeZone::settings(const QString& zone, qint64 now)
{
    return settings(zone.isEmpty() ? QTimeZone::systemTimeZone() : QTimeZone(zone.toLatin1()), now);
}
