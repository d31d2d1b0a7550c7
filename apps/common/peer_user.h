#pragma once

#include <QtCore/QString>

class QLocalSocket;

/// Whom the system knows under that number: a name, or "uid N" where there is none.
QString userName(unsigned int uid);

/// The user at the other end of a connected local socket, as the system tells it: who has connected, or who has made
/// the socket that one connected to. Nobody can say that he is another.
struct PeerUser
{
    bool isKnown = false; ///< false where the system does not say
    unsigned int uid = 0;
    QString name; ///< never empty: who is not known is nobody else

    static PeerUser of(const QLocalSocket& socket);
};
