#pragma once

#include <server/audit/audit_event.h>

#include <QtCore/QHash>
#include <QtCore/QObject>

class CAuditTrail;

/// Puts refusals into the trail, but lets nobody fill it: of each key only so many within a minute are events of their
/// own. What is beyond is counted, and told in one event when the minute is over, or at the end.
class RefusalTrail : public QObject
{
    Q_OBJECT

public:
    static constexpr int windowMs = 60000;

    /// The trail outlives it.
    RefusalTrail(CAuditTrail* trail, int mostOfKey);
    ~RefusalTrail() override;

    void note(const QString& key, const AuditEvent& event);

private:
    struct Counted
    {
        int count = 0;
        AuditEvent last; // of those beyond
    };

    void conclude(const QString& key);
    void append(const AuditEvent& event);

    CAuditTrail* m_trail;
    int m_mostOfKey;
    QHash<QString, Counted> m_counted;
};
