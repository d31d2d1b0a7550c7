#pragma once

#include <server/bridge/mqtt_client.h>
#include <server/database/export.h>

#include <QtCore/QObject>

#include <memory>

class CDatabase;
class CNotificationService;
class IDeviceLinks;

/// Joins the notification services of several servers through an MQTT broker.
///
///     CNotificationBridge::Settings settings;
///     settings.broker.setUrl(QStringLiteral("mqtts://broker.example.com:8883"), &error);
///     settings.system = QStringLiteral("0012.3457");
///     settings.server = QStringLiteral("north");
///     CNotificationBridge bridge(settings, &hub, model.database(), &links);
///
/// To the service it is one more transport, the subscriber "mqtt". What it tells stands below "kyr/1/SYSTEM/SERVER/":
///
/// | topic | what |
/// |---|---|
/// | state (retained) | {"state":"up"}, "ended" after a stop in good order, "lost" when the broker misses the server |
/// | notify/model, notify/access, notify/devices | {"source":"Model","data":{...},"seq":7,"epoch":"...",...} |
/// | event/ACCESSPOINT/granted, event/ACCESSPOINT/denied | the same messages as on notify/access |
/// | device/DEVICE/state (retained) | {"linked":true,"at":"..."} |
/// | audit/head (retained) | a signed head of the trail, one line |
/// | replay | asked by others: {"source":"Model","epoch":"...","from":5,"to":9} |
///
/// "Model", "Access" and the heads come from the tables: each at least once, in order, "seq" without gap within an
/// epoch, whatever is killed; what the broker has not acknowledged waits in the database. "Devices" is news of the
/// moment: the last VolatileRing::mostMessages wait, and how many were dropped is told. At most mostInFlight messages
/// are on the way. Who sees a gap in "seq" writes to "replay", and is sent up to mostReplayed messages again, on the
/// topic on which they were sent first.
///
/// What other servers tell goes to the subscribers of this service, with "server" in its parameters, once; changes of
/// the model only where the servers do not share a database, which has told of them already. Nothing that comes from
/// the broker does anything else here: it opens no door and changes no model.
///
/// Service, database and links outlive it; it lives on their thread and never waits there, except for a farewell to
/// the broker when it is destroyed, see CMqttClient::stopMs.
class KYR_SERVER_EXPORT CNotificationBridge : public QObject
{
    Q_OBJECT

public:
    /// Messages that the broker has not acknowledged yet.
    static constexpr int mostInFlight = 20;
    /// Messages that are sent again for one question.
    static constexpr int mostReplayed = 10000;

    struct Settings
    {
        MqttSettings broker{}; ///< client id, will, farewell and topics are filled in
        QString system{};      ///< label of the installation
        QString server{};      ///< name of this server: letters, digits, "-", "_" and "."; one that no other has
    };

    /// `links` may be null.
    CNotificationBridge(const Settings& settings, CNotificationService* service, CDatabase* database,
                        IDeviceLinks* links, QObject* parent = nullptr);
    ~CNotificationBridge() override;

    struct Status
    {
        bool isConnected = false;
        QString broker{};         ///< its URL
        QString fault{};          ///< why it is not connected, or what the broker does not take; empty for neither
        qint64 waiting = 0;       ///< messages that the broker does not have yet
        qint64 dropped = 0;       ///< that nobody will hear
        bool isPublisher = false; ///< tells the changes of those who have no bridge
    };
    Status status() const;

    /// Tells what is in the database and was not told yet; called when something was stored there that no notification
    /// tells of.
    void wake();

Q_SIGNALS:
    /// Something in the status has changed, beside its counts. A receiver may delete the bridge.
    void statusChanged();

private:
    class Private;
    std::unique_ptr<Private> d;
};
