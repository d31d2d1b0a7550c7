#include <foundation/core/string_utils.h>

namespace {

bool isQuote(QChar character)
{
    return character == QLatin1Char('\'') || character == QLatin1Char('"');
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
