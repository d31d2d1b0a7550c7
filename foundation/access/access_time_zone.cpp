#include <foundation/access/access_time_zone.h>

#include <foundation/core/device_time_zone_settings.h>

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>

#include <algorithm>

namespace {

constexpr int firstYear = 1970;
constexpr int endYear = 2100;
constexpr int secondsOfQuarterHour = 900;

QDateTime dateTime(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

// "+01:00"; a zone of old, whose offset has seconds, shows them.
QString offsetText(int offset)
{
    const int size = qAbs(offset);
    const QTime time = QTime(0, 0).addSecs(size);
    return (offset < 0 ? QStringLiteral("-") : QStringLiteral("+"))
           + time.toString(size % 60 != 0 ? QStringLiteral("HH:mm:ss") : QStringLiteral("HH:mm"));
}

// The number that the digits at that place make, or -1.
int number(const QString& text, int position, int digits)
{
    if (position + digits > text.size())
        return -1;
    int value = 0;
    for (int i = position; i < position + digits; ++i) {
        const ushort unit = text.at(i).unicode();
        if (unit < '0' || unit > '9')
            return -1;
        value = value * 10 + (unit - '0');
    }
    return value;
}

bool hasAt(const QString& text, int position, char character)
{
    return position < text.size() && text.at(position) == QLatin1Char(character);
}

} // namespace

CAccessTimeZone::CAccessTimeZone(const QTimeZone& zone)
{
    if (!zone.isValid())
        return;
    const QDateTime begin(QDate(firstYear, 1, 1), QTime(0, 0), Qt::UTC);
    const QDateTime end(QDate(endYear, 1, 1), QTime(0, 0), Qt::UTC);
    m_firstOffset = zone.offsetFromUtc(begin);
    const auto transitions = zone.transitions(begin, end);
    for (const QTimeZone::OffsetData& transition : transitions)
        append(transition.atUtc.toSecsSinceEpoch(), transition.offsetFromUtc);
}

CAccessTimeZone::CAccessTimeZone(const CDeviceTimeZoneSettings& rules)
{
    m_firstOffset = rules.getBaseOffset() * secondsOfQuarterHour;
    QList<CDeviceDstInfo> periods = rules.dstPeriods;
    periods.erase(std::remove_if(periods.begin(), periods.end(),
                                 [](const auto& p) { return !p.from.isValid() || (p.to.isValid() && p.to <= p.from); }),
                  periods.end());
    std::stable_sort(periods.begin(), periods.end(), [](const auto& a, const auto& b) { return a.from < b.from; });
    for (int i = 0; i < periods.size(); ++i) {
        const CDeviceDstInfo& period = periods.at(i);
        append(period.from.toSecsSinceEpoch(), period.offset * secondsOfQuarterHour);
        if (period.to.isValid() && (i + 1 == periods.size() || period.to < periods.at(i + 1).from))
            append(period.to.toSecsSinceEpoch(), m_firstOffset);
    }
}

// Transitions that only rename the time leave no trace.
void CAccessTimeZone::append(qint64 at, int offset)
{
    if (!m_transitions.isEmpty() && m_transitions.last().at == at)
        m_transitions.removeLast();
    if (offset != (m_transitions.isEmpty() ? m_firstOffset : m_transitions.last().offset))
        m_transitions.append({at, offset});
}

int CAccessTimeZone::offsetAt(qint64 instant) const
{
    const auto next = std::upper_bound(m_transitions.cbegin(), m_transitions.cend(), instant,
                                       [](qint64 at, const Transition& transition) { return at < transition.at; });
    return next == m_transitions.cbegin() ? m_firstOffset : (next - 1)->offset;
}

qint64 CAccessTimeZone::nextTransition(qint64 instant) const
{
    const auto next = std::upper_bound(m_transitions.cbegin(), m_transitions.cend(), instant,
                                       [](qint64 at, const Transition& transition) { return at < transition.at; });
    return next == m_transitions.cend() ? never : next->at;
}

qint64 CAccessTimeZone::fromLocal(qint64 local) const
{
    // Offsets differ by less than a day, so the one before and the one after are found a day away.
    const qint64 before = local - offsetAt(local - secondsOfDay);
    const qint64 after = local - offsetAt(local + secondsOfDay);
    if (toLocal(before) == local)
        return before;
    return toLocal(after) == local ? after : before;
}

QString CAccessTimeZone::isoText(qint64 instant) const
{
    const int offset = offsetAt(instant);
    return dateTime(instant + offset).toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) + offsetText(offset);
}

QString CAccessTimeZone::displayText(qint64 instant) const
{
    const int offset = offsetAt(instant);
    const QDateTime local = dateTime(instant + offset);
    return dayName(local.date().dayOfWeek()) + QLatin1Char(' ')
           + local.toString(local.time().second() != 0 ? QStringLiteral("yyyy-MM-dd HH:mm:ss ")
                                                       : QStringLiteral("yyyy-MM-dd HH:mm "))
           + offsetText(offset);
}

std::optional<qint64> CAccessTimeZone::instantFromText(const QString& text, DayEdge edge) const
{
    const int year = number(text, 0, 4);
    const QDate date(year, number(text, 5, 2), number(text, 8, 2));
    if (year < 0 || !hasAt(text, 4, '-') || !hasAt(text, 7, '-') || !date.isValid())
        return std::nullopt;
    const qint64 day = QDate(firstYear, 1, 1).daysTo(date) * secondsOfDay;
    if (text.size() == 10)
        return fromLocal(edge == DayEdge::Begin ? day : day + secondsOfDay - 1);

    const int hour = number(text, 11, 2);
    const int minute = number(text, 14, 2);
    int position = 16;
    int second = 0;
    if (hasAt(text, position, ':')) {
        second = number(text, position + 1, 2);
        position += 3;
    }
    if (!hasAt(text, 10, 'T') || !hasAt(text, 13, ':') || !QTime::isValid(hour, minute, second))
        return std::nullopt;
    const qint64 local = day + (hour * 60 + minute) * qint64(60) + second;
    if (position == text.size())
        return fromLocal(local);
    if (hasAt(text, position, 'Z') && position + 1 == text.size())
        return local;

    const bool ahead = hasAt(text, position, '+');
    const int offsetHours = number(text, position + 1, 2);
    const int offsetMinutes = number(text, position + 4, 2);
    if ((!ahead && !hasAt(text, position, '-')) || !hasAt(text, position + 3, ':') || text.size() != position + 6
        || offsetHours < 0 || offsetHours > 14 || offsetMinutes < 0 || offsetMinutes > 59)
        return std::nullopt;
    const int offset = offsetHours * 3600 + offsetMinutes * 60;
    return ahead ? local - offset : local + offset;
}

QString CAccessTimeZone::dayName(int dayOfWeek)
{
    static const char names[][4] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    return dayOfWeek >= 1 && dayOfWeek <= 7 ? QString::fromLatin1(names[dayOfWeek - 1]) : QString();
}
