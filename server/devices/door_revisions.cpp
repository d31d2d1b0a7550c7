#include <server/devices/door_revisions_p.h>

#include <server/database/sql_statement_p.h>

#include <QtCore/QDateTime>

namespace {

// How long revisions wait for others that are stored in the same transaction.
constexpr int storeMs = 20;

} // namespace

DoorRevisions::DoorRevisions(CDatabase* database)
    : m_database(database)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(storeMs);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { store(); });
}

void DoorRevisions::note(CDeviceId device, const QByteArray& revision)
{
    if (!m_database->exists() || noted(device) == revision)
        return;
    m_unstored.insert(device.value(), revision);
    if (!m_timer.isActive())
        m_timer.start();
}

QByteArray DoorRevisions::noted(CDeviceId device) const
{
    const auto unstored = m_unstored.constFind(device.value());
    if (unstored != m_unstored.cend())
        return *unstored;
    SqlStatement find(m_database, QStringLiteral("SELECT revision FROM device_state WHERE device=?"));
    return find.bind(qint64(device.value())).exec() && find.next() ? find.text(0).toLatin1() : QByteArray();
}

void DoorRevisions::store()
{
    if (m_unstored.isEmpty())
        return;
    bool good = m_database->begin();
    SqlStatement note(m_database, QStringLiteral("INSERT INTO device_state(device,revision,at) VALUES(?,?,?) ON "
                                                 "CONFLICT(device) DO UPDATE SET revision=excluded.revision,"
                                                 "at=excluded.at"));
    for (auto entry = m_unstored.cbegin(); good && entry != m_unstored.cend(); ++entry) {
        good = note.bind(qint64(entry.key()))
                   .bind(QString::fromLatin1(*entry))
                   .bind(QDateTime::currentSecsSinceEpoch())
                   .exec();
    }
    if (m_database->end(good))
        m_unstored.clear();
}
