#include <foundation/access/time_profile.h>

#include <foundation/core/string_utils.h>

#include <QtCore/QStringList>

namespace {

using Days = CDataType::TimeSlotDays;

constexpr int daysOfWeek = 7;
constexpr int holidayIndex = 7;

CDataType::TimeSlotDay dayFlag(int index)
{
    return static_cast<CDataType::TimeSlotDay>(1 << index);
}

QString nameOfDay(int index)
{
    return index == holidayIndex ? QStringLiteral("Holiday") : CAccessTimeZone::dayName(index + 1);
}

// 0 for Monday to 7 for a holiday, or -1.
int dayFromName(const QString& name)
{
    for (int index = 0; index <= holidayIndex; ++index) {
        if (name.compare(nameOfDay(index), Qt::CaseInsensitive) == 0)
            return index;
    }
    return -1;
}

// Only the beginning of a text is shown in an error.
QString quoted(const QString& text)
{
    return QLatin1Char('"') + CStringUtils::printable(text, 40) + QLatin1Char('"');
}

// One day, or a range that may lead over Sunday to Monday.
bool readDays(const QString& text, Days* days, QString* error)
{
    const int dash = text.indexOf(QLatin1Char('-'));
    const QString firstName = text.left(dash).trimmed();
    const QString lastName = dash < 0 ? firstName : text.mid(dash + 1).trimmed();
    const int first = dayFromName(firstName);
    const int last = dayFromName(lastName);
    if (first < 0 || last < 0) {
        *error = QStringLiteral("%1 is not a day: use Mon, Tue, Wed, Thu, Fri, Sat, Sun or Holiday")
                     .arg(quoted(first < 0 ? firstName : lastName));
        return false;
    }
    if (dash >= 0 && (first == holidayIndex || last == holidayIndex)) {
        *error = QStringLiteral("a range of days cannot contain Holiday: write it after a comma");
        return false;
    }
    for (int day = first;; day = (day + 1) % daysOfWeek) {
        *days |= dayFlag(day);
        if (day == last)
            return true;
    }
}

// Minutes from midnight of "HH:MM", up to 24:00; -1 for anything else.
int minutesFromText(const QString& text)
{
    if (text.size() != 5 || text.at(2) != QLatin1Char(':'))
        return -1;
    for (const int position : {0, 1, 3, 4}) {
        if (text.at(position) < QLatin1Char('0') || text.at(position) > QLatin1Char('9'))
            return -1;
    }
    const int hours = text.left(2).toInt();
    const int minutes = text.mid(3).toInt();
    const int all = hours * 60 + minutes;
    return minutes < 60 && all <= CTimeSlot::minutesOfDay ? all : -1;
}

bool readTimes(const QString& text, CTimeSlot* slot, QString* error)
{
    const int dash = text.indexOf(QLatin1Char('-'));
    if (dash < 0) {
        *error = QStringLiteral("%1 is neither \"closed\" nor times like 07:00-19:00").arg(quoted(text));
        return false;
    }
    const QString from = text.left(dash).trimmed();
    const QString to = text.mid(dash + 1).trimmed();
    slot->from = minutesFromText(from);
    slot->to = minutesFromText(to);
    if (slot->from < 0 || slot->to < 0) {
        *error = QStringLiteral("%1 is not a time from 00:00 to 24:00, written HH:MM")
                     .arg(quoted(slot->from < 0 ? from : to));
        return false;
    }
    if (slot->from == CTimeSlot::minutesOfDay) {
        *error = QStringLiteral("a slot cannot begin at 24:00: write 00:00 of the next day");
        return false;
    }
    return true;
}

bool readSlot(const QString& text, CTimeSlot* slot, QString* error)
{
    // Days end at the first blank before which no "," or "-" asks for more, and behind which none does.
    int end = 0;
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i).isSpace())
            continue;
        const bool joins = text.at(i) == QLatin1Char(',') || text.at(i) == QLatin1Char('-');
        const bool afterBlank = i > 0 && text.at(i - 1).isSpace();
        const QChar before = end > 0 ? text.at(end - 1) : QChar();
        if (afterBlank && !joins && before != QLatin1Char(',') && before != QLatin1Char('-'))
            break;
        end = i + 1;
    }
    const QString days = text.left(end);
    const QString times = text.mid(end).trimmed();
    const QStringList items = days.split(QLatin1Char(','));
    for (const QString& item : items) {
        if (!readDays(item, &slot->days, error))
            return false;
    }
    if (times.isEmpty()) {
        *error = QStringLiteral("times like 07:00-19:00, or \"closed\", are missing");
        return false;
    }
    slot->closed = times.compare(QLatin1String("closed"), Qt::CaseInsensitive) == 0;
    return slot->closed || readTimes(times, slot, error);
}

QString timeText(int minutes)
{
    return QStringLiteral("%1:%2")
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

// Runs of two days and more are ranges; one that leads over Sunday to Monday is a single one.
QString daysText(Days days)
{
    QStringList texts;
    const auto isSet = [days](int day) { return days.testFlag(dayFlag((day + daysOfWeek) % daysOfWeek)); };
    for (int first = 0; first < daysOfWeek; ++first) {
        if (!isSet(first) || isSet(first - 1))
            continue;
        int last = first;
        while (isSet(last + 1))
            ++last;
        texts.append(last == first ? nameOfDay(first)
                                   : QString(nameOfDay(first) + QLatin1Char('-') + nameOfDay(last % daysOfWeek)));
    }
    if (texts.isEmpty() && isSet(0))
        texts.append(QStringLiteral("Mon-Sun")); // a run without a beginning
    if (days.testFlag(CDataType::TimeSlotDayHoliday))
        texts.append(nameOfDay(holidayIndex));
    return texts.join(QLatin1Char(','));
}

} // namespace

std::optional<CTimeProfile> CTimeProfile::fromText(const QString& text, QString* errorString)
{
    QString ignored;
    QString* const error = errorString != nullptr ? errorString : &ignored;
    error->clear();
    if (text.trimmed().isEmpty())
        return CTimeProfile();
    QVector<CTimeSlot> result;
    const QStringList parts = text.split(QLatin1Char(';'));
    if (parts.size() > maximumSlots) {
        *error = QStringLiteral("a schedule has at most %1 slots").arg(maximumSlots);
        return std::nullopt;
    }
    for (const QString& part : parts) {
        const QString slotText = part.trimmed();
        CTimeSlot slot;
        QString reason;
        if (slotText.isEmpty())
            reason = QStringLiteral("it is empty");
        else if (readSlot(slotText, &slot, &reason))
            result.append(slot);
        if (!reason.isEmpty()) {
            *error =
                QStringLiteral("slot %1, %2: %3").arg(QString::number(result.size() + 1), quoted(slotText), reason);
            return std::nullopt;
        }
    }
    return CTimeProfile(result);
}

QString CTimeProfile::toText() const
{
    QStringList texts;
    for (const CTimeSlot& slot : m_slots) {
        const QString times =
            slot.closed ? QStringLiteral("closed") : timeText(slot.from) + QLatin1Char('-') + timeText(slot.to);
        texts.append(daysText(slot.days) + QLatin1Char(' ') + times);
    }
    return texts.join(QStringLiteral("; "));
}
