#include <foundation/core/utf8_p.h>
#include <foundation/network/connection_limits_p.h>
#include <foundation/network/redirect_probe_p.h>

#include <QtCore/QTimer>
#include <QtCore/QUrl>
#include <QtNetwork/QSslSocket>

namespace {

constexpr quint16 httpPort = 80;
constexpr quint16 httpsPort = 443;

QByteArray requestFor(const QUrl& url, quint16 usualPort)
{
    QByteArray target = url.path(QUrl::FullyEncoded).toLatin1();
    if (!target.startsWith('/'))
        target.prepend('/');
    if (url.hasQuery())
        target += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    QByteArray host = url.host(QUrl::FullyEncoded).toLatin1();
    if (host.contains(':'))
        host = '[' + host + ']';
    if (url.port(usualPort) != usualPort)
        host += ':' + QByteArray::number(url.port());
    return "GET " + target + " HTTP/1.1\r\nHost: " + host + "\r\nAccept: */*\r\nConnection: close\r\n\r\n";
}

// "HTTP/1.1 302 Found"; 0 when it is something else.
int statusOf(const QByteArray& line)
{
    const int blank = line.indexOf(' ');
    return line.startsWith("HTTP/") && blank > 0 ? line.mid(blank + 1, 3).toInt() : 0;
}

} // namespace

RedirectProbe::RedirectProbe(const QUrl& url, const QNetworkProxy& proxy, QObject* parent)
    : QObject(parent)
{
    const bool secure = url.scheme() == QLatin1String("https");
    const quint16 usualPort = secure ? httpsPort : httpPort;
    auto* const sslSocket = secure ? new QSslSocket(this) : nullptr;
    m_socket = sslSocket ? sslSocket : new QTcpSocket(this);
    m_request = requestFor(url, usualPort);
    m_socket->setReadBufferSize(ConnectionLimits::readBuffer);
    m_socket->setProxy(proxy);
    connect(m_socket, &QTcpSocket::readyRead, this, &RedirectProbe::readHead);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &RedirectProbe::finish);
    connect(m_socket, &QTcpSocket::disconnected, this, &RedirectProbe::finish);
    QTimer::singleShot(ConnectionTiming::current().probe, Qt::PreciseTimer, this, &RedirectProbe::finish);
    const QString host = url.host(QUrl::FullyEncoded);
    const auto port = static_cast<quint16>(url.port(usualPort));
    if (sslSocket) {
        sslSocket->setPeerVerifyMode(QSslSocket::VerifyNone);
        connect(sslSocket, &QSslSocket::encrypted, this, &RedirectProbe::sendRequest);
        sslSocket->connectToHostEncrypted(host, port);
    } else {
        connect(m_socket, &QTcpSocket::connected, this, &RedirectProbe::sendRequest);
        m_socket->connectToHost(host, port);
    }
}

RedirectProbe::~RedirectProbe()
{
    m_socket->disconnect(this);
}

void RedirectProbe::sendRequest()
{
    m_socket->write(m_request);
}

void RedirectProbe::readHead()
{
    while (m_socket->canReadLine()) {
        const QByteArray line = m_socket->readLine();
        m_read += line.size();
        if (m_read > ConnectionLimits::readBuffer || !takeLine(line.trimmed())) {
            finish();
            return;
        }
    }
    if (m_read + m_socket->bytesAvailable() >= ConnectionLimits::readBuffer)
        finish();
}

// Whether more lines follow.
bool RedirectProbe::takeLine(const QByteArray& line)
{
    if (m_status == 0) {
        m_status = statusOf(line);
        return m_status != 0;
    }
    if (!line.isEmpty()) {
        const int colon = line.indexOf(':');
        if (m_location.isEmpty() && line.left(colon).trimmed().toLower() == "location")
            m_location = utf8UpToZero(line.mid(colon + 1).trimmed());
        return true;
    }
    m_complete = m_status >= 200;
    if (m_complete) {
        if (m_location.isNull())
            m_location = QStringLiteral("");
        return false;
    }
    // An interim answer. The one that counts follows.
    m_status = 0;
    m_location.clear();
    return true;
}

void RedirectProbe::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    m_socket->disconnect(this);
    const auto tell = [this] {
        m_socket->abort();
        const bool redirected = m_complete && m_status >= 300 && m_status <= 399;
        Q_EMIT finished(redirected ? m_location : QString());
    };
    QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}
