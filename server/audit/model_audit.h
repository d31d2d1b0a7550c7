#pragma once

#include <server/audit/audit_trail.h>
#include <server/model/model_recorder.h>

/// Notes every change to a model in the trail, in the transaction that makes it: who changed what, from what to what.
///
///     CModelAudit audit(&trail);
///     model.setRecorder(&audit);
class KYR_SERVER_EXPORT CModelAudit : public IModelRecorder
{
public:
    /// The trail is over the model's database; not owned.
    explicit CModelAudit(CAuditTrail* trail)
        : m_trail(trail)
    {
    }

    /// False, and errorString() of the trail says why, when the trail does not take it.
    bool record(const QVector<CModelChange>& changes, CItemId operatorId) override;

private:
    CAuditTrail* m_trail;
};
