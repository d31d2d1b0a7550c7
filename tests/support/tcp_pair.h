#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QTimer>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

/// Whether the condition comes to hold within 5 s. Looks after each round of events and so is much quicker than
/// QTRY_VERIFY, which looks every 50 ms.
template<typename Condition>
bool waitUntil(Condition condition)
{
    QTimer wake;
    wake.start(10);
    for (const QDeadlineTimer deadline(5000); !condition();) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

/// A port that nobody listens on.
inline quint16 freePort()
{
    QTcpServer probe;
    probe.listen();
    return probe.serverPort();
}

inline QString addressOf(const QTcpServer& server)
{
    return QStringLiteral("127.0.0.1:%1").arg(server.serverPort());
}

/// Two plain TCP sockets that are connected to each other over loopback.
struct TcpPair
{
    QTcpServer server;
    QTcpSocket client;
    QTcpSocket* accepted = nullptr; ///< a child of the server

    TcpPair()
    {
        server.listen(QHostAddress::LocalHost);
        client.connectToHost(QHostAddress(QHostAddress::LocalHost), server.serverPort());
        if (client.waitForConnected(5000) && server.waitForNewConnection(5000))
            accepted = server.nextPendingConnection();
    }

    /// What `socket` has received once it is at least `size` bytes, or after 5 s.
    static QByteArray read(QTcpSocket& socket, int size)
    {
        QByteArray data;
        waitUntil([&] { return (data += socket.readAll()).size() >= size; });
        return data;
    }
};
