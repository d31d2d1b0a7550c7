#include "faults.h"

#include <QtCore/QRandomGenerator>

namespace {

constexpr int longestLatencyMs = 60000;
constexpr int longestLifeMs = 60000;
// Connections end within the TLS handshake as well as after a megabyte: the size's order of magnitude is drawn.
constexpr int largestOrder = 20;

enum class Purpose : quint32
{
    Connection,
    Handshake
};

QRandomGenerator generator(quint32 seed, quint32 device, quint32 number, Purpose purpose)
{
    const quint32 seeds[] = {seed, device, number, quint32(purpose)};
    return QRandomGenerator(seeds);
}

} // namespace

bool FaultRates::set(const QString& name, int value)
{
    if (name == QLatin1String("latency") && value >= 0 && value <= longestLatencyMs) {
        latencyMs = value;
        return true;
    }
    int* percent = name == QLatin1String("split")       ? &splitPercent
                   : name == QLatin1String("drop")      ? &dropPercent
                   : name == QLatin1String("half-open") ? &halfOpenPercent
                   : name == QLatin1String("corrupt")   ? &corruptPercent
                   : name == QLatin1String("handshake") ? &handshakePercent
                                                        : nullptr;
    if (!percent || value < 0 || value > 100)
        return false;
    *percent = value;
    return true;
}

QJsonObject FaultRates::toJson() const
{
    return {{QStringLiteral("on"), on},
            {QStringLiteral("latency"), latencyMs},
            {QStringLiteral("split"), splitPercent},
            {QStringLiteral("drop"), dropPercent},
            {QStringLiteral("half-open"), halfOpenPercent},
            {QStringLiteral("corrupt"), corruptPercent},
            {QStringLiteral("handshake"), handshakePercent}};
}

ConnectionFate ConnectionFate::draw(const FaultRates& rates, quint32 seed, quint32 device, quint32 number)
{
    QRandomGenerator random = generator(seed, device, number, Purpose::Connection);
    // Always the same draws, so that one rate does not change what another one leads to.
    const int dice = random.bounded(100);
    const int splitDice = random.bounded(100);
    const int order = random.bounded(largestOrder + 1);
    ConnectionFate fate;
    fate.afterBytes = 1 + random.bounded(1 << order);
    fate.afterMs = 1 + random.bounded(longestLifeMs);
    fate.seed = random.generate();
    if (!rates.on)
        return fate;
    fate.split = splitDice < rates.splitPercent;
    if (dice < rates.dropPercent)
        fate.end = End::Drop;
    else if (dice < rates.dropPercent + rates.halfOpenPercent)
        fate.end = End::HalfOpen;
    else if (dice < rates.dropPercent + rates.halfOpenPercent + rates.corruptPercent)
        fate.end = End::Corrupt;
    return fate;
}

QString ConnectionFate::toText() const
{
    const char* const names[] = {"peaceful", "dropped", "half-open", "corrupt"};
    QString text = QString::fromLatin1(names[int(end)]);
    if (end != End::Peaceful)
        text += QStringLiteral(" after %1 bytes or %2 ms").arg(afterBytes).arg(afterMs);
    return split ? text + QLatin1String(", split") : text;
}

HandshakeFate drawHandshakeFate(const FaultRates& rates, quint32 seed, quint32 device, quint32 number)
{
    QRandomGenerator random = generator(seed, device, number, Purpose::Handshake);
    const int dice = random.bounded(100);
    const int kind = random.bounded(int(HandshakeFate::OldRandom), int(HandshakeFate::Silence) + 1);
    return rates.on && dice < rates.handshakePercent ? HandshakeFate(kind) : HandshakeFate::Honest;
}
