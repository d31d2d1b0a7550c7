#include <foundation/formats/csv_writer.h>

#include <foundation/core/qt_compat_p.h>
#include <foundation/core/string_utils.h>
#include <foundation/formats/text_buffer_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QTextStream>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr QLatin1Char quote('"');
constexpr QLatin1Char lineFeed('\n');
// Lines are gathered up to about this size before they go to the stream, which is slow with small pieces.
constexpr qsizetype gatheredCharacters = 8192;
constexpr qsizetype lineCapacity = 256; // to start with

// Whether a text holds one of three characters, eight at a time where the compiler can: nearly all cells hold none, and
// looking is most of what writing a cell costs.
bool holdsAnyOf(const QString& text, ushort a, ushort b, ushort c)
{
    const auto* data = reinterpret_cast<const ushort*>(text.constData());
    const auto* const end = data + text.size();
#if defined(__GNUC__)
    using Eight = ushort __attribute__((vector_size(16)));
    if (text.size() >= 8) {
        Eight found{};
        const auto look = [&](const ushort* from) {
            Eight characters;
            std::memcpy(&characters, from, sizeof characters);
            found |= Eight(characters == a) | Eight(characters == b) | Eight(characters == c);
        };
        for (; end - data >= 8; data += 8)
            look(data);
        look(end - 8); // some of these a second time
        quint64 halves[2];
        std::memcpy(halves, &found, sizeof halves);
        return (halves[0] | halves[1]) != 0;
    }
#endif
    return std::any_of(data, end, [=](ushort character) { return character == a || character == b || character == c; });
}

} // namespace

CCsvWriter::CCsvWriter() = default;
CCsvWriter::~CCsvWriter() = default;

void CCsvWriter::setModel(QAbstractItemModel* model, const QPersistentModelIndex& rootIndex)
{
    m_model = model;
    m_rootIndex = rootIndex;
}

void CCsvWriter::setColumns(const QList<int>& columns)
{
    m_columns = columns;
}

void CCsvWriter::setColumnFlags(int column, ProcessingFlags flags)
{
    m_columnFlags.insert(column, flags);
}

void CCsvWriter::clearColumnFlags()
{
    m_columnFlags.clear();
}

void CCsvWriter::setFieldSeparatorFromHeader(const QString& headerLine)
{
    m_fieldSeparator = QLatin1Char(';');
    for (const char separator : {'\t', ';', ','}) {
        if (headerLine.contains(QLatin1Char(separator))) {
            m_fieldSeparator = QLatin1Char(separator);
            return;
        }
    }
}

void CCsvWriter::write(QTextStream& out)
{
    const QAbstractItemModel* const model = m_model;
    if (model == nullptr) {
        qWarning("CsvWriter: no model to write");
        return;
    }
    QtCompat::setUtf8(out);
    out.setGenerateByteOrderMark(true);

    const QModelIndex root = m_rootIndex;
    const int columnCount = model->columnCount(root);
    const int rowCount = model->rowCount(root);
    QStringList headers;
    headers.reserve(columnCount);
    for (int column = 0; column < columnCount; ++column)
        headers.append(model->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString());
    writeHeader(out, headers);

    std::vector<std::pair<int, ProcessingFlags>> columns;
    columns.reserve(static_cast<size_t>(m_columns.size()));
    for (const int column : qAsConst(m_columns))
        columns.emplace_back(column, m_columnFlags.value(column));
    TextBuffer lines(2 * gatheredCharacters);
    for (int row = 0; row < rowCount; ++row) {
        bool first = true;
        for (const auto& [column, flags] : columns) {
            if (!first)
                lines.append(m_fieldSeparator);
            first = false;
            const QModelIndex index =
                column >= 0 && column < columnCount ? model->index(row, column, root) : QModelIndex();
            if (index.isValid())
                appendValue(lines, model->data(index, Qt::DisplayRole), flags);
        }
        lines.append(lineFeed);
        if (lines.size() >= gatheredCharacters) {
            out << lines.view();
            lines.clear();
        }
    }
    out << lines.view();
}

void CCsvWriter::write(QIODevice* device)
{
    QTextStream out(device);
    write(out);
}

void CCsvWriter::writeHeader(QTextStream& out, const QStringList& headers) const
{
    TextBuffer line(lineCapacity);
    for (int i = 0; i < m_columns.size(); ++i) {
        if (i > 0)
            line.append(m_fieldSeparator);
        appendText(line, headers.value(m_columns.at(i)));
    }
    line.append(lineFeed);
    out << line.view();
}

void CCsvWriter::writeRow(QTextStream& out, const QList<QVariant>& values) const
{
    TextBuffer line(lineCapacity);
    for (int i = 0; i < m_columns.size(); ++i) {
        if (i > 0)
            line.append(m_fieldSeparator);
        const int column = m_columns.at(i);
        appendValue(line, values.value(column), m_columnFlags.value(column));
    }
    line.append(lineFeed);
    out << line.view();
}

void CCsvWriter::appendValue(TextBuffer& line, const QVariant& value, ProcessingFlags flags) const
{
    if (value.userType() == QMetaType::QString && !flags.testFlag(ZeroAsEmpty)) {
        appendText(line, *static_cast<const QString*>(value.constData())); // nearly all cells: no copy, no conversion
        return;
    }
    if (flags.testFlag(ZeroAsEmpty)) {
        bool isNumber = false;
        if (value.toLongLong(&isNumber) == 0 && isNumber)
            return;
    }
    if (value.userType() == QMetaType::QDateTime) {
        const QDateTime time = value.toDateTime();
        line.append(flags.testFlag(IsoDateTime) ? time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                                                : QLocale().toString(time, QLocale::ShortFormat));
        return;
    }
    appendText(line, value.toString());
}

QString CCsvWriter::guardedText(const QString& text)
{
    static const QString openers = QStringLiteral("=+-@\t\r");
    bool isNumber = false;
    if (text.isEmpty() || !openers.contains(text.at(0)) || (text.toDouble(&isNumber), isNumber))
        return text;
    return QLatin1Char('\'') + text;
}

void CCsvWriter::appendText(TextBuffer& line, const QString& text) const
{
    if (m_guarded) {
        const QString guarded = guardedText(text);
        if (guarded.size() != text.size())
            return appendQuoted(line, guarded);
    }
    appendQuoted(line, text);
}

void CCsvWriter::appendQuoted(TextBuffer& line, const QString& text) const
{
    if (!holdsAnyOf(text, '"', '\n', m_fieldSeparator.unicode())) {
        line.append(text);
        return;
    }
    line.append(quote);
    for (auto it = text.cbegin(); it != text.cend(); ++it) {
        if (*it == quote)
            line.append(quote);
        else if (*it == QLatin1Char('\r') && it + 1 != text.cend() && it[1] == lineFeed)
            continue;
        line.append(*it);
    }
    line.append(quote);
}

QString CCsvWriter::escapeCsvString(const QString& text) const
{
    TextBuffer result(text.size() + 2);
    appendQuoted(result, text);
    return result.take();
}

QString CCsvWriter::unescapeCsvString(const QString& text) const
{
    if (text.size() < 2 || !text.startsWith(quote) || !text.endsWith(quote))
        return text;
    TextBuffer result(text.size());
    const auto end = text.cend() - 1;
    for (auto it = text.cbegin() + 1; it != end; ++it) {
        result.append(*it);
        if (*it == quote && it + 1 != end && it[1] == quote)
            ++it;
    }
    return result.take();
}

QStringList CCsvWriter::splitFields(const QString& line) const
{
    return CStringUtils::splitQuotedEscapable(line, m_fieldSeparator.toLatin1(), '"');
}
