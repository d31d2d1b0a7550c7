// Authenticated device links, from connect to "OK", against bare TLS WebSocket connects with the low-delay option; and
// the memory that the server's end of an idle link takes.
#include <foundation/core/device_id.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/network/device_connector_device_side.h>
#include <foundation/network/socket_options_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QProcess>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

#include "bench_identity.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/socket.h>

#include <functional>
#include <memory>
#include <vector>

namespace {

void spinUntil(const std::function<bool()>& done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

// Accepts TLS connections; what becomes of them is up to the two kinds below.
class TlsServer : public QTcpServer
{
public:
    TlsServer()
    {
        listen(QHostAddress::LocalHost, 0);
        // Who finds Qt's queue of 50 full would try again after a second.
        ::listen(static_cast<int>(socketDescriptor()), 1024);
    }
    virtual void accept(QSslSocket* socket) = 0;
    int linked = 0;
    QObject links; // parent of the WebSockets that are up

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        setLowDelay(socket);
        socket->setLocalCertificateChain(benchIdentity().chain);
        socket->setPrivateKey(benchIdentity().key);
        connect(socket, &QSslSocket::encrypted, this, [this, socket] { accept(socket); });
        socket->startServerEncryption();
    }
    void keep(QWebSocket* link)
    {
        link->setParent(&links);
        connect(link, &QWebSocket::disconnected, link, &QObject::deleteLater);
        ++linked;
    }
};

class AuthenticatedServer : public TlsServer
{
public:
    AuthenticatedServer()
        : connector(0, true, true, nullptr)
    {
        connect(&connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, this,
                [this](const CDeviceId&, int, const CSystemId&, QWebSocket* link) { keep(link); });
    }
    void accept(QSslSocket* socket) override
    {
        disconnect(socket, nullptr, this, nullptr);
        connector.handleWebSocketRequest(socket, QString());
    }
    CDeviceConnectorAppSide connector;
};

class BareServer : public TlsServer
{
public:
    BareServer()
        : server(QString(), QWebSocketServer::NonSecureMode)
    {
        connect(&server, &QWebSocketServer::newConnection, this, [this] { keep(server.nextPendingConnection()); });
    }
    void accept(QSslSocket* socket) override
    {
        disconnect(socket, nullptr, this, nullptr);
        server.handleConnection(socket);
    }
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
    void call()
    {
        auto* socket = new QWebSocket(QString(), QWebSocketProtocol::Version13, &device);
        setLowDelay(socket);
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
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

template<typename Server>
void links(benchmark::State& state)
{
    Server server;
    Callers callers(server.serverPort(), std::is_same_v<Server, AuthenticatedServer>);
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

// 1,000 links of another process; what this process holds for each.
template<typename Server>
void memory(benchmark::State& state)
{
    constexpr int count = 1000;
    for (auto _ : state) {
        Server server;
        malloc_trim(0);
        const auto before = mallinfo2();
        QProcess callers;
        callers.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--call"), QString::number(server.serverPort()), QString::number(count),
                       QString::number(std::is_same_v<Server, AuthenticatedServer>)});
        spinUntil([&] { return server.linked == count; });
        // Let what the last handshakes left behind go first.
        for (int i = 0; i < 100; ++i)
            QCoreApplication::processEvents();
        const auto after = mallinfo2();
        const auto used = [](const struct mallinfo2& info) { return info.uordblks + info.hblkhd; };
        state.counters["value"] = static_cast<double>(used(after) - used(before)) / count;
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

} // namespace

BENCHMARK_TEMPLATE(links, AuthenticatedServer)
    ->Name("device_links/ours")
    ->Arg(1)
    ->Arg(16)
    ->Arg(64)
    ->Arg(256)
    ->UseRealTime();
BENCHMARK_TEMPLATE(links, BareServer)->Name("device_links/QWebSocket")->Arg(1)->Arg(16)->UseRealTime();
BENCHMARK_TEMPLATE(memory, AuthenticatedServer)->Name("link_memory/ours")->Iterations(1)->Repetitions(1)->UseRealTime();
BENCHMARK_TEMPLATE(memory, BareServer)->Name("link_memory/QWebSocket")->Iterations(1)->Repetitions(1)->UseRealTime();

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("BENCH_VERBOSE"))
        qInstallMessageHandler(ignoreMessages);
    if (app.arguments().value(1) == QLatin1String("--call"))
        return call(app.arguments());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
