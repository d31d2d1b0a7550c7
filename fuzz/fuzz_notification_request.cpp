// Text frames of notification clients: of strangers, and of three that are logged in.
#include "fuzz_support.h"

#include "server/notification_request.h"

#include <foundation/core/json_text.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QJsonObject>

FUZZ_TARGET(notification_request)
{
    const QString token = QStringLiteral("the token");
    CNotificationService service;
    QHash<QString, QStringList> names; // by holder
    while (!input.atEnd()) {
        const int sender = input.byte() % 4;
        const QByteArray text = input.word();
        if (sender == 0) {
            const NotificationRequest request = NotificationRequest::parseLogin(text);
            const bool admitted = request.isLogin() && request.token() == token;
            FUZZ_CHECK(!admitted
                       || (CJsonText::read(text).object().contains(QLatin1String("params")) && text.contains("log")));
            FUZZ_CHECK(!request.id.isArray() || request.params.isEmpty()); // one list at most
            FUZZ_CHECK(!request.id.isObject());
            continue;
        }
        const NotificationRequest request = NotificationRequest::parse(text);
        FUZZ_CHECK(request.fault != NotificationFault::NoJson || request.method.isEmpty());
        if (request.fault != NotificationFault::None) {
            FUZZ_CHECK(!request.id.isUndefined());
            continue;
        }
        const QString address = QString::number(sender);
        if (request.objection(service, address) != NotificationFault::None)
            continue;
        service.receiveMessage(address, request.method, request.params, sender);
        FUZZ_CHECK(service.sourcesOf(address).size() <= NotificationRequest::mostSources + 1); // "ExtensionManager"
        names[address] = service.extensionsOf(address);
        FUZZ_CHECK(names[address].size() <= NotificationRequest::mostExtensions);
        for (auto it = names.cbegin(); it != names.cend(); ++it) {
            for (const QString& name : it.value()) {
                FUZZ_CHECK(name.size() <= NotificationRequest::longestName);
                FUZZ_CHECK(service.extensionHolder(name) == it.key());
            }
        }
    }
}
