// Texts of mails: what is encoded is decoded here by the rules of the standards, independently of the encoder.
#include "fuzz_support.h"

#include <foundation/mail/quoted_printable.h>

namespace {

int hexDigit(char c)
{
    return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

QByteArray decodedEscapes(const QByteArray& text, bool isHeader)
{
    QByteArray result;
    for (int i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c == '=') {
            FUZZ_CHECK(i + 2 < text.size());
            const int high = hexDigit(text.at(i + 1));
            const int low = hexDigit(text.at(i + 2));
            FUZZ_CHECK(high >= 0 && low >= 0);
            result += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            result += isHeader && c == '_' ? ' ' : c;
        }
    }
    return result;
}

void checkCharacters(const QByteArray& encoded)
{
    for (const char c : encoded)
        FUZZ_CHECK((c >= 0x20 && c <= 0x7E) || c == '\t' || c == '\r' || c == '\n');
}

QByteArray decodedBody(const QByteArray& encoded, bool dotStuffing)
{
    QByteArray result;
    checkCharacters(encoded);
    for (int begin = 0; begin < encoded.size();) {
        const int lineFeed = encoded.indexOf("\r\n", begin);
        const int end = lineFeed < 0 ? encoded.size() : lineFeed;
        QByteArray line = encoded.mid(begin, end - begin);
        FUZZ_CHECK(line.size() <= 76);
        if (dotStuffing && line.startsWith('.')) {
            FUZZ_CHECK(line.startsWith("..")); // a single one would end the mail
            line.remove(0, 1);
        }
        const bool soft = line.endsWith('=');
        if (soft)
            line.chop(1);
        result += decodedEscapes(line, false);
        if (lineFeed >= 0 && !soft)
            result += '\n';
        begin = end + 2;
    }
    return result;
}

// A carriage return passes the encoder as it is; the callers hand in texts without.
void checkBody(const QByteArray& text, bool dotStuffing)
{
    QByteArray body = text;
    body.replace('\r', "");
    const QByteArray encoded = CQuotedPrintable::getEncodedText(body, dotStuffing);
    FUZZ_CHECK(decodedBody(encoded, dotStuffing) == body);
    FUZZ_CHECK(!encoded.endsWith(' ') && !encoded.endsWith('\t'));
}

void checkSubject(const QString& subject)
{
    const QByteArray encoded = CQuotedPrintable::getUtf8EncodedSubject(subject);
    checkCharacters(encoded);
    QByteArray decoded;
    bool first = true;
    bool isEncoded = false;
    for (int begin = 0; begin <= encoded.size();) {
        const int lineFeed = encoded.indexOf("\r\n", begin);
        const int end = lineFeed < 0 ? encoded.size() : lineFeed;
        const QByteArray line = encoded.mid(begin, end - begin);
        FUZZ_CHECK((first ? static_cast<int>(sizeof "Subject: ") - 1 : 0) + line.size() <= 78);
        FUZZ_CHECK(first || line.startsWith(' '));                // or it would be a header of its own
        FUZZ_CHECK(!line.contains('\r') && !line.contains('\n')); // the same
        const QByteArray word = first ? line : line.mid(1);
        if (word.startsWith("=?utf-8?Q?") && word.endsWith("?=")) {
            isEncoded = true;
            const QByteArray bytes = decodedEscapes(word.mid(10, word.size() - 12), true);
            FUZZ_CHECK(word.size() <= 75 && !word.mid(10, word.size() - 12).contains('?'));
            FUZZ_CHECK(QString::fromUtf8(bytes).toUtf8() == bytes); // no character is cut
            decoded += bytes;
        } else {
            FUZZ_CHECK(!isEncoded);
            decoded += line;
        }
        first = false;
        begin = end + 2;
    }
    QByteArray expected = subject.toUtf8();
    expected.replace("\r\n", " ").replace('\r', ' ').replace('\n', ' ');
    FUZZ_CHECK(decoded == expected);
}

void checkLine(const QByteArray& line, int maxLength, bool headerMode)
{
    const auto pieces = CQuotedPrintable::encodeAndSplitLine(line, maxLength, headerMode, false);
    FUZZ_CHECK(pieces.isEmpty() == line.isEmpty());
    QByteArray decoded;
    for (const QByteArray& piece : pieces) {
        FUZZ_CHECK(!piece.isEmpty() && (maxLength < 3 || piece.size() <= maxLength));
        decoded += decodedEscapes(piece, headerMode); // fails where an escape was cut
    }
    FUZZ_CHECK(decoded == line);
}

} // namespace

FUZZ_TARGET(quoted_printable)
{
    const quint8 mode = input.byte();
    const int maxLength = mode >> 2;
    const QByteArray bytes = input.rest();
    checkBody(bytes, (mode & 1) != 0);
    checkSubject(QString::fromUtf8(bytes));
    checkLine(bytes, maxLength, (mode & 2) != 0);
}
