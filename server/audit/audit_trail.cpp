#include <server/audit/audit_trail_p.h>

#include <server/database/id_list_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace {

QVariant idOrNull(CItemId id)
{
    return id == CItemId() ? QVariant() : QVariant(qint64(id));
}

QVariant textOrNull(const QString& text)
{
    return text.isEmpty() ? QVariant() : QVariant(text);
}

} // namespace

QString auditColumns()
{
    return QStringLiteral("chain,seq,at,recorded,kind,payload,payload_hash,hash");
}

AuditRecord readRecord(SqlStatement& statement)
{
    AuditRecord record;
    record.chain = statement.integer(0);
    record.seq = statement.integer(1);
    record.at = statement.integer(2);
    record.recorded = statement.integer(3);
    record.kind = quint32(statement.integer(4));
    if (!statement.isNull(5))
        record.payload = statement.text(5).toUtf8();
    record.payloadHash = statement.bytes(6);
    record.hash = statement.bytes(7);
    return record;
}

CAuditTrail::CAuditTrail(CDatabase* database, QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(database))
{
}

CAuditTrail::~CAuditTrail() = default;

CDatabase* CAuditTrail::database() const
{
    return d->database;
}

void CAuditTrail::setChainName(const QString& name)
{
    d->chainName = name;
    d->chain = 0;
}

QString CAuditTrail::chainName() const
{
    return d->chainName;
}

void CAuditTrail::setOperatorName(const QString& name)
{
    d->operatorName = name;
}

QString CAuditTrail::errorString() const
{
    return d->error;
}

// Asked for each time: the transaction in which it was made may have been undone.
qint64 CAuditTrail::Private::ownChain()
{
    {
        SqlStatement find(database, QStringLiteral("SELECT id FROM audit_chain WHERE name=?"));
        if (find.bind(chainName).exec() && find.next())
            return find.integer(0);
    }
    SqlStatement add(database, QStringLiteral("INSERT INTO audit_chain(name) VALUES(?)"));
    if (!add.bind(chainName).exec())
        return 0;
    SqlStatement find(database, QStringLiteral("SELECT id FROM audit_chain WHERE name=?"));
    return find.bind(chainName).exec() && find.next() ? find.integer(0) : 0;
}

AuditRecord CAuditTrail::Private::end(qint64 ofChain)
{
    AuditRecord last;
    last.chain = ofChain;
    last.hash = AuditRecord::firstPrevious();
    {
        SqlStatement find(database,
                          QStringLiteral("SELECT seq,hash FROM event WHERE chain=? ORDER BY seq DESC LIMIT 1"));
        if (find.bind(ofChain).exec() && find.next()) {
            last.seq = find.integer(0);
            last.hash = find.bytes(1);
            return last;
        }
    }
    // All of it was removed by a retention: it goes on behind the head of the cut.
    SqlStatement head(database, QStringLiteral("SELECT seq,hash FROM audit_head WHERE chain=? AND reason='retention' "
                                               "ORDER BY seq DESC LIMIT 1"));
    if (head.bind(ofChain).exec() && head.next()) {
        last.seq = head.integer(0);
        last.hash = head.bytes(1);
    }
    return last;
}

bool CAuditTrail::append(const AuditEvent& event)
{
    return append(QList<AuditEvent>{event});
}

bool CAuditTrail::append(const QList<AuditEvent>& events)
{
    if (events.isEmpty())
        return true;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (!d->database->begin()) {
        // The level that could not be opened still has its end.
        d->database->end(false);
        return d->failInDatabase();
    }
    const qint64 chain = d->ownChain();
    AuditRecord last = d->end(chain);
    bool good = chain > 0;
    QList<AuditHead> signedHeads;
    if (good) {
        SqlStatement add(
            d->database,
            QStringLiteral("INSERT INTO event(chain,seq,at,recorded,kind,access_point,\"user\",medium,operator,"
                           "payload,payload_hash,hash) VALUES(?,?,?,?,?,?,?,?,?,?,?,?)"));
        for (const AuditEvent& event : events) {
            good = good && d->appendOne(add, chain, event, now, last);
            if (good && last.seq % eventsPerHead == 0 && d->needKey()) {
                AuditHead head{chain, last.seq, now, last.hash, {}, QStringLiteral("count")};
                good = d->storeHead(head);
                signedHeads.append(head);
            }
        }
    }
    good = d->database->end(good && !d->database->hasFailed());
    if (!good)
        return d->failInDatabase();
    for (const AuditHead& head : signedHeads)
        Q_EMIT headSigned(head);
    Q_EMIT appended();
    return true;
}

bool CAuditTrail::Private::appendOne(SqlStatement& add, qint64 ofChain, const AuditEvent& given, qint64 now,
                                     AuditRecord& last)
{
    AuditEvent event = given;
    if (event.operatorName.isEmpty())
        event.operatorName = operatorName;
    AuditRecord record;
    record.chain = ofChain;
    record.seq = last.seq + 1;
    record.at = event.at ? event.at : now;
    record.recorded = now;
    record.kind = quint32(event.kind);
    record.payload = AuditRecord::makePayload(event);
    if (record.payload.size() > largestPayload) {
        event.details = {{QStringLiteral("omitted"), int(record.payload.size())}};
        record.payload = AuditRecord::makePayload(event);
    }
    record.seal(last.hash);
    add.bind(record.chain).bind(record.seq).bind(record.at).bind(record.recorded).bind(qint64(record.kind));
    add.bind(idOrNull(event.accessPoint)).bind(idOrNull(event.user)).bind(idOrNull(event.medium));
    add.bind(textOrNull(event.operatorName)).bind(QString::fromUtf8(record.payload));
    add.bind(QVariant(record.payloadHash)).bind(QVariant(record.hash));
    if (!add.exec())
        return false;
    last = record;
    return true;
}

QString CAuditTrail::Private::keyFile() const
{
    return database->folder() + QStringLiteral("/audit.key");
}

bool CAuditTrail::Private::needKey()
{
    if (key.isValid())
        return true;
    const bool good =
        database->backend() == QLatin1String("memory") ? key.generate(error) : key.load(keyFile(), true, error);
    // An event is not refused because the key is away: the trail goes on without heads, and says so once.
    if (!good && !keyFaultTold) {
        keyFaultTold = true;
        qWarning("CAuditTrail: no head is signed: %s", qUtf8Printable(error));
    }
    return good;
}

bool CAuditTrail::Private::findKey()
{
    return key.isValid() || key.load(keyFile(), false, error);
}

bool CAuditTrail::Private::storeHead(AuditHead& head)
{
    head.signature = key.sign(head.signedBytes());
    SqlStatement add(database, QStringLiteral("INSERT INTO audit_head(chain,seq,at,hash,signature,reason) "
                                              "VALUES(?,?,?,?,?,?) ON CONFLICT(chain,seq,at) DO NOTHING"));
    return add.bind(head.chain)
        .bind(head.seq)
        .bind(head.at)
        .bind(QVariant(head.hash))
        .bind(QVariant(head.signature))
        .bind(head.reason)
        .exec();
}

QList<AuditHead> CAuditTrail::signHeads(const QString& reason)
{
    if (!d->needKey())
        return {};
    if (!d->database->begin()) {
        d->database->end(false);
        d->failInDatabase();
        return {};
    }
    QList<AuditHead> current;
    QList<AuditHead> made;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const QMap<qint64, QString> names = chains();
    for (auto entry = names.cbegin(); entry != names.cend(); ++entry) {
        const AuditRecord last = d->end(entry.key());
        if (last.seq == 0)
            continue;
        SqlStatement newest(d->database, QStringLiteral("SELECT at,signature,reason FROM audit_head WHERE chain=? AND "
                                                        "seq=? AND hash=? ORDER BY at DESC LIMIT 1"));
        if (newest.bind(entry.key()).bind(last.seq).bind(QVariant(last.hash)).exec() && newest.next()) {
            current.append({entry.key(), last.seq, newest.integer(0), last.hash, newest.bytes(1), newest.text(2)});
            continue;
        }
        AuditHead head{entry.key(), last.seq, now, last.hash, {}, reason};
        d->storeHead(head);
        made.append(head);
        current.append(head);
    }
    if (!d->database->end(!d->database->hasFailed())) {
        d->failInDatabase();
        return {};
    }
    for (const AuditHead& head : qAsConst(made))
        Q_EMIT headSigned(head);
    return current;
}

QList<AuditHead> CAuditTrail::heads()
{
    QList<AuditHead> found;
    SqlStatement find(
        d->database, QStringLiteral("SELECT chain,seq,at,hash,signature,reason FROM audit_head ORDER BY chain,seq,at"));
    for (find.exec(); find.next();) {
        found.append({find.integer(0), find.integer(1), find.integer(2), find.bytes(3), find.bytes(4), find.text(5)});
    }
    return found;
}

QByteArray CAuditTrail::publicKey()
{
    return d->needKey() ? d->key.publicPem() : QByteArray();
}

QMap<qint64, QString> CAuditTrail::chains()
{
    QMap<qint64, QString> found;
    SqlStatement find(d->database, QStringLiteral("SELECT id,name FROM audit_chain ORDER BY id"));
    for (find.exec(); find.next();)
        found.insert(find.integer(0), find.text(1));
    return found;
}

QMap<qint64, qint64> CAuditTrail::ends()
{
    QMap<qint64, qint64> found;
    const QMap<qint64, QString> names = chains();
    for (auto entry = names.cbegin(); entry != names.cend(); ++entry)
        found.insert(entry.key(), d->end(entry.key()).seq);
    return found;
}

QList<AuditRecord> CAuditTrail::events(const Filter& filter, int limit, qint64* left)
{
    QStringList terms;
    QVariantList values;
    if (filter.accessPoint != CItemId()) {
        terms.append(QStringLiteral("access_point=?"));
        values.append(qint64(filter.accessPoint));
    }
    if (filter.user != CItemId()) {
        terms.append(QStringLiteral("\"user\"=?"));
        values.append(qint64(filter.user));
    }
    if (!filter.kinds.isEmpty()) {
        QStringList places;
        for (const AuditKind kind : filter.kinds) {
            places.append(QStringLiteral("?"));
            values.append(qint64(kind));
        }
        terms.append(QStringLiteral("kind IN (%1)").arg(places.join(QLatin1Char(','))));
    }
    if (filter.from) {
        terms.append(QStringLiteral("at>=?"));
        values.append(filter.from);
    }
    if (filter.to) {
        terms.append(QStringLiteral("at<=?"));
        values.append(filter.to);
    }
    const QString where = terms.isEmpty() ? QString() : QStringLiteral(" WHERE ") + terms.join(QStringLiteral(" AND "));
    QString sql = QStringLiteral("SELECT ") + auditColumns() + QStringLiteral(" FROM event") + where
                  + QStringLiteral(" ORDER BY at DESC,chain DESC,seq DESC");
    // Bound, as each text is kept ready by the connection.
    if (limit > 0)
        sql += QStringLiteral(" LIMIT ?");

    QList<AuditRecord> found;
    SqlStatement find(d->database, sql);
    for (const QVariant& value : qAsConst(values))
        find.bind(value);
    if (limit > 0)
        find.bind(limit);
    for (find.exec(); find.next();)
        found.append(readRecord(find));
    std::reverse(found.begin(), found.end());
    if (left) {
        *left = 0;
        if (limit > 0 && found.size() == limit) {
            SqlStatement count(d->database, QStringLiteral("SELECT COUNT(*) FROM event") + where);
            for (const QVariant& value : qAsConst(values))
                count.bind(value);
            if (count.exec() && count.next())
                *left = count.integer(0) - limit;
        }
    }
    return found;
}

QList<AuditRecord> CAuditTrail::newEvents(const Filter& filter, QMap<qint64, qint64>* ends)
{
    QList<AuditRecord> found;
    const QMap<qint64, QString> names = chains();
    for (auto entry = names.cbegin(); entry != names.cend(); ++entry) {
        SqlStatement find(d->database, QStringLiteral("SELECT ") + auditColumns()
                                           + QStringLiteral(",access_point,\"user\" FROM event WHERE chain=? AND seq>? "
                                                            "ORDER BY seq"));
        find.bind(entry.key()).bind(ends->value(entry.key()));
        for (find.exec(); find.next();) {
            const AuditRecord record = readRecord(find);
            ends->insert(record.chain, record.seq);
            const bool wanted = (filter.accessPoint == CItemId() || find.integer(8) == qint64(filter.accessPoint))
                                && (filter.user == CItemId() || find.integer(9) == qint64(filter.user))
                                && (filter.kinds.isEmpty() || filter.kinds.contains(AuditKind(record.kind)))
                                && record.at >= filter.from && (filter.to == 0 || record.at <= filter.to);
            if (wanted)
                found.append(record);
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const AuditRecord& a, const AuditRecord& b) { return a.at < b.at; });
    return found;
}

QMap<CItemId, QString> CAuditTrail::formerLabels(const QList<CItemId>& items)
{
    constexpr int page = 500;
    QMap<CItemId, QString> labels;
    for (int first = 0; first < items.size(); first += page) {
        QList<qint64> some;
        for (const CItemId item : items.mid(first, page))
            some.append(item.value());
        const IdList list(d->database, some);
        for (const char* column : {"access_point", "\"user\"", "medium"}) {
            SqlStatement find(d->database, QStringLiteral("SELECT %1,payload FROM event WHERE %1 IN %2 AND kind=%3 "
                                                          "AND payload IS NOT NULL ORDER BY at,chain,seq")
                                               .arg(QLatin1String(column), list.sql())
                                               .arg(quint32(AuditKind::Changed)));
            find.bind(list.value());
            for (find.exec(); find.next();) {
                const QString label =
                    QJsonDocument::fromJson(find.text(1).toUtf8()).object().value(QStringLiteral("label")).toString();
                if (!label.isEmpty())
                    labels.insert(find.integer(0), label);
            }
        }
    }
    return labels;
}

bool CAuditTrail::Private::forEach(const std::function<bool(const AuditRecord&, SqlStatement&)>& receive)
{
    constexpr int page = 5000;
    qint64 atChain = 0;
    qint64 atSeq = 0;
    for (int read = page; read == page;) {
        read = 0;
        SqlStatement find(database, QStringLiteral("SELECT ") + auditColumns()
                                        + QStringLiteral(",access_point,\"user\",medium,operator FROM event WHERE "
                                                         "(chain,seq)>(?,?) ORDER BY chain,seq LIMIT %1")
                                              .arg(page));
        if (!find.bind(atChain).bind(atSeq).exec())
            return failInDatabase();
        while (find.next()) {
            const AuditRecord record = readRecord(find);
            if (!receive(record, find))
                return false;
            atChain = record.chain;
            atSeq = record.seq;
            ++read;
        }
        // Not the end, but a page that could not be read.
        if (!find.isGood())
            return failInDatabase();
    }
    return true;
}
