#include <foundation/network/socket_options_p.h>

#include <QtNetwork/QTcpSocket>
#include <QtWebSockets/QWebSocket>

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
    const auto sockets = webSocket->findChildren<QTcpSocket*>(QString(), Qt::FindDirectChildrenOnly);
    for (QTcpSocket* socket : sockets)
        setLowDelay(socket);
}
