#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QVariant>

class CNotificationService;

/// Why a request of a notification client is not done; the codes are those of JSON-RPC 2.0, or below them our own.
enum class NotificationFault : int
{
    None = 0,
    NoJson = -32700,
    NoRequest = -32600,
    UnknownMethod = -32601,
    BadParams = -32602,
    NotLoggedIn = -32001,
    TooMuch = -32002,
    NotTheirs = -32003,
    NotPermitted = -32004,
};

/// One text frame of a client: JSON-RPC 2.0, with the parameters as a list.
struct NotificationRequest
{
    static constexpr int mostSources = 1000;   ///< that a client may observe
    static constexpr int mostExtensions = 100; ///< names that a client may hold
    static constexpr int longestName = 200;    ///< characters, of a source or an extension

    QJsonValue id; ///< undefined when no answer is wanted
    QString method;
    QVariantList params;
    NotificationFault fault = NotificationFault::None;

    /// A text in which a key stands twice counts as no JSON. Which parameters a method takes is not looked at.
    static NotificationRequest parse(const QByteArray& json);
    /// Of a stranger only one object with one list in it is read; anything else is a request without a method.
    static NotificationRequest parseLogin(const QByteArray& json);

    bool isLogin() const;
    /// The token of a log-in; empty when there is none.
    QString token() const;

    /// Whether it asks for what whoever has a session may have: to observe. Extensions are trusted by who calls them.
    bool isOfObservers() const;
    /// What speaks against handing the request on to the service, which would bound neither sources nor names, and let
    /// the client at `address` take over the names of others.
    NotificationFault objection(const CNotificationService& service, const QString& address) const;
};

/// {"error": {"code": ..., "message": ...}}
QJsonObject toJson(NotificationFault fault);
