#include "simulated_device.h"

#include <foundation/network/device_discovery_device_side.h>

#include <QtCore/QTimer>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>
#include <QtNetwork/QUdpSocket>

namespace {

constexpr int SilentPeerMs = 30000; // a peer that asks nothing for so long is dropped

} // namespace

SimulatedDevice::SimulatedDevice(CDeviceId id, int type, CSystemId system, QObject* parent)
    : QObject(parent)
    , m_id(id)
    , m_type(type)
    , m_system(system)
    , m_discovery(new CDeviceDiscoveryDeviceSide(0, this))
    , m_server(new QTcpServer(this))
{
    m_discovery->setDeviceId(id.value());
    m_discovery->setDeviceType(type);
    m_discovery->setSystemId(system.value());
    connect(m_server, &QTcpServer::newConnection, this, &SimulatedDevice::onNewConnection);
}

bool SimulatedDevice::listen(quint16 tcpPort)
{
    return m_server->listen(QHostAddress::Any, tcpPort);
}

quint16 SimulatedDevice::tcpPort() const
{
    return m_server->serverPort();
}

quint16 SimulatedDevice::udpPort() const
{
    const auto* socket = m_discovery->findChild<QUdpSocket*>();
    return socket ? socket->localPort() : 0;
}

void SimulatedDevice::onNewConnection()
{
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this,
                [this, socket] { m_discovery->checkMessageAndSendDeviceInforResult(socket); });
        auto* timer = new QTimer(socket);
        connect(timer, &QTimer::timeout, socket, &QTcpSocket::abort);
        connect(socket, &QTcpSocket::readyRead, timer, QOverload<>::of(&QTimer::start));
        timer->start(SilentPeerMs);
    }
}
