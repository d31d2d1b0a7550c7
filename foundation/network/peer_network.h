#pragma once

#include <QtNetwork/QHostAddress>

#include <algorithm>

/// The address itself: an IPv4 one that was written as an IPv6 one, as a socket for both tells it, is an IPv4 one.
inline QHostAddress plainAddress(const QHostAddress& address)
{
    bool isIPv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(ipv4) : address;
}

/// What limits for one peer go by: an IPv4 address, or the network of 64 bits of which a peer with IPv6 has all
/// addresses. Others (a null one, the loopback address) are their own.
inline QHostAddress peerNetwork(const QHostAddress& address)
{
    const QHostAddress plain = plainAddress(address);
    if (plain.protocol() != QAbstractSocket::IPv6Protocol || plain.isLoopback())
        return plain;
    Q_IPV6ADDR bytes = plain.toIPv6Address();
    std::fill(bytes.c + 8, bytes.c + 16, quint8(0));
    return QHostAddress(bytes);
}
