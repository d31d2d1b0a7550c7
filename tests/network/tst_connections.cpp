#include <foundation/network/message_transfer_mock.h>
#include <foundation/network/socket_options_p.h>

#include <support/raw_web_socket.h>
#include <support/tcp_pair.h>
#include <support/transport_link.h>

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

Q_DECLARE_METATYPE(TransportLink::Kind)

namespace {

constexpr TransportLink::Kind kinds[] = {TransportLink::Tcp, TransportLink::Tls, TransportLink::WebSocket,
                                         TransportLink::SecureWebSocket};

int socketOption(const QTcpSocket* socket, int level, int option)
{
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(static_cast<int>(socket->socketDescriptor()), level, option, &value, &size);
    return value;
}

QObject* socketOf(CMessageTransfer* transfer)
{
    if (auto* webSocket = qobject_cast<CWebSocketConnection*>(transfer))
        return webSocket->webSocket();
    return static_cast<CTcpConnection*>(transfer)->socket();
}

QTcpSocket* tcpSocketOf(CMessageTransfer* transfer)
{
    auto* socket = qobject_cast<QTcpSocket*>(socketOf(transfer));
    return socket ? socket : socketOf(transfer)->findChild<QTcpSocket*>();
}

// A layer that leaves to its parent whatever the base leaves to it.
struct Layer : CMessageTransfer
{
    using CMessageTransfer::CMessageTransfer;
    using CMessageTransfer::debugLevel;

    qint64 sendData(const QByteArray& data) override
    {
        sent.append(data);
        if (data == "delete")
            delete this;
        return 0;
    }
    int getError() const override { return 7; }
    QString getErrorString() const override { return {}; }

    static inline QByteArrayList sent;
};

const QString label = QStringLiteral("000.123.457");
const QString localHost = QStringLiteral("127.0.0.1");

} // namespace

class ConnectionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toHex()
    {
        const QString prefix = QStringLiteral("RX ");
        QCOMPARE(CMessageTransfer::toHex(QByteArray("\x0a\xff", 2), prefix), QStringLiteral("RX 0a ff "));
        QCOMPARE(CMessageTransfer::toHex({}, prefix), prefix);
    }

    void layersAndMock()
    {
        QObject plain;
        Layer alone(&plain);
        alone.open();
        alone.close();
        QVERIFY(!alone.getConnectionState());

        CMessageTransferMock mock(nullptr);
        QSignalSpy states(&mock, &CMessageTransfer::connectionStateChanged);
        QSignalSpy transmitted(&mock, &CMessageTransfer::dataTransmitted);
        QSignalSpy received(&mock, &CMessageTransfer::dataReceived);
        auto* middle = new Layer(&mock);
        auto* top = new Layer(middle);
        QVERIFY(QMetaObject::invokeMethod(top, "open"));
        QVERIFY(mock.getConnectionState() && top->getConnectionState());
        QVERIFY(QMetaObject::invokeMethod(top, "updateConnectionState"));
        mock.open();
        top->close();
        QVERIFY(!mock.getConnectionState() && !top->getConnectionState());
        mock.close();
        mock.sendData("out");
        mock.receiveData("in");
        QCOMPARE(states, (QList<QVariantList>{{true}, {true}, {false}, {false}}));
        QCOMPARE(transmitted, (QList<QVariantList>{{QByteArray("out")}}));
        QCOMPARE(received, (QList<QVariantList>{{QByteArray("in")}}));
        top->setDebugLevel(3);
        QCOMPARE(top->debugLevel() + middle->debugLevel(), 6);

        (new Layer(nullptr))->sendMessages({"one", "", "two", "delete", "never"});
        QCOMPARE(Layer::sent, (QByteArrayList{"one", "", "two", "delete"}));
    }

    void kinds_data()
    {
        QTest::addColumn<TransportLink::Kind>("kind");
        for (const auto kind : kinds)
            QTest::newRow(TransportLink::names[kind]) << kind;
    }

    void carries_data()
    {
        QTest::addColumn<TransportLink::Kind>("kind");
        QTest::addColumn<int>("messages");
        QTest::addColumn<int>("messageSize");
        for (const auto kind : kinds) {
            QTest::addRow("%s, bulk", TransportLink::names[kind]) << kind << 160 << 64 * 1024;
            QTest::addRow("%s, small messages", TransportLink::names[kind]) << kind << 50000 << 10;
        }
    }
    void carries()
    {
        QFETCH(TransportLink::Kind, kind);
        QFETCH(int, messages);
        QFETCH(int, messageSize);
        TransportLink link(kind);
        QVERIFY(link.established());
        QByteArray stream(messages * messageSize, Qt::Uninitialized);
        for (int i = 0; i < stream.size(); ++i)
            stream[i] = static_cast<char>(i * 31 ^ i >> 8);
        QByteArray received[2], transmitted[2];
        int pieces = 0;
        for (const int end : {0, 1}) {
            CMessageTransfer* transfer = end == 0 ? link.near : link.far;
            connect(transfer, &CMessageTransfer::dataReceived, transfer, [&, end](const QByteArray& data) {
                received[end] += data;
                pieces += end;
            });
            connect(transfer, &CMessageTransfer::dataTransmitted, transfer,
                    [&, end](const QByteArray& data) { transmitted[end] += data; });
        }
        for (int position = 0; position < stream.size(); position += messageSize) {
            QCOMPARE(link.near->sendData(stream.mid(position, messageSize)), qint64(messageSize));
            link.far->sendMessages({stream.mid(position, messageSize)});
        }
        for (const QByteArray* bytes : {&received[0], &received[1], &transmitted[0], &transmitted[1]}) {
            QTRY_COMPARE_WITH_TIMEOUT(bytes->size(), stream.size(), 60000);
            QVERIFY(*bytes == stream);
        }
        if (kind >= TransportLink::WebSocket)
            QCOMPARE(pieces, messages);
    }

    void states_data() { kinds_data(); }
    void states()
    {
        QFETCH(TransportLink::Kind, kind);
        TransportLink link(kind);
        QSignalSpy changes(link.near, &CMessageTransfer::connectionStateChanged);
        QVERIFY(!link.near->getConnectionState());
        QVERIFY(link.established());
        link.near->updateConnectionState();
        QCOMPARE(changes, (QList<QVariantList>{{true}}));

        // Small messages leave at once.
        QCOMPARE(socketOption(tcpSocketOf(link.near), IPPROTO_TCP, TCP_NODELAY), 1);
        if (kind < TransportLink::WebSocket)
            QCOMPARE(socketOption(tcpSocketOf(link.far), IPPROTO_TCP, TCP_NODELAY), 1);

        QSignalSpy transmitted(link.near, &CMessageTransfer::dataTransmitted);
        QSignalSpy received(link.near, &CMessageTransfer::dataReceived);
        link.far->sendData("last");
        QTRY_COMPARE(received.size(), 1);
        link.far->close();
        QTRY_COMPARE(changes, (QList<QVariantList>{{true}, {false}}));
        QTRY_VERIFY(!link.far->getConnectionState());
        if (kind >= TransportLink::WebSocket) {
            const auto* socket = static_cast<QWebSocket*>(socketOf(link.near));
            QCOMPARE(int(socket->closeCode()), 1000);
            QCOMPARE(socket->closeReason(), QString());
        } else {
            QVERIFY(static_cast<CTcpConnection*>(link.near.data())->hasReconnectAdvice());
            // What the closed socket refuses is never reported, also not after the next connection.
            link.near->sendData("lost");
            link.near->open();
            QTRY_COMPARE(changes.size(), 3);
            link.near->sendData("kept");
            QTRY_COMPARE(transmitted, (QList<QVariantList>{{QByteArray("kept")}}));
        }
    }

    void receiverActsInsideSignals_data()
    {
        QTest::addColumn<TransportLink::Kind>("kind");
        QTest::addColumn<QByteArray>("inside");
        QTest::addColumn<QByteArray>("action");
        for (const auto kind : kinds) {
            for (const char* inside : {"connected", "disconnected", "received", "transmitted", "error"}) {
                for (const char* action : {"delete", "close", "send", "open"}) {
                    if (kind < TransportLink::WebSocket || qstrcmp(inside, "error") != 0) // an orderly end is no error
                        QTest::addRow("%s %s %s", TransportLink::names[kind], inside, action)
                            << kind << QByteArray(inside) << QByteArray(action);
                }
            }
        }
    }
    // The sanitizers tell what goes wrong here.
    void receiverActsInsideSignals()
    {
        QFETCH(TransportLink::Kind, kind);
        QFETCH(QByteArray, inside);
        QFETCH(QByteArray, action);
        TransportLink link(kind);
        // A WebSocket that became the connection's child must not die in the middle of its signal either.
        if (auto* connection = qobject_cast<CWebSocketConnection*>(link.near))
            connection->webSocket()->setParent(connection);
        int acted = 0;
        const auto act = [&](const QByteArray& signal) {
            if (signal != inside || acted++ > 0)
                return;
            if (action == "send")
                link.near->sendData("more");
            else if (action == "close")
                link.near->close();
            else if (action == "open")
                link.near->open();
            else
                delete link.near;
        };
        connect(link.near, &CMessageTransfer::connectionStateChanged, this,
                [act](bool state) { act(state ? "connected" : "disconnected"); });
        connect(link.near, &CMessageTransfer::dataReceived, this, [act] { act("received"); });
        connect(link.near, &CMessageTransfer::dataTransmitted, this, [act] { act("transmitted"); });
        connect(link.near, &CMessageTransfer::error, this, [act] { act("error"); });

        if (inside != "connected") {
            QVERIFY(link.established());
            link.near->sendData("there");
            link.far->sendData("back");
            QCoreApplication::processEvents();
            if (inside == "disconnected" || inside == "error")
                delete link.far;
        }
        QVERIFY(waitUntil([&] { return acted > 0; }));
        QVERIFY(action != "delete" || waitUntil([&] { return !link.near; }));
        QVERIFY(action != "close" || waitUntil([&] { return !link.near->getConnectionState(); }));
        if (action == "open" && inside != "error" && kind < TransportLink::WebSocket) // connected still, or again
            QVERIFY(waitUntil([&] { return link.near->getConnectionState(); }));
    }

    void acceptedSocketIsReleased_data() { kinds_data(); }
    void acceptedSocketIsReleased()
    {
        QFETCH(TransportLink::Kind, kind);
        for (const bool isChild : {false, true}) {
            TransportLink link(kind);
            QVERIFY(link.established());
            QPointer<QObject> accepted = socketOf(link.far);
            if (isChild)
                accepted->setParent(link.far);
            QSignalSpy destroyed(accepted, &QObject::destroyed);
            delete link.far;
            QCOMPARE(accepted.isNull(), isChild); // otherwise silenced and deleted later
            QTRY_VERIFY(accepted.isNull());
            QCOMPARE(destroyed.isEmpty(), !isChild);
            QTRY_VERIFY(!link.near->getConnectionState());
        }
    }

    void withoutSocket()
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
    }

    void accounting()
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
        const QList<QVariantList> pieces{
            {QByteArray("abcd")}, {QByteArray("efg")}, {QByteArray("h")}, {QByteArray("ijkl")}};
        QCOMPARE(transmitted, pieces);
        QSignalSpy traced(near, &CMessageTransfer::debugMessage);
        near->setDebugLevel(1);
        near->sendData("mno");
        QCOMPARE(traced, (QList<QVariantList>{{QStringLiteral("TX 6d 6e 6f ")}}));
        near->onError(QAbstractSocket::NetworkError);
        near->onBytesWritten(3);
        QCOMPARE(transmitted.size(), 4);
    }

    void openTcp()
    {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        CTcpConnection connection(nullptr);
        QSignalSpy changes(&connection, &CMessageTransfer::connectionStateChanged);
        QSignalSpy errors(&connection, &CMessageTransfer::error);
        connection.open();
        QCOMPARE(connection.socket()->state(), QAbstractSocket::UnconnectedState);
        connection.setHost(localHost, server.serverPort());
        connection.open();
        connection.open(); // in the middle of connecting
        QCOMPARE(errors, (QList<QVariantList>{{11}}));
        QCOMPARE(connection.socket()->state(), QAbstractSocket::UnconnectedState);
        connection.open();
        QTRY_COMPARE(changes.size(), 1);
        connection.setConnectionState(false);
        QCOMPARE(changes.size(), 2);
        connection.open(); // connected already: only looks again
        QCOMPARE(changes.size(), 3);
        QCOMPARE(errors.size(), 1);
    }

    void keepaliveOfTcp()
    {
        TransportLink link(TransportLink::Tcp);
        link.near->setKeepalive(7);
        QTest::ignoreMessage(QtInfoMsg,
                             qPrintable(QStringLiteral("TCP keepalive after 7s for ") + addressOf(*link.server)));
        QVERIFY(link.established());
        const QTcpSocket* socket = tcpSocketOf(link.near);
        QCOMPARE(socketOption(socket, SOL_SOCKET, SO_KEEPALIVE), 1);
        QCOMPARE(socketOption(socket, IPPROTO_TCP, TCP_KEEPIDLE), 7);
        QCOMPARE(socketOption(socket, IPPROTO_TCP, TCP_KEEPINTVL), 3);
        link.near->setKeepalive(1000000); // more than the system takes
        QCOMPARE(socketOption(socket, IPPROTO_TCP, TCP_KEEPIDLE), 32767);
        link.near->setKeepalive(-1);
        QCOMPARE(socketOption(socket, SOL_SOCKET, SO_KEEPALIVE), 0);
    }

    void handshakeGrace()
    {
        QTcpServer mute;
        mute.listen(QHostAddress::LocalHost);
        CSslConnection connection(nullptr);
        QSignalSpy changes(&connection, &CMessageTransfer::connectionStateChanged);
        QSignalSpy errors(&connection, &CMessageTransfer::error);
        connection.setHost(localHost, mute.serverPort());
        connection.open();
        QTRY_COMPARE(connection.socket()->state(), QAbstractSocket::ConnectedState);
        connection.open();
        connection.open();
        const auto timers = connection.findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
        QCOMPARE(timers.size(), 1);
        QVERIFY(timers[0]->isActive() && timers[0]->isSingleShot());
        QCOMPARE(timers[0]->interval(), 3000);
        timers[0]->start(0); // as if the time were over
        QTRY_COMPARE(errors, (QList<QVariantList>{{11}}));
        QCOMPARE(connection.socket()->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(changes.size(), 0);

        TransportLink link(TransportLink::Tls);
        QVERIFY(link.established());
        QSignalSpy noErrors(link.near, &CMessageTransfer::error);
        static_cast<CTcpConnection*>(link.near.data())->delayedAbort();
        QVERIFY(link.near->getConnectionState());
        QCOMPARE(noErrors.size(), 0);
        const QSslConfiguration configuration = static_cast<QSslSocket*>(tcpSocketOf(link.near))->sslConfiguration();
        QCOMPARE(configuration.backendConfiguration().value("CipherString").toByteArray(),
                 QByteArray("DEFAULT@SECLEVEL=1"));
    }

    void tlsErrors()
    {
        const QString name = QStringLiteral("--name"), ip = QStringLiteral("IP:127.0.0.1"),
                      expired = QStringLiteral("--expired");
        const QPair<QStringList, bool> rows[] = {{{name, ip, expired}, true}, {{}, false}, {{expired}, false}};
        for (const auto& [options, connects] : rows) {
            TlsServer server(TransportLink::authority().issue(label, options));
            CSslConnection connection(nullptr);
            QSignalSpy errors(&connection, &CMessageTransfer::error);
            connection.setHost(localHost, server.serverPort());
            if (!connects) {
                QTest::ignoreMessage(
                    QtWarningMsg,
                    "CSslConnection: The host name did not match any of the valid hosts for this certificate");
            }
            connection.open();
            QTRY_VERIFY(connection.getConnectionState() || !errors.isEmpty());
            QCOMPARE(connection.getConnectionState(), connects);
            QCOMPARE(errors.isEmpty(), connects);
            QVERIFY(connects || connection.getError() == QAbstractSocket::SslHandshakeFailedError);
        }
    }

    void keepaliveOfWebSocket()
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
        QSignalSpy pong(static_cast<QWebSocket*>(socketOf(link.near)), &QWebSocket::pong);
        QVERIFY(pong.wait());
        link.near->setKeepalive(0);
        QTRY_VERIFY(!timer()); // the ping's watchdog is gone too
        link.near->setKeepalive(5);
        link.far->close();
        QTRY_VERIFY(!link.near->getConnectionState());
        QVERIFY(!timer()->isActive());
    }

    // At any moment, so also with half a message on its way in one of them.
    void buffersAreReleased_data() { kinds_data(); }
    void buffersAreReleased()
    {
        QFETCH(TransportLink::Kind, kind);
        if (kind < TransportLink::WebSocket)
            return;
        TransportLink link(kind);
        QVERIFY(link.established());
        auto* const webSocket = static_cast<QWebSocket*>(socketOf(link.near));
        const auto sockets = webSocket->findChildren<QTcpSocket*>();
        QCOMPARE(sockets.size(), kind == TransportLink::SecureWebSocket ? 2 : 1);
        QTimer releasing;
        connect(&releasing, &QTimer::timeout, webSocket, [webSocket] { releaseBuffers(webSocket); });
        releasing.start(0);
        QList<int> expected, received[2];
        for (const int end : {0, 1})
            connect(end == 0 ? link.near : link.far, &CMessageTransfer::dataReceived, &releasing,
                    [&, end](const QByteArray& data) { received[end].append(int(data.size())); });
        for (int round = 0; round < 20; ++round) {
            for (const int size : {1, 100, 5000, 40000, 200000, 7}) {
                expected.append(size + round);
                link.near->sendData(QByteArray(size + round, 'n'));
                link.far->sendData(QByteArray(size + round, 'f'));
            }
            QCoreApplication::processEvents();
        }
        for (const auto& sizes : {&received[0], &received[1]})
            QTRY_COMPARE_WITH_TIMEOUT(*sizes, expected, 30000);
        QVERIFY(link.near->getConnectionState());
    }

    void pings()
    {
        // A peer made of bytes: it answers the request and nothing more.
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        QTcpSocket* peer = nullptr;
        QWebSocket webSocket;
        CWebSocketConnection connection(&webSocket, nullptr);
        QSignalSpy changes(&connection, &CMessageTransfer::connectionStateChanged);
        const auto watchdogs = [&] { return connection.findChildren<QTimer*>(); };
        const auto handshake = [&] {
            webSocket.open(QUrl(QStringLiteral("ws://") + addressOf(server)));
            QVERIFY(server.waitForNewConnection(5000));
            peer = server.nextPendingConnection();
            QByteArray request;
            QTRY_VERIFY((request += peer->readAll()).endsWith("\r\n\r\n"));
            peer->write(RawWebSocket::upgradeResponse(request));
            QTRY_VERIFY(connection.getConnectionState());
        };

        handshake();
        connection.sendPing();
        connection.sendPing();
        const QByteArray received = TcpPair::read(*peer, 12); // two masked pings without payload
        QCOMPARE(received.size(), 12);
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
};

QTEST_GUILESS_MAIN(ConnectionsTest)

#include "tst_connections.moc"
