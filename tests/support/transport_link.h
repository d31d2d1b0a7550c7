#pragma once

#include <foundation/network/ssl_connection.h>
#include <foundation/network/tcp_connection.h>
#include <foundation/network/web_socket_connection.h>

#include <support/device_certificates.h>
#include <support/tcp_pair.h>

#include <QtCore/QPointer>
#include <QtNetwork/QSslSocket>
#include <QtWebSockets/QWebSocket>
#include <QtWebSockets/QWebSocketServer>

/// A TLS server that shows one certificate.
class TlsServer : public QTcpServer
{
public:
    explicit TlsServer(const DeviceCertificate& certificate)
        : m_configuration(certificate.configuration())
    {
        listen(QHostAddress::LocalHost);
    }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setSslConfiguration(m_configuration);
        socket->setSocketDescriptor(descriptor);
        socket->startServerEncryption();
        addPendingConnection(socket);
    }

private:
    QSslConfiguration m_configuration;
};

/// Two ends of one transport, connected over loopback.
struct TransportLink
{
    enum Kind
    {
        Tcp,
        Tls,
        WebSocket,
        SecureWebSocket
    };

    static constexpr const char* names[] = {"TCP", "TLS", "WebSocket", "secure WebSocket"};

    std::unique_ptr<QTcpServer> server;
    std::unique_ptr<QWebSocketServer> webSocketServer;
    QPointer<CMessageTransfer> near; ///< the end that connected
    QPointer<CMessageTransfer> far;  ///< the end that accepted

    explicit TransportLink(Kind kind)
    {
        if (kind >= WebSocket) {
            const bool secure = kind == SecureWebSocket;
            webSocketServer = std::make_unique<QWebSocketServer>(QString(), secure ? QWebSocketServer::SecureMode
                                                                                   : QWebSocketServer::NonSecureMode);
            auto* socket = new QWebSocket;
            if (secure) {
                webSocketServer->setSslConfiguration(localCertificate().configuration());
                QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
                configuration.setCaCertificates(QSslCertificate::fromData(authority().chainPem(), QSsl::Pem));
                socket->setSslConfiguration(configuration);
            }
            webSocketServer->listen(QHostAddress::LocalHost);
            near = new CWebSocketConnection(socket, nullptr);
            socket->open(webSocketServer->serverUrl());
            QObject::connect(webSocketServer.get(), &QWebSocketServer::newConnection, [this] {
                delete far;
                far = new CWebSocketConnection(webSocketServer->nextPendingConnection(), nullptr);
            });
        } else {
            if (kind == Tls) {
                server = std::make_unique<TlsServer>(localCertificate());
                near = new CSslConnection(nullptr);
            } else {
                server = std::make_unique<QTcpServer>();
                server->listen(QHostAddress::LocalHost);
                near = new CTcpConnection(nullptr);
            }
            static_cast<CTcpConnection*>(near.data())->setHost(QStringLiteral("127.0.0.1"), server->serverPort());
            near->open();
            QObject::connect(server.get(), &QTcpServer::newConnection, [this, kind] {
                delete far;
                QTcpSocket* socket = server->nextPendingConnection();
                far = kind == Tls ? new CSslConnection(socket, nullptr) : new CTcpConnection(socket, nullptr);
            });
        }
    }

    ~TransportLink()
    {
        delete near;
        delete far;
        // The sockets that the connections referred to go now, before their servers do.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Whether both ends are connected, at the latest after 5 s.
    bool established()
    {
        return waitUntil([this] {
            if (far)
                far->updateConnectionState(); // an accepted socket signals nothing by itself
            return far && far->getConnectionState() && near && near->getConnectionState();
        });
    }

    static DeviceCertificates& authority()
    {
        static DeviceCertificates authority;
        return authority;
    }
    /// A device's that is valid for the loopback address as well.
    static const DeviceCertificate& localCertificate()
    {
        static const DeviceCertificate certificate = authority().issue(
            QStringLiteral("000.123.457"), {QStringLiteral("--name"), QStringLiteral("IP:127.0.0.1")});
        return certificate;
    }
};
