#pragma once

#include <server/database/export.h>

#include <foundation/core/device_id.h>

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QMap>

class CDatabase;

/// When each device was heard last, and from which address: kept with the installation, for those who look for one that
/// is absent.
class KYR_SERVER_EXPORT CDeviceSightings
{
public:
    struct Sighting
    {
        CDeviceId device;
        QDateTime at;
        QString address;
    };

    /// The database outlives it.
    explicit CDeviceSightings(CDatabase* database)
        : m_database(database)
    {
    }

    /// Several in one transaction. False when they could not be stored. An installation that is not there yet is not
    /// made for this.
    bool note(const QList<Sighting>& sightings);
    /// All of them, by the number of the device.
    QMap<quint32, Sighting> all() const;

private:
    CDatabase* m_database;
};
