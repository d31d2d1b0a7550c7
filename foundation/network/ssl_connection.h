#pragma once

#include <foundation/network/tcp_connection.h>

#include <QtNetwork/QSslError>

class CDeviceId;
class QSslCertificate;
class QSslSocket;

/// A transport over TLS; "connected" only once the handshake is over.
///
/// The TLS layer does not establish who the peer is: device certificates outlive their dates and are issued by the
/// system's own authority. That is what checkDeviceCertificate is for, once the peer has said which device it is.
class KYR_FOUNDATION_EXPORT CSslConnection : public CTcpConnection
{
    Q_OBJECT

public:
    explicit CSslConnection(QObject* parent = nullptr);
    /// A socket that is no QSslSocket is treated as CTcpConnection does.
    CSslConnection(QTcpSocket* socket, QObject* parent);
    ~CSslConnection() override;

    /// Lets older devices' keys and ciphers pass and connects the TLS signals.
    void initSsl(QSslSocket* socket);

    bool isConnectionUsable() const override;
    void connectToHost(QTcpSocket* socket, const QString& host, quint16 port) override;

    /// Whether `certificate` was issued by the system's authority (the CA chain that was compiled in) for this very
    /// device: its name or alternative name is the device's label. An expired one passes; each error found is logged.
    /// A null certificate or an invalid id is false; with no root certificate compiled in, all others are true.
    static bool checkDeviceCertificate(const QSslCertificate& certificate, const CDeviceId& deviceId);

public Q_SLOTS:
    /// Ignores an unknown issuer and an expired certificate, and nothing else.
    void onSslErrors(const QList<QSslError>& errors);
};
