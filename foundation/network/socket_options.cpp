#include <foundation/network/socket_options_p.h>

#include <QtNetwork/QTcpSocket>
#include <QtWebSockets/QWebSocket>

#include <algorithm>

void setLowDelay(QAbstractSocket* socket)
{
    if (!socket)
        return;
    const auto apply = [socket] { socket->setSocketOption(QAbstractSocket::LowDelayOption, 1); };
    apply();
    if (socket->state() != QAbstractSocket::ConnectedState)
        QObject::connect(socket, &QAbstractSocket::connected, socket, apply);
}

void setLowDelay(QWebSocket* webSocket)
{
    if (!webSocket)
        return;
    // Each time it is opened a WebSocket gets another TCP socket as its child; one that a server accepted has none.
    const auto apply = [webSocket] {
        const auto sockets = webSocket->findChildren<QTcpSocket*>(QString(), Qt::FindDirectChildrenOnly);
        if (!sockets.isEmpty())
            setLowDelay(sockets.last());
    };
    apply();
    QObject::connect(webSocket, &QWebSocket::stateChanged, webSocket, [apply](QAbstractSocket::SocketState state) {
        if (state == QAbstractSocket::ConnectingState)
            apply();
    });
}

void releaseBuffers(QWebSocket* webSocket)
{
    // Over TLS there are two: one for what is said, and as its child one for what that is encrypted to.
    const auto sockets = webSocket->findChildren<QTcpSocket*>();
    const auto isAtRest = [](const QTcpSocket* socket) {
        return socket->state() == QAbstractSocket::ConnectedState && socket->bytesAvailable() == 0
               && socket->bytesToWrite() == 0 && !socket->isTransactionStarted();
    };
    if (!std::all_of(sockets.cbegin(), sockets.cend(), isAtRest))
        return;
    // A device that is opened starts with new buffers, and nothing else happens to one that is open.
    for (QTcpSocket* socket : sockets)
        socket->open(socket->openMode());
}
