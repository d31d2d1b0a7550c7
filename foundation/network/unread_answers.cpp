#include <foundation/network/connection_limits_p.h>
#include <foundation/network/unread_answers_p.h>

#include <QtNetwork/QSslSocket>

UnreadAnswers::UnreadAnswers(QTcpSocket* socket, QObject* parent)
    : QObject(parent)
{
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
        const auto* sslSocket = qobject_cast<const QSslSocket*>(socket);
        const qint64 encrypted = sslSocket ? sslSocket->encryptedBytesToWrite() : 0;
        if (socket->bytesToWrite() + encrypted <= ConnectionLimits::writeBacklog)
            return;
        disconnect(socket, nullptr, this, nullptr);
        QMetaObject::invokeMethod(this, &UnreadAnswers::exceeded, Qt::QueuedConnection);
    });
}
