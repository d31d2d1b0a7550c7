// Authenticated device links, from connect to "OK", against bare TLS WebSocket connects with the low-delay option; and
// the memory that the server's end of an idle link takes.
#include <foundation/core/device_id.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/device_connector_device_side.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/tls_door.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTimer>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

#include "bench_identity.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <vector>

namespace {

void spinUntil(const std::function<bool()>& done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

// The links that are up at a server.
class Server
{
public:
    virtual ~Server() = default;
    void keep(QWebSocket* link)
    {
        link->setParent(&links);
        QObject::connect(link, &QWebSocket::disconnected, link, &QObject::deleteLater);
        ++linked;
    }

    int linked = 0;
    int turnedAway = 0;
    QObject links; // parent of the WebSockets that are up
};

// As the console does it.
class AuthenticatedServer : public Server
{
public:
    explicit AuthenticatedServer(const DeviceCertificate& own = benchIdentity())
        : connector(0, true, true, nullptr)
    {
        QString error;
        if (!door.setCertificate(own.certificateFile, own.keyFile, error) || !door.open(0))
            qFatal("%s", qPrintable(error + door.errorString()));
        QObject::connect(&door, &CTlsDoor::webSocketRequested, &connector, [this](QSslSocket* socket) {
            socket->setParent(&connector);
            connector.handleWebSocketRequest(socket, CTlsDoor::peerText(socket));
        });
        QObject::connect(&connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, &connector,
                         [this](const CDeviceId&, int, const CSystemId&, QWebSocket* link) { keep(link); });
        QObject::connect(&door, &CTlsDoor::dropped, &connector,
                         [this](const QString&, const QString& reason) { turnAway(reason); });
        QObject::connect(&connector, &CDeviceConnectorAppSide::webSocketConnectionRefused, &connector,
                         [this](const CDeviceId&, const QString&, const QString& reason) { turnAway(reason); });
    }
    quint16 serverPort() const { return door.serverPort(); }

private:
    void turnAway(const QString& reason)
    {
        ++turnedAway;
        qInfo("turned away: %s", qPrintable(reason));
    }

    CTlsDoor door;
    CDeviceConnectorAppSide connector;
};

class BareServer : public QTcpServer, public Server
{
public:
    BareServer()
        : server(QString(), QWebSocketServer::NonSecureMode)
    {
        listen(QHostAddress::LocalHost, 0);
        // Who finds Qt's queue of 50 full would try again after a second.
        ::listen(static_cast<int>(socketDescriptor()), 1024);
        connect(&server, &QWebSocketServer::newConnection, this, [this] { keep(server.nextPendingConnection()); });
    }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        setLowDelay(socket);
        socket->setLocalCertificateChain(benchIdentity().chain);
        socket->setPrivateKey(benchIdentity().key);
        connect(socket, &QSslSocket::encrypted, this, [this, socket] {
            disconnect(socket, nullptr, this, nullptr);
            server.handleConnection(socket);
        });
        socket->startServerEncryption();
    }

private:
    QWebSocketServer server;
};

// The calling ends. With a challenge, a link is up when the application has said "OK"; else when the WebSocket is.
class Callers
{
public:
    Callers(quint16 port, bool challenge)
        : port(port)
        , challenge(challenge)
        , device(0, true, nullptr, nullptr)
    {
        QSslConfiguration::setDefaultConfiguration(benchIdentity().configuration());
        device.setDeviceId(12345);
        device.setDeviceType(41);
        QObject::connect(&device, &CDeviceConnectorDeviceSide::newWebSocketConnectionToApplication, &device,
                         [this](QWebSocket* socket) {
                             socket->setParent(&taken);
                             ++up;
                         });
    }
    void call(bool again = false)
    {
        auto* socket = new QWebSocket(QString(), QWebSocketProtocol::Version13, &device);
        setLowDelay(socket);
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
        configuration.setCaCertificates({}); // else the system's are read for each socket
        socket->setSslConfiguration(configuration);
        if (challenge) {
            const auto first = std::make_shared<QMetaObject::Connection>();
            *first = QObject::connect(socket, &QWebSocket::binaryMessageReceived, &device,
                                      [this, socket, first](const QByteArray& request) {
                                          QObject::disconnect(*first);
                                          device.onNewOutgoingWebSocketConnection(socket, request, QString());
                                      });
        } else {
            QObject::connect(socket, &QWebSocket::connected, &device, [this, socket] {
                socket->setParent(&taken);
                ++up;
            });
        }
        if (again)
            QObject::connect(socket, &QWebSocket::disconnected, &device, [this, socket] {
                if (socket->parent() == &taken)
                    return;
                socket->deleteLater();
                QTimer::singleShot(1000, &device, [this] { call(true); });
            });
        socket->open(QUrl(QStringLiteral("wss://127.0.0.1:%1/gw/000.123.457/41").arg(port)));
    }
    void hangUp()
    {
        const QObjectList sockets = taken.children();
        for (QObject* socket : sockets) {
            static_cast<QWebSocket*>(socket)->abort();
            delete socket;
        }
    }

    quint16 port;
    bool challenge;
    CDeviceConnectorDeviceSide device;
    QObject taken;
    int up = 0;
};

template<typename Kind>
void links(benchmark::State& state)
{
    Kind server;
    Callers callers(server.serverPort(), std::is_same_v<Kind, AuthenticatedServer>);
    const int atOnce = static_cast<int>(state.range(0));
    for (auto _ : state) {
        const int before = callers.up;
        const int linkedBefore = server.linked;
        for (int i = 0; i < atOnce; ++i)
            callers.call();
        spinUntil([&] { return callers.up == before + atOnce && server.linked == linkedBefore + atOnce; });
        state.PauseTiming();
        callers.hangUp();
        spinUntil([&] { return server.links.children().isEmpty(); });
        state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * atOnce);
}

// What of this process is in memory, in bytes.
double resident()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    return file.open(QIODevice::ReadOnly)
               ? file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE))
               : 0;
}

// 1,000 links of another process; what this process holds for each, and how much of that it has ever touched.
template<typename Kind>
void memory(benchmark::State& state)
{
    constexpr int count = 1000;
    for (auto _ : state) {
        Kind server;
        malloc_trim(0);
        const auto before = mallinfo2();
        const double residentBefore = resident();
        QProcess callers;
        callers.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--call"), QString::number(server.serverPort()), QString::number(count),
                       QString::number(std::is_same_v<Kind, AuthenticatedServer>)});
        spinUntil([&] { return server.linked == count; });
        // Let what the last handshakes left behind go first: an idle link is one that rests for a while.
        bool isAtRest = false;
        QTimer::singleShot(2000, [&isAtRest] { isAtRest = true; });
        spinUntil([&isAtRest] { return isAtRest; });
        const auto after = mallinfo2();
        const auto used = [](const struct mallinfo2& info) { return info.uordblks + info.hblkhd; };
        state.counters["value"] = static_cast<double>(used(after) - used(before)) / count;
        state.counters["resident"] = (resident() - residentBefore) / count;
        callers.kill();
        callers.waitForFinished();
        spinUntil([&] { return server.links.children().isEmpty(); });
    }
}

// A whole installation comes back in one instant, after a power failure: what it costs the server, and who waits.
void comeBack(benchmark::State& state, const char* key)
{
    constexpr int count = 2000;
    for (auto _ : state) {
        DeviceCertificates authority;
        const QStringList options = qstrcmp(key, "P-256") == 0 ? QStringList{QStringLiteral("--ec")} : QStringList();
        AuthenticatedServer server(authority.issue(QStringLiteral("000.123.457"), options));
        const auto begin = std::clock();
        QProcess callers;
        callers.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        callers.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--come-back"), QString::number(server.serverPort()), QString::number(count)});
        spinUntil([&] { return server.linked >= count; });
        const double seconds = double(std::clock() - begin) / CLOCKS_PER_SEC;
        spinUntil([&] { return callers.bytesAvailable() > 0; });
        state.counters["links_per_cpu_second"] = server.linked / seconds;
        state.counters["turned_away"] = server.turnedAway;
        state.counters["longest_wait_s"] = callers.readAllStandardOutput().trimmed().toDouble();
        callers.kill();
        callers.waitForFinished();
        spinUntil([&] { return server.links.children().isEmpty(); });
    }
}

void ignoreMessages(QtMsgType, const QMessageLogContext&, const QString&) {}

int call(const QStringList& arguments)
{
    Callers callers(arguments[2].toUShort(), arguments[4] == QLatin1String("1"));
    const int count = arguments[3].toInt();
    for (int i = 0; i < count; ++i) {
        callers.call();
        // A few under way at a time.
        spinUntil([&] { return callers.up > i - 16; });
    }
    return QCoreApplication::exec();
}

// All at once. Who is turned away calls again after a second.
int comeBack(const QStringList& arguments)
{
    Callers callers(arguments[2].toUShort(), true);
    const int count = arguments[3].toInt();
    QElapsedTimer waited;
    waited.start();
    for (int i = 0; i < count; ++i)
        callers.call(true);
    spinUntil([&] { return callers.up >= count; });
    std::printf("%.3f\n", double(waited.elapsed()) / 1000);
    std::fflush(stdout);
    return QCoreApplication::exec();
}

} // namespace

BENCHMARK_TEMPLATE(links, AuthenticatedServer)
    ->Name("device_links/ours")
    ->Arg(1)
    ->Arg(16)
    ->Arg(64)
    ->Arg(256)
    ->UseRealTime();
BENCHMARK_TEMPLATE(links, BareServer)->Name("device_links/QWebSocket")->Arg(1)->Arg(16)->UseRealTime();
BENCHMARK_CAPTURE(comeBack, RSA, "RSA")->Name("come_back/RSA")->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(comeBack, EC, "P-256")->Name("come_back/P-256")->Iterations(1)->UseRealTime();
BENCHMARK_TEMPLATE(memory, AuthenticatedServer)->Name("link_memory/ours")->Iterations(1)->Repetitions(1)->UseRealTime();
BENCHMARK_TEMPLATE(memory, BareServer)->Name("link_memory/QWebSocket")->Iterations(1)->Repetitions(1)->UseRealTime();

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("BENCH_VERBOSE"))
        qInstallMessageHandler(ignoreMessages);
    // Each link is a descriptor.
    struct rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    if (app.arguments().value(1) == QLatin1String("--call"))
        return call(app.arguments());
    if (app.arguments().value(1) == QLatin1String("--come-back"))
        return comeBack(app.arguments());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
