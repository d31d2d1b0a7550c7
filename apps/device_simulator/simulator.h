#pragma once

#include "simulated_device.h"

#include <QtCore/QFile>
#include <QtCore/QObject>
#include <QtCore/QVector>
#include <QtNetwork/QNetworkAccessManager>
#include <QtNetwork/QSslConfiguration>

#include <memory>

class AppOptions;
class SimulatorControl;
class CDeviceDiscoveryBase;

/// Plays several devices in one process.
///
/// All of them stand behind one UDP port: what arrives there, by broadcast or addressed to this machine, is given to
/// each device, and each answers from a port of its own. So one query finds them all, as on a real network.
class Simulator : public QObject
{
    Q_OBJECT

public:
    explicit Simulator(QObject* parent = nullptr);
    ~Simulator() override;

    /// The options of the command line.
    static void addOptions(AppOptions& options);
    /// Makes the devices as the options say; false with an error in `options`.
    bool setUp(AppOptions& options);
    /// Opens the ports; false with a reason.
    bool start(QString& error);

    /// For programs that started this one: a JSON object a line, one for each device and one for the whole.
    QByteArray describe() const;

    const QVector<SimulatedDevice*>& devices() const { return m_devices; }
    SimulatedDevice::Faults& faults() { return m_faults; }

private:
    bool readIdentity(AppOptions& options, const QString& label, QSslConfiguration& tls) const;

    SimulatedDevice::Faults m_faults;
    QFile m_journal;
    QString m_controlName;
    std::unique_ptr<SimulatorControl> m_control;
    QVector<SimulatedDevice*> m_devices;
    CDeviceDiscoveryBase* m_hub = nullptr;
    QNetworkAccessManager m_accessManager; // one for all: each has a thread
    quint16 m_udpPort = 0;
    quint16 m_tcpPort = 0;
};
