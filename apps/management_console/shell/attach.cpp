#include "shell/attach.h"

#include "common/command_protocol.h"
#include "common/process_setup.h"
#include "shell/command_words.h"
#include "shell/console.h"
#include "shell/input_lines.h"
#include "shell/offered_files.h"
#include "shell/terminal.h"

#include <foundation/cli/abstract_cli.h>
#include <foundation/cli/standard_io_handler.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtNetwork/QLocalSocket>

namespace {

class AttachClient : public CAbstractCli
{
public:
    // Without a command it takes lines.
    AttachClient(CAbstractCliIO* io, QLocalSocket& socket, const QStringList& command, int patienceSeconds)
        : CAbstractCli(io, nullptr)
        , m_socket(socket)
        , m_command(command)
        , m_files(socket, command.isEmpty() ? LocalFiles::StandardInput::Commands : LocalFiles::StandardInput::Free)
        , m_interactive(command.isEmpty() && Terminal::isInteractive())
    {
        connect(&m_socket, &QLocalSocket::readyRead, this, &AttachClient::onReadable);
        connect(&m_socket, &QLocalSocket::disconnected, this, &AttachClient::onGone);
        connect(&m_input, &InputLines::lineRead, this, [this](const QString& line) { send("input", line); });
        connect(&m_input, &InputLines::ended, this, [this] { m_socket.write(CommandProtocol::message("end")); });
        // Two signs of life may be missed, which takes all of the time: a tool that was stopped for a moment, or a
        // client whose own output waits for its reader, is not dead.
        connect(&m_signs, &QTimer::timeout, this, &AttachClient::onTick);
        m_signs.setInterval(patienceSeconds * 1000 / mostMissed);
        m_socket.write(CommandProtocol::message(
            "hello", QJsonArray{CommandProtocol::version, Terminal::isInteractive(), Terminal::wantsColour(), true}));
        m_waiting = true;
        m_signs.start();
    }

    void readLine(const QString& line) override
    {
        if (line.trimmed().isEmpty())
            return promptNextLine();
        m_files.setCommand(commandWords(line));
        request(CommandProtocol::message("line", line));
    }

    // The user's Ctrl+C ends the command that runs, or the client when there is none; asked again, the client.
    void interrupt()
    {
        if (!m_waiting || m_cancelled)
            return leave(m_waiting ? 1 : 0);
        m_cancelled = true;
        m_socket.write(CommandProtocol::message("cancel"));
    }

    void leave(int code)
    {
        m_leaving = true;
        if (code != 0)
            setReturnCode(code);
        m_signs.stop();
        terminate();
    }

private:
    static constexpr int mostMissed = 3;

    void send(const char* kind, const QString& text) { m_socket.write(CommandProtocol::message(kind, text)); }

    void request(const QByteArray& message)
    {
        if (message.size() > CommandProtocol::longestMessage) {
            writeErrorLine(QStringLiteral("kyr_console: a command is at most %1 MiB long")
                               .arg(CommandProtocol::longestMessage / 1024 / 1024));
            return concludeCommand(2);
        }
        m_waiting = true;
        m_cancelled = false;
        m_missed = 0;
        m_signs.start();
        m_socket.write(message);
    }

    void giveUp(const QString& reason)
    {
        if (m_leaving)
            return;
        showProgress(QString());
        writeErrorLine(QLatin1String("kyr_console: ") + reason);
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
            giveUp(QStringLiteral("the console has gone"));
        else if (!m_leaving)
            leave(0);
    }

    void onReadable()
    {
        m_missed = 0;
        m_received.add(m_socket.readAll());
        QByteArray line;
        while (!m_leaving && m_received.take(line))
            take(CommandProtocol::parse(line));
    }

    void take(const QJsonArray& message)
    {
        const QString kind = CommandProtocol::kindOf(message);
        const QString text = message.at(1).toString();
        if (message.isEmpty())
            giveUp(QStringLiteral("what listens there is no console"));
        else if (kind == QLatin1String("hello"))
            begin();
        else if (kind == QLatin1String("out"))
            showLine(text);
        else if (kind == QLatin1String("err"))
            showError(text);
        else if (kind == QLatin1String("progress"))
            showProgress(text);
        else if (kind == QLatin1String("news"))
            showNews(text);
        else if (kind == QLatin1String("ask"))
            giveInput();
        else if (kind == QLatin1String("code"))
            concludeCommand(message.at(1).toInt());
        else if (kind == QLatin1String("leave"))
            m_last = true;
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
        m_files.setCommand(m_command);
        request(CommandProtocol::message("run", QJsonArray::fromStringList(m_command)));
    }

    void concludeCommand(int code)
    {
        m_files.setCommand({});
        m_waiting = false;
        m_signs.stop();
        showProgress(QString());
        if (!m_command.isEmpty() || m_last)
            return leave(m_interactive ? 0 : code);
        // At a prompt the user sees what failed.
        if (code != 0 && !m_interactive)
            setReturnCode(code);
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

    void showLine(const QString& text)
    {
        showProgress(QString());
        writeLine(text);
    }

    void showError(const QString& text)
    {
        showProgress(QString());
        writeErrorLine(text);
    }

    void showProgress(const QString& text)
    {
        if (text.isEmpty() && !m_progress)
            return;
        Terminal::clearLine();
        Terminal::show(text);
        m_progress = !text.isEmpty();
    }

    // News are for people; a program that reads the answers would stumble over them.
    void showNews(const QString& text)
    {
        if (!m_interactive)
            return;
        Terminal::clearLine();
        m_progress = false;
        writeLine(text);
        if (!m_waiting)
            Terminal::show(QString::fromLatin1(Console::prompt));
    }

    QLocalSocket& m_socket;
    QStringList m_command;
    OfferedFiles m_files;
    bool m_interactive;
    LineBuffer m_received;
    InputLines m_input;
    QTimer m_signs;
    int m_missed = 0;
    bool m_waiting = false; // for an answer
    bool m_cancelled = false;
    bool m_last = false; // the next code is the last
    bool m_leaving = false;
    bool m_progress = false;
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

int runAttached(QCoreApplication& app, QLocalSocket& socket, const QStringList& command, int patienceSeconds)
{
    if (!command.isEmpty()) {
        CStandardIOHandler io(nullptr); // for its output only
        AttachClient client(&io, socket, command, patienceSeconds);
        return talk(app, client);
    }
    AttachClient client(new CStandardIOHandler(Terminal::isInteractive() ? Console::prompt : nullptr), socket, command,
                        patienceSeconds);
    return talk(app, client);
}
