#include "shell/terminal.h"

#include <foundation/core/environment_variable.h>

#include <cstdio>

#ifdef Q_OS_WIN
#    include <io.h>
#    define isatty _isatty
#else
#    include <termios.h>
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

#ifdef Q_OS_WIN
Terminal::Hidden::Hidden() = default;
Terminal::Hidden::~Hidden() = default;
#else
// True when it was otherwise before.
static bool setEcho(bool on)
{
    termios settings{};
    if (tcgetattr(0, &settings) != 0 || bool(settings.c_lflag & ECHO) == on)
        return false;
    settings.c_lflag ^= ECHO;
    return tcsetattr(0, TCSANOW, &settings) == 0;
}

Terminal::Hidden::Hidden()
    : m_changed(setEcho(false))
{
}

Terminal::Hidden::~Hidden()
{
    if (m_changed)
        setEcho(true);
}
#endif

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
