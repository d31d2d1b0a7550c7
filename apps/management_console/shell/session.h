#pragma once

#include <server/bridge/notification_bridge.h>
#include <server/outbox/mail_outbox.h>

#include <QtCore/QObject>

#include <QtNetwork/QHostAddress>

#include <memory>
#include <vector>

class CAuditTrail;
class CModelAudit;
class CDeviceService;
class CDeviceSightings;
class CDoorController;
class CRemoteDevices;
class CScriptService;
class CSqlAccessControl;
class DeviceServer;
class Monitor;
struct CommandEntry;
struct ServedApi;
struct ServedDoors;

/// What all commands of one program share: what lives longer than a command, whoever gave it.
class Session : public QObject
{
    Q_OBJECT

public:
    /// `commands` are those that can be given. `database` is where the installation is kept; empty: where
    /// defaultDatabase() says.
    explicit Session(const std::vector<const CommandEntry*>& commands, const QString& database = {});
    ~Session() override;
    /// The file of the certificate authority of a database server; before the installation is first asked for.
    void setDatabaseAuthority(const QString& file) { m_authority = file; }

    const std::vector<const CommandEntry*>& commands() const { return m_commands; }
    /// Null when there is none of that name.
    const CommandEntry* findCommand(const QString& name) const;

    /// The server that goes on in the background, or null. While there is one the program does not end with its only
    /// command, and who comes and goes is told.
    DeviceServer* server() const { return m_server.get(); }
    /// `name` is that of its chain in the trail; what is done here stands there as long as it serves.
    void setServer(std::unique_ptr<DeviceServer> server, const QString& name = {});
    /// Joins the server to others, or null. It goes with the server.
    CNotificationBridge* bridge() const { return m_bridge.get(); }
    void startBridge(const CNotificationBridge::Settings& settings);
    /// From now on machines may watch the server: see Monitor, also for the networks.
    void watchServer(const QList<QPair<QHostAddress, int>>& metricsFrom);
    /// Reads the certificate of the server anew, and tells how that went.
    void reload();
    /// The doors of the devices that are served here; null when none are.
    CDoorController* doors() const;
    /// When and where devices were heard last; null when none are served here.
    const CDeviceSightings* sightings() const;

    /// What other servers of the installation hold. Null with a reason like model().
    CRemoteDevices* remote(QString& error);

    /// The installation, opened when it is first asked for. Null with a reason when that fails; asked again it tries
    /// again.
    CSqlAccessControl* model(QString& error);
    /// Its trail, in which every change is noted. Null with a reason like model().
    CAuditTrail* trail(QString& error);
    /// Its mails that wait. Null with a reason like model().
    CMailOutbox* outbox(QString& error);
    /// Sends these mails from now on, and those of the model. False with a reason.
    bool startMail(const CMailOutbox::Settings& settings, QString& error);
    bool sendsMail() const { return m_sendsMail; }
    /// The same as scripts see it.
    CScriptService* scripts(QString& error);
    /// What asks devices that are linked here; there is always one.
    CDeviceService* deviceService() const { return m_deviceService.get(); }

    /// Who gives the command that runs now, as the trail names people; else the user of this process.
    const QString& operatorName() const { return m_operatorName; }
    /// While it lives commands are given by somebody; "" is the user of this process.
    class Acting
    {
    public:
        Acting(Session& session, const QString& name);
        ~Acting();
        Acting(const Acting&) = delete;
        Acting& operator=(const Acting&) = delete;

    private:
        Session& m_session;
        QString m_before;
    };

    /// Asks the program to end.
    void shutDown();

Q_SIGNALS:
    /// News that no command asked for, one line, fit for a terminal.
    void news(const QString& text);
    void shutdownWanted();

private:
    void tell(const QString& text);
    void setOperatorName(const QString& name);

    const std::vector<const CommandEntry*>& m_commands;
    QString m_database;
    QString m_authority;
    QString m_operatorName;
    std::unique_ptr<CSqlAccessControl> m_model;
    std::unique_ptr<CAuditTrail> m_trail;
    std::unique_ptr<CModelAudit> m_audit;
    std::unique_ptr<CRemoteDevices> m_remote;
    std::unique_ptr<CDeviceService> m_deviceService;
    std::unique_ptr<CMailOutbox> m_outbox;
    bool m_sendsMail = false;
    std::unique_ptr<CScriptService> m_scripts;
    std::unique_ptr<DeviceServer> m_server;
    std::unique_ptr<CNotificationBridge> m_bridge; // goes behind the doors, whose last words it still tells
    std::unique_ptr<ServedDoors> m_doors;
    std::unique_ptr<Monitor> m_monitor;
    std::unique_ptr<ServedApi> m_api;
};
