#pragma once

#include <QtCore/QString>

#include <openssl/ssl.h>

#include <memory>

struct SslContextDeleter
{
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using SslContext = std::unique_ptr<SSL_CTX, SslContextDeleter>;

struct MqttSettings;

/// How a client speaks TLS with a broker: TLS 1.2 or later, the broker's chain and name checked, the client's own
/// certificate if it has one. Null with a reason when a file cannot be used.
SslContext makeTlsContext(const MqttSettings& settings, QString* error);
