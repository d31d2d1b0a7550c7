#include <foundation/formats/csv_reader.h>

#include <foundation/formats/csv_decoding_p.h>

namespace {

constexpr QLatin1Char lineFeed('\n');
constexpr QLatin1Char quote('"');

QString textOf(const QByteArray& bytes, QString* errorString)
{
    bool valid = false;
    QString text = CsvDecoding::unicode(bytes, &valid);
    if (!valid && CsvDecoding::hasWideMark(bytes)) {
        *errorString = QStringLiteral("begins like UTF-16 but is not");
        return QString();
    }
    if (!valid)
        text = CsvDecoding::windows1252(bytes);
    if (text.contains(QChar(0))) {
        *errorString = QStringLiteral("is not a text");
        return QString();
    }
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    if (!text.contains(lineFeed))
        text.replace(QLatin1Char('\r'), lineFeed);
    return text;
}

// Of those that stand equally often the first counts.
QChar separatorOf(const QString& text)
{
    constexpr char candidates[] = {'\t', ';', ','};
    int counts[] = {0, 0, 0};
    bool quoted = false;
    for (const QChar character : text) {
        if (character == quote)
            quoted = !quoted;
        if (quoted)
            continue;
        if (character == lineFeed)
            break;
        for (int i = 0; i < 3; ++i)
            counts[i] += character == QLatin1Char(candidates[i]);
    }
    int best = 1;
    for (int i = 0; i < 3; ++i) {
        if (counts[i] > counts[best])
            best = i;
    }
    return QLatin1Char(candidates[best]);
}

} // namespace

CCsvReader::CCsvReader(const QByteArray& bytes)
{
    if (bytes.size() > longestFile)
        fail("is too long");
    else
        m_text = textOf(bytes, &m_errorString);
    m_separator = separatorOf(m_text);
}

bool CCsvReader::fail(const char* reason)
{
    m_errorString = QString::fromLatin1(reason);
    return false;
}

int CCsvReader::percent() const
{
    return m_text.isEmpty() ? 100 : int(qint64(m_place) * 100 / m_text.size());
}

bool CCsvReader::readQuotedField(QString* field)
{
    ++m_place;
    for (;;) {
        const int end = m_text.indexOf(quote, m_place);
        if (end < 0)
            return fail("a quote is not closed");
        for (; m_place < end; ++m_place) {
            m_line += m_text.at(m_place) == lineFeed;
            field->append(m_text.at(m_place));
        }
        ++m_place;
        if (m_place >= m_text.size() || m_text.at(m_place) != quote)
            break;
        field->append(quote);
        ++m_place;
    }
    return atLineEnd() || m_text.at(m_place) == m_separator || fail("there is text after a closing quote");
}

bool CCsvReader::readField(QString* field)
{
    if (!atLineEnd() && m_text.at(m_place) == quote)
        return readQuotedField(field);
    const int begin = m_place;
    while (!atLineEnd() && m_text.at(m_place) != m_separator)
        ++m_place;
    *field = m_text.mid(begin, m_place - begin);
    return true;
}

bool CCsvReader::readRecord(QStringList* fields)
{
    fields->clear();
    if (!m_errorString.isEmpty())
        return false;
    for (; m_place < m_text.size() && m_text.at(m_place) == lineFeed; ++m_place)
        ++m_line;
    m_recordLine = m_line;
    if (m_place >= m_text.size())
        return false;
    for (;;) {
        QString field;
        if (!readField(&field)) {
            fields->clear();
            return false;
        }
        fields->append(field);
        if (atLineEnd())
            break;
        ++m_place; // the separator
    }
    if (m_place < m_text.size()) {
        ++m_place;
        ++m_line;
    }
    return true;
}
