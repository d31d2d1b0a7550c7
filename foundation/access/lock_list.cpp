#include "lock_list.h"

#include <foundation/access/access_rules_p.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDate>

#include <algorithm>

namespace {

constexpr qint64 secondsOfDay = CAccessTimeZone::secondsOfDay;
constexpr qint64 julianDayOf1970 = 2440588;
// The door's only point: a lock has one door.
constexpr int authorizationPoint = 1;

// "2026-12-31T23:59:59Z". Lists are long: QDateTime takes ten times as long.
QByteArray isoText(qint64 instant)
{
    int year = 0;
    int month = 0;
    int day = 0;
    QDate::fromJulianDay(julianDayOf1970 + instant / secondsOfDay).getDate(&year, &month, &day);
    const int second = int(instant % secondsOfDay);
    char text[] = "0000-00-00T00:00:00Z";
    const auto put = [&text](int at, int width, int number) {
        for (int i = at + width - 1; i >= at; --i, number /= 10)
            text[i] = char('0' + number % 10);
    };
    put(0, 4, year);
    put(5, 2, month);
    put(8, 2, day);
    put(11, 2, second / 3600);
    put(14, 2, second / 60 % 60);
    put(17, 2, second % 60);
    return QByteArray(text, sizeof text - 1);
}

// -1 for what isoText() does not give; that it gives it again is up to whoever
// compares.
qint64 instantOf(const QByteArray& text)
{
    constexpr int length = 20;
    if (text.size() != length)
        return -1;
    const auto number = [&text](int at, int width) {
        qint64 value = 0;
        for (int i = at; i < at + width; ++i)
            value = value * 10 + (text.at(i) - '0');
        return value;
    };
    const QDate date(int(number(0, 4)), int(number(5, 2)), int(number(8, 2)));
    if (!date.isValid())
        return -1;
    return (date.toJulianDay() - julianDayOf1970) * secondsOfDay + number(11, 2) * 3600 + number(14, 2) * 60
           + number(17, 2);
}

qint64 clamped(qint64 instant)
{
    return qBound(CLockEntry::earliest, instant, CLockEntry::latest);
}

bool isUnlimited(const CAccessPeriod& period)
{
    return period.from <= CLockEntry::earliest && period.to >= CLockEntry::latest;
}

CAccessPeriod commonPart(const CAccessPeriod& a, const CAccessPeriod& b)
{
    CAccessPeriod period;
    period.from = qMax(a.from, b.from);
    period.to = qMin(a.to, b.to);
    return period;
}

// Both ends; an end that is written as the first or the last moment is open.
std::optional<CAccessPeriod> periodOf(const QByteArray& from, const QByteArray& to)
{
    CAccessPeriod period;
    period.from = instantOf(from);
    period.to = instantOf(to);
    if (period.from < 0 || period.to < 0)
        return std::nullopt;
    if (period.from == CLockEntry::earliest)
        period.from = CAccessPeriod::first;
    if (period.to == CLockEntry::latest)
        period.to = CAccessPeriod::last;
    return period;
}

using Lines = QVector<QByteArray>;

// Views into the text, which must outlive them.
Lines linesOf(const QByteArray& text)
{
    Lines lines;
    lines.reserve(text.count('\n') + 1);
    for (int from = 0; from < text.size();) {
        const int end = text.indexOf('\n', from);
        const int to = end < 0 ? text.size() : end;
        lines.append(QByteArray::fromRawData(text.constData() + from, to - from));
        from = to + 1;
    }
    return lines;
}

// The text that these lines are sorted and joined to.
QByteArray joined(const Lines& lines)
{
    int size = 0;
    for (const QByteArray& line : lines)
        size += line.size() + 1;
    QByteArray text;
    text.reserve(size);
    for (const QByteArray& line : lines)
        text.append(line.constData(), line.size()).append('\n');
    return text;
}

bool isAscending(const Lines& lines)
{
    return std::adjacent_find(lines.begin(), lines.end(), [](const auto& a, const auto& b) { return !(a < b); })
           == lines.end();
}

QByteArray scheduleText(const CTimeProfile& profile)
{
    QByteArray text;
    for (const QDate& date : profile.holidays())
        text += (text.isEmpty() ? "" : ",") + date.toString(Qt::ISODate).toLatin1();
    return text + ';' + profile.toText().toLatin1();
}

} // namespace

// --- CLockEntry
// ----------------------------------------------------------------------------------------------------

QStringList CLockEntry::toStringList() const
{
    const CAccessPeriod period = commonPart(rightPeriod, credentialPeriod);
    return {credential.isCode() ? QStringLiteral("6") : QStringLiteral("9"),
            credential.toText(),
            QString::number(schedule),
            QString::number(authorizationPoint),
            QString::fromLatin1(isoText(clamped(period.from))),
            QString::fromLatin1(isoText(clamped(period.to)))};
}

QByteArray CLockEntry::toLine() const
{
    if (credential.isNone())
        return QByteArray();
    const CAccessPeriod period = commonPart(rightPeriod, credentialPeriod);
    QByteArray line;
    line.reserve(100);
    line += credential.isCode() ? "6;" : "9;";
    line += credential.toText().toLatin1();
    line += ';' + QByteArray::number(schedule) + ';' + QByteArray::number(authorizationPoint);
    line += ';' + isoText(clamped(period.from)) + ';' + isoText(clamped(period.to));
    line += ';' + QByteArray::number(user.value()) + ';' + QByteArray::number(medium.value());
    if (!isUnlimited(credentialPeriod)) {
        for (const CAccessPeriod& own : {rightPeriod, credentialPeriod})
            line += ';' + isoText(clamped(own.from)) + ';' + isoText(clamped(own.to));
    }
    return line;
}

std::optional<CLockEntry> CLockEntry::fromLine(const QByteArray& line)
{
    constexpr int longestLine = 300;
    if (line.size() > longestLine)
        return std::nullopt;
    const QList<QByteArray> fields = line.split(';');
    if (fields.size() != 8 && fields.size() != 12)
        return std::nullopt;
    CLockEntry entry;
    const QString id = QString::fromLatin1(fields.at(1));
    entry.credential = fields.at(0) == "6" ? CLockCredential::fromCode(id) : CLockCredential::fromUidLabel(id);
    entry.schedule = quint8(fields.at(2).toUShort());
    entry.user = fields.at(6).toLongLong();
    entry.medium = fields.at(7).toLongLong();
    const bool hasBoth = fields.size() == 12;
    const auto right = periodOf(fields.at(hasBoth ? 8 : 4), fields.at(hasBoth ? 9 : 5));
    const auto credential = hasBoth ? periodOf(fields.at(10), fields.at(11)) : CAccessPeriod();
    if (!right || !credential)
        return std::nullopt;
    entry.rightPeriod = *right;
    entry.credentialPeriod = *credential;
    // Whatever else it might have been read from is not the form.
    return entry.toLine() == line ? std::make_optional(entry) : std::nullopt;
}

// --- CLockList
// -----------------------------------------------------------------------------------------------------

int CLockList::scheduleCount() const
{
    return int(std::count_if(m_schedules.begin(), m_schedules.end(), [](const auto& s) { return s.isKnown; }));
}

QByteArray CLockList::revisionOf(const QByteArray& text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex();
}

bool CLockList::readHeader(const QByteArray& line)
{
    m_asksOnline = line == "0;1;online";
    return m_asksOnline || line == "0;1;offline";
}

bool CLockList::readSchedule(const QByteArray& line)
{
    const int afterNumber = line.indexOf(';', 2);
    const int afterHolidays = line.indexOf(';', afterNumber + 1);
    if (afterNumber < 0 || afterHolidays < 0)
        return false;
    const int number = line.mid(2, afterNumber - 2).toInt();
    if (number < 1 || number > mostSchedules || m_schedules.at(number).isKnown)
        return false;
    QVector<QDate> holidays;
    if (afterHolidays > afterNumber + 1) {
        for (const QByteArray& date : line.mid(afterNumber + 1, afterHolidays - afterNumber - 1).split(',')) {
            holidays.append(QDate::fromString(QString::fromLatin1(date), Qt::ISODate));
            if (!holidays.constLast().isValid() || holidays.size() > mostHolidays)
                return false;
        }
    }
    auto profile = CTimeProfile::fromText(QString::fromLatin1(line.mid(afterHolidays + 1)), nullptr);
    if (!profile)
        return false;
    profile->setHolidays(holidays);
    CAccessSchedule& schedule = m_schedules[number];
    schedule.id = number;
    schedule.isKnown = true;
    schedule.profile = *profile;
    return "s;" + QByteArray::number(number) + ';' + scheduleText(*profile) == line;
}

bool CLockList::readLine(const QByteArray& line)
{
    if (line.startsWith("s;"))
        return readSchedule(line);
    const std::optional<CLockEntry> entry = CLockEntry::fromLine(line);
    if (!entry || m_entries.size() == mostEntries)
        return false;
    m_entries.resize(m_entries.size() + 1);
    m_entries.last() = *entry;
    return true;
}

void CLockList::index()
{
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [](const auto& a, const auto& b) { return a.credential < b.credential; });
    m_firstEntries.reserve(m_entries.size());
    for (int i = m_entries.size() - 1; i >= 0; --i)
        m_firstEntries.insert(m_entries.at(i).credential, i);
}

std::optional<CLockList> CLockList::fromText(const QByteArray& text, QString* error)
{
    const auto fault = [error](const QString& what) {
        if (error)
            *error = what;
        return std::nullopt;
    };
    if (text.size() > largestText)
        return fault(QStringLiteral("the list is too large"));
    if (!text.endsWith('\n'))
        return fault(QStringLiteral("the list does not end with a line"));
    const Lines lines = linesOf(text);
    if (!isAscending(lines))
        return fault(QStringLiteral("the lines of the list are not in order"));
    CLockList list;
    CAccessSchedule unknown;
    unknown.isKnown = false;
    list.m_schedules.fill(unknown, mostSchedules + 1);
    for (int i = 0; i < lines.size(); ++i) {
        if (!(i == 0 ? list.readHeader(lines.at(i)) : list.readLine(lines.at(i))))
            return fault(QStringLiteral("line %1 of the list cannot be read").arg(i + 1));
    }
    list.index();
    return list;
}

QByteArray CLockList::delta(const QByteArray& from, const QByteArray& to)
{
    const Lines before = linesOf(from);
    const Lines after = linesOf(to);
    Lines gone;
    Lines come;
    std::set_difference(before.begin(), before.end(), after.begin(), after.end(), std::back_inserter(gone));
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(come));
    for (QByteArray& line : gone)
        line = '-' + line;
    for (QByteArray& line : come)
        line = '+' + line;
    return joined(gone + come);
}

std::optional<QByteArray> CLockList::applied(const QByteArray& text, const QByteArray& delta)
{
    const Lines before = linesOf(text);
    Lines gone;
    Lines come;
    for (const QByteArray& line : linesOf(delta)) {
        if (!line.startsWith('-') && !line.startsWith('+'))
            return std::nullopt;
        (line.startsWith('-') ? gone : come).append(QByteArray::fromRawData(line.constData() + 1, line.size() - 1));
    }
    if (!isAscending(gone) || !isAscending(come))
        return std::nullopt;
    Lines kept;
    std::set_difference(before.begin(), before.end(), gone.begin(), gone.end(), std::back_inserter(kept));
    Lines after;
    std::merge(kept.begin(), kept.end(), come.begin(), come.end(), std::back_inserter(after));
    if (kept.size() + gone.size() != before.size() || !isAscending(after))
        return std::nullopt;
    return joined(after);
}

CLockDecision CLockList::decide(const CLockCredential& credential, qint64 at, const CAccessTimeZone& zone) const
{
    CLockDecision decision;
    const auto first = m_firstEntries.constFind(credential);
    if (first == m_firstEntries.constEnd()) {
        decision.reason = credential.isCode() ? CAccessReason::InvalidPIN : CAccessReason::CredentialUnknown;
        return decision;
    }
    // By the way that came furthest; of several the first.
    AccessRules::End furthest{CAccessStep::User, CAccessReason::Other};
    for (int i = *first; i < m_entries.size() && m_entries.at(i).credential == credential; ++i) {
        const CLockEntry& entry = m_entries.at(i);
        const CAccessSchedule& schedule = m_schedules.at(entry.schedule);
        AccessRules::End end = AccessRules::ofRight(
            entry.rightPeriod, at, [&] { return schedule.isKnown && schedule.profile.isOpen(at, zone); });
        if (end.step == CAccessStep::Passed)
            end = AccessRules::ofCredential(true, entry.credentialPeriod, at);
        if (decision.isKnown && end.step <= furthest.step)
            continue;
        furthest = end;
        decision.isKnown = true;
        decision.reason = end.reason;
        decision.user = entry.user;
        decision.medium = entry.medium;
    }
    return decision;
}

// --- CLockListBuilder
// ----------------------------------------------------------------------------------------------

quint8 CLockListBuilder::schedule(const CTimeProfile& profile)
{
    const QByteArray text = scheduleText(profile);
    const auto known = m_numbers.constFind(text);
    if (known != m_numbers.constEnd())
        return *known;
    if (m_numbers.size() == CLockList::mostSchedules) {
        m_error = QStringLiteral("more than %1 schedules").arg(CLockList::mostSchedules);
        return 0;
    }
    if (profile.holidays().size() > CLockList::mostHolidays)
        m_error = QStringLiteral("more than %1 holidays in a schedule").arg(CLockList::mostHolidays);
    const auto number = quint8(m_numbers.size() + 1);
    m_numbers.insert(text, number);
    add("s;" + QByteArray::number(number) + ';' + text);
    return number;
}

void CLockListBuilder::append(const CLockEntry& entry)
{
    const QByteArray line = entry.toLine();
    if (line.isEmpty())
        return;
    if (m_entryCount == CLockList::mostEntries) {
        m_error = QStringLiteral("more than %1 entries").arg(CLockList::mostEntries);
        return;
    }
    ++m_entryCount;
    add(line);
}

void CLockListBuilder::add(const QByteArray& line)
{
    constexpr qint64 header = 100;
    m_size += line.size() + 1;
    if (m_size > CLockList::largestText - header)
        m_error = QStringLiteral("more than %1 MiB of text").arg(CLockList::largestText >> 20);
    m_lines.append(line);
}

QByteArray CLockListBuilder::text() const
{
    Lines lines = m_lines;
    lines.append(m_asksOnline ? "0;1;online" : "0;1;offline");
    std::sort(lines.begin(), lines.end());
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    return joined(lines);
}
