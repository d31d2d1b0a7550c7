#include "server/notification_client.h"

#include "server/notification_server.h"

#include <QtCore/QJsonDocument>
#include <QtWebSockets/QWebSocket>

namespace {

// Beyond this the connection is given no more: what it holds can no longer be dropped.
constexpr qint64 mostInConnection = 0x10000; // bytes

QString toText(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

} // namespace

NotificationClient::NotificationClient(QWebSocket* socket, QSslSocket* tls, qint64 number, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_tls(tls)
    , m_number(number)
    , m_address(QStringLiteral("%1:%2 #%3").arg(socket->peerAddress().toString()).arg(socket->peerPort()).arg(number))
{
    socket->setParent(this);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &NotificationClient::timeout);
    connect(socket, &QWebSocket::textMessageReceived, this, &NotificationClient::messageReceived);
    connect(socket, &QWebSocket::disconnected, this, &NotificationClient::gone);
    // TLS takes all it is given at once; what it has not sent yet it holds as encrypted bytes.
    if (tls != nullptr)
        connect(tls, &QSslSocket::encryptedBytesWritten, this, &NotificationClient::pump);
    else
        connect(socket, &QWebSocket::bytesWritten, this, &NotificationClient::pump);
}

bool NotificationClient::enqueue(const QString& messageStart)
{
    ++m_sequence;
    if (put(messageStart + QString::number(m_sequence) + QLatin1Char('}')))
        return true;
    ++m_dropped;
    return false;
}

bool NotificationClient::answer(const QJsonValue& id, const QJsonObject& resultOrError)
{
    if (id.isUndefined())
        return true;
    QJsonObject object = resultOrError;
    object.insert(QStringLiteral("jsonrpc"), QStringLiteral("2.0"));
    object.insert(QStringLiteral("id"), id);
    return put(toText(object));
}

bool NotificationClient::put(const QString& text)
{
    // A single message may be longer than all that may wait.
    if (m_queue.size() >= NotificationServer::mostQueued
        || (!m_queue.isEmpty() && m_queuedCharacters + text.size() > NotificationServer::mostQueuedCharacters))
        return false;
    m_queuedCharacters += text.size();
    m_queue.enqueue(text);
    pump();
    return true;
}

void NotificationClient::pump()
{
    while (!m_queue.isEmpty()
           && m_socket->bytesToWrite() + (m_tls ? m_tls->encryptedBytesToWrite() : 0) < mostInConnection) {
        const QString text = m_queue.dequeue();
        m_queuedCharacters -= text.size();
        m_socket->sendTextMessage(text);
    }
}

void NotificationClient::dropQueue()
{
    m_dropped += quint64(m_queue.size());
    m_queue.clear();
    m_queuedCharacters = 0;
    m_socket->sendTextMessage(
        toText({{QStringLiteral("jsonrpc"), QStringLiteral("2.0")},
                {QStringLiteral("method"), QStringLiteral("lagging")},
                {QStringLiteral("params"), QJsonObject{{QStringLiteral("dropped"), qint64(m_dropped)}}},
                {QStringLiteral("seq"), qint64(++m_sequence)}}));
}

void NotificationClient::part(const QString& reason)
{
    // Nothing it still says counts, and nothing it does keeps it alive.
    disconnect(m_socket, &QWebSocket::textMessageReceived, this, nullptr);
    disconnect(&m_timer, &QTimer::timeout, this, nullptr);
    connect(&m_timer, &QTimer::timeout, m_socket, &QWebSocket::abort);
    m_timer.start(NotificationServer::partingMs);
    m_socket->close(QWebSocketProtocol::CloseCodePolicyViolated, reason);
}
