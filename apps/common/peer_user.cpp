#include "peer_user.h"

#include <QtNetwork/QLocalSocket>

#ifndef Q_OS_WIN
#    include <pwd.h>
#    include <sys/socket.h>
#endif

QString userName(unsigned int uid)
{
#ifndef Q_OS_WIN
    if (const passwd* entry = ::getpwuid(uid))
        return QString::fromLocal8Bit(entry->pw_name);
#endif
    return QStringLiteral("uid %1").arg(uid);
}

PeerUser PeerUser::of(const QLocalSocket& socket)
{
    PeerUser user;
    user.name = QStringLiteral("unknown");
#ifdef Q_OS_LINUX
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (::getsockopt(int(socket.socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) {
        user.isKnown = true;
        user.uid = peer.uid;
        user.name = userName(peer.uid);
    }
#else
    Q_UNUSED(socket)
#endif
    return user;
}
