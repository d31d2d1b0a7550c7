#include <support/transport_link.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QTimer>
#include <QtTest/QSignalSpy>

#include <cstring>
#include <functional>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

Q_DECLARE_METATYPE(TransportLink::Kind)

namespace {

// Bytes of a known stream: each follows from its position.
const QByteArray& pattern()
{
    static const QByteArray bytes = [] {
        QByteArray period(65521, Qt::Uninitialized);
        for (int i = 0; i < period.size(); ++i)
            period[i] = static_cast<char>(i * 31 ^ i >> 8);
        return period.repeated(3);
    }();
    return bytes;
}

QByteArray patternAt(qint64 position, int size)
{
    return QByteArray(pattern().constData() + position % 65521, size);
}

// Checks that what passes is the known stream, in order, each byte once.
struct StreamCheck
{
    qint64 position = 0;
    int pieces = 0;
    bool right = true;

    void add(const QByteArray& data)
    {
        ++pieces;
        for (int at = 0; at < data.size(); at += 65521) {
            const int size = qMin(65521, data.size() - at);
            right =
                right && std::memcmp(pattern().constData() + (position + at) % 65521, data.constData() + at, size) == 0;
        }
        position += data.size();
    }
};

struct Traffic
{
    StreamCheck received, transmitted;

    Traffic(CMessageTransfer* from, CMessageTransfer* to)
    {
        QObject::connect(to, &CMessageTransfer::dataReceived, to,
                         [this](const QByteArray& data) { received.add(data); });
        QObject::connect(from, &CMessageTransfer::dataTransmitted, from,
                         [this](const QByteArray& data) { transmitted.add(data); });
    }
    bool complete(qint64 size) const { return received.position == size && transmitted.position == size; }
    bool right() const { return received.right && transmitted.right; }
};

int socketOption(const QTcpSocket* socket, int level, int option)
{
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(static_cast<int>(socket->socketDescriptor()), level, option, &value, &size);
    return value;
}

QTcpSocket* socketOf(CMessageTransfer* transfer)
{
    auto* tcp = qobject_cast<CTcpConnection*>(transfer);
    return tcp ? tcp->socket() : nullptr;
}

} // namespace

class ConnectionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kinds_data();
    void bulk_data() { kinds_data(); }
    void bulk();
    void smallMessages_data() { kinds_data(); }
    void smallMessages();
    void states_data() { kinds_data(); }
    void states();
    void receiverActsInsideSignals_data();
    void receiverActsInsideSignals();
    void ownership_data() { kinds_data(); }
    void ownership();
    void withoutSocket();
    void accounting();
    void openTcp();
    void keepaliveOfTcp();
    void handshakeGrace();
    void tlsErrors_data();
    void tlsErrors();
    void keepaliveOfWebSocket();
    void pings();
};

void ConnectionsTest::kinds_data()
{
    QTest::addColumn<TransportLink::Kind>("kind");
    for (const auto kind :
         {TransportLink::Tcp, TransportLink::Tls, TransportLink::WebSocket, TransportLink::SecureWebSocket})
        QTest::newRow(TransportLink::names[kind]) << kind;
}

void ConnectionsTest::bulk()
{
    QFETCH(TransportLink::Kind, kind);
    TransportLink link(kind);
    QVERIFY(link.established());
    constexpr qint64 size = 100 * 1024 * 1024;
    constexpr int piece = 64 * 1024;
    Traffic there(link.near, link.far), back(link.far, link.near);
    for (qint64 position = 0; position < size; position += piece) {
        QCOMPARE(link.near->sendData(patternAt(position, piece)), qint64(piece));
        link.far->sendData(patternAt(position, piece));
    }
    QTRY_VERIFY_WITH_TIMEOUT(there.complete(size) && back.complete(size), 60000);
    QVERIFY(there.right() && back.right());
}

void ConnectionsTest::smallMessages()
{
    QFETCH(TransportLink::Kind, kind);
    TransportLink link(kind);
    QVERIFY(link.established());
    constexpr int count = 100000;
    Traffic there(link.near, link.far), back(link.far, link.near);
    QList<QByteArray> messages;
    qint64 size = 0;
    for (int i = 0; i < count; ++i) {
        messages.append(patternAt(size, 1 + i % 16));
        size += messages.last().size();
    }
    link.near->sendMessages(messages);
    link.far->sendMessages(messages);
    QTRY_VERIFY_WITH_TIMEOUT(there.complete(size) && back.complete(size), 60000);
    QVERIFY(there.right() && back.right());
    if (kind >= TransportLink::WebSocket)
        QCOMPARE(there.received.pieces, count);
}

void ConnectionsTest::states()
{
    QFETCH(TransportLink::Kind, kind);
    TransportLink link(kind);
    QSignalSpy changes(link.near, &CMessageTransfer::connectionStateChanged);
    QVERIFY(!link.near->getConnectionState());
    QVERIFY(link.established());
    link.near->updateConnectionState();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes[0][0].toBool(), true);

    // Every socket sends small messages at once, those inside the WebSockets too.
    const QList<QTcpSocket*> sockets =
        kind >= TransportLink::WebSocket
            ? static_cast<CWebSocketConnection*>(link.near.data())->webSocket()->findChildren<QTcpSocket*>()
            : QList<QTcpSocket*>{socketOf(link.near), socketOf(link.far)};
    QVERIFY(!sockets.isEmpty());
    for (QTcpSocket* socket : sockets)
        QCOMPARE(socketOption(socket, IPPROTO_TCP, TCP_NODELAY), 1);

    link.far->sendData("last");
    QSignalSpy transmitted(link.near, &CMessageTransfer::dataTransmitted);
    QSignalSpy received(link.near, &CMessageTransfer::dataReceived);
    QTRY_COMPARE(received.size(), 1);
    link.far->close();
    QTRY_COMPARE(changes.size(), 2);
    QCOMPARE(changes[1][0].toBool(), false);
    QTRY_VERIFY(!link.far->getConnectionState());
    if (kind >= TransportLink::WebSocket) {
        const QWebSocket* socket = static_cast<CWebSocketConnection*>(link.near.data())->webSocket();
        QCOMPARE(int(socket->closeCode()), 1000);
        QCOMPARE(socket->closeReason(), QString());
    } else {
        QVERIFY(static_cast<CTcpConnection*>(link.near.data())->hasReconnectAdvice());
        // What the closed socket refuses is never reported, also not after the next connection.
        link.near->sendData("lost");
        link.near->open();
        QTRY_COMPARE(changes.size(), 3);
        link.near->sendData("kept");
        QTRY_COMPARE(transmitted.size(), 1);
        QCOMPARE(transmitted[0][0].toByteArray(), QByteArray("kept"));
    }
}

void ConnectionsTest::receiverActsInsideSignals_data()
{
    QTest::addColumn<TransportLink::Kind>("kind");
    QTest::addColumn<QString>("inside");
    QTest::addColumn<QString>("action");
    for (const auto kind :
         {TransportLink::Tcp, TransportLink::Tls, TransportLink::WebSocket, TransportLink::SecureWebSocket}) {
        for (const char* inside : {"connected", "disconnected", "received", "transmitted", "error"}) {
            if (kind >= TransportLink::WebSocket && qstrcmp(inside, "error") == 0)
                continue; // closed in order it reports none
            for (const char* action : {"delete", "adopt and delete", "close", "send"}) {
                if (kind < TransportLink::WebSocket && qstrncmp(action, "adopt", 5) == 0)
                    continue; // the connection is the socket's parent anyway
                QTest::addRow("%s %s %s", TransportLink::names[kind], inside, action)
                    << kind << QString::fromLatin1(inside) << QString::fromLatin1(action);
            }
        }
    }
}

// The sanitizers tell what goes wrong here.
void ConnectionsTest::receiverActsInsideSignals()
{
    QFETCH(TransportLink::Kind, kind);
    QFETCH(QString, inside);
    QFETCH(QString, action);
    TransportLink link(kind);
    int acted = 0;
    const auto act = [&] {
        if (acted++ > 0)
            return;
        if (action == QLatin1String("send")) {
            link.near->sendData("more");
        } else if (action == QLatin1String("close")) {
            link.near->close();
        } else {
            auto* webSocketConnection = qobject_cast<CWebSocketConnection*>(link.near);
            if (webSocketConnection && action != QLatin1String("delete"))
                webSocketConnection->webSocket()->setParent(webSocketConnection);
            delete link.near;
        }
    };
    CMessageTransfer* const near = link.near;
    connect(near, &CMessageTransfer::connectionStateChanged, this, [&](bool state) {
        if (inside == (state ? QLatin1String("connected") : QLatin1String("disconnected")))
            act();
    });
    if (inside == QLatin1String("received"))
        connect(near, &CMessageTransfer::dataReceived, this, act);
    if (inside == QLatin1String("transmitted"))
        connect(near, &CMessageTransfer::dataTransmitted, this, act);
    if (inside == QLatin1String("error"))
        connect(near, &CMessageTransfer::error, this, act);

    if (inside != QLatin1String("connected")) {
        QVERIFY(link.established());
        link.near->sendData("there");
        link.far->sendData("back");
        QCoreApplication::processEvents();
        if (inside == QLatin1String("disconnected") || inside == QLatin1String("error"))
            delete link.far;
    }
    QTRY_VERIFY(acted > 0);
    QTRY_VERIFY(!action.contains(QLatin1String("delete")) || !link.near);
    QTRY_VERIFY(action != QLatin1String("close") || !link.near->getConnectionState());
}

void ConnectionsTest::ownership()
{
    QFETCH(TransportLink::Kind, kind);
    for (const bool connectionIsParent : {false, true}) {
        TransportLink link(kind);
        QVERIFY(link.established());
        QPointer<QObject> accepted = socketOf(link.far);
        if (!accepted)
            accepted = static_cast<CWebSocketConnection*>(link.far.data())->webSocket();
        if (connectionIsParent)
            accepted->setParent(link.far);
        QSignalSpy destroyed(accepted, &QObject::destroyed);
        delete link.far;
        // Referred to: silenced and deleted later. As a child it dies at once.
        QCOMPARE(accepted.isNull(), connectionIsParent);
        QTRY_VERIFY(accepted.isNull());
        QCOMPARE(destroyed.size(), connectionIsParent ? 1 : 0);
        QTRY_VERIFY(!link.near->getConnectionState());
    }
}

void ConnectionsTest::withoutSocket()
{
    CTcpConnection tcp(nullptr, nullptr);
    CWebSocketConnection webSocket(nullptr, nullptr);
    CSslConnection gone(nullptr);
    delete gone.socket();
    for (CMessageTransfer* transfer : std::initializer_list<CMessageTransfer*>{&tcp, &webSocket, &gone}) {
        transfer->open();
        transfer->close();
        transfer->setKeepalive(5);
        transfer->updateConnectionState();
        QCOMPARE(transfer->sendData("x"), qint64(-1));
        QCOMPARE(transfer->getError(), -1);
        QVERIFY(!transfer->getConnectionState());
    }
    QCOMPARE(tcp.getErrorString(), QStringLiteral("No socket"));
    QCOMPARE(gone.getErrorString(), QStringLiteral("No socket"));
    QCOMPARE(webSocket.getErrorString(), QStringLiteral("No webSocket"));
    QVERIFY(!tcp.hasReconnectAdvice());
    webSocket.sendPing();
    tcp.setHost(QStringLiteral("host"), 1234);
    QString host;
    quint16 port = 0;
    tcp.getHost(host, port);
    QCOMPARE(host, QStringLiteral("host"));
    QCOMPARE(port, quint16(1234));
}

void ConnectionsTest::accounting()
{
    TransportLink link(TransportLink::Tcp);
    QVERIFY(link.established());
    auto* near = static_cast<CTcpConnection*>(link.near.data());
    QSignalSpy transmitted(near, &CMessageTransfer::dataTransmitted);
    // What the socket itself reports comes with the next turn of the event loop.
    near->sendData("abcdef");
    near->sendData("ghi");
    for (const int bytes : {4, 3, 0, 1})
        near->onBytesWritten(bytes);
    near->sendData("jkl");
    near->onBytesWritten(100);
    near->onBytesWritten(1);
    QByteArrayList pieces;
    for (const auto& arguments : transmitted)
        pieces.append(arguments[0].toByteArray());
    QCOMPARE(pieces, (QByteArrayList{"abcd", "efg", "h", "ijkl"}));
    near->sendData("mno");
    near->onError(QAbstractSocket::NetworkError);
    near->onBytesWritten(3);
    QCOMPARE(transmitted.size(), 4);
}

void ConnectionsTest::openTcp()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    CTcpConnection connection(nullptr);
    QSignalSpy changes(&connection, &CMessageTransfer::connectionStateChanged);
    QSignalSpy errors(&connection, &CMessageTransfer::error);
    connection.open();
    QCOMPARE(connection.socket()->state(), QAbstractSocket::UnconnectedState);
    connection.setHost(QStringLiteral("127.0.0.1"), server.serverPort());
    connection.open();
    connection.open(); // in the middle of connecting
    QCOMPARE(errors.size(), 1);
    QCOMPARE(errors[0][0].toInt(), 11);
    QCOMPARE(connection.socket()->state(), QAbstractSocket::UnconnectedState);
    connection.open();
    QTRY_COMPARE(changes.size(), 1);
    connection.setConnectionState(false);
    QCOMPARE(changes.size(), 2);
    connection.open(); // connected already: only looks again
    QCOMPARE(changes.size(), 3);
    QCOMPARE(errors.size(), 1);
}

void ConnectionsTest::keepaliveOfTcp()
{
    TransportLink link(TransportLink::Tcp);
    link.near->setKeepalive(7);
    QTest::ignoreMessage(
        QtInfoMsg,
        qPrintable(QStringLiteral("TCP keepalive after 7s for 127.0.0.1:%1").arg(link.server->serverPort())));
    QVERIFY(link.established());
    const QTcpSocket* socket = socketOf(link.near);
    QCOMPARE(socketOption(socket, SOL_SOCKET, SO_KEEPALIVE), 1);
    QCOMPARE(socketOption(socket, IPPROTO_TCP, TCP_KEEPIDLE), 7);
    QCOMPARE(socketOption(socket, IPPROTO_TCP, TCP_KEEPINTVL), 3);
    link.near->setKeepalive(1000000); // more than the system takes
    QCOMPARE(socketOption(socket, IPPROTO_TCP, TCP_KEEPIDLE), 32767);
    link.near->setKeepalive(-1);
    QCOMPARE(socketOption(socket, SOL_SOCKET, SO_KEEPALIVE), 0);
}

void ConnectionsTest::handshakeGrace()
{
    QTcpServer mute;
    mute.listen(QHostAddress::LocalHost);
    CSslConnection connection(nullptr);
    QSignalSpy changes(&connection, &CMessageTransfer::connectionStateChanged);
    QSignalSpy errors(&connection, &CMessageTransfer::error);
    connection.setHost(QStringLiteral("127.0.0.1"), mute.serverPort());
    connection.open();
    QTRY_COMPARE(connection.socket()->state(), QAbstractSocket::ConnectedState);
    connection.open();
    connection.open();
    const auto timers = connection.findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(timers.size(), 1);
    QVERIFY(timers[0]->isActive() && timers[0]->isSingleShot());
    QCOMPARE(timers[0]->interval(), 3000);
    timers[0]->start(0); // as if the time were over
    QTRY_COMPARE(errors.size(), 1);
    QCOMPARE(errors[0][0].toInt(), 11);
    QCOMPARE(connection.socket()->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(changes.size(), 0);

    TransportLink link(TransportLink::Tls);
    QVERIFY(link.established());
    QSignalSpy noErrors(link.near, &CMessageTransfer::error);
    static_cast<CTcpConnection*>(link.near.data())->delayedAbort();
    QVERIFY(link.near->getConnectionState());
    QCOMPARE(noErrors.size(), 0);
    const QSslConfiguration configuration = qobject_cast<QSslSocket*>(socketOf(link.near))->sslConfiguration();
    QCOMPARE(configuration.backendConfiguration().value("CipherString").toByteArray(),
             QByteArray("DEFAULT@SECLEVEL=1"));
}

void ConnectionsTest::tlsErrors_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<bool>("connects");
    const QStringList named = {QStringLiteral("--name"), QStringLiteral("IP:127.0.0.1")};
    const QStringList expired = {QStringLiteral("--expired")};
    QTest::newRow("expired") << named + expired << true;
    QTest::newRow("other name") << QStringList() << false;
    QTest::newRow("expired, other name") << expired << false;
}

void ConnectionsTest::tlsErrors()
{
    QFETCH(QStringList, options);
    QFETCH(bool, connects);
    TlsServer server(TransportLink::authority().issue(QStringLiteral("000.123.457"), options));
    CSslConnection connection(nullptr);
    QSignalSpy errors(&connection, &CMessageTransfer::error);
    connection.setHost(QStringLiteral("127.0.0.1"), server.serverPort());
    if (!connects) {
        QTest::ignoreMessage(QtWarningMsg,
                             "CSslConnection: The host name did not match any of the valid hosts for this certificate");
    }
    connection.open();
    QTRY_VERIFY(connection.getConnectionState() || !errors.isEmpty());
    QCOMPARE(connection.getConnectionState(), connects);
    QCOMPARE(errors.isEmpty(), connects);
    if (!connects)
        QCOMPARE(connection.getError(), int(QAbstractSocket::SslHandshakeFailedError));
}

void ConnectionsTest::keepaliveOfWebSocket()
{
    TransportLink link(TransportLink::WebSocket);
    const auto timer = [&] { return link.near->findChild<QTimer*>(); };
    link.near->setKeepalive(0);
    QVERIFY(!timer());
    link.near->setKeepalive(5);
    QPointer<QTimer> first = timer();
    QCOMPARE(first->interval(), 5000);
    QVERIFY(!first->isActive()); // not connected yet
    QVERIFY(link.established());
    QVERIFY(first->isActive());
    link.near->setKeepalive(3000000);
    QCOMPARE(timer(), first.data());
    QVERIFY(first->interval() > 2147000000);
    link.near->setKeepalive(0);
    QTRY_VERIFY(!first);
    link.near->setKeepalive(5);
    QVERIFY(timer() && timer()->isActive());
    timer()->start(0);
    QSignalSpy pong(static_cast<CWebSocketConnection*>(link.near.data())->webSocket(), &QWebSocket::pong);
    QVERIFY(pong.wait());
    link.near->setKeepalive(0);
    QTRY_VERIFY(!timer()); // the ping's watchdog is gone too
    link.near->setKeepalive(5);
    link.far->close();
    QTRY_VERIFY(!link.near->getConnectionState());
    QVERIFY(!timer()->isActive());
}

void ConnectionsTest::pings()
{
    // A peer made of bytes: it answers the request and nothing more.
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    QTcpSocket* peer = nullptr;
    QByteArray received;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        peer = server.nextPendingConnection();
        connect(peer, &QTcpSocket::readyRead, this, [&] { received += peer->readAll(); });
    });
    QWebSocket webSocket;
    CWebSocketConnection connection(&webSocket, nullptr);
    QSignalSpy changes(&connection, &CMessageTransfer::connectionStateChanged);
    const auto watchdogs = [&] { return connection.findChildren<QTimer*>(); };
    const auto handshake = [&] {
        received.clear();
        webSocket.open(QUrl(QStringLiteral("ws://127.0.0.1:%1/").arg(server.serverPort())));
        QTRY_VERIFY(received.endsWith("\r\n\r\n"));
        const int key = received.indexOf("Sec-WebSocket-Key: ") + 19;
        const QByteArray nonce = received.mid(key, received.indexOf('\r', key) - key);
        const QByteArray answer = nonce + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
        const QByteArray accept = QCryptographicHash::hash(answer, QCryptographicHash::Sha1);
        received.clear();
        peer->write("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                    "Sec-WebSocket-Accept: "
                    + accept.toBase64() + "\r\n\r\n");
        QTRY_VERIFY(connection.getConnectionState());
    };

    handshake();
    connection.sendPing();
    connection.sendPing();
    // Two masked pings without payload: each 6 bytes.
    QTRY_COMPARE(received.size(), 12);
    QCOMPARE(received.left(2), QByteArray("\x89\x80"));
    QCOMPARE(watchdogs().size(), 2);
    QCOMPARE(watchdogs()[0]->interval(), 30000);
    QVERIFY(watchdogs()[0]->isActive() && watchdogs()[0]->isSingleShot());
    peer->write(QByteArray("\x8a\x00", 2));
    QTRY_COMPARE(watchdogs().size(), 0);
    connection.sendPing();
    QPointer<QTimer> last = watchdogs().value(0);
    last->start(0); // as if the time were over
    QTRY_COMPARE(changes.size(), 2);
    QCOMPARE(webSocket.state(), QAbstractSocket::UnconnectedState);
    QTRY_VERIFY(!last);

    handshake();
    connection.sendPing();
    QCOMPARE(watchdogs().size(), 1);
    peer->abort(); // the link goes first
    QTRY_COMPARE(changes.size(), 4);
    QCOMPARE(watchdogs().size(), 0);
    connection.sendPing();
    QCOMPARE(watchdogs().size(), 0);
}

QTEST_GUILESS_MAIN(ConnectionsTest)

#include "tst_connections.moc"
