#include <foundation/core/device_time_zone_settings.h>

#include <QtCore/QDataStream>
#include <QtCore/QMap>

#include <algorithm>

namespace {

qint8 quarterHours(int seconds)
{
    return static_cast<qint8>(qBound(-128, qRound(seconds / 900.0), 127));
}

} // namespace

uint qHash(const CDeviceDstInfo& info)
{
    const qint64 seconds = info.from.toSecsSinceEpoch() ^ info.to.toSecsSinceEpoch();
    return static_cast<uint>(seconds) ^ static_cast<uint>(static_cast<int>(info.offset));
}

QDataStream& operator<<(QDataStream& stream, const CDeviceDstInfo& info)
{
    return stream << info.from << info.to << info.offset;
}

QDataStream& operator>>(QDataStream& stream, CDeviceDstInfo& info)
{
    return stream >> info.from >> info.to >> info.offset;
}

CDeviceTimeZoneSettings::CDeviceTimeZoneSettings(qint8 baseOffset)
    : m_baseOffset(baseOffset)
{
}

CDeviceTimeZoneSettings::CDeviceTimeZoneSettings(int maximumPeriods, const QTimeZone::OffsetDataList& periods)
{
    QTimeZone::OffsetDataList sorted = periods;
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.atUtc < b.atUtc; });

    QMap<qint8, int> count;
    for (const auto& period : qAsConst(sorted))
        ++count[quarterHours(period.offsetFromUtc)];
    const auto most = std::max_element(count.cbegin(), count.cend());
    if (most != count.cend())
        m_baseOffset = most.key();

    for (int i = 0; i < sorted.size() && dstPeriods.size() < maximumPeriods; ++i) {
        const qint8 offset = quarterHours(sorted.at(i).offsetFromUtc);
        if (offset != m_baseOffset)
            dstPeriods.append(
                {sorted.at(i).atUtc, i + 1 < sorted.size() ? sorted.at(i + 1).atUtc : QDateTime(), offset});
    }
}

QDataStream& operator<<(QDataStream& stream, const CDeviceTimeZoneSettings& settings)
{
    stream << settings.getBaseOffset() << static_cast<qint32>(settings.dstPeriods.size());
    for (const CDeviceDstInfo& period : settings.dstPeriods)
        stream << period;
    return stream;
}

QDataStream& operator>>(QDataStream& stream, CDeviceTimeZoneSettings& settings)
{
    qint32 count = 0;
    settings.dstPeriods.clear();
    stream >> settings.m_baseOffset >> count;
    // The count comes from outside: no memory is set aside for it, and the loop ends with the data.
    for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        CDeviceDstInfo period;
        stream >> period;
        settings.dstPeriods.append(period);
    }
    if (stream.status() != QDataStream::Ok)
        settings.dstPeriods.clear();
    return stream;
}
