#pragma once

#include <foundation/access/access_facts.h>
#include <foundation/access/access_verdict.h>

/// Decides who may open which door, from facts and a moment. It asks no database, no device and no clock.
///
///     const CAccessVerdict verdict = CAccessEvaluator::verdict(facts, instant);
///     if (!verdict.isAllowed())
///         qInfo("%s, next %s", accessReasonToString(verdict.reason), qPrintable(zone.isoText(verdict.next)));
///
/// A chain passes when, in this order, the user is enabled, the door is enabled, the moment lies within the right's
/// period, the right's schedule is open by the door's clock (a right without one always is), and a credential of the
/// user is enabled and within its period. The door opens when any chain passes.
class KYR_FOUNDATION_EXPORT CAccessEvaluator
{
public:
    CAccessEvaluator() = delete;

    /// For facts of one user and one door; of others only the first user and door are looked at. Without the one or
    /// the other it is denied as Other.
    static CAccessVerdict verdict(const CAccessFacts& facts, qint64 at);

    /// Every chain of all users and doors in the facts, in the order of the grants, in linear time. Whoever has no
    /// right at a door has no chain there.
    static QVector<CAccessChain> chains(const CAccessFacts& facts, qint64 at);
};
