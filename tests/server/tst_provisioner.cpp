#include <foundation/access/lock.h>
#include <foundation/network/web_socket_connection.h>
#include <server/devices/provisioner.h>

#include <support/tcp_pair.h>

#include <QtTest/QtTest>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

namespace {

QByteArray listOf(int count)
{
    CLockListBuilder builder;
    CLockEntry entry;
    entry.schedule = builder.schedule(CTimeProfile::always());
    for (int i = 0; i < count; ++i) {
        entry.credential = CLockCredential::fromCode(QString::number(1000 + i));
        entry.user = entry.medium = 1 + i;
        builder.append(entry);
    }
    return builder.text();
}

// `before`: what leads from it is offered, too.
CProvisionedList provisioned(const QByteArray& text, const QByteArray& before = QByteArray())
{
    CProvisionedList list{CLockList::revisionOf(text), text, {}};
    if (!before.isEmpty())
        list.deltas.insert(CLockList::revisionOf(before), CLockList::delta(before, text));
    return list;
}

CLockState stateWith(const QByteArray& text)
{
    return {text.isEmpty() ? QByteArray() : CLockList::revisionOf(text), QByteArray(32, '0'), 1, 1, 0, 0, 0};
}

// "begin", "delta", "part", "commit"
QStringList names(const CProvisioner::Commands& commands)
{
    QStringList names;
    for (const CLockCommand& command : commands) {
        const auto* begin = std::get_if<CLockBegin>(&command.body);
        names.append(begin                                               ? (begin->base.isEmpty() ? "begin" : "delta")
                     : std::holds_alternative<CLockPart>(command.body)   ? "part"
                     : std::holds_alternative<CLockCommit>(command.body) ? "commit"
                                                                         : "?");
    }
    return names;
}

CLockAnswer ok(const CLockCommand& command)
{
    return {command.id, QString()};
}

/// Passes on what a WebSocket server and its client say, until so many bytes came from the server: then both lose it.
class CuttingRelay : public QTcpServer
{
public:
    CuttingRelay(quint16 target, qint64 bytes)
        : m_left(bytes)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this, target] {
            m_lock = nextPendingConnection();
            m_server.connectToHost(QHostAddress(QHostAddress::LocalHost), target);
            connect(m_lock, &QTcpSocket::readyRead, this, [this] { m_server.write(m_lock->readAll()); });
            connect(m_lock, &QTcpSocket::disconnected, &m_server, &QTcpSocket::abort);
            connect(&m_server, &QTcpSocket::connected, this, [this] { m_server.write(m_lock->readAll()); });
            connect(&m_server, &QTcpSocket::readyRead, this, [this] {
                const QByteArray bytes = m_server.readAll().left(int(m_left));
                m_left -= bytes.size();
                m_lock->write(bytes);
                if (m_left == 0)
                    m_lock->disconnectFromHost(); // what was written still arrives
            });
        });
    }

private:
    QTcpSocket m_server;
    QTcpSocket* m_lock = nullptr;
    qint64 m_left;
};

/// A lock and its server at both ends of a WebSocket.
struct Link
{
    Link(const QByteArray& kept, const CProvisionedList& wanted, qint64 bytes)
        : lock(CLockMemory{kept, CLockJournal(), {}, 0})
    {
        lock.start(0);
        provisioner.want(wanted, 0);
        webSocketServer.listen(QHostAddress::LocalHost);
        relay = std::make_unique<CuttingRelay>(webSocketServer.serverPort(), bytes);
        QObject::connect(&webSocketServer, &QWebSocketServer::newConnection, [this] {
            serverEnd = CWebSocketConnection::takeOver(webSocketServer.nextPendingConnection(), 30, &webSocketServer);
            provisioner.linked();
            QObject::connect(serverEnd, &CMessageTransfer::dataReceived, [this](const QByteArray& bytes) {
                const CLockFromDevice message = CLockMessage::fromDevice(bytes);
                if (const auto* state = std::get_if<CLockState>(&message))
                    send(provisioner.take(*state, 0));
                else if (const auto* answer = std::get_if<CLockAnswer>(&message))
                    send(provisioner.take(*answer, 0));
            });
        });
        auto* socket = new QWebSocket;
        lockEnd = CWebSocketConnection::takeOver(socket, 30, &webSocketServer);
        QObject::connect(socket, &QWebSocket::connected, [this] { tell(lock.linked(0)); });
        QObject::connect(socket, &QWebSocket::disconnected, [this] { isOver = true; });
        QObject::connect(lockEnd, &CMessageTransfer::dataReceived, [this](const QByteArray& bytes) {
            CLockEffects effects;
            lock.handle(bytes, 0, &effects);
            tell(effects);
        });
        socket->open(QUrl(QStringLiteral("ws://127.0.0.1:%1").arg(relay->serverPort())));
    }
    ~Link() { QObject::disconnect(lockEnd->webSocket(), nullptr, nullptr, nullptr); }

    void send(const CProvisioner::Commands& commands)
    {
        for (const CLockCommand& command : commands)
            serverEnd->sendData(CLockMessage::toBytes(command));
    }
    void tell(const CLockEffects& effects)
    {
        for (const QByteArray& message : effects.messages)
            lockEnd->sendData(message);
    }

    CLock lock;
    CProvisioner provisioner{1000000};
    QWebSocketServer webSocketServer{QString(), QWebSocketServer::NonSecureMode};
    std::unique_ptr<CuttingRelay> relay;
    CWebSocketConnection* serverEnd = nullptr;
    CWebSocketConnection* lockEnd = nullptr;
    bool isOver = false;
};

} // namespace

class ProvisionerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sendsWhatIsMissing();
    void keepsToItsWindow();
    void refusalsAndSilence();
    void linksThatBreakAtEveryByte_data();
    void linksThatBreakAtEveryByte();
};

void ProvisionerTest::sendsWhatIsMissing()
{
    const QByteArray before = listOf(20);
    const QByteArray after = listOf(21);
    CProvisioner provisioner(7);
    provisioner.linked();
    // Nobody knows yet what the lock has, or what it is to have.
    QVERIFY(provisioner.want(provisioned(before), 0).isEmpty());
    QVERIFY(provisioner.take(stateWith(before), 0).isEmpty());
    QVERIFY(provisioner.isUpToDate());
    QCOMPARE(names(provisioner.want(provisioned(after, before), 0)), QStringList({"delta", "part"}));
    QVERIFY(!provisioner.isUpToDate());
    // The lock turns out to have none at all, then the one that is wanted.
    QCOMPARE(names(provisioner.take(stateWith({}), 0)), QStringList({"begin", "part"}));
    QVERIFY(provisioner.take(stateWith(after), 0).isEmpty());
    QVERIFY(provisioner.isUpToDate() && !provisioner.isSending());
    // What changes everything is no shorter than the list.
    QCOMPARE(names(provisioner.want(provisioned(listOf(1), after), 0)), QStringList({"begin", "part"}));
    provisioner.unlinked();
    QVERIFY(!provisioner.isUpToDate());
    QVERIFY(provisioner.take(stateWith(before), 0).isEmpty());
    QVERIFY(provisioner.want(provisioned(after), 0).isEmpty());
}

void ProvisionerTest::keepsToItsWindow()
{
    const QByteArray list = listOf(10000);
    const int parts = CLockMessage::cut(list).size();
    QVERIFY(parts > 2 * CProvisioner::window);
    CProvisioner provisioner(7);
    provisioner.want(provisioned(list), 0);
    provisioner.linked();
    QQueue<CLockCommand> way;
    const auto post = [&way](const CProvisioner::Commands& commands) {
        for (const CLockCommand& command : commands)
            way.enqueue(command);
    };
    post(provisioner.take(stateWith({}), 0));
    QCOMPARE(way.size(), CProvisioner::window);
    QCOMPARE(way.head().id, qint64(8));
    QStringList sent;
    while (!way.isEmpty()) {
        const CLockCommand command = way.dequeue();
        sent += names({command});
        // It goes last, and alone.
        QVERIFY(sent.last() != "commit" || (way.isEmpty() && sent.size() == parts + 2));
        post(provisioner.take(ok(command), 0));
        QVERIFY(way.size() <= CProvisioner::window);
        // An answer that comes twice, one to nothing, and a state in between change nothing.
        QVERIFY(provisioner.take(ok(command), 0).isEmpty());
        QVERIFY(provisioner.take(CLockAnswer{4711, "no"}, 0).isEmpty());
        if (!way.isEmpty())
            QVERIFY(provisioner.take(stateWith({}), 0).isEmpty());
    }
    QCOMPARE(sent.size(), parts + 2);
    QVERIFY(provisioner.isUpToDate());
}

void ProvisionerTest::refusalsAndSilence()
{
    const QByteArray before = listOf(20);
    const QByteArray after = listOf(21);
    CProvisioner provisioner(7);
    provisioner.want(provisioned(after, before), 0);
    provisioner.linked();
    // It cannot apply the change: the whole list goes, and when that is refused, too, only after a pause.
    CProvisioner::Commands commands = provisioner.take(stateWith(before), 0);
    QCOMPARE(names(commands).first(), QString("delta"));
    const CLockCommand old = commands.last();
    commands = provisioner.take(CLockAnswer{commands.first().id, "another list"}, 0);
    QCOMPARE(names(commands).first(), QString("begin"));
    QVERIFY(provisioner.take(ok(old), 0).isEmpty());
    QVERIFY(provisioner.take(CLockAnswer{commands.first().id, "no room"}, 5).isEmpty());
    QCOMPARE(provisioner.fault(), QString("no room"));
    QVERIFY(provisioner.take(stateWith(before), 6).isEmpty());
    QVERIFY(provisioner.tick(4 + CProvisioner::retryPause).isEmpty());
    qint64 now = 5 + CProvisioner::retryPause;
    commands = provisioner.tick(now);
    QVERIFY(!commands.isEmpty());
    // No answer for too long: anew, under other numbers, so that late answers to the old ones do no harm.
    now += CProvisioner::patience;
    QVERIFY(provisioner.tick(now - 1).isEmpty());
    const CProvisioner::Commands again = provisioner.tick(now);
    QCOMPARE(names(again), QStringList({"begin", "part"}));
    QVERIFY(again.first().id > commands.last().id);
    QVERIFY(provisioner.take(ok(commands.first()), now).isEmpty());
    // Another list is wanted meanwhile: at once, and the fault is forgotten.
    commands = provisioner.want(provisioned(listOf(22)), now);
    QCOMPARE(names(commands), QStringList({"begin", "part"}));
    QCOMPARE(provisioner.fault(), QString());
}

void ProvisionerTest::linksThatBreakAtEveryByte_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::newRow("the first list") << QByteArray() << listOf(3);
    QTest::newRow("a change") << listOf(8) << listOf(9);
}

void ProvisionerTest::linksThatBreakAtEveryByte()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    const CProvisionedList wanted = provisioned(after, before);
    int old = 0;
    for (qint64 bytes = 1;; ++bytes) {
        Link link(before, wanted, bytes);
        QVERIFY(waitUntil([&] { return link.isOver || link.provisioner.isUpToDate(); }));
        const QByteArray list = link.lock.memory().list;
        QVERIFY2(list == before || list == after, QByteArray::number(bytes));
        QCOMPARE(link.lock.revision(), list.isEmpty() ? QByteArray() : CLockList::revisionOf(list));
        old += list == before ? 1 : 0;
        if (link.provisioner.isUpToDate()) {
            QCOMPARE(list, after);
            break;
        }
    }
    // Nearly all of the bytes are needed, and the transfer has several messages.
    QVERIFY2(old > 500, QByteArray::number(old));
}

QTEST_GUILESS_MAIN(ProvisionerTest)
#include "tst_provisioner.moc"
