#include <foundation/core/json_parser.h>

#include <QtCore/QDateTime>
#include <QtCore/QVector>

#include <charconv>

// Writing. The reading half stands in json_parser.cpp.

namespace {

// Text under construction. Room is doubled when it runs out, and characters go straight into it.
class Text
{
public:
    explicit Text(int expected) { m_text.resize(expected); }

    int size() const { return m_size; }

    // Room for that many characters, to be filled at once.
    QChar* extend(int count)
    {
        if (count > m_text.size() - m_size)
            m_text.resize(qMax(2 * static_cast<int>(m_text.size()), m_size + count));
        QChar* const place = m_text.data() + m_size;
        m_size += count;
        return place;
    }

    void add(char character) { *extend(1) = QLatin1Char(character); }

    void add(const QString& text) { std::copy(text.begin(), text.end(), extend(static_cast<int>(text.size()))); }

    void add(QLatin1String text)
    {
        QChar* to = extend(static_cast<int>(text.size()));
        for (const char character : text)
            *to++ = QLatin1Char(character);
    }

    template<typename Integer>
    void addNumber(Integer number)
    {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        add(QLatin1String(digits, static_cast<int>(end - digits)));
    }

    QString take()
    {
        m_text.truncate(m_size);
        return std::move(m_text);
    }

private:
    QString m_text;
    int m_size = 0;
};

constexpr char hexDigits[] = "0123456789abcdef";

bool isBracketed(const QString& text)
{
    return text.startsWith(QLatin1Char('{')) || text.startsWith(QLatin1Char('['));
}

void writeQuoted(Text& out, const QString& text)
{
    out.add('"');
    // Stretches without anything special are the rule: they are copied as they are.
    const QChar* position = text.constData();
    const QChar* const end = position + text.size();
    while (position != end) {
        const QChar* const begin = position;
        while (position != end && position->unicode() < 128 && *position != QLatin1Char('"')
               && *position != QLatin1Char('\\'))
            ++position;
        std::copy(begin, position, out.extend(static_cast<int>(position - begin)));
        if (position == end)
            break;
        const ushort code = position++->unicode();
        QChar* to = out.extend(code < 128 ? 2 : 6);
        *to++ = QLatin1Char('\\');
        if (code < 128) {
            *to = QChar(code);
        } else {
            *to++ = QLatin1Char('u');
            for (int shift = 12; shift >= 0; shift -= 4)
                *to++ = QLatin1Char(hexDigits[code >> shift & 0xF]);
        }
    }
    out.add('"');
}

void writeBytes(Text& out, const QByteArray& bytes)
{
    out.add('"');
    // A ":" is what tells bytes from a string, so fewer than two bytes get one, too.
    const auto count = static_cast<int>(bytes.size());
    QChar* to = out.extend(count == 0 ? 1 : count == 1 ? 3 : count * 3 - 1);
    for (int i = 0; i < count; ++i) {
        if (i > 0)
            *to++ = QLatin1Char(':');
        const auto byte = static_cast<uchar>(bytes.at(i));
        *to++ = QLatin1Char(hexDigits[byte >> 4]);
        *to++ = QLatin1Char(hexDigits[byte & 0xF]);
    }
    if (count < 2)
        *to = QLatin1Char(':');
    out.add('"');
}

template<typename T>
const T& held(const QVariant& value)
{
    return *static_cast<const T*>(value.constData());
}

// Writes any value but a list.
void writeScalar(Text& out, const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
    case QMetaType::QCborMap:
        out.add(QLatin1String("null"));
        return;
    case QMetaType::QString: {
        const auto& text = held<QString>(value);
        if (isBracketed(text))
            out.add(text);
        else
            writeQuoted(out, text);
        return;
    }
    case QMetaType::Bool:
        out.add(held<bool>(value) ? QLatin1String("true") : QLatin1String("false"));
        return;
    case QMetaType::Int:
        out.addNumber(held<int>(value));
        return;
    case QMetaType::UInt:
        out.addNumber(held<uint>(value));
        return;
    case QMetaType::LongLong:
        out.addNumber(held<qlonglong>(value));
        return;
    case QMetaType::ULongLong:
        out.addNumber(held<qulonglong>(value));
        return;
    case QMetaType::QDateTime:
        out.add('"');
        out.add(held<QDateTime>(value).toString(Qt::ISODate));
        out.add('"');
        return;
    case QMetaType::QDate:
    case QMetaType::QTime:
        writeQuoted(out, value.toString());
        return;
    case QMetaType::QByteArray: {
        const auto& bytes = held<QByteArray>(value);
        const char first = bytes.isEmpty() ? '\0' : bytes.at(0);
        // As text, bytes may start with a bracket at once or behind a byte-order mark.
        if (first == '{' || first == '[' || first == '\xEF') {
            const QString text = value.toString();
            if (isBracketed(text)) {
                out.add(text);
                return;
            }
        }
        writeBytes(out, bytes);
        return;
    }
    default:
        out.add(value.toString());
    }
}

// Writes a list, and the lists in it, without recursion.
void writeList(Text& out, const QVariantList& list)
{
    struct Level
    {
        const QVariantList* list;
        int next;
        int start;
    };
    out.add('[');
    QVector<Level> levels{{&list, 0, out.size()}};
    while (!levels.isEmpty()) {
        Level& level = levels.last();
        if (level.next == level.list->size()) {
            levels.removeLast();
            out.add(']');
            continue;
        }
        // An element without text leaves no trace at the front, not even a separator.
        if (out.size() > level.start)
            out.add(QLatin1String(", "));
        const QVariant& element = level.list->at(level.next++);
        if (element.userType() == QMetaType::QVariantList) {
            out.add('[');
            levels.append({&held<QVariantList>(element), 0, out.size()});
        } else {
            writeScalar(out, element);
        }
    }
}

void writeValue(Text& out, const QVariant& value)
{
    if (value.userType() == QMetaType::QVariantList)
        writeList(out, held<QVariantList>(value));
    else
        writeScalar(out, value);
}

// The values in the order of their numbers when the keys are "0", "1"... up to the last one, otherwise nothing.
QVector<const QVariant*> arrayValues(const QVariantMap& map)
{
    QVector<const QVariant*> values(static_cast<int>(map.size()), nullptr);
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        const QString& key = entry.key();
        // Keys differ from each other, so it is enough that each is a number below their count, written the one way.
        const bool canonical = !key.isEmpty() && key.size() <= 9 && (key.size() == 1 || key.at(0) != QLatin1Char('0'));
        int number = 0;
        for (int i = 0; canonical && i < key.size(); ++i) {
            const uint digit = key.at(i).unicode() - static_cast<uint>('0');
            if (digit > 9)
                return {};
            number = number * 10 + static_cast<int>(digit);
        }
        if (!canonical || number >= map.size())
            return {};
        values[number] = &entry.value();
    }
    return values;
}

// A key with a place marker in it takes part in the substitution, as in any text made with QString::arg.
void writeEntryByTemplate(Text& out, const QString& separator, const QString& key, const QVariant& value)
{
    out.add(QStringLiteral("%1\"%2\": %3").arg(separator).arg(key).arg(CJsonParser::variantToValueString(value)));
}

} // namespace

QString CJsonParser::serialize(const QVariantMap& map)
{
    if (map.isEmpty())
        return QStringLiteral("[]");

    Text out(32 * qMin(static_cast<int>(map.size()), 0x10000));
    // Only a map with "0" can be an array; most have other keys, and are not looked through for nothing.
    const auto values = map.contains(QStringLiteral("0")) ? arrayValues(map) : QVector<const QVariant*>();
    if (!values.isEmpty()) {
        out.add('[');
        for (int i = 0; i < values.size(); ++i) {
            if (i > 0)
                out.add(QLatin1String(", "));
            writeValue(out, *values.at(i));
        }
        out.add(']');
        return out.take();
    }

    out.add('{');
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        const QLatin1String separator(entry == map.cbegin() ? "" : ", ");
        if (entry.key().contains(QLatin1Char('%'))) {
            writeEntryByTemplate(out, separator, entry.key(), entry.value());
            continue;
        }
        out.add(separator);
        out.add('"');
        out.add(entry.key());
        out.add(QLatin1String("\": "));
        writeValue(out, entry.value());
    }
    out.add('}');
    return out.take();
}

QString CJsonParser::serialize(const QVariantList& list)
{
    Text out(16 * qMin(static_cast<int>(list.size()), 0x10000) + 2);
    writeList(out, list);
    return out.take();
}

QString CJsonParser::variantToValueString(const QVariant& value)
{
    Text out(32);
    writeValue(out, value);
    return out.take();
}

QString CJsonParser::toQuotedStringValue(const QString& text)
{
    Text out(static_cast<int>(text.size()) + 16);
    out.add('"');
    for (const QChar character : text) {
        switch (character.unicode()) {
        case '\\':
            out.add(QLatin1String("\\\\"));
            break;
        case '"':
            out.add(QLatin1String("\\\""));
            break;
        case '\n':
            out.add(QLatin1String("\\n"));
            break;
        case '\r':
            out.add(QLatin1String("\\r"));
            break;
        case '\t':
            out.add(QLatin1String("\\t"));
            break;
        case '\b':
            out.add(QLatin1String("\\b"));
            break;
        case '\f':
            out.add(QLatin1String("\\f"));
            break;
        case '\v':
            break;
        default:
            *out.extend(1) = character;
        }
    }
    out.add('"');
    return out.take();
}
