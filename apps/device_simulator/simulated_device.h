#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>

#include <QtCore/QObject>

class CDeviceDiscoveryBase;
class CDeviceDiscoveryDeviceSide;
class QTcpServer;

/// One device of the simulator: who it is, its discovery answers and its TCP port.
class SimulatedDevice : public QObject
{
    Q_OBJECT

public:
    SimulatedDevice(CDeviceId id, int type, CSystemId system, QObject* parent);

    /// Listens on a port, 0 for one that the system chooses. False when it is taken.
    bool listen(quint16 tcpPort);

    CDeviceId id() const { return m_id; }
    int type() const { return m_type; }
    CSystemId system() const { return m_system; }
    quint16 tcpPort() const;
    /// The port of its own, from which it answers UDP queries; 0 when it could not be opened.
    quint16 udpPort() const;
    CDeviceDiscoveryDeviceSide* discovery() const { return m_discovery; }

private Q_SLOTS:
    void onNewConnection();

private:
    CDeviceId m_id;
    int m_type;
    CSystemId m_system;
    CDeviceDiscoveryDeviceSide* m_discovery;
    QTcpServer* m_server;
};
