#pragma once

#include <server/model/access_facts_builder_p.h>
#include <server/model/access_facts_source.h>

#include <QtCore/QVariantMap>

/// The facts of any model, by the operations that every model has. What concerns one user at one door is read for
/// these; for all users of a door, or all doors of a user, whole collections are read once.
class KYR_SERVER_TEST_EXPORT ModelAccessFacts : public IAccessFactsSource
{
public:
    explicit ModelAccessFacts(ISimpleAccessControl* model)
        : m_model(model)
    {
    }

    CAccessFacts ofUserAtDoor(CItemId user, CItemId accessPoint) override;
    CAccessFacts ofDoor(CItemId accessPoint) override;
    CAccessFacts ofUser(CItemId user) override;

private:
    int addUser(AccessFactsBuilder* builder, const QVariantMap& user) const;
    void addAccessPoints(AccessFactsBuilder* builder, CItemId only) const;
    /// The rights of a user or group at the doors that the builder knows; their places.
    QVector<int> addRights(AccessFactsBuilder* builder, const QVariantMap& holder) const;
    void addRightsOfUser(AccessFactsBuilder* builder, const QVariantMap& user) const;
    void addCredentials(AccessFactsBuilder* builder, const QVariantMap& filter) const;
    void describeSchedules(AccessFactsBuilder* builder) const;

    ISimpleAccessControl* m_model;
    AccessTimeZones m_zones;
};
