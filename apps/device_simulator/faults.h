#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QString>

/// What goes wrong, and how often: shared by all devices of a simulator, changed while it runs.
struct FaultRates
{
    bool on = false;
    int latencyMs = 20; ///< the longest that a piece of data is kept back
    int splitPercent = 30;
    int dropPercent = 25;     ///< the connection is reset
    int halfOpenPercent = 10; ///< nothing is read, written or closed any more
    int corruptPercent = 5;   ///< one byte arrives changed
    int handshakePercent = 15;

    /// Sets a rate by its name ("latency" in ms up to a minute, the others in percent); false for another name or
    /// value.
    bool set(const QString& name, int value);
    QJsonObject toJson() const;
};

/// What becomes of one connection. It depends on nothing but the seed, the device and the number of the connection, so
/// that a run can be repeated.
struct ConnectionFate
{
    enum class End
    {
        Peaceful,
        Drop,
        HalfOpen,
        Corrupt
    };

    End end = End::Peaceful;
    qint64 afterBytes = 0; ///< of both directions
    int afterMs = 0;       ///< or when that much time has passed, whatever comes first
    bool split = false;
    quint32 seed = 0; ///< of what is left to chance within the connection

    static ConnectionFate draw(const FaultRates& rates, quint32 seed, quint32 device, quint32 number);
    QString toText() const;
};

/// How a device answers a challenge.
enum class HandshakeFate
{
    Honest,
    OldRandom,        ///< the answer to a challenge of long ago
    OtherCertificate, ///< signs with another device's certificate
    Rubbish,
    Silence
};

HandshakeFate drawHandshakeFate(const FaultRates& rates, quint32 seed, quint32 device, quint32 number);
