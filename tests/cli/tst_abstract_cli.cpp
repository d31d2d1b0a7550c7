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
        else if (word == "lines") {
            for (int i = 0; i < rest.toInt(); ++i)
                writeLine(QString::number(i));
        } else if (word == "code") {
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
    std::unique_ptr<CAbstractCliIO> socket;
    CAbstractCliIO* io = nullptr;
    if (arguments.contains("--socket")) {
        socket = std::make_unique<CLocalSocketCliIO>(arguments.last());
        io = socket.get();
    } else {
        io = new CStandardIOHandler(arguments.contains("--prompt") ? "> " : nullptr); // deletes itself
    }
    Tool tool(io);
    if (arguments.contains("--ends")) {
        // Asked for more after the end, the channel does not say again that it was there.
        QObject::disconnect(io, &CAbstractCliIO::inputEnded, nullptr, nullptr);
        QObject::connect(io, &CAbstractCliIO::inputEnded, &app, [io] {
            io->writeLine("end");
            io->readLine();
            io->readLine();
            QTimer::singleShot(50, QCoreApplication::instance(), &QCoreApplication::quit);
        });
        io->start();
        return app.exec();
    }
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

    // What got the number of a descriptor that was closed at the start is not the user's input or output.
    void closedDescriptors()
    {
        for (const char* redirection : {"<&-", "</dev/null >&-", "<&- >&- 2>&-"}) {
            QProcess process;
            process.start("sh", {"-c", QString("exec \"$0\" --tool --prompt %1").arg(redirection), self()});
            QVERIFY(process.waitForFinished(WaitMs));
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QCOMPARE(process.exitCode(), 0);
        }
    }

    void endIsToldOnce()
    {
        QProcess process;
        process.start(self(), {"--tool", "--ends"});
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished(WaitMs));
        QCOMPARE(process.readAllStandardOutput(), QByteArray("end\n"));
    }

    // Nothing of a long answer is lost when the program ends right behind it, whoever runs the event loop.
    void endBehindAnAnswer()
    {
        const QString name = QStringLiteral("kyr-cli-end-%1").arg(QCoreApplication::applicationPid());
        QByteArray answer;
        for (int i = 0; i < 100000; ++i)
            answer.append(QByteArray::number(i)).append('\n');
        for (const char* noGlib : {"", "1"}) {
            QProcess process;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert("QT_NO_GLIB", noGlib);
            process.setProcessEnvironment(environment);
            process.start(self(), {"--tool", "--socket", name});
            QLocalSocket client;
            const auto isConnected = [&] {
                client.abort();
                client.connectToServer(name);
                return client.state() == QLocalSocket::ConnectedState;
            };
            QVERIFY(QTest::qWaitFor(isConnected, WaitMs));
            client.write("lines 100000");
            QVERIFY(client.waitForReadyRead(WaitMs));
            client.write("quit");
            QVERIFY(QTest::qWaitFor([&] { return client.state() == QLocalSocket::UnconnectedState; }, WaitMs));
            QVERIFY(client.readAll() == answer + "bye\n");
            QTRY_COMPARE(process.state(), QProcess::NotRunning);
        }
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

        // Stopped it hears nobody, also not who is still connected, and waits for a client that takes nothing no longer
        // than it says.
        first.write("before");
        QVERIFY(lines.wait(WaitMs));
        first.setReadBufferSize(1);
        for (int i = 0; i < 40; ++i)
            io.writeLine(QString(100000, 'x'));
        lines.clear();
        QElapsedTimer elapsed;
        elapsed.start();
        io.stop();
        QVERIFY(elapsed.elapsed() >= 1900 && elapsed.elapsed() < 3000);
        first.write("after");
        QVERIFY(first.waitForBytesWritten(WaitMs));
        QVERIFY(!lines.wait(100));
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
