#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/// Encodes mail text: bodies as quoted-printable (RFC 2045), the subject as UTF-8 encoded words (RFC 2047).
///
///     mail += "Subject: " + CQuotedPrintable::getUtf8EncodedSubject(subject) + "\r\n";
///     mail += "\r\n" + CQuotedPrintable::getEncodedText(text.toUtf8(), false);
///
/// There is no decoder. All functions are thread-safe and take any bytes; none fails.
class KYR_FOUNDATION_EXPORT CQuotedPrintable
{
public:
    /// Encodes one line (no line breaks in it) and cuts it into pieces of at most `maxLength` characters; an escape is
    /// never cut. A `maxLength` below 3 leaves the line whole, and an empty line gives an empty list.
    /// `headerMode`: also escapes "?", "_" and tab, and writes a blank as "_".
    /// `dotStuffing`: a piece that begins with a dot gets a second one, as SMTP wants it.
    static QList<QByteArray> encodeAndSplitLine(const QByteArray& line, int maxLength, bool headerMode,
                                                bool dotStuffing);

    /// Encodes a body whose lines end in LF; the result's lines end in CR LF and hold at most 76 characters. A CR
    /// passes as it is, so text with CR LF must be brought to LF first.
    static QByteArray getEncodedText(const QByteArray& text, bool dotStuffing);

    /// The subject as it stands behind "Subject: ", folded, without a final line break. Plain ASCII stays readable;
    /// anything else becomes encoded words, none of which cuts a character. Line breaks in the subject become blanks.
    static QByteArray getUtf8EncodedSubject(const QString& subject);
};
