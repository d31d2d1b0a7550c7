#include "shell/peer_trust.h"

#include "common/peer_user.h"

#include <QtCore/QFileInfo>
#include <QtNetwork/QLocalSocket>

#ifdef Q_OS_LINUX
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
    const PeerUser peer = PeerUser::of(socket);
    if (!peer.isKnown) {
        reason = QStringLiteral("its owner cannot be found out");
        return false;
    }
    if (peer.uid == 0 || peer.uid == ::geteuid())
        return true;
    const QString folder = QFileInfo(QFileInfo(socket.fullServerName()).path()).canonicalFilePath();
    if (!folder.isEmpty() && isClosedFolder(folder, peer.uid))
        return true;
    reason = QStringLiteral("it belongs to another user (%1)").arg(peer.name);
    return false;
}

#else

bool isTrustedPeer(const QLocalSocket&, QString&)
{
    return true; // the system lets only the same user in
}

#endif
