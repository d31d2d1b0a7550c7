#include <foundation/network/held_sockets_p.h>

#include <QtCore/QPointer>
#include <QtNetwork/QAbstractSocket>

#include <algorithm>

HeldSockets::HeldSockets(int limit, QObject* parent)
    : QObject(parent)
    , m_limit(limit)
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &HeldSockets::dropExpired);
}

void HeldSockets::add(QObject* socket, int milliseconds)
{
    release(socket);
    const QPointer<QObject> added(socket);
    const QPointer<HeldSockets> alive(this);
    while (alive && m_held.size() >= m_limit)
        dropFirst(true);
    if (!added || !alive)
        return;
    connect(socket, &QObject::destroyed, this, &HeldSockets::release);
    if (auto* networkSocket = qobject_cast<QAbstractSocket*>(socket))
        connect(networkSocket, &QAbstractSocket::disconnected, this, [this, socket] { release(socket); });
    m_held.append({socket, QDeadlineTimer(milliseconds, Qt::PreciseTimer)});
    if (!m_timer.isActive())
        m_timer.start(milliseconds);
}

void HeldSockets::release(const QObject* socket)
{
    const auto held =
        std::find_if(m_held.begin(), m_held.end(), [socket](const auto& entry) { return entry.first == socket; });
    if (held == m_held.end())
        return;
    m_held.erase(held);
    disconnect(socket, nullptr, this, nullptr);
    if (m_held.isEmpty())
        m_timer.stop();
}

void HeldSockets::dropFirst(bool crowded)
{
    const QPointer<QObject> socket(m_held.first().first);
    release(socket);
    Q_EMIT dropping(socket, crowded);
    if (!socket)
        return;
    if (auto* networkSocket = qobject_cast<QAbstractSocket*>(socket.data()))
        networkSocket->abort();
    if (socket)
        socket->deleteLater();
}

void HeldSockets::dropExpired()
{
    const QPointer<HeldSockets> alive(this);
    while (alive && !m_held.isEmpty() && m_held.first().second.hasExpired())
        dropFirst(false);
    if (alive && !m_held.isEmpty())
        m_timer.start(int(m_held.first().second.remainingTime()) + 1);
}
