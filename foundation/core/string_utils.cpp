#include <foundation/core/string_utils.h>

#include <foundation/core/utf8_p.h>

namespace {

bool isQuote(QChar character)
{
    return character == QLatin1Char('\'') || character == QLatin1Char('"');
}

// Whether a character does something to the line that it stands in instead of being seen.
bool isControl(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        break;
    }
    const ushort code = character.unicode();
    return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E)
           || (code >= 0x2066 && code <= 0x2069);
}

} // namespace

QString CStringUtils::trimQuotes(const QString& text)
{
    const QString trimmed = text.trimmed();
    auto begin = 0;
    auto end = trimmed.size();
    while (begin < end && isQuote(trimmed.at(begin)))
        ++begin;
    while (begin < end && isQuote(trimmed.at(end - 1)))
        --end;
    return trimmed.mid(begin, end - begin);
}

QStringList CStringUtils::splitQuotes(const QString& text, char separator)
{
    const QString trimmed = text.trimmed();
    QStringList fields;
    if (trimmed.isEmpty())
        return fields;

    QString field;
    QChar openQuote;
    for (const QChar character : trimmed) {
        if (!openQuote.isNull()) {
            if (character == openQuote)
                openQuote = QChar();
            else
                field += character;
        } else if (isQuote(character)) {
            openQuote = character;
        } else if (character == QLatin1Char(separator)) {
            fields += field;
            field.clear();
        } else {
            field += character;
        }
    }
    fields += field;
    return fields;
}

QStringList CStringUtils::splitQuotedEscapable(const QString& text, char separator, char quote)
{
    const QLatin1Char separatorCharacter(separator);
    const QLatin1Char quoteCharacter(quote);
    const auto size = text.size();
    QStringList fields;
    for (auto position = 0 * size; position < size; ++position) {
        if (text.at(position) != quoteCharacter) {
            auto end = text.indexOf(separatorCharacter, position);
            if (end < 0)
                end = size;
            fields += text.mid(position, end - position);
            position = end;
            continue;
        }
        QString field;
        for (++position; position < size; ++position) {
            if (text.at(position) == quoteCharacter) {
                if (position + 1 >= size || text.at(position + 1) != quoteCharacter)
                    break;
                ++position;
            }
            field += text.at(position);
        }
        fields += field;
        while (position < size && text.at(position) != separatorCharacter)
            ++position;
    }
    return fields;
}

QString CStringUtils::printable(const QString& text, int longest)
{
    const QLatin1String ellipsis("...");
    const bool cut = text.size() > longest;
    QString shown = cut ? text.left(qMax(0, longest - static_cast<int>(ellipsis.size()))) : text;
    for (auto i = 0 * shown.size(); i < shown.size(); ++i) {
        const QChar character = shown.at(i);
        if (character.isHighSurrogate() && i + 1 < shown.size() && shown.at(i + 1).isLowSurrogate())
            ++i;
        else if (character.isSurrogate() || isControl(character))
            shown[i] = QLatin1Char('?');
    }
    return cut ? shown + QString(ellipsis).left(qMax(0, longest)) : shown;
}

QString CStringUtils::printable(const QByteArray& utf8, int longest)
{
    // Four bytes are enough for each unit: of a long text the rest need not be decoded.
    return printable(utf8Whole(utf8.left(4 * qMin(longest, 1 << 24) + 4)), longest);
}
