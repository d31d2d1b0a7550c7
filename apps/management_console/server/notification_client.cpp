#include "server/notification_client.h"

#include "server/notification_server.h"

#include <foundation/network/tls_door.h>

#include <QtWebSockets/QWebSocket>

namespace {

// Beyond this the connection is given no more: what it holds can no longer be dropped.
constexpr qint64 mostInConnection = 0x10000; // bytes

} // namespace

NotificationClient::NotificationClient(QWebSocket* socket, QSslSocket* tls, qint64 number, const Limits& limits,
                                       QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_tls(tls)
    , m_number(number)
    , m_limits(limits)
    , m_address(QStringLiteral("%1 #%2").arg(CTlsDoor::peerText(socket->peerAddress(), socket->peerPort())).arg(number))
{
    socket->setParent(this);
    setLongestMessage(limits.longestLogin);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &NotificationClient::onTimeout);
    connect(socket, &QWebSocket::textMessageReceived, this, &NotificationClient::messageReceived);
    connect(socket, &QWebSocket::disconnected, this, [this] {
        m_stage = Stage::Gone;
        m_timer.stop();
        Q_EMIT gone();
    });
    // TLS takes all it is given at once; what it has not sent yet it holds as encrypted bytes.
    if (tls != nullptr)
        connect(tls, &QSslSocket::encryptedBytesWritten, this, &NotificationClient::pump);
    else
        connect(socket, &QWebSocket::bytesWritten, this, &NotificationClient::pump);
    m_timer.start(limits.loginMs);
}

void NotificationClient::setLongestMessage(quint64 bytes)
{
    m_socket->setMaxAllowedIncomingFrameSize(bytes);
    m_socket->setMaxAllowedIncomingMessageSize(bytes);
}

void NotificationClient::admit()
{
    m_stage = Stage::LoggedIn;
    m_timer.stop();
    setLongestMessage(m_limits.longestMessage);
}

void NotificationClient::part(const QString& reason)
{
    if (m_stage == Stage::Gone)
        return;
    m_stage = Stage::Parting;
    disconnect(m_socket, &QWebSocket::textMessageReceived, this, nullptr);
    m_timer.start(NotificationServer::partingMs);
    m_socket->close(QWebSocketProtocol::CloseCodePolicyViolated, reason);
}

void NotificationClient::abort()
{
    m_socket->abort();
}

void NotificationClient::releaseSocket()
{
    m_socket->disconnect(this);
    m_socket->setParent(nullptr);
    m_socket->deleteLater();
}

void NotificationClient::onTimeout()
{
    if (m_stage == Stage::Stranger)
        Q_EMIT overdue();
    else
        abort();
}

bool NotificationClient::enqueue(const QString& method, const QString& params)
{
    if (put(NotificationMessage::numbered(++m_sequence, method, params)))
        return true;
    ++m_dropped;
    return false;
}

bool NotificationClient::answer(const QJsonValue& id, const QJsonObject& resultOrError)
{
    return id.isUndefined() || put(NotificationMessage::answer(id, resultOrError));
}

bool NotificationClient::say(const QString& text)
{
    return put(NotificationMessage::whole(text));
}

bool NotificationClient::put(const NotificationMessage& message)
{
    // A single message may be longer than all that may wait.
    if (m_queue.size() >= NotificationServer::mostQueued
        || (!m_queue.isEmpty() && m_queuedCharacters + message.size() > NotificationServer::mostQueuedCharacters))
        return false;
    m_queuedCharacters += message.size();
    m_queue.enqueue(message);
    pump();
    return true;
}

void NotificationClient::pump()
{
    const QPointer<NotificationClient> self(this);
    const bool wasBehind = isBehind();
    while (self && !m_queue.isEmpty()
           && m_socket->bytesToWrite() + (m_tls ? m_tls->encryptedBytesToWrite() : 0) < mostInConnection) {
        const NotificationMessage message = m_queue.dequeue();
        m_queuedCharacters -= message.size();
        m_socket->sendTextMessage(message.text());
    }
    if (self && wasBehind && !isBehind())
        Q_EMIT drained();
}

void NotificationClient::dropQueue()
{
    m_dropped += quint64(m_queue.size());
    m_queue.clear();
    m_queuedCharacters = 0;
    const QString params = QStringLiteral("{\"dropped\":%1}").arg(m_dropped);
    m_socket->sendTextMessage(NotificationMessage::numbered(++m_sequence, QStringLiteral("lagging"), params).text());
}
