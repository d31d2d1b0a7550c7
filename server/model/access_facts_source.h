#pragma once

#include <server/database/export.h>

#include <foundation/access/access_facts.h>

#include <memory>

class ISimpleAccessControl;

/// Reads from a model what a decision about access needs. A value that cannot be read makes a fact that denies.
///
///     const auto source = IAccessFactsSource::of(&model);
///     const CAccessFacts facts = source->ofUserAtDoor(user, door);
///     const CAccessVerdict verdict = CAccessEvaluator::verdict(facts, instant);
///
/// Facts are as of now: nothing but time zones is kept from one question to the next. Doors without a time zone have
/// that of this computer. A user or door that is not there is missing in the facts. When the model could not be read
/// the facts are empty, and errorString() says why.
class KYR_SERVER_EXPORT IAccessFactsSource
{
public:
    virtual ~IAccessFactsSource();

    virtual CAccessFacts ofUserAtDoor(CItemId user, CItemId accessPoint) = 0;
    /// All users with a right at the door.
    virtual CAccessFacts ofDoor(CItemId accessPoint) = 0;
    /// All doors at which the user has a right.
    virtual CAccessFacts ofUser(CItemId user) = 0;
    /// Of the last question; empty when it could be answered.
    virtual QString errorString() const { return QString(); }

    /// The quickest for that model, which must outlive it.
    static std::unique_ptr<IAccessFactsSource> of(ISimpleAccessControl* model);
};
