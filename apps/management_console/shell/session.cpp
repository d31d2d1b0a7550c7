#include "shell/session.h"

#include "common/process_setup.h"
#include "monitoring/monitor.h"
#include "monitoring/service_manager.h"
#include "server/device_rows.h"
#include "server/device_server.h"
#include "server/door_links.h"
#include "server/front_door.h"
#include "server/open_model.h"
#include "server/served_api.h"
#include "shell/command.h"
#include "shell/terminal.h"

#include <foundation/services/script_service.h>
#include <server/audit/audit_trail.h>
#include <server/audit/model_audit.h>
#include <server/bridge/notification_bridge.h>
#include <server/devices/remote_devices.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QTimer>

namespace {

constexpr int quitDelayMs = 200;

} // namespace

Session::Session(const std::vector<const CommandEntry*>& commands, const QString& database)
    : m_commands(commands)
    , m_database(database.isEmpty() ? defaultDatabase() : database)
    , m_operatorName(processUserName())
    , m_deviceService(std::make_unique<CDeviceService>(nullptr))
{
}

Session::~Session() = default;

const CommandEntry* Session::findCommand(const QString& name) const
{
    for (const CommandEntry* entry : m_commands) {
        if (name == QLatin1String(entry->name))
            return entry;
    }
    return nullptr;
}

CSqlAccessControl* Session::model(QString& error)
{
    if (m_model)
        return m_model.get();
    m_model = openModel(m_database, m_authority, error);
    if (!m_model)
        return nullptr;
    m_trail = std::make_unique<CAuditTrail>(m_model->database());
    m_trail->setOperatorName(m_operatorName);
    m_audit = std::make_unique<CModelAudit>(m_trail.get());
    m_model->setRecorder(m_audit.get());
    return m_model.get();
}

CRemoteDevices* Session::remote(QString& error)
{
    CSqlAccessControl* installation = model(error);
    if (installation && !m_remote)
        m_remote = std::make_unique<CRemoteDevices>(installation->database());
    return m_remote.get();
}

CAuditTrail* Session::trail(QString& error)
{
    return model(error) ? m_trail.get() : nullptr;
}

CMailOutbox* Session::outbox(QString& error)
{
    CSqlAccessControl* installation = model(error);
    if (installation && !m_outbox)
        m_outbox = std::make_unique<CMailOutbox>(installation->database());
    return m_outbox.get();
}

bool Session::startMail(const CMailOutbox::Settings& settings, QString& error)
{
    if (!outbox(error))
        return false;
    m_outbox->start(settings);
    m_model->setMail(m_outbox.get());
    m_sendsMail = true;
    return true;
}

CScriptService* Session::scripts(QString& error)
{
    CSqlAccessControl* installation = model(error);
    if (installation && !m_scripts)
        m_scripts = std::make_unique<CScriptService>(installation, m_deviceService.get());
    return m_scripts.get();
}

void Session::tell(const QString& text)
{
    Q_EMIT news(Terminal::printable(text));
}

void Session::setOperatorName(const QString& name)
{
    m_operatorName = name;
    if (m_trail)
        m_trail->setOperatorName(name);
}

Session::Acting::Acting(Session& session, const QString& name)
    : m_session(session)
    , m_before(session.m_operatorName)
{
    if (!name.isEmpty())
        session.setOperatorName(name);
}

Session::Acting::~Acting()
{
    m_session.setOperatorName(m_before);
}

void Session::shutDown()
{
    if (m_doors)
        m_doors->keeper.setOperatorName(m_operatorName);
    Q_EMIT shutdownWanted();
}

void Session::setServer(std::unique_ptr<DeviceServer> server, const QString& name)
{
    if (m_doors)
        m_doors->keeper.setOperatorName(m_operatorName);
    m_monitor.reset();
    m_api.reset();
    m_doors.reset();
    // Behind the doors, whose last words it still tells.
    m_bridge.reset();
    if (m_trail)
        m_trail->setChainName(CAuditTrail::defaultChainName());
    m_deviceService->setController(nullptr);
    // It tells that its links are held no longer.
    m_remote.reset();
    m_server = std::move(server);
    if (!m_server)
        return;
    QString error;
    if (CSqlAccessControl* installation = model(error)) {
        if (!name.isEmpty())
            m_trail->setChainName(name);
        m_doors = std::make_unique<ServedDoors>(m_server.get(), installation, remote(error), m_trail->chainName(),
                                                m_operatorName);
        m_deviceService->setController(&m_doors->controller);
        // Who asked for it by the API is answered first.
        connect(installation, &ISimpleAccessControl::aboutToQuit, m_server.get(),
                [this] { QTimer::singleShot(quitDelayMs, m_server.get(), [this] { shutDown(); }); });
        m_api = std::make_unique<ServedApi>(m_server.get(), m_doors.get(), m_deviceService.get());
    }
    connect(m_server.get(), &DeviceServer::deviceCame, this, [this](const DeviceLink::Identity& device) {
        tell(QStringLiteral("%1 %2 came in from %3 (%4 ms)")
                 .arg(deviceTypeName(device.type), device.id.toLabel(), device.peer)
                 .arg(device.handshakeMs));
    });
    connect(m_server.get(), &DeviceServer::deviceLeft, this, [this](const DeviceLink::Identity& device) {
        tell(QStringLiteral("%1 %2 has left").arg(deviceTypeName(device.type), device.id.toLabel()));
    });
    connect(m_server.get(), &DeviceServer::refused, this, [this](const DeviceServer::Refusal& refusal) {
        const QString device = refusal.device.isEmpty() ? QString() : QString(refusal.device + QLatin1Char(' '));
        tell(QStringLiteral("refused %1from %2: %3").arg(device, refusal.peer, refusal.reason));
    });
}

void Session::startBridge(const CNotificationBridge::Settings& settings)
{
    if (!m_doors)
        return;
    m_model->setServerName(settings.server);
    m_bridge = std::make_unique<CNotificationBridge>(settings, m_server->notifications(), m_model->database(),
                                                     &m_doors->links);
    // Of these no notification tells.
    for (CAuditTrail* trail : {m_trail.get(), &m_doors->trail}) {
        connect(trail, &CAuditTrail::appended, m_bridge.get(), &CNotificationBridge::wake);
        connect(trail, &CAuditTrail::headSigned, m_bridge.get(), &CNotificationBridge::wake);
    }
}

void Session::watchServer(const QList<QPair<QHostAddress, int>>& metricsFrom)
{
    QString error;
    CSqlAccessControl* installation = model(error);
    if (!m_server || !installation)
        return;
    m_monitor = std::make_unique<Monitor>(m_server.get(), installation, m_trail.get(), metricsFrom);
    m_monitor->addQueue("handshakes", [server = m_server.get()] { return server->handshakes(); });
    m_monitor->addQueue("notifications", [server = m_server.get()] { return server->queuedNotifications(); });
    m_monitor->addQueue("visitors", [server = m_server.get()] { return server->door().visitors(); });
    m_monitor->setBroker([this] { return m_bridge && m_bridge->status().isConnected; });
    m_monitor->addQueue("broker", [this] { return m_bridge ? m_bridge->status().waiting : 0; });
    m_monitor->addCounter("kyr_broker_dropped_total", "Messages to and from the broker that were dropped.", {},
                          [this] { return m_bridge ? m_bridge->status().dropped : 0; });
    const QByteArray ignored = "kyr_commands_ignored_total";
    const QByteArray ignoredHelp = "Other servers' commands for devices that were not executed.";
    m_monitor->addCounter(ignored, ignoredHelp, "expired",
                          [this] { return m_remote ? m_remote->expiredCommands() : 0; });
    m_monitor->addCounter(ignored, ignoredHelp, "repeated",
                          [this] { return m_remote ? m_remote->repeatedCommands() : 0; });
}

void Session::reload()
{
    if (!m_server)
        return;
    ServiceManager::reloading();
    QString error;
    QString warning;
    if (m_server->reloadCertificate(error, warning))
        tell(warning.isEmpty() ? QStringLiteral("the certificate was reloaded")
                               : QStringLiteral("the certificate was reloaded: %1").arg(warning));
    else
        tell(QStringLiteral("the certificate was not reloaded: %1").arg(error));
    ServiceManager::ready();
}

CDoorController* Session::doors() const
{
    return m_doors ? &m_doors->controller : nullptr;
}

const CDeviceSightings* Session::sightings() const
{
    return m_doors ? &m_doors->sightings : nullptr;
}
