#include "shell/command_words.h"

#include <foundation/core/string_utils.h>

namespace {

// What stands between blanks that are in no quotes, with its quotes; between two blanks stands nothing.
QStringList quotedWords(const QString& line)
{
    QStringList words;
    QString word;
    QChar openQuote;
    for (const QChar character : line) {
        if (openQuote.isNull() && (character == QLatin1Char(' ') || character == QLatin1Char('\t'))) {
            if (!word.isEmpty())
                words.append(word);
            word.clear();
            continue;
        }
        word += character;
        if (character == openQuote)
            openQuote = QChar();
        else if (openQuote.isNull() && (character == QLatin1Char('"') || character == QLatin1Char('\'')))
            openQuote = character;
    }
    if (!word.isEmpty())
        words.append(word);
    return words;
}

} // namespace

QStringList commandWords(const QString& line)
{
    QStringList words = quotedWords(line);
    if (!words.isEmpty() && words.constFirst().startsWith(QLatin1Char('#')))
        return {};
    // No piece has a blank outside of quotes: each is one field, which may be empty.
    for (QString& word : words)
        word = CStringUtils::splitQuotes(word, ' ').join(QString());
    return words;
}
