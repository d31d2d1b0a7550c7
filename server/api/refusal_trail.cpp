#include <server/api/refusal_trail_p.h>

#include <server/audit/audit_trail.h>

#include <QtCore/QTimer>

RefusalTrail::RefusalTrail(CAuditTrail* trail, int mostOfKey)
    : m_trail(trail)
    , m_mostOfKey(mostOfKey)
{
}

RefusalTrail::~RefusalTrail()
{
    const QStringList keys = m_counted.keys();
    for (const QString& key : keys)
        conclude(key);
}

void RefusalTrail::note(const QString& key, const AuditEvent& event)
{
    Counted& counted = m_counted[key];
    if (counted.count == 0)
        QTimer::singleShot(windowMs, this, [this, key] { conclude(key); });
    if (++counted.count > m_mostOfKey)
        counted.last = event;
    else
        append(event);
}

void RefusalTrail::conclude(const QString& key)
{
    const Counted counted = m_counted.take(key);
    const int more = counted.count - m_mostOfKey;
    if (more <= 0)
        return;
    // Whose they are is known of a key; what each of them was is not.
    AuditEvent event = counted.last;
    event.details = {
        {QStringLiteral("leftOut"), more},
        {QStringLiteral("way"), counted.last.details.value(QStringLiteral("way"))},
        {QStringLiteral("reason"), QStringLiteral("%1 more within a minute, which are not listed").arg(more)}};
    if (!key.isEmpty())
        event.details.insert(QStringLiteral("login"), key);
    append(event);
}

void RefusalTrail::append(const AuditEvent& event)
{
    if (!m_trail->append(event))
        qWarning("CApi: a refusal cannot be stored: %s", qUtf8Printable(m_trail->errorString()));
}
