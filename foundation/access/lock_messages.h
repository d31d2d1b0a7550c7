#pragma once

#include <foundation/access/access_verdict.h>
#include <foundation/access/lock_credential.h>
#include <foundation/core/device_time_zone_settings.h>
#include <foundation/core/item_id.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>
#include <variant>

/// \file
/// What a lock and its server say to each other. A message is one JSON object.
///
///     {"id":7,"command":"commit","revision":"9f86d0…"}              server to lock
///     {"id":7,"status":"ok"}                                        the lock's answer to it
///     {"message":"events","epoch":"5be1…","events":[…]}             lock to server, unasked
///
/// Both ends read with CLockMessage: strictly (a value of another type or out of range makes the whole message
/// unreadable, further keys are passed over) and within bounds. Times are milliseconds since 1970-01-01T00:00:00Z,
/// revisions 64 and epochs 32 hexadecimal digits in lower case, ids decimal texts, 0 and null nobody.
/// A code stands in `ask` alone; nothing that is read or refused here is logged.

/// What a lock noted.
enum class CLockEventKind : quint8
{
    Granted,
    Denied,
    /// By a command of the server, or by the button inside.
    Opened,
    /// The door was opened from outside without the lock.
    Forced,
    /// The door stood open for too long.
    Held,
    /// The clock was set by more than CLockEvent::clockTolerance.
    Clock,
    /// The lock came to life.
    Start,
};

/// Who decided.
enum class CLockWay : quint8
{
    None,
    /// The lock by its list.
    Offline,
    /// The server when asked.
    Online,
    /// The server by itself: `open`.
    Opener,
    /// The button inside.
    Button,
};

/// "granted", "denied", "opened", "forced", "held", "clock", "start"
KYR_FOUNDATION_EXPORT const char* lockEventKindToString(CLockEventKind kind);
KYR_FOUNDATION_EXPORT std::optional<CLockEventKind> lockEventKindFromString(const QString& text);
/// "offline", "online", "opener", "button", "" for None
KYR_FOUNDATION_EXPORT const char* lockWayToString(CLockWay way);
KYR_FOUNDATION_EXPORT std::optional<CLockWay> lockWayFromString(const QString& text);

struct KYR_FOUNDATION_EXPORT CLockEvent
{
    /// A clock that is set by more than these milliseconds makes an event.
    static constexpr qint64 clockTolerance = 2000;

    /// From 1 on, without gaps within an epoch.
    qint64 number = 0;
    /// By the lock's own clock.
    qint64 at = 0;
    CLockEventKind kind = CLockEventKind::Start;
    CLockWay way = CLockWay::None;
    CAccessReason reason = CAccessReason::None;
    /// As the list or the server's verdict says; 0 when neither knows.
    CItemId user;
    CItemId medium;
    /// Of a medium that the list does not know; empty otherwise.
    QByteArray uid;
    /// Of `open`: who and why, up to CLockOpen::longestText characters each.
    QString operatorName;
    QString comment;
    /// Of Clock: the milliseconds that were added to the clock.
    qint64 correction = 0;

    friend KYR_FOUNDATION_EXPORT bool operator==(const CLockEvent& a, const CLockEvent& b);
};

// --- From the lock -----------------------------------------------------------------------------------------------

/// How the lock is: sent at each link, and after each change of its list.
struct CLockState
{
    /// Of the list it decides by; empty when it has none.
    QByteArray revision;
    /// Of its events, random, made with its memory.
    QByteArray epoch;
    /// The first event that it still has, the number that the next will get, the last one acknowledged, and how many
    /// were overwritten before they were.
    qint64 first = 1;
    qint64 next = 1;
    qint64 acknowledged = 0;
    qint64 lost = 0;
    qint64 clock = 0;
};

/// Events in the order of their numbers, without a gap, at most CLockMessage::mostEvents and CLockMessage::longest
/// bytes.
struct CLockEvents
{
    QByteArray epoch;
    QVector<CLockEvent> events;
};

/// Somebody is at a door that the list does not open: may the server say? It has CLockAsk::patience for a verdict.
struct CLockAsk
{
    static constexpr int patience = 1000;

    /// To be repeated in the verdict.
    qint64 number = 0;
    CLockCredential credential;
    qint64 at = 0;
};

/// A medium that was shown while the server waited for one: it is not decided on, and no event.
struct CLockDetected
{
    QByteArray uid;
    qint64 at = 0;
};

/// The answer to a command.
struct CLockAnswer
{
    qint64 id = 0;
    /// Empty when it was done.
    QString error;

    bool isOk() const { return error.isEmpty(); }
};

// --- To the lock -------------------------------------------------------------------------------------------------

/// The time, and the rules of local time at the door.
struct CLockTime
{
    static constexpr int mostPeriods = 100;
    /// The end of the year 9999.
    static constexpr qint64 latest = Q_INT64_C(253402300799999);

    /// From 0 to `latest`.
    qint64 utc = 0;
    CDeviceTimeZoneSettings zone;
};

/// A list is coming: `size` bytes in `parts` parts. What came of another is dropped.
struct CLockBegin
{
    QByteArray revision;
    /// What the parts change; empty: they are the whole list.
    QByteArray base;
    int parts = 0;
    int size = 0;
};

struct CLockPart
{
    /// A part has so many characters at most: with what stands around it, the message stays below 64 KiB.
    static constexpr int mostCharacters = 56000;

    QByteArray revision;
    int index = 0;
    /// Printable ASCII and line feeds. Parts are cut anywhere.
    QByteArray text;
};

/// All parts are there: take the list, whole, or refuse it.
struct CLockCommit
{
    QByteArray revision;
};

/// The server has stored all events of that epoch up to that number.
struct CLockAcknowledge
{
    QByteArray epoch;
    qint64 upTo = 0;
};

/// The answer to an ask.
struct CLockVerdict
{
    qint64 number = 0;
    /// None when the door is to open.
    CAccessReason reason = CAccessReason::Other;
    CItemId user;
    CItemId medium;

    bool isAllowed() const { return reason == CAccessReason::None; }
};

/// Open now.
struct CLockOpen
{
    static constexpr int defaultSeconds = 3;
    static constexpr int mostSeconds = 3600;
    static constexpr int longestText = 200;

    int seconds = defaultSeconds;
    /// Who had it opened: a name, a user, or neither.
    QString operatorName;
    CItemId user;
    QString comment;
};

/// For so long the next medium is to be told by CLockDetected instead of being decided on; 0 ends it.
struct CLockWait
{
    static constexpr int mostSeconds = 3600;

    int seconds = 0;
};

/// As if that medium had been shown.
struct CLockSimulate
{
    QByteArray uid;
};

// --- Both ways ---------------------------------------------------------------------------------------------------

/// Anything else, unreadable messages included.
using CLockFromDevice = std::variant<std::monostate, CLockState, CLockEvents, CLockAsk, CLockDetected, CLockAnswer>;
using CLockToDevice = std::variant<std::monostate, CLockTime, CLockBegin, CLockPart, CLockCommit, CLockAcknowledge,
                                   CLockVerdict, CLockOpen, CLockWait, CLockSimulate>;

struct CLockCommand
{
    /// Repeated in the answer; not negative.
    qint64 id = 0;
    CLockToDevice body;
};

class KYR_FOUNDATION_EXPORT CLockMessage
{
public:
    /// In bytes; longer ones are not read.
    static constexpr int longest = 64 * 1024;
    static constexpr int mostEvents = 100;

    CLockMessage() = delete;

    /// std::monostate for what is none of these messages. Takes linear time.
    static CLockFromDevice fromDevice(const QByteArray& message);
    static QByteArray toBytes(const CLockFromDevice& message);

    /// The body is std::monostate for what is none of these commands; the id may have been read all the same.
    static CLockCommand toDevice(const QByteArray& message);
    static QByteArray toBytes(const CLockCommand& command);

    /// The text in parts that CLockPart allows.
    static QVector<QByteArray> cut(const QByteArray& text);
    /// Whether it is 64 hexadecimal digits in lower case.
    static bool isRevision(const QByteArray& text);
    /// Whether it is 32 hexadecimal digits in lower case.
    static bool isEpoch(const QByteArray& text);

    /// One event as the lock keeps it, too.
    static QByteArray eventToBytes(const CLockEvent& event);
    static std::optional<CLockEvent> eventFromBytes(const QByteArray& bytes);
};
