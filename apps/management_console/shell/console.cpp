#include "shell/console.h"

#include "shell/command_words.h"
#include "shell/terminal.h"

Console::Console(Session& session, CAbstractCliIO* io, Input input, QObject* parent)
    : CAbstractCli(io, parent)
    , m_session(session)
    , m_runner(session, *this, this)
    , m_files(input == Input::Arguments ? LocalFiles::StandardInput::Free : LocalFiles::StandardInput::Commands)
    , m_input(input)
    , m_colour(Terminal::wantsColour())
{
    connect(&m_runner, &CommandRunner::finished, this, &Console::onCommandFinished);
    connect(&m_runner, &CommandRunner::leaveWanted, this, [this] { m_ending = true; });
    connect(&m_session, &Session::shutdownWanted, this, [this] { m_ending = true; });
    connect(&m_runner, &CommandRunner::inputWanted, this, [this] {
        // Lines that are typed or piped in are commands.
        if (m_input == Input::Arguments)
            m_lineInput.want();
        else
            QMetaObject::invokeMethod(&m_runner, &CommandRunner::giveInputEnd, Qt::QueuedConnection);
    });
    connect(&m_lineInput, &InputLines::lineRead, &m_runner, &CommandRunner::giveInput);
    connect(&m_lineInput, &InputLines::ended, &m_runner, &CommandRunner::giveInputEnd);
    connect(&m_session, &Session::news, this, &Console::showNews);
}

Console::~Console() = default;

void Console::begin(const QStringList& arguments)
{
    if (!arguments.isEmpty())
        m_runner.run(arguments);
    else
        commandDone(0);
}

void Console::readLine(const QString& line)
{
    m_waiting = false;
    m_lines.append(line);
    if (!m_runner.isRunning())
        runNext();
}

void Console::runNext()
{
    while (!m_runner.isRunning() && !m_lines.isEmpty()) {
        const QStringList words = commandWords(m_lines.takeFirst());
        if (words.isEmpty())
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
    // At a prompt the user sees what failed: leaving is no failure.
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
        return execute();
    }
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
    writeLine(text);
}

void Console::error(const QString& text)
{
    progress(QString());
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
    }
}

void Console::progress(const QString& text)
{
    if (!Terminal::isInteractive() || (text.isEmpty() && !m_progress))
        return;
    Terminal::clearLine();
    Terminal::show(text);
    m_progress = !text.isEmpty();
}
