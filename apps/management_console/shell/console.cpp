#include "shell/console.h"

#include "shell/terminal.h"

#include <foundation/core/string_utils.h>

Console::Console(Session& session, CAbstractCliIO* io, Input input, QObject* parent)
    : CAbstractCli(io, parent)
    , m_session(session)
    , m_runner(session, *this, this)
    , m_input(input)
    , m_colour(input != Input::Socket && Terminal::wantsColour())
{
    connect(&m_runner, &CommandRunner::finished, this, &Console::onCommandFinished);
    connect(&m_runner, &CommandRunner::leaveWanted, this, [this] { m_ending = true; });
    connect(&m_session, &Session::shutdownWanted, this, [this] { m_ending = true; });
    connect(&m_session, &Session::news, this, &Console::showNews);
}

Console::~Console() = default;

void Console::begin(const QStringList& arguments)
{
    // Who reads that a service is ready may call it at once.
    if (m_input == Input::Socket)
        execute();
    if (!arguments.isEmpty())
        m_runner.run(arguments);
    else
        commandDone(0);
}

void Console::readLine(const QString& line)
{
    m_waiting = false;
    // A client of the socket may send several at once.
    const QStringList lines = line.split(QLatin1Char('\n'));
    for (const QString& text : lines) {
        if (!text.trimmed().isEmpty())
            m_lines.append(text.trimmed());
    }
    if (m_lines.isEmpty())
        m_lines.append(QString());
    if (!m_runner.isRunning())
        runNext();
}

void Console::runNext()
{
    while (!m_runner.isRunning() && !m_lines.isEmpty()) {
        QStringList words = CStringUtils::splitQuotes(m_lines.takeFirst(), ' ');
        words.removeAll(QString());
        if (words.isEmpty() || words.constFirst().startsWith(QLatin1Char('#')))
            commandDone(0);
        else
            m_runner.run(words);
    }
}

void Console::onCommandFinished(int code)
{
    commandDone(code);
    runNext();
}

void Console::commandDone(int code)
{
    // At a prompt the user sees what failed, and each client of a socket is told its own code: leaving is no failure.
    if (code != 0 && m_input == Input::Pipe)
        setReturnCode(code);
    if (!m_started && code != 0) {
        // The command that the console was started with.
        setReturnCode(code);
        return terminate();
    }
    if (m_ending)
        return terminate();
    if (m_input == Input::Arguments) {
        if (!m_session.server())
            terminate();
        return;
    }
    if (!m_started) {
        m_started = true;
        m_waiting = true;
        if (m_input != Input::Socket)
            execute();
        return;
    }
    if (m_input == Input::Socket)
        writeLine(codeMark + QString::number(code));
    if (m_lines.isEmpty()) {
        m_waiting = true;
        promptNextLine();
    }
}

void Console::interrupt()
{
    if (m_runner.isRunning())
        m_runner.cancel();
    else
        terminate();
}

void Console::end()
{
    m_ending = true;
    m_lines.clear();
    interrupt();
}

void Console::line(const QString& text)
{
    progress(QString());
    // Of a service, what the command says that it was started with: nobody is there to ask for it.
    if (m_input == Input::Socket && !m_started)
        Terminal::show(text + QLatin1Char('\n'));
    else
        writeLine(text);
}

void Console::error(const QString& text)
{
    progress(QString());
    if (m_input == Input::Socket && !m_started)
        Terminal::showError(Terminal::printable(text) + QLatin1Char('\n'));
    else
        writeErrorLine(Terminal::printable(text));
}

void Console::showNews(const QString& text)
{
    switch (m_input) {
    case Input::Arguments:
    case Input::Pipe:
        writeLine(text);
        break;
    case Input::Terminal:
        Terminal::clearLine();
        m_progress = false;
        writeLine(text);
        if (m_waiting)
            Terminal::show(QString::fromLatin1(prompt));
        break;
    case Input::Socket:
        Terminal::show(text + QLatin1Char('\n'));
        if (m_started)
            writeLine(eventMark + text);
        break;
    }
}

void Console::progress(const QString& text)
{
    if (m_input == Input::Socket || !Terminal::isInteractive() || (text.isEmpty() && !m_progress))
        return;
    Terminal::clearLine();
    Terminal::show(text);
    m_progress = !text.isEmpty();
}
