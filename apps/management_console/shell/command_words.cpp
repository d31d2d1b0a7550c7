#include "shell/command_words.h"

#include <foundation/core/string_utils.h>

QStringList commandWords(const QString& line)
{
    QStringList words = CStringUtils::splitQuotes(line, ' ');
    words.removeAll(QString());
    if (!words.isEmpty() && words.constFirst().startsWith(QLatin1Char('#')))
        words.clear();
    return words;
}
