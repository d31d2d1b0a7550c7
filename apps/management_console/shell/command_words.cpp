#include "shell/command_words.h"

#include <algorithm>

namespace {

// What stands between blanks that are in no quotes, with its quotes; between two blanks stands nothing. `last` is where
// the last word begins; a line that ends between two words ends with one that is empty.
QStringList quotedWords(const QString& line, int* last = nullptr)
{
    QStringList words;
    QString word;
    QChar openQuote;
    int place = -1;
    for (const QChar character : line) {
        ++place;
        if (openQuote.isNull() && (character == QLatin1Char(' ') || character == QLatin1Char('\t'))) {
            if (!word.isEmpty())
                words.append(word);
            word.clear();
            continue;
        }
        if (word.isEmpty() && last)
            *last = place;
        word += character;
        if (character == openQuote)
            openQuote = QChar();
        else if (openQuote.isNull() && (character == QLatin1Char('"') || character == QLatin1Char('\'')))
            openQuote = character;
    }
    if (word.isEmpty() && last)
        *last = int(line.size());
    if (!word.isEmpty() || last)
        words.append(word);
    return words;
}

// The word in these quotes, the last of which may be open yet.
QString unquoted(const QString& word)
{
    QString plain;
    QChar openQuote;
    for (const QChar character : word) {
        if (character == openQuote)
            openQuote = QChar();
        else if (openQuote.isNull() && (character == QLatin1Char('"') || character == QLatin1Char('\'')))
            openQuote = character;
        else
            plain += character;
    }
    return plain;
}

} // namespace

QStringList commandWords(const QString& line)
{
    QStringList words = quotedWords(line);
    if (!words.isEmpty() && words.constFirst().startsWith(QLatin1Char('#')))
        return {};
    for (QString& word : words)
        word = unquoted(word);
    return words;
}

LineBegin lineBegin(const QString& line)
{
    LineBegin begin;
    QStringList words = quotedWords(line, &begin.place);
    begin.word = unquoted(words.takeLast());
    for (QString& word : words)
        word = unquoted(word);
    begin.words = words;
    return begin;
}

QString quotedWord(const QString& word)
{
    const auto needsQuotes = [](QChar character) {
        return character == QLatin1Char(' ') || character == QLatin1Char('\t') || character == QLatin1Char('"')
               || character == QLatin1Char('\'');
    };
    if (!word.isEmpty() && !word.startsWith(QLatin1Char('#')) && std::none_of(word.begin(), word.end(), needsQuotes))
        return word;
    QString quoted;
    const QStringList pieces = word.split(QLatin1Char('"'));
    for (int i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            quoted += QLatin1String("'\"'");
        if (!pieces.at(i).isEmpty() || pieces.size() == 1)
            quoted += QLatin1Char('"') + pieces.at(i) + QLatin1Char('"');
    }
    return quoted;
}
