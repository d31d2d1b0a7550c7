#include <server/bridge/tls_context_p.h>

#include <server/bridge/mqtt_client.h>

#include <QtCore/QFile>
#include <QtNetwork/QHostAddress>

#include <openssl/err.h>
#include <openssl/x509v3.h>

namespace {

// A key with a password is refused; nobody is asked for it at the terminal.
int noPassword(char*, int, int, void*)
{
    return 0;
}

SslContext failed(QString* error, const QString& text)
{
    const unsigned long code = ERR_peek_error();
    const char* reason = code != 0 ? ERR_reason_error_string(code) : nullptr;
    *error = reason ? text + QLatin1String(": ") + QString::fromLatin1(reason) : text;
    ERR_clear_error();
    return nullptr;
}

bool canRead(const QString& name, QString* error)
{
    QFile file(name);
    if (file.open(QIODevice::ReadOnly))
        return true;
    *error = QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString());
    return false;
}

} // namespace

SslContext makeTlsContext(const MqttSettings& settings, QString* error)
{
    ERR_clear_error();
    for (const QString& file : {settings.caFile, settings.certificateFile, settings.keyFile}) {
        if (!file.isEmpty() && !canRead(file, error))
            return nullptr;
    }
    SslContext context(SSL_CTX_new(TLS_client_method()));
    if (!context)
        return failed(error, QStringLiteral("TLS cannot be set up"));
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    SSL_CTX_set_default_passwd_cb(context.get(), &noPassword);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    X509_VERIFY_PARAM* verification = SSL_CTX_get0_param(context.get());
    const QByteArray host = settings.host.toUtf8();
    const bool isNamed = QHostAddress(settings.host).isNull()
                             ? X509_VERIFY_PARAM_set1_host(verification, host.constData(), size_t(host.size())) == 1
                             : X509_VERIFY_PARAM_set1_ip_asc(verification, host.constData()) == 1;
    X509_VERIFY_PARAM_set_hostflags(verification, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    if (!isNamed)
        return failed(error, QStringLiteral("\"%1\" is not a valid name of a broker").arg(settings.host));
    const bool hasAuthorities =
        settings.caFile.isEmpty()
            ? SSL_CTX_set_default_verify_paths(context.get()) == 1
            : SSL_CTX_load_verify_locations(context.get(), QFile::encodeName(settings.caFile).constData(), nullptr)
                  == 1;
    if (!hasAuthorities)
        return failed(error, QStringLiteral("\"%1\" contains no certificates of authorities").arg(settings.caFile));
    if (settings.certificateFile.isEmpty())
        return context;
    if (SSL_CTX_use_certificate_chain_file(context.get(), QFile::encodeName(settings.certificateFile).constData()) != 1)
        return failed(error, QStringLiteral("\"%1\" contains no certificate").arg(settings.certificateFile));
    if (SSL_CTX_use_PrivateKey_file(context.get(), QFile::encodeName(settings.keyFile).constData(), SSL_FILETYPE_PEM)
            != 1
        || SSL_CTX_check_private_key(context.get()) != 1)
        return failed(error, QStringLiteral("\"%1\" contains no key without a password for \"%2\"")
                                 .arg(settings.keyFile, settings.certificateFile));
    return context;
}
