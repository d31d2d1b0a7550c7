#include <foundation/core/environment_variable.h>
#include <foundation/core/json_parser.h>
#include <foundation/core/random.h>
#include <foundation/core/utf8_p.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/network/ca_chain_p.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/device_handshake_p.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/socket_owner_p.h>
#include <foundation/network/ssl_connection.h>

#include <kyr_crypto/crypto_service.h>

#include <QtCore/QDateTime>
#include <QtCore/QRegularExpression>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

namespace {

constexpr int randomBytes = 8;

// What a peer sent goes into the log on one line.
QString printable(QString text)
{
    for (QChar& c : text) {
        if (!c.isPrint())
            c = QLatin1Char('?');
    }
    return text;
}

void warnDropped(const QString& reason)
{
    qWarning("CDeviceConnectorAppSide: Dropped WebSocket connection due to %s.", qUtf8Printable(printable(reason)));
}

// The codec reads a text of hexadecimal digits and colons, which an IPv6 address may be, as bytes. A mark in front of
// the value makes it a string like any other, and the address can be compared as it was sent.
constexpr QLatin1Char addressMark('=');

QVariantMap parseChallenge(QString challenge)
{
    static const QRegularExpression address(QStringLiteral("(\"serverip\"\\s*:\\s*\")"));
    challenge.replace(address, QStringLiteral("\\1="));
    return CJsonParser::deserialize(challenge, nullptr, false);
}

// A value that has to be a text: bytes and numbers that look like the expected text are not it.
QString textValue(const QVariantMap& map, const QString& key)
{
    const QVariant value = map.value(key);
    return value.userType() == QMetaType::QString ? value.toString() : QString();
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

bool isAllowedServer(const QString& address)
{
    const QString allowed = CEnvironmentVariable::valueTrimmed("QUINTOR_SERVER_IPS_REMOTE");
    if (allowed.isEmpty()) {
        qWarning("CDeviceConnectorAppSide: remote server IP not verified");
        return true;
    }
    const QStringList entries = allowed.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& entry : entries) {
        if (entry.trimmed() == address)
            return true;
    }
    return false;
}

} // namespace

bool DeviceHandshake::Request::parse(const QString& line, CSystemId ownSystem, Request& request)
{
    request.path = line.split(QLatin1Char(' ')).value(1);
    const QStringList parts = request.path.split(QLatin1Char('/'));
    request.deviceId = CDeviceId::fromLabel(parts.value(2));
    bool isNumber = false;
    request.deviceType = parts.value(3).toInt(&isNumber);
    request.systemId = CSystemId::fromLabel(parts.value(4));
    const bool isKnownType = isNumber && request.deviceType != 0
                             && static_cast<int>(CDataType::deviceTypeCast(request.deviceType)) == request.deviceType;
    return request.deviceId.isValid() && isKnownType && (!request.systemId.isValid() || request.systemId == ownSystem);
}

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
    if (end < 0 || !Request::parse(line, m_ownSystem, m_request)) {
        fail(QStringLiteral("invalid request line (%1)").arg(line));
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
        connect(m_socket, &QSslSocket::readyRead, this, &DeviceHandshake::checkBacklog);
    }
    m_webSocket = webSocket;
    webSocket->setParent(m_server);
    m_stage = Stage::Challenged;
    webSocket->setMaxAllowedIncomingFrameSize(ConnectionLimits::message);
    webSocket->setMaxAllowedIncomingMessageSize(ConnectionLimits::message);
    connect(webSocket, &QWebSocket::binaryMessageReceived, this, &DeviceHandshake::onAnswer);
    connect(webSocket, &QWebSocket::disconnected, this, &DeviceHandshake::onPeerGone, Qt::QueuedConnection);
    connect(webSocket, &QObject::destroyed, this, &DeviceHandshake::onPeerGone, Qt::QueuedConnection);
    m_random = QString::fromLatin1(CRandom::getArray(randomBytes).toHex());
    const QVariantMap request{{QStringLiteral("random"), m_random},
                              {QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)}};
    webSocket->sendBinaryMessage(CJsonParser::serialize(request).toUtf8());
    m_timer.start(ConnectionTiming::current().handshake);
}

void DeviceHandshake::onAnswer(const QByteArray& answer)
{
    // One answer is examined, and after the WebSocket has left its own code: whoever is told may delete it.
    disconnect(m_webSocket, &QWebSocket::binaryMessageReceived, this, nullptr);
    if (m_socket)
        disconnect(m_socket, &QSslSocket::readyRead, this, nullptr);
    m_timer.stop();
    const auto examine = [this, answer] {
        if (m_stage != Stage::Challenged || !m_webSocket || m_webSocket->state() != QAbstractSocket::ConnectedState)
            return; // onPeerGone is on its way
        const QString reason = refusal(answer, m_random, m_request.deviceId, m_verifyCertificate);
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

QString DeviceHandshake::refusal(const QByteArray& answer, const QString& random, CDeviceId deviceId,
                                 bool verifyCertificate)
{
    const QVariantMap map = CJsonParser::deserialize(utf8UpToZero(answer), nullptr, false);
    const QString challengeText = textValue(map, QStringLiteral("challenge"));
    if (!verifyCertificate) {
        qWarning("CDeviceConnectorAppSide: device certificate not verified");
    } else {
        QString pem = textValue(map, QStringLiteral("certificate"));
        pem.replace(QLatin1String("\\n"), QLatin1String("\n"));
        const QByteArray publicKey = checkedPublicKey(pem.toUtf8(), deviceId);
        if (publicKey.isEmpty())
            return QStringLiteral("invalid device certificate");
        const QByteArray signature = QByteArray::fromBase64(textValue(map, QStringLiteral("signature")).toLatin1());
        if (!CCryptoService::verifyRsaSign(challengeText.toUtf8(), signature, publicKey))
            return QStringLiteral("invalid signature");
    }
    const QVariantMap challenge = parseChallenge(challengeText);
    if (textValue(challenge, QStringLiteral("deviceid")) != deviceId.toLabel())
        return QStringLiteral("invalid device ID");
    if (random.isEmpty() || textValue(challenge, QStringLiteral("random")) != random)
        return QStringLiteral("invalid random number");
    QString serverAddress = textValue(challenge, QStringLiteral("serverip"));
    if (serverAddress.startsWith(addressMark))
        serverAddress.remove(0, 1);
    if (!isAllowedServer(serverAddress))
        return QStringLiteral("invalid server IP (%1)").arg(serverAddress);
    return QString();
}

void DeviceHandshake::onPeerGone()
{
    const bool tooMuch = m_webSocket && m_webSocket->closeCode() == QWebSocketProtocol::CloseCodeTooMuchData;
    fail(tooMuch ? QStringLiteral("message above %1 bytes").arg(ConnectionLimits::message)
                 : QStringLiteral("connection closed before authentication"));
}

// A peer that pings and does not read the answers lets them pile up here.
void DeviceHandshake::checkBacklog()
{
    if (!m_socket || m_socket->bytesToWrite() + m_socket->encryptedBytesToWrite() <= ConnectionLimits::writeBacklog)
        return;
    disconnect(m_socket, &QSslSocket::readyRead, this, nullptr);
    QMetaObject::invokeMethod(
        this, [this] { fail(QStringLiteral("unread answers")); }, Qt::QueuedConnection);
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
    Q_EMIT failed(reason);
}

void DeviceHandshake::drop(QWebSocket* webSocket, const QString& reason)
{
    warnDropped(reason);
    discard(webSocket);
}
