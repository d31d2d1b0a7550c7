#pragma once

#include <server/database/export.h>

#include <foundation/core/device_time_zone_settings.h>

namespace DoorTimeZone {

/// Whole years that a door knows ahead, beside the one that runs.
inline constexpr int yearsAhead = 10;

/// What a door is told of its zone: all changes of the clock from the first of January of this year on, for as many
/// years as a door that nobody reaches may have to go by them. The same for a whole year, so that a door gets new rules
/// once a year, long before the old ones end, and whenever the zone itself was changed by law.
///
/// `now` is in seconds since 1970 UTC; an invalid zone is UTC.
KYR_SERVER_EXPORT CDeviceTimeZoneSettings settings(const QTimeZone& zone, qint64 now);

/// By the name of an item's "timeZone": an empty one means this computer's zone.
KYR_SERVER_EXPORT CDeviceTimeZoneSettings settings(const QString& zone, qint64 now);

} // namespace DoorTimeZone
