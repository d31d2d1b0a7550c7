#include <server/audit/audit_trail_p.h>

#include <QtCore/QHash>
#include <QtCore/QJsonDocument>

namespace {

using Place = QPair<qint64, qint64>; // chain and number

// Whether a column says what the payload has under this name, as a look at its bytes can tell where no object is within
// another and nothing is escaped: this name, its quotes and a colon then stand nowhere else.
bool surelyFits(const QByteArray& payload, const QByteArray& name, const QByteArray& value)
{
    const QByteArray key = '"' + name + "\":";
    if (value.isEmpty())
        return !payload.contains(key);
    for (const char c : value) {
        if (c < ' ' || c > '~' || c == '"' || c == '\\')
            return false;
    }
    return payload.contains(QByteArray(key + '"' + value + '"'));
}

// Whether the columns that queries use say what the payload says.
bool columnsFit(const AuditRecord& record, const SqlStatement& row)
{
    const QByteArray& payload = record.payload;
    const bool plain = payload.startsWith('{') && payload.indexOf('{', 1) < 0 && !payload.contains('\\');
    if (plain && surelyFits(payload, QByteArrayLiteral("accessPoint"), row.text(8).toUtf8())
        && surelyFits(payload, QByteArrayLiteral("user"), row.text(9).toUtf8())
        && surelyFits(payload, QByteArrayLiteral("medium"), row.text(10).toUtf8())
        && surelyFits(payload, QByteArrayLiteral("operator"), row.text(11).toUtf8()))
        return true;
    // Reading all of it takes several times as long.
    const QJsonObject details = record.details();
    const auto text = [&details](const char* name) { return details.value(QLatin1String(name)).toString(); };
    return row.text(8) == text("accessPoint") && row.text(9) == text("user") && row.text(10) == text("medium")
           && row.text(11) == text("operator");
}

} // namespace

CAuditTrail::Report CAuditTrail::verify(const QList<AuditHead>& kept, const std::function<void(qint64)>& progress)
{
    Report report;
    const auto fault = [&report](qint64 chain, qint64 seq, const QString& what) {
        if (report.faults.size() < mostFaults)
            report.faults.append({chain, seq, what});
        else
            ++report.moreFaults;
    };

    // What is known of places from elsewhere: heads of the database, if their signature holds, and those given.
    QMultiHash<Place, QByteArray> expected;
    QHash<Place, QByteArray> cuts;
    QMap<qint64, qint64> vouched; // the greatest number of each chain that a head names
    const QList<AuditHead> own = heads();
    const bool keyed = own.isEmpty() || d->findKey();
    if (!keyed)
        fault(own.constFirst().chain, own.constFirst().seq, QStringLiteral("the heads cannot be checked: ") + d->error);
    const auto take = [&](const AuditHead& head) {
        expected.insert({head.chain, head.seq}, head.hash);
        vouched[head.chain] = qMax(vouched.value(head.chain), head.seq);
    };
    for (const AuditHead& head : own) {
        if (keyed && !d->key.verify(head.signedBytes(), head.signature)) {
            fault(head.chain, head.seq, QStringLiteral("the signature of the head is wrong"));
            continue;
        }
        take(head);
        if (head.reason == QLatin1String("retention"))
            cuts.insert({head.chain, head.seq}, head.hash);
    }
    for (const AuditHead& head : kept) {
        if (d->findKey() && !d->key.verify(head.signedBytes(), head.signature))
            fault(head.chain, head.seq, QStringLiteral("this head was not signed with the key of this trail"));
        take(head);
    }

    QMap<qint64, AuditRecord> ends;
    QMap<qint64, qint64> beginnings;
    const bool readAll = d->forEach([&](const AuditRecord& record, SqlStatement& row) {
        const qint64 chain = record.chain;
        const qint64 seq = record.seq;
        QByteArray previous = ends.value(chain).hash;
        if (!ends.contains(chain)) {
            beginnings.insert(chain, seq);
            previous = seq == 1 ? AuditRecord::firstPrevious() : cuts.value({chain, seq - 1});
            if (previous.isEmpty())
                fault(chain, seq, QStringLiteral("the events before it are missing, and no retention was recorded"));
        } else if (seq != ends.value(chain).seq + 1) {
            fault(chain, seq, QStringLiteral("%1 events before it are missing").arg(seq - ends.value(chain).seq - 1));
            previous.clear();
        }
        // One fault a record: the first thing that is wrong explains the others.
        if (!record.payload.isNull() && AuditRecord::sha256(record.payload) != record.payloadHash)
            fault(chain, seq, QStringLiteral("the payload was changed"));
        else if (!previous.isEmpty() && record.expectedHash(previous) != record.hash)
            fault(chain, seq,
                  QStringLiteral("the hash is wrong: the event, its place or the event before it was changed"));
        else if (!columnsFit(record, row))
            fault(chain, seq, QStringLiteral("the columns differ from the payload"));
        else {
            const QList<QByteArray> hashes = expected.values({chain, seq});
            for (const QByteArray& hash : hashes) {
                if (hash != record.hash) {
                    fault(chain, seq, QStringLiteral("differs from a signed head: the chain was rewritten"));
                    break;
                }
            }
        }
        ends.insert(chain, record);
        ++report.events;
        if (progress && report.events % 10000 == 0)
            progress(report.events);
        return true;
    });
    if (!readAll)
        fault(0, 0, d->error);
    for (auto entry = vouched.cbegin(); entry != vouched.cend(); ++entry) {
        const qint64 end = ends.contains(entry.key()) ? ends.value(entry.key()).seq : 0;
        const bool cutAway = cuts.contains({entry.key(), entry.value()});
        if (entry.value() > end && !cutAway)
            fault(entry.key(), entry.value(), QStringLiteral("the end is missing: a signed head names this event"));
    }
    return report;
}
