// What a lock says to its server: its events, its state, its questions and answers.
#include "lock_messages.h"

#include <foundation/access/lock_message_text_p.h>

#include <QtCore/QJsonArray>

using namespace LockMessageText;

namespace {

constexpr int longestError = 500;

template<typename Value>
struct Word
{
    Value value;
    const char* text;
};

constexpr Word<CLockEventKind> eventKinds[] = {
    {CLockEventKind::Granted, "granted"}, {CLockEventKind::Denied, "denied"}, {CLockEventKind::Opened, "opened"},
    {CLockEventKind::Forced, "forced"},   {CLockEventKind::Held, "held"},     {CLockEventKind::Clock, "clock"},
    {CLockEventKind::Start, "start"},
};
constexpr Word<CLockWay> ways[] = {
    {CLockWay::None, ""},         {CLockWay::Offline, "offline"}, {CLockWay::Online, "online"},
    {CLockWay::Opener, "opener"}, {CLockWay::Button, "button"},
};

template<typename Value, size_t Size>
const char* textOf(const Word<Value> (&words)[Size], Value value)
{
    for (const Word<Value>& word : words) {
        if (word.value == value)
            return word.text;
    }
    return "";
}

template<typename Value, size_t Size>
std::optional<Value> valueOf(const Word<Value> (&words)[Size], const QString& text)
{
    for (const Word<Value>& word : words) {
        if (text == QLatin1String(word.text))
            return word.value;
    }
    return std::nullopt;
}

QJsonObject toJson(const CLockEvent& event)
{
    Writer out;
    out.put("number", event.number);
    out.put("at", event.at);
    out.put("kind", lockEventKindToString(event.kind));
    out.putIf("way", lockWayToString(event.way));
    out.putIf("reason", accessReasonToString(event.reason));
    out.putIf("user", event.user);
    out.putIf("medium", event.medium);
    out.putUid(event.uid);
    out.putIf("operator", event.operatorName);
    out.putIf("comment", event.comment);
    if (event.correction != 0)
        out.put("correction", event.correction);
    return out.object();
}

std::optional<CLockEvent> eventFromJson(const QJsonObject& object)
{
    Reader in(object);
    CLockEvent event;
    event.number = in.number("number", 1, largest);
    event.at = in.time("at");
    const auto kind = lockEventKindFromString(in.text("kind", 20));
    const auto way = lockWayFromString(in.textOr("way", 20));
    event.reason = in.reason();
    event.user = in.id("user");
    event.medium = in.id("medium");
    if (in.has("uid"))
        event.uid = in.uid();
    event.operatorName = in.textOr("operator", CLockOpen::longestText);
    event.comment = in.textOr("comment", CLockOpen::longestText);
    event.correction = in.numberOr("correction", 0, -largest, largest);
    if (!in.isGood() || !kind || !way)
        return std::nullopt;
    event.kind = *kind;
    event.way = *way;
    return event;
}

void write(Writer& out, const CLockState& state)
{
    out.put("message", "state");
    out.put("revision", state.revision);
    out.put("epoch", state.epoch);
    out.put("first", state.first);
    out.put("next", state.next);
    out.put("acknowledged", state.acknowledged);
    out.put("lost", state.lost);
    out.put("clock", state.clock);
}

CLockState readState(Reader& in)
{
    CLockState state;
    state.revision = in.revision("revision", true);
    state.epoch = in.epoch();
    state.next = in.number("next", 1, largest);
    state.first = in.number("first", 1, state.next);
    state.acknowledged = in.number("acknowledged", 0, state.next - 1);
    state.lost = in.number("lost", 0, state.next - 1);
    state.clock = in.time("clock");
    return state;
}

void write(Writer& out, const CLockEvents& events)
{
    QJsonArray list;
    for (const CLockEvent& event : events.events)
        list.append(toJson(event));
    out.put("message", "events");
    out.put("epoch", events.epoch);
    out.put("events", QJsonValue(list));
}

CLockEvents readEvents(Reader& in)
{
    CLockEvents events;
    events.epoch = in.epoch();
    const QJsonArray list = in.value("events").toArray();
    if (list.isEmpty() || list.size() > CLockMessage::mostEvents)
        in.fail();
    for (const QJsonValue& value : list) {
        const std::optional<CLockEvent> event = eventFromJson(value.toObject());
        if (!in.isGood() || !event
            || (!events.events.isEmpty() && event->number != events.events.constLast().number + 1)) {
            in.fail();
            break;
        }
        events.events.append(*event);
    }
    return events;
}

void write(Writer& out, const CLockAsk& ask)
{
    out.put("message", "ask");
    out.put("number", ask.number);
    out.put(ask.credential.isCode() ? "code" : "uid", QJsonValue(ask.credential.toText()));
    out.put("at", ask.at);
}

CLockAsk readAsk(Reader& in)
{
    CLockAsk ask;
    ask.number = in.number("number", 0, largest);
    ask.at = in.time("at");
    if (in.has("code") == in.has("uid"))
        in.fail();
    else if (in.has("uid"))
        ask.credential = CLockCredential::fromUid(in.uid());
    else
        ask.credential = CLockCredential::fromCode(in.text("code", 12));
    if (ask.credential.isNone())
        in.fail();
    return ask;
}

void write(Writer& out, const CLockDetected& detected)
{
    out.put("message", "detected");
    out.putUid(detected.uid);
    out.put("at", detected.at);
}

CLockDetected readDetected(Reader& in)
{
    CLockDetected detected;
    detected.uid = in.uid();
    detected.at = in.time("at");
    return detected;
}

void write(Writer& out, const CLockAnswer& answer)
{
    out.put("id", answer.id);
    out.put("status", answer.isOk() ? "ok" : "error");
    out.putIf("error", answer.error.left(longestError));
}

CLockAnswer readAnswer(Reader& in)
{
    CLockAnswer answer;
    answer.id = in.number("id", 0, largest);
    const QString status = in.text("status", 10);
    if (status == QLatin1String("error"))
        answer.error = in.text("error", longestError);
    else if (status != QLatin1String("ok"))
        in.fail();
    if (status == QLatin1String("error") && answer.error.isEmpty())
        in.fail();
    return answer;
}

} // namespace

const char* lockEventKindToString(CLockEventKind kind)
{
    return textOf(eventKinds, kind);
}

std::optional<CLockEventKind> lockEventKindFromString(const QString& text)
{
    return valueOf(eventKinds, text);
}

const char* lockWayToString(CLockWay way)
{
    return textOf(ways, way);
}

std::optional<CLockWay> lockWayFromString(const QString& text)
{
    return valueOf(ways, text);
}

bool operator==(const CLockEvent& a, const CLockEvent& b)
{
    return a.number == b.number && a.at == b.at && a.kind == b.kind && a.way == b.way && a.reason == b.reason
           && a.user == b.user && a.medium == b.medium && a.uid == b.uid && a.operatorName == b.operatorName
           && a.comment == b.comment && a.correction == b.correction;
}

CLockFromDevice CLockMessage::fromDevice(const QByteArray& message)
{
    Reader in(readObject(message));
    const QString name = in.value("message").toString();
    if (name == QLatin1String("state"))
        return checked<CLockFromDevice>(in, readState(in));
    if (name == QLatin1String("events"))
        return checked<CLockFromDevice>(in, readEvents(in));
    if (name == QLatin1String("ask"))
        return checked<CLockFromDevice>(in, readAsk(in));
    if (name == QLatin1String("detected"))
        return checked<CLockFromDevice>(in, readDetected(in));
    if (in.has("status") && !in.has("message"))
        return checked<CLockFromDevice>(in, readAnswer(in));
    return std::monostate();
}

QByteArray CLockMessage::toBytes(const CLockFromDevice& message)
{
    Writer out;
    std::visit([&out](const auto& body) { write(out, body); }, message);
    return out.toBytes();
}

QByteArray CLockMessage::eventToBytes(const CLockEvent& event)
{
    return QJsonDocument(toJson(event)).toJson(QJsonDocument::Compact);
}

std::optional<CLockEvent> CLockMessage::eventFromBytes(const QByteArray& bytes)
{
    return eventFromJson(readObject(bytes));
}
