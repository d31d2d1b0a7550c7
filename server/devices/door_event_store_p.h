#pragma once

#include <server/audit/audit_event.h>
#include <server/model/access_facts_sql_p.h>

#include <foundation/access/lock_messages.h>
#include <foundation/core/device_id.h>

#include <QtCore/QMap>

class CAuditTrail;
class CDatabase;

/// Who a credential belongs to.
struct CredentialOwner
{
    CItemId user;
    CItemId medium;
    bool isKnown() const { return medium != CItemId(); }
};

/// What a door cannot know by itself: whose a credential is, and what the model says to it.
class DoorDesk
{
public:
    explicit DoorDesk(CDatabase* database)
        : m_database(database)
        , m_facts(database)
    {
    }

    CredentialOwner ownerOf(const CLockCredential& credential);
    /// What the model says to that credential alone, `at` in seconds since 1970; Other when it cannot be read.
    CAccessReason reasonFor(const CredentialOwner& owner, CItemId accessPoint, qint64 at);

private:
    CDatabase* m_database;
    SqlAccessFacts m_facts;
};

/// Takes the events of devices into the trail: each number of an epoch once, whatever comes twice.
class DoorEventStore
{
public:
    DoorEventStore(CDatabase* database, CAuditTrail* trail, DoorDesk* desk)
        : m_database(database)
        , m_trail(trail)
        , m_desk(desk)
    {
    }

    struct Result
    {
        /// Whether all that the device may forget is on the disk. False: nothing was changed.
        bool isStored = false;
        /// Up to this number the device may forget them.
        qint64 upTo = 0;
        QList<AuditEvent> events{};
    };

    Result take(CDeviceId device, CItemId accessPoint, const CLockEvents& events);
    /// -1 when it cannot be read.
    qint64 storedUpTo(CDeviceId device, const QByteArray& epoch);

private:
    /// What the database did not say whether it has stored; should the device send it again, that was stored is to be
    /// told.
    struct Doubtful
    {
        QByteArray epoch;
        qint64 upTo = 0;
        QList<AuditEvent> events;
    };

    AuditEvent toAuditEvent(CDeviceId device, CItemId accessPoint, const QByteArray& epoch, const CLockEvent& event);

    CDatabase* m_database;
    CAuditTrail* m_trail;
    DoorDesk* m_desk;
    QMap<quint32, Doubtful> m_doubtful; // by device
};
