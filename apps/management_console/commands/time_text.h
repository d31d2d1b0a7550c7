#pragma once

#include <foundation/access/access_time_zone.h>

#include <QtCore/QDateTime>

/// Times on the command line: "2026-11-22T03:10", with or without seconds, with "Z", an offset or neither, or a date
/// alone, which is its begin or its end.
namespace TimeText {

/// The zone of the console (TZ), in which a time without an offset is meant unless it is one at a door.
CAccessTimeZone consoleZone();
/// The zone of that IANA name; an empty or unknown one is the console's.
CAccessTimeZone zoneOf(const QString& name);

/// What is said of a text that is no time; `option` is what it was given for, such as "--from".
QString mistake(const QString& option, const QString& text);

/// ISO 8601 to the second with an offset, "" for an invalid time.
QString toText(const QDateTime& time);

} // namespace TimeText
