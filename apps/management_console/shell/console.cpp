#include "shell/console.h"

#include "shell/command_words.h"
#include "shell/completion.h"
#include "shell/line_editor.h"

Console::Console(Session& session, CAbstractCliIO* io, Input input, QObject* parent)
    : CAbstractCli(io, parent)
    , m_session(session)
    , m_runner(session, *this, this)
    , m_files(input == Input::Arguments ? LocalFiles::StandardInput::Free : LocalFiles::StandardInput::Commands)
    , m_editor(qobject_cast<LineEditor*>(io))
    , m_screen(*this, input == Input::Terminal && !m_editor ? QString::fromLatin1(prompt) : QString())
    , m_input(input)
    , m_colour(Terminal::wantsColour())
{
    connect(&m_runner, &CommandRunner::finished, this, &Console::onCommandFinished);
    connect(&m_runner, &CommandRunner::leaveWanted, this, [this] { m_ending = true; });
    connect(&m_session, &Session::shutdownWanted, this, [this] {
        m_ending = true;
        if (!m_runner.isRunning())
            terminate();
    });
    connect(&m_runner, &CommandRunner::inputWanted, this, [this] {
        // Lines that are typed or piped in are commands.
        if (m_input == Input::Arguments)
            m_lineInput.want();
        else
            giveNoInput();
    });
    connect(&m_runner, &CommandRunner::passwordWanted, this, &Console::askPassword);
    connect(&m_lineInput, &InputLines::lineRead, this, &Console::giveInput);
    connect(&m_lineInput, &InputLines::ended, &m_runner, &CommandRunner::giveInputEnd);
    connect(&m_session, &Session::news, this, [this](const QString& text) { m_screen.news(text, m_waiting); });
    connect(&m_screen, &Screen::paged, this, [this] {
        if (!m_runner.isRunning())
            onCommandFinished(m_pagedCode);
    });
    if (!m_editor)
        return;
    connect(m_editor.data(), &LineEditor::hiddenLineReady, &m_runner, &CommandRunner::giveInput);
    connect(m_editor.data(), &LineEditor::hiddenEnded, &m_runner, &CommandRunner::giveInputEnd);
    connect(m_editor.data(), &LineEditor::completionWanted, this,
            [this](const QString& text) { m_editor->complete(text, completionOf(m_session, text)); });
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
        ++m_lineNumber;
        if (words.isEmpty())
            commandDone(0);
        else
            m_runner.run(words);
    }
}

void Console::askPassword(const QString& question)
{
    if (m_editor && m_input == Input::Terminal)
        return m_editor->readHidden(question);
    if (m_input != Input::Arguments)
        return giveNoInput();
    m_hidden = std::make_unique<Terminal::Hidden>();
    m_screen.progress(question);
    m_lineInput.want();
}

void Console::giveInput(const QString& line)
{
    m_hidden.reset();
    m_runner.giveInput(line);
}

void Console::giveNoInput()
{
    QMetaObject::invokeMethod(&m_runner, &CommandRunner::giveInputEnd, Qt::QueuedConnection);
}

void Console::onCommandFinished(int code)
{
    m_hidden.reset();
    if (m_screen.isPaging()) {
        m_pagedCode = code;
        return;
    }
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
    if (code != 0 && m_input == Input::Pipe && m_stopsOnError) {
        m_lines.clear();
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
    else if (!m_screen.isPaging() && !(m_editor && m_editor->clearLine()))
        terminate();
}

void Console::end()
{
    m_ending = true;
    m_lines.clear();
    m_screen.stopPaging();
    if (m_runner.isRunning())
        m_runner.cancel();
    else if (!m_screen.isPaging())
        terminate();
}

void Console::line(const QString& text)
{
    m_screen.line(text);
}

void Console::error(const QString& text)
{
    const QString place =
        m_input == Input::Pipe && m_lineNumber > 0 ? QStringLiteral("line %1: ").arg(m_lineNumber) : QString();
    m_screen.error(place + Terminal::printable(text));
}

void Console::page(const QStringList& texts)
{
    // At a prompt what was shown before is wanted as well.
    if (m_input == Input::Arguments && !m_session.server())
        m_screen.page(texts);
    else
        lines(texts);
}
