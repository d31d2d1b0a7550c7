#include <foundation/mail/quoted_printable.h>

#include <array>
#include <cstring>
#include <limits>

namespace {

constexpr int bodyLineLength = 75;   // a soft break's "=" makes it 76
constexpr int headerLineLength = 76; // of a folded header that holds no encoded word
constexpr int encodedWordLength = 75;
constexpr int subjectNameLength = int(sizeof("Subject:") - 1);
constexpr char wordBegin[] = "=?utf-8?Q?";
constexpr char wordEnd[] = "?=";
constexpr char nextWord[] = "?=\r\n =?utf-8?Q?";
constexpr int wordTextLength = encodedWordLength - int(sizeof(wordBegin) - 1) - int(sizeof(wordEnd) - 1);

enum ByteClass : unsigned char
{
    Plain,
    Escaped,
    Underscore
};

using ByteTable = std::array<ByteClass, 256>;

constexpr ByteTable makeByteTable(bool headerMode)
{
    ByteTable table{};
    for (unsigned c = 0; c < 256; ++c) {
        const bool printable = (c >= 0x20 && c <= 0x7E) || c == '\t' || c == '\n' || c == '\r';
        const bool special = c == '=' || (headerMode && (c == '?' || c == '_' || c == '\t'));
        table[c] = !printable || special ? Escaped : headerMode && c == ' ' ? Underscore : Plain;
    }
    return table;
}

constexpr ByteTable bodyTable = makeByteTable(false);
constexpr ByteTable headerTable = makeByteTable(true);

// A growing buffer written through a bare pointer: one comparison a run of bytes instead of one call a byte.
class Output
{
public:
    explicit Output(qint64 expected)
    {
        m_bytes.resize(int(qMin(expected, maxSize)));
        m_next = m_bytes.data();
        m_end = m_next + m_bytes.size();
    }

    int size() const { return int(m_next - m_bytes.constData()); }
    const char* at(int offset) const { return m_bytes.constData() + offset; }

    void append(const char* bytes, qint64 count)
    {
        reserve(count);
        std::memcpy(m_next, bytes, size_t(count));
        m_next += count;
    }
    void append(char c)
    {
        reserve(1);
        *m_next++ = c;
    }
    void appendEscape(unsigned char c)
    {
        static constexpr char digits[] = "0123456789ABCDEF";
        reserve(3);
        *m_next++ = '=';
        *m_next++ = digits[c >> 4];
        *m_next++ = digits[c & 15];
    }
    QByteArray take()
    {
        m_bytes.truncate(size());
        return std::move(m_bytes);
    }

private:
    static constexpr qint64 maxSize = std::numeric_limits<int>::max() - 64;

    void reserve(qint64 count)
    {
        if (m_end - m_next >= count)
            return;
        const int used = size();
        const qint64 wanted = used + count;
        if (wanted > maxSize)
            qBadAlloc(); // as the byte array itself does
        m_bytes.resize(int(qMin(wanted + wanted / 2 + 64, maxSize)));
        m_next = m_bytes.data() + used;
        m_end = m_bytes.data() + m_bytes.size();
    }

    QByteArray m_bytes;
    char* m_next;
    char* m_end;
};

struct LineRules
{
    const ByteTable& table;
    int maxLength; // of a piece; below 3: no limit
    bool dotStuffing;
    bool wholeCharacters; // close a piece early rather than cut a UTF-8 sequence that would fit into the next one
};

// The length of the escapes of the UTF-8 sequence that `lead` begins.
int escapedSequenceLength(unsigned char lead)
{
    return lead >= 0xF0 ? 12 : lead >= 0xE0 ? 9 : lead >= 0xC0 ? 6 : 3;
}

// Appends the encoded line to `out`. Calls `closePiece()` wherever a piece is full and another one follows; it gives
// the greatest length of that next piece.
template<typename ClosePiece>
void encodeLine(const char* next, const char* end, const LineRules& rules, Output& out, ClosePiece closePiece)
{
    const bool split = rules.maxLength > 2;
    qint64 maxLength = split ? rules.maxLength : std::numeric_limits<qint64>::max();
    qint64 length = 0; // of the current piece
    while (next != end) {
        const auto byte = static_cast<unsigned char>(*next);
        if (rules.table[byte] == Escaped) {
            const int wanted = rules.wholeCharacters ? escapedSequenceLength(byte) : 3;
            if (length + 2 >= maxLength || (wanted <= maxLength && length + wanted > maxLength)) {
                maxLength = closePiece();
                length = 0;
            }
            out.appendEscape(byte);
            length += 3;
            ++next;
            continue;
        }
        if (length >= maxLength) {
            maxLength = closePiece();
            length = 0;
        }
        if (rules.table[byte] == Underscore) {
            out.append('_');
            ++length;
            ++next;
            continue;
        }
        const char* runEnd = end - next > maxLength - length ? next + (maxLength - length) : end;
        if (length == 0 && byte == '.' && rules.dotStuffing) {
            out.append('.');
            ++length;
            runEnd = next + 1; // the stuffed dot counts
        }
        const char* const run = next++;
        while (next != runEnd && rules.table[static_cast<unsigned char>(*next)] == Plain)
            ++next;
        out.append(run, next - run);
        length += next - run;
    }
}

// A plain ASCII text folded in front of its blanks; null when it cannot stand as it is: control characters, something
// that looks like an encoded word, blanks at an end that a reader would drop, or a word too long for a line.
QByteArray foldedPlainText(const QByteArray& text)
{
    if (text.contains("=?") || text.startsWith(' ') || text.endsWith(' '))
        return {};
    QByteArray folded("");
    int room = headerLineLength - subjectNameLength - 1;
    int begin = 0;
    while (begin < text.size()) {
        // One word with the blanks before it.
        int end = begin;
        while (end < text.size() && text.at(end) == ' ')
            ++end;
        for (; end < text.size() && text.at(end) != ' '; ++end) {
            const char c = text.at(end);
            if (c < 0x20 || c > 0x7E)
                return {};
        }
        const int length = end - begin;
        if (length > room) {
            if (begin == 0 || length > headerLineLength)
                return {};
            folded += "\r\n";
            room = headerLineLength;
        }
        folded.append(text.constData() + begin, length);
        room -= length;
        begin = end;
    }
    return folded;
}

} // namespace

QList<QByteArray> CQuotedPrintable::encodeAndSplitLine(const QByteArray& line, int maxLength, bool headerMode,
                                                       bool dotStuffing)
{
    QList<QByteArray> pieces;
    Output out(line.size() + line.size() / 4 + 16);
    int begin = 0;
    const auto closePiece = [&] {
        pieces.append(QByteArray(out.at(begin), out.size() - begin));
        begin = out.size();
        return maxLength;
    };
    encodeLine(line.constData(), line.constData() + line.size(),
               {headerMode ? headerTable : bodyTable, maxLength, dotStuffing, false}, out, closePiece);
    if (out.size() > begin)
        closePiece();
    return pieces;
}

QByteArray CQuotedPrintable::getEncodedText(const QByteArray& text, bool dotStuffing)
{
    Output out(qint64(text.size()) + text.size() / 4 + 16);
    const auto closePiece = [&out] {
        out.append("=\r\n", 3);
        return bodyLineLength;
    };
    const LineRules rules{bodyTable, bodyLineLength, dotStuffing, false};
    const char* next = text.constData();
    const char* const end = next + text.size();
    for (;;) {
        const auto* lineEnd = static_cast<const char*>(std::memchr(next, '\n', size_t(end - next)));
        encodeLine(next, lineEnd ? lineEnd : end, rules, out, closePiece);
        if (!lineEnd)
            break;
        out.append("\r\n", 2);
        next = lineEnd + 1;
    }
    // Transport may strip trailing white space; behind a soft break it is safe.
    if (out.size() > 0 && (*out.at(out.size() - 1) == ' ' || *out.at(out.size() - 1) == '\t'))
        out.append('=');
    return out.take();
}

QByteArray CQuotedPrintable::getUtf8EncodedSubject(const QString& subject)
{
    QByteArray text = subject.toUtf8();
    // A line break would end the header and let the rest of the subject pass for another one.
    text.replace("\r\n", " ").replace('\r', ' ').replace('\n', ' ');
    QByteArray plain = foldedPlainText(text);
    if (!plain.isNull())
        return plain;

    Output out(qint64(text.size()) * 2 + 64);
    out.append(wordBegin, sizeof(wordBegin) - 1);
    const auto closePiece = [&out] {
        out.append(nextWord, sizeof(nextWord) - 1);
        return wordTextLength;
    };
    encodeLine(text.constData(), text.constData() + text.size(),
               {headerTable, wordTextLength - subjectNameLength, false, true}, out, closePiece);
    out.append(wordEnd, sizeof(wordEnd) - 1);
    return out.take();
}
