#include "faulty_wire.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QQueue>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTimer>
#include <QtNetwork/QTcpSocket>

namespace {

constexpr int mostUnsent = 256 * 1024;    // bytes; more is left to the kernel, and so to the sender
constexpr int halfOpenMs = 120000;        // then even a dead peer's machine would have been switched on again
constexpr int largestPiece = 200;         // bytes of a split write
constexpr int mostSplitBytes = 64 * 1024; // of one write; a large message in tiny pieces would take minutes
constexpr int longestPieceMs = 3;

// One connection of a device, passed on in both directions.
class WireConnection : public QObject
{
public:
    WireConnection(QTcpSocket* device, const ConnectionFate& fate, FaultyWire* wire)
        : QObject(wire)
        , m_wire(wire)
        , m_fate(fate)
        , m_random(fate.seed)
    {
        auto* application = new QTcpSocket(this);
        device->setParent(this);
        set(m_up, device, application);
        set(m_down, application, device);
        m_fateTimer.setSingleShot(true);
        connect(&m_fateTimer, &QTimer::timeout, this, [this] { meetFate(); });
        if (fate.end != ConnectionFate::End::Peaceful)
            m_fateTimer.start(fate.afterMs);
        m_clock.start();
        const QUrl& url = wire->target();
        application->connectToHost(url.host(), quint16(url.port(443)));
    }

    void drop()
    {
        m_fateTimer.stop();
        for (QTcpSocket* socket : {m_up.from, m_down.from}) {
            socket->disconnect(this);
            socket->abort(); // what was not sent is lost, and TLS says no goodbye
        }
        deleteLater();
    }

    void halt()
    {
        if (m_halted)
            return;
        m_halted = true;
        for (Direction* direction : {&m_up, &m_down}) {
            direction->timer.stop();
            direction->from->disconnect(this);
            direction->from->setReadBufferSize(1); // the rest is left to the kernel, which soon takes no more
        }
        QTimer::singleShot(halfOpenMs, this, [this] { drop(); });
    }

private:
    struct Piece
    {
        qint64 dueMs;
        QByteArray data; // null: the end
    };

    struct Direction
    {
        QTcpSocket* from = nullptr;
        QTcpSocket* to = nullptr;
        QQueue<Piece> queue;
        int queued = 0;
        qint64 lastDueMs = 0;
        QTimer timer;
    };

    void set(Direction& direction, QTcpSocket* from, QTcpSocket* to)
    {
        direction.from = from;
        direction.to = to;
        direction.timer.setSingleShot(true);
        from->setReadBufferSize(mostUnsent);
        connect(&direction.timer, &QTimer::timeout, this, [this, &direction] { pump(direction); });
        connect(from, &QTcpSocket::readyRead, this, [this, &direction] { read(direction); });
        connect(from, &QTcpSocket::connected, this, [this, from] {
            from->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            pump(m_up); // the device has spoken first
        });
        connect(to, &QTcpSocket::bytesWritten, this, [this, &direction] { read(direction); });
        connect(from, &QTcpSocket::disconnected, this, [this, &direction] {
            read(direction, true);
            append(direction, QByteArray(), 0);
            pump(direction);
            if (!m_halted && direction.to->state() == QAbstractSocket::UnconnectedState)
                deleteLater();
        });
        connect(from, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
            if (error != QAbstractSocket::RemoteHostClosedError)
                drop();
        });
    }

    void append(Direction& direction, const QByteArray& data, int delayMs)
    {
        direction.lastDueMs = qMax(direction.lastDueMs, m_clock.elapsed() + delayMs);
        direction.queue.enqueue({direction.lastDueMs, data});
        direction.queued += data.size();
    }

    void read(Direction& direction, bool isLast = false)
    {
        if (m_halted || m_met == ConnectionFate::End::Drop)
            return;
        if (!isLast && direction.queued + direction.to->bytesToWrite() > mostUnsent)
            return;
        QByteArray data = direction.from->readAll();
        if (data.isEmpty())
            return;
        m_bytes += data.size();
        if (m_corruptNext) {
            m_corruptNext = false;
            const int place = m_random.bounded(data.size());
            data[place] = char(data[place] ^ (1 << m_random.bounded(8)));
        }
        const int delayMs = m_wire->rates().on ? m_random.bounded(m_wire->rates().latencyMs + 1) : 0;
        if (m_fate.split && m_wire->rates().on && data.size() <= mostSplitBytes) {
            for (int begin = 0, size = 0; begin < data.size(); begin += size) {
                size = 1 + m_random.bounded(largestPiece);
                append(direction, data.mid(begin, size), begin == 0 ? delayMs : m_random.bounded(longestPieceMs + 1));
            }
        } else {
            append(direction, data, delayMs);
        }
        if (m_bytes >= m_fate.afterBytes && meetFate())
            return;
        pump(direction);
    }

    void pump(Direction& direction)
    {
        if (m_halted || direction.to->state() != QAbstractSocket::ConnectedState)
            return;
        while (!direction.queue.isEmpty() && direction.queue.head().dueMs <= m_clock.elapsed()) {
            const Piece piece = direction.queue.dequeue();
            if (piece.data.isNull())
                return direction.to->disconnectFromHost();
            direction.queued -= piece.data.size();
            direction.to->write(piece.data);
            direction.to->flush(); // a piece is a packet
        }
        if (!direction.queue.isEmpty())
            direction.timer.start(int(direction.queue.head().dueMs - m_clock.elapsed()) + 1);
    }

    // True when the connection passes nothing on any more.
    bool meetFate()
    {
        if (m_met != ConnectionFate::End::Peaceful || !m_wire->rates().on)
            return false;
        m_met = m_fate.end;
        switch (m_met) {
        case ConnectionFate::End::Peaceful:
            return false;
        case ConnectionFate::End::Drop:
            ++m_wire->counters().dropped;
            // Not from within the socket's own signal.
            QTimer::singleShot(0, this, [this] { drop(); });
            return true;
        case ConnectionFate::End::HalfOpen:
            ++m_wire->counters().halfOpen;
            halt();
            return true;
        case ConnectionFate::End::Corrupt:
            ++m_wire->counters().corrupted;
            m_corruptNext = true;
            return false;
        }
        return false;
    }

    FaultyWire* m_wire;
    ConnectionFate m_fate;
    ConnectionFate::End m_met = ConnectionFate::End::Peaceful;
    QRandomGenerator m_random;
    Direction m_up;
    Direction m_down;
    QTimer m_fateTimer;
    QElapsedTimer m_clock;
    qint64 m_bytes = 0;
    bool m_halted = false;
    bool m_corruptNext = false;
};

template<typename Action>
void forConnections(const QObject* wire, Action action)
{
    const QObjectList children = wire->children();
    for (QObject* child : children) {
        if (auto* connection = dynamic_cast<WireConnection*>(child))
            action(connection);
    }
}

} // namespace

FaultyWire::FaultyWire(const QUrl& url, const FaultRates& rates, Counters& counters, quint32 seed, quint32 device,
                       QObject* parent)
    : QTcpServer(parent)
    , m_url(url)
    , m_rates(rates)
    , m_counters(counters)
    , m_seed(seed)
    , m_device(device)
{
    connect(this, &QTcpServer::newConnection, this, &FaultyWire::onNewConnection);
}

bool FaultyWire::open()
{
    const QString host = m_url.host();
    if (host == QLatin1String("localhost"))
        return listen(QHostAddress::LocalHost);
    const QHostAddress address(host);
    return address.isLoopback() && listen(address);
}

QUrl FaultyWire::url() const
{
    QUrl url = m_url;
    url.setPort(serverPort());
    return url;
}

void FaultyWire::dropAll()
{
    forConnections(this, [](WireConnection* connection) { connection->drop(); });
}

void FaultyWire::haltAll()
{
    forConnections(this, [](WireConnection* connection) { connection->halt(); });
}

void FaultyWire::onNewConnection()
{
    while (QTcpSocket* socket = nextPendingConnection()) {
        const ConnectionFate fate = ConnectionFate::draw(m_rates, m_seed, m_device, ++m_number);
        ++m_counters.connections;
        if (m_rates.on)
            qInfo("Simulator: connection %u of device %u: %s", m_number, m_device, qUtf8Printable(fate.toText()));
        new WireConnection(socket, fate, this);
    }
}
