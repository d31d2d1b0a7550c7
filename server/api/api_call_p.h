#pragma once

#include <server/api/api.h>

#include <foundation/core/item_id.h>
#include <foundation/datatypes/permission.h>

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>

#include <functional>
#include <memory>

/// Who is behind a session that goes on.
struct ApiSession
{
    QString id; ///< empty: there is none
    QString login;
    CItemId user{};
    Permissions permissions{};

    bool isValid() const { return !id.isEmpty(); }
    bool may(Permissions wanted) const { return (permissions & wanted) == wanted; }
};

/// One call on its way: whoever has it answers it, once; what comes after that is dropped.
class ApiCall
{
public:
    using Done = std::function<void(const QJsonObject& resultOrError)>;

    ApiCall(std::shared_ptr<CApiCaller> by, const Done& done)
        : caller(std::move(by))
        , m_done(done)
    {
    }

    void answer(const QJsonValue& result)
    {
        QJsonObject answer{{QStringLiteral("result"), result}};
        if (omitted > 0)
            answer.insert(QStringLiteral("omitted"), double(omitted));
        finish(answer);
    }
    void fail(ApiError code, const QString& text)
    {
        finish({{QStringLiteral("error"),
                 QJsonObject{{QStringLiteral("code"), int(code)}, {QStringLiteral("message"), text}}}});
    }
    bool isFinished() const { return !m_done; }

    std::shared_ptr<CApiCaller> caller;
    ApiSession session;
    bool isKept = false; ///< it is answered later
    qint64 omitted = 0;  ///< entries that a limit has left out of the result

private:
    void finish(const QJsonObject& resultOrError)
    {
        const Done done = std::move(m_done);
        m_done = nullptr;
        if (done)
            done(resultOrError);
    }

    Done m_done;
};
