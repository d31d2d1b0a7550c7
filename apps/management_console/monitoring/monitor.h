#pragma once

#include "monitoring/metrics_text.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtNetwork/QHostAddress>

#include <functional>
#include <memory>

class CAuditTrail;
class CSqlAccessControl;
class DeviceServer;
struct HttpAnswer;
struct HttpRequest;

/// For machines that watch: `GET /health` and `GET /metrics` on the port of a server, without a log-in.
///
/// Neither tells of persons: numbers, names of kinds and reasons. Metrics, which show when a building is empty, are for
/// this machine and the networks that were named.
class Monitor : public QObject
{
    Q_OBJECT

public:
    using Networks = QList<QPair<QHostAddress, int>>;
    /// Between two looks at the database whose time is taken, and between two for whoever asks; ms. Anybody may ask for
    /// the health, and a database that is away takes its time to say so.
    static constexpr int probeInterval = 10000;
    static constexpr int probePause = 1000;

    /// Nothing is taken over. The server goes last; of those beside it each goes after this.
    Monitor(DeviceServer* server, CSqlAccessControl* model, CAuditTrail* trail, const Networks& metricsFrom);
    ~Monitor() override;

    /// Something that waits to be sent or done: how much of it.
    void addQueue(const QByteArray& name, const std::function<qint64()>& length);
    /// Something that is counted from the start on; samples of one name are added one after the other.
    void addCounter(const QByteArray& name, const QByteArray& help, const QByteArray& reason,
                    const std::function<qint64()>& count)
    {
        m_counters.append({name, help, reason, count});
    }
    /// Whether there is a link to the broker; without this there is none.
    void setBroker(const std::function<bool()>& isConnected) { m_broker = isConnected; }

    /// Why the server does not do its work now; empty when it does.
    QStringList faults();
    QByteArray metrics();

private:
    HttpAnswer answerHealth();
    HttpAnswer answerMetrics(const HttpRequest& request);
    bool mayRead(const QHostAddress& peer) const;
    /// Reads something from the database, unless that was done just now. False when it cannot be read.
    bool probe();
    void countEvents();

    DeviceServer* m_server;
    CSqlAccessControl* m_model;
    CAuditTrail* m_trail;
    Networks m_metricsFrom;
    struct Counter
    {
        QByteArray name;
        QByteArray help;
        QByteArray reason; // label, empty for none
        std::function<qint64()> count;
    };
    std::function<bool()> m_broker;
    QList<Counter> m_counters;
    QMap<QByteArray, std::function<qint64()>> m_queues;
    QMap<QByteArray, quint64> m_refusals; // by reason
    QMap<QByteArray, quint64> m_events;   // by kind
    QMap<qint64, qint64> m_ends;          // of the chains, as far as events were counted
    Histogram m_handshakes;
    Histogram m_database;
    QElapsedTimer m_lastProbe;
    bool m_isReadable = true;
    qint64 m_start; // seconds since 1970
};
