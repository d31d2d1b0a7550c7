#include <foundation/network/held_sockets_p.h>

#include <QtCore/QPointer>
#include <QtNetwork/QTcpSocket>

#include <algorithm>

HeldSockets::HeldSockets(int limit, QObject* parent)
    : QObject(parent)
    , m_limit(limit)
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &HeldSockets::dropExpired);
}

void HeldSockets::add(QTcpSocket* socket, int milliseconds)
{
    const QPointer<QTcpSocket> added(socket);
    while (m_sockets.size() >= m_limit)
        dropFirst(true);
    if (!added)
        return;
    connect(socket, &QObject::destroyed, this, &HeldSockets::release);
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] { release(socket); });
    m_sockets.append({socket, QDeadlineTimer(milliseconds)});
    if (!m_timer.isActive())
        m_timer.start(milliseconds);
}

void HeldSockets::release(QObject* socket)
{
    const auto held =
        std::find_if(m_sockets.begin(), m_sockets.end(), [socket](const auto& entry) { return entry.first == socket; });
    if (held == m_sockets.end())
        return;
    m_sockets.erase(held);
    disconnect(socket, nullptr, this, nullptr);
    if (m_sockets.isEmpty())
        m_timer.stop();
}

void HeldSockets::dropFirst(bool crowded)
{
    QTcpSocket* socket = m_sockets.first().first;
    release(socket);
    Q_EMIT dropping(socket, crowded);
    socket->abort();
    socket->deleteLater();
}

void HeldSockets::dropExpired()
{
    while (!m_sockets.isEmpty() && m_sockets.first().second.hasExpired())
        dropFirst(false);
    if (!m_sockets.isEmpty())
        m_timer.start(int(m_sockets.first().second.remainingTime()) + 1);
}
