#include "command_socket.h"

#include <foundation/cli/local_socket_cli_io.h>

#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

namespace {

constexpr int probeMs = 1000;

// Listens from when it was opened on. Starting the channel again, as an interpreter does, would close the socket for a
// moment to clients that read already that it listens.
class CommandSocket : public CLocalSocketCliIO
{
public:
    using CLocalSocketCliIO::CLocalSocketCliIO;
    void open() { CLocalSocketCliIO::start(); }
    void start() override {}
};

} // namespace

std::unique_ptr<CLocalSocketCliIO> openCommandSocket(const QString& name, QString& error)
{
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(probeMs)) {
        error = QStringLiteral("another program takes commands at \"%1\"").arg(name);
        return nullptr;
    }
    auto io = std::make_unique<CommandSocket>(name);
    io->open();
    const auto* server = io->findChild<QLocalServer*>();
    if (!server || !server->isListening()) {
        error = QStringLiteral("cannot listen at \"%1\": %2").arg(name, server ? server->errorString() : QString());
        return nullptr;
    }
    return io;
}
