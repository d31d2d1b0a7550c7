#include <server/bridge/mqtt_thread_p.h>

#include <server/bridge/tls_context_p.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QMetaObject>

#include <mosquitto.h>
#include <mqtt_protocol.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr int keepAliveSeconds = 15;
// The library looks after its keep-alive once a second.
constexpr int tickMs = 1000;
constexpr int qos = 1;
constexpr qint64 farewellId = -1;
// A connection that lasted so long is a new beginning for the pauses.
constexpr qint64 lastingMs = 10000;

struct ClientDeleter
{
    void operator()(mosquitto* client) const { mosquitto_destroy(client); }
};

class Properties
{
public:
    Properties() = default;
    ~Properties() { mosquitto_property_free_all(&m_list); }
    Properties(const Properties&) = delete;
    Properties& operator=(const Properties&) = delete;
    mosquitto_property** list() { return &m_list; }
    // The library takes it over.
    mosquitto_property* release() { return std::exchange(m_list, nullptr); }

    void addContent(const MqttMessage& message)
    {
        mosquitto_property_add_byte(&m_list, MQTT_PROP_PAYLOAD_FORMAT_INDICATOR, 1);
        mosquitto_property_add_string(&m_list, MQTT_PROP_CONTENT_TYPE, "application/json");
        for (const auto& [name, value] : message.properties)
            mosquitto_property_add_string_pair(&m_list, MQTT_PROP_USER_PROPERTY, name.constData(), value.constData());
    }

private:
    mosquitto_property* m_list = nullptr;
};

QString errorText(int code)
{
    // The library's own words for it are "The connection was lost." and the like.
    QString text = QString::fromLocal8Bit(code == MOSQ_ERR_ERRNO ? strerror(errno) : mosquitto_strerror(code));
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text;
}

QString reasonText(int reason)
{
    return QString::fromLatin1(mosquitto_reason_string(reason));
}

} // namespace

// --- Between both threads

void CMqttClient::Shared::order(Order order)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_orders.push_back(std::move(order));
    }
    waker.wake();
}

void CMqttClient::Shared::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStopping = true;
    }
    waker.wake();
}

std::deque<CMqttClient::Shared::Order> CMqttClient::Shared::takeOrders()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_orders, {});
}

bool CMqttClient::Shared::isStopping()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_isStopping;
}

void CMqttClient::Shared::tell(News news)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!receiver)
        return;
    if (news.kind == News::Received) {
        const qint64 bytes = news.message.payload.size();
        if (m_waitingMessages >= mostWaiting || m_waitingBytes + bytes > mostWaitingBytes) {
            ++m_dropped;
            return;
        }
        ++m_waitingMessages;
        m_waitingBytes += bytes;
    }
    m_news.push_back(std::move(news));
    if (m_news.size() == 1) {
        auto* client = static_cast<CMqttClient*>(receiver);
        QMetaObject::invokeMethod(
            client, [client] { client->drain(); }, Qt::QueuedConnection);
    }
}

std::deque<CMqttClient::Shared::News> CMqttClient::Shared::takeNews()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waitingMessages = 0;
    m_waitingBytes = 0;
    return std::exchange(m_news, {});
}

void CMqttClient::Shared::forgetReceiver()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    receiver = nullptr;
}

qint64 CMqttClient::Shared::dropped()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_dropped;
}

void CMqttClient::Shared::ended()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hasEnded = true;
    m_end.notify_all();
}

bool CMqttClient::Shared::waitForEnd(int milliseconds)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_end.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_hasEnded; });
}

// --- Connections

void CMqttClient::Thread::pause(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    // It may be woken by orders for the connection that has just ended.
    for (qint64 left = milliseconds; left > 0 && !shared->isStopping(); left = milliseconds - timer.elapsed()) {
        if (BrokerSocket::wait(-1, false, shared->waker, int(left)).woken)
            shared->waker.clear();
    }
}

void CMqttClient::Thread::run()
{
    BrokerSocket::keepSignalsAway();
    static const int initialized = mosquitto_lib_init();
    Q_UNUSED(initialized)
    int pauseMs = settings.firstPauseMs;
    while (!shared->isStopping()) {
        QElapsedTimer timer;
        timer.start();
        isUp = false;
        const QString fault = connectOnce();
        if (isUp)
            shared->tell({Shared::News::Ended});
        if (isUp && timer.elapsed() >= lastingMs)
            pauseMs = settings.firstPauseMs;
        if (shared->isStopping())
            break;
        shared->tell({Shared::News::Failed, 0, fault});
        pause(pauseMs);
        pauseMs = qMin(pauseMs * 2, settings.longestPauseMs);
    }
    shared->ended();
}

QString CMqttClient::Thread::connectOnce()
{
    ++connection;
    numbers.clear();
    refusal.clear();
    hasFarewell = false;
    QString fault;
    SslContext context;
    if (settings.withTls) {
        context = makeTlsContext(settings, &fault);
        if (!context)
            return fault;
    }
    bool isStopped = false;
    do {
        // A message for the connection that has ended, handed over a moment too late, wakes as well.
        isStopped = false;
        shared->takeOrders();
        shared->waker.clear();
        if (shared->isStopping())
            return {};
        fault = QString::fromLocal8Bit(BrokerSocket::probe(settings.host.toStdString(), settings.port, context.get(),
                                                           shared->waker, settings.answerMs, &isStopped)
                                           .c_str());
    } while (isStopped && !shared->isStopping());
    if (isStopped || !fault.isEmpty())
        return fault;
    // A new one for each connection: what another one had queued would be sent twice.
    const std::unique_ptr<mosquitto, ClientDeleter> owner(
        mosquitto_new(settings.clientId.toUtf8().constData(), true, this));
    client = owner.get();
    if (!client)
        return QStringLiteral("\"%1\" is not a valid client name").arg(settings.clientId);
    fault = prepare(context.get());
    if (fault.isEmpty())
        fault = open();
    if (fault.isEmpty())
        fault = serve();
    client = nullptr;
    return refusal.isEmpty() ? fault : refusal;
}

QString CMqttClient::Thread::prepare(void* tlsContext)
{
    mosquitto_int_option(client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
    if (tlsContext) {
        mosquitto_void_option(client, MOSQ_OPT_SSL_CTX, tlsContext);
        mosquitto_int_option(client, MOSQ_OPT_SSL_CTX_WITH_DEFAULTS, 0);
    }
    QByteArray password;
    if (!settings.passwordFile.isEmpty()) {
        QFile file(settings.passwordFile);
        if (!file.open(QIODevice::ReadOnly))
            return QStringLiteral("cannot read \"%1\": %2").arg(settings.passwordFile, file.errorString());
        password = file.readLine();
        while (password.endsWith('\n') || password.endsWith('\r'))
            password.chop(1);
    }
    if (!settings.user.isEmpty())
        mosquitto_username_pw_set(client, settings.user.toUtf8().constData(),
                                  settings.passwordFile.isEmpty() ? nullptr : password.constData());
    if (!settings.will.topic.isEmpty()) {
        Properties properties;
        properties.addContent(settings.will);
        const int code =
            mosquitto_will_set_v5(client, settings.will.topic.toUtf8().constData(), settings.will.payload.size(),
                                  settings.will.payload.constData(), qos, settings.will.isRetained, *properties.list());
        if (code != MOSQ_ERR_SUCCESS)
            return errorText(code);
        properties.release();
    }
    mosquitto_connect_v5_callback_set(client, [](mosquitto*, void* thread, int reason, int, const mosquitto_property*) {
        static_cast<Thread*>(thread)->onConnect(reason);
    });
    mosquitto_disconnect_v5_callback_set(client, [](mosquitto*, void* thread, int reason, const mosquitto_property*) {
        static_cast<Thread*>(thread)->onDisconnect(reason);
    });
    mosquitto_subscribe_v5_callback_set(
        client, [](mosquitto*, void* thread, int, int count, const int* granted, const mosquitto_property*) {
            static_cast<Thread*>(thread)->onSubscribe(count, granted);
        });
    mosquitto_publish_v5_callback_set(client,
                                      [](mosquitto*, void* thread, int number, int reason, const mosquitto_property*) {
                                          static_cast<Thread*>(thread)->onPublish(number, reason);
                                      });
    mosquitto_message_v5_callback_set(
        client, [](mosquitto*, void* thread, const mosquitto_message* message, const mosquitto_property*) {
            static_cast<Thread*>(thread)->onMessage(message->topic, message->payload, message->payloadlen);
        });
    return {};
}

QString CMqttClient::Thread::open()
{
    Properties properties;
    mosquitto_property_add_int32(properties.list(), MQTT_PROP_MAXIMUM_PACKET_SIZE, longestMessage);
    const int code = mosquitto_connect_bind_v5(client, settings.host.toUtf8().constData(), settings.port,
                                               keepAliveSeconds, nullptr, *properties.list());
    return code == MOSQ_ERR_SUCCESS ? QString() : errorText(code);
}

QString CMqttClient::Thread::serve()
{
    QElapsedTimer waiting;
    waiting.start();
    for (;;) {
        const int socket = mosquitto_socket(client);
        if (socket < 0)
            return QStringLiteral("the connection was ended");
        // Until it is up, a broker that says nothing is given up; so is one that does not answer the farewell.
        const int limit = shared->isStopping() ? stopMs : settings.answerMs;
        const bool isWaiting = !isUp || shared->isStopping();
        if (isWaiting && waiting.elapsed() >= limit)
            return QStringLiteral("the broker does not answer");
        const int longest = isWaiting ? qMin(tickMs, int(limit - waiting.elapsed())) : tickMs;
        const BrokerSocket::Ready ready =
            BrokerSocket::wait(socket, mosquitto_want_write(client), shared->waker, longest);
        int code = MOSQ_ERR_SUCCESS;
        if (ready.read) {
            // What TLS has read already the system does not tell of.
            do {
                code = mosquitto_loop_read(client, 1);
            } while (code == MOSQ_ERR_SUCCESS && mosquitto_socket(client) >= 0 && mosquitto_ssl_get(client)
                     && SSL_pending(static_cast<SSL*>(mosquitto_ssl_get(client))) > 0);
        }
        if (code == MOSQ_ERR_SUCCESS && ready.write)
            code = mosquitto_loop_write(client, 1);
        if (code == MOSQ_ERR_SUCCESS)
            code = mosquitto_loop_misc(client);
        if (code == MOSQ_ERR_SUCCESS && !refusal.isEmpty())
            return refusal;
        if (code != MOSQ_ERR_SUCCESS)
            return errorText(code);
        if (ready.woken)
            shared->waker.clear();
        const std::deque<Shared::Order> orders = shared->takeOrders();
        for (const Shared::Order& order : orders) {
            // Handed over before the end of an earlier connection was known: it would overtake what is sent again.
            if (order.connection != connection)
                continue;
            QString fault = publish(order);
            if (!fault.isEmpty())
                return fault;
        }
        if (!shared->isStopping())
            continue;
        if (!isUp)
            return {};
        if (!hasFarewell) {
            hasFarewell = true;
            waiting.restart();
            if (settings.farewell.topic.isEmpty() || !publish({farewellId, settings.farewell, connection}).isEmpty())
                numbers.clear();
        }
        if (numbers.isEmpty()) {
            mosquitto_disconnect_v5(client, 0, nullptr);
            return {};
        }
    }
}

QString CMqttClient::Thread::publish(const Shared::Order& order)
{
    const MqttMessage& message = order.message;
    Properties properties;
    properties.addContent(message);
    int number = 0;
    const int code = mosquitto_publish_v5(client, &number, message.topic.toUtf8().constData(), message.payload.size(),
                                          message.payload.constData(), qos, message.isRetained, *properties.list());
    if (code != MOSQ_ERR_SUCCESS)
        return errorText(code);
    numbers.insert(number, order.id);
    return {};
}

// --- What the library calls back

void CMqttClient::Thread::onConnect(int reason)
{
    if (reason != 0) {
        refusal = QStringLiteral("the broker refuses the log-in: ") + reasonText(reason);
        return;
    }
    if (settings.topics.isEmpty()) {
        isUp = true;
        shared->tell({Shared::News::Connected, connection});
        return;
    }
    QList<QByteArray> topics;
    for (const QString& topic : settings.topics)
        topics.append(topic.toUtf8());
    std::vector<char*> pointers;
    for (QByteArray& topic : topics)
        pointers.push_back(topic.data());
    const int code = mosquitto_subscribe_multiple(client, nullptr, int(pointers.size()), pointers.data(), qos,
                                                  MQTT_SUB_OPT_NO_LOCAL, nullptr);
    if (code != MOSQ_ERR_SUCCESS)
        refusal = errorText(code);
}

void CMqttClient::Thread::onSubscribe(int count, const int* granted)
{
    constexpr int firstRefusal = 0x80;
    for (int i = 0; i < count && i < settings.topics.size(); ++i) {
        if (granted[i] >= firstRefusal) {
            refusal = QStringLiteral("the broker refuses the subscription to %1: %2")
                          .arg(settings.topics.at(i), reasonText(granted[i]));
            return;
        }
    }
    isUp = true;
    shared->tell({Shared::News::Connected, connection});
}

void CMqttClient::Thread::onDisconnect(int reason)
{
    // From a broker that says why. Below come the library's own codes, which its functions return as well.
    constexpr int firstRefusal = 0x80;
    if (reason == MQTT_RC_SESSION_TAKEN_OVER)
        refusal = QStringLiteral("another client has logged in as %1").arg(settings.clientId);
    else if (reason >= firstRefusal)
        refusal = QStringLiteral("the broker ends the connection: ") + reasonText(reason);
}

void CMqttClient::Thread::onPublish(int number, int reason)
{
    constexpr int firstRefusal = 0x80;
    if (!numbers.contains(number))
        return;
    const qint64 id = numbers.take(number);
    if (id != farewellId)
        shared->tell({Shared::News::Published, id, reason >= firstRefusal ? reasonText(reason) : QString()});
}

void CMqttClient::Thread::onMessage(const char* topic, const void* payload, int size)
{
    if (size > longestMessage)
        return;
    Shared::News news{Shared::News::Received};
    news.message.topic = QString::fromUtf8(topic);
    news.message.payload = QByteArray(static_cast<const char*>(payload), size);
    shared->tell(std::move(news));
}
