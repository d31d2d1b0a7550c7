// Messages through a real broker: from a publisher with 20 on the way until each subscriber has each of them, ours
// against libmosquitto's own loop. The argument is the number of subscribers; they and the broker are the same for
// both.
#include <server/bridge/mqtt_client.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

#include <benchmark/benchmark.h>
#include <mosquitto.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace {

constexpr int messages = 1000;
constexpr int window = 20;
const QString topic = QStringLiteral("bench/notify");
const QByteArray payload(200, 'x');

// Debian's broker on a port that is free, with TLS or without.
class Broker
{
public:
    explicit Broker(bool withTls)
        : m_withTls(withTls)
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost);
        m_port = probe.serverPort();
        probe.close();
        QString text =
            QStringLiteral("listener %1 127.0.0.1\nallow_anonymous true\nmax_queued_messages 100000\n").arg(m_port);
        if (withTls) {
            QProcess::execute(QStringLiteral(KYR_SCRIPTS_DIR "/device-certificate"),
                              {QStringLiteral("broker"), m_folder.path(), QStringLiteral(KYR_BUILD_DIR "/dev-ca"),
                               QStringLiteral("--name"), QStringLiteral("IP:127.0.0.1")});
            text +=
                QStringLiteral("cafile %1\ncertfile %2/broker.pem\nkeyfile %2/broker.key\n").arg(ca(), m_folder.path());
            QFile::setPermissions(m_folder.filePath(QStringLiteral("broker.key")),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
        }
        QFile::setPermissions(m_folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther
                                                   | QFile::ExeOther);
        QFile file(m_folder.filePath(QStringLiteral("mosquitto.conf")));
        file.open(QIODevice::WriteOnly);
        file.write(text.toUtf8());
        file.close();
        const QString program = QStandardPaths::findExecutable(
            QStringLiteral("mosquitto"), {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin")});
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(program, {QStringLiteral("-c"), file.fileName()});
        for (int attempt = 0; attempt < 100; ++attempt) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
            if (socket.waitForConnected(100))
                return;
            QThread::msleep(20);
        }
        throw std::runtime_error("the broker does not start");
    }
    ~Broker()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    static QString ca() { return QStringLiteral(KYR_BUILD_DIR "/dev-ca/ca-chain.pem"); }
    quint16 port() const { return m_port; }
    bool withTls() const { return m_withTls; }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    bool m_withTls;
    quint16 m_port = 0;
};

// A client of the library, with its own loop on a thread of its own.
class Client
{
public:
    Client(const Broker& broker, bool subscribes, std::atomic<int>* count)
        : m_client(mosquitto_new(nullptr, true, this))
        , m_count(count)
        , m_subscribes(subscribes)
    {
        mosquitto_int_option(m_client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
        mosquitto_int_option(m_client, MOSQ_OPT_TCP_NODELAY, 1);
        mosquitto_max_inflight_messages_set(m_client, window);
        if (broker.withTls())
            mosquitto_tls_set(m_client, Broker::ca().toUtf8().constData(), nullptr, nullptr, nullptr, nullptr);
        mosquitto_connect_v5_callback_set(m_client,
                                          [](mosquitto* client, void* self, int, int, const mosquitto_property*) {
                                              auto* own = static_cast<Client*>(self);
                                              if (own->m_subscribes)
                                                  mosquitto_subscribe(client, nullptr, topic.toUtf8().constData(), 1);
                                              else
                                                  own->m_ready = true;
                                          });
        mosquitto_subscribe_callback_set(
            m_client, [](mosquitto*, void* self, int, int, const int*) { static_cast<Client*>(self)->m_ready = true; });
        mosquitto_message_callback_set(
            m_client, [](mosquitto*, void* self, const mosquitto_message*) { ++*static_cast<Client*>(self)->m_count; });
        mosquitto_publish_callback_set(m_client,
                                       [](mosquitto*, void* self, int) { ++*static_cast<Client*>(self)->m_count; });
        mosquitto_connect(m_client, "127.0.0.1", broker.port(), 60);
        mosquitto_loop_start(m_client);
        while (!m_ready)
            QThread::usleep(200);
    }
    ~Client()
    {
        mosquitto_disconnect(m_client);
        mosquitto_loop_stop(m_client, false);
        mosquitto_destroy(m_client);
    }
    Q_DISABLE_COPY(Client)
    void publish()
    {
        mosquitto_publish(m_client, nullptr, topic.toUtf8().constData(), payload.size(), payload.constData(), 1, false);
    }

private:
    mosquitto* m_client;
    std::atomic<int>* m_count;
    std::atomic<bool> m_ready{false};
    bool m_subscribes;
};

struct Scene
{
    Scene(bool withTls, int count)
        : broker(withTls)
    {
        for (int i = 0; i < count; ++i)
            subscribers.push_back(std::make_unique<Client>(broker, true, &delivered));
    }
    Broker broker;
    std::atomic<int> delivered{0};
    std::vector<std::unique_ptr<Client>> subscribers;
};

void ours(benchmark::State& state, bool withTls)
{
    Scene scene(withTls, int(state.range(0)));
    MqttSettings settings;
    settings.host = QStringLiteral("127.0.0.1");
    settings.port = scene.broker.port();
    settings.withTls = withTls;
    settings.caFile = Broker::ca();
    settings.clientId = QStringLiteral("bench");
    CMqttClient client(settings);
    QEventLoop loop;
    QObject::connect(&client, &CMqttClient::connected, &loop, &QEventLoop::quit);
    client.start();
    loop.exec();
    int sent = 0;
    int acknowledged = 0;
    const auto send = [&] { client.publish(++sent, {topic, payload}); };
    QObject::connect(&client, &CMqttClient::published, &client, [&](qint64, const QString&) {
        if (++acknowledged == messages)
            loop.quit();
        else if (sent < messages)
            send();
    });
    for (auto _ : state) {
        scene.delivered = 0;
        sent = acknowledged = 0;
        while (sent < window)
            send();
        loop.exec();
        while (scene.delivered < messages * state.range(0))
            QThread::usleep(50);
    }
    state.SetItemsProcessed(state.iterations() * messages * state.range(0));
}

void peer(benchmark::State& state, bool withTls)
{
    Scene scene(withTls, int(state.range(0)));
    std::atomic<int> acknowledged{0};
    Client publisher(scene.broker, false, &acknowledged);
    for (auto _ : state) {
        scene.delivered = 0;
        acknowledged = 0;
        // The library keeps the rest of them back by itself.
        for (int i = 0; i < messages; ++i)
            publisher.publish();
        while (acknowledged < messages || scene.delivered < messages * state.range(0))
            QThread::usleep(50);
    }
    state.SetItemsProcessed(state.iterations() * messages * state.range(0));
}

} // namespace

BENCHMARK_CAPTURE(ours, plain, false)
    ->Name("mqtt/ours")
    ->Arg(1)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(peer, plain, false)
    ->Name("mqtt/libmosquitto")
    ->Arg(1)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ours, tls, true)
    ->Name("mqtt_tls/ours")
    ->Arg(1)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(peer, tls, true)
    ->Name("mqtt_tls/libmosquitto")
    ->Arg(1)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    mosquitto_lib_init();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    mosquitto_lib_cleanup();
    return 0;
}
