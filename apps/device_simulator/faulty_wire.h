#pragma once

#include "faults.h"

#include <QtCore/QPointer>
#include <QtCore/QUrl>
#include <QtNetwork/QTcpServer>

/// The bad line between a device and an application on this machine: a port that the device calls instead of the
/// application's. Each connection has a fate; bytes are passed on late, in pieces, changed or not at all.
class FaultyWire : public QTcpServer
{
    Q_OBJECT

public:
    struct Counters
    {
        int connections = 0;
        int dropped = 0;
        int halfOpen = 0;
        int corrupted = 0;
    };

    /// `url` is what the device would call; `rates` and `counters` are everybody's and outlive the wire.
    FaultyWire(const QUrl& url, const FaultRates& rates, Counters& counters, quint32 seed, quint32 device,
               QObject* parent);

    /// Opens the port; false when that is impossible, or for an application that is not on this machine: the device
    /// would see another name and address than the application has.
    bool open();
    /// What the device calls.
    QUrl url() const;

    /// Resets all connections.
    void dropAll();
    /// Stops passing anything on, without closing.
    void haltAll();

    const FaultRates& rates() const { return m_rates; }
    Counters& counters() { return m_counters; }
    const QUrl& target() const { return m_url; }

private:
    void onNewConnection();

    QUrl m_url;
    const FaultRates& m_rates;
    Counters& m_counters;
    quint32 m_seed;
    quint32 m_device;
    quint32 m_number = 0;
};
