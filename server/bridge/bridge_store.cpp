#include <server/bridge/bridge_store_p.h>

#include <foundation/core/random.h>
#include <server/database/sql_statement_p.h>

#include <QtCore/QCryptographicHash>

#include <utility>

namespace {

const QString modelSource = QStringLiteral("Model");
const QString accessSource = QStringLiteral("Access");
const QString auditSource = QStringLiteral("Audit");
const QString lockName = QStringLiteral("publisher");
QString newEpoch()
{
    constexpr int size = 8;
    return QString::fromLatin1(CRandom::getArray(size).toHex());
}

} // namespace

BridgeStore::BridgeStore(CDatabase* database, const BridgeTopics& topics, const QString& server)
    : m_database(database)
    , m_topics(topics)
    , m_server(server)
    , m_intake(database, server)
{
}

const QStringList& BridgeStore::sources()
{
    static const QStringList all{modelSource, accessSource, auditSource};
    return all;
}

bool BridgeStore::exists()
{
    return m_database->exists();
}

// Nobody waits here for another program's change: what cannot be done now is done a moment later.
bool BridgeStore::begin()
{
    // Within a change that is not finished nothing is looked at.
    if (m_database->depth() > 0)
        return false;
    if (m_database->tryBegin())
        return true;
    m_database->end(false);
    return false;
}

bool BridgeStore::end(bool good)
{
    return m_database->end(good && !m_database->hasFailed());
}

bool BridgeStore::open()
{
    if (isOpen())
        return true;
    if (!begin())
        return false;
    const QString folder = m_database->folder();
    m_told.open(folder.isEmpty()
                    ? folder
                    : QStringLiteral("%1/bridge-%2-%3.json").arg(folder, m_topics.server(), installation()));
    bool good = m_intake.begin();
    for (const QString& source : sources())
        good = good && ensureSource(source);
    if (end(good)) {
        noteTold();
        return true;
    }
    close();
    return false;
}

void BridgeStore::close()
{
    m_epochs.clear();
}

void BridgeStore::noteTold()
{
    for (auto epoch = m_epochs.cbegin(); epoch != m_epochs.cend(); ++epoch)
        m_told.note(epoch.key(), *epoch, m_acknowledged.value(epoch.key()));
    m_told.write();
}

bool BridgeStore::ensureSource(const QString& source)
{
    SqlStatement add(m_database,
                     QStringLiteral("INSERT INTO bridge_source(server,source,epoch,seq,acknowledged) VALUES(?,?,?,0,0) "
                                    "ON CONFLICT(server,source) DO NOTHING"));
    if (!add.bind(m_server).bind(source).bind(newEpoch()).exec())
        return false;
    qint64 seq = 0;
    {
        SqlStatement find(m_database, QStringLiteral("SELECT epoch,acknowledged,seq FROM bridge_source WHERE server=? "
                                                     "AND source=?"));
        if (!find.bind(m_server).bind(source).exec() || !find.next())
            return false;
        m_epochs.insert(source, find.text(0));
        m_acknowledged.insert(source, find.integer(1));
        seq = find.integer(2);
        m_last.insert(source, seq);
    }
    return m_told.isContinued(source, epoch(source), seq) || renewEpoch(source);
}

bool BridgeStore::renewEpoch(const QString& source)
{
    const QString epoch = newEpoch();
    SqlStatement forget(m_database,
                        QStringLiteral("DELETE FROM bridge_message WHERE server=? AND source=? AND seq<=?"));
    if (!forget.bind(m_server).bind(source).bind(acknowledged(source)).exec())
        return false;
    qint64 given = 0;
    qint64 known = 0;
    for (;;) {
        // Numbers become smaller or stay: none meets one that is still to be changed.
        const QList<BridgeMessage> waiting = messages(source, known, BridgeIntake::rowsPerStep);
        for (const BridgeMessage& message : waiting) {
            std::optional<BridgeNotification> notification = BridgeNotification::fromPayload(message.payload);
            QByteArray payload = message.payload;
            ++given;
            if (notification) {
                notification->seq = given;
                notification->epoch = epoch;
                payload = notification->toPayload();
            }
            SqlStatement change(m_database, QStringLiteral("UPDATE bridge_message SET seq=?,payload=? WHERE server=? "
                                                           "AND source=? AND seq=?"));
            if (!change.bind(given)
                     .bind(QString::fromUtf8(payload))
                     .bind(m_server)
                     .bind(source)
                     .bind(message.seq)
                     .exec())
                return false;
        }
        if (waiting.isEmpty())
            break;
        known = waiting.last().seq;
    }
    SqlStatement note(m_database, QStringLiteral("UPDATE bridge_source SET epoch=?,seq=?,acknowledged=0 WHERE server=? "
                                                 "AND source=?"));
    if (!note.bind(epoch).bind(given).bind(m_server).bind(source).exec())
        return false;
    qInfo("The database is not the one of the last message to the broker: %s begins a new epoch",
          qUtf8Printable(source));
    m_epochs.insert(source, epoch);
    m_acknowledged.insert(source, 0);
    m_last.insert(source, given);
    return true;
}

QString BridgeStore::installation()
{
    constexpr int digits = 16;
    if (m_installation.isEmpty()) {
        SqlStatement find(m_database, QStringLiteral("SELECT value FROM secret WHERE name='system hash'"));
        if (find.exec() && find.next()) {
            const QByteArray secret = "bridge" + find.bytes(0);
            m_installation =
                QString::fromLatin1(QCryptographicHash::hash(secret, QCryptographicHash::Sha256).toHex().left(digits));
        }
    }
    return m_installation;
}

// --- The publisher's lock

// No clock is compared with another server's: whoever sees the same beat several times in a row takes over.
void BridgeStore::beat()
{
    if (!isOpen())
        return;
    QString holder;
    qint64 beat = 0;
    {
        SqlStatement find(m_database, QStringLiteral("SELECT holder,beat FROM bridge_lock WHERE name=?"));
        if (!find.bind(lockName).exec())
            return;
        if (find.next()) {
            holder = find.text(0);
            beat = find.integer(1);
        }
    }
    m_sameBeats = beat == m_seenBeat ? m_sameBeats + 1 : 0;
    m_seenBeat = beat;
    // Busy now, it is renewed with a later beat; whether it is still held collect() looks itself.
    m_isPublisher = holder == m_server;
    const bool isFree = holder.isEmpty() || m_isPublisher || m_sameBeats >= missedBeats;
    if (!isFree || !begin())
        return;
    // Of two that take it at once, one finds that the beat has moved on.
    SqlStatement take(m_database,
                      QStringLiteral("INSERT INTO bridge_lock(name,holder,beat) VALUES(?,?,?) ON CONFLICT(name) DO "
                                     "UPDATE SET holder=excluded.holder,beat=excluded.beat WHERE bridge_lock.beat=?"));
    const bool isTaken = take.bind(lockName).bind(m_server).bind(beat + 1).bind(beat).exec() && take.changed() == 1;
    m_isPublisher = end(isTaken);
    if (m_isPublisher)
        m_seenBeat = beat + 1;
}

// --- Taking up

BridgeStore::Result BridgeStore::collect()
{
    if (!isOpen())
        return BridgeIntake::Failed;
    if (!m_intake.hasNews(m_isPublisher))
        return BridgeIntake::Done;
    if (!begin())
        return BridgeIntake::Failed;
    m_given.clear();
    if (m_isPublisher) {
        // Another server may have taken it over while this one was stopped.
        SqlStatement find(m_database, QStringLiteral("SELECT holder FROM bridge_lock WHERE name=?"));
        m_isPublisher = find.bind(lockName).exec() && find.next() && find.text(0) == m_server;
    }
    QVector<BridgeNews> news;
    Result result = m_intake.take(m_isPublisher, &news);
    for (const BridgeNews& one : qAsConst(news)) {
        if (result != BridgeIntake::Failed && !append(one))
            result = BridgeIntake::Failed;
    }
    for (auto given = m_given.cbegin(); result != BridgeIntake::Failed && given != m_given.cend(); ++given) {
        SqlStatement note(m_database, QStringLiteral("UPDATE bridge_source SET seq=? WHERE server=? AND source=?"));
        if (!note.bind(*given).bind(m_server).bind(given.key()).exec())
            result = BridgeIntake::Failed;
    }
    // Also when it is not known whether they are stored: whoever looks for them in vain has lost little.
    for (auto given = m_given.cbegin(); given != m_given.cend(); ++given)
        m_last.insert(given.key(), *given);
    return end(result != BridgeIntake::Failed) ? result : BridgeIntake::Failed;
}

qint64 BridgeStore::nextSeq(const QString& source)
{
    auto given = m_given.find(source);
    if (given == m_given.end()) {
        SqlStatement find(m_database, QStringLiteral("SELECT seq FROM bridge_source WHERE server=? AND source=?"));
        if (!find.bind(m_server).bind(source).exec() || !find.next())
            return 0;
        given = m_given.insert(source, find.integer(0));
    }
    return ++*given;
}

bool BridgeStore::append(const BridgeNews& news)
{
    const qint64 seq = nextSeq(news.source);
    BridgeMessage message{seq, news.topics, news.line};
    if (message.payload.isEmpty())
        message.payload =
            BridgeNotification{news.source, news.data, seq, epoch(news.source), installation()}.toPayload();
    return seq > 0 && store(news.source, message);
}

bool BridgeStore::store(const QString& source, const BridgeMessage& message)
{
    SqlStatement add(m_database,
                     QStringLiteral("INSERT INTO bridge_message(server,source,seq,topics,payload) VALUES(?,?,?,?,?)"));
    return add.bind(m_server)
        .bind(source)
        .bind(message.seq)
        .bind(message.topics.join(QLatin1Char(' ')))
        .bind(QString::fromUtf8(message.payload))
        .exec();
}

// --- Sending

QList<BridgeMessage> BridgeStore::messages(const QString& source, qint64 seq, int limit, qint64 upTo)
{
    QList<BridgeMessage> found;
    if (!isOpen())
        return found;
    SqlStatement find(m_database, QStringLiteral("SELECT seq,topics,payload FROM bridge_message WHERE server=? AND "
                                                 "source=? AND seq>? AND seq<=? ORDER BY seq LIMIT %1")
                                      .arg(limit));
    for (find.bind(m_server).bind(source).bind(seq).bind(upTo).exec(); find.next();)
        found.append(
            {find.integer(0), find.text(1).split(QLatin1Char(' ')), find.text(2).toUtf8(), source == auditSource});
    return found;
}

qint64 BridgeStore::waiting()
{
    if (!isOpen())
        return m_waiting;
    SqlStatement find(m_database, QStringLiteral("SELECT sum(seq-acknowledged) FROM bridge_source WHERE server=?"));
    if (find.bind(m_server).exec() && find.next())
        m_waiting = find.integer(0);
    return m_waiting;
}

bool BridgeStore::acknowledge(const QMap<QString, qint64>& upTo)
{
    if (!isOpen() || !begin())
        return false;
    bool good = true;
    for (auto entry = upTo.cbegin(); entry != upTo.cend(); ++entry) {
        SqlStatement note(m_database, QStringLiteral("UPDATE bridge_source SET acknowledged=? WHERE server=? AND "
                                                     "source=? AND acknowledged<?"));
        SqlStatement forget(m_database,
                            QStringLiteral("DELETE FROM bridge_message WHERE server=? AND source=? AND seq<=?"));
        good = good && note.bind(*entry).bind(m_server).bind(entry.key()).bind(*entry).exec()
               && forget.bind(m_server).bind(entry.key()).bind(*entry - keptMessages).exec();
    }
    if (!end(good))
        return false;
    for (auto entry = upTo.cbegin(); entry != upTo.cend(); ++entry)
        m_acknowledged.insert(entry.key(), *entry);
    noteTold();
    return true;
}
