#include "shell/peer_trust.h"

#include <QtCore/QFileInfo>
#include <QtNetwork/QLocalSocket>

#ifdef Q_OS_LINUX
#    include <sys/socket.h>
#    include <unistd.h>

namespace {

// Only root and that user may put something into the folder, and into those above it.
bool isClosedFolder(QString folder, uid_t user)
{
    for (;;) {
        const QFileInfo info(folder);
        const auto owner = uid_t(info.ownerId());
        const bool writable = info.permission(QFile::WriteGroup) || info.permission(QFile::WriteOther);
        if (writable || (owner != 0 && owner != user))
            return false;
        const QString above = info.path();
        if (above == folder)
            return true;
        folder = above;
    }
}

} // namespace

bool isTrustedPeer(const QLocalSocket& socket, QString& reason)
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (::getsockopt(int(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        reason = QStringLiteral("the system does not tell whose it is");
        return false;
    }
    if (peer.uid == 0 || peer.uid == ::geteuid())
        return true;
    const QString folder = QFileInfo(QFileInfo(socket.fullServerName()).path()).canonicalFilePath();
    if (::geteuid() == 0 && !folder.isEmpty() && isClosedFolder(folder, peer.uid))
        return true;
    reason = QStringLiteral("it belongs to another user (%1)").arg(peer.uid);
    return false;
}

#else

bool isTrustedPeer(const QLocalSocket&, QString&)
{
    return true; // the system lets only the same user in
}

#endif
