#pragma once

#include <foundation/access/access_facts.h>
#include <foundation/access/access_verdict.h>

/// The rules of one chain from the right on, for a desk that walks through facts and a lock that reads its list alike.
namespace AccessRules {

/// Where a chain ended, or Passed.
struct End
{
    CAccessStep step = CAccessStep::Passed;
    CAccessReason reason = CAccessReason::None;
};

/// `isOpen()` says whether the schedule is open; it is asked only when the chain comes so far.
template<typename IsOpen>
End ofRight(const CAccessPeriod& period, qint64 at, IsOpen isOpen)
{
    if (!period.isReadable)
        return {CAccessStep::RightPeriod, CAccessReason::Other};
    if (!period.contains(at))
        return {CAccessStep::RightPeriod, CAccessReason::NotPermittedAtThisTime};
    if (!isOpen())
        return {CAccessStep::Schedule, CAccessReason::NotPermittedAtThisTime};
    return {};
}

inline End ofCredential(bool isEnabled, const CAccessPeriod& period, qint64 at)
{
    if (!isEnabled)
        return {CAccessStep::CredentialEnabled, CAccessReason::CredentialNotEnabled};
    if (!period.isReadable)
        return {CAccessStep::CredentialPeriod, CAccessReason::Other};
    if (at < period.from)
        return {CAccessStep::CredentialPeriod, CAccessReason::CredentialNotActive};
    if (at > period.to)
        return {CAccessStep::CredentialPeriod, CAccessReason::CredentialExpired};
    return {};
}

} // namespace AccessRules
