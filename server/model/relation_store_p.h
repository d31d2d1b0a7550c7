#pragma once

#include <server/database/database.h>

#include <QtCore/QHash>
#include <QtCore/QVariantMap>

class IdList;

/// Memberships and access rights as rows. The caller has looked whether the items are there, and holds a transaction
/// around changes.
class RelationStore
{
public:
    explicit RelationStore(CDatabase* database);

    QList<qint64> usersOfGroup(qint64 group);
    QList<qint64> groupsOfUser(qint64 user);
    /// Those who are members already keep their place.
    bool addUsers(const QList<qint64>& users, qint64 group);
    bool removeUsers(const QList<qint64>& users, qint64 group);
    bool removeAllUsers(qint64 group);
    bool removeFromGroups(qint64 user);

    /// Doors in the order in which their rights were given.
    QList<qint64> accessPointsOf(qint64 holder);
    QList<qint64> holdersAt(qint64 accessPoint);
    /// The rights of a holder, at one door or (0) at all: maps as they stand under "Access Points".
    QVariantList rights(qint64 holder, qint64 accessPoint);
    /// The right with the same schedule, period, options and properties; 0 for none.
    qint64 findRight(qint64 holder, qint64 accessPoint, const QVariantMap& properties);
    /// The id of the new right, 0 when it failed. The properties were checked, see checkRight().
    qint64 addRight(qint64 holder, qint64 accessPoint, const QVariantMap& properties);
    /// Values that are given replace; invalid ones take a value away.
    bool changeRight(qint64 right, const QVariantMap& properties);
    bool removeRight(qint64 right);
    bool removeRights(qint64 holder, const QList<qint64>& accessPoints);
    bool removeAllRights(qint64 holder);
    /// The holder of a right, 0 when there is none.
    qint64 holderOf(qint64 right);
    qint64 rightsWith(qint64 timeProfile);

    /// Puts "Members" and "Access Points" into the items, which stand at `places` by their ids.
    void addRelations(const IdList& ids, const QHash<qint64, int>& places, QList<QVariantMap>* items);

    /// Brings the properties of a right into the form in which they are stored, and refuses what must not stand there.
    /// Whether the schedule exists is the caller's to look.
    static bool checkRight(QVariantMap* properties, QString* errorString);

private:
    CDatabase* m_database;
};
