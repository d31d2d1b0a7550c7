#pragma once

#include <foundation/core/device_id.h>
#include <foundation/core/export.h>

#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtNetwork/QHostAddress>

/// What one candidate text of a connection job means. Jobs, their completion and the filter of address groups all read
/// candidates here, so that they never disagree.
///
///     "192.168.1.20"  "192.168.1.20:4000"  "fe80::1%eth0"  "[::1]:4000"     Address
///     "broadcast"  "255.255.255.255"                                        Address, isBroadcast()
///     "000.123.457"                                                         Label
///     "https://console.example/"                                            Url
///     "console.example"  "console.example:4000"  anything else              HostName
///
/// Only a dotted quad of decimal numbers and an IPv6 literal are addresses: QHostAddress alone also takes "1", "1.2.3"
/// and device labels for IPv4 addresses.
struct CandidateAddress
{
    enum class Kind
    {
        Nothing,
        Label,
        Url,
        Address,
        HostName
    };

    Kind kind = Kind::Nothing;
    QHostAddress address; ///< Address
    QString host;         ///< HostName: without its port
    CDeviceId deviceId;   ///< Label
    quint16 port = 0;     ///< the text's own port, else the default port
    bool hasPort = false; ///< whether the text named a port

    bool isBroadcast() const { return kind == Kind::Address && address == QHostAddress(QHostAddress::Broadcast); }

    /// Reads a candidate. A port that is no number from 0 to 65535 makes the whole text a host name.
    KYR_FOUNDATION_TEST_EXPORT static CandidateAddress parse(const QString& text, quint16 defaultPort);

    /// The candidate text for an address, with a port or without; IPv6 stands in square brackets.
    KYR_FOUNDATION_TEST_EXPORT static QString toText(const QHostAddress& address);
    KYR_FOUNDATION_TEST_EXPORT static QString toText(const QHostAddress& address, quint16 port);

    /// Where a WebSocket is opened for a Url: `path` behind the URL's own, which loses its trailing slashes; "wss" when
    /// `useSsl` or the URL says "https".
    KYR_FOUNDATION_TEST_EXPORT static QUrl webSocketUrl(const QString& text, bool useSsl, const QString& path);

    /// Whether both are one address, an IPv4 address and its IPv6 form ("::ffff:10.0.0.1") included.
    KYR_FOUNDATION_TEST_EXPORT static bool isSame(const QHostAddress& left, const QHostAddress& right);
};
