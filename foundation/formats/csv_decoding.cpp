#include <foundation/formats/csv_decoding_p.h>

#include <foundation/formats/csv_writer.h>

#include <QtCore/QtEndian>

#include <algorithm>

namespace {

// Code page 437 from 0x80 on.
constexpr ushort codePage437[] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE,
    0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9, 0x00FF, 0x00D6,
    0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192, 0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA,
    0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB, 0x2591, 0x2592, 0x2593, 0x2502,
    0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510, 0x2514,
    0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F, 0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550,
    0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C,
    0x2588, 0x2584, 0x258C, 0x2590, 0x2580, 0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4,
    0x03A6, 0x0398, 0x03A9, 0x03B4, 0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320,
    0x2321, 0x00F7, 0x2248, 0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0,
};
static_assert(sizeof codePage437 / sizeof *codePage437 == 128, "a character for each byte from 0x80 on");

// Windows-1252 from 0x80 to 0x9F; the rest is as in ISO 8859-1.
constexpr ushort codePage1252[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};
static_assert(sizeof codePage1252 / sizeof *codePage1252 == 32, "a character for each byte from 0x80 to 0x9F");

// The length of the valid UTF-8 sequence at `data`, 0 when there is none: overlong forms, surrogates and what lies
// above U+10FFFF are not valid.
int utf8SequenceLength(const uchar* data, const uchar* end)
{
    const uchar lead = data[0];
    if (lead < 0x80)
        return 1;
    const int length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || end - data < length)
        return 0;
    for (int i = 1; i < length; ++i) {
        if ((data[i] & 0xC0) != 0x80)
            return 0;
    }
    const uchar second = data[1];
    const bool outOfRange = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F)
                            || (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
    return outOfRange ? 0 : length;
}

bool isValidUtf8(const QByteArray& bytes)
{
    const auto* data = reinterpret_cast<const uchar*>(bytes.constData());
    const uchar* const end = data + bytes.size();
    while (data != end) {
        const int length = utf8SequenceLength(data, end);
        if (length == 0)
            return false;
        data += length;
    }
    return true;
}

// Both decoders get the bytes behind the byte-order mark; a surrogate alone and a cut-off end are not valid.
template<typename Read>
QString decodeUtf16(const QByteArray& bytes, Read read, bool* valid)
{
    QString text(bytes.size() / 2, Qt::Uninitialized);
    bool afterHigh = false;
    const char* data = bytes.constData();
    for (QChar& character : text) {
        character = QChar(static_cast<ushort>(read(data)));
        data += 2;
        if (character.isLowSurrogate() != afterHigh)
            *valid = false;
        afterHigh = character.isHighSurrogate();
    }
    if (afterHigh || bytes.size() % 2 != 0)
        *valid = false;
    return text;
}

template<typename Read>
QString decodeUtf32(const QByteArray& bytes, Read read, bool* valid)
{
    QString text;
    text.reserve(bytes.size() / 4);
    for (auto i = 0 * bytes.size(); i + 4 <= bytes.size(); i += 4) {
        const uint code = read(bytes.constData() + i);
        if (code > QChar::LastValidCodePoint || QChar::isSurrogate(code)) {
            *valid = false;
        } else if (QChar::requiresSurrogates(code)) {
            text.append(QChar(QChar::highSurrogate(code)));
            text.append(QChar(QChar::lowSurrogate(code)));
        } else {
            text.append(QChar(static_cast<ushort>(code)));
        }
    }
    if (bytes.size() % 4 != 0)
        *valid = false;
    return text;
}

QString decodeCodePage437(const QByteArray& bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    std::transform(bytes.cbegin(), bytes.cend(), text.begin(), [](char byte) {
        const auto code = static_cast<uchar>(byte);
        return QChar(code < 0x80 ? code : codePage437[code - 0x80]);
    });
    return text;
}

} // namespace

QString CsvDecoding::unicode(const QByteArray& bytes, bool* valid)
{
    *valid = true;
    // The longer marks first: that of UTF-32 starts like that of UTF-16.
    if (bytes.startsWith(QByteArray("\xFF\xFE\0\0", 4)))
        return decodeUtf32(
            bytes.mid(4), [](const char* data) { return qFromLittleEndian<quint32>(data); }, valid);
    if (bytes.startsWith(QByteArray("\0\0\xFE\xFF", 4)))
        return decodeUtf32(
            bytes.mid(4), [](const char* data) { return qFromBigEndian<quint32>(data); }, valid);
    if (bytes.startsWith("\xFF\xFE"))
        return decodeUtf16(
            bytes.mid(2), [](const char* data) { return qFromLittleEndian<quint16>(data); }, valid);
    if (bytes.startsWith("\xFE\xFF"))
        return decodeUtf16(
            bytes.mid(2), [](const char* data) { return qFromBigEndian<quint16>(data); }, valid);
    *valid = isValidUtf8(bytes);
    return *valid ? QString::fromUtf8(bytes.constData(), qMax(0, int(bytes.size()))) : QString(); // drops a mark
}

bool CsvDecoding::hasWideMark(const QByteArray& bytes)
{
    return bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF")
           || bytes.startsWith(QByteArray("\0\0\xFE\xFF", 4));
}

QString CsvDecoding::windows1252(const QByteArray& bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    std::transform(bytes.cbegin(), bytes.cend(), text.begin(), [](char byte) {
        const auto code = static_cast<uchar>(byte);
        return QChar(code < 0x80 || code > 0x9F ? code : codePage1252[code - 0x80]);
    });
    return text;
}

QString CCsvWriter::decodeBytes(const QByteArray& bytes)
{
    bool valid = false;
    QString text = CsvDecoding::unicode(bytes, &valid);
    if (valid)
        return text;
    // These are control codes in ISO 8859-1, but letters with accents in files of old DOS programs.
    const bool fromDos = std::any_of(bytes.cbegin(), bytes.cend(), [](char byte) {
        const auto code = static_cast<uchar>(byte);
        return code >= 0x80 && code <= 0x9A;
    });
    return fromDos ? decodeCodePage437(bytes) : QString::fromLatin1(bytes.constData(), bytes.size());
}
