#include <foundation/core/json_text.h>

#include <algorithm>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace {

// What Qt's reader accepts.
constexpr size_t deepestNesting = 1024;

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// UTF-8, also of half a surrogate pair: as no raw text holds one, it is equal to nothing but itself.
void addCodePoint(std::string& text, uint code)
{
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    const int following = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr uint leads[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(leads[following] | code >> 6 * following);
    for (int i = following - 1; i >= 0; --i)
        text += static_cast<char>(0x80 | (code >> 6 * i & 0x3F));
}

// The four digits at a place, or -1.
int hexadecimal(std::string_view digits)
{
    if (digits.size() < 4)
        return -1;
    int code = 0;
    for (const char c : digits.substr(0, 4)) {
        const int digit = c >= '0' && c <= '9'                     ? c - '0'
                          : (c | 0x20) >= 'a' && (c | 0x20) <= 'f' ? (c | 0x20) - 'a' + 10
                                                                   : -1;
        if (digit < 0)
            return -1;
        code = code * 16 + digit;
    }
    return code;
}

// What the inside of a string stands for. Of an escape that is none the character itself stays, as Qt reads it.
std::string unescaped(std::string_view raw)
{
    std::string text;
    int high = -1; // the first half of a pair that is still open
    for (size_t i = 0; i < raw.size(); ++i) {
        int code = -1;
        if (raw[i] == '\\' && i + 1 < raw.size()) {
            const char kind = raw[++i];
            code = kind == 'u' ? hexadecimal(raw.substr(i + 1)) : -1;
            if (code >= 0) {
                i += 4;
            } else {
                static constexpr std::string_view letters = "bfnrt";
                const size_t letter = letters.find(kind);
                code = letter == letters.npos ? static_cast<uchar>(kind) : "\b\f\n\r\t"[letter];
            }
        }
        const bool low = code >= 0xDC00 && code <= 0xDFFF;
        if (high >= 0) {
            addCodePoint(text, low ? static_cast<uint>((high - 0xD800) * 0x400 + (code - 0xDC00) + 0x10000)
                                   : static_cast<uint>(high));
            high = -1;
            if (low)
                continue;
        }
        if (code < 0)
            text += raw[i];
        else if (code >= 0xD800 && code <= 0xDBFF)
            high = code;
        else
            addCodePoint(text, static_cast<uint>(code));
    }
    if (high >= 0)
        addCodePoint(text, static_cast<uint>(high));
    return text;
}

// Goes over the brackets and strings of a text. A string in an object is a key when a colon follows. Nothing else is
// looked at: where a text is malformed Qt's reader stops, and it does no harm that this goes on.
class KeySearch
{
public:
    explicit KeySearch(std::string_view text)
        : m_text(text)
    {
    }

    int run()
    {
        while (m_position < m_text.size()) {
            switch (m_text[m_position]) {
            case '{':
            case '[':
                if (m_open.size() == deepestNesting)
                    return atEnd();
                m_open.push_back({m_text[m_position] == '{', m_keys.size()});
                break;
            case '}':
            case ']': {
                const int place = close();
                if (place >= 0)
                    return place;
                break;
            }
            case '"':
                if (!readString())
                    return atEnd();
                break;
            }
            ++m_position;
        }
        return atEnd();
    }

private:
    struct Key
    {
        std::string_view text;
        size_t position;

        friend bool operator<(const Key& a, const Key& b)
        {
            const int order = a.text.compare(b.text);
            return order < 0 || (order == 0 && a.position < b.position);
        }
    };
    struct Open
    {
        bool object;
        size_t firstKey;
    };

    // From the opening to the closing quote.
    bool readString()
    {
        const size_t begin = m_position + 1;
        bool escapes = false;
        bool unclear = false;
        size_t end = begin;
        while (end < m_text.size() && m_text[end] != '"') {
            const bool escape = m_text[end] == '\\';
            escapes = escapes || escape;
            unclear = unclear || (escape && end + 1 < m_text.size() && static_cast<uchar>(m_text[end + 1]) >= 0x80);
            end += escape ? 2 : 1;
        }
        if (end >= m_text.size())
            return false;
        m_position = end;
        if (m_open.empty() || !m_open.back().object)
            return true;
        size_t next = end + 1;
        while (next < m_text.size() && isSpace(m_text[next]))
            ++next;
        if (next < m_text.size() && m_text[next] == ':') {
            std::string_view key = m_text.substr(begin, end - begin);
            if (escapes)
                key = m_unescaped.emplace_back(unescaped(key));
            m_keys.push_back({key, begin - 1});
            // What Qt makes of an escaped byte of a longer character depends on the processor: such a key counts as one
            // that stands again.
            if (unclear)
                m_keys.push_back({key, begin - 1});
            m_position = next;
        }
        return true;
    }

    // Ends the innermost object or array. Sorted rather than hashed: no choice of keys makes it slow.
    int close()
    {
        if (m_open.empty())
            return -1;
        const auto begin = m_keys.begin() + static_cast<std::ptrdiff_t>(m_open.back().firstKey);
        std::sort(begin, m_keys.end());
        const auto found =
            std::adjacent_find(begin, m_keys.end(), [](const Key& a, const Key& b) { return a.text == b.text; });
        if (found != m_keys.end())
            // cppcheck-suppress derefInvalidIteratorRedundantCheck ; the second of a pair
            return static_cast<int>((found + 1)->position);
        m_keys.erase(begin, m_keys.end());
        m_open.pop_back();
        return -1;
    }

    int atEnd()
    {
        int place = -1;
        while (place < 0 && !m_open.empty())
            place = close();
        return place;
    }

    std::string_view m_text;
    size_t m_position = 0;
    std::vector<Open> m_open;
    std::vector<Key> m_keys;             // of all open objects, the innermost one's last
    std::deque<std::string> m_unescaped; // never moved, for the keys look into it
};

} // namespace

QJsonDocument CJsonText::read(const QByteArray& json, QJsonParseError* error)
{
    const int place = repeatedKey(json);
    if (place < 0)
        return QJsonDocument::fromJson(json, error);
    if (error) {
        error->error = QJsonParseError::IllegalValue;
        error->offset = place;
    }
    return QJsonDocument();
}

int CJsonText::repeatedKey(const QByteArray& json)
{
    return KeySearch(std::string_view(json.constData(), static_cast<size_t>(json.size()))).run();
}
