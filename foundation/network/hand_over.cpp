#include <foundation/network/connection_job.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/unread_answers_p.h>

#include <QtNetwork/QTcpSocket>
#include <QtWebSockets/QWebSocket>

namespace {

constexpr qint64 costOfMessage = 128; // bytes that one takes beside its own

// A job judges what its sockets report. The other owners are servers, whose receivers may be the new owners.
void silenceJob(QObject* socket, QObject* owner)
{
    if (qobject_cast<ConnectionJob*>(owner))
        QObject::disconnect(socket, nullptr, owner, nullptr);
}

} // namespace

void holdClock(QObject* owner)
{
    if (auto* job = qobject_cast<ConnectionJob*>(owner))
        job->holdClock();
}

void letClockGo(QObject* owner)
{
    if (auto* job = qobject_cast<ConnectionJob*>(owner))
        job->letClockGo();
}

void liftLimits(QWebSocket* webSocket)
{
    webSocket->setMaxAllowedIncomingFrameSize(QWebSocket::maxIncomingFrameSize());
    webSocket->setMaxAllowedIncomingMessageSize(QWebSocket::maxIncomingMessageSize());
    webSocket->setReadBufferSize(0);
    delete webSocket->findChild<UnreadAnswers*>(QString(), Qt::FindDirectChildrenOnly);
}

template<>
void HandOver<QTcpSocket>::release()
{
    if (!m_socket)
        return;
    silenceJob(m_socket, m_owner);
    m_socket->setReadBufferSize(0);
}

template<>
void HandOver<QTcpSocket>::announce()
{
    if (m_socket && m_socket->state() == m_state && m_socket->bytesAvailable() > 0)
        Q_EMIT m_socket->readyRead();
}

template<>
void HandOver<QWebSocket>::release()
{
    if (!m_socket)
        return;
    silenceJob(m_socket, m_owner);
    liftLimits(m_socket);
}

template<>
void HandOver<QWebSocket>::announce()
{
    if (m_socket)
        MessageBacklog::announce(m_socket, m_state);
}

MessageBacklog::MessageBacklog(QWebSocket* webSocket, qint64 limit)
    : QObject(webSocket)
    , m_webSocket(webSocket)
    , m_room(limit)
{
    connect(webSocket, &QWebSocket::binaryMessageReceived, this, [this](const QByteArray& message) {
        keep(message.size(), [message](QWebSocket* socket) { Q_EMIT socket->binaryMessageReceived(message); });
    });
    connect(webSocket, &QWebSocket::textMessageReceived, this, [this](const QString& message) {
        const auto size = qint64(message.size()) * qint64(sizeof(QChar));
        keep(size, [message](QWebSocket* socket) { Q_EMIT socket->textMessageReceived(message); });
    });
}

void MessageBacklog::keep(qint64 size, const std::function<void(QWebSocket*)>& announce)
{
    m_room -= size + costOfMessage;
    if (m_room >= 0) {
        m_messages.append(announce);
        return;
    }
    m_messages.clear();
    m_webSocket->disconnect(this);
    qWarning("CDeviceConnector: Too many messages at once from %s:%u",
             qUtf8Printable(m_webSocket->peerAddress().toString()), m_webSocket->peerPort());
    m_webSocket->abort(); // now: it may go on reading for ever
}

void MessageBacklog::begin(QWebSocket* webSocket, qint64 limit)
{
    if (!webSocket->findChild<MessageBacklog*>(QString(), Qt::FindDirectChildrenOnly))
        new MessageBacklog(webSocket, limit);
}

void MessageBacklog::announce(QWebSocket* webSocket, QAbstractSocket::SocketState state)
{
    auto* backlog = webSocket->findChild<MessageBacklog*>(QString(), Qt::FindDirectChildrenOnly);
    if (!backlog)
        return;
    // Gone before the first message: its receiver may begin to keep the next ones.
    const auto messages = backlog->m_messages;
    webSocket->disconnect(backlog);
    backlog->setParent(nullptr);
    backlog->deleteLater();
    const QPointer<QWebSocket> alive(webSocket);
    for (const auto& announce : messages) {
        if (!alive || alive->state() != state)
            return;
        announce(alive);
    }
}
