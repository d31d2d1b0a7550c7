#include <server/api/api_message_p.h>

#include <foundation/core/json_text.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QTimer>

namespace {

// What a call answers with as a whole, or one of a batch.
QJsonObject response(const QJsonValue& id, QJsonObject resultOrError)
{
    resultOrError.insert(QStringLiteral("jsonrpc"), QStringLiteral("2.0"));
    resultOrError.insert(QStringLiteral("id"), id);
    return resultOrError;
}

QJsonObject errorObject(ApiError code, const QString& text)
{
    QJsonObject object;
    ApiCall(nullptr, [&object](const QJsonObject& error) { object = error; }).fail(code, text);
    return object;
}

int statusOf(const QJsonObject& resultOrError)
{
    const QJsonValue error = resultOrError.value(QStringLiteral("error"));
    switch (ApiError(error.toObject().value(QStringLiteral("code")).toInt())) {
    case ApiError::NotLoggedIn:
    case ApiError::LoginRefused:
    case ApiError::CodeNeeded:
        return 401;
    case ApiError::NotPermitted:
        return 403;
    case ApiError::TooMany:
        return 429;
    default:
        return 200;
    }
}

} // namespace

ApiMessage::ApiMessage(QObject* context, std::shared_ptr<CApiCaller> caller, const CApi::Answer& answer,
                       const Perform& perform)
    : m_context(context)
    , m_caller(std::move(caller))
    , m_answer(answer)
    , m_perform(perform)
{
}

void ApiMessage::handle(const QByteArray& request)
{
    if (request.size() > (m_caller->session.isEmpty() ? CApi::longestOfStrangers : CApi::longestRequest))
        return fail(ApiError::NoRequest, QStringLiteral("the request is too large"));
    QJsonParseError error{};
    const QJsonDocument document = CJsonText::read(request, &error);
    if (document.isNull()) {
        // A number alone is JSON, though no request.
        const bool isScalar = !CJsonText::read('[' + request + ']').isNull() && !request.trimmed().isEmpty();
        return isScalar ? fail(ApiError::NoRequest, QStringLiteral("not a JSON-RPC 2.0 request"))
                        : fail(ApiError::NoJson, QStringLiteral("not JSON, or a key appears twice in an object"));
    }
    m_isBatch = document.isArray();
    m_calls = m_isBatch ? document.array() : QJsonArray{document.object()};
    if (m_calls.isEmpty() || m_calls.size() > CApi::mostInBatch) {
        m_isBatch = false;
        return fail(ApiError::NoRequest, QStringLiteral("a batch has 1 to %1 calls").arg(int(CApi::mostInBatch)));
    }
    proceed();
}

void ApiMessage::fail(ApiError code, const QString& text)
{
    keep(0, response(QJsonValue::Null, errorObject(code, text)));
    finish();
}

// Starts what can be started; called again whenever something has changed.
void ApiMessage::proceed()
{
    while (m_next < m_calls.size()) {
        if (m_isStarting || m_isResting || m_isHeld)
            return;
        m_isStarting = true;
        start(m_next++);
        if (!m_context)
            return;
        m_isStarting = false;
        if (m_next < m_calls.size() && !m_isHeld) {
            // Others have their turn in between.
            m_isResting = true;
            const auto goOn = [this, self = shared_from_this()] {
                m_isResting = false;
                proceed();
            };
            QMetaObject::invokeMethod(m_context, goOn, Qt::QueuedConnection);
        }
    }
    if (m_open == 0 && !m_isStarting)
        finish();
}

void ApiMessage::start(int place)
{
    const QJsonObject object = m_calls.at(place).toObject();
    const QJsonValue method = object.value(QLatin1String("method"));
    QJsonValue id = object.value(QLatin1String("id"));
    const bool hasGoodId = id.isNull() || id.isString() || id.isDouble();
    const bool isRequest = object.value(QLatin1String("jsonrpc")).toString() == QLatin1String("2.0")
                           && method.isString() && (hasGoodId || id.isUndefined());
    const bool isWanted = !isRequest || hasGoodId;
    if (!hasGoodId)
        id = QJsonValue::Null;
    ++m_open;
    ++m_caller->waiting;
    const auto call = std::make_shared<ApiCall>(
        m_caller, [this, self = shared_from_this(), place, id, isWanted](const QJsonObject& resultOrError) {
            --m_caller->waiting;
            if (!m_context)
                return;
            keep(place, isWanted ? response(id, resultOrError) : QJsonObject());
            --m_open;
            if (m_held == place)
                m_isHeld = false;
            proceed();
        });
    if (!isRequest)
        return call->fail(ApiError::NoRequest, QStringLiteral("not a JSON-RPC 2.0 request"));
    if (m_caller->waiting > CApi::mostWaiting)
        return call->fail(ApiError::TooMany, QStringLiteral("too many calls without an answer"));
    m_perform(call, method.toString(), object.value(QLatin1String("params")));
    if (!m_context || call->isFinished())
        return;
    // What stands behind a log-in is meant for the session that it begins.
    m_isHeld = method.toString() == QLatin1String("login");
    m_held = place;
    auto* patience = new QTimer(m_context);
    QObject::connect(patience, &QTimer::timeout, patience, [call, patience] {
        patience->deleteLater();
        call->fail(ApiError::Refused, QStringLiteral("no answer in time"));
    });
    patience->setSingleShot(true);
    patience->start(CApi::answerMs);
}

void ApiMessage::keep(int place, QJsonObject answer)
{
    if (answer.isEmpty())
        return;
    QByteArray text = QJsonDocument(answer).toJson(QJsonDocument::Compact);
    // A hundred long ones are no less than one that is longer.
    if (m_size + text.size() > CApi::longestAnswer) {
        const QJsonValue id = answer.value(QLatin1String("id"));
        answer = response(id, errorObject(ApiError::Refused, QStringLiteral("the answer is too large: ask for less")));
        text = QJsonDocument(answer).toJson(QJsonDocument::Compact);
    }
    m_size += text.size();
    m_answers.insert(place, text);
    m_statuses.insert(statusOf(answer));
}

void ApiMessage::finish()
{
    const CApi::Answer tell = std::move(m_answer);
    m_answer = nullptr;
    if (!tell)
        return;
    CApiAnswer result;
    result.body = QByteArrayList(m_answers.values()).join(',');
    if (m_isBatch && !result.body.isEmpty())
        result.body = '[' + result.body + ']';
    if (m_statuses.size() == 1)
        result.status = *m_statuses.cbegin();
    tell(result);
}
