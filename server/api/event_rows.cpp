#include <server/api/event_rows.h>

#include <server/audit/audit_trail.h>
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>
#include <QtCore/QSet>

namespace {

constexpr const char* idKeys[] = {"accessPoint", "user", "medium"};

QString timeText(qint64 ms)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(ms);
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate);
}

// Of all rows in one go.
QMap<CItemId, QString> namesOf(const CSqlAccessControl* model, CAuditTrail* trail, const QList<AuditRecord>& events)
{
    QSet<qint64> ids;
    for (const AuditRecord& event : events) {
        const QJsonObject details = event.details();
        for (const char* key : idKeys)
            ids.insert(details.value(QLatin1String(key)).toString().toLongLong());
    }
    ids.remove(0);
    QList<CItemId> wanted;
    for (const qint64 id : qAsConst(ids))
        wanted.append(CItemId(id));
    QMap<CItemId, QString> names = CModelReader(model).labels(wanted);
    QList<CItemId> gone;
    for (const CItemId id : qAsConst(wanted)) {
        if (!names.contains(id))
            gone.append(id);
    }
    const QMap<CItemId, QString> former = trail->formerLabels(gone);
    for (const CItemId id : qAsConst(gone))
        names.insert(id, QStringLiteral("%1 (removed)").arg(former.value(id, QString::number(id.value()))));
    return names;
}

QVariant serverReason(const QJsonObject& details)
{
    const QJsonValue verdict = details.value(QStringLiteral("serverReason"));
    if (!verdict.isString() || verdict == details.value(QStringLiteral("reason")))
        return {};
    const QString reason = verdict.toString();
    // A door says what it granted by no reason at all.
    if (reason.isEmpty())
        return details.contains(QStringLiteral("reason")) ? QVariant(QStringLiteral("allowed")) : QVariant();
    return reason;
}

} // namespace

QList<QVariantMap> EventRows::make(const CSqlAccessControl* model, CAuditTrail* trail, const QList<AuditRecord>& events)
{
    const QMap<CItemId, QString> names = namesOf(model, trail, events);
    QList<QVariantMap> rows;
    for (const AuditRecord& event : events) {
        const QJsonObject details = event.details();
        const auto text = [&details](const char* key) { return details.value(QLatin1String(key)).toString(); };
        const auto name = [&](const char* key) { return names.value(CItemId(text(key).toLongLong()), text(key)); };
        QVariantMap row{{QStringLiteral("chain"), event.chain},
                        {QStringLiteral("seq"), event.seq},
                        {QStringLiteral("at"), timeText(event.at)},
                        {QStringLiteral("recorded"), timeText(event.recorded)},
                        {QStringLiteral("kind"), auditKindName(AuditKind(event.kind))},
                        {QStringLiteral("door"), name("accessPoint")},
                        {QStringLiteral("name"), name("user")},
                        {QStringLiteral("credential"), name("medium")},
                        {QStringLiteral("serverReason"), serverReason(details)},
                        {QStringLiteral("deviceSeq"), details.value(QLatin1String("deviceSeq")).toVariant()}};
        for (const char* key : {"reason", "way", "uid", "operator", "device"})
            row.insert(QLatin1String(key), text(key));
        for (const char* key : idKeys)
            row.insert(QLatin1String(key), details.value(QLatin1String(key)).isString() ? text(key) : QVariant());
        QString what = text("what");
        if (!text("label").isEmpty())
            what += QLatin1Char(' ') + text("label");
        row.insert(QStringLiteral("what"), what);
        QVariantMap further = details.toVariantMap();
        for (const char* key :
             {"accessPoint", "user", "medium", "reason", "way", "uid", "operator", "device", "deviceSeq", "salt"})
            further.remove(QLatin1String(key));
        row.insert(QStringLiteral("details"), further);
        rows.append(row);
    }
    return rows;
}
