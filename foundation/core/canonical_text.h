#pragma once

#include <foundation/core/export.h>

#include <QtCore/QVariant>

/// The one rule by which values match: two of them do when their canonical texts are equal.
///
///     canonicalText(1) == canonicalText(QStringLiteral("1"));     // and "01" is another value
///
/// QVariant's own comparison converts one side to the other's type, so that its answer depends on which side is which;
/// a database compares columns. This text is the same everywhere: in memory, in a database, on a command line. It is
/// what a person would type for the value, so values of different types match when they are typed alike.
///
/// | value                                       | canonical text                                                     |
/// | ------------------------------------------- | ------------------------------------------------------------------ |
/// | none (an invalid variant)                   | the empty text                                                     |
/// | text, character, URL, UUID                  | itself, unchanged: letters, blanks and leading zeros count         |
/// | true, false                                 | "true", "false" (and not 1 and 0)                                  |
/// | integer of any type, enumeration            | decimal, "-" before a negative one                                 |
/// | CItemId, CDeviceId, CSystemId               | the number in decimal (not the label)                              |
/// | double, float                               | a whole number below 2^64 as that integer; else the shortest       |
/// |                                             | decimal that reads as the same number: "0.1", "1e+30"; "nan",      |
/// |                                             | "inf", "-inf"; -0.0 is "0"                                         |
/// | date and time                               | UTC, rounded down to the second: "2026-11-22T03:10:00Z"; the empty |
/// |                                             | text for an invalid one                                            |
/// | date; time of day                           | "2026-11-22"; "03:10:00", rounded down to the second               |
/// | bytes                                       | two lower-case hexadecimal digits a byte, ":" between them, as     |
/// |                                             | CJsonParser writes them: "04:a1"; "7f:" for one byte, ":" for none |
/// | list of any element type                    | ["...","..."]: the elements' canonical texts in their order, as    |
/// |                                             | JSON strings; nested lists and maps stand as they are              |
/// | map or hash with texts as keys              | {"key":"...","key":"..."}: by the keys' order, values as in a list |
/// | JSON value, array, object                   | as the variant that it stands for                                  |
/// | other types                                 | the text that they convert to; else the type's name, a colon and   |
/// |                                             | the hexadecimal digits of the stream form, if there is one         |
///
/// So 1, 1.0, "1", CItemId(1) and CDeviceId(1) match one another, [1] and ["1"] too; true and "true" do, true and 1 do
/// not. At the top a text may read like a list; inside lists and maps a text never matches one.
KYR_FOUNDATION_EXPORT QString canonicalText(const QVariant& value);
