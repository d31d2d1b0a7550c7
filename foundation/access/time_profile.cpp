#include <foundation/access/time_profile.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr int holidayIndex = 7;
constexpr qint64 secondsOfDay = CAccessTimeZone::secondsOfDay;
constexpr qint64 never = CAccessTimeZone::never;
const qint64 julianEpoch = 2440588; // 1970-01-01, a Thursday

// The day that holds a local time, and the day of the week, from 0 for Monday.
qint64 dayOf(qint64 local)
{
    return local >= 0 ? local / secondsOfDay : -((-local + secondsOfDay - 1) / secondsOfDay);
}

int weekdayOf(qint64 day)
{
    return static_cast<int>(((day + 3) % 7 + 7) % 7);
}

// The bit of a day in TimeSlotDays.
CDataType::TimeSlotDay dayFlag(int index)
{
    return static_cast<CDataType::TimeSlotDay>(1 << index);
}

bool isUsable(const CTimeSlot& slot)
{
    return slot.days != 0
           && (slot.closed
               || (slot.from >= 0 && slot.from < CTimeSlot::minutesOfDay && slot.to >= 0
                   && slot.to <= CTimeSlot::minutesOfDay));
}

} // namespace

CTimeProfile::CTimeProfile(const QVector<CTimeSlot>& timeSlots, const QVector<QDate>& holidays)
{
    std::copy_if(timeSlots.cbegin(), timeSlots.cend(), std::back_inserter(m_slots), isUsable);
    setHolidays(holidays);
    compile();
}

CTimeProfile CTimeProfile::always()
{
    CTimeSlot slot;
    slot.days = CDataType::timeSlotDaysCast(0xFF);
    return CTimeProfile({slot});
}

QVector<CTimeSlot> CTimeProfile::openSlots() const
{
    CDataType::TimeSlotDays closed;
    for (const CTimeSlot& slot : m_slots) {
        if (slot.closed)
            closed |= slot.days;
    }
    QVector<CTimeSlot> open;
    for (CTimeSlot slot : m_slots) {
        slot.days &= ~closed;
        if (!slot.closed && slot.days != 0)
            open.append(slot);
    }
    return open;
}

QVector<QDate> CTimeProfile::holidays() const
{
    QVector<QDate> dates;
    dates.reserve(m_holidays.size());
    for (const qint64 day : m_holidays)
        dates.append(QDate::fromJulianDay(day + julianEpoch));
    return dates;
}

void CTimeProfile::setHolidays(const QVector<QDate>& holidays)
{
    m_holidays.clear();
    for (const QDate& date : holidays) {
        if (date.isValid())
            m_holidays.append(date.toJulianDay() - julianEpoch);
    }
    std::sort(m_holidays.begin(), m_holidays.end());
    m_holidays.erase(std::unique(m_holidays.begin(), m_holidays.end()), m_holidays.end());
}

void CTimeProfile::compile()
{
    const QVector<CTimeSlot> open = openSlots();
    for (int day = 0; day <= holidayIndex; ++day) {
        Intervals all;
        for (const CTimeSlot& slot : open) {
            if (slot.days.testFlag(dayFlag(day)))
                all.append({slot.from, slot.to > slot.from ? slot.to : slot.to + CTimeSlot::minutesOfDay});
        }
        std::sort(all.begin(), all.end(), [](Interval a, Interval b) { return a.from < b.from; });
        Intervals& merged = m_open[static_cast<size_t>(day)];
        for (const Interval interval : qAsConst(all)) {
            if (merged.isEmpty() || interval.from > merged.last().to)
                merged.append(interval);
            else
                merged.last().to = qMax(merged.last().to, interval.to);
        }
    }
}

const CTimeProfile::Intervals& CTimeProfile::intervalsOf(qint64 day) const
{
    const bool isHoliday = std::binary_search(m_holidays.cbegin(), m_holidays.cend(), day);
    return m_open[static_cast<size_t>(isHoliday ? holidayIndex : weekdayOf(day))];
}

bool CTimeProfile::isOpenAt(qint64 local) const
{
    return endOfOpen(local) != never;
}

bool CTimeProfile::isOpen(const QDateTime& local) const
{
    return local.isValid()
           && isOpenAt((local.date().toJulianDay() - julianEpoch) * secondsOfDay + QTime(0, 0).secsTo(local.time()));
}

// The end of the open stretch that holds a local time, as far as one day's slots go; never if it is closed then.
qint64 CTimeProfile::endOfOpen(qint64 local) const
{
    const qint64 today = dayOf(local);
    qint64 end = never;
    for (const qint64 day : {today - 1, today}) {
        const qint64 midnight = day * secondsOfDay;
        const int minute = static_cast<int>((local - midnight) / 60);
        const Intervals& intervals = intervalsOf(day);
        const auto behind = std::upper_bound(intervals.cbegin(), intervals.cend(), minute,
                                             [](int value, Interval interval) { return value < interval.from; });
        if (behind != intervals.cbegin() && minute < (behind - 1)->to) {
            const qint64 to = midnight + qint64((behind - 1)->to) * 60;
            end = end == never ? to : qMax(end, to);
        }
    }
    return end;
}

// The first local time from this one to `until` that is open. Days are tried in order, and no slot of a day begins
// before its midnight, so the first slot that has not ended yet is the one.
qint64 CTimeProfile::firstOpen(qint64 local, qint64 until) const
{
    for (qint64 day = dayOf(local) - 1; day * secondsOfDay <= until; ++day) {
        for (const Interval interval : intervalsOf(day)) {
            const qint64 midnight = day * secondsOfDay;
            if (midnight + qint64(interval.to) * 60 <= local)
                continue;
            const qint64 open = qMax(local, midnight + qint64(interval.from) * 60);
            return open <= until ? open : never;
        }
    }
    return never;
}

qint64 CTimeProfile::firstClosed(qint64 local, qint64 until) const
{
    while (local <= until) {
        const qint64 end = endOfOpen(local);
        if (end == never)
            return local;
        local = end;
    }
    return never;
}

// Searches local time piece by piece: within a piece the offset is one and the same.
template<typename Search>
qint64 CTimeProfile::searchByOffset(qint64 instant, const CAccessTimeZone& zone, qint64 until, Search search)
{
    while (instant <= until) {
        const qint64 transition = zone.nextTransition(instant);
        const qint64 last = transition <= until ? transition - 1 : until;
        const int offset = zone.offsetAt(instant);
        const qint64 local = search(instant + offset, last + offset);
        if (local != never)
            return local - offset;
        if (transition > until)
            break;
        instant = transition;
    }
    return never;
}

qint64 CTimeProfile::nextOpening(qint64 instant, const CAccessTimeZone& zone, qint64 until) const
{
    const auto search = [this](qint64 local, qint64 last) { return firstOpen(local, last); };
    return searchByOffset(instant, zone, until, search);
}

qint64 CTimeProfile::nextChange(qint64 instant, const CAccessTimeZone& zone) const
{
    if (!isOpen(instant, zone))
        return nextOpening(instant, zone, instant + lookAhead);
    const auto search = [this](qint64 local, qint64 last) { return firstClosed(local, last); };
    return searchByOffset(instant, zone, instant + lookAhead, search);
}
