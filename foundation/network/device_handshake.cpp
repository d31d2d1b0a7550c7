#include <foundation/core/environment_variable.h>
#include <foundation/core/string_utils.h>
#include <foundation/core/utf8_p.h>
#include <foundation/network/ca_chain_p.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_handshake_p.h>
#include <foundation/network/hand_over_p.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/socket_owner_p.h>
#include <foundation/network/ssl_connection.h>
#include <foundation/network/unread_answers_p.h>

#include <kyr_crypto/crypto_service.h>

#include <QtCore/QLoggingCategory>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

#include <algorithm>

namespace {

// A host that writes lines of its own, which name the peer, turns these off.
Q_LOGGING_CATEGORY(refusals, "kyr.link.refusals")

void warnDropped(const QString& reason)
{
    qCWarning(refusals, "CDeviceConnectorAppSide: Dropped WebSocket connection due to %s.", qUtf8Printable(reason));
}

// The public key of a device's certificate; empty when the certificate is not accepted.
QByteArray checkedPublicKey(const QByteArray& pem, CDeviceId deviceId)
{
    QByteArray key = CaChain::compiledIn().publicKeyIfFlawless(pem, deviceId.toLabel());
    if (!key.isEmpty())
        return key;
    const QSslCertificate certificate(pem, QSsl::Pem);
    return CSslConnection::checkDeviceCertificate(certificate, deviceId) ? certificate.publicKey().toDer()
                                                                         : QByteArray();
}

bool isAllowedServer(const QByteArray& address)
{
    const QString allowed = CEnvironmentVariable::valueTrimmed("QUINTOR_SERVER_IPS_REMOTE");
    if (allowed.isEmpty()) {
        qWarning("CDeviceConnectorAppSide: remote server IP not verified");
        return true;
    }
    const QStringList entries = allowed.split(QLatin1Char(','), Qt::SkipEmptyParts);
    return !address.isEmpty() && std::any_of(entries.begin(), entries.end(), [&address](const QString& entry) {
        return entry.trimmed().toUtf8() == address;
    });
}

} // namespace

DeviceHandshake::DeviceHandshake(QSslSocket* socket, const QString& text, CSystemId ownSystem, bool verifyCertificate,
                                 QWebSocketServer* server, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_key(socket->peerAddress(), socket->peerPort())
    , m_text(text)
    , m_ownSystem(ownSystem)
    , m_verifyCertificate(verifyCertificate)
    , m_server(server)
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &DeviceHandshake::onTimeOut);
    connect(socket, &QSslSocket::disconnected, this, &DeviceHandshake::onPeerGone, Qt::QueuedConnection);
    connect(socket, &QObject::destroyed, this, &DeviceHandshake::onPeerGone, Qt::QueuedConnection);
}

void DeviceHandshake::start()
{
    if (m_socket->state() != QAbstractSocket::ConnectedState) {
        onPeerGone();
        return;
    }
    m_timer.start(ConnectionTiming::current().handshake);
    setLowDelay(m_socket);
    m_socket->setReadBufferSize(ConnectionLimits::readBuffer);
    connect(m_socket, &QSslSocket::readyRead, this, &DeviceHandshake::readRequestLine, Qt::QueuedConnection);
    readRequestLine();
}

void DeviceHandshake::readRequestLine()
{
    if (m_stage != Stage::RequestLine || !m_socket)
        return;
    const QByteArray begin = m_socket->peek(ConnectionLimits::requestLine);
    const int end = begin.indexOf('\r');
    if (end < 0 && begin.size() < ConnectionLimits::requestLine)
        return; // the rest is on its way
    const QString line = utf8UpToZero(end < 0 ? begin : begin.left(end));
    if (end < 0 || !DeviceRequest::parse(line, m_ownSystem, m_request)) {
        fail(QStringLiteral("invalid request line (%1)").arg(CStringUtils::printable(line)));
        return;
    }
    disconnect(m_socket, &QSslSocket::readyRead, this, nullptr);
    m_socket->setParent(m_server);
    m_stage = Stage::Ready;
    Q_EMIT ready();
}

void DeviceHandshake::upgrade()
{
    if (!m_socket)
        return; // onPeerGone is on its way
    m_stage = Stage::Upgrading;
    m_timer.start(ConnectionTiming::current().handshake);
    m_socket->setReadBufferSize(0); // the server has a limit of its own for the request's head
    m_server->handleConnection(m_socket);
}

void DeviceHandshake::challenge(QWebSocket* webSocket)
{
    if (m_socket) {
        disconnect(m_socket, nullptr, this, nullptr);
        m_socket->setParent(webSocket); // lives as long as the WebSocket, whoever takes that over
        connect(new UnreadAnswers(m_socket, this), &UnreadAnswers::exceeded, this,
                [this] { fail(QStringLiteral("unread answers")); });
    }
    m_webSocket = webSocket;
    webSocket->setParent(m_server);
    m_stage = Stage::Challenged;
    webSocket->setReadBufferSize(ConnectionLimits::strangersBuffer);
    webSocket->setMaxAllowedIncomingFrameSize(ConnectionLimits::message);
    webSocket->setMaxAllowedIncomingMessageSize(ConnectionLimits::message);
    connect(webSocket, &QWebSocket::binaryMessageReceived, this, &DeviceHandshake::onAnswer);
    connect(webSocket, &QWebSocket::disconnected, this, &DeviceHandshake::onPeerGone, Qt::QueuedConnection);
    connect(webSocket, &QObject::destroyed, this, &DeviceHandshake::onPeerGone, Qt::QueuedConnection);
    const ChallengeRequest request = ChallengeRequest::fresh();
    m_random = request.random();
    webSocket->sendBinaryMessage(request.toBytes());
    m_timer.start(ConnectionTiming::current().handshake);
}

void DeviceHandshake::onAnswer(const QByteArray& answer)
{
    if (m_timer.remainingTime() <= 0)
        return; // onTimeOut is on its way
    // One answer is examined, and after the WebSocket has left its own code: whoever is told may delete it.
    disconnect(m_webSocket, &QWebSocket::binaryMessageReceived, this, nullptr);
    MessageBacklog::begin(m_webSocket, ConnectionLimits::strangersBacklog);
    m_timer.stop();
    const auto examine = [this, answer] {
        if (m_stage != Stage::Challenged || !m_webSocket || m_webSocket->state() != QAbstractSocket::ConnectedState)
            return; // onPeerGone is on its way
        const QString reason = refusal(answer, m_random, m_request.device.id, m_verifyCertificate);
        if (!reason.isEmpty()) {
            fail(reason);
            return;
        }
        m_stage = Stage::Over;
        disconnect(m_webSocket, nullptr, this, nullptr);
        Q_EMIT proved();
    };
    QMetaObject::invokeMethod(this, examine, Qt::QueuedConnection);
}

QString DeviceHandshake::refusal(const QByteArray& message, const QByteArray& random, CDeviceId deviceId,
                                 bool verifyCertificate)
{
    const ChallengeAnswer answer = ChallengeAnswer::parse(message);
    if (!verifyCertificate) {
        qWarning("CDeviceConnectorAppSide: device certificate not verified");
    } else {
        const QByteArray publicKey = checkedPublicKey(answer.certificatePem, deviceId);
        if (publicKey.isEmpty())
            return QStringLiteral("invalid device certificate");
        if (!CCryptoService::verifyRsaSign(answer.challenge, answer.signature, publicKey))
            return QStringLiteral("invalid signature");
    }
    Challenge challenge;
    if (!Challenge::parse(answer.challenge, challenge) || challenge.deviceLabel != deviceId.toLabel().toLatin1())
        return QStringLiteral("invalid device ID");
    if (random.isEmpty() || challenge.random != random)
        return QStringLiteral("invalid random number");
    if (!isAllowedServer(challenge.server))
        return QStringLiteral("invalid server IP (%1)").arg(CStringUtils::printable(challenge.server));
    return QString();
}

void DeviceHandshake::onPeerGone()
{
    const bool tooMuch = m_webSocket && m_webSocket->closeCode() == QWebSocketProtocol::CloseCodeTooMuchData;
    fail(tooMuch ? QStringLiteral("message above %1 bytes").arg(ConnectionLimits::message)
                 : QStringLiteral("connection closed before authentication"));
}

void DeviceHandshake::onTimeOut()
{
    fail(m_stage == Stage::Challenged ? QStringLiteral("initial response timeout") : QStringLiteral("request timeout"));
}

void DeviceHandshake::fail(const QString& reason)
{
    if (m_stage == Stage::Over)
        return;
    m_stage = Stage::Over;
    m_timer.stop();
    if (m_webSocket) {
        drop(m_webSocket, reason);
    } else {
        warnDropped(reason);
        if (m_socket) {
            disconnect(m_socket, nullptr, this, nullptr);
            m_socket->abort();
            m_socket->deleteLater();
        }
    }
    Q_EMIT failed(CStringUtils::printable(reason)); // the line in the log is whole
}

void DeviceHandshake::drop(QWebSocket* webSocket, const QString& reason)
{
    warnDropped(reason);
    discard(webSocket);
}
