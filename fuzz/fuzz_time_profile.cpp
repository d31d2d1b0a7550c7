// The text of a schedule as a person or another program wrote it, and a moment that is asked about.
#include "fuzz_support.h"

#include <foundation/access/time_profile.h>
#include <foundation/core/device_time_zone_settings.h>

FUZZ_TARGET(time_profile)
{
    const qint64 instant = static_cast<qint64>(input.number(5)) - 0x7fffffff;
    const QVector<QDate> holidays{QDate(1970, 1, 1).addDays(instant / 86400 + input.byte() % 4)};
    const QString text = input.restAsText();
    QString error;
    std::optional<CTimeProfile> profile = CTimeProfile::fromText(text, &error);
    FUZZ_CHECK(profile.has_value() == error.isEmpty());
    FUZZ_CHECK(error.size() < 300);
    if (!profile)
        return;
    FUZZ_CHECK(CTimeProfile::fromText(profile->toText(), nullptr) == profile);

    // The next change is one, and nothing changes the second before.
    profile->setHolidays(holidays);
    CDeviceTimeZoneSettings rules(4);
    rules.dstPeriods = {{QDateTime::fromSecsSinceEpoch(instant + 86400, Qt::UTC), QDateTime(), 8}};
    const CAccessTimeZone zone(rules);
    const qint64 change = profile->nextChange(instant, zone);
    FUZZ_CHECK(change > instant);
    if (change == CAccessTimeZone::never)
        return;
    const bool open = profile->isOpen(instant, zone);
    FUZZ_CHECK(profile->isOpen(change, zone) != open);
    FUZZ_CHECK(profile->isOpen(change - 1, zone) == open);
}
