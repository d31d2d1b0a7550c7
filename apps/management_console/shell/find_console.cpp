#include "shell/find_console.h"

#include "shell/peer_trust.h"

#include <foundation/core/environment_variable.h>

#include <QtCore/QFileInfo>
#include <QtCore/QStringList>
#include <QtNetwork/QLocalSocket>

namespace {

constexpr int connectMs = 3000;

QString reasonOf(const QLocalSocket& socket)
{
    switch (socket.error()) {
    case QLocalSocket::ServerNotFoundError:
        return QStringLiteral("there is no such socket");
    case QLocalSocket::ConnectionRefusedError:
        return QStringLiteral("the program that made this socket has ended");
    case QLocalSocket::SocketAccessError:
        return QStringLiteral("you may not use this socket (the service's is for root and the group kyr-operators)");
    case QLocalSocket::SocketTimeoutError:
        return QStringLiteral("it does not answer");
    default:
        return socket.errorString();
    }
}

QStringList usualNames()
{
    QStringList names{QStringLiteral("/run/kyr-console/socket")};
    const QString own = CEnvironmentVariable::valueTrimmed("XDG_RUNTIME_DIR");
    if (!own.isEmpty())
        names.append(own + QStringLiteral("/kyr-console/socket"));
    return names;
}

} // namespace

std::unique_ptr<QLocalSocket> connectToConsole(const QString& name, QString& error)
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(name);
    QString reason;
    if (!socket->waitForConnected(connectMs))
        error = QStringLiteral("no console listens at \"%1\": %2").arg(name, reasonOf(*socket));
    else if (!isTrustedPeer(*socket, reason))
        error = QStringLiteral("the console at \"%1\" is not trusted: %2").arg(name, reason);
    else
        return socket;
    return nullptr;
}

FoundConsole findConsole()
{
    FoundConsole found;
    const QStringList names = usualNames();
    for (const QString& name : names) {
        if (!QFileInfo::exists(name))
            continue;
        QString error;
        found.socket = connectToConsole(name, error);
        found.name = name;
        if (found.socket)
            return found;
        found.note = error;
    }
    return found;
}
