#include "commands/broker_options.h"

#include "common/app_options.h"

#include <foundation/core/system_id.h>

void addBrokerOptions(AppOptions& options)
{
    options.addValue(
        QStringLiteral("mqtt"), QStringLiteral("URL"),
        QStringLiteral("MQTT broker that connects this server with others, such as mqtts://broker.example.com:8883"));
    options.addValue(QStringLiteral("mqtt-ca"), QStringLiteral("FILE"),
                     QStringLiteral("authorities for the broker's certificate, PEM, instead of the system's own"));
    options.addValue(QStringLiteral("mqtt-certificate"), QStringLiteral("FILE"),
                     QStringLiteral("certificate by which the broker knows this server, PEM"));
    options.addValue(QStringLiteral("mqtt-key"), QStringLiteral("FILE"), QStringLiteral("its private key, PEM"));
    options.addValue(QStringLiteral("mqtt-user"), QStringLiteral("NAME"), QStringLiteral("user name at the broker"));
    options.addValue(QStringLiteral("mqtt-password-file"), QStringLiteral("FILE"),
                     QStringLiteral("file whose first line is the password"));
    options.addSwitch(
        QStringLiteral("mqtt-plain"),
        QStringLiteral("allow a broker on another machine without TLS; others can then read and change what is sent"));
}

std::optional<CNotificationBridge::Settings> readBrokerOptions(AppOptions& options, bool filesAreHere)
{
    CNotificationBridge::Settings settings;
    MqttSettings& broker = settings.broker;
    settings.server = options.value(QStringLiteral("server-name"));
    settings.system =
        options.isSet(QStringLiteral("system")) ? options.value(QStringLiteral("system")) : CSystemId().toLabel();
    broker.caFile = options.value(QStringLiteral("mqtt-ca"));
    broker.certificateFile = options.value(QStringLiteral("mqtt-certificate"));
    broker.keyFile = options.value(QStringLiteral("mqtt-key"));
    broker.user = options.value(QStringLiteral("mqtt-user"));
    broker.passwordFile = options.value(QStringLiteral("mqtt-password-file"));
    for (const char* name : {"mqtt-ca", "mqtt-certificate", "mqtt-key", "mqtt-password-file"}) {
        // Later, too, when the connection is made anew: a copy would not do.
        if (options.isSet(QLatin1String(name)) && !filesAreHere)
            options.setError(QStringLiteral("--%1 names a file of the service: set it where the service is started")
                                 .arg(QLatin1String(name)));
    }
    if (!options.isSet(QStringLiteral("mqtt"))) {
        for (const char* name : {"mqtt-ca", "mqtt-certificate", "mqtt-key", "mqtt-user", "mqtt-password-file"}) {
            if (options.isSet(QLatin1String(name)))
                options.setError(QStringLiteral("--%1 needs --mqtt").arg(QLatin1String(name)));
        }
        return std::nullopt;
    }
    QString error;
    if (!broker.setUrl(options.value(QStringLiteral("mqtt")), &error))
        options.setError(QStringLiteral("--mqtt: ") + error);
    else if (!broker.withTls && !broker.isLoopback() && !options.isSet(QStringLiteral("mqtt-plain")))
        options.setError(QStringLiteral("--mqtt: without TLS only a broker on this machine is allowed; use mqtts://, "
                                        "or --mqtt-plain in a network that you trust"));
    else if (!options.isSet(QStringLiteral("server-name")))
        options.setError(QStringLiteral("--mqtt needs --server-name"));
    else if (options.error().isEmpty() && !broker.check(&error))
        options.setError(QStringLiteral("--mqtt: ") + error);
    if (!options.error().isEmpty())
        return std::nullopt;
    return settings;
}
