// Discovery and the transports on loopback, against the bare Qt sockets they stand on (with the low-delay option).
#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/network/device_discovery_app_side.h>
#include <foundation/network/device_discovery_device_side.h>
#include <foundation/network/socket_options_p.h>
#include <foundation/network/ssl_connection.h>
#include <foundation/network/tcp_connection.h>
#include <foundation/network/web_socket_connection.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslSocket>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QUdpSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

#include "bench_identity.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>

namespace {

void spinUntil(const std::function<bool()>& done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

// ---- discovery -------------------------------------------------------------------------------------------------

void discoveryOurs(benchmark::State& state)
{
    QUdpSocket probe;
    probe.bind(QHostAddress(QHostAddress::LocalHost), 0);
    const quint16 port = probe.localPort();
    probe.close();
    CDeviceDiscoveryDeviceSide device(port, nullptr);
    device.setDeviceType(41);
    device.setDeviceId(12345);
    CDeviceDiscoveryAppSide app(0, nullptr);
    int answers = 0;
    QObject::connect(&app, &CDeviceDiscoveryAppSide::deviceInfoReceived, &app, [&] { ++answers; });
    for (auto _ : state) {
        const int before = answers;
        app.sendGetDeviceInfoUdp(QHostAddress(QHostAddress::LocalHost), port);
        spinUntil([&] { return answers > before; });
    }
}

void discoveryPeer(benchmark::State& state)
{
    QUdpSocket device;
    QUdpSocket app;
    device.bind(QHostAddress(QHostAddress::LocalHost), 0);
    app.bind(QHostAddress(QHostAddress::LocalHost), 0);
    const QByteArray query = CDeviceDiscoveryAppSide(0, nullptr).renderGetDeviceInfo();
    const QByteArray answer = CDeviceDiscoveryDeviceSide(0, nullptr).renderDeviceInfoResult();
    int answers = 0;
    QByteArray buffer(512, Qt::Uninitialized);
    QObject::connect(&device, &QUdpSocket::readyRead, &device, [&] {
        while (device.hasPendingDatagrams()) {
            QHostAddress sender;
            quint16 senderPort = 0;
            device.readDatagram(buffer.data(), buffer.size(), &sender, &senderPort);
            device.writeDatagram(answer, sender, senderPort);
        }
    });
    QObject::connect(&app, &QUdpSocket::readyRead, &app, [&] {
        while (app.hasPendingDatagrams()) {
            QHostAddress sender;
            quint16 senderPort = 0;
            app.readDatagram(buffer.data(), buffer.size(), &sender, &senderPort);
            ++answers;
        }
    });
    for (auto _ : state) {
        const int before = answers;
        app.writeDatagram(query, QHostAddress(QHostAddress::LocalHost), device.localPort());
        spinUntil([&] { return answers > before; });
    }
}

// ---- streams ---------------------------------------------------------------------------------------------------

class Server : public QTcpServer
{
public:
    explicit Server(bool tls)
        : tls(tls)
    {
        listen(QHostAddress::LocalHost, 0);
    }
    std::unique_ptr<QTcpSocket> accepted;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = tls ? new QSslSocket : new QTcpSocket;
        socket->setSocketDescriptor(descriptor);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        if (auto* secure = qobject_cast<QSslSocket*>(socket)) {
            secure->setLocalCertificateChain(benchIdentity().chain);
            secure->setPrivateKey(benchIdentity().key);
            secure->startServerEncryption();
        }
        accepted.reset(socket);
    }

private:
    bool tls;
};

struct StreamPair
{
    explicit StreamPair(bool tls)
        : server(tls)
    {
        if (tls) {
            auto* secure = new QSslSocket;
            client.reset(secure);
            secure->setPeerVerifyMode(QSslSocket::VerifyNone);
            secure->connectToHostEncrypted(QStringLiteral("127.0.0.1"), server.serverPort());
            spinUntil([&] { return secure->isEncrypted() && server.accepted; });
        } else {
            client = std::make_unique<QTcpSocket>();
            client->connectToHost(QStringLiteral("127.0.0.1"), server.serverPort());
            spinUntil([&] { return client->state() == QAbstractSocket::ConnectedState && server.accepted; });
        }
        client->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    }
    Server server;
    std::unique_ptr<QTcpSocket> client;
};

constexpr int chunkSize = 64 * 1024;
constexpr qint64 mostUnderWay = 16 * chunkSize;

template<typename Connection>
void streamOurs(benchmark::State& state)
{
    StreamPair pair(std::is_same_v<Connection, CSslConnection>);
    Connection sender(pair.client.get(), nullptr);
    Connection receiver(pair.server.accepted.get(), nullptr);
    sender.updateConnectionState();
    receiver.updateConnectionState();
    const QByteArray chunk(chunkSize, 'd');
    const qint64 total = state.range(0) * 1024 * 1024;
    for (auto _ : state) {
        qint64 sent = 0;
        qint64 transmitted = 0;
        qint64 received = 0;
        const auto feed = [&] {
            for (; sent < total && sent - transmitted < mostUnderWay; sent += chunkSize)
                sender.sendData(chunk);
        };
        const auto onTransmitted =
            QObject::connect(&sender, &CMessageTransfer::dataTransmitted, &sender, [&](const QByteArray& data) {
                transmitted += data.size();
                feed();
            });
        const auto onReceived = QObject::connect(&receiver, &CMessageTransfer::dataReceived, &receiver,
                                                 [&](const QByteArray& data) { received += data.size(); });
        feed();
        spinUntil([&] { return received == total; });
        QObject::disconnect(onTransmitted);
        QObject::disconnect(onReceived);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * total);
}

void streamPeer(benchmark::State& state, bool tls)
{
    StreamPair pair(tls);
    QTcpSocket* sender = pair.client.get();
    QTcpSocket* receiver = pair.server.accepted.get();
    const QByteArray chunk(chunkSize, 'd');
    const qint64 total = state.range(0) * 1024 * 1024;
    for (auto _ : state) {
        qint64 sent = 0;
        qint64 transmitted = 0;
        qint64 received = 0;
        const auto feed = [&] {
            for (; sent < total && sent - transmitted < mostUnderWay; sent += chunkSize)
                sender->write(chunk);
        };
        const auto onWritten = QObject::connect(sender, &QIODevice::bytesWritten, sender, [&](qint64 bytes) {
            transmitted += bytes;
            feed();
        });
        const auto onRead = QObject::connect(receiver, &QIODevice::readyRead, receiver,
                                             [&] { received += receiver->readAll().size(); });
        feed();
        spinUntil([&] { return received == total; });
        QObject::disconnect(onWritten);
        QObject::disconnect(onRead);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * total);
}

// ---- WebSocket messages ------------------------------------------------------------------------------------------

// Both ends with low delay, which of an accepted WebSocket only its TCP socket can be told.
struct WebSocketPair
{
    WebSocketPair()
        : upgrader(QString(), QWebSocketServer::NonSecureMode)
    {
        listener.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&listener, &QTcpServer::newConnection, &listener, [this] {
            QTcpSocket* socket = listener.nextPendingConnection();
            setLowDelay(socket);
            upgrader.handleConnection(socket);
        });
        client.open(QUrl(QStringLiteral("ws://127.0.0.1:%1").arg(listener.serverPort())));
        setLowDelay(&client);
        spinUntil(
            [&] { return upgrader.hasPendingConnections() && client.state() == QAbstractSocket::ConnectedState; });
        accepted.reset(upgrader.nextPendingConnection());
    }
    QTcpServer listener;
    QWebSocketServer upgrader;
    QWebSocket client;
    std::unique_ptr<QWebSocket> accepted;
};

const QByteArray message(100, 'm');

void oneWayOurs(benchmark::State& state)
{
    WebSocketPair pair;
    CWebSocketConnection sender(&pair.client, nullptr);
    CWebSocketConnection receiver(pair.accepted.get(), nullptr);
    sender.updateConnectionState();
    receiver.updateConnectionState();
    const auto messagesAtOnce = static_cast<int>(state.range(0));
    int received = 0;
    QObject::connect(&receiver, &CMessageTransfer::dataReceived, &receiver, [&] { ++received; });
    for (auto _ : state) {
        received = 0;
        for (int i = 0; i < messagesAtOnce; ++i)
            sender.sendData(message);
        spinUntil([&] { return received == messagesAtOnce; });
    }
}

void oneWayPeer(benchmark::State& state)
{
    WebSocketPair pair;
    const auto messagesAtOnce = static_cast<int>(state.range(0));
    int received = 0;
    QObject::connect(pair.accepted.get(), &QWebSocket::binaryMessageReceived, &pair.listener, [&] { ++received; });
    for (auto _ : state) {
        received = 0;
        for (int i = 0; i < messagesAtOnce; ++i)
            pair.client.sendBinaryMessage(message);
        spinUntil([&] { return received == messagesAtOnce; });
    }
}

void roundTripOurs(benchmark::State& state)
{
    WebSocketPair pair;
    CWebSocketConnection client(&pair.client, nullptr);
    CWebSocketConnection server(pair.accepted.get(), nullptr);
    client.updateConnectionState();
    server.updateConnectionState();
    int received = 0;
    QObject::connect(&server, &CMessageTransfer::dataReceived, &server,
                     [&](const QByteArray& data) { server.sendData(data); });
    QObject::connect(&client, &CMessageTransfer::dataReceived, &client, [&] { ++received; });
    for (auto _ : state) {
        const int before = received;
        client.sendData(message);
        spinUntil([&] { return received > before; });
    }
}

void roundTripPeer(benchmark::State& state)
{
    WebSocketPair pair;
    int received = 0;
    QObject::connect(pair.accepted.get(), &QWebSocket::binaryMessageReceived, &pair.listener,
                     [&](const QByteArray& data) { pair.accepted->sendBinaryMessage(data); });
    QObject::connect(&pair.client, &QWebSocket::binaryMessageReceived, &pair.listener, [&] { ++received; });
    for (auto _ : state) {
        const int before = received;
        pair.client.sendBinaryMessage(message);
        spinUntil([&] { return received > before; });
    }
}

// In MB.
void streamSize(benchmark::internal::Benchmark* bench)
{
    bench->Arg(1024)->UseRealTime()->Unit(benchmark::kMillisecond);
}

void streamSizes(benchmark::internal::Benchmark* bench)
{
    bench->Arg(64)->Arg(256)->Apply(streamSize);
}

void ignoreMessages(QtMsgType, const QMessageLogContext&, const QString&) {}

} // namespace

BENCHMARK(discoveryOurs)->Name("discovery/ours")->UseRealTime();
BENCHMARK(discoveryPeer)->Name("discovery/QUdpSocket")->UseRealTime();
BENCHMARK_TEMPLATE(streamOurs, CTcpConnection)->Name("tcp_throughput/ours")->Apply(streamSizes);
BENCHMARK_CAPTURE(streamPeer, tcp, false)->Name("tcp_throughput/QTcpSocket")->Apply(streamSize);
BENCHMARK_TEMPLATE(streamOurs, CSslConnection)->Name("tls_throughput/ours")->Apply(streamSizes);
BENCHMARK_CAPTURE(streamPeer, tls, true)->Name("tls_throughput/QSslSocket")->Apply(streamSize);
BENCHMARK(oneWayOurs)->Name("websocket_one_way/ours")->Arg(2500)->Arg(10000)->Arg(40000)->UseRealTime();
BENCHMARK(oneWayPeer)->Name("websocket_one_way/QWebSocket")->Arg(10000)->UseRealTime();
BENCHMARK(roundTripOurs)->Name("websocket_round_trip/ours")->UseRealTime();
BENCHMARK(roundTripPeer)->Name("websocket_round_trip/QWebSocket")->UseRealTime();

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    // The library logs each query; both sides are measured without the cost of a terminal.
    qInstallMessageHandler(ignoreMessages);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
