#pragma once

#include <foundation/core/device_id.h>

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QTimer>

class CDatabase;

/// Which list each device has by its last words, kept in the database for the time when it is not linked. A change of
/// many lists is noted in few transactions: each costs a write to the disk.
class DoorRevisions
{
public:
    /// The database outlives it.
    explicit DoorRevisions(CDatabase* database);

    /// Stored within milliseconds, given an event loop. Nothing is noted in a database that does not exist yet.
    void note(CDeviceId device, const QByteArray& revision);
    /// Empty for none.
    QByteArray noted(CDeviceId device) const;
    /// Stores now what is not stored yet; what the database does not take is kept for the next call.
    void store();

private:
    CDatabase* m_database;
    QMap<quint32, QByteArray> m_unstored; // by device
    QTimer m_timer;
};
