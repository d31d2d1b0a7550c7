#include "shell/attach.h"

#include "shell/console.h"
#include "shell/terminal.h"

#include <foundation/cli/abstract_cli.h>
#include <foundation/cli/standard_io_handler.h>

#include <QtCore/QCoreApplication>
#include <QtNetwork/QLocalSocket>

#include <cstdio>

namespace {

constexpr int connectMs = 3000;

class AttachClient : public CAbstractCli
{
public:
    AttachClient(CAbstractCliIO* io, QLocalSocket& socket)
        : CAbstractCli(io, nullptr)
        , m_socket(socket)
    {
        connect(&m_socket, &QLocalSocket::readyRead, this, &AttachClient::onAnswer);
        connect(&m_socket, &QLocalSocket::disconnected, this, [this] {
            // The answer to "quit" is the end of the connection.
            if (m_pending && !m_quitting) {
                writeErrorLine(QStringLiteral("the console has gone"));
                setReturnCode(1);
            }
            terminate();
        });
    }

    void readLine(const QString& line) override
    {
        const QString command = line.trimmed();
        if (command.isEmpty())
            return promptNextLine();
        send(command);
    }

    void send(const QString& command)
    {
        m_pending = true;
        m_quitting = command == QLatin1String("quit");
        m_socket.write(command.toLocal8Bit());
    }

    void setOnce() { m_once = true; }

private:
    void onAnswer()
    {
        m_received += m_socket.readAll();
        int start = 0;
        for (int end = m_received.indexOf('\n'); end >= 0; end = m_received.indexOf('\n', start)) {
            const QString line = QString::fromLocal8Bit(m_received.constData() + start, end - start);
            start = end + 1;
            if (line.startsWith(Console::eventMark)) {
                showEvent(line.mid(Console::eventMark.size()));
                continue;
            }
            bool isCode = false;
            const int code = line.startsWith(Console::codeMark) ? line.mid(Console::codeMark.size()).toInt(&isCode) : 0;
            if (!isCode) {
                writeLine(line);
                continue;
            }
            m_pending = false;
            if (code != 0 && (m_once || !Terminal::isInteractive()))
                setReturnCode(code);
            if (m_once)
                terminate();
            else
                promptNextLine();
        }
        m_received.remove(0, start);
    }

    // News are for people; a program that reads the answers would stumble over them.
    void showEvent(const QString& text)
    {
        if (!Terminal::isInteractive() || m_once)
            return;
        Terminal::clearLine();
        writeLine(text);
        if (!m_pending)
            Terminal::show(QString::fromLatin1(Console::prompt));
    }

    QLocalSocket& m_socket;
    QByteArray m_received;
    bool m_pending = false;
    bool m_quitting = false;
    bool m_once = false;
};

// Puts the words together so that the console splits them the same way.
QString quoted(const QStringList& words)
{
    QStringList line;
    for (const QString& word : words) {
        if (word.contains(QLatin1Char('"')))
            line.append(QLatin1Char('\'') + word + QLatin1Char('\''));
        else if (word.contains(QLatin1Char(' ')) || word.contains(QLatin1Char('\'')))
            line.append(QLatin1Char('"') + word + QLatin1Char('"'));
        else
            line.append(word);
    }
    return line.join(QLatin1Char(' '));
}

} // namespace

int runAttached(QCoreApplication& app, const QString& socketName, const QStringList& command)
{
    QLocalSocket socket;
    socket.connectToServer(socketName);
    if (!socket.waitForConnected(connectMs)) {
        std::fprintf(stderr, "kyr_console: no console listens at \"%s\": %s\n", qUtf8Printable(socketName),
                     qUtf8Printable(socket.errorString()));
        return 1;
    }
    if (!command.isEmpty()) {
        CStandardIOHandler io(nullptr); // for its output only
        AttachClient client(&io, socket);
        client.setOnce();
        client.send(quoted(command));
        return app.exec();
    }
    AttachClient client(new CStandardIOHandler(Terminal::isInteractive() ? Console::prompt : nullptr), socket);
    client.execute();
    return app.exec();
}
