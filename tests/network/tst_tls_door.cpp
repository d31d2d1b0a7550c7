#include <foundation/network/connection_limits_p.h>
#include <foundation/network/tls_door.h>
#include <foundation/network/visitor_turns_p.h>

#include <support/device_certificates.h>
#include <support/tcp_pair.h>

#include <QtCore/QFile>
#include <QtNetwork/QSslCipher>
#include <QtNetwork/QSslConfiguration>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <memory>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

class TestTlsDoor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ConnectionTiming::current() = ConnectionTiming();
        m_door = std::make_unique<CTlsDoor>();
        const DeviceCertificate own = certificate(QStringLiteral("000.123.457"));
        QString error;
        QVERIFY2(m_door->setCertificate(own.certificateFile, own.keyFile, error), qPrintable(error));
        QVERIFY(m_door->open(0));
        m_reasons.clear();
        connect(m_door.get(), &CTlsDoor::dropped, this,
                [this](const QString&, const QString& reason) { m_reasons += reason; });
        connect(m_door.get(), &CTlsDoor::requested, this, [this](QSslSocket* socket, const CTlsDoor::Request& request) {
            const QByteArray text = request.method + ' ' + request.path + ' ' + request.header("x-NAME") + '\n';
            m_door->answer(socket, text, request.last);
            m_door->answer(socket, "not asked", request.last);
        });
    }

    // Both files have to be usable and belong together; else the door keeps what it has.
    void certificates()
    {
        const DeviceCertificate own = certificate(QStringLiteral("000.123.457"));
        const DeviceCertificate other = certificate(QStringLiteral("000.000.011"));
        const struct
        {
            QString certificate, key, reason;
        } rows[] = {
            {own.certificateFile, other.keyFile, QStringLiteral("does not belong")},
            {own.certificateFile, own.certificateFile, QStringLiteral("contains no key")},
            {own.keyFile, own.keyFile, QStringLiteral("contains no certificate")},
            {own.certificateFile, QStringLiteral("/nowhere"), QStringLiteral("cannot read")},
        };
        for (const auto& row : rows) {
            QString error;
            QVERIFY(!m_door->setCertificate(row.certificate, row.key, error));
            QVERIFY2(error.contains(row.reason), qPrintable(error));
        }
        const auto visitor = visit("GET / HTTP/1.1\r\n\r\n");
        QCOMPARE(TcpPair::read(*visitor, 7), QByteArray("GET / \n"));
    }

    // In any pieces, several behind one another, and no more of them once an answer is to be the last.
    void requests()
    {
        const auto visitor = visit("GET /a HTTP/1.1\r\nX-Name:  b \r\n\r\nGET /c HTTP/1.1\r\nConnec");
        QCOMPARE(TcpPair::read(*visitor, 9), QByteArray("GET /a b\n"));
        for (const char byte : QByteArray("tion: Close\r\n\r\nGET /d HTTP/1.1\r\n\r\n")) {
            visitor->write(&byte, 1);
            visitor->flush();
            QCoreApplication::processEvents();
        }
        QCOMPARE(TcpPair::read(*visitor, 8), QByteArray("GET /c \n"));
        QVERIFY(waitUntil([&] { return visitor->state() == QAbstractSocket::UnconnectedState; }));
        QVERIFY(waitUntil([&] { return m_door->visitors() == 0; }));
        QCOMPARE(m_reasons, QStringList());
    }

    // Read whole up to the limit, and the next request behind it; what is too long or of unknown length is not read,
    // and who sends it reads the answer all the same.
    void bodies()
    {
        m_door->setLongestBody(40000);
        disconnect(m_door.get(), &CTlsDoor::requested, this, nullptr);
        connect(m_door.get(), &CTlsDoor::requested, this, [this](QSslSocket* socket, const CTlsDoor::Request& request) {
            const QByteArray text = QByteArray::number(request.body.size()) + request.body.right(1);
            m_door->answer(socket, text + (request.bodyUnread ? "unread\n" : "\n"), request.last);
        });
        const auto post = [](const QByteArray& lines, int length) -> QByteArray {
            return "POST / HTTP/1.1\r\n" + lines + "\r\n\r\n" + QByteArray(length - 1, 'a') + 'z';
        };
        const auto visitor = visit(post("Content-Length: 40000", 40000) + post("content-length: 3", 3)
                                   + "GET / HTTP/1.1\r\n\r\n" + post("Content-Length: 300000", 300000));
        QCOMPARE(TcpPair::read(*visitor, 20), QByteArray("40000z\n3z\n0\n0unread\n"));
        QVERIFY(waitUntil([&] { return visitor->state() == QAbstractSocket::UnconnectedState; }));
        for (const char* line :
             {"Transfer-Encoding: chunked", "Content-Length: -1", "Content-Length: 99999999999999999"}) {
            const auto other = visit(post(line, 3));
            QCOMPARE(TcpPair::read(*other, 8), QByteArray("0unread\n"));
        }
        const auto polite = visit("POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n");
        QCOMPARE(TcpPair::read(*polite, 25), QByteArray("HTTP/1.1 100 Continue\r\n\r\n"));
        polite->write("ok");
        QCOMPARE(TcpPair::read(*polite, 3), QByteArray("2k\n"));
        ConnectionTiming::current().request = 300;
        const auto slow = visit("POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\nhalf");
        QVERIFY(waitUntil([&] { return m_reasons.contains(QStringLiteral("no whole request in time")); }));
    }

    // Of those who send a body slowly the oldest goes; nor does anybody hold a place for ever who is not answered.
    void placesAreFreed()
    {
        QCOMPARE(ConnectionTiming::current().answer, 60000);
        ConnectionTiming::current().answer = 300;
        m_door->setLongestBody(100);
        disconnect(m_door.get(), &CTlsDoor::requested, this, nullptr);
        const QByteArray begun("POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\nhalf");
        std::vector<std::unique_ptr<QSslSocket>> crowd;
        for (int i = 0; i <= ConnectionLimits::bodies; ++i) {
            QCOMPARE(m_reasons, QStringList());
            crowd.push_back(visit(begun));
            QVERIFY(
                waitUntil([&] { return crowd.back()->isEncrypted() && crowd.back()->encryptedBytesToWrite() == 0; }));
        }
        QVERIFY(waitUntil([&] { return crowd.front()->state() == QAbstractSocket::UnconnectedState; }));
        QCOMPARE(m_reasons.size(), 1);
        QCOMPARE(m_door->visitors(), int(ConnectionLimits::bodies));
        m_reasons.clear();
        const auto visitor = visit("GET / HTTP/1.1\r\n\r\n");
        QVERIFY(waitUntil([&] { return m_reasons == QStringList{QStringLiteral("no answer in time")}; }));
    }

    void webSockets()
    {
        bool take = true;
        QObject owner;
        QPointer<QSslSocket> taken;
        connect(m_door.get(), &CTlsDoor::webSocketRequested, this,
                [&](QSslSocket* socket, const CTlsDoor::Request& request) {
                    taken = socket;
                    if (take)
                        socket->setParent(&owner);
                    QVERIFY(request.accepted.isValid());
                    QCOMPARE(socket->bytesAvailable(), request.head.size() + 4);
                });
        const QByteArray request("GET /gw HTTP/1.1\r\nUpgrade: WebSocket\r\n\r\n");
        const auto welcome = visit(request);
        QVERIFY(waitUntil([&] { return taken; }));
        m_door.reset();
        QCOMPARE(taken->state(), QAbstractSocket::ConnectedState);

        init();
        take = false;
        connect(m_door.get(), &CTlsDoor::webSocketRequested, this, [&] { taken = nullptr; });
        const auto unwanted = visit(request);
        QVERIFY(waitUntil([&] { return unwanted->state() == QAbstractSocket::UnconnectedState; }));
        QCOMPARE(m_door->visitors(), 0);
    }

    void strangers_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("tls");
        QTest::addColumn<QString>("reason");
        QTest::newRow("silent") << QByteArray() << true << QStringLiteral("no request in time");
        QTest::newRow("no TLS") << QByteArray() << false << QStringLiteral("no TLS in time");
        QTest::newRow("no TLS, talks") << QByteArray("GET / HTTP/1.1\r\n\r\n") << false << QStringLiteral("TLS failed");
        QTest::newRow("no HTTP") << QByteArray("EHLO a\r\n\r\n") << true << QStringLiteral("no HTTP request");
        QTest::newRow("endless") << "GET / HTTP/1.1\r\n" + QByteArray(9000, 'x') << true
                                 << QStringLiteral("request too long");
    }
    void strangers()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, tls);
        QFETCH(QString, reason);
        QCOMPARE(ConnectionTiming::current().request, 10000);
        ConnectionTiming::current().request = text.isEmpty() ? 300 : 5000;
        ConnectionTiming::current().arriving = 100;
        const auto visitor = visit(text, tls);
        QVERIFY(waitUntil([&] { return !m_reasons.isEmpty(); }));
        QVERIFY2(m_reasons.first().startsWith(reason), qPrintable(m_reasons.first()));
        QVERIFY(waitUntil([&] { return visitor->state() == QAbstractSocket::UnconnectedState; }));
        QCOMPARE(m_door->visitors(), 0);
    }

    // A crowd of silent ones keeps nobody out, nor does one that stalls in the middle of TLS, for long. Those who are
    // served are not displaced by those behind them. The door may go while all of them are there.
    void crowd()
    {
        QCOMPARE(ConnectionTiming::current().talking, 2000);
        ConnectionTiming::current().talking = 300;
        ConnectionTiming::current().arriving = 300;
        std::vector<std::unique_ptr<QSslSocket>> crowd;
        for (int i = 0; i < ConnectionLimits::visitors + 20; ++i) {
            crowd.push_back(visit({}, false));
            if (i % 100 == 0)
                QCoreApplication::processEvents();
        }
        const auto visitor = visit("HEAD / HTTP/1.1\r\n\r\n");
        QCOMPARE(TcpPair::read(*visitor, 8), QByteArray("HEAD / \n"));
        QCOMPARE(m_reasons, QStringList()); // they are new
        QVERIFY(waitUntil([&] { return m_reasons.size() >= 20; }));
        QCOMPARE(m_reasons.first(), QStringLiteral("too many connections without a request"));
        QCOMPARE(m_door->visitors(), ConnectionLimits::visitors + 1);

        crowd.clear();
        QVERIFY(waitUntil([&] { return m_door->visitors() == 1; }));
        m_reasons.clear();
        const QByteArray stalled("\x16\x03\x01\x02\0\x01", 6);
        for (int i = 0; i < ConnectionLimits::talkingVisitors + 40; ++i)
            crowd.push_back(visit(stalled, false));
        const auto second = visit("HEAD / HTTP/1.1\r\n\r\n");
        QCOMPARE(TcpPair::read(*second, 8), QByteArray("HEAD / \n"));
        QCOMPARE(m_door->visitors(), ConnectionLimits::talkingVisitors + 42);
        QVERIFY(m_reasons.filter(QStringLiteral("too many")).isEmpty());
        m_door.reset();
    }

    // Whoever comes while no descriptor is left waits, and the door does not spin. It is of account that somebody was
    // accepted before.
    void noDescriptors()
    {
        ConnectionTiming::current().acceptPause = 50;
        const auto first = visit("GET / HTTP/1.1\r\n\r\n");
        QCOMPARE(TcpPair::read(*first, 7), QByteArray("GET / \n"));
        rlimit usual{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &usual), 0);
        QTest::ignoreMessage(QtWarningMsg, "CTlsDoor: Cannot accept: out of file descriptors");
        const auto late = visit("GET / HTTP/1.1\r\n\r\n"); // comes when the event loop goes on
        const int next = dup(0);
        close(next);
        const rlimit few{rlim_t(next), usual.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
        const clock_t begin = clock();
        QTest::qWait(300);
        const clock_t spent = clock() - begin;
        setrlimit(RLIMIT_NOFILE, &usual);
        QVERIFY2(spent < CLOCKS_PER_SEC / 5, qPrintable(QString::number(spent)));
        QCOMPARE(TcpPair::read(*late, 7), QByteArray("GET / \n"));
    }

    // One network's crowd makes others wait for one turn, not for the crowd. Those who have gone meanwhile are no harm.
    void turns()
    {
        QTcpServer server;
        VisitorTurns turns;
        std::vector<std::unique_ptr<QTcpSocket>> served;
        connect(&turns, &VisitorTurns::turn, this, [&](qintptr descriptor) {
            served.push_back(std::make_unique<QTcpSocket>());
            QVERIFY(served.back()->setSocketDescriptor(descriptor));
            turns.begin(served.back().get());
        });
        QVERIFY(server.listen(QHostAddress::LocalHost));
        std::vector<std::unique_ptr<QTcpSocket>> visitors;
        const auto come = [&](const char* from, int count) {
            for (int i = 0; i < count; ++i) {
                visitors.push_back(std::make_unique<QTcpSocket>());
                QVERIFY(visitors.back()->bind(QHostAddress(QString::fromLatin1(from))));
                visitors.back()->connectToHost(server.serverAddress(), server.serverPort());
                visitors.back()->write("x");
                QVERIFY(waitUntil([&] { return server.hasPendingConnections(); }));
                const std::unique_ptr<QTcpSocket> arrived(server.nextPendingConnection());
                turns.arrive(dup(static_cast<int>(arrived->socketDescriptor())));
            }
        };
        const auto isServed = [&](size_t count) { return waitUntil([&] { return served.size() == count; }); };
        const size_t all = ConnectionLimits::talkingVisitors;
        come("127.0.0.2", static_cast<int>(all) + 50);
        QVERIFY(isServed(all) && waitUntil([&] { return turns.waiting() == 50; }));
        come("127.0.0.3", 2);
        int small = 0;
        for (size_t i = 0; i < 10; ++i) {
            turns.end(served.at(i).get());
            QVERIFY(isServed(all + i + 1));
            small += served.back()->peerAddress() == QHostAddress(QStringLiteral("127.0.0.3")) ? 1 : 0;
        }
        QCOMPARE(small, 2);
        visitors.clear();
        turns.end(served.at(10).get());
        QVERIFY(waitUntil([&] { return turns.waiting() == 0; }));
        QCOMPARE(served.size(), all + 10); // nobody has a turn who has gone
    }

    // As many networks as there are places, one visitor of each: the newcomer goes, and the others keep their turns.
    void turnsOfManyNetworks()
    {
        const int all = ConnectionLimits::talkingVisitors + ConnectionLimits::waitingVisitors;
        ConnectionTiming::current().talking = 60000;
        ConnectionTiming::current().arriving = 60000;
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        if (limit.rlim_max < rlim_t(all) + 200)
            QSKIP("too few descriptors");
        const rlimit before = limit;
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
        {
            VisitorTurns turns;
            QStringList reasons;
            std::vector<std::pair<std::unique_ptr<QObject>, qintptr>> served;
            connect(&turns, &VisitorTurns::dropped, this,
                    [&](const QHostAddress&, quint16, const QString& reason) { reasons += reason; });
            connect(&turns, &VisitorTurns::turn, this, [&](qintptr descriptor) {
                served.emplace_back(std::make_unique<QObject>(), descriptor);
                turns.begin(served.back().first.get());
            });
            std::vector<int> stayed;
            const int listener = socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in address = {};
            socklen_t size = sizeof address;
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            QVERIFY(bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0 && listen(listener, 10) == 0);
            getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
            for (int i = 0; i < all + 3; ++i) {
                const int visitor = socket(AF_INET, SOCK_STREAM, 0);
                sockaddr_in own = {};
                own.sin_family = AF_INET;
                own.sin_addr.s_addr = htonl(0x7F010001U + uint(i));
                QVERIFY(bind(visitor, reinterpret_cast<sockaddr*>(&own), sizeof own) == 0);
                QVERIFY(::connect(visitor, reinterpret_cast<sockaddr*>(&address), size) == 0);
                QVERIFY(write(visitor, "x", 1) == 1);
                turns.arrive(accept(listener, nullptr, nullptr));
                if (i < ConnectionLimits::talkingVisitors)
                    stayed.push_back(visitor);
                else
                    close(visitor);
                if (i % 200 == 0 && i < all)
                    QVERIFY(waitUntil([&] { return turns.waiting() + int(served.size()) == i + 1; }));
                QCoreApplication::processEvents();
            }
            QVERIFY(waitUntil([&] { return reasons.size() >= 3; }));
            QCOMPARE(reasons.first(), QStringLiteral("too many connections without a request"));
            QCOMPARE(turns.waiting(), ConnectionLimits::waitingVisitors);
            // All of them have gone meanwhile.
            turns.end(served.front().first.get());
            QVERIFY(waitUntil([&] { return turns.waiting() == 0; }));
            stayed.push_back(listener);
            for (const int descriptor : stayed)
                close(descriptor);
            for (const auto& visitor : served)
                close(static_cast<int>(visitor.second));
        }
        setrlimit(RLIMIT_NOFILE, &before);
    }

    // What a visitor offers, and what comes of it: devices of any age get in, with forward secrecy, or not at all.
    void protocols_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QByteArray>("cipher");
        QTest::addColumn<bool>("finiteFieldDh");
        QTest::addColumn<bool>("admitted");
        QTest::newRow("TLS 1.3") << int(QSsl::TlsV1_3OrLater) << QByteArray() << false << true;
        QTest::newRow("TLS 1.2") << int(QSsl::TlsV1_2) << QByteArray("ECDHE-RSA-AES128-GCM-SHA256") << false << true;
        QTest::newRow("no forward secrecy") << int(QSsl::TlsV1_2) << QByteArray("AES128-GCM-SHA256") << false << false;
        QTest::newRow("finite fields") << int(QSsl::TlsV1_2) << QByteArray("DHE-RSA-AES128-GCM-SHA256") << false
                                       << false;
        QTest::newRow("finite fields, allowed")
            << int(QSsl::TlsV1_2) << QByteArray("DHE-RSA-AES128-GCM-SHA256") << true << true;
    }
    void protocols()
    {
        QFETCH(int, protocol);
        QFETCH(QByteArray, cipher);
        QFETCH(bool, finiteFieldDh);
        QFETCH(bool, admitted);
        const DeviceCertificate own = certificate(QStringLiteral("000.123.457"));
        QString error;
        m_door->setFiniteFieldDh(finiteFieldDh);
        QVERIFY(m_door->setCertificate(own.certificateFile, own.keyFile, error));
        QSslSocket visitor;
        QSslConfiguration configuration = visitor.sslConfiguration();
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
        configuration.setProtocol(QSsl::SslProtocol(protocol));
        if (!cipher.isEmpty())
            configuration.setCiphers({QSslCipher(QString::fromLatin1(cipher))});
        visitor.setSslConfiguration(configuration);
        visitor.connectToHostEncrypted(QStringLiteral("127.0.0.1"), m_door->serverPort());
        QVERIFY(waitUntil([&] { return visitor.isEncrypted() || visitor.error() >= 0; }));
        QCOMPARE(visitor.isEncrypted(), admitted);
        if (admitted && !cipher.isEmpty())
            QCOMPARE(visitor.sessionCipher().name().toLatin1(), cipher);
    }

    void balancer_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("outcome"); // who asked for what, or why it was dropped
        const QByteArray signature("\r\n\r\n\0\r\nQUIT\n", 12);
        const QByteArray request("GET /a HTTP/1.1\r\n\r\n");
        const QByteArray v4 = signature + QByteArray("\x21\x11\0\x0c\xc0\0\x02\x07\x7f\0\0\x01\xc3\x51\x01\xbb", 16);
        const QByteArray v6 = signature + QByteArray("\x21\x21\0\x27", 4)
                              + QByteArray("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x07", 16) + QByteArray(16, '\x01')
                              + QByteArray("\xc3\x52\x01\xbb", 4)
                              + QByteArray("\x04\0\0", 3); // one more field behind the addresses
        QTest::newRow("IPv4") << v4 + request << QStringLiteral("192.0.2.7:50001 /a");
        QTest::newRow("IPv6, a field more") << v6 + request << QStringLiteral("2001:db8::7:50002 /a");
        QTest::newRow("of its own") << signature + QByteArray("\x20\0\0\0", 4) + request
                                    << QStringLiteral("127.0.0.1 /a");
        QTest::newRow("none") << request << QStringLiteral("no PROXY header");
        QTest::newRow("version 1") << QByteArray("PROXY TCP4 192.0.2.7 127.0.0.1 50001 443\r\n") + request
                                   << QStringLiteral("no PROXY header");
        QTest::newRow("version 3") << signature + QByteArray("\x31\x11\0\x0c", 4) + QByteArray(12, '\1')
                                   << QStringLiteral("no PROXY header");
        QTest::newRow("too short for its addresses")
            << signature + QByteArray("\x21\x21\0\x0c", 4) + QByteArray(12, '\1') << QStringLiteral("no PROXY header");
        QTest::newRow("too long") << signature + QByteArray("\x21\x11\xff\xff", 4) << QStringLiteral("no PROXY header");
        QTest::newRow("a part") << v4.left(20) << QStringLiteral("no PROXY header in time");
        QTest::newRow("silent") << QByteArray() << QStringLiteral("no PROXY header in time");
        QTest::newRow("twice") << v4 + v4 + request << QStringLiteral("no HTTP request");
    }
    void balancer()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, outcome);
        QCOMPARE(ConnectionTiming::current().proxyHeader, 5000);
        ConnectionTiming::current().proxyHeader = 500;
        m_door->setProxies({QHostAddress::parseSubnet(QStringLiteral("127.0.0.0/8"))});
        QStringList outcomes;
        connect(m_door.get(), &CTlsDoor::requested, this, [&](QSslSocket* socket, const CTlsDoor::Request& request) {
            const QString peer = CTlsDoor::peerText(socket);
            const bool known = peer.startsWith(QLatin1String("127.0.0.1:"));
            outcomes +=
                (known ? QStringLiteral("127.0.0.1") : peer) + QLatin1Char(' ') + QString::fromLatin1(request.path);
        });
        connect(m_door.get(), &CTlsDoor::dropped, this,
                [&](const QString&, const QString& reason) { outcomes += reason; });
        const auto whole = visit(bytes, false);
        QVERIFY(waitUntil([&] { return !outcomes.isEmpty(); }));
        QCOMPARE(outcomes.takeFirst(), outcome);
        // Byte by byte the same.
        ConnectionTiming::current().proxyHeader = bytes.contains("GET") ? 5000 : 500;
        const auto pieces = visit({}, false);
        QVERIFY(pieces->waitForConnected());
        for (const char byte : bytes) {
            pieces->write(&byte, 1);
            pieces->flush();
            QCoreApplication::processEvents();
        }
        QVERIFY(waitUntil([&] { return !outcomes.isEmpty(); }));
        QCOMPARE(outcomes.takeFirst(), outcome);
        QCOMPARE(m_door->visitors(), outcome.contains(QLatin1Char('/')) ? 2 : 0);
        m_door->setProxies({QHostAddress::parseSubnet(QStringLiteral("192.0.2.0/24"))});
        const auto stranger = visit(bytes, false);
        QVERIFY(waitUntil([&] { return !outcomes.isEmpty(); }));
        QCOMPARE(outcomes.takeFirst(), QStringLiteral("no trusted balancer"));
    }

private:
    const DeviceCertificate& certificate(const QString& label)
    {
        if (!m_issued.contains(label))
            m_issued.insert(label, m_authority.issue(label));
        return m_issued.find(label).value();
    }

    std::unique_ptr<QSslSocket> visit(const QByteArray& text, bool tls = true)
    {
        auto socket = std::make_unique<QSslSocket>();
        socket->setPeerVerifyMode(QSslSocket::VerifyNone);
        if (tls)
            socket->connectToHostEncrypted(QStringLiteral("127.0.0.1"), m_door->serverPort());
        else
            socket->connectToHost(QStringLiteral("127.0.0.1"), m_door->serverPort());
        socket->write(text);
        return socket;
    }

    DeviceCertificates m_authority;
    QMap<QString, DeviceCertificate> m_issued;
    std::unique_ptr<CTlsDoor> m_door;
    QStringList m_reasons;
};

QTEST_GUILESS_MAIN(TestTlsDoor)
#include "tst_tls_door.moc"
