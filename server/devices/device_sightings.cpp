#include <server/devices/device_sightings.h>

#include <server/database/sql_statement_p.h>

bool CDeviceSightings::note(const QList<Sighting>& sightings)
{
    if (sightings.isEmpty() || !m_database->exists())
        return true;
    bool good = m_database->begin();
    for (const Sighting& sighting : sightings) {
        SqlStatement note(m_database, QStringLiteral("INSERT INTO device_seen(device,at,address) VALUES(?,?,?) ON "
                                                     "CONFLICT(device) DO UPDATE SET at=excluded.at,"
                                                     "address=excluded.address"));
        good = good
               && note.bind(qint64(sighting.device.value()))
                      .bind(sighting.at.toSecsSinceEpoch())
                      .bind(sighting.address)
                      .exec();
    }
    return m_database->end(good);
}

QMap<quint32, CDeviceSightings::Sighting> CDeviceSightings::all() const
{
    QMap<quint32, Sighting> found;
    SqlStatement find(m_database, QStringLiteral("SELECT device,at,address FROM device_seen"));
    for (find.exec(); find.next();) {
        const auto number = quint32(find.integer(0));
        found.insert(number, {CDeviceId(number), QDateTime::fromSecsSinceEpoch(find.integer(1)), find.text(2)});
    }
    return found;
}
