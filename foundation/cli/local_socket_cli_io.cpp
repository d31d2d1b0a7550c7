#include <foundation/cli/local_socket_cli_io.h>

#include <QtCore/QDebug>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

CLocalSocketCliIO::CLocalSocketCliIO(const QString& serverName)
    : CAbstractCliIO(nullptr)
    , m_server(new QLocalServer(this))
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
    if (m_server->listen(m_serverName))
        qDebug("CLI: Started listening at %s", qUtf8Printable(m_server->fullServerName()));
    else
        qWarning("CLI: Cannot listen at %s: %s", qUtf8Printable(m_serverName), qUtf8Printable(m_server->errorString()));
}

void CLocalSocketCliIO::stop()
{
    m_server->close();
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
    if (m_socket)
        m_socket->write(QString(line + QLatin1Char('\n')).toLocal8Bit());
}

void CLocalSocketCliIO::writeErrorLine(const QString& line)
{
    writeLine(line);
}

void CLocalSocketCliIO::flushStandardOutput() {}

void CLocalSocketCliIO::readLine() {}
