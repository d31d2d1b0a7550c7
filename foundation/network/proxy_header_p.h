#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtNetwork/QHostAddress>

/// What a balancer writes in front of a connection that it passes on: the PROXY protocol, version 2. It tells who is at
/// the other end.
struct KYR_FOUNDATION_TEST_EXPORT ProxyHeader
{
    enum Result
    {
        Incomplete,
        Invalid,
        Complete
    };

    /// Bytes of a header: addresses, and what else a balancer has to tell, which is not looked at.
    static constexpr int longest = 0x1000;

    /// Reads the header at the beginning of `bytes`. Invalid as soon as no further byte can make it a header. Only
    /// after Complete do the fields below mean something.
    static Result parse(const QByteArray& bytes, ProxyHeader& header);

    int size = 0;         ///< in bytes; the connection's own begin behind them
    QHostAddress address; ///< null when the balancer speaks for itself (it looks whether the port answers)
    quint16 port = 0;
};
