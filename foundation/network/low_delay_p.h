#pragma once

#include <QtCore/QVariant>
#include <QtNetwork/QAbstractSocket>

/// Sends small writes at once, from now on or, before the socket is connected, from the moment it is. Without this two
/// small writes in a row wait for the peer's delayed acknowledgement, some 40 ms.
inline void setLowDelay(QAbstractSocket* socket)
{
    if (!socket)
        return;
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (socket->state() != QAbstractSocket::ConnectedState) {
        QObject::connect(socket, &QAbstractSocket::connected, socket,
                         [socket] { socket->setSocketOption(QAbstractSocket::LowDelayOption, 1); });
    }
}
