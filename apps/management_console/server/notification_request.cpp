#include "server/notification_request.h"

#include <foundation/core/json_text.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QJsonArray>
#include <QtCore/QSet>

#include <algorithm>

namespace {

const char* faultText(NotificationFault fault)
{
    switch (fault) {
    case NotificationFault::None:
        break;
    case NotificationFault::NoJson:
        return "not JSON, or a key appears twice in an object";
    case NotificationFault::NoRequest:
        return "not a JSON-RPC 2.0 request";
    case NotificationFault::UnknownMethod:
        return "unknown method";
    case NotificationFault::BadParams:
        return "params is not a list, or is empty";
    case NotificationFault::NotLoggedIn:
        return "not logged in";
    case NotificationFault::TooMuch:
        return "too many sources or names, or too long a name";
    case NotificationFault::NotTheirs:
        return "the name belongs to another client";
    case NotificationFault::NotPermitted:
        return "a session permits observing only";
    }
    return "";
}

bool isServiceMethod(const QString& method)
{
    static const QStringList methods{QStringLiteral("registerObserver"), QStringLiteral("unregisterObserver"),
                                     QStringLiteral("registerExtension"), QStringLiteral("unregisterExtension"),
                                     QStringLiteral("customNotificationResponse")};
    return methods.contains(method);
}

bool isFlat(const QByteArray& json)
{
    int brackets[2] = {0, 0};
    bool quoted = false;
    for (int i = 0; i < json.size(); ++i) {
        if (json[i] == '"')
            quoted = !quoted;
        else if (quoted && json[i] == '\\')
            ++i;
        else if (!quoted && (json[i] == '{' || json[i] == '['))
            ++brackets[json[i] == '['];
    }
    return brackets[0] <= 1 && brackets[1] <= 1;
}

NotificationRequest fieldsOf(const QJsonObject& object)
{
    NotificationRequest request;
    request.id = object.value(QLatin1String("id"));
    request.method = object.value(QLatin1String("method")).toString();
    request.params = object.value(QLatin1String("params")).toArray().toVariantList();
    if (object.value(QLatin1String("jsonrpc")).toString() != QLatin1String("2.0") || request.method.isEmpty())
        request.fault = NotificationFault::NoRequest;
    return request;
}

} // namespace

NotificationRequest NotificationRequest::parse(const QByteArray& json)
{
    const QJsonDocument document = CJsonText::read(json);
    NotificationRequest request = fieldsOf(document.object());
    if (document.isNull())
        request.fault = NotificationFault::NoJson;
    // Who made a mistake is told, even when it is not known in which request.
    if (request.fault != NotificationFault::None && request.id.isUndefined())
        request.id = QJsonValue::Null;
    return request;
}

NotificationRequest NotificationRequest::parseLogin(const QByteArray& json)
{
    return fieldsOf(isFlat(json) ? CJsonText::read(json).object() : QJsonObject());
}

bool NotificationRequest::isLogin() const
{
    return method == QLatin1String("login");
}

QString NotificationRequest::token() const
{
    return params.value(0).userType() == QMetaType::QString ? params.constFirst().toString() : QString();
}

bool NotificationRequest::isOfObservers() const
{
    return method == QLatin1String("registerObserver") || method == QLatin1String("unregisterObserver");
}

NotificationFault NotificationRequest::objection(const CNotificationService& service, const QString& address) const
{
    if (!isServiceMethod(method))
        return NotificationFault::UnknownMethod;
    if (params.isEmpty())
        return NotificationFault::BadParams;
    const auto tooLong = [](const QString& name) { return name.size() > longestName; };
    if (method == QLatin1String("registerObserver")) {
        const QSet<QString> sources = CNotificationService::sourceNames(params.constFirst());
        if (std::any_of(sources.cbegin(), sources.cend(), tooLong)
            || (service.sourcesOf(address) + sources).size() > mostSources)
            return NotificationFault::TooMuch;
    } else if (method == QLatin1String("registerExtension") || method == QLatin1String("unregisterExtension")) {
        const QString name = params.constFirst().toString();
        const QString holder = service.extensionHolder(name);
        if (!holder.isNull())
            return holder != address ? NotificationFault::NotTheirs : NotificationFault::None;
        if (method == QLatin1String("registerExtension")
            && (tooLong(name) || service.extensionsOf(address).size() >= mostExtensions))
            return NotificationFault::TooMuch;
    }
    return NotificationFault::None;
}

QJsonObject toJson(NotificationFault fault)
{
    return {{QStringLiteral("error"), QJsonObject{{QStringLiteral("code"), int(fault)},
                                                  {QStringLiteral("message"), QLatin1String(faultText(fault))}}}};
}
