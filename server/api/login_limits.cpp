#include <foundation/network/peer_network.h>
#include <server/api/login_limits_p.h>

#include <algorithm>

namespace {

QString nameAt(const QString& name, const QString& network)
{
    return network + QLatin1Char(' ') + name;
}

} // namespace

QString LoginLimits::network(const QString& address)
{
    const QHostAddress host(address);
    return host.isNull() ? address : peerNetwork(host).toString();
}

int LoginLimits::recent(const QString& key, qint64 now)
{
    const auto times = m_refusals.find(key);
    if (times == m_refusals.end())
        return 0;
    while (!times->isEmpty() && times->constFirst() <= now - window)
        times->removeFirst();
    if (!times->isEmpty())
        return int(times->size());
    m_refusals.erase(times);
    return 0;
}

bool LoginLimits::isBlocked(const QString& name, const QString& address, qint64 now)
{
    const QString from = network(address);
    return recent(from, now) >= refusalsPerAddress || recent(nameAt(name, from), now) >= wrongPerName;
}

void LoginLimits::noteRefusal(const QString& name, const QString& address, qint64 now)
{
    const QString from = network(address);
    note(from, now);
    note(nameAt(name, from), now);
}

void LoginLimits::note(const QString& key, qint64 now)
{
    if (m_refusals.size() >= mostRemembered && !m_refusals.contains(key)) {
        const QStringList keys = m_refusals.keys();
        for (const QString& each : keys)
            recent(each, now);
        if (m_refusals.size() >= mostRemembered) {
            const auto quietest =
                std::min_element(m_refusals.begin(), m_refusals.end(),
                                 [](const auto& a, const auto& b) { return a.constLast() < b.constLast(); });
            m_refusals.erase(quietest);
        }
    }
    m_refusals[key].append(now);
}

bool CallLimit::take(const QString& key, qint64 now)
{
    if (m_buckets.size() >= mostRemembered && !m_buckets.contains(key)) {
        // A full bucket is as good as none.
        for (auto bucket = m_buckets.begin(); bucket != m_buckets.end();) {
            const bool isFull = bucket->left + double(now - bucket->at) * m_perSecond / 1000 >= m_burst;
            bucket = isFull ? m_buckets.erase(bucket) : std::next(bucket);
        }
        if (m_buckets.size() >= mostRemembered)
            return false;
    }
    auto bucket = m_buckets.find(key);
    if (bucket == m_buckets.end())
        bucket = m_buckets.insert(key, {double(m_burst), now});
    bucket->left = std::min(double(m_burst), bucket->left + double(now - bucket->at) * m_perSecond / 1000);
    bucket->at = now;
    if (bucket->left < 1)
        return false;
    bucket->left -= 1;
    return true;
}
