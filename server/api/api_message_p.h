#pragma once

#include <server/api/api_call_p.h>

#include <QtCore/QByteArrayList>
#include <QtCore/QJsonArray>
#include <QtCore/QMap>
#include <QtCore/QPointer>
#include <QtCore/QSet>

/// One message of JSON-RPC: a call, or a batch of them. It reads the bytes, has the calls performed in their order,
/// with turns of the event loop in between, and answers once, when all of them have their answers.
///
///     std::make_shared<ApiMessage>(context, caller, answer, perform)->handle(bytes);
///
/// It lives until it is answered. Nothing is performed or answered any more once `context` is deleted.
class ApiMessage : public std::enable_shared_from_this<ApiMessage>
{
public:
    /// Does what a call asks for and answers it, now or later.
    using Perform =
        std::function<void(const std::shared_ptr<ApiCall>& call, const QString& method, const QJsonValue& params)>;

    ApiMessage(QObject* context, std::shared_ptr<CApiCaller> caller, const CApi::Answer& answer,
               const Perform& perform);

    void handle(const QByteArray& request);

private:
    void proceed();
    void start(int place);
    void keep(int place, QJsonObject answer);
    void finish();
    void fail(ApiError code, const QString& text);

    QPointer<QObject> m_context;
    std::shared_ptr<CApiCaller> m_caller;
    CApi::Answer m_answer;
    Perform m_perform;
    QJsonArray m_calls;
    bool m_isBatch = false;
    int m_next = 0;            // of the calls
    int m_open = 0;            // that were started and not answered
    bool m_isStarting = false; // one of them
    bool m_isResting = false;  // until the event loop comes round
    bool m_isHeld = false;     // until the call at m_held is answered
    int m_held = -1;
    QMap<int, QByteArray> m_answers; // in the order of the calls
    QSet<int> m_statuses;
    qint64 m_size = 0; // of the answers so far, in bytes
};
