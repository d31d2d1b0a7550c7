#include "server/device_server.h"

#include "page/page.h"
#include "server/front_door.h"
#include "server/notification_server.h"
#include "server/server_certificate.h"

#include <foundation/core/debug.h>
#include <foundation/core/string_utils.h>
#include <foundation/network/device_connector_app_side.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QFile>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>

namespace {

constexpr int mostRefusals = 1000; // kept for the list

QString sourceName()
{
    return QStringLiteral("Devices");
}

} // namespace

DeviceServer::DeviceServer(QObject* parent)
    : QObject(parent)
    , m_door(new FrontDoor(this))
    , m_notifications(new CNotificationService(this))
    , m_connector(new CDeviceConnectorAppSide(0, true, true, this))
{
    servePage(*m_door);
    serveAt(m_door);
    connect(m_connector, &CDeviceConnectorAppSide::webSocketConnectionEstablished, this, &DeviceServer::onEstablished);
    connect(m_connector, &CDeviceConnectorAppSide::webSocketConnectionRefused, this,
            [this](const CDeviceId& id, const QString& peer, const QString& reason) {
                m_arrivals.remove(peer);
                refuse(peer, id.isValid() ? id.toLabel() : QString(), reason);
            });
}

void DeviceServer::serveAt(FrontDoor* door)
{
    connect(door, &FrontDoor::otherWebSocketRequested, this, &DeviceServer::onWebSocketRequested);
    connect(door, &FrontDoor::dropped, this,
            [this](const QString& peer, const QString& reason) { refuse(peer, QString(), reason); });
}

DeviceServer::~DeviceServer()
{
    m_notifications->sendAboutToQuitObservers();
    delete m_notificationServer;
    for (DeviceLink* link : qAsConst(m_links))
        link->disconnect(this);
}

bool DeviceServer::start(const Settings& settings, QString& error)
{
    m_pingSeconds = settings.pingSeconds;
    m_door->setFiniteFieldDh(settings.finiteFieldDh);
    m_certificateFile = settings.certificateFile;
    m_keyFile = settings.keyFile;
    QString warning;
    if (!reloadCertificate(error, warning))
        return false;
    m_since = QDateTime::currentDateTime();
    m_connector->setSystemId(settings.system.value());
    // Without a token whoever has a session gets in.
    m_notificationServer = new NotificationServer(*m_notifications, settings.token, this);
    connect(m_notificationServer, &NotificationServer::loginTried, this, &DeviceServer::clientLogin);
    m_door->serveWebSockets(NotificationServer::path(), [this](QSslSocket* socket, const CTlsDoor::Request&) {
        m_notificationServer->takeSocket(socket);
    });
    if (!m_door->open(settings.port)) {
        error = QStringLiteral("cannot listen on port %1: %2").arg(settings.port).arg(m_door->errorString());
        return false;
    }
    if (settings.proxies.isEmpty())
        return true;
    m_proxyDoor = new FrontDoor(*m_door, this);
    m_proxyDoor->setProxies(settings.proxies);
    serveAt(m_proxyDoor);
    if (!m_proxyDoor->open(settings.proxyPort)) {
        error = QStringLiteral("cannot listen on port %1: %2").arg(settings.proxyPort).arg(m_proxyDoor->errorString());
        return false;
    }
    return true;
}

bool DeviceServer::reloadCertificate(QString& error, QString& warning)
{
    if (!checkServerCertificate(m_certificateFile, m_keyFile, error, warning)
        || !m_door->setCertificate(m_certificateFile, m_keyFile, error))
        return false;
    QFile file(m_certificateFile);
    if (file.open(QIODevice::ReadOnly))
        m_certificateEnd = QSslCertificate(&file).expiryDate();
    return true;
}

quint16 DeviceServer::port() const
{
    return m_door->serverPort();
}

quint16 DeviceServer::proxyPort() const
{
    return m_proxyDoor ? m_proxyDoor->serverPort() : 0;
}

void DeviceServer::onWebSocketRequested(QSslSocket* socket, const CTlsDoor::Request& request)
{
    const QString peer = CTlsDoor::peerText(socket);
    if (!request.path.startsWith("/gw/")) {
        refuse(peer, QString(),
               QStringLiteral("no WebSocket at \"%1\"").arg(CStringUtils::printable(request.path, 60)));
        return;
    }
    m_arrivals.insert(peer, request.accepted);
    socket->setParent(m_connector);
    m_connector->handleWebSocketRequest(socket, peer);
}

void DeviceServer::onEstablished(CDeviceId id, int type, CSystemId system, QWebSocket* socket, const QString& peer)
{
    const DeviceLink::Identity device{{id, system, type}, peer, int(m_arrivals.take(peer).elapsed())};
    auto* link = new DeviceLink(device, socket, m_pingSeconds, this);
    // A device that calls again has lost its old link, even if this end does not know it yet.
    if (DeviceLink* stale = m_links.value(id.value())) {
        stale->disconnect(this);
        stale->close();
        stale->deleteLater();
    }
    m_links.insert(id.value(), link);
    connect(link, &DeviceLink::ended, this, [this, link] { onLinkEnded(link); });
    connect(link, &DeviceLink::received, this,
            [this, device](const QByteArray& message) { Q_EMIT messageReceived(device.id, message); });
    publish(QStringLiteral("came"), device);
    Q_EMIT deviceCame(device);
}

void DeviceServer::onLinkEnded(DeviceLink* link)
{
    const DeviceLink::Identity device = link->identity();
    const QDateTime lastHeard = link->lastHeard();
    if (m_links.value(device.id.value()) == link)
        m_links.remove(device.id.value());
    link->disconnect(this);
    link->deleteLater();
    publish(QStringLiteral("left"), device);
    Q_EMIT deviceLeft(device, lastHeard);
}

void DeviceServer::refuse(const QString& peer, const QString& device, const QString& cause)
{
    // Strangers have a say in it: nobody who watches is to be flooded with it.
    const QString reason = CStringUtils::printable(cause);
    const Refusal refusal{QDateTime::currentDateTime(), peer, device, reason};
    if (m_refusals.size() >= mostRefusals)
        m_refusals.removeFirst();
    m_refusals.append(refusal);
    ++m_refusalCount;
    const QString who = device.isEmpty() ? peer : QString(device + QLatin1Char(' ') + peer);
    const CLogFields fields({{QStringLiteral("device"), device}, {QStringLiteral("peer"), peer}});
    qWarning("Refused %s: %s", qUtf8Printable(who), qUtf8Printable(reason));
    m_notifications->notifyObservers(sourceName(), {{QStringLiteral("event"), QStringLiteral("refused")},
                                                    {QStringLiteral("device"), device},
                                                    {QStringLiteral("peer"), peer},
                                                    {QStringLiteral("reason"), reason}});
    Q_EMIT refused(refusal);
}

void DeviceServer::publish(const QString& event, const DeviceLink::Identity& device)
{
    const CLogFields fields({{QStringLiteral("device"), device.id.toLabel()}, {QStringLiteral("peer"), device.peer}});
    qInfo("Device %s %s: %s", qUtf8Printable(device.id.toLabel()), qUtf8Printable(device.peer), qUtf8Printable(event));
    m_notifications->notifyObservers(sourceName(), {{QStringLiteral("event"), event},
                                                    {QStringLiteral("device"), device.id.toLabel()},
                                                    {QStringLiteral("type"), device.type},
                                                    {QStringLiteral("system"), device.system.toLabel()},
                                                    {QStringLiteral("peer"), device.peer}});
}

int DeviceServer::clients() const
{
    return m_notificationServer ? m_notificationServer->clients() : 0;
}

qint64 DeviceServer::queuedNotifications() const
{
    return m_notificationServer ? m_notificationServer->queued() : 0;
}

void DeviceServer::setSessions(const std::function<bool(const QString& client, const QString& session)>& admit,
                               const std::function<void(const QString& client)>& forget)
{
    if (m_notificationServer)
        m_notificationServer->setSessions(admit, forget);
}
