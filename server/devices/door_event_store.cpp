#include <server/devices/door_event_store_p.h>

#include <foundation/access/access_evaluator.h>
#include <foundation/datatypes/data_type.h>
#include <server/audit/audit_trail.h>
#include <server/database/sql_statement_p.h>
#include <server/devices/event_intake.h>
#include <server/model/item_store_p.h>

using namespace Model;

namespace {

AuditKind auditKind(CLockEventKind kind)
{
    switch (kind) {
    case CLockEventKind::Granted:
        return AuditKind::Granted;
    case CLockEventKind::Denied:
        return AuditKind::Denied;
    case CLockEventKind::Opened:
        return AuditKind::Opened;
    case CLockEventKind::Forced:
        return AuditKind::Forced;
    case CLockEventKind::Held:
        return AuditKind::Held;
    case CLockEventKind::Clock:
        return AuditKind::Clock;
    case CLockEventKind::Start:
        break;
    }
    return AuditKind::Start;
}

void insertText(QJsonObject* details, const char* key, const QString& text)
{
    if (!text.isEmpty())
        details->insert(QLatin1String(key), text);
}

} // namespace

CredentialOwner DoorDesk::ownerOf(const CLockCredential& credential)
{
    const Kind kind = credential.isCode() ? KindCode : KindMedium;
    const QList<qint64> found =
        ItemStore(m_database)
            .idsByValue(kind, credential.isCode() ? codeKey : uidKey,
                        credential.isCode() ? QVariant(credential.toText()) : QVariant(credential.uid()));
    if (credential.isNone() || found.isEmpty())
        return {};
    SqlStatement owner(m_database, QStringLiteral("SELECT parent FROM item WHERE id=?"));
    if (!owner.bind(found.first()).exec() || !owner.next())
        return {};
    return {owner.integer(0), found.first()};
}

CAccessReason DoorDesk::reasonFor(const CredentialOwner& owner, CItemId accessPoint, qint64 at)
{
    if (owner.user == CItemId())
        return CAccessReason::CredentialUnknown;
    CAccessFacts facts = m_facts.ofUserAtDoor(owner.user, accessPoint);
    if (!m_facts.errorString().isEmpty())
        return CAccessReason::Other;
    facts.restrictToCredential(owner.medium);
    return CAccessEvaluator::verdict(facts, at).reason;
}

qint64 DoorEventStore::storedUpTo(CDeviceId device, const QByteArray& epoch)
{
    SqlStatement find(m_database, QStringLiteral("SELECT stored FROM device_journal WHERE device=? AND epoch=?"));
    if (!find.bind(qint64(device.value())).bind(QString::fromLatin1(epoch)).exec())
        return -1;
    if (find.next())
        return find.integer(0);
    return find.isGood() ? 0 : -1;
}

AuditEvent DoorEventStore::toAuditEvent(CDeviceId device, CItemId accessPoint, const QByteArray& epoch,
                                        const CLockEvent& event)
{
    AuditEvent result;
    result.kind = auditKind(event.kind);
    result.at = event.at;
    result.accessPoint = accessPoint;
    result.user = event.user;
    result.medium = event.medium;
    result.operatorName = event.operatorName;
    QJsonObject& details = result.details;
    insertText(&details, "way", QLatin1String(lockWayToString(event.way)));
    insertText(&details, "reason", QLatin1String(accessReasonToString(event.reason)));
    insertText(&details, "uid", CDataType::rfidUidToLabel(event.uid));
    insertText(&details, "comment", event.comment);
    if (event.kind == CLockEventKind::Clock)
        details.insert(QStringLiteral("correction"), event.correction);
    insertText(&details, "device", device.toLabel());
    insertText(&details, "deviceEpoch", QString::fromLatin1(epoch));
    details.insert(QStringLiteral("deviceSeq"), event.number);

    if (event.kind != CLockEventKind::Granted && event.kind != CLockEventKind::Denied)
        return result;
    CredentialOwner owner{event.user, event.medium};
    if (!event.uid.isEmpty()) {
        owner = m_desk->ownerOf(CLockCredential::fromUid(event.uid));
        result.user = owner.user;
        result.medium = owner.medium;
    }
    // Of a wrong code nothing is known, not even its digits.
    if (owner.medium == CItemId())
        return result;
    constexpr int milliseconds = 1000;
    const CAccessReason reason = m_desk->reasonFor(owner, accessPoint, event.at / milliseconds);
    // Empty where the model would have let them in.
    details.insert(QStringLiteral("serverReason"), QLatin1String(accessReasonToString(reason)));
    return result;
}

DoorEventStore::Result DoorEventStore::take(CDeviceId device, CItemId accessPoint, const CLockEvents& events)
{
    Result result;
    if (!m_database->begin()) {
        m_database->end(false);
        return result;
    }
    const qint64 stored = storedUpTo(device, events.epoch);
    const CEventIntake intake = CEventIntake::of(events, stored);
    QList<AuditEvent> news;
    news.reserve(intake.news.size());
    for (const CLockEvent& event : intake.news)
        news.append(toAuditEvent(device, accessPoint, events.epoch, event));
    bool good = stored >= 0 && m_trail->append(news);
    if (good && intake.upTo != stored) {
        SqlStatement note(m_database,
                          QStringLiteral("INSERT INTO device_journal(device,epoch,stored,lost) VALUES(?,?,?,?) "
                                         "ON CONFLICT(device,epoch) DO UPDATE SET stored=excluded.stored,"
                                         "lost=device_journal.lost+excluded.lost"));
        good = note.bind(qint64(device.value()))
                   .bind(QString::fromLatin1(events.epoch))
                   .bind(intake.upTo)
                   .bind(intake.lost)
                   .exec();
    }
    result.isStored = m_database->end(good && !m_database->hasFailed());
    result.upTo = intake.upTo;
    if (result.isStored) {
        const Doubtful doubtful = m_doubtful.take(device.value());
        if (doubtful.epoch == events.epoch && doubtful.upTo == stored)
            result.events = doubtful.events;
        result.events += news;
    } else if (m_database->isUnsettled() && !news.isEmpty()) {
        m_doubtful.insert(device.value(), {events.epoch, intake.upTo, news});
    }
    return result;
}
