#include <server/bridge/bridge_intake_p.h>

#include <server/audit/audit_event.h>
#include <server/audit/audit_head.h>
#include <server/bridge/bridge_message_p.h>
#include <server/database/sql_statement_p.h>
#include <server/model/model_vocabulary_p.h>

#include <QtCore/QDateTime>

#include <algorithm>
#include <array>

namespace {

const QString modelSource = QStringLiteral("Model");
const QString accessSource = QStringLiteral("Access");
const QString auditSource = QStringLiteral("Audit");
// Of changes that no server with a bridge has made.
const QString othersStream = QStringLiteral("change");
// Rows of others behind which the place in the list of changes is moved, though there is nothing to tell.
constexpr int farBehind = 1000;

// What the trail knows of a door's event and a subscriber may: ids and reasons, no names, no numbers of cards.
constexpr std::array<const char*, 10> accessKeys = {
    "device", "accessPoint", "user", "medium", "reason", "serverReason", "way", "deviceSeq", "correction", "seconds"};

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

// As a part of a statement: the place up to which a stream was taken up.
QString positionOf(const QString& stream)
{
    return QStringLiteral("coalesce((SELECT position FROM bridge_position WHERE stream=%1),0)").arg(stream);
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

bool isOfDoor(AuditKind kind)
{
    return kind == AuditKind::Granted || kind == AuditKind::Denied || kind == AuditKind::Forced
           || kind == AuditKind::Held || kind == AuditKind::Opened;
}

} // namespace

bool BridgeIntake::begin()
{
    if (!isKnown(othersStream)) {
        // The first bridge.
        struct Chain
        {
            qint64 id;
            qint64 lastEvent;
            qint64 lastHead;
        };
        QVector<Chain> chains;
        {
            SqlStatement list(m_database,
                              QStringLiteral("SELECT id,(SELECT max(seq) FROM event WHERE chain=id),(SELECT "
                                             "max(seq) FROM audit_head WHERE chain=id) FROM audit_chain"));
            for (list.exec(); list.next();)
                chains.append({list.integer(0), list.integer(1), list.integer(2)});
        }
        if (!setPosition(othersStream, lastChange()))
            return false;
        for (const Chain& chain : qAsConst(chains)) {
            if (!setPosition(eventsOf(chain.id), chain.lastEvent) || !setPosition(headsOf(chain.id), chain.lastHead))
                return false;
        }
    }
    // What it changed while it had no bridge, others have told up to here.
    return isKnown(changesOf(m_server)) || setPosition(changesOf(m_server), position(othersStream));
}

qint64 BridgeIntake::lastChange()
{
    SqlStatement find(m_database, QStringLiteral("SELECT max(seq) FROM change"));
    return find.exec() && find.next() ? find.integer(0) : 0;
}

qint64 BridgeIntake::firstChange()
{
    SqlStatement find(m_database, QStringLiteral("SELECT min(seq) FROM change"));
    return find.exec() && find.next() ? find.integer(0) : 0;
}

bool BridgeIntake::isKnown(const QString& stream)
{
    SqlStatement find(m_database, QStringLiteral("SELECT 1 FROM bridge_position WHERE stream=?"));
    // When it cannot be read, nothing is begun anew.
    return !find.bind(stream).exec() || find.next();
}

qint64 BridgeIntake::position(const QString& stream)
{
    SqlStatement find(m_database, QStringLiteral("SELECT position FROM bridge_position WHERE stream=?"));
    return find.bind(stream).exec() && find.next() ? find.integer(0) : 0;
}

bool BridgeIntake::setPosition(const QString& stream, qint64 position)
{
    SqlStatement set(m_database, QStringLiteral("INSERT INTO bridge_position(stream,position) VALUES(?,?) ON "
                                                "CONFLICT(stream) DO UPDATE SET position=excluded.position"));
    return set.bind(stream).bind(position).exec();
}

bool BridgeIntake::hasNews(bool isPublisher)
{
    const QString ofNoServer = QStringLiteral("NOT IN (SELECT server FROM bridge_source)");
    const QString place = positionOf(QStringLiteral("?"));
    const QString ofChain =
        isPublisher ? QStringLiteral("(c.name=? OR c.name %1)").arg(ofNoServer) : QStringLiteral("c.name=?");
    QStringList terms{
        QStringLiteral("EXISTS(SELECT 1 FROM change WHERE seq>%1 AND server=?)").arg(place),
        QStringLiteral("(SELECT max(seq)-%1 FROM change)>%2").arg(QString::number(farBehind), place),
        QStringLiteral(
            "EXISTS(SELECT 1 FROM audit_chain c WHERE %1 AND (EXISTS(SELECT 1 FROM event WHERE chain=c.id AND "
            "seq>%2) OR EXISTS(SELECT 1 FROM audit_head WHERE chain=c.id AND seq>%3)))")
            .arg(ofChain, positionOf(QStringLiteral("'event '||c.id")), positionOf(QStringLiteral("'head '||c.id")))};
    if (isPublisher)
        terms.append(QStringLiteral("EXISTS(SELECT 1 FROM change WHERE seq>%1 AND server %2)").arg(place, ofNoServer));
    SqlStatement find(m_database, QStringLiteral("SELECT 1 WHERE ") + terms.join(QLatin1String(" OR ")));
    const QString own = changesOf(m_server);
    find.bind(own).bind(m_server).bind(own).bind(m_server);
    if (isPublisher)
        find.bind(othersStream);
    const bool isFound = find.exec() && find.next();
    // When it cannot be read, take() says so.
    return isFound || !find.isGood();
}

BridgeIntake::Result BridgeIntake::take(bool isPublisher, QVector<BridgeNews>* news)
{
    const Result changes = takeChanges(isPublisher, news);
    const Result chains = changes == Failed ? Failed : takeChains(isPublisher, news);
    return chains == Done ? changes : chains;
}

BridgeIntake::Result BridgeIntake::takeChanges(bool isPublisher, QVector<BridgeNews>* news)
{
    struct Row
    {
        qint64 seq;
        int kind;
        qint64 item;
    };
    // What comes behind `last` while this goes on is for the next time.
    const qint64 last = lastChange();
    const qint64 own = position(changesOf(m_server));
    const qint64 others = isPublisher ? position(othersStream) : last;
    if (own >= last && others >= last)
        return Done;
    const auto tell = [news](const QVariantMap& data, qint64 seq) {
        news->append({modelSource,
                      {BridgeTopics::restOf(modelSource)},
                      {{QStringLiteral("event"), QStringLiteral("changed")},
                       {QStringLiteral("data"), data},
                       {QStringLiteral("seq"), seq}}});
    };
    // Away for longer than changes are kept.
    const qint64 gone = firstChange() - 1;
    if (gone > qMin(own, others))
        tell(Model::everyCollection(), gone);
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
        tell({{Model::nameOf(Model::Kind(row.kind)), items}}, row.seq);
    }
    const bool isAll = rows.size() < rowsPerStep;
    const qint64 reached = isAll ? last : rows.last().seq;
    if ((own < reached && !setPosition(changesOf(m_server), reached))
        || (isPublisher && others < reached && !setPosition(othersStream, reached)))
        return Failed;
    return isAll ? Done : More;
}

BridgeIntake::Result BridgeIntake::takeChains(bool isPublisher, QVector<BridgeNews>* news)
{
    QVector<qint64> chains;
    {
        SqlStatement find(m_database, QStringLiteral("SELECT id,name,name IN (SELECT server FROM bridge_source) FROM "
                                                     "audit_chain ORDER BY id"));
        for (find.exec(); find.next();) {
            const bool hasServer = find.value(2).toBool();
            if (hasServer ? find.text(1) == m_server : isPublisher)
                chains.append(find.integer(0));
        }
    }
    Result result = Done;
    for (const qint64 chain : qAsConst(chains)) {
        const Result events = takeEvents(chain, news);
        const Result heads = events == Failed ? Failed : takeHeads(chain, news);
        if (heads == Failed)
            return Failed;
        if (events == More || heads == More)
            result = More;
    }
    return result;
}

BridgeIntake::Result BridgeIntake::takeEvents(qint64 chain, QVector<BridgeNews>* news)
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
        if (!isOfDoor(row.kind))
            continue;
        AuditRecord record;
        record.payload = row.payload;
        QVariantMap data = accessData(record.details(), row.kind, row.at);
        data.insert(QStringLiteral("chain"), chain);
        data.insert(QStringLiteral("seq"), row.seq);
        QStringList topics{BridgeTopics::restOf(accessSource)};
        const QString door = data.value(QStringLiteral("accessPoint")).toString();
        if (!door.isEmpty() && (row.kind == AuditKind::Granted || row.kind == AuditKind::Denied))
            topics.append(QStringLiteral("event/%1/%2").arg(door, auditKindName(row.kind)));
        news->append({accessSource, topics, data});
    }
    if (!rows.isEmpty() && !setPosition(eventsOf(chain), rows.last().seq))
        return Failed;
    return rows.size() == rowsPerStep ? More : Done;
}

// As they are, for whoever keeps them and hands them to the verification later.
BridgeIntake::Result BridgeIntake::takeHeads(qint64 chain, QVector<BridgeNews>* news)
{
    const qint64 known = position(headsOf(chain));
    QList<AuditHead> heads;
    {
        SqlStatement find(m_database, QStringLiteral("SELECT seq,at,hash,signature FROM audit_head WHERE chain=? AND "
                                                     "seq>? ORDER BY seq,at LIMIT %1")
                                          .arg(rowsPerStep));
        for (find.bind(chain).bind(known).exec(); find.next();)
            heads.append({chain, find.integer(0), find.integer(1), find.bytes(2), find.bytes(3), {}});
    }
    for (const AuditHead& head : qAsConst(heads))
        news->append({auditSource, {QStringLiteral("audit/head")}, {}, head.toLine()});
    if (!heads.isEmpty() && !setPosition(headsOf(chain), heads.last().seq))
        return Failed;
    return heads.size() == rowsPerStep ? More : Done;
}
