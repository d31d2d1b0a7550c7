#pragma once

#include <server/database/export.h>

#include <foundation/core/device_id.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QObject>

#include <functional>
#include <memory>

class CDatabase;
class IDeviceLinks;

/// What the servers of one installation do for each other's devices, by way of the database that they share: each says
/// which devices it holds the link of, and executes what others want of these.
///
///     CRemoteDevices remote(model.database());
///     remote.serve(&links, "north", work);
///     remote.ask(device, "lock", body, "ada", [](const QString& error, const QJsonObject& result) { ... });
///
/// A command is a row, executed once, by the server that holds the link when it looks, and never when commandLife has
/// passed: an "open" that waited would fire hours later. A row that its server took and died over is not tried again.
/// A device has one link: the newest counts, whichever server it came to.
///
/// The database is not owned and outlives this, as do the links; all live on one thread, with an event loop.
class KYR_SERVER_EXPORT CRemoteDevices : public QObject
{
    Q_OBJECT

public:
    /// Of a command, until a server has taken it; milliseconds by the clock of the database, as all here.
    static constexpr int commandLife = 10000;
    /// Between two signs of life of a server.
    static constexpr int beatInterval = 3000;
    /// A server without one for so long is gone with its links.
    static constexpr int longestSilence = 10000;

    struct Link
    {
        CDeviceId device;
        QString server;
        bool isOwn = false;
        QDateTime since;
        QDateTime lastHeard; ///< at least then
        QJsonObject details; ///< as describe() was given them
    };
    /// `error` is empty when it was done.
    using Answer = std::function<void(const QString& error, const QJsonObject& result)>;
    /// Does what another server wants of a device that is linked here; answers once, now or later.
    using Work = std::function<void(CDeviceId device, const QString& kind, const QJsonObject& body,
                                    const QString& operatorName, const Answer& answer)>;

    explicit CRemoteDevices(CDatabase* database, QObject* parent = nullptr);
    /// The links held here are held no longer.
    ~CRemoteDevices() override;

    /// From now on these links are told of, under this server's name, and others' commands are executed by `work`.
    /// With `isOnly` nobody else has the name: what stands there under it is of an earlier run.
    void serve(IDeviceLinks* links, const QString& server, bool isOnly, const Work& work);
    QString server() const;
    /// What others may see of a device that is linked here.
    void describe(CDeviceId device, const QJsonObject& details);

    /// The newest link of each device, of all servers that live, in the order of the numbers.
    QList<Link> links();
    /// Another server has the device's newest link.
    bool isElsewhere(CDeviceId device);
    /// Asks the server that holds the link. The answer comes once, never from within this call, unless this is deleted
    /// before; it comes within commandLife and a second.
    void ask(CDeviceId device, const QString& kind, const QJsonObject& body, const QString& operatorName,
             const Answer& answer);

    /// Commands that came too late for being executed, and those that somebody had taken already.
    qint64 expiredCommands() const;
    qint64 repeatedCommands() const;

Q_SIGNALS:
    /// A device that is linked here has a newer link to another server: this one is a leftover.
    void movedAway(CDeviceId device);

private:
    class Private;
    std::unique_ptr<Private> d;
};
