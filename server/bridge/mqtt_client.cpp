#include <server/bridge/mqtt_client.h>

#include <server/bridge/mqtt_thread_p.h>
#include <server/bridge/tls_context_p.h>

#include <foundation/core/string_utils.h>

#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtCore/QUrl>
#include <QtNetwork/QHostAddress>

#include <system_error>
#include <thread>

namespace {

constexpr quint16 tlsPort = 8883;
constexpr quint16 plainPort = 1883;
constexpr int longestFault = 200;
constexpr int startAgainMs = 1000;

} // namespace

// --- Settings

bool MqttSettings::setUrl(const QString& text, QString* error)
{
    const QUrl url(text, QUrl::StrictMode);
    const bool isTls = url.scheme() == QLatin1String("mqtts");
    if (!url.isValid() || url.host().isEmpty() || (!isTls && url.scheme() != QLatin1String("mqtt"))) {
        *error = QStringLiteral("\"%1\" is not the URL of a broker, such as mqtts://broker.example.com:8883").arg(text);
        return false;
    }
    if (!url.userInfo().isEmpty()) {
        // Whoever sees the command line would read it; so it is not repeated here either.
        *error = QStringLiteral("user and password do not belong in the broker's URL");
        return false;
    }
    if ((!url.path().isEmpty() && url.path() != QLatin1String("/")) || url.hasQuery() || url.hasFragment()) {
        *error = QStringLiteral("\"%1\": the URL of a broker has a host and a port, nothing else").arg(text);
        return false;
    }
    host = url.host();
    withTls = isTls;
    port = quint16(url.port(isTls ? tlsPort : plainPort));
    if (port == 0) {
        *error = QStringLiteral("\"%1\": a broker cannot have port 0").arg(text);
        return false;
    }
    return true;
}

QString MqttSettings::url() const
{
    const QString name = host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
    return QStringLiteral("%1://%2:%3").arg(withTls ? QLatin1String("mqtts") : QLatin1String("mqtt"), name).arg(port);
}

bool MqttSettings::isLoopback() const
{
    return host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 || QHostAddress(host).isLoopback();
}

bool MqttSettings::check(QString* error) const
{
    if (certificateFile.isEmpty() != keyFile.isEmpty()) {
        *error = QStringLiteral("give a certificate for the broker together with its key");
        return false;
    }
    if (!passwordFile.isEmpty()) {
        QFile file(passwordFile);
        if (user.isEmpty()) {
            *error = QStringLiteral("a password for the broker needs a user name");
            return false;
        }
        if (!file.open(QIODevice::ReadOnly)) {
            *error = QStringLiteral("cannot read \"%1\": %2").arg(passwordFile, file.errorString());
            return false;
        }
    }
    return !withTls || makeTlsContext(*this, error) != nullptr;
}

// --- The client

CMqttClient::CMqttClient(const MqttSettings& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_shared(std::make_shared<Shared>())
{
    m_shared->receiver = this;
}

CMqttClient::~CMqttClient()
{
    m_shared->forgetReceiver();
    m_shared->stop();
    // A thread that still looks up a name goes on by itself; it has nothing of this object.
    if (m_shared->waitForEnd(stopMs + stopMs / 10))
        return;
    qInfo("Broker %s: it does not answer, so the connection ends without a goodbye", qUtf8Printable(m_settings.url()));
}

void CMqttClient::start()
{
    if (m_shared->m_isStarted)
        return;
    if (!m_shared->waker.isValid())
        return startLater(QStringLiteral("no file descriptor is free"));
    try {
        m_shared->m_hasEnded = false;
        std::thread([settings = m_settings, shared = m_shared] { Thread(settings, shared).run(); }).detach();
        m_shared->m_isStarted = true;
    } catch (const std::system_error&) {
        m_shared->m_hasEnded = true;
        startLater(QStringLiteral("no thread can be started"));
    }
}

// When the machine has too little at the moment.
void CMqttClient::startLater(const QString& reason)
{
    QTimer::singleShot(startAgainMs, this, [this] {
        if (m_shared->m_isStarted)
            return;
        m_shared = std::make_shared<Shared>();
        m_shared->receiver = this;
        start();
    });
    setFault(reason);
}

qint64 CMqttClient::dropped() const
{
    return m_shared->dropped();
}

bool CMqttClient::publish(qint64 id, const MqttMessage& message)
{
    if (m_isConnected)
        m_shared->order({id, message, m_connection});
    return m_isConnected;
}

void CMqttClient::setFault(const QString& text)
{
    const QString fault = CStringUtils::printable(text, longestFault);
    if (fault == m_fault)
        return;
    m_fault = fault;
    if (fault.isEmpty())
        return;
    qWarning("Broker %s: %s; trying again", qUtf8Printable(m_settings.url()), qUtf8Printable(fault));
    Q_EMIT failed(fault);
}

void CMqttClient::drain()
{
    const QPointer<CMqttClient> self(this);
    const std::deque<Shared::News> all = m_shared->takeNews();
    for (const Shared::News& news : all) {
        switch (news.kind) {
        case Shared::News::Connected:
            m_isConnected = true;
            m_connection = int(news.id);
            setFault({});
            qInfo("Broker %s: connected as %s", qUtf8Printable(m_settings.url()), qUtf8Printable(m_settings.clientId));
            Q_EMIT connected();
            break;
        case Shared::News::Ended:
            m_isConnected = false;
            Q_EMIT disconnected();
            break;
        case Shared::News::Failed:
            setFault(news.text);
            break;
        case Shared::News::Published:
            Q_EMIT published(news.id, news.text);
            break;
        case Shared::News::Received:
            Q_EMIT received(news.message);
            break;
        }
        if (!self)
            return;
    }
}
