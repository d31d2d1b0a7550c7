#include <foundation/cli/local_socket_cli_io.h>

#include <foundation/core/accept_guard_p.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QDebug>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

namespace {

// How long the end of a program waits for clients to take its last lines.
constexpr int lastLinesTimeoutMs = 2000;
// A client that takes nothing does not hold up the others for longer.
constexpr int turnMs = 20;

} // namespace

CLocalSocketCliIO::CLocalSocketCliIO(const QString& serverName)
    : CAbstractCliIO(nullptr)
    , m_server(new QLocalServer(this))
    , m_guard(new AcceptGuard(m_server, {}, m_server))
    , m_serverName(serverName)
{
    // Whoever reaches the socket commands the program.
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &CLocalSocketCliIO::onNewConnection);
}

CLocalSocketCliIO::~CLocalSocketCliIO() = default;

void CLocalSocketCliIO::start()
{
    if (m_server->isListening())
        m_server->close();
    QLocalServer::removeServer(m_serverName);
    m_stopped = false;
    if (!m_server->listen(m_serverName)) {
        qWarning("CLI: Cannot listen at %s: %s", qUtf8Printable(m_serverName), qUtf8Printable(m_server->errorString()));
        return;
    }
    m_guard->watch();
    qDebug("CLI: Started listening at %s", qUtf8Printable(m_server->fullServerName()));
}

void CLocalSocketCliIO::stop()
{
    m_stopped = true;
    m_server->close();

    // The program may end right behind this, and what the event loop would still have sent with it. The waiting reads,
    // too: m_stopped keeps that from becoming a line.
    const QDeadlineTimer deadline(lastLinesTimeoutMs);
    QList<QPointer<QLocalSocket>> unsent;
    const auto sockets = m_server->findChildren<QLocalSocket*>();
    for (QLocalSocket* socket : sockets)
        unsent.append(socket);
    while (!unsent.isEmpty() && !deadline.hasExpired()) {
        const QPointer<QLocalSocket> socket = unsent.takeFirst();
        if (!socket || socket->bytesToWrite() == 0)
            continue;
        socket->waitForBytesWritten(static_cast<int>(qMin<qint64>(turnMs, deadline.remainingTime())));
        unsent.append(socket);
    }
}

void CLocalSocketCliIO::onNewConnection()
{
    QLocalSocket* socket = m_server->nextPendingConnection();
    if (!socket)
        return;
    qDebug("CLI: Local socket connected");
    connect(socket, &QLocalSocket::readyRead, this, &CLocalSocketCliIO::onReadyRead);
    connect(socket, &QLocalSocket::disconnected, this, &CLocalSocketCliIO::onDisconnected);
}

void CLocalSocketCliIO::onReadyRead()
{
    auto* socket = qobject_cast<QLocalSocket*>(sender());
    if (!socket)
        return;
    const QByteArray data = socket->readAll();
    if (m_stopped)
        return;
    m_socket = socket;
    // From the plain pointer: the text ends at the first zero byte.
    Q_EMIT lineReady(QString::fromLocal8Bit(data.constData()));
}

void CLocalSocketCliIO::onDisconnected()
{
    qDebug("CLI: Local socket disconnected");
    if (auto* socket = qobject_cast<QLocalSocket*>(sender()))
        socket->deleteLater();
}

void CLocalSocketCliIO::writeLine(const QString& line)
{
    if (!m_socket)
        return;
    m_socket->write(QString(line + QLatin1Char('\n')).toLocal8Bit());
    // At once: a command may keep the event loop busy, or end the program.
    m_socket->flush();
}

void CLocalSocketCliIO::writeErrorLine(const QString& line)
{
    writeLine(line);
}

void CLocalSocketCliIO::flushStandardOutput() {}

void CLocalSocketCliIO::readLine() {}
