#include "shell/terminal.h"

#include <foundation/core/environment_variable.h>

#include <cstdio>

#ifdef Q_OS_WIN
#    include <io.h>
#    define isatty _isatty
#else
#    include <unistd.h>
#endif

bool Terminal::inputIsTerminal()
{
    return isatty(0) != 0;
}

bool Terminal::isInteractive()
{
    return isatty(0) != 0 && isatty(1) != 0;
}

bool Terminal::wantsColour()
{
    return isInteractive() && !CEnvironmentVariable::isSet("NO_COLOR");
}

QString Terminal::printable(QString text)
{
    for (QChar& character : text) {
        if (!character.isPrint() && !character.isSurrogate())
            character = QLatin1Char('?');
    }
    return text;
}

void Terminal::show(const QString& text)
{
    std::fputs(text.toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}

void Terminal::showError(const QString& text)
{
    std::fputs(text.toLocal8Bit().constData(), stderr);
}

void Terminal::clearLine()
{
    show(QStringLiteral("\r\033[K"));
}
