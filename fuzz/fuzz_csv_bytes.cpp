// CSV files of unknown encoding.
#include "fuzz_support.h"

#include <foundation/formats/csv_reader.h>
#include <foundation/formats/csv_writer.h>

#include <algorithm>

namespace {

// Nothing is larger than the file, lines count up, and what ends a file early is told.
void readRecords(const QByteArray& bytes)
{
    CCsvReader reader(bytes);
    QStringList fields;
    qint64 size = 0;
    int line = 0;
    while (reader.readRecord(&fields)) {
        FUZZ_CHECK(!fields.isEmpty() && reader.line() > line);
        line = reader.line();
        for (const QString& field : fields)
            size += field.size() + 1;
    }
    FUZZ_CHECK(size <= bytes.size() + 1);
    FUZZ_CHECK(reader.line() <= bytes.size() + 1 && reader.percent() <= 100);
    FUZZ_CHECK(!reader.readRecord(&fields) && fields.isEmpty());
}

} // namespace

FUZZ_TARGET(csv_bytes)
{
    const QByteArray bytes = input.rest();
    readRecords(bytes);
    const QString text = CCsvWriter::decodeBytes(bytes);
    FUZZ_CHECK(text.size() <= bytes.size());

    const auto isAscii = [](char c) { return static_cast<uchar>(c) < 0x80; };
    const auto isDosLetter = [](char c) { return static_cast<uchar>(c) >= 0x80 && static_cast<uchar>(c) <= 0x9A; };
    const bool marked = bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF") || bytes.startsWith("\xEF\xBB\xBF")
                        || bytes.startsWith(QByteArray("\0\0\xFE\xFF", 4));
    if (marked)
        return;
    // Exactly one of the three readings: each can be turned back into the bytes, or has a character for each byte.
    const QString latin1 = QLatin1String(bytes.constData(), bytes.size());
    const QString utf8 = fuzzText(bytes);
    if (std::all_of(bytes.begin(), bytes.end(), isAscii))
        FUZZ_CHECK(text == latin1);
    else if (utf8.toUtf8() == bytes && !utf8.contains(QChar::ReplacementCharacter))
        FUZZ_CHECK(text.toUtf8() == bytes);
    else if (text.toUtf8() != bytes) {
        FUZZ_CHECK(text.size() == bytes.size());
        if (std::none_of(bytes.begin(), bytes.end(), isDosLetter))
            FUZZ_CHECK(text == latin1);
    }
}
