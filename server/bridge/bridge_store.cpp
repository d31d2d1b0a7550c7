#include <server/bridge/bridge_store_p.h>

#include <foundation/core/random.h>
#include <server/audit/audit_event.h>
#include <server/audit/audit_head.h>
#include <server/database/sql_statement_p.h>
#include <server/model/model_vocabulary_p.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDateTime>
#include <QtCore/QJsonObject>

#include <array>
#include <utility>

namespace {

const QString modelSource = QStringLiteral("Model");
const QString accessSource = QStringLiteral("Access");
const QString auditSource = QStringLiteral("Audit");
const QString lockName = QStringLiteral("publisher");
// Of changes that no server with a bridge has made.
const QString othersStream = QStringLiteral("change");

// What the trail knows of a door's event and a subscriber may: ids and reasons, no names, no numbers of cards.
constexpr std::array<const char*, 10> accessKeys = {
    "device", "accessPoint", "user", "medium", "reason", "serverReason", "way", "deviceSeq", "correction", "seconds"};

QString newEpoch()
{
    constexpr int size = 8;
    return QString::fromLatin1(CRandom::getArray(size).toHex());
}

QString changesOf(const QString& server)
{
    return QStringLiteral("change of ") + server;
}

QString eventsOf(qint64 chain)
{
    return QStringLiteral("event %1").arg(chain);
}

QString headsOf(qint64 chain)
{
    return QStringLiteral("head %1").arg(chain);
}

QVariantMap accessData(const QJsonObject& payload, AuditKind kind, qint64 at)
{
    QVariantMap data{{QStringLiteral("event"), auditKindName(kind)},
                     {QStringLiteral("at"), QDateTime::fromMSecsSinceEpoch(at, Qt::UTC).toString(Qt::ISODate)}};
    for (const char* key : accessKeys) {
        const QString name = QLatin1String(key);
        if (payload.contains(name))
            data.insert(name, payload.value(name).toVariant());
    }
    return data;
}

} // namespace

BridgeStore::BridgeStore(CDatabase* database, const BridgeTopics& topics, const QString& server)
    : m_database(database)
    , m_topics(topics)
    , m_server(server)
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
    const int wait = m_database->writeWait();
    m_database->setWriteWait(0);
    const bool good = m_database->begin();
    m_database->setWriteWait(wait);
    if (!good)
        m_database->end(false);
    return good;
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
    bool good = true;
    const qint64 lastChange = highest(QStringLiteral("SELECT max(seq) FROM change"));
    SqlStatement known(m_database, QStringLiteral("SELECT count(*) FROM bridge_position WHERE stream=?"));
    if (known.bind(othersStream).exec() && known.next() && known.integer(0) == 0) {
        // The first bridge: what happened before it is history.
        good = setPosition(othersStream, lastChange);
        QVector<std::pair<qint64, std::pair<qint64, qint64>>> chains;
        SqlStatement list(m_database, QStringLiteral("SELECT id,(SELECT max(seq) FROM event WHERE chain=id),(SELECT "
                                                     "max(seq) FROM audit_head WHERE chain=id) FROM audit_chain"));
        for (list.exec(); list.next();)
            chains.append({list.integer(0), {list.integer(1), list.integer(2)}});
        for (const auto& [chain, ends] : qAsConst(chains))
            good = good && setPosition(eventsOf(chain), ends.first) && setPosition(headsOf(chain), ends.second);
    }
    SqlStatement own(m_database, QStringLiteral("SELECT count(*) FROM bridge_position WHERE stream=?"));
    if (good && own.bind(changesOf(m_server)).exec() && own.next() && own.integer(0) == 0)
        // What it changed while it had no bridge, others have told up to here.
        good = setPosition(changesOf(m_server), position(othersStream));
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
        const QList<BridgeMessage> waiting = messages(source, known, rowsPerStep);
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
    return true;
}

QString BridgeStore::installation()
{
    constexpr int digits = 16;
    if (m_installation.isEmpty()) {
        SqlStatement find(m_database, QStringLiteral("SELECT value FROM secret WHERE name='system hash'"));
        if (find.exec() && find.next())
            m_installation = QString::fromLatin1(
                QCryptographicHash::hash("bridge" + find.bytes(0), QCryptographicHash::Sha256).toHex().left(digits));
    }
    return m_installation;
}

qint64 BridgeStore::highest(const QString& sql)
{
    SqlStatement find(m_database, sql);
    return find.exec() && find.next() ? find.integer(0) : 0;
}

qint64 BridgeStore::position(const QString& stream)
{
    SqlStatement find(m_database, QStringLiteral("SELECT position FROM bridge_position WHERE stream=?"));
    return find.bind(stream).exec() && find.next() ? find.integer(0) : 0;
}

bool BridgeStore::setPosition(const QString& stream, qint64 position)
{
    SqlStatement set(m_database, QStringLiteral("INSERT INTO bridge_position(stream,position) VALUES(?,?) ON "
                                                "CONFLICT(stream) DO UPDATE SET position=excluded.position"));
    return set.bind(stream).bind(position).exec();
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
    if (!isOpen() || !begin())
        return Failed;
    m_given.clear();
    if (m_isPublisher) {
        // Another server may have taken it over while this one was stopped.
        SqlStatement find(m_database, QStringLiteral("SELECT holder FROM bridge_lock WHERE name=?"));
        m_isPublisher = find.bind(lockName).exec() && find.next() && find.text(0) == m_server;
    }
    Result result = collectChanges();
    if (result != Failed) {
        const Result chains = collectChains();
        result = chains == Done ? result : chains;
    }
    for (auto given = m_given.cbegin(); result != Failed && given != m_given.cend(); ++given) {
        SqlStatement note(m_database, QStringLiteral("UPDATE bridge_source SET seq=? WHERE server=? AND source=?"));
        if (!note.bind(*given).bind(m_server).bind(given.key()).exec())
            result = Failed;
    }
    return end(result != Failed) ? result : Failed;
}

BridgeStore::Result BridgeStore::collectChanges()
{
    struct Row
    {
        qint64 seq;
        int kind;
        qint64 item;
    };
    // What comes behind `last` while this goes on is for the next time.
    const qint64 last = highest(QStringLiteral("SELECT max(seq) FROM change"));
    const qint64 own = position(changesOf(m_server));
    const qint64 others = m_isPublisher ? position(othersStream) : last;
    if (own >= last && others >= last)
        return Done;
    QVector<Row> rows;
    {
        SqlStatement find(
            m_database,
            QStringLiteral("SELECT seq,kind,item FROM change WHERE seq>? AND seq<=? AND ((server=? AND seq>?) OR "
                           "(seq>? AND server NOT IN (SELECT server FROM bridge_source))) ORDER BY seq LIMIT %1")
                .arg(rowsPerStep));
        find.bind(qMin(own, others)).bind(last).bind(m_server).bind(own).bind(others);
        for (find.exec(); find.next();)
            rows.append({find.integer(0), int(find.integer(1)), find.integer(2)});
    }
    for (const Row& row : qAsConst(rows)) {
        const QVariantList items = row.item == 0 ? QVariantList() : QVariantList{QVariantMap{{Model::idKey, row.item}}};
        const QVariantMap data{{QStringLiteral("event"), QStringLiteral("changed")},
                               {QStringLiteral("data"), QVariantMap{{Model::nameOf(Model::Kind(row.kind)), items}}},
                               {QStringLiteral("seq"), row.seq}};
        if (!append(modelSource, data, {QStringLiteral("notify/model")}))
            return Failed;
    }
    const bool isAll = rows.size() < rowsPerStep;
    const qint64 reached = isAll ? last : rows.last().seq;
    if ((own < reached && !setPosition(changesOf(m_server), reached))
        || (m_isPublisher && others < reached && !setPosition(othersStream, reached)))
        return Failed;
    return isAll ? Done : More;
}

BridgeStore::Result BridgeStore::collectChains()
{
    QVector<qint64> chains;
    {
        SqlStatement find(m_database, QStringLiteral("SELECT id,name,name IN (SELECT server FROM bridge_source) FROM "
                                                     "audit_chain ORDER BY id"));
        for (find.exec(); find.next();) {
            const bool hasServer = find.value(2).toBool();
            if (hasServer ? find.text(1) == m_server : m_isPublisher)
                chains.append(find.integer(0));
        }
    }
    Result result = Done;
    for (const qint64 chain : qAsConst(chains)) {
        const Result one = collectChain(chain);
        if (one == Failed)
            return Failed;
        result = one == More ? More : result;
    }
    return result;
}

BridgeStore::Result BridgeStore::collectChain(qint64 chain)
{
    struct Row
    {
        qint64 seq;
        qint64 at;
        AuditKind kind;
        QByteArray payload;
    };
    const qint64 known = position(eventsOf(chain));
    QVector<Row> rows;
    {
        SqlStatement find(m_database,
                          QStringLiteral("SELECT seq,at,kind,payload FROM event WHERE chain=? AND seq>? ORDER BY seq "
                                         "LIMIT %1")
                              .arg(rowsPerStep));
        for (find.bind(chain).bind(known).exec(); find.next();)
            rows.append({find.integer(0), find.integer(1), AuditKind(find.integer(2)), find.text(3).toUtf8()});
    }
    for (const Row& row : qAsConst(rows)) {
        const bool isOfDoor = row.kind == AuditKind::Granted || row.kind == AuditKind::Denied
                              || row.kind == AuditKind::Forced || row.kind == AuditKind::Held
                              || row.kind == AuditKind::Opened;
        if (!isOfDoor)
            continue;
        AuditRecord record;
        record.payload = row.payload;
        QVariantMap data = accessData(record.details(), row.kind, row.at);
        data.insert(QStringLiteral("chain"), chain);
        data.insert(QStringLiteral("seq"), row.seq);
        QStringList topics{QStringLiteral("notify/access")};
        const QString door = data.value(QStringLiteral("accessPoint")).toString();
        if (!door.isEmpty() && (row.kind == AuditKind::Granted || row.kind == AuditKind::Denied))
            topics.append(QStringLiteral("event/%1/%2").arg(door, auditKindName(row.kind)));
        if (!append(accessSource, data, topics))
            return Failed;
    }
    if (!rows.isEmpty() && !setPosition(eventsOf(chain), rows.last().seq))
        return Failed;

    const qint64 knownHead = position(headsOf(chain));
    QList<AuditHead> heads;
    {
        SqlStatement find(m_database, QStringLiteral("SELECT seq,at,hash,signature FROM audit_head WHERE chain=? AND "
                                                     "seq>? ORDER BY seq,at LIMIT %1")
                                          .arg(rowsPerStep));
        for (find.bind(chain).bind(knownHead).exec(); find.next();)
            heads.append({chain, find.integer(0), find.integer(1), find.bytes(2), find.bytes(3), {}});
    }
    for (const AuditHead& head : qAsConst(heads)) {
        if (!appendLine(head.toLine()))
            return Failed;
    }
    if (!heads.isEmpty() && !setPosition(headsOf(chain), heads.last().seq))
        return Failed;
    return rows.size() == rowsPerStep || heads.size() == rowsPerStep ? More : Done;
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

bool BridgeStore::append(const QString& source, QVariantMap data, const QStringList& topics)
{
    BridgeNotification notification;
    notification.source = source;
    notification.data = std::move(data);
    notification.seq = nextSeq(source);
    notification.epoch = epoch(source);
    notification.installation = installation();
    return notification.seq > 0 && store(source, {notification.seq, topics, notification.toPayload()});
}

// As it is, for whoever keeps it and hands it to the verification later.
bool BridgeStore::appendLine(const QByteArray& line)
{
    const qint64 seq = nextSeq(auditSource);
    return seq > 0 && store(auditSource, {seq, {QStringLiteral("audit/head")}, line});
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
