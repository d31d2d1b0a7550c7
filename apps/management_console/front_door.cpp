#include "front_door.h"

#include <QtCore/QFile>
#include <QtCore/QTimer>
#include <QtNetwork/QSslKey>
#include <QtNetwork/QSslSocket>

#ifdef Q_OS_UNIX
#    include <sys/socket.h>
#endif

namespace {

constexpr int Backlog = 1024;

// Of the first bytes of a request: method, path and whether it asks for a WebSocket.
struct Request
{
    QByteArray method;
    QByteArray path;
    bool webSocket = false;
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
        if (colon > 0 && line.left(colon).trimmed().toLower() == "upgrade")
            request.webSocket = line.mid(colon + 1).trimmed().toLower() == "websocket";
    }
    return request;
}

QByteArray readFile(const QString& name, QString& error)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        error = QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString());
    return file.readAll();
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
    ::listen(int(socketDescriptor()), Backlog);
#endif
    return true;
}

void FrontDoor::makeRoom()
{
    if (m_visitors.size() < MostVisitors)
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
    socket->setReadBufferSize(2 * LongestRequest);
    socket->setSslConfiguration(m_configuration);
    auto* timer = new QTimer(socket);
    timer->setSingleShot(true);
    m_visitors.insert(socket, {timer, m_clock.elapsed()});
    connect(timer, &QTimer::timeout, this, [this, socket] {
        drop(socket, socket->isEncrypted() ? QStringLiteral("no request in time") : QStringLiteral("no TLS in time"));
    });
    connect(socket, &QSslSocket::disconnected, this, [this, socket] {
        const bool failed = !socket->isEncrypted();
        drop(socket, failed ? QStringLiteral("TLS failed: %1").arg(socket->errorString()) : QString());
    });
    connect(socket, &QSslSocket::readyRead, this, [this, socket] { onReadable(socket); });
    timer->start(RequestMs);
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
    const QByteArray head = socket->peek(LongestRequest);
    const int end = head.indexOf("\r\n\r\n");
    if (end < 0) {
        if (head.size() >= LongestRequest)
            drop(socket, QStringLiteral("request too long"));
        return;
    }
    const Request request = parseRequest(head.left(end));
    if (request.method.isEmpty())
        return drop(socket, QStringLiteral("no HTTP request"));
    if (!request.webSocket)
        return answer(socket, request.method, request.path);

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

void FrontDoor::answer(QSslSocket* socket, const QByteArray& method, const QByteArray& path)
{
    // One answer a connection; the time-out goes on, so that who does not read it is dropped too.
    disconnect(socket, &QSslSocket::readyRead, this, nullptr);
    socket->readAll();
    Response response{"405 Method Not Allowed", "text/plain", "only GET\n"};
    if (method == "GET" || method == "HEAD")
        response = m_responder ? m_responder(path) : Response{"404 Not Found", "text/plain", "nothing here\n"};
    QByteArray bytes = "HTTP/1.1 " + response.status + "\r\nContent-Type: " + response.contentType
                       + "\r\nContent-Length: " + QByteArray::number(response.body.size())
                       + "\r\nConnection: close\r\n\r\n";
    if (method != "HEAD")
        bytes += response.body;
    socket->write(bytes);
    socket->disconnectFromHost();
}
