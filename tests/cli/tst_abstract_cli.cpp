// The command-line framework as a user meets it: this program started again as a small tool behind pipes, and a local
// socket.
#include <foundation/cli/abstract_cli.h>
#include <foundation/cli/local_socket_cli_io.h>
#include <foundation/cli/standard_io_handler.h>

#include <QtCore/QProcess>
#include <QtCore/QThread>
#include <QtCore/QTimer>
#include <QtNetwork/QLocalSocket>
#include <QtTest/QtTest>

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
        const QString word = line.section(' ', 0, 0);
        const QString rest = line.section(' ', 1);
        if (word == "err")
            writeErrorLine(rest);
        else if (word == "code") {
            setReturnCode(rest.toInt());
            writeLine(word);
        } else if (word == "thread")
            writeLine(m_readingThread);
        else if (line.size() > 1000)
            writeLine(QString::number(line.size()) + line.right(1));
        else if (word != "quit")
            writeLine('[' + line + ']');
        // The next read is asked for even when leaving: it must not hold up the end.
        promptNextLine();
        if (word == "quit") {
            m_leaving = true;
            terminate();
            writeLine("bye");
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
    auto* io = new CStandardIOHandler(arguments.contains("--prompt") ? "> " : nullptr); // deletes itself
    Tool tool(io);
    tool.execute();
    if (arguments.contains("--leave"))
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

} // namespace

class tst_AbstractCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pipes()
    {
        const QByteArray megabyte = QByteArray(1000000, 'x') + 'y';
        struct
        {
            QByteArray input, output, errors;
            int code;
            const char* option = "";
        } const rows[] = {
            {"a\nb c\r\n\n", "[a]\n[b c]\n[]\n", "", 0},
            {"a\nlast", "[a]\n[last]\n", "", 0},
            {"", "", "", 0},
            {"err oops\ncode 3\nb", "code\n[b]\n", "oops\n", 3},
            {"code 4\nquit\nnever", "code\nbye\n", "", 4},
            {megabyte + "\na\n", "1000001y\n[a]\n", "", 0},
            // Characters across reads.
            {'a' + QByteArray("\xE2\x82\xAC").repeated(3000) + "\xC3\xA4\nb", "3002\xC3\xA4\n[b]\n", "", 0},
            {"thread\n", "conInThread\n", "", 0},
            {"abc\n", "> [abc]\n> ", "", 0, "--prompt"},
        };
        for (const auto& [input, output, errors, code, option] : rows) {
            QProcess process;
            process.start(self(), {"--tool", option});
            process.write(input);
            process.closeWriteChannel();
            QVERIFY(process.waitForFinished(WaitMs));
            QCOMPARE(process.readAllStandardOutput(), output);
            QCOMPARE(process.readAllStandardError(), errors);
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QCOMPARE(process.exitCode(), code);
        }
    }

    void unreadableInput()
    {
        QProcess process;
        process.setStandardInputFile("/");
        process.start(self(), {"--tool"});
        QVERIFY(process.waitForFinished(WaitMs));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }

    // The writing end stays open: nothing but the program itself can end the read.
    void endWhileReading()
    {
        for (const bool leaves : {false, true}) {
            QProcess process;
            process.start(self(), {"--tool", leaves ? "--leave" : ""});
            QVERIFY(process.waitForStarted(WaitMs));
            if (!leaves)
                process.write("quit\n");
            QVERIFY(process.waitForFinished(WaitMs));
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QCOMPARE(process.exitCode(), leaves ? 7 : 0);
        }
    }

    void localSocket()
    {
        const QString name = QStringLiteral("kyr-cli-test-%1").arg(QCoreApplication::applicationPid());
        CLocalSocketCliIO io(name);
        QSignalSpy lines(&io, &CAbstractCliIO::lineReady);
        io.start();
        QLocalSocket first;
        first.connectToServer(name);
        QVERIFY(first.waitForConnected(WaitMs));
        io.writeLine("to nobody");
        first.write(QByteArray("two\nlines\0cut", 13));
        QVERIFY(lines.wait(WaitMs));
        QCOMPARE(lines.value(0).value(0).toString(), "two\nlines");
        io.writeErrorLine("answer");
        QVERIFY(receives(first, QByteArray("answer\n")));

        // Opened anew under the same name it serves new clients, and the answers go to who sent last.
        io.start();
        QLocalSocket second;
        second.connectToServer(name);
        QVERIFY(second.waitForConnected(WaitMs));
        second.write("three");
        QVERIFY(lines.wait(WaitMs));
        io.writeLine("again");
        QVERIFY(receives(second, QByteArray("again\n")));
        QCOMPARE(first.bytesAvailable(), 0);
        second.abort();
        QTRY_COMPARE(io.findChildren<QLocalSocket*>().size(), 1);
        io.writeLine("to a dead client");

        io.stop();
        second.connectToServer(name);
        QVERIFY(!second.waitForConnected(WaitMs));
        CLocalSocketCliIO bad("/nowhere/at/all");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^CLI: Cannot listen at /nowhere/at/all: .+"));
        bad.start();
    }
};

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--tool") == 0)
        return runTool(argc, argv);
    QCoreApplication app(argc, argv);
    tst_AbstractCli test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_abstract_cli.moc"
