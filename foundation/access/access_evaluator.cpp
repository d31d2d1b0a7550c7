#include <foundation/access/access_evaluator.h>
#include <foundation/access/access_rules_p.h>

namespace {

constexpr qint64 never = CAccessTimeZone::never;

/// Walks the chains of one moment. Whether a schedule is open is found out once for each zone.
class Walk
{
public:
    Walk(const CAccessFacts& facts, qint64 at)
        : m_facts(facts)
        , m_at(at)
        , m_isOpen(facts.zones.size() * facts.schedules.size(), Unknown)
    {
    }

    void appendChains(CAccessGrant grant, QVector<CAccessChain>* chains)
    {
        const CAccessUser& user = m_facts.users.at(grant.user);
        const CAccessRight& right = m_facts.rights.at(grant.right);
        const CAccessPoint& accessPoint = m_facts.accessPoints.at(right.accessPoint);
        CAccessChain chain;
        chain.user = user.id;
        chain.accessPoint = accessPoint.id;
        chain.group = right.group;
        chain.right = right.id;
        chain.userIndex = grant.user;
        chain.rightIndex = grant.right;
        if (right.schedule != CAccessRight::always)
            chain.schedule = m_facts.schedules.at(right.schedule).id;

        const auto end = [&](AccessRules::End end) {
            chain.step = end.step;
            chain.reason = end.reason;
            chains->append(chain);
        };
        if (!user.isEnabled)
            return end({CAccessStep::User, CAccessReason::UserDisabled});
        if (!accessPoint.isEnabled)
            return end({CAccessStep::AccessPoint, CAccessReason::AccessPointDisabled});
        const AccessRules::End ofRight =
            AccessRules::ofRight(right.period, m_at, [&] { return isOpen(right.schedule, accessPoint.zone); });
        if (ofRight.step != CAccessStep::Passed)
            return end(ofRight);
        if (user.credentialCount == 0)
            return end({CAccessStep::CredentialPresent, CAccessReason::CredentialUnknown});
        for (int i = user.firstCredential; i < user.firstCredential + user.credentialCount; ++i) {
            const CAccessCredential& credential = m_facts.credentials.at(i);
            chain.credential = credential.id;
            chain.credentialIndex = i;
            end(AccessRules::ofCredential(credential.isEnabled, credential.period, m_at));
        }
    }

private:
    enum : qint8
    {
        Unknown = -1,
    };

    bool isOpen(int schedule, int zone)
    {
        if (schedule == CAccessRight::always)
            return true;
        if (zone < 0 || !m_facts.schedules.at(schedule).isKnown)
            return false;
        qint8& known = m_isOpen[zone * m_facts.schedules.size() + schedule];
        if (known == Unknown)
            known = m_facts.schedules.at(schedule).profile.isOpen(m_at, m_facts.zones.at(zone)) ? 1 : 0;
        return known == 1;
    }

    const CAccessFacts& m_facts;
    const qint64 m_at;
    QVector<qint8> m_isOpen;
};

/// Finds the first moment behind one at which a chain passes, by jumping from boundary to boundary.
class NextMoment
{
public:
    NextMoment(const CAccessFacts& facts, qint64 at)
        : m_facts(facts)
        , m_zone(facts.zoneOf(0))
        , m_begin(at + 1)
        , m_end(at + CTimeProfile::lookAhead)
        , m_firstOpening(facts.schedules.size(), Unknown)
    {
    }

    void find(CAccessVerdict* verdict)
    {
        const CAccessUser& user = m_facts.users.first();
        if (!user.isEnabled || !m_facts.accessPoints.first().isEnabled)
            return;
        for (const CAccessGrant grant : m_facts.grants) {
            const CAccessRight& right = m_facts.rights.at(grant.right);
            if (grant.user != 0 || right.accessPoint != 0 || !right.period.isReadable)
                continue;
            for (int i = user.firstCredential; i < user.firstCredential + user.credentialCount; ++i) {
                const CAccessCredential& credential = m_facts.credentials.at(i);
                if (!credential.isEnabled || !credential.period.isReadable)
                    continue;
                const qint64 from = qMax(m_begin, qMax(right.period.from, credential.period.from));
                // Of moments that are the same the first chain's stays.
                const qint64 to = qMin(qMin(m_end, verdict->next - 1), qMin(right.period.to, credential.period.to));
                const qint64 moment = from <= to ? opening(right.schedule, from, to) : never;
                if (moment <= to) {
                    verdict->next = moment;
                    verdict->nextRightIndex = grant.right;
                    verdict->nextCredentialIndex = i;
                }
            }
        }
    }

private:
    static constexpr qint64 Unknown = CAccessPeriod::first;

    // The first moment from `from` on at which the schedule is open; what comes behind `to` does not matter.
    qint64 opening(int schedule, qint64 from, qint64 to)
    {
        if (schedule == CAccessRight::always)
            return from;
        const CAccessSchedule& facts = m_facts.schedules.at(schedule);
        if (m_facts.accessPoints.first().zone < 0 || !facts.isKnown)
            return never;
        // Many rights share few schedules: the first opening of all is looked for once.
        qint64& first = m_firstOpening[schedule];
        if (first == Unknown)
            first = facts.profile.nextOpening(m_begin, m_zone, m_end);
        return first >= from ? first : facts.profile.nextOpening(from, m_zone, to);
    }

    const CAccessFacts& m_facts;
    const CAccessTimeZone m_zone;
    const qint64 m_begin;
    const qint64 m_end;
    QVector<qint64> m_firstOpening;
};

} // namespace

CAccessVerdict CAccessEvaluator::verdict(const CAccessFacts& facts, qint64 at)
{
    CAccessVerdict verdict;
    verdict.at = at;
    if (facts.users.isEmpty() || facts.accessPoints.isEmpty())
        return verdict;

    Walk walk(facts, at);
    for (const CAccessGrant grant : facts.grants) {
        if (grant.user == 0 && facts.rights.at(grant.right).accessPoint == 0)
            walk.appendChains(grant, &verdict.chains);
    }
    if (!facts.users.first().isEnabled)
        verdict.reason = CAccessReason::UserDisabled;
    else if (!facts.accessPoints.first().isEnabled)
        verdict.reason = CAccessReason::AccessPointDisabled;
    else
        verdict.reason = CAccessReason::Unauthorized;
    CAccessStep furthest = CAccessStep::User;
    for (const CAccessChain& chain : qAsConst(verdict.chains)) {
        if (chain.step > furthest) {
            furthest = chain.step;
            verdict.reason = chain.reason;
        }
    }
    if (!verdict.isAllowed())
        NextMoment(facts, at).find(&verdict);
    return verdict;
}

QVector<CAccessChain> CAccessEvaluator::chains(const CAccessFacts& facts, qint64 at)
{
    QVector<CAccessChain> chains;
    chains.reserve(facts.grants.size());
    Walk walk(facts, at);
    for (const CAccessGrant grant : facts.grants)
        walk.appendChains(grant, &chains);
    return chains;
}
