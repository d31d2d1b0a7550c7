#pragma once

#include <foundation/core/export.h>

#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QVariant>
#include <QtNetwork/QHostAddress>

#include <initializer_list>
#include <utility>

class QUdpSocket;

/// What both ends of device discovery share: the UDP socket, and the reader and writer of the messages.
///
/// A message is one datagram, or the first bytes of a TCP connection: a start line, then one "Name: value" line for
/// each header, each ended by CR LF.
///
///     const QByteArray query = CDeviceDiscoveryBase::renderHeaders(
///         {{CDeviceDiscoveryBase::DeviceType, 41}}, CDeviceDiscoveryBase::GetDeviceInfo);
///
/// Nothing here fails loudly: a port that cannot be bound, a datagram that cannot be sent and bytes that are no
/// message are all passed over in silence. Retries and time-outs are the connectors' business.
class KYR_FOUNDATION_EXPORT CDeviceDiscoveryBase : public QObject
{
    Q_OBJECT

public:
    /// The kind of a message, told by its first line.
    enum DatagramType : int
    {
        NoDatagram = 0,
        GetDeviceInfo = 1,
        DeviceInfoResult = 2,
    };
    Q_ENUM(DatagramType)

    /// The headers a message may carry, in the order in which they are written.
    enum Header : int
    {
        DeviceType = 1, ///< int
        DeviceId = 2,   ///< unsigned int
        SystemId = 3,   ///< unsigned int
    };
    Q_ENUM(Header)

    /// Binds to `port` on all addresses, shared with other programs that do the same.
    CDeviceDiscoveryBase(quint16 port, QObject* parent);
    ~CDeviceDiscoveryBase() override;

    /// The own installation; 0 means none. Values of 0x800000 or more are stored as 0.
    void setSystemId(quint32 systemId);
    quint32 systemId() const { return m_systemId; }

    /// The constructor's port: where queries go that name none.
    quint16 defaultPort() const { return m_defaultPort; }
    /// The port asked for last. It is not known whether binding to it succeeded.
    quint16 boundPort() const { return m_boundPort; }

    /// Moves the socket to another port; the port in use already is left alone.
    void bindOnUdpPort(quint16 port);

    /// The bytes of a message. Keys that are no Header are left out; a type that is no message gives a bare
    /// "DISCOVERY " line.
    static QByteArray renderHeaders(const QMap<Header, QVariant>& headers, DatagramType type);

    /// Reads a message, leniently and in time linear in its size. `type` is NoDatagram when the first line says
    /// nothing known. Of a header that stands there several times the last one counts; a value that is no number is 0.
    static QMap<Header, QVariant> parseHeaders(const QByteArray& data, DatagramType& type);

    /// The address as people know it: an IPv4 peer of a socket that serves both protocols has a mapped IPv6 one.
    static QHostAddress plainAddress(const QHostAddress& address);

    /// A message of a known type from `sender`.
    virtual void receiveMessage(DatagramType type, const QMap<Header, QVariant>& headers, const QHostAddress& sender,
                                quint16 senderPort) = 0;

public Q_SLOTS:
    /// Reads all datagrams that are waiting.
    void receiveDatagram();

protected:
    /// Like renderHeaders, of values in the order in which they are to be written: no map is built for them.
    static QByteArray renderValues(std::initializer_list<std::pair<Header, qint64>> values, DatagramType type);
    void sendDatagram(const QByteArray& message, const QHostAddress& address, quint16 port);

private:
    quint32 m_systemId = 0;
    QUdpSocket* m_socket;
    quint16 m_defaultPort;
    quint16 m_boundPort;
    int m_signalDepth = 0;
};
