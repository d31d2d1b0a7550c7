// Command lines from another process, through a real local socket.
#include "fuzz_support.h"
#include "fuzz_wait.h"

#include <foundation/cli/local_socket_cli_io.h>
#include <foundation/core/string_utils.h>

#include <QtCore/QCoreApplication>
#include <QtNetwork/QLocalSocket>

#include <cstdlib>
#include <cstring>

namespace {

constexpr int wholePacket = 4096; // so much arrives in one read

struct Channel
{
    Channel()
        : server(QStringLiteral("kyr-fuzz-%1").arg(QCoreApplication::applicationPid()))
    {
        QObject::connect(&server, &CAbstractCliIO::lineReady, &client, [this](const QString& line) {
            lines += line;
            server.writeLine(QStringLiteral("done"));
        });
        server.start();
        client.connectToServer(QStringLiteral("kyr-fuzz-%1").arg(QCoreApplication::applicationPid()));
        fuzzWait([this] { return client.state() == QLocalSocket::ConnectedState; });
    }

    CLocalSocketCliIO server;
    QLocalSocket client;
    QStringList lines;
};

} // namespace

FUZZ_TARGET(command_packet)
{
    static Channel channel;
    const QByteArray packet = input.rest();
    if (!packet.isEmpty() && packet.size() <= wholePacket) {
        channel.lines.clear();
        channel.client.write(packet);
        fuzzWait([] { return channel.client.canReadLine(); });
        FUZZ_CHECK(channel.client.readAll() == "done\n");
        FUZZ_CHECK(channel.lines == QStringList(QString::fromLocal8Bit(packet.constData())));
    }
    // What a program makes of the line.
    const QString line = QString::fromLocal8Bit(packet);
    qint64 held = 0;
    const QStringList words = CStringUtils::splitQuotes(line, ' ');
    for (const QString& word : words)
        held += word.size();
    FUZZ_CHECK(held <= line.size());
    FUZZ_CHECK(words.size() <= line.count(QLatin1Char(' ')) + 1);
}
