// Records of CSV files, and the texts that are written into them.
#include "fuzz_support.h"

#include <foundation/core/string_utils.h>
#include <foundation/formats/csv_writer.h>

#include <QtCore/QTextStream>

namespace {

qint64 sizeOf(const QStringList& fields)
{
    qint64 size = 0;
    for (const QString& field : fields)
        size += field.size();
    return size;
}

void readAnything(CCsvWriter& writer, const QString& line)
{
    const QStringList fields = writer.splitFields(line);
    FUZZ_CHECK(sizeOf(fields) <= line.size());
    FUZZ_CHECK(fields.size() <= line.size());
    FUZZ_CHECK(writer.unescapeCsvString(line).size() <= line.size());
    FUZZ_CHECK(sizeOf(CStringUtils::splitQuotes(line, ',')) <= line.size());
    FUZZ_CHECK(CStringUtils::trimQuotes(line).size() <= line.size());
    // A file's header line chooses the separator, and that one is then in use.
    writer.setFieldSeparatorFromHeader(line);
    FUZZ_CHECK(sizeOf(writer.splitFields(line)) <= line.size());
}

void writeAndRead(CCsvWriter& writer, FuzzInput& input)
{
    QList<QVariant> values;
    QList<int> columns;
    QStringList expected;
    QString line;
    while (!input.atEnd()) {
        QString text = input.text();
        const QString escaped = writer.escapeCsvString(text);
        // A text that is written as it is, quotes at its ends included, is no escaped one.
        const bool quoted =
            text.contains(QLatin1Char('"')) || text.contains(QLatin1Char(';')) || text.contains(QLatin1Char('\n'));
        FUZZ_CHECK(escaped.size() <= 2 * text.size() + 2);
        values += text;
        columns += columns.size();
        if (quoted)
            text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
        FUZZ_CHECK(writer.unescapeCsvString(escaped) == text);
        expected += text;
    }
    writer.setColumns(columns);
    QTextStream stream(&line);
    writer.writeRow(stream, values);
    stream.flush();
    FUZZ_CHECK(line.endsWith(QLatin1Char('\n')));
    line.chop(1);
    // A separator at the end starts no further field.
    if (!expected.isEmpty() && expected.last().isEmpty())
        expected.removeLast();
    FUZZ_CHECK(writer.splitFields(line) == expected);
}

} // namespace

FUZZ_TARGET(csv_fields)
{
    CCsvWriter writer;
    if (input.flag())
        writeAndRead(writer, input);
    else
        readAnything(writer, input.restAsText());
}
