#include "shell/attach.h"

#include "common/command_protocol.h"
#include "common/process_setup.h"
#include "script/attached_script.h"
#include "shell/command_words.h"
#include "shell/console.h"
#include "shell/input_lines.h"
#include "shell/line_editor.h"
#include "shell/offered_files.h"
#include "shell/screen.h"
#include "shell/terminal.h"
#include "shell/terminal_signals.h"

#include <foundation/cli/abstract_cli.h>
#include <foundation/cli/standard_io_handler.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QQueue>
#include <QtCore/QTimer>
#include <QtNetwork/QLocalSocket>

#include <memory>

namespace {

class AttachClient : public CAbstractCli
{
public:
    // Without a command it takes lines.
    AttachClient(CAbstractCliIO* io, QLocalSocket& socket, const QStringList& command, int patienceSeconds,
                 bool stopsOnError)
        : CAbstractCli(io, nullptr)
        , m_socket(socket)
        , m_command(command)
        , m_files(socket, command.isEmpty() ? LocalFiles::StandardInput::Commands : LocalFiles::StandardInput::Free)
        , m_interactive(command.isEmpty() && Terminal::isInteractive())
        , m_stopsOnError(stopsOnError)
        , m_editor(qobject_cast<LineEditor*>(io))
        , m_screen(*this, m_interactive && !m_editor ? QString::fromLatin1(Console::prompt) : QString())
    {
        connect(&m_socket, &QLocalSocket::readyRead, this, &AttachClient::onReadable);
        connect(&m_socket, &QLocalSocket::disconnected, this, &AttachClient::onGone);
        connect(&m_input, &InputLines::lineRead, this, &AttachClient::sendInput);
        connect(&m_input, &InputLines::ended, this, &AttachClient::sendEnd);
        connect(&m_screen, &Screen::paged, this, [this] {
            if (!m_waiting)
                leave(m_code);
        });
        if (m_editor) {
            connect(m_editor.data(), &LineEditor::hiddenLineReady, this, &AttachClient::sendInput);
            connect(m_editor.data(), &LineEditor::hiddenEnded, this, &AttachClient::sendEnd);
            connect(m_editor.data(), &LineEditor::completionWanted, this,
                    [this](const QString& text) { send("complete", text); });
        }
        connect(TerminalSignals::instance(), &TerminalSignals::resized, this, &AttachClient::sendSize);
        // Two signs of life may be missed, which takes all of the time: a tool that was stopped for a moment, or a
        // client whose own output waits for its reader, is not dead.
        connect(&m_signs, &QTimer::timeout, this, &AttachClient::onTick);
        m_signs.setInterval(patienceSeconds * 1000 / mostMissed);
        m_socket.write(CommandProtocol::message("hello", QJsonArray{CommandProtocol::version, Terminal::isInteractive(),
                                                                    Terminal::wantsColour(), true, true}));
        sendSize();
        m_waiting = true;
        m_signs.start();
    }

    void readLine(const QString& line) override
    {
        ++m_lineNumber;
        if (line.trimmed().isEmpty())
            return promptNextLine();
        setCommand(commandWords(line));
        request(CommandProtocol::message("line", line));
    }

    // The user's Ctrl+C ends the command that runs; without one it takes away what is typed, or ends the client when
    // nothing is; asked again, the client.
    void interrupt()
    {
        if (!m_waiting && (m_screen.isPaging() || (m_editor && m_editor->clearLine())))
            return;
        if (!m_waiting || m_cancelled)
            return leave(m_waiting ? 1 : 0);
        m_cancelled = true;
        m_socket.write(CommandProtocol::message("cancel"));
    }

    void leave(int code)
    {
        m_leaving = true;
        if (m_script)
            m_script->stop(); // it may be in the midst of something, and goes with this
        if (code != 0)
            setReturnCode(code);
        m_signs.stop();
        m_hidden.reset();
        m_screen.stopPaging();
        terminate();
    }

private:
    static constexpr int mostMissed = 3;

    void send(const char* kind, const QString& text) { m_socket.write(CommandProtocol::message(kind, text)); }

    void sendInput(const QString& line)
    {
        m_hidden.reset();
        send("input", line);
    }

    void sendEnd()
    {
        m_hidden.reset();
        m_socket.write(CommandProtocol::message("end"));
    }

    void sendSize()
    {
        const Terminal::Size size = Terminal::size();
        const int rows = Terminal::isInteractive() ? size.rows : 0;
        if (!m_leaving && size.columns > 0 && (size.columns != m_size.columns || rows != m_size.rows))
            m_socket.write(CommandProtocol::message("size", QJsonArray{size.columns, rows}));
        m_size = {size.columns, rows};
    }

    void request(const QByteArray& message)
    {
        if (message.size() > CommandProtocol::longestMessage) {
            m_screen.error(QStringLiteral("kyr_console: a command is at most %1 MiB long")
                               .arg(CommandProtocol::longestMessage / 1024 / 1024));
            return concludeCommand(2);
        }
        m_waiting = true;
        m_cancelled = false;
        m_missed = 0;
        m_signs.start();
        sendSize();
        m_socket.write(message);
    }

    void giveUp(const QString& reason)
    {
        if (m_leaving)
            return;
        m_screen.error(QLatin1String("kyr_console: ") + reason);
        leave(1);
    }

    void onTick()
    {
        if (m_missed++ >= mostMissed - 1)
            return giveUp(QStringLiteral("the console does not answer"));
        m_socket.write(CommandProtocol::message("ping"));
    }

    void onGone()
    {
        onReadable();
        if (m_waiting)
            giveUp(QStringLiteral("the console has closed the connection"));
        else if (!m_leaving && !m_screen.isPaging())
            leave(0);
    }

    void onReadable()
    {
        m_missed = 0;
        m_received.add(m_socket.readAll());
        QByteArray line;
        while (!m_leaving && m_received.take(line)) {
            const QJsonArray message = CommandProtocol::parse(line);
            if (m_script && m_script->take(message))
                continue;
            m_messages.enqueue(message);
        }
        takeMessages();
    }

    // Not while a call of a script waits for its answer: they may end it.
    void takeMessages()
    {
        while (!m_leaving && !m_messages.isEmpty() && !(m_script && m_script->isWaiting()))
            take(m_messages.dequeue());
    }

    // The files and the script that its words name are offered to the console.
    void setCommand(const QStringList& words)
    {
        m_files.setCommand(words);
        m_words = words;
        m_script.reset();
    }

    void startScript(const QJsonArray& message)
    {
        if (m_script || !CommandProtocol::isNamedIn(m_words, message.at(1).toString()))
            return giveUp(QStringLiteral("what listens there asks for a script that was not named"));
        const auto read = [this] {
            const bool wasEmpty = m_messages.isEmpty();
            onReadable();
            if (wasEmpty && !m_messages.isEmpty())
                QMetaObject::invokeMethod(this, &AttachClient::takeMessages, Qt::QueuedConnection);
        };
        m_script = std::make_unique<AttachedScript>(m_socket, read, m_signs.interval() * mostMissed);
        connect(m_script.get(), &AttachedScript::printed, this, [this](const QString& text) {
            const QStringList lines = text.split(QLatin1Char('\n'));
            for (const QString& line : lines)
                m_screen.line(Terminal::isInteractive() ? Terminal::printable(line) : line);
        });
        connect(m_script.get(), &AttachedScript::warned, this, [this](const QString& text) {
            const QStringList lines = text.split(QLatin1Char('\n'));
            for (const QString& line : lines)
                showError(Terminal::printable(line));
        });
        m_script->start(message);
    }

    void take(const QJsonArray& message)
    {
        const QString kind = CommandProtocol::kindOf(message);
        const QString text = message.at(1).toString();
        if (message.isEmpty())
            giveUp(QStringLiteral("the program that listens there is not a console"));
        else if (kind == QLatin1String("hello"))
            begin();
        else if (kind == QLatin1String("out"))
            m_screen.line(text);
        else if (kind == QLatin1String("err"))
            showError(text);
        else if (kind == QLatin1String("progress"))
            m_screen.progress(text);
        else if (kind == QLatin1String("news"))
            showNews(text);
        else if (kind == QLatin1String("page"))
            showTable(text.split(QLatin1Char('\n')));
        else if (kind == QLatin1String("redraw"))
            m_screen.redraw(text.isEmpty() ? QStringList() : text.split(QLatin1Char('\n')));
        else if (kind == QLatin1String("ask") && message.size() > 1)
            givePassword(text);
        else if (kind == QLatin1String("ask"))
            giveInput();
        else if (kind == QLatin1String("completions") && m_editor)
            m_editor->complete(
                text, {CommandProtocol::textsOf(message, 4), message.at(2).toBool(), message.at(3).toString()});
        else if (kind == QLatin1String("code"))
            concludeCommand(message.at(1).toInt());
        else if (kind == QLatin1String("leave"))
            m_last = true;
        else if (kind == QLatin1String("script"))
            startScript(message);
        else
            m_files.take(message);
    }

    void begin()
    {
        m_waiting = false;
        m_signs.stop();
        if (m_command.isEmpty())
            execute();
        else
            runCommand();
    }

    void runCommand()
    {
        setCommand(m_command);
        request(CommandProtocol::message("run", QJsonArray::fromStringList(m_command)));
    }

    void concludeCommand(int code)
    {
        setCommand({});
        m_waiting = false;
        m_signs.stop();
        m_hidden.reset();
        m_screen.progress(QString());
        m_code = code;
        if (m_screen.isPaging())
            return;
        if (!m_command.isEmpty() || m_last)
            return leave(m_interactive ? 0 : code);
        // At a prompt the user sees what failed.
        if (code != 0 && !m_interactive)
            setReturnCode(code);
        if (code != 0 && !m_interactive && m_stopsOnError)
            return leave(code);
        promptNextLine();
    }

    void giveInput()
    {
        // Of a client that takes lines all of them are commands.
        if (m_command.isEmpty())
            m_socket.write(CommandProtocol::message("end"));
        else
            m_input.want();
    }

    void givePassword(const QString& question)
    {
        if (m_editor)
            return m_editor->readHidden(question);
        if (m_command.isEmpty())
            return sendEnd();
        m_hidden = std::make_unique<Terminal::Hidden>();
        m_screen.progress(question);
        m_input.want();
    }

    void showError(const QString& text)
    {
        // Where the lines are typed the place is seen.
        m_screen.error(m_interactive || m_lineNumber == 0 ? text
                                                          : QStringLiteral("line %1: %2").arg(m_lineNumber).arg(text));
    }

    // Page by page only for the one command of this program: at a prompt what was shown before is wanted as well.
    void showTable(const QStringList& lines)
    {
        if (!m_command.isEmpty())
            return m_screen.page(lines);
        for (const QString& line : lines)
            m_screen.line(line);
    }

    // News are for people; a program that reads the answers would stumble over them.
    void showNews(const QString& text)
    {
        if (m_interactive)
            m_screen.news(text, !m_waiting);
    }

    QLocalSocket& m_socket;
    QStringList m_command;
    OfferedFiles m_files;
    bool m_interactive;
    bool m_stopsOnError;
    QPointer<LineEditor> m_editor; // null where lines cannot be edited
    Screen m_screen;
    Terminal::Size m_size;
    LineBuffer m_received;
    QQueue<QJsonArray> m_messages; // that were received and not taken yet
    QStringList m_words;           // of the command that runs
    std::unique_ptr<AttachedScript> m_script;
    InputLines m_input;
    std::unique_ptr<Terminal::Hidden> m_hidden;
    QTimer m_signs;
    int m_missed = 0;
    int m_code = 0;
    int m_lineNumber = 0;   // of the last line that was read
    bool m_waiting = false; // for an answer
    bool m_cancelled = false;
    bool m_last = false; // the next code is the last
    bool m_leaving = false;
};

int talk(QCoreApplication& app, AttachClient& client)
{
    onTerminationRequest(&client, [&client](Termination request) {
        if (request == Termination::Interrupt)
            client.interrupt();
        else
            client.leave(1);
    });
    return app.exec();
}

} // namespace

int runAttached(QCoreApplication& app, QLocalSocket& socket, const QStringList& command, int patienceSeconds,
                bool stopsOnError)
{
    if (!command.isEmpty()) {
        CStandardIOHandler io(nullptr); // for its output only
        AttachClient client(&io, socket, command, patienceSeconds, stopsOnError);
        return talk(app, client);
    }
    if (LineEditor::isPossible()) {
        LineEditor editor(QString::fromLatin1(Console::prompt), LineHistory::defaultFile());
        AttachClient client(&editor, socket, command, patienceSeconds, stopsOnError);
        return talk(app, client);
    }
    AttachClient client(new CStandardIOHandler(Terminal::isInteractive() ? Console::prompt : nullptr), socket, command,
                        patienceSeconds, stopsOnError);
    return talk(app, client);
}
