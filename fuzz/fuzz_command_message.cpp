// What clients say to a tool that takes commands at a local socket, through a real one; and the messages themselves.
#include "fuzz_support.h"
#include "fuzz_wait.h"

#include "common/command_protocol.h"
#include "common/command_server.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtNetwork/QLocalSocket>

namespace {

// A tool that answers each command with the number of its words, and counts what else it is told.
struct Tool
{
    Tool()
        : name(QStringLiteral("kyr-fuzz-tool-%1").arg(QCoreApplication::applicationPid()))
    {
        QObject::connect(&server, &CommandServer::clientCame, &server, [this](CommandClient* came) {
            client = came;
            const auto commanded = [this, came](int size) {
                ++commands;
                came->sendLine(QString::number(size));
                came->sendCode(0);
            };
            QObject::connect(came, &CommandClient::commandReceived, came,
                             [commanded](const QStringList& words) { commanded(int(words.size())); });
            QObject::connect(came, &CommandClient::lineReceived, came,
                             [commanded](const QString& line) { commanded(int(line.size())); });
        });
        QString error;
        FUZZ_CHECK(server.listen(name, error));
    }

    QString name;
    CommandServer server;
    QPointer<CommandClient> client;
    int commands = 0;
};

// The lines of a stream that comes in two pieces.
QList<QByteArray> linesOf(const QByteArray& first, const QByteArray& second)
{
    LineBuffer buffer;
    QList<QByteArray> lines;
    QByteArray line;
    for (const QByteArray& piece : {first, second}) {
        buffer.add(piece);
        while (buffer.take(line))
            lines.append(line);
    }
    FUZZ_CHECK(buffer.pending() == buffer.takeRest().size());
    return lines;
}

} // namespace

FUZZ_TARGET(command_message)
{
    static Tool tool;
    const bool structured = input.flag();
    const QByteArray stream = input.rest();
    QList<QByteArray> lines = stream.split('\n');
    const QByteArray rest = lines.takeLast();
    FUZZ_CHECK(linesOf(stream, {}) == lines);
    FUZZ_CHECK(linesOf(stream.left(stream.size() / 3), stream.mid(stream.size() / 3)) == lines);

    int expected = 0;
    for (const QByteArray& line : qAsConst(lines)) {
        const QJsonArray message = CommandProtocol::parse(line);
        const QString kind = CommandProtocol::kindOf(message);
        const QStringList texts = CommandProtocol::textsOf(message);
        FUZZ_CHECK(texts.size() == qMax(0, int(message.size()) - 1));
        const QByteArray again = CommandProtocol::message("run", QJsonArray::fromStringList(texts));
        FUZZ_CHECK(again.count('\n') == 1 && again.endsWith('\n'));
        FUZZ_CHECK(CommandProtocol::textsOf(CommandProtocol::parse(again)) == texts);
        expected += kind == QLatin1String("run") || kind == QLatin1String("line") ? 1 : 0;
    }

    // Whatever was said, a client that greeted is answered to the end, and each command once.
    if (structured) {
        QLocalSocket client;
        client.connectToServer(tool.name);
        fuzzWait([&client] { return client.state() == QLocalSocket::ConnectedState; });
        tool.commands = 0;
        client.write(CommandProtocol::message("hello", QJsonArray{CommandProtocol::version}));
        for (const QByteArray& line : qAsConst(lines))
            client.write(line + '\n');
        client.write(CommandProtocol::message("run", QStringLiteral("the last")));
        QByteArray answers;
        fuzzWait([&] {
            answers += client.readAll();
            return tool.commands > expected && client.bytesToWrite() == 0 && answers.endsWith("[\"code\",0]\n");
        });
        FUZZ_CHECK(tool.commands == expected + 1);
        client.abort();
        fuzzWait([] { return tool.client == nullptr; });
    } else if (!stream.isEmpty() && !stream.startsWith('[')) {
        QLocalSocket client;
        client.connectToServer(tool.name);
        fuzzWait([&client] { return client.state() == QLocalSocket::ConnectedState; });
        client.write(stream);
        tool.commands = 0;
        fuzzWait([&client, &rest, &lines] {
            client.readAll();
            return tool.commands >= lines.size() + (rest.isEmpty() ? 0 : 1);
        });
        client.abort();
        fuzzWait([] { return tool.client == nullptr; });
    }
}
