#include "server/front_door.h"

#include <QtCore/QFile>
#include <QtCore/QTimer>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>

#ifdef Q_OS_UNIX
#    include <sys/socket.h>
#endif

namespace {

constexpr int backlog = 1024;
constexpr int acceptAgainMs = 500;   // after descriptors ran out
constexpr qint64 mostUnread = 65536; // bytes of answers that a visitor has not taken yet

// Of the first bytes of a request: method, path and whether it asks for a WebSocket.
struct Request
{
    QByteArray method;
    QByteArray path;
    bool webSocket = false;
    bool last = false; // nothing follows on this connection
};

Request parseRequest(const QByteArray& head)
{
    Request request;
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.constFirst().trimmed().split(' ');
    if (words.size() != 3 || !words.at(2).startsWith("HTTP/1."))
        return request;
    request.method = words.at(0);
    request.path = words.at(1);
    for (const QByteArray& line : lines) {
        const int colon = line.indexOf(':');
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed().toLower();
        if (name == "upgrade")
            request.webSocket = value == "websocket";
        // What has a body is not read to its end.
        if ((name == "connection" && value == "close") || name == "content-length" || name == "transfer-encoding")
            request.last = true;
    }
    return request;
}

QByteArray readFile(const QString& name, QString& error)
{
    QFile file(name);
    if (file.open(QIODevice::ReadOnly))
        return file.readAll();
    error = QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString());
    return QByteArray();
}

} // namespace

QString peerText(const QSslSocket* socket)
{
    bool mapped = false;
    const quint32 ip4 = socket->peerAddress().toIPv4Address(&mapped);
    const QString address = mapped ? QHostAddress(ip4).toString() : socket->peerAddress().toString();
    return address + QLatin1Char(':') + QString::number(socket->peerPort());
}

FrontDoor::FrontDoor(QObject* parent)
    : QTcpServer(parent)
{
    m_clock.start();
    // Without a free descriptor the server stops accepting, and would never begin again by itself.
    connect(this, &QTcpServer::acceptError, this, [this] {
        qWarning("FrontDoor: Cannot accept: %s", qUtf8Printable(errorString()));
        QTimer::singleShot(acceptAgainMs, this, &QTcpServer::resumeAccepting);
    });
}

FrontDoor::~FrontDoor()
{
    // Their last signals would find half a server.
    for (auto visitor = m_visitors.cbegin(); visitor != m_visitors.cend(); ++visitor)
        visitor.key()->disconnect();
}

bool FrontDoor::setCertificate(const QString& certificateFile, const QString& keyFile, QString& error)
{
    const QList<QSslCertificate> chain = QSslCertificate::fromData(readFile(certificateFile, error), QSsl::Pem);
    const QByteArray keyText = readFile(keyFile, error);
    QSslKey key(keyText, QSsl::Rsa);
    if (key.isNull())
        key = QSslKey(keyText, QSsl::Ec);
    if (error.isEmpty() && chain.isEmpty())
        error = QStringLiteral("\"%1\" holds no certificate").arg(certificateFile);
    if (error.isEmpty() && key.isNull())
        error = QStringLiteral("\"%1\" holds no key").arg(keyFile);
    if (!error.isEmpty())
        return false;
    m_configuration = QSslConfiguration::defaultConfiguration();
    m_configuration.setLocalCertificateChain(chain);
    m_configuration.setPrivateKey(key);
    // Devices prove themselves after the upgrade. Nobody's certificate is checked here, and the system's authorities
    // would be loaded for each connection anew.
    m_configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    m_configuration.setCaCertificates({});
    return true;
}

bool FrontDoor::open(quint16 port)
{
    if (!listen(QHostAddress::Any, port))
        return false;
#ifdef Q_OS_UNIX
    // A whole installation may knock in one instant; those that find the queue full try again only after a second.
    ::listen(int(socketDescriptor()), backlog);
#endif
    return true;
}

void FrontDoor::makeRoom()
{
    if (m_visitors.size() < mostVisitors)
        return;
    auto oldest = m_visitors.constBegin();
    for (auto visitor = m_visitors.constBegin(); visitor != m_visitors.constEnd(); ++visitor) {
        if (visitor->acceptedMs < oldest->acceptedMs)
            oldest = visitor;
    }
    drop(oldest.key(), QStringLiteral("too many connections without a request"));
}

void FrontDoor::incomingConnection(qintptr descriptor)
{
    makeRoom();
    auto* socket = new QSslSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket->setReadBufferSize(qint64(2) * longestRequest);
    socket->setSslConfiguration(m_configuration);
    auto* timer = new QTimer(socket);
    timer->setSingleShot(true);
    m_visitors.insert(socket, {timer, m_clock.elapsed(), false, false});
    connect(timer, &QTimer::timeout, this, [this, socket] {
        const bool served = m_visitors.value(socket).answered;
        drop(socket, served                  ? QString()
                     : socket->isEncrypted() ? QStringLiteral("no request in time")
                                             : QStringLiteral("no TLS in time"));
    });
    connect(socket, &QSslSocket::encrypted, this, [this, socket] { m_visitors[socket].secure = true; });
    connect(socket, &QSslSocket::disconnected, this, [this, socket] {
        // A socket that has disconnected may have forgotten that it was encrypted.
        const bool failed = !m_visitors.value(socket).secure;
        drop(socket, failed ? QStringLiteral("TLS failed: %1").arg(socket->errorString()) : QString());
    });
    connect(socket, &QSslSocket::readyRead, this, [this, socket] { onReadable(socket); });
    timer->start(requestMs);
    socket->startServerEncryption();
}

void FrontDoor::drop(QSslSocket* socket, const QString& reason)
{
    if (!m_visitors.remove(socket))
        return;
    const QString peer = peerText(socket);
    socket->disconnect();
    socket->abort();
    socket->deleteLater();
    if (!reason.isEmpty())
        Q_EMIT dropped(peer, reason);
}

void FrontDoor::onReadable(QSslSocket* socket)
{
    if (!m_visitors.contains(socket) || !socket->isEncrypted())
        return;
    const QByteArray head = socket->peek(longestRequest);
    const int end = head.indexOf("\r\n\r\n");
    if (end < 0) {
        if (head.size() >= longestRequest)
            drop(socket, QStringLiteral("request too long"));
        return;
    }
    const Request request = parseRequest(head.left(end));
    if (request.method.isEmpty())
        return drop(socket, QStringLiteral("no HTTP request"));
    if (!request.webSocket)
        return answer(socket, request.method, request.path, end + 4, request.last);

    const Visitor visitor = m_visitors.take(socket);
    socket->disconnect(this);
    delete visitor.timer;
    socket->setReadBufferSize(0);
    const QPointer<QSslSocket> taken(socket);
    Q_EMIT webSocketRequested(socket, request.path, visitor.acceptedMs);
    if (taken && taken->parent() == this) {
        taken->abort();
        taken->deleteLater();
    }
}

void FrontDoor::answer(QSslSocket* socket, const QByteArray& method, const QByteArray& path, int size, bool last)
{
    Response response{"405 Method Not Allowed", "text/plain", "only GET\n"};
    if (method == "GET" || method == "HEAD")
        response = m_responder ? m_responder(path) : Response{"404 Not Found", "text/plain", "nothing here\n"};
    else
        last = true;
    // One that asks and asks and never reads the answers does not get more of them.
    last = last || socket->bytesToWrite() > mostUnread;
    QByteArray bytes = "HTTP/1.1 " + response.status + "\r\nContent-Type: " + response.contentType
                       + "\r\nContent-Length: " + QByteArray::number(response.body.size())
                       + (last ? "\r\nConnection: close" : "") + "\r\n\r\n";
    if (method != "HEAD")
        bytes += response.body;
    socket->read(size);
    socket->write(bytes);
    Visitor& visitor = m_visitors[socket];
    visitor.answered = true;
    visitor.timer->start();
    if (last) {
        // The time-out goes on, so that who does not take the answer is dropped too.
        disconnect(socket, &QSslSocket::readyRead, this, nullptr);
        socket->readAll();
        socket->disconnectFromHost();
    } else if (socket->bytesAvailable() > 0) {
        QMetaObject::invokeMethod(
            socket, [this, socket] { onReadable(socket); }, Qt::QueuedConnection);
    }
}
