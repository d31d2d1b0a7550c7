#pragma once

#include <QtCore/QString>

class QLocalSocket;

/// Whether the program behind a connected socket may be trusted with commands: it belongs to the same user or to root,
/// or the socket stands where nobody but its owner and root could have put it, as that of a service does. Else false,
/// with a reason.
bool isTrustedPeer(const QLocalSocket& socket, QString& reason);
