#pragma once

#include <foundation/core/export.h>

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QTimeZone>

class QDataStream;

/// A stretch of time in which a device's clock runs by an offset of its own, daylight-saving time as a rule.
struct CDeviceDstInfo
{
    QDateTime from;
    /// Invalid when the end is not known.
    QDateTime to;
    /// From UTC, in quarter hours (not from the base offset).
    qint8 offset = 0;

    friend bool operator==(const CDeviceDstInfo& a, const CDeviceDstInfo& b)
    {
        return a.from == b.from && a.to == b.to && a.offset == b.offset;
    }
    friend bool operator!=(const CDeviceDstInfo& a, const CDeviceDstInfo& b) { return !(a == b); }
};

KYR_FOUNDATION_EXPORT uint qHash(const CDeviceDstInfo& info);
KYR_FOUNDATION_EXPORT QDataStream& operator<<(QDataStream& stream, const CDeviceDstInfo& info);
KYR_FOUNDATION_EXPORT QDataStream& operator>>(QDataStream& stream, CDeviceDstInfo& info);

/// What a device is told about local time: the offset that usually holds, and the periods in which another one does.
///
///     const QTimeZone zone("Europe/Zurich");
///     const auto now = QDateTime::currentDateTimeUtc();
///     CDeviceTimeZoneSettings settings(10, zone.transitions(now, now.addYears(10)));
class KYR_FOUNDATION_EXPORT CDeviceTimeZoneSettings
{
public:
    CDeviceTimeZoneSettings() = default;
    /// A constant offset from UTC, in quarter hours.
    explicit CDeviceTimeZoneSettings(qint8 baseOffset);
    /// Derived from the periods of a time zone, in any order. The offset of most periods becomes the base offset (of
    /// several, the lowest: that is winter time); of the other periods the maximumPeriods earliest are kept, each
    /// ending where the next of any offset begins.
    CDeviceTimeZoneSettings(int maximumPeriods, const QTimeZone::OffsetDataList& periods);

    /// From UTC, in quarter hours.
    qint8 getBaseOffset() const { return m_baseOffset; }

    friend bool operator==(const CDeviceTimeZoneSettings& a, const CDeviceTimeZoneSettings& b)
    {
        return a.m_baseOffset == b.m_baseOffset && a.dstPeriods == b.dstPeriods;
    }
    friend bool operator!=(const CDeviceTimeZoneSettings& a, const CDeviceTimeZoneSettings& b) { return !(a == b); }

    QList<CDeviceDstInfo> dstPeriods;

private:
    friend KYR_FOUNDATION_EXPORT QDataStream& operator>>(QDataStream& stream, CDeviceTimeZoneSettings& settings);

    qint8 m_baseOffset = 0;
};

Q_DECLARE_METATYPE(CDeviceDstInfo)
Q_DECLARE_METATYPE(CDeviceTimeZoneSettings)

/// Base offset, number of periods, periods. A list that is cut short is read as an empty one, and the stream's status
/// says so.
KYR_FOUNDATION_EXPORT QDataStream& operator<<(QDataStream& stream, const CDeviceTimeZoneSettings& settings);
KYR_FOUNDATION_EXPORT QDataStream& operator>>(QDataStream& stream, CDeviceTimeZoneSettings& settings);
