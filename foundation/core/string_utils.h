#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Trims and splits texts with quotes in them, and makes foreign texts fit to be shown.
///
///     CStringUtils::splitQuotes(QStringLiteral("name='a, b', 7"), ',');         // "name=a, b", " 7"
///     CStringUtils::splitQuotedEscapable(QStringLiteral("1;\"x\"\"y\""), ';', '"');  // "1", "x\"y"
class KYR_FOUNDATION_EXPORT CStringUtils
{
public:
    CStringUtils() = delete;

    /// Without white space around it, and without any single or double quotes at its ends; these need not match.
    static QString trimQuotes(const QString& text);

    /// Splits the trimmed text. Single and double quotes delimit stretches in which the separator and the other quote
    /// are plain text; they are removed. A quote without a partner reaches to the end. Empty fields are kept, but an
    /// empty text has no field at all.
    static QStringList splitQuotes(const QString& text, char separator);

    /// Splits one record as CSV has them. Only a field that starts with the quote is a quoted one: it ends at the next
    /// quote that is not doubled, two quotes inside it stand for one, and what follows up to the separator is dropped.
    /// A separator at the end of the text starts no further field.
    static QStringList splitQuotedEscapable(const QString& text, char separator, char quote);

    /// What came from a peer, fit for a log line or a reason that is shown: no character of it starts a line, moves a
    /// cursor or turns the direction of writing. Control characters (C0, DEL, C1), line and paragraph separators, marks
    /// of writing direction and halves of surrogate pairs become "?". A text longer than `longest` UTF-16 units is cut,
    /// so that it has at most so many with the "..." at its end.
    static QString printable(const QString& text, int longest = 100);
    /// The same for UTF-8; what is none becomes U+FFFD.
    static QString printable(const QByteArray& utf8, int longest = 100);
};
