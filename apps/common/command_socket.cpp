#include "command_socket.h"

#include <foundation/cli/local_socket_cli_io.h>

#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

namespace {

constexpr int probeMs = 1000;

} // namespace

std::unique_ptr<CLocalSocketCliIO> openCommandSocket(const QString& name, QString& error)
{
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(probeMs)) {
        error = QStringLiteral("another program takes commands at \"%1\"").arg(name);
        return nullptr;
    }
    auto io = std::make_unique<CLocalSocketCliIO>(name);
    io->start();
    const auto* server = io->findChild<QLocalServer*>();
    if (!server || !server->isListening()) {
        error = QStringLiteral("cannot listen at \"%1\": %2").arg(name, server ? server->errorString() : QString());
        return nullptr;
    }
    return io;
}
