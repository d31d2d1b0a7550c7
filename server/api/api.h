#pragma once

#include <server/database/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariantList>

#include <functional>
#include <memory>

class CAuditTrail;
class CNotificationService;
class CSqlAccessControl;
class IDeviceService;

/// Why a call was not done. The first ones are those of JSON-RPC 2.0.
enum class ApiError : int
{
    NoJson = -32700,
    NoRequest = -32600, ///< also: too large
    UnknownMethod = -32601,
    BadParams = -32602,
    Refused = -32000, ///< by the model
    NotLoggedIn = -32001,
    LoginRefused = -32002,
    NotPermitted = -32003,
    CodeNeeded = -32004, ///< the password is right, a one-time password is missing
    TooMany = -32029
};

/// Who calls: one connection, or one request. Its transport makes it, and may let it go at any time.
struct CApiCaller
{
    QString address;     ///< of the peer, without port: log-ins are counted by it
    QString subscriber;  ///< under which the notification service knows it; empty: nothing can be sent to it
    QString session;     ///< set and taken away by log-in and log-out; a transport may give one it was told
    QDateTime expires{}; ///< of a session that was made by this caller
    int waiting = 0;     ///< calls that are not answered yet
};

struct CApiAnswer
{
    QByteArray body;  ///< JSON text; empty when nothing is to be answered
    int status = 200; ///< as HTTP has it: 200, 401, 403 or 429
};

/// The installation for programs in any language: JSON-RPC 2.0, without a socket.
///
///     CApi api(&model, &trail, &deviceService);
///     auto caller = std::make_shared<CApiCaller>();
///     caller->address = peer;
///     api.handle(bytes, caller, [=](const CApiAnswer& answer) { send(answer.body); });
///
/// Its methods are those of the script service, under their names, and a few of its own; "system.describe" lists them
/// all with what each takes, gives and demands. They are found in the meta-objects, and permitted by one table
/// (api_rules.cpp): what has no line there is not offered.
///
/// A call is done as whoever is logged in: that is whom the trail names. Log-ins are slow on purpose, so their
/// passwords are looked at by two threads, and only so many wait. What a session may do is looked up for each call.
/// A refusal for want of permission stands in the trail, as do log-ins and refused ones; beyond so many within a minute
/// as their number.
///
/// Installed at a notification service as the filter, it lets each of its callers hear of what they may read: "Model"
/// by collection, "Access" with Logs, "Devices" with DevicesRead, other sources as Administrator. Subscribers that it
/// was not told of hear of everything.
class KYR_SERVER_EXPORT CApi : public QObject
{
    Q_OBJECT

public:
    static constexpr int longestRequest = 256 * 1024;     ///< bytes
    static constexpr int longestOfStrangers = 16 * 1024;  ///< bytes, of who is not logged in
    static constexpr int longestAnswer = 8 * 1024 * 1024; ///< bytes; beyond it a call is told to ask for less
    static constexpr int mostInBatch = 100;               ///< calls
    static constexpr int mostWaiting = 128;               ///< calls of one caller that are not answered yet
    static constexpr int mostSources = 100;               ///< of notifications, in one registration
    static constexpr int longestSource = 200;             ///< characters
    static constexpr int mostRefusalsTold = 200;          ///< of a login within a minute that are events, one each
    static constexpr int answerMs = 75000;                ///< after so many milliseconds a call that waits is told so
    /// Calls of one session (or of one address without one): so many at once, and so many a second in the long run.
    static constexpr int mostCalls = 2000;
    static constexpr int callsPerSecond = 1000;

    using Answer = std::function<void(const CApiAnswer& answer)>;

    /// Nothing is taken over, and all outlive it. The trail names nobody by itself.
    CApi(CSqlAccessControl* model, CAuditTrail* trail, IDeviceService* devices, QObject* parent = nullptr);
    ~CApi() override;

    /// For registerObserver; not taken over, nullptr for none. Installs the filter.
    void setNotificationService(CNotificationService* service);
    /// What devices.list answers: a list of maps.
    void setDeviceList(const std::function<QVariantList()>& list);

    /// Answers once, before it returns or later; not after this object is gone.
    void handle(const QByteArray& request, const std::shared_ptr<CApiCaller>& caller, const Answer& answer);
    /// The caller's connection has ended: it hears of nothing more. Its session goes on.
    void forget(const CApiCaller& caller);

    /// Another transport's subscriber hears of what this session may read, until forgetSubscriber(). False when there
    /// is no such session.
    bool admitSubscriber(const QString& subscriber, const QString& session);
    void forgetSubscriber(const QString& subscriber);

    /// For tests: counts calls and log-ins by this clock, in milliseconds that only grow.
    void setClock(const std::function<qint64()>& clock);

private:
    class Private;
    std::unique_ptr<Private> d;
};
