#pragma once

#include <server/database/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPair>
#include <QtCore/QString>

#include <memory>

/// What is said to an MQTT broker, or comes from it. All messages have quality of service 1: they arrive at least once.
struct MqttMessage
{
    QString topic{};
    QByteArray payload{};
    bool isRetained = false;
    /// User properties; of what comes in they are left out.
    QList<QPair<QByteArray, QByteArray>> properties{};
};

/// Where a broker is and who calls.
struct KYR_SERVER_EXPORT MqttSettings
{
    QString host{}; ///< a name or an address
    quint16 port = 0;
    bool withTls = true;
    QString caFile{};          ///< authorities of the broker, PEM; empty: those of the system
    QString certificateFile{}; ///< of this client with its issuers, PEM; empty for none
    QString keyFile{};         ///< its private key, PEM, without a password
    QString user{};            ///< empty for none
    QString passwordFile{};    ///< its first line is the password; read for each log-in
    QString clientId{};        ///< one connection for each: a second one ends the first
    MqttMessage will{};        ///< published by the broker when the connection breaks off; no topic: none
    MqttMessage farewell{};    ///< published when the client stops in good order; no topic: none
    QStringList topics{};      ///< what is subscribed to; own messages do not come back
    int firstPauseMs = 1000;   ///< between two attempts, twice as long each time
    int longestPauseMs = 30000;
    int answerMs = 5000; ///< within which a broker has to answer at each step of a connection

    /// Takes host, port and TLS from "mqtts://HOST[:PORT]" or "mqtt://HOST[:PORT]". False with a reason: a password, a
    /// path or another scheme is refused.
    bool setUrl(const QString& url, QString* error);
    /// Without the user.
    QString url() const;
    /// Whether what is sent stays on this machine.
    bool isLoopback() const;
    /// Reads the files once, so that a mistake shows at once. False with a reason.
    bool check(QString* error) const;
};

/// A client of an MQTT 5 broker that stays connected as long as it lives.
///
///     CMqttClient client(settings);
///     connect(&client, &CMqttClient::connected, this, [&] { client.publish(1, {"a/b", "hello"}); });
///     connect(&client, &CMqttClient::published, this, [](qint64 id, const QString& fault) { ... });
///     client.start();
///
/// The network is the business of a thread of its own, which waits without working: name look-ups, slow brokers and
/// timeouts hold up nobody. Whether a broker is there, and is who it should be, is tried by a plain connection first.
/// What the broker had not acknowledged when a connection ended is forgotten here: whoever sent it sends it again.
/// Certificates, keys and passwords are read anew for each connection. Each change of state is one line in the log.
class KYR_SERVER_EXPORT CMqttClient : public QObject
{
    Q_OBJECT

public:
    /// Of one message that comes in, topic and all; a broker is told not to send longer ones.
    static constexpr int longestMessage = 256 * 1024;
    /// Messages that came in and were not taken yet; more are dropped and counted.
    static constexpr int mostWaiting = 1000;
    static constexpr qint64 mostWaitingBytes = qint64(8) * 1024 * 1024;
    /// Until a stop in good order is given up; in milliseconds.
    static constexpr int stopMs = 1000;

    explicit CMqttClient(const MqttSettings& settings, QObject* parent = nullptr);
    /// Says farewell and ends the connection, for at most stopMs.
    ~CMqttClient() override;

    void start();
    bool isConnected() const { return m_isConnected; }
    /// Why there is no connection; empty while there is one, and before the first attempt has ended.
    QString fault() const { return m_fault; }
    /// Messages from the broker that were dropped, as they came faster than they were taken.
    qint64 dropped() const;

    /// Hands a message over; published() tells what became of it, with the same id, unless the connection ends before.
    /// False when there is none.
    bool publish(qint64 id, const MqttMessage& message);

Q_SIGNALS:
    /// Subscribed, and ready for messages.
    void connected();
    /// The connection has ended: what was not acknowledged is to be sent again.
    void disconnected();
    /// There is no connection, for a reason that was not told before.
    void failed(const QString& fault);
    /// The broker has taken a message, or refuses it with a fault.
    void published(qint64 id, const QString& fault);
    void received(const MqttMessage& message);

private:
    class Shared;
    struct Thread;
    void drain();
    void startLater(const QString& reason);
    void setFault(const QString& fault);

    MqttSettings m_settings;
    std::shared_ptr<Shared> m_shared;
    bool m_isConnected = false;
    int m_connection = 0; ///< the last one that was told of
    QString m_fault;
};
