#pragma once

#include <server/model/access_facts_builder_p.h>
#include <server/model/access_facts_source.h>

class CDatabase;
class SqlStatement;

/// The facts straight from the rows: one join gives the rights, one the credentials, and small ones the rest.
class KYR_SERVER_TEST_EXPORT SqlAccessFacts : public IAccessFactsSource
{
public:
    explicit SqlAccessFacts(CDatabase* database)
        : m_database(database)
    {
    }

    CAccessFacts ofUserAtDoor(CItemId user, CItemId accessPoint) override;
    CAccessFacts ofDoor(CItemId accessPoint) override;
    CAccessFacts ofUser(CItemId user) override;
    QString errorString() const override { return m_error; }

private:
    void readCredentials(AccessFactsBuilder* builder, qint64 userId);
    void describeSchedules(AccessFactsBuilder* builder);
    /// What stands in the builder, unless a statement has failed.
    CAccessFacts finish(AccessFactsBuilder* builder);
    void look(const SqlStatement& rows);

    CDatabase* m_database;
    QString m_error;
    AccessTimeZones m_zones;
};

/// The statements, for whoever wants to know what they cost by themselves. `?` is the id of a user or door.
namespace AccessFactsSql {

KYR_SERVER_TEST_EXPORT const QString& user();
KYR_SERVER_TEST_EXPORT const QString& accessPoint();
/// Rights at a door (first place) of a user and of the user's groups (second and third place).
KYR_SERVER_TEST_EXPORT const QString& rightsOfUserAtDoor();
KYR_SERVER_TEST_EXPORT const QString& rightsOfUser();
KYR_SERVER_TEST_EXPORT const QString& rightsAtDoor();
KYR_SERVER_TEST_EXPORT const QString& membersAtDoor();
KYR_SERVER_TEST_EXPORT const QString& usersAtDoor();
KYR_SERVER_TEST_EXPORT const QString& credentialsOfUser();
KYR_SERVER_TEST_EXPORT const QString& credentialsAtDoor();
/// What is shown to the door, of each medium and code of those who have a right there: id, type, value, data.
KYR_SERVER_TEST_EXPORT const QString& identitiesAtDoor();
/// A condition on the id of a user: one of those with a right at a door (both places), their own or that of a group.
const QString& peopleAtDoor();

} // namespace AccessFactsSql
