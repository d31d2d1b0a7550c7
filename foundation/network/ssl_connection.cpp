#include <foundation/network/ssl_connection.h>

#include <foundation/core/device_id.h>
#include <foundation/network/ca_chain_p.h>

#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslConfiguration>
#include <QtNetwork/QSslSocket>

namespace {

// The last version number of OpenSSL 1.1.0, whose default security level still took older devices' keys.
constexpr long lastLenientOpenSsl = 0x10100FFFL;

} // namespace

CSslConnection::CSslConnection(QObject* parent)
    : CTcpConnection(nullptr, parent)
{
    auto* socket = new QSslSocket(this);
    setSocket(socket);
    initSsl(socket);
}

CSslConnection::CSslConnection(QTcpSocket* socket, QObject* parent)
    : CTcpConnection(socket, parent)
{
    initSsl(qobject_cast<QSslSocket*>(socket));
}

CSslConnection::~CSslConnection() = default;

void CSslConnection::initSsl(QSslSocket* socket)
{
    if (!socket)
        return;
    CaChain::registerResources();
    if (QSslSocket::sslLibraryVersionNumber() > lastLenientOpenSsl) {
        QSslConfiguration configuration = socket->sslConfiguration();
        configuration.setBackendConfigurationOption("CipherString", QByteArrayLiteral("DEFAULT@SECLEVEL=1"));
        socket->setSslConfiguration(configuration);
    }
    connect(socket, &QSslSocket::encrypted, this, &CSslConnection::updateConnectionState);
    connect(socket, QOverload<const QList<QSslError>&>::of(&QSslSocket::sslErrors), this, &CSslConnection::onSslErrors);
}

bool CSslConnection::isConnectionUsable() const
{
    const auto* sslSocket = qobject_cast<QSslSocket*>(socket());
    return CTcpConnection::isConnectionUsable() && (!sslSocket || sslSocket->isEncrypted());
}

void CSslConnection::connectToHost(QTcpSocket* socket, const QString& host, quint16 port)
{
    if (auto* sslSocket = qobject_cast<QSslSocket*>(socket))
        sslSocket->connectToHostEncrypted(host, port, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    else
        CTcpConnection::connectToHost(socket, host, port);
}

void CSslConnection::onSslErrors(const QList<QSslError>& errors)
{
    QList<QSslError> tolerated;
    for (const QSslError& error : errors) {
        switch (error.error()) {
        case QSslError::CertificateExpired:
        case QSslError::UnableToGetLocalIssuerCertificate:
        case QSslError::UnableToVerifyFirstCertificate:
        case QSslError::CertificateUntrusted:
            tolerated.append(error);
            break;
        default:
            qWarning("CSslConnection: %s", qPrintable(error.errorString()));
        }
    }
    auto* sslSocket = qobject_cast<QSslSocket*>(sender() ? sender() : socket());
    if (sslSocket && !tolerated.isEmpty())
        sslSocket->ignoreSslErrors(tolerated);
}

bool CSslConnection::checkDeviceCertificate(const QSslCertificate& certificate, const CDeviceId& deviceId)
{
    if (certificate.isNull() || !deviceId.isValid())
        return false;
    const CaChain& chain = CaChain::compiledIn();
    return !chain.hasTrustAnchor() || chain.accepts(certificate, deviceId.toLabel());
}
