#include "command_server.h"

#include <foundation/core/accept_guard_p.h>
#include <foundation/core/environment_variable.h>

#include <QtCore/QDebug>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QTimer>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

#ifdef Q_OS_LINUX
#    include <fcntl.h>
#    include <sys/socket.h>
#    include <sys/un.h>
#    include <unistd.h>
#endif

namespace {

constexpr int mostColumns = 100000;               // of a terminal, or rows
constexpr qint64 readAhead = qint64(1024) * 1024; // bytes
constexpr int probeMs = 1000;
constexpr int drainMs = 2000;
constexpr int drainStepMs = 10;

// The descriptor of the socket of that name that the service manager has made for this process, else -1. A second
// server, and a child process, find none.
int handedOverSocket(const QString& name)
{
#ifdef Q_OS_LINUX
    constexpr int firstDescriptor = 3;
    const bool isMine = CEnvironmentVariable::valueTrimmed("LISTEN_PID").toLongLong() == ::getpid();
    const int count = isMine ? CEnvironmentVariable::valueTrimmed("LISTEN_FDS").toInt() : 0;
    const QByteArray path = QFile::encodeName(name);
    for (int descriptor = firstDescriptor; descriptor < firstDescriptor + qMin(count, 16); ++descriptor) {
        sockaddr_un address{};
        socklen_t size = sizeof(address);
        if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0
            || address.sun_family != AF_UNIX || path != QByteArray(address.sun_path))
            continue;
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        qunsetenv("LISTEN_FDS");
        return descriptor;
    }
#else
    Q_UNUSED(name)
#endif
    return -1;
}

} // namespace

CommandClient::CommandClient(QLocalSocket* socket, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_user(PeerUser::of(*socket))
{
    socket->setParent(this);
    socket->setReadBufferSize(readAhead);
    connect(socket, &QLocalSocket::bytesWritten, this, &CommandClient::sentSome);
    connect(socket, &QLocalSocket::readyRead, this, &CommandClient::onReadable);
    connect(socket, &QLocalSocket::disconnected, this, &CommandClient::onGone, Qt::QueuedConnection);
    // What came before this object did; and that it may have gone already.
    QMetaObject::invokeMethod(this, &CommandClient::onReadable, Qt::QueuedConnection);
    if (socket->state() == QLocalSocket::UnconnectedState)
        QMetaObject::invokeMethod(this, &CommandClient::onGone, Qt::QueuedConnection);
}

CommandClient::~CommandClient()
{
    m_socket->disconnect(this);
}

qint64 CommandClient::unread() const
{
    return m_gone ? 0 : m_socket->bytesToWrite();
}

void CommandClient::onReadable()
{
    if (m_left) {
        m_socket->readAll();
        return;
    }
    QByteArray line;
    for (;;) {
        // What was read before goes first: a client that is let go on for one command gets no more read than that.
        while (!m_left && !m_paused && m_received.take(line))
            take(line);
        if (m_paused)
            return;
        const QByteArray data = m_socket->readAll();
        if (m_left || data.isEmpty())
            break;
        if (!m_known) {
            m_known = true;
            m_plain = !data.startsWith('[');
        }
        m_received.add(data);
    }
    if (m_plain && !m_left && m_received.pending() > 0)
        take(m_received.takeRest());
    if (!m_left && m_received.pending() > CommandProtocol::longestMessage) {
        sendError(
            QStringLiteral("a command is at most %1 MiB long").arg(CommandProtocol::longestMessage / 1024 / 1024));
        leave(2);
    }
}

void CommandClient::setPaused(bool isPaused)
{
    if (isPaused == m_paused)
        return;
    m_paused = isPaused;
    if (!m_paused)
        QMetaObject::invokeMethod(this, &CommandClient::onReadable, Qt::QueuedConnection);
}

void CommandClient::take(const QByteArray& line)
{
    if (m_plain) {
        // An empty line is answered, or who waits would wait for ever.
        Q_EMIT lineReceived(QString::fromUtf8(line));
        return;
    }
    const QJsonArray message = CommandProtocol::parse(line);
    const QString kind = CommandProtocol::kindOf(message);
    if (!m_greeted) {
        m_greeted = true;
        if (kind != QLatin1String("hello") || message.at(1).toInt() != CommandProtocol::version) {
            sendError(QStringLiteral("this console and its client have different versions: restart the console"));
            return leave(1);
        }
        m_terminal = message.at(2).toBool();
        m_colour = message.at(3).toBool();
        m_files = message.at(4).toBool();
        m_scripts = message.at(5).toBool();
        return send(CommandProtocol::message("hello", QJsonArray{CommandProtocol::version}));
    }
    if (kind == QLatin1String("run"))
        Q_EMIT commandReceived(CommandProtocol::textsOf(message));
    else if (kind == QLatin1String("line"))
        Q_EMIT lineReceived(message.at(1).toString());
    else if (kind == QLatin1String("input"))
        Q_EMIT inputReceived(message.at(1).toString());
    else if (kind == QLatin1String("end"))
        Q_EMIT inputEnded();
    else if (kind == QLatin1String("cancel"))
        Q_EMIT cancelRequested();
    else if (kind == QLatin1String("data") || kind == QLatin1String("done") || kind == QLatin1String("fault"))
        Q_EMIT fileMessageReceived(message);
    else if (kind == QLatin1String("call") || kind == QLatin1String("listen") || kind == QLatin1String("ended"))
        Q_EMIT scriptMessageReceived(message);
    else if (kind == QLatin1String("complete"))
        Q_EMIT completionRequested(message.at(1).toString());
    else if (kind == QLatin1String("size")) {
        m_columns = qBound(0, message.at(1).toInt(), mostColumns);
        m_rows = qBound(0, message.at(2).toInt(), mostColumns);
    } else if (kind == QLatin1String("ping"))
        send(CommandProtocol::message("pong"));
}

void CommandClient::onGone()
{
    if (m_gone)
        return;
    m_gone = m_left = true;
    Q_EMIT gone();
    deleteLater();
}

void CommandClient::send(const QByteArray& data)
{
    if (m_gone || m_socket->state() != QLocalSocket::ConnectedState)
        return;
    m_socket->write(data);
    if (m_socket->bytesToWrite() > mostUnread) {
        qWarning("A client of the command socket does not read its answers: disconnected");
        m_socket->abort();
    }
}

void CommandClient::send(const char* kind, const QString& text)
{
    send(m_plain ? text.toUtf8() + '\n' : CommandProtocol::message(kind, text));
}

void CommandClient::sendLine(const QString& text)
{
    send("out", text);
}

void CommandClient::sendError(const QString& text)
{
    send("err", text);
}

void CommandClient::sendProgress(const QString& text)
{
    if (m_terminal && unread() < mostUnreadForNews)
        send("progress", text);
}

void CommandClient::sendNews(const QString& text)
{
    if (!m_known || unread() > mostUnreadForNews)
        return;
    if (m_plain)
        send("news", QLatin1String("! ") + text);
    else if (m_terminal)
        send("news", text);
}

void CommandClient::askForInput()
{
    if (!m_plain)
        send(CommandProtocol::message("ask"));
}

void CommandClient::sendMessage(const char* kind, const QJsonArray& arguments)
{
    send(CommandProtocol::message(kind, arguments));
}

void CommandClient::askForPassword(const QString& question)
{
    if (!m_plain)
        send("ask", question);
}

void CommandClient::sendPage(const QStringList& lines)
{
    send("page", lines.join(QLatin1Char('\n')));
}

void CommandClient::sendRedraw(const QStringList& lines)
{
    if (unread() < mostUnreadForNews)
        send("redraw", lines.join(QLatin1Char('\n')));
}

void CommandClient::sendCompletions(const QString& text, bool files, const QString& filePrefix,
                                    const QStringList& words)
{
    QJsonArray arguments{text, files, filePrefix};
    for (const QString& word : words)
        arguments.append(word);
    send(CommandProtocol::message("completions", arguments));
}

void CommandClient::sendCode(int code)
{
    send(m_plain ? "= " + QByteArray::number(code) + '\n' : CommandProtocol::message("code", QJsonArray{code}));
    if (!m_gone)
        m_socket->flush();
}

void CommandClient::leave(int code)
{
    if (!m_plain)
        send(CommandProtocol::message("leave"));
    sendCode(code);
    m_left = true;
    m_socket->disconnectFromServer();
}

CommandServer::CommandServer(QObject* parent)
    : QObject(parent)
    , m_server(new QLocalServer(this))
    , m_guard(new AcceptGuard(m_server, {}, m_server))
{
    // Whoever reaches the socket commands the program.
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    m_server->setMaxPendingConnections(mostClients);
    connect(m_server, &QLocalServer::newConnection, this, &CommandServer::onConnection);
}

CommandServer::~CommandServer()
{
    // The clients' sockets are the server's no more, but go with it in good order.
    qDeleteAll(clients());
}

bool CommandServer::listen(const QString& name, QString& error)
{
    const int handedOver = handedOverSocket(name);
    if (handedOver >= 0) {
        if (m_server->listen(qintptr(handedOver))) {
            m_guard->watch();
            return true;
        }
        error = QStringLiteral("cannot take commands at \"%1\": %2").arg(name, m_server->errorString());
        return false;
    }
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(probeMs)) {
        error = QStringLiteral("another program takes commands at \"%1\"").arg(name);
        return false;
    }
    QLocalServer::removeServer(name);
    if (m_server->listen(name)) {
        m_guard->watch();
        qDebug("Started listening at %s", qUtf8Printable(m_server->fullServerName()));
        return true;
    }
    error = QStringLiteral("cannot listen at \"%1\": %2").arg(name, m_server->errorString());
    return false;
}

void CommandServer::onConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        if (clients().size() >= mostClients) {
            qWarning("More than %d clients of the command socket: one was refused", mostClients);
            socket->abort();
            socket->deleteLater();
            continue;
        }
        Q_EMIT clientCame(new CommandClient(socket, this));
    }
}

void CommandServer::drain(const std::function<void()>& then)
{
    m_server->close();
    QElapsedTimer clock;
    clock.start();
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this, timer, clock, then] {
        bool allRead = true;
        const QList<CommandClient*> all = clients();
        for (const CommandClient* client : all)
            allRead = allRead && client->unread() == 0;
        if (!allRead && clock.elapsed() < drainMs)
            return;
        timer->stop();
        then();
    });
    timer->start(drainStepMs);
}
