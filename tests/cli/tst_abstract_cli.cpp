// The command-line framework as a user meets it: this program started again as a small tool, behind pipes, a
// pseudo-terminal and a local socket.
#include <foundation/cli/abstract_cli.h>
#include <foundation/cli/local_socket_cli_io.h>
#include <foundation/cli/standard_io_handler.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QThread>
#include <QtCore/QTimer>
#include <QtNetwork/QLocalSocket>
#include <QtTest/QtTest>

#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int WaitMs = 5000;

class Tool : public CAbstractCli
{
    Q_OBJECT

public:
    explicit Tool(CAbstractCliIO* io)
        : CAbstractCli(io, nullptr)
    {
        connect(
            io, &CAbstractCliIO::lineReady, io, [this] { m_readingThread = QThread::currentThread()->objectName(); },
            Qt::DirectConnection);
    }

    void readLine(const QString& line) override
    {
        // The line behind the last command may have been read before the channel stopped; it is on its way here then.
        if (m_leaving)
            return;
        const QString word = line.section(QLatin1Char(' '), 0, 0);
        const QString rest = line.section(QLatin1Char(' '), 1);
        if (word == QLatin1String("err"))
            writeErrorLine(rest);
        else if (word == QLatin1String("code")) {
            setReturnCode(rest.toInt());
            writeLine(word);
        } else if (word == QLatin1String("thread"))
            writeLine(m_readingThread);
        else if (line.size() > 1000)
            writeLine(QString::number(line.size()) + line.right(1));
        else if (word != QLatin1String("quit"))
            writeLine(QLatin1Char('[') + line + QLatin1Char(']'));
        // The next read is asked for even when leaving: it must not hold up the end.
        promptNextLine();
        if (word == QLatin1String("quit")) {
            m_leaving = true;
            terminate();
            writeLine(QStringLiteral("bye"));
        }
    }

private:
    bool m_leaving = false;
    QString m_readingThread;
};

int runTool(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    std::signal(SIGHUP, SIG_IGN); // a closed terminal shows as the end of the input
    CAbstractCliIO* io = nullptr;
    if (arguments.contains(QStringLiteral("--socket"))) {
        io = new CLocalSocketCliIO(arguments.last());
        io->setParent(&app);
    } else // deletes itself
        io = new CStandardIOHandler(arguments.contains(QStringLiteral("--prompt")) ? "> " : nullptr);
    Tool tool(io);
    tool.execute();
    if (arguments.contains(QStringLiteral("--leave")))
        QTimer::singleShot(50, &app, [] { QCoreApplication::exit(7); });
    return app.exec();
}

QString self()
{
    return QCoreApplication::applicationFilePath();
}

bool receives(QLocalSocket& socket, const QByteArray& data)
{
    return QTest::qWaitFor([&] { return socket.bytesAvailable() >= data.size(); }, WaitMs) && socket.readAll() == data;
}

// The tool on a terminal of its own.
class Terminal
{
public:
    Terminal()
    {
        const QByteArray program = self().toLocal8Bit();
        m_pid = ::forkpty(&m_master, nullptr, nullptr, nullptr);
        if (m_pid == 0) {
            ::execl(program.constData(), program.constData(), "--tool", "--prompt", nullptr);
            ::_exit(127);
        }
    }
    ~Terminal()
    {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
        closeTerminal();
    }
    void type(const char* text) { QCOMPARE(::write(m_master, text, qstrlen(text)), ssize_t(qstrlen(text))); }
    void closeTerminal()
    {
        if (m_master >= 0)
            ::close(m_master);
        m_master = -1;
    }
    bool shows(const QByteArray& text)
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_shown.contains(text) && timer.elapsed() < WaitMs) {
            pollfd wait{m_master, POLLIN, 0};
            char data[512];
            if (::poll(&wait, 1, 100) > 0) {
                const ssize_t count = ::read(m_master, data, sizeof data);
                if (count <= 0)
                    break;
                m_shown.append(data, int(count));
            }
        }
        const int found = m_shown.indexOf(text);
        m_shown.remove(0, found < 0 ? 0 : found + text.size());
        return found >= 0;
    }
    int exitCode()
    {
        int status = -1;
        const bool ended = QTest::qWaitFor([&] { return ::waitpid(m_pid, &status, WNOHANG) == m_pid; }, WaitMs);
        if (!ended)
            return -1;
        m_pid = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -2;
    }

private:
    int m_master = -1;
    pid_t m_pid = 0;
    QByteArray m_shown;
};

} // namespace

class tst_AbstractCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pipes_data();
    void pipes();
    void endWhileReading_data();
    void endWhileReading();
    void terminal();
    void terminalEnds_data();
    void terminalEnds();
    void localSocket();
    void localSocketProcess();
};

void tst_AbstractCli::pipes_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errors");
    QTest::addColumn<int>("code");

    const QByteArray megabyte = QByteArray(1000000, 'x') + 'y';
    QTest::newRow("lines of one write") << QByteArray("a\nb c\r\n\n") << QByteArray("[a]\n[b c]\n[]\n") << QByteArray()
                                        << 0;
    QTest::newRow("no line feed at the end")
        << QByteArray("a\nlast") << QByteArray("[a]\n[last]\n") << QByteArray() << 0;
    QTest::newRow("nothing") << QByteArray() << QByteArray() << QByteArray() << 0;
    QTest::newRow("codes and errors") << QByteArray("err oops\ncode 3\nb") << QByteArray("code\n[b]\n")
                                      << QByteArray("oops\n") << 3;
    QTest::newRow("quit") << QByteArray("code 4\nquit\nnever") << QByteArray("code\nbye\n") << QByteArray() << 4;
    QTest::newRow("a megabyte and more") << megabyte + "\na\n" << QByteArray("1000001y\n[a]\n") << QByteArray() << 0;
    QTest::newRow("characters across reads") << 'a' + QByteArray("\xE2\x82\xAC").repeated(3000) + "\xC3\xA4\nb"
                                             << QByteArray("3002\xC3\xA4\n[b]\n") << QByteArray() << 0;
    QTest::newRow("thread") << QByteArray("thread\n") << QByteArray("conInThread\n") << QByteArray() << 0;
}

void tst_AbstractCli::pipes()
{
    QFETCH(QByteArray, input);
    QProcess process;
    process.start(self(), {QStringLiteral("--tool")});
    process.write(input);
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(WaitMs));
    QTEST(process.readAllStandardOutput(), "output");
    QTEST(process.readAllStandardError(), "errors");
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QTEST(process.exitCode(), "code");
}

void tst_AbstractCli::endWhileReading_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    // The writing end stays open: nothing but the program itself can end the read.
    QTest::newRow("terminate") << QStringList{QStringLiteral("--tool")} << 0;
    QTest::newRow("application exits") << QStringList{QStringLiteral("--tool"), QStringLiteral("--leave")} << 7;
}

void tst_AbstractCli::endWhileReading()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    process.start(self(), arguments);
    QVERIFY(process.waitForStarted(WaitMs));
    if (!arguments.contains(QStringLiteral("--leave")))
        process.write("quit\n");
    QVERIFY(process.waitForFinished(WaitMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QTEST(process.exitCode(), "code");
}

void tst_AbstractCli::terminal()
{
    Terminal terminal;
    QVERIFY(terminal.shows("> "));
    terminal.type("abc\r");
    QVERIFY(terminal.shows("[abc]\r\n> "));
    terminal.type("code 3\rquit\r");
    QCOMPARE(terminal.exitCode(), 3);
}

void tst_AbstractCli::terminalEnds_data()
{
    QTest::addColumn<bool>("close");
    QTest::newRow("Ctrl+D") << false;
    QTest::newRow("closed terminal") << true;
}

void tst_AbstractCli::terminalEnds()
{
    QFETCH(bool, close);
    Terminal terminal;
    terminal.type("code 5\r");
    QVERIFY(terminal.shows("code\r\n> "));
    if (close)
        terminal.closeTerminal();
    else
        terminal.type("\x04");
    QCOMPARE(terminal.exitCode(), 5);
}

void tst_AbstractCli::localSocket()
{
    const QString name = QStringLiteral("kyr-cli-test-%1").arg(QCoreApplication::applicationPid());
    CLocalSocketCliIO io(name);
    QSignalSpy lines(&io, &CAbstractCliIO::lineReady);
    io.start();
    QLocalSocket first;
    first.connectToServer(name);
    QVERIFY(first.waitForConnected(WaitMs));
    io.writeLine(QStringLiteral("to nobody"));
    first.write("one");
    QVERIFY(lines.wait(WaitMs));
    first.write(QByteArray("two\nlines\0cut", 13));
    QVERIFY(lines.wait(WaitMs));
    QCOMPARE(lines.value(0).value(0).toString(), QStringLiteral("one"));
    QCOMPARE(lines.value(1).value(0).toString(), QStringLiteral("two\nlines"));
    io.writeErrorLine(QStringLiteral("answer"));
    QVERIFY(receives(first, QByteArray("answer\n")));

    // Opened anew under the same name it serves new clients, and the answers go to who sent last.
    io.start();
    QLocalSocket second;
    second.connectToServer(name);
    QVERIFY(second.waitForConnected(WaitMs));
    second.write("three");
    QVERIFY(lines.wait(WaitMs));
    io.writeLine(QStringLiteral("again"));
    QVERIFY(receives(second, QByteArray("again\n")));
    QCOMPARE(first.bytesAvailable(), 0);
    second.abort();
    QTRY_COMPARE(io.findChildren<QLocalSocket*>().size(), 1);
    io.writeLine(QStringLiteral("to a dead client"));

    io.stop();
    second.connectToServer(name);
    QVERIFY(!second.waitForConnected(WaitMs));
    CLocalSocketCliIO bad(QStringLiteral("/nowhere/at/all"));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("^CLI: Cannot listen at /nowhere/at/all: .+")));
    bad.start();
}

void tst_AbstractCli::localSocketProcess()
{
    const QString name = QStringLiteral("kyr-cli-tool-%1").arg(QCoreApplication::applicationPid());
    QProcess process;
    process.start(self(), {QStringLiteral("--tool"), QStringLiteral("--socket"), name});
    QLocalSocket client;
    QVERIFY(QTest::qWaitFor(
        [&] {
            client.connectToServer(name);
            return client.waitForConnected(100);
        },
        WaitMs));
    client.write("code 6");
    QVERIFY(receives(client, QByteArray("code\n")));
    client.write("quit");
    client.flush();
    QVERIFY(process.waitForFinished(WaitMs));
    QCOMPARE(process.exitCode(), 6);
}

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--tool") == 0)
        return runTool(argc, argv);
    QCoreApplication app(argc, argv);
    tst_AbstractCli test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_abstract_cli.moc"
