#include <foundation/core/json_parser.h>

#include <QtCore/QDateTime>

#include <algorithm>
#include <limits>

// Reading. The writing half stands in json_writer.cpp.

namespace {

using Position = const QChar*;

bool isSpace(QChar character)
{
    const ushort code = character.unicode();
    return code == ' ' || code == '\t' || code == '\n' || code == '\r';
}

int hexDigit(QChar character)
{
    const uint code = character.unicode();
    if (code - '0' < 10)
        return static_cast<int>(code - '0');
    if ((code | 0x20) - 'a' < 6)
        return static_cast<int>((code | 0x20) - 'a') + 10;
    return -1;
}

bool equals(Position begin, Position end, QLatin1String text)
{
    return end - begin == text.size()
           && std::equal(begin, end, text.begin(), [](QChar a, char b) { return a == QLatin1Char(b); });
}

// A string that borrows the characters, for Qt's number readers.
QString borrowed(Position begin, Position end)
{
    return QString::fromRawData(begin, static_cast<int>(end - begin));
}

// The number that four characters stand for, or -1.
int escapedCode(Position digits)
{
    int code = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = hexDigit(digits[i]);
        if (digit < 0) {
            // Signs, blanks and prefixes count as Qt counts them.
            bool ok = false;
            const uint number = borrowed(digits, digits + 4).toUInt(&ok, 16);
            return ok ? static_cast<int>(number) : -1;
        }
        code = code * 16 + digit;
    }
    return code;
}

// Replaces each \uXXXX that is followed by at least one more character.
void replaceEscapes(QString& text)
{
    const auto first = text.indexOf(QLatin1Char('\\'));
    if (first < 0)
        return;
    QChar* const begin = text.data();
    const Position end = begin + text.size();
    Position from = begin + first;
    QChar* to = begin + first;
    while (end - from > 6) {
        const int code = from[0] == QLatin1Char('\\') && from[1] == QLatin1Char('u') ? escapedCode(from + 2) : -1;
        if (code >= 0)
            *to++ = QChar(static_cast<ushort>(code));
        else
            *to++ = *from;
        from += code >= 0 ? 6 : 1;
    }
    to = std::copy(from, end, to);
    text.truncate(static_cast<int>(to - begin));
}

// Takes out everything from an opening mark to the next closing mark. An opening mark without a closing one stays.
void removeStretches(QString& text, QLatin1String opening, QLatin1String closing)
{
    auto open = text.indexOf(opening);
    if (open < 0)
        return;
    QChar* const data = text.data();
    QChar* to = data + open;
    auto from = open;
    while (open >= 0) {
        const auto close = text.indexOf(closing, open + opening.size());
        if (close < 0)
            break;
        to = std::copy(data + from, data + open, to);
        from = close + closing.size();
        open = text.indexOf(opening, from);
    }
    to = std::copy(data + from, data + text.size(), to);
    text.truncate(static_cast<int>(to - data));
}

// The inside of a quoted token as a value. The characters are copied where they are kept.
QVariant quotedValue(Position begin, Position end)
{
    const auto size = end - begin;
    int digits = 0;
    Position position = begin;
    for (; position != end; ++position) {
        if (hexDigit(*position) >= 0)
            ++digits;
        else if (*position != QLatin1Char(':'))
            break;
    }
    if (position == end && digits < size) {
        // An odd number of digits is read as if a zero stood before them.
        QByteArray bytes((digits + 1) / 2, '\0');
        int index = digits % 2;
        for (position = begin; position != end; ++position) {
            if (*position != QLatin1Char(':')) {
                char& byte = bytes.data()[index / 2];
                byte = static_cast<char>(byte * 16 + hexDigit(*position));
                ++index;
            }
        }
        return bytes;
    }
    if (size >= 10 && begin[4] == QLatin1Char('-') && begin[7] == QLatin1Char('-')
        && (size == 10 || begin[10] == QLatin1Char('T'))) {
        const QDateTime dateTime = QDateTime::fromString(QString(begin, static_cast<int>(size)), Qt::ISODate);
        if (dateTime.isValid())
            return dateTime;
    }
    return QString(begin, static_cast<int>(size));
}

QVariant integer(qint64 number)
{
    if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max())
        return static_cast<int>(number);
    return number;
}

// Digits, with a minus before them and one point between them at most, few enough for exact arithmetic; or nothing.
QVariant shortNumber(Position begin, Position end)
{
    constexpr double powersOfTen[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};
    const bool negative = *begin == QLatin1Char('-');
    begin += negative;
    // Fifteen digits fit into a double, and a division by a power of ten that fits, too, is rounded as it should be.
    if (begin == end || end - begin > 16)
        return QVariant();
    Position point = nullptr;
    qint64 number = 0;
    for (Position position = begin; position != end; ++position) {
        const uint digit = position->unicode() - static_cast<uint>('0');
        if (digit < 10)
            number = number * 10 + digit;
        else if (*position == QLatin1Char('.') && !point && position != begin && position + 1 != end)
            point = position;
        else
            return QVariant();
    }
    if (!point)
        return integer(negative ? -number : number);
    const double real = static_cast<double>(number) / powersOfTen[end - point - 1];
    return negative ? -real : real;
}

// A number in any form that Qt reads, with blanks, signs or an exponent; otherwise a string.
QVariant unusualNumber(Position begin, Position end)
{
    const QString text(begin, static_cast<int>(end - begin));
    bool ok = false;
    const qint64 number = text.toLongLong(&ok, 10);
    if (ok)
        return integer(number);
    const double real = text.toDouble(&ok);
    return ok ? QVariant(real) : QVariant(text);
}

// A token without quotes as a value.
QVariant plainValue(Position begin, Position end)
{
    if (begin == end)
        return QString();
    const QChar first = *begin;
    if (first != QLatin1Char('{') && first != QLatin1Char('[')) {
        if (equals(begin, end, QLatin1String("true")))
            return true;
        if (equals(begin, end, QLatin1String("false")))
            return false;
        if (equals(begin, end, QLatin1String("null")))
            return QVariant();

        QVariant number = shortNumber(begin, end);
        return number.isValid() ? number : unusualNumber(begin, end);
    }
    return QString(begin, static_cast<int>(end - begin));
}

// Reads one text from its beginning to its end.
class Reader
{
public:
    explicit Reader(const QString& text)
        : m_position(text.constData())
        , m_end(m_position + text.size())
    {
        // The C library joins what was freed when it is asked for a larger piece. Otherwise the many small ones of a
        // long text would come from where those of the last one lay, each somewhere else.
        if (text.size() > longText)
            m_unescaped.reserve(0x1000);
    }

    bool read(QVariantMap& result)
    {
        const bool object = expect('{', '{');
        if (!object && !expect('[', '['))
            return false;
        for (int index = 0; m_position != m_end; ++index) {
            QString key;
            if (object) {
                if (!readToken())
                    return false;
                key = QString(m_tokenBegin, static_cast<int>(m_tokenEnd - m_tokenBegin));
                if (!expect(':', ':'))
                    return false;
            } else {
                key = QString::number(index);
            }
            if (!readToken() || !expect(',', object ? '}' : ']'))
                return false;
            // Texts are mostly sorted, as they are written: then each entry goes to the end without a search.
            QVariant& value = *result.insert(result.cend(), key, QVariant());
            value = m_tokenQuoted ? quotedValue(m_tokenBegin, m_tokenEnd) : plainValue(m_tokenBegin, m_tokenEnd);
        }
        return true;
    }

private:
    void skipSpace()
    {
        while (m_position != m_end && isSpace(*m_position))
            ++m_position;
    }

    bool expect(char one, char other)
    {
        skipSpace();
        if (m_position == m_end || (*m_position != QLatin1Char(one) && *m_position != QLatin1Char(other)))
            return false;
        ++m_position;
        skipSpace();
        return true;
    }

    // Sets the token, of a quoted one the inside; false when there is none. Every failure ends the parse, so nothing
    // is searched twice.
    bool readToken()
    {
        skipSpace();
        if (m_position == m_end)
            return false;
        const QChar first = *m_position;
        m_tokenQuoted = first == QLatin1Char('"');
        bool found = false;
        if (m_tokenQuoted)
            found = readQuoted();
        else if (first == QLatin1Char('{') || first == QLatin1Char('['))
            found = readNested(first == QLatin1Char('{') ? QLatin1Char('}') : QLatin1Char(']'));
        else
            found = readPlain();
        skipSpace();
        return found;
    }

    bool readQuoted()
    {
        const Position begin = m_position + 1;
        bool backslash = false;
        Position end = begin;
        for (; end != m_end; ++end) {
            if (*end == QLatin1Char('\\'))
                backslash = true;
            else if (*end == QLatin1Char('"') && end[-1] != QLatin1Char('\\'))
                break;
        }
        if (end == m_end)
            return false;
        m_position = end + 1;
        m_tokenBegin = begin;
        m_tokenEnd = end;
        if (backslash)
            unescapeToken();
        return true;
    }

    // The last backslash before a quote goes, then of each two backslashes one.
    void unescapeToken()
    {
        m_unescaped.resize(static_cast<int>(m_tokenEnd - m_tokenBegin));
        QChar* to = m_unescaped.data();
        for (Position from = m_tokenBegin; from != m_tokenEnd;) {
            const Position run = from;
            while (from != m_tokenEnd && *from == QLatin1Char('\\'))
                ++from;
            const bool quoteFollows = from != m_tokenEnd && *from == QLatin1Char('"');
            const auto count = from - run - (quoteFollows && from != run ? 1 : 0);
            to = std::fill_n(to, count / 2 + count % 2, QLatin1Char('\\'));
            if (from != m_tokenEnd)
                *to++ = *from++;
        }
        m_tokenBegin = m_unescaped.constData();
        m_tokenEnd = to;
    }

    // The raw text up to the first bracket that could close it.
    bool readNested(QLatin1Char closing)
    {
        const Position end = std::find(m_position, m_end, QChar(closing));
        if (end == m_end)
            return false;
        m_tokenBegin = m_position;
        m_tokenEnd = m_position = end + 1;
        return true;
    }

    bool readPlain()
    {
        m_tokenBegin = m_position;
        while (m_position != m_end && !isSpace(*m_position) && *m_position != QLatin1Char(':')
               && *m_position != QLatin1Char(',') && *m_position != QLatin1Char('}') && *m_position != QLatin1Char(']'))
            ++m_position;
        m_tokenEnd = m_position;
        return m_tokenBegin != m_tokenEnd;
    }

    static constexpr int longText = 0x10000;

    Position m_position;
    Position m_end;
    Position m_tokenBegin = nullptr;
    Position m_tokenEnd = nullptr;
    bool m_tokenQuoted = false;
    QString m_unescaped;
};

} // namespace

QVariantMap CJsonParser::deserialize(const QString& text, bool* ok, bool stripComments)
{
    QString prepared = text;
    replaceEscapes(prepared);
    if (stripComments) {
        removeStretches(prepared, QLatin1String("/*"), QLatin1String("*/"));
        removeStretches(prepared, QLatin1String("//"), QLatin1String("\n"));
    }
    QVariantMap result;
    const bool good = Reader(prepared).read(result);
    if (ok)
        *ok = good;
    return result;
}

QVariant CJsonParser::valueStringToVariant(const QString& token)
{
    const Position begin = token.constData();
    const Position end = begin + token.size();
    if (!token.startsWith(QLatin1Char('"')) || !token.endsWith(QLatin1Char('"')))
        return plainValue(begin, end);
    // A single quote mark is both its own beginning and end.
    return token.size() == 1 ? QVariant(QString()) : quotedValue(begin + 1, end - 1);
}
