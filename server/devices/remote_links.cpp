#include <server/devices/remote_links_p.h>

#include <foundation/core/json_text.h>
#include <foundation/core/random.h>
#include <server/database/id_list_p.h>
#include <server/database/sql_statement_p.h>

#include <QtCore/QJsonDocument>

namespace {

// In milliseconds, the entry of a server that gives no sign of life.
constexpr int keptMs = 60000;

} // namespace

RemoteLinks::RemoteLinks(CDatabase* database)
    : m_database(database)
    , m_holder(QString::fromLatin1(CRandom::getArray(8).toHex()))
{
}

void RemoteLinks::serve(const QString& server, bool isOnly)
{
    m_server = server;
    m_isOnly = isOnly;
}

void RemoteLinks::add(CDeviceId device)
{
    Own& link = m_own[device.value()];
    link.age.start();
    link.isNoted = false;
    m_gone.remove(device.value());
}

void RemoteLinks::remove(CDeviceId device)
{
    m_own.remove(device.value());
    m_gone.insert(device.value());
}

bool RemoteLinks::describe(CDeviceId device, const QJsonObject& details)
{
    const auto link = m_own.find(device.value());
    if (link == m_own.end() || link->details == details)
        return false;
    link->details = details;
    link->isNoted = false;
    return true;
}

// Of two servers that note a device the one with the younger link wins, whoever writes last.
bool RemoteLinks::note()
{
    bool good = true;
    for (auto link = m_own.cbegin(); good && link != m_own.cend(); ++link) {
        if (link->isNoted)
            continue;
        SqlStatement add(m_database,
                         QStringLiteral("INSERT INTO device_link(device,holder,since,details) VALUES(?,?,%1-?,?) ON "
                                        "CONFLICT(device) DO UPDATE SET holder=excluded.holder,since=excluded.since,"
                                        "details=excluded.details WHERE device_link.holder=excluded.holder OR "
                                        "excluded.since>=device_link.since")
                             .arg(dialectOf(m_database).now));
        good = add.bind(qint64(link.key()))
                   .bind(m_holder)
                   .bind(link->age.elapsed())
                   .bind(QString::fromUtf8(QJsonDocument(link->details).toJson(QJsonDocument::Compact)))
                   .exec();
    }
    for (auto device = m_gone.cbegin(); good && device != m_gone.cend(); ++device) {
        SqlStatement remove(m_database, QStringLiteral("DELETE FROM device_link WHERE device=? AND holder=?"));
        good = remove.bind(qint64(*device)).bind(m_holder).exec();
    }
    return good;
}

void RemoteLinks::noted()
{
    m_gone.clear();
    for (Own& link : m_own)
        link.isNoted = true;
}

bool RemoteLinks::beat(bool* isNew)
{
    const QString now = dialectOf(m_database).now;
    if (!m_isKnown && m_isOnly
        && !SqlStatement(m_database, QStringLiteral("DELETE FROM device_holder WHERE server=?")).bind(m_server).exec())
        return false;
    SqlStatement beat(m_database, QStringLiteral("UPDATE device_holder SET at=%1 WHERE holder=?").arg(now));
    if (!beat.bind(m_holder).exec())
        return false;
    *isNew = beat.changed() == 0;
    if (*isNew) {
        SqlStatement add(m_database,
                         QStringLiteral("INSERT INTO device_holder(holder,server,at) VALUES(?,?,%1)").arg(now));
        if (!add.bind(m_holder).bind(m_server).exec())
            return false;
    }
    return SqlStatement(m_database, QStringLiteral("DELETE FROM device_holder WHERE at<%1-%2").arg(now).arg(keptMs))
        .exec();
}

void RemoteLinks::hasBeaten(bool isNew)
{
    m_isKnown = true;
    if (!isNew)
        return;
    for (Own& link : m_own)
        link.isNoted = false;
}

bool RemoteLinks::end()
{
    return SqlStatement(m_database, QStringLiteral("DELETE FROM device_holder WHERE holder=?")).bind(m_holder).exec();
}

// A link that another server has noted as the newer one, and that ended before this one had heard of it, took the row
// with it.
bool RemoteLinks::findUnlisted()
{
    {
        SqlStatement count(m_database, QStringLiteral("SELECT count(*) FROM device_link WHERE holder=?"));
        if (!count.bind(m_holder).exec() || !count.next() || count.integer(0) >= m_own.size())
            return false;
    }
    QSet<quint32> listed;
    SqlStatement find(m_database, QStringLiteral("SELECT device FROM device_link WHERE holder=?"));
    if (!find.bind(m_holder).exec())
        return false;
    while (find.next())
        listed.insert(quint32(find.integer(0)));
    bool isComplete = true;
    for (auto link = m_own.begin(); link != m_own.end(); ++link) {
        link->isNoted &= listed.contains(link.key());
        isComplete &= link->isNoted;
    }
    return !isComplete;
}

QList<CDeviceId> RemoteLinks::takeMoved()
{
    QList<CDeviceId> moved;
    QList<qint64> devices;
    for (auto link = m_own.cbegin(); link != m_own.cend(); ++link) {
        if (link->isNoted)
            devices.append(link.key());
    }
    if (devices.isEmpty())
        return moved;
    const IdList list(m_database, devices);
    SqlStatement find(m_database,
                      QLatin1String("SELECT device FROM device_link WHERE holder<>? AND device IN ") + list.sql());
    for (find.bind(m_holder).bind(list.value()).exec(); find.next();)
        moved.append(CDeviceId(quint32(find.integer(0))));
    for (const CDeviceId device : qAsConst(moved))
        m_own.remove(device.value());
    return moved;
}

QString RemoteLinks::isAlive() const
{
    return QStringLiteral("h.at BETWEEN %1-%2 AND %1+%2")
        .arg(dialectOf(m_database).now)
        .arg(CRemoteDevices::longestSilence);
}

QList<CRemoteDevices::Link> RemoteLinks::all() const
{
    QList<CRemoteDevices::Link> result;
    if (!m_database->exists())
        return result;
    SqlStatement find(m_database,
                      QStringLiteral("SELECT l.device,h.server,l.holder,l.since,l.details,s.at FROM device_link l JOIN "
                                     "device_holder h ON h.holder=l.holder LEFT JOIN device_seen s ON "
                                     "s.device=l.device WHERE %1 ORDER BY l.device")
                          .arg(isAlive()));
    for (find.exec(); find.next();) {
        const QDateTime since = QDateTime::fromMSecsSinceEpoch(find.integer(3));
        result.append({CDeviceId(quint32(find.integer(0))), find.text(1), find.text(2) == m_holder, since,
                       qMax(since, QDateTime::fromSecsSinceEpoch(find.integer(5))),
                       CJsonText::read(find.text(4).toUtf8()).object()});
    }
    return result;
}

bool RemoteLinks::isElsewhere(CDeviceId device) const
{
    if (!m_database->exists())
        return false;
    SqlStatement find(m_database,
                      QStringLiteral("SELECT 1 FROM device_link l JOIN device_holder h ON h.holder=l.holder "
                                     "WHERE l.device=? AND l.holder<>? AND %1")
                          .arg(isAlive()));
    return find.bind(qint64(device.value())).bind(m_holder).exec() && find.next();
}
