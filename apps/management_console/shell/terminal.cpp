#include "shell/terminal.h"

#include <foundation/core/environment_variable.h>

#include <cstdio>

#ifdef Q_OS_WIN
#    include <io.h>
#    define isatty _isatty
#else
#    include <cwchar>
#    include <sys/ioctl.h>
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

bool Terminal::outputIsTerminal()
{
    return isatty(1) != 0;
}

#ifdef Q_OS_WIN
Terminal::Size Terminal::size()
{
    return {};
}

static int columnsOf(uint)
{
    return 1;
}
#else
Terminal::Size Terminal::size()
{
    winsize size{};
    if (ioctl(1, TIOCGWINSZ, &size) != 0)
        return {};
    return {size.ws_col, size.ws_row};
}

static int columnsOf(uint character)
{
    const int columns = wcwidth(wchar_t(character));
    return columns < 0 ? 1 : columns; // outside of a UTF-8 locale the system knows none
}
#endif

// Calls `visit` with each character, its place and the columns it takes, until that answers false.
template<class Visit>
static void visitColumns(const QString& text, const Visit& visit)
{
    for (int i = 0; i < text.size(); ++i) {
        const int begin = i;
        // Our own colours take no room: ESC [ ... m
        if (text.at(i) == QChar(0x1B)) {
            const int last = int(text.indexOf(QLatin1Char('m'), i));
            i = last < 0 ? int(text.size()) : last;
            continue;
        }
        uint character = text.at(i).unicode();
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            ++i;
            character = QChar::surrogateToUcs4(text.at(begin), text.at(i));
        }
        if (!visit(begin, character < 0x7F ? 1 : columnsOf(character)))
            return;
    }
}

int Terminal::width(const QString& text)
{
    int width = 0;
    visitColumns(text, [&width](int, int columns) {
        width += columns;
        return true;
    });
    return width;
}

QString Terminal::cut(const QString& text, int columns)
{
    if (columns <= 0 || text.size() * 2 <= columns)
        return text;
    int width = 0;
    int end = -1; // of what leaves room for the ellipsis
    visitColumns(text, [&](int place, int wide) {
        width += wide;
        if (end < 0 && width > columns - 1)
            end = place;
        return width <= columns;
    });
    return width <= columns ? text : QString(text.left(end) + QChar(0x2026));
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
