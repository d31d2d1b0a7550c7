// Messages to the API: of a stranger, of somebody who may read everything, and of somebody who may do nothing.
#include "fuzz_wait.h"

#include <foundation/core/json_text.h>
#include <foundation/datatypes/permission.h>
#include <foundation/services/notification_service.h>
#include <server/api/api.h>
#include <server/audit/audit_trail.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <memory>

namespace {

constexpr int messagesPerModel = 5000; // refused calls stand in its trail
constexpr unsigned int readsEverything = PermissionUsersRead | PermissionUserGroupsRead | PermissionMediaRead
                                         | PermissionCodesRead | PermissionAccessRightsRead | PermissionTimeProfilesRead
                                         | PermissionAccessPointsRead | PermissionDevicesRead;

struct Installation
{
    Installation()
    {
        FUZZ_CHECK(model.open(QStringLiteral("memory")));
        api.setNotificationService(&hub);
        api.setClock([this] { return 1000 * ++messages; });
        for (int who = 0; who < 3; ++who) {
            callers[who] = std::make_shared<CApiCaller>();
            callers[who]->subscriber = QString::number(who);
            if (who == 0)
                continue;
            const QString name = QStringLiteral("login %1").arg(who);
            model.addLogin(name, CItemId(30 + who), name);
            model.setLoginPermissions(name, who == 1 ? readsEverything : 0);
            sessions[who] = model.startSession(name, QString(), QString(), nullptr);
        }
        users = model.getModel(QStringLiteral("UsersGroups"), {}, {}).size();
    }

    CSqlAccessControl model;
    CNotificationService hub{nullptr};
    CAuditTrail trail{model.database()};
    CApi api{&model, &trail, nullptr};
    std::shared_ptr<CApiCaller> callers[3];
    QString sessions[3];
    qint64 messages = 0;
    int users = 0;
};

void checkAnswer(const QJsonValue& value)
{
    const QJsonObject answer = value.toObject();
    FUZZ_CHECK(answer.contains(QLatin1String("id")));
    FUZZ_CHECK(answer.contains(QLatin1String("result")) != answer.contains(QLatin1String("error")));
}

} // namespace

FUZZ_TARGET(api_request)
{
    static Installation* installation = nullptr; // the last one is left: Qt's own part of it goes first
    if (installation == nullptr || installation->messages > messagesPerModel) {
        delete installation;
        installation = new Installation;
    }
    const int who = input.byte() % 3;
    const QByteArray text = input.rest();
    // Passwords take their time, by design.
    if (text.contains("login") || text.contains("\\u"))
        return;
    const std::shared_ptr<CApiCaller> caller = installation->callers[who];
    caller->session = installation->sessions[who];
    int answers = 0;
    installation->api.handle(text, caller, [&](const CApiAnswer& answer) {
        ++answers;
        if (answer.body.isEmpty())
            return;
        const QJsonDocument document = CJsonText::read(answer.body);
        FUZZ_CHECK(!document.isNull());
        const QJsonArray all = document.isArray() ? document.array() : QJsonArray{document.object()};
        FUZZ_CHECK(all.size() <= CApi::mostInBatch);
        for (const QJsonValue& one : all)
            checkAnswer(one);
    });
    fuzzWait([&] { return answers > 0; });
    FUZZ_CHECK(answers == 1);
    FUZZ_CHECK(caller->waiting == 0);
    FUZZ_CHECK(installation->hub.sourcesOf(caller->subscriber).size() <= CApi::mostSources);
    FUZZ_CHECK(installation->model.getLoggedInId() == CItemId());
    FUZZ_CHECK(installation->model.getModel(QStringLiteral("UsersGroups"), {}, {}).size() == installation->users);
}
