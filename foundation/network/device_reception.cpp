#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_reception_p.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/socket_options_p.h>

#include <QtCore/QTimer>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

namespace {

constexpr int firstWordsMilliseconds = 1000;

} // namespace

DeviceReception::DeviceReception(bool verifyCertificates, QObject* parent)
    : QObject(parent)
    , m_verifyCertificates(verifyCertificates)
    , m_server(new QWebSocketServer(QString(), QWebSocketServer::SecureMode, this))
    , m_patience(this)
{
    connect(m_server, &QWebSocketServer::newConnection, this, &DeviceReception::takeWebSockets);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &DeviceReception::turnWaitingAway);
}

DeviceReception::~DeviceReception()
{
    qDeleteAll(m_handshakes); // before the server, whose children their sockets are
}

void DeviceReception::receive(QSslSocket* socket, const QString& text, CSystemId ownSystem)
{
    if (DeviceHandshake* earlier = m_handshakes.value({socket->peerAddress(), socket->peerPort()})) {
        if (earlier->socket() == socket)
            return; // the caller heard of more data and asks once more
        earlier->fail(QStringLiteral("another request from its address and port"));
    }
    auto* handshake = new DeviceHandshake(socket, text, ownSystem, m_verifyCertificates, m_server, this);
    connect(handshake, &DeviceHandshake::ready, this, [this, handshake] { goOn(handshake); });
    connect(handshake, &DeviceHandshake::failed, this,
            [this, handshake](const QString& reason) { onFailed(handshake, reason); });
    connect(handshake, &DeviceHandshake::proved, this, [this, handshake] { onProved(handshake); });
    const bool isFull = places() <= 0;
    m_handshakes.insert(handshake->key(), handshake);
    if (isFull) {
        m_waiting.append(handshake);
        if (m_waiting.size() > ConnectionLimits::waitingRequests) {
            handshake->fail(QStringLiteral("too many pending handshakes"));
            return;
        }
        if (!m_patience.isActive())
            m_patience.start(ConnectionTiming::current().admission);
    }
    handshake->start();
}

int DeviceReception::places() const
{
    return ConnectionLimits::pendingHandshakes - static_cast<int>(m_handshakes.size() - m_waiting.size());
}

// A handshake goes on when its request is in order and it does not wait for a place.
void DeviceReception::goOn(DeviceHandshake* handshake)
{
    if (handshake->stage() == DeviceHandshake::Stage::Ready && !m_waiting.contains(handshake))
        handshake->upgrade();
}

void DeviceReception::fillPlaces()
{
    m_patience.stop();
    while (!m_waiting.isEmpty() && places() > 0)
        goOn(m_waiting.takeFirst());
    if (!m_waiting.isEmpty())
        m_patience.start(ConnectionTiming::current().admission);
}

void DeviceReception::turnWaitingAway()
{
    const auto waiting = m_waiting;
    for (DeviceHandshake* handshake : waiting)
        handshake->fail(QStringLiteral("too many pending handshakes"));
}

void DeviceReception::forget(DeviceHandshake* handshake)
{
    if (m_handshakes.value(handshake->key()) == handshake)
        m_handshakes.remove(handshake->key());
    const bool hadPlace = !m_waiting.removeOne(handshake);
    handshake->deleteLater();
    if (hadPlace)
        fillPlaces();
    else if (m_waiting.isEmpty())
        m_patience.stop();
}

void DeviceReception::onFailed(DeviceHandshake* handshake, const QString& reason)
{
    const auto report = [this, claimed = handshake->request().device.id, text = handshake->text(), reason] {
        Q_EMIT refused(claimed, text, reason);
    };
    QMetaObject::invokeMethod(this, report, Qt::QueuedConnection); // a receiver may delete this
    forget(handshake);
}

void DeviceReception::takeWebSockets()
{
    while (QWebSocket* webSocket = m_server->nextPendingConnection()) {
        DeviceHandshake* handshake = m_handshakes.value({webSocket->peerAddress(), webSocket->peerPort()});
        if (handshake && handshake->stage() == DeviceHandshake::Stage::Upgrading)
            handshake->challenge(webSocket);
        else
            DeviceHandshake::drop(webSocket, QStringLiteral("missing request"));
    }
}

void DeviceReception::onProved(DeviceHandshake* handshake)
{
    QWebSocket* const webSocket = handshake->webSocket();
    const DeviceIdentity device = handshake->request().device;
    const QString text = handshake->text();
    forget(handshake);
    HandOver<QWebSocket> offer(webSocket);
    webSocket->sendBinaryMessage(HandshakeMessages::acceptance());
    Q_EMIT admitted(device, webSocket, text);
    // The receiver may have deleted the WebSocket or this; nothing below touches this.
    if (offer.isTaken()) {
        // What the handshake needed; its new owner has said its first words until then.
        QTimer::singleShot(firstWordsMilliseconds, webSocket, [webSocket] { releaseBuffers(webSocket); });
        offer.conclude();
    } else if (offer.isLeft())
        DeviceHandshake::drop(webSocket, QStringLiteral("unhandled websocket"));
}
