#pragma once

#include <foundation/access/access_time_zone.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QDateTime>
#include <QtCore/QMetaType>

#include <array>

/// One line of a schedule: on these days from this minute to that one.
struct CTimeSlot
{
    static constexpr int minutesOfDay = 1440;

    CDataType::TimeSlotDays days;
    /// Minutes from midnight, 0 to 1439.
    int from = 0;
    /// Minutes from midnight, 0 to 1440, exclusive. An end that is not behind the beginning is one of the next day.
    int to = minutesOfDay;
    /// These days stay closed, whatever other slots say. The two times mean nothing then.
    bool closed = false;

    friend bool operator==(const CTimeSlot& a, const CTimeSlot& b)
    {
        return a.days == b.days && a.closed == b.closed && (a.closed || (a.from == b.from && a.to == b.to));
    }
    friend bool operator!=(const CTimeSlot& a, const CTimeSlot& b) { return !(a == b); }
};

/// A schedule: when a right holds. Slots of a week, and the dates that are holidays.
///
///     QString error;
///     const auto office = CTimeProfile::fromText("Mon-Fri 07:00-19:00; Sat 08:00-12:00; Holiday closed", &error);
///     office->isOpen(QDateTime(QDate(2026, 11, 23), QTime(7, 0)));       // true, a Monday
///     office->nextChange(instant, zone);                                 // when it closes
///
/// - Without slots it is never open.
/// - On a holiday only slots with `Holiday` count, on any other day only those with its day of the week.
/// - A slot belongs to the day on which it begins: that day decides, also for the part after midnight.
/// - What counts is the clock on the wall: an hour that occurs twice counts both times, one that is skipped never.
///
/// A value, shared when copied. Times are whole seconds, instants seconds since 1970 UTC.
class KYR_FOUNDATION_EXPORT CTimeProfile
{
public:
    /// Longer texts and longer lists of slots are refused.
    static constexpr int maximumSlots = 1000;
    /// How far ahead the searches look, in seconds.
    static constexpr qint64 lookAhead = 366 * CAccessTimeZone::secondsOfDay;

    CTimeProfile() = default;
    /// A slot without a day, or with a time out of range, could never open and is left out.
    explicit CTimeProfile(const QVector<CTimeSlot>& timeSlots, const QVector<QDate>& holidays = {});
    /// Open on all days, holidays too.
    static CTimeProfile always();

    /// Reads slots that are separated by ";", each "DAYS HH:MM-HH:MM" or "DAYS closed"; DAYS are "Mon" to "Sun" and
    /// "Holiday", ranges ("Mon-Fri", "Sat-Mon") and lists of both ("Mon,Wed,Holiday"), in any case. An empty text is a
    /// profile without slots. What cannot be read gives nothing, and *errorString (if given) names the slot.
    static std::optional<CTimeProfile> fromText(const QString& text, QString* errorString);
    /// What fromText() takes and gives this profile for, less its holidays. Slots keep their order.
    QString toText() const;

    /// As given, closed ones included.
    const QVector<CTimeSlot>& timeSlots() const { return m_slots; }
    /// What is open in the end: without closed slots and the days that these close. Each has a day left.
    QVector<CTimeSlot> openSlots() const;
    /// In order, each once.
    QVector<QDate> holidays() const;
    void setHolidays(const QVector<QDate>& holidays);

    bool isOpen(qint64 instant, const CAccessTimeZone& zone) const { return isOpenAt(zone.toLocal(instant)); }
    /// By date and time as they stand there, whatever their zone.
    bool isOpen(const QDateTime& local) const;

    /// The first instant from this one to `until` (both included) at which it is open, or never.
    qint64 nextOpening(qint64 instant, const CAccessTimeZone& zone, qint64 until) const;
    /// The first instant after this one at which it opens (if closed) or closes (if open): CAccessTimeZone::never if
    /// that is more than lookAhead away.
    qint64 nextChange(qint64 instant, const CAccessTimeZone& zone) const;

    friend bool operator==(const CTimeProfile& a, const CTimeProfile& b)
    {
        return a.m_slots == b.m_slots && a.m_holidays == b.m_holidays;
    }
    friend bool operator!=(const CTimeProfile& a, const CTimeProfile& b) { return !(a == b); }

private:
    struct Interval
    {
        // Minutes from the midnight at which the day begins; the end may be one of the next day.
        int from;
        int to;
    };
    using Intervals = QVector<Interval>;

    void compile();
    const Intervals& intervalsOf(qint64 day) const;
    bool isOpenAt(qint64 local) const;
    qint64 firstOpen(qint64 local, qint64 until) const;
    qint64 firstClosed(qint64 local, qint64 until) const;
    qint64 endOfOpen(qint64 local) const;
    template<typename Search>
    static qint64 searchByOffset(qint64 instant, const CAccessTimeZone& zone, qint64 until, Search search);

    QVector<CTimeSlot> m_slots;
    // Days since 1970-01-01, ascending.
    QVector<qint64> m_holidays;
    // For each day of the week and for holidays: apart from each other, ascending.
    std::array<Intervals, 8> m_open;
};

Q_DECLARE_METATYPE(CTimeProfile)
