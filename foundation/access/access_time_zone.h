#pragma once

#include <foundation/core/export.h>

#include <QtCore/QSharedDataPointer>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <limits>
#include <optional>

class CDeviceTimeZoneSettings;
class QTimeZone;

/// Local time at a door: how far it is from UTC, and when that changes next. At the desk it comes from the name of a
/// zone, in a lock from the rules that the lock was given; whoever asks cannot tell which.
///
///     const CAccessTimeZone zone{QTimeZone("Europe/Zurich")};
///     zone.offsetAt(1792800000);                                   // 7200, on 2026-10-24
///     zone.isoText(zone.nextTransition(1792800000));               // "2026-10-25T02:00:00+01:00"
///
/// Instants are whole seconds since 1970-01-01T00:00:00Z, local times the same count as a clock on the wall shows it.
/// A value that is cheap to copy. Zones are known from 1970 to 2100; before and after, the nearest offset holds.
class KYR_FOUNDATION_EXPORT CAccessTimeZone
{
public:
    /// What stands for "no such moment".
    static constexpr qint64 never = std::numeric_limits<qint64>::max();
    static constexpr qint64 secondsOfDay = 86400;

    /// Which end of the day a date alone stands for.
    enum class DayEdge
    {
        Begin,
        End,
    };

    /// UTC.
    CAccessTimeZone() = default;
    /// Takes a millisecond or so: keep the value. An invalid zone is UTC.
    explicit CAccessTimeZone(const QTimeZone& zone);
    /// Periods that end before they begin are passed over; where two overlap, the later begun holds.
    explicit CAccessTimeZone(const CDeviceTimeZoneSettings& rules);

    /// Seconds that local time is ahead of UTC.
    int offsetAt(qint64 instant) const;
    /// The first instant after this one at which the offset becomes another, or never.
    qint64 nextTransition(qint64 instant) const;

    qint64 toLocal(qint64 instant) const { return instant + offsetAt(instant); }
    /// Of two instants with that local time the first; a time that is skipped counts on from before the gap.
    qint64 fromLocal(qint64 local) const;

    /// "2026-11-22T03:10:00+01:00"
    QString isoText(qint64 instant) const;
    /// "Sun 2026-11-22 03:10 +01:00", with seconds where they are not 0. In English, whatever the locale.
    QString displayText(qint64 instant) const;
    /// Reads a date, or a date and a time to the minute or the second with "Z", an offset or neither; the latter is
    /// local time here. Nothing for any other text.
    std::optional<qint64> instantFromText(const QString& text, DayEdge edge) const;

    /// The three English letters of a day; 1 is Monday, 7 Sunday.
    static QString dayName(int dayOfWeek);

private:
    struct Transition
    {
        qint64 at;
        int offset;
    };
    void append(qint64 at, int offset);

    int m_firstOffset = 0;
    QVector<Transition> m_transitions;
};
