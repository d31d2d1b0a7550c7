#pragma once

#include <server/database/export.h>

#include <foundation/core/item_id.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

/// What an event of the trail tells. The numbers are stored and exported: they never change.
enum class AuditKind : quint32
{
    Granted = 1,
    Denied = 2,
    Forced = 3, ///< a door was opened by force
    Held = 4,   ///< a door was held open too long
    Opened = 5, ///< an operator opened a door
    Changed = 6,
    Login = 7,
    LoginRefused = 8,
    Refused = 9, ///< a call without permission
    Start = 10,
    End = 11,
    Clock = 12, ///< a clock was found wrong and set
    Export = 13,
    Retention = 14 ///< old events were removed
};

/// The name that programs see, "" for a number without one.
KYR_SERVER_EXPORT QString auditKindName(AuditKind kind);
/// The names of all kinds, in the order of their numbers.
KYR_SERVER_EXPORT QStringList auditKindNames();
/// The kind of a name; nothing for an unknown one.
KYR_SERVER_EXPORT std::optional<AuditKind> auditKindFromName(const QString& name);

/// Something that happened, before it has its place in the trail.
///
/// `details` are plain values under the names that lists show: "reason", "way", "uid", "device", "deviceEpoch",
/// "deviceSeq", and for a change "item", "what", "old" and "new". Never a code, a password or another secret.
struct AuditEvent
{
    AuditKind kind = AuditKind::Changed;
    qint64 at = 0;         ///< ms since 1970 UTC by the clock of where it happened; 0: now
    CItemId accessPoint{}; ///< 0 for none, here and below
    CItemId user{};
    CItemId medium{};
    QString operatorName{}; ///< who did it: an item's id or the name of a system user; "" for nobody
    QJsonObject details{};
};

/// An event with its place: what a row of the trail holds, and what follows from it.
struct KYR_SERVER_EXPORT AuditRecord
{
    qint64 chain = 0;
    qint64 seq = 0;      ///< from 1 on, without gap
    qint64 at = 0;       ///< ms since 1970 UTC
    qint64 recorded = 0; ///< when it was stored, by the clock of the server
    quint32 kind = 0;
    QByteArray payload{};     ///< JSON text in UTF-8; null when it was erased
    QByteArray payloadHash{}; ///< SHA-256 of the payload as it was
    QByteArray hash{};        ///< SHA-256 over the previous record's hash and this one's place, times, kind and payload

    /// The payload of an event: its ids, operator and details with a random salt, so that what was erased cannot be
    /// found again by trying.
    static QByteArray makePayload(const AuditEvent& event);
    /// Fills in payloadHash and hash; `previous` is the hash of the record before, 32 zero bytes for the first.
    void seal(const QByteArray& previous);
    /// The hash that this record should have.
    QByteArray expectedHash(const QByteArray& previous) const;
    /// The payload as an object: ids as decimal texts, the operator, and the details. Empty when it was erased.
    QJsonObject details() const;

    static QByteArray sha256(const QByteArray& bytes);
    static QByteArray firstPrevious() { return QByteArray(32, '\0'); }
};
