#pragma once

#include "device_dialogue.h"
#include "faulty_wire.h"

#include <foundation/access/lock.h>
#include <foundation/access/lock_store.h>
#include <foundation/network/device_identity.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStringList>
#include <QtCore/QTimer>
#include <QtNetwork/QSslConfiguration>

#include <functional>
#include <memory>

class CDeviceDiscoveryDeviceSide;
class CWebSocketConnection;
class QFile;
class QNetworkAccessManager;
class QTcpSocket;
class QWebSocket;
class SimulatedConnector;

/// One device of the simulator: who it is, its discovery answers, its TCP port, and its link to an application that it
/// calls.
class SimulatedDevice : public QObject
{
    Q_OBJECT

public:
    /// What goes wrong with all devices; null in the settings: nothing does, and applications are called directly.
    struct Faults
    {
        quint32 seed = 0;
        FaultRates rates;
        FaultyWire::Counters connections;
        int falseAnswers = 0;
    };

    struct Settings : DeviceIdentity
    {
        QStringList urls;                               ///< applications to call, in order of preference; may be empty
        QSslConfiguration tls;                          ///< null: no TLS, and no proof of who the device is
        bool replay = false;                            ///< answers another challenge than the one it was given
        QNetworkAccessManager* accessManager = nullptr; ///< for URLs; not owned
        Faults* faults = nullptr;                       ///< not owned
        QSslConfiguration otherTls;                     ///< of another device, for false answers
        QFile* journal = nullptr;                       ///< where questions are noted; not owned
        QString stateFolder;                            ///< of its lock; empty: it is a device without a lock
        bool believesAnyServer = false; ///< its lock also obeys a server whose certificate was not verified
    };

    SimulatedDevice(const Settings& settings, QObject* parent);
    ~SimulatedDevice() override;

    /// Listens on a port, 0 for one that the system chooses, and starts to call. False when the port is taken.
    bool start(quint16 tcpPort);
    /// Reads the lock's memory, before start(). False with the reason.
    bool startLock(QString& error);

    const Settings& settings() const { return m_settings; }
    quint16 tcpPort() const;
    /// The port of its own, from which it answers UDP queries; 0 when it could not be opened.
    quint16 udpPort() const;
    CDeviceDiscoveryDeviceSide* discovery() const;
    bool isLinked() const { return m_link != nullptr; }

    /// Null for a device without one.
    const CLock* lock() const { return m_lock.get(); }
    using Report = std::function<void(const CLockOutcome& outcome)>;
    /// Only for devices with a lock. The report comes at once, or when the server has been asked.
    void present(const CLockCredential& credential, const Report& report);
    void pressButton(const Report& report);
    void forceDoor(const Report& report);
    void holdDoor(const Report& report);
    /// Milliseconds since 1970 UTC.
    void setClock(qint64 utc);
    /// The time of its hardware.
    qint64 now() const { return m_bornAtMs + m_clock.elapsed(); }

    /// Its connections through the faulty wires are reset.
    void drop();
    /// They stay open, and nothing passes any more.
    void halt();
    /// For so long it leaves as soon as it is linked, and calls again at once.
    void storm(int milliseconds);

private:
    void call();
    void callLater();
    void onTcpConnection(QTcpSocket* socket, bool outgoing);
    void onLinked(QWebSocket* socket, const QString& url);
    void onLinkLost();
    void onMessage(const QByteArray& message);
    bool obeysLink() const { return m_lock && m_lock->isLinked(); }
    void carryOut(const CLockEffects& effects, const Report& report = Report());
    bool isStorming() const { return m_clock.elapsed() < m_stormUntilMs; }

    Settings m_settings;
    SimulatedConnector* m_connector;
    DeviceDialogue m_dialogue;
    CWebSocketConnection* m_link = nullptr;
    QTimer m_callTimer;
    QElapsedTimer m_linkedFor;
    int m_pauseMs;
    QElapsedTimer m_clock;
    qint64 m_bornAtMs; // the system's time then; it may jump, a lock's clock does not
    std::unique_ptr<CLockStore> m_store;
    std::unique_ptr<CLock> m_lock;
    QTimer m_lockTimer;
    QHash<qint64, Report> m_reports; // by presentation
    qint64 m_stormUntilMs = 0;
    QRandomGenerator m_random; // pauses
    QStringList m_urls;        // as they are called, through the wires
    QVector<FaultyWire*> m_wires;
};
