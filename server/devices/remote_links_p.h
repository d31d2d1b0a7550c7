#pragma once

#include <server/devices/remote_devices.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QSet>

/// Which server holds the link of which device, in tables that all servers share: each notes its own links, and gives
/// signs of life, without which its links count for nothing. Times are those of the database's clock.
class RemoteLinks
{
public:
    /// The database outlives it.
    explicit RemoteLinks(CDatabase* database);

    /// The name of this process in the tables, of one run.
    QString holder() const { return m_holder; }
    /// Under which name this server is known to people. With `isOnly` nobody else has it.
    void serve(const QString& server, bool isOnly);
    QString server() const { return m_server; }

    void add(CDeviceId device);
    void remove(CDeviceId device);
    /// False when nothing has changed by it.
    bool describe(CDeviceId device, const QJsonObject& details);
    bool has(CDeviceId device) const { return m_own.contains(device.value()); }

    // Within a transaction of the caller, who says afterwards how it ended
    /// Notes the links that have come, gone or changed.
    bool note();
    void noted();
    /// A sign of life. *isNew when others did not know of this server, or took it for dead: its links are to be noted
    /// again.
    bool beat(bool* isNew);
    void hasBeaten(bool isNew);
    /// Ends this server's entry with its links.
    bool end();

    bool isKnown() const { return m_isKnown; }
    /// Whether links have lost their rows to a newer link that has ended since: they are to be noted again.
    bool findUnlisted();
    /// The devices that have a newer link to another server. They are not held here any more.
    QList<CDeviceId> takeMoved();

    QList<CRemoteDevices::Link> all() const;
    bool isElsewhere(CDeviceId device) const;

private:
    struct Own
    {
        QElapsedTimer age;
        QJsonObject details;
        bool isNoted = false;
    };

    /// Of a holder h.
    QString isAlive() const;

    CDatabase* m_database;
    QString m_holder;
    QString m_server;
    bool m_isOnly = false;
    bool m_isKnown = false; // to others, by a sign of life
    QMap<quint32, Own> m_own;
    QSet<quint32> m_gone;
};
