#include <server/audit/audit_trail_p.h>

#include <QtCore/QDateTime>

namespace {

constexpr qint64 dayMs = 24LL * 3600 * 1000;

} // namespace

qint64 CAuditTrail::retain(CDataRetainPeriod period, qint64 now)
{
    const qint64 before = now - qint64(CDataType::dataRetainPeriodCast(int(period))) * dayMs;
    if (!d->needKey())
        return -1;
    qint64 removed = 0;
    const QMap<qint64, QString> names = chains();
    for (auto entry = names.cbegin(); entry != names.cend(); ++entry) {
        const qint64 chain = entry.key();
        // Only a beginning goes: up to the first event that is young enough.
        qint64 cut = 0;
        {
            SqlStatement find(
                d->database,
                QStringLiteral("SELECT COALESCE((SELECT MIN(seq) FROM event WHERE chain=? AND recorded>=?),"
                               "(SELECT MAX(seq)+1 FROM event WHERE chain=?),1)-1"));
            if (!find.bind(chain).bind(before).bind(chain).exec() || !find.next()) {
                d->failInDatabase();
                return -1;
            }
            cut = find.integer(0);
        }
        for (bool more = true; more;) {
            SqlStatement first(d->database, QStringLiteral("SELECT MIN(seq) FROM event WHERE chain=?"));
            if (!first.bind(chain).exec() || !first.next() || first.isNull(0) || first.integer(0) > cut)
                break;
            const qint64 from = first.integer(0);
            const qint64 upTo = qMin(cut, from + rowsPerCut - 1);
            more = upTo < cut;
            const bool begun = d->database->begin();
            bool good = begun;
            AuditHead head{chain, upTo, now, {}, {}, QStringLiteral("retention")};
            {
                SqlStatement find(d->database, QStringLiteral("SELECT hash FROM event WHERE chain=? AND seq=?"));
                good = good && find.bind(chain).bind(upTo).exec() && find.next();
                if (good)
                    head.hash = find.bytes(0);
            }
            good = good && d->storeHead(head);
            {
                SqlStatement remove(d->database, QStringLiteral("DELETE FROM event WHERE chain=? AND seq<=?"));
                good = good && remove.bind(chain).bind(upTo).exec();
            }
            if (good) {
                AuditEvent event;
                event.kind = AuditKind::Retention;
                event.details.insert(QStringLiteral("what"),
                                     QStringLiteral("%1: %2 to %3").arg(entry.value()).arg(from).arg(upTo));
                event.details.insert(QStringLiteral("before"),
                                     QDateTime::fromMSecsSinceEpoch(before, Qt::UTC).toString(Qt::ISODate));
                good = append(event);
            }
            if (!d->database->end(good)) {
                d->failInDatabase();
                return -1;
            }
            Q_EMIT headSigned(head);
            removed += upTo - from + 1;
        }
    }
    return removed;
}

qint64 CAuditTrail::erase(CItemId user)
{
    const bool begun = d->database->begin();
    bool good = begun;
    qint64 erased = 0;
    {
        SqlStatement empty(d->database,
                           QStringLiteral("UPDATE event SET payload=NULL,access_point=NULL,\"user\"=NULL,medium=NULL,"
                                          "operator=NULL WHERE \"user\"=? OR operator=? OR payload LIKE ?"));
        // What the user owned before somebody else did has that one in the column.
        const QString id = QString::number(qint64(user));
        const QString owned = QStringLiteral("%\"userId\":\"") + id + QStringLiteral("\"%");
        good = good && empty.bind(qint64(user)).bind(id).bind(owned).exec();
        erased = good ? empty.changed() : 0;
    }
    if (good) {
        AuditEvent event;
        event.kind = AuditKind::Changed;
        event.details.insert(QStringLiteral("what"), QStringLiteral("%1 events erased").arg(erased));
        good = append(event);
    }
    if (!d->database->end(good)) {
        d->failInDatabase();
        return -1;
    }
    return erased;
}
