#pragma once

#include <server/audit/audit_event.h>
#include <server/database/export.h>

#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

class CAuditTrail;
class CSqlAccessControl;

/// Events of the trail as rows for people and programs, with names beside ids.
///
///     const QList<QVariantMap> rows = EventRows::make(model, trail, trail->events(filter, 100));
namespace EventRows {

/// One row for each event, in their order: "chain" "seq" "at" "recorded" "kind" "accessPoint" "door" "user" "name"
/// "medium" "credential" "reason" "serverReason" "way" "uid" "operator" "device" "deviceSeq" "what" "details". Ids are
/// texts or invalid; times have an offset. Names are those of now; what is gone since has the name that it had.
/// "serverReason" is what the model says where the door decided otherwise: its list was not up to date, or its clock
/// was wrong.
KYR_SERVER_EXPORT QList<QVariantMap> make(const CSqlAccessControl* model, CAuditTrail* trail,
                                          const QList<AuditRecord>& events);

} // namespace EventRows
