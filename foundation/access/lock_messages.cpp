#include "lock_messages.h"

#include <foundation/core/json_text.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cmath>

namespace {

// What a JSON number holds exactly.
constexpr qint64 largest = Q_INT64_C(1) << 53;
constexpr int mostParts = 1000;
constexpr int largestList = 32 * 1024 * 1024;
constexpr int longestError = 500;
// A day is 96 quarter hours; offsets from UTC are at most 14 hours.
constexpr qint64 farthestOffset = 56;

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

bool isHex(const QByteArray& text, int size)
{
    return text.size() == size && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

/// Takes values out of an object, and remembers when one was not what it should be.
class Reader
{
public:
    explicit Reader(const QJsonObject& object)
        : m_object(object)
    {
    }

    bool isGood() const { return m_good; }
    void fail() { m_good = false; }
    bool has(const char* key) const { return m_object.contains(QLatin1String(key)); }
    QJsonValue value(const char* key) const { return m_object.value(QLatin1String(key)); }

    qint64 number(const char* key, qint64 least, qint64 most)
    {
        const QJsonValue read = value(key);
        const double number = read.toDouble();
        if (!read.isDouble() || number != std::floor(number) || number < double(least) || number > double(most)) {
            fail();
            return least;
        }
        return qint64(number);
    }
    qint64 numberOr(const char* key, qint64 otherwise, qint64 least, qint64 most)
    {
        return has(key) ? number(key, least, most) : otherwise;
    }
    qint64 time(const char* key) { return number(key, -largest, largest); }
    QString text(const char* key, int longestText)
    {
        const QJsonValue read = value(key);
        const QString text = read.toString();
        if (!read.isString() || text.size() > longestText)
            fail();
        return text;
    }
    QString textOr(const char* key, int longestText) { return has(key) ? text(key, longestText) : QString(); }
    QByteArray hex(const char* key, int size, bool mayBeEmpty)
    {
        const QByteArray read = text(key, size).toLatin1();
        if (!isHex(read, size) && !(mayBeEmpty && read.isEmpty()))
            fail();
        return read;
    }
    QByteArray revision(const char* key, bool mayBeEmpty = false) { return hex(key, 64, mayBeEmpty); }
    QByteArray epoch() { return hex("epoch", 32, false); }
    CItemId id(const char* key)
    {
        const QJsonValue read = value(key);
        if (read.isUndefined() || read.isNull())
            return CItemId();
        bool ok = false;
        const QString text = read.toString();
        const qint64 id = text.toLongLong(&ok);
        if (!ok || id <= 0 || QString::number(id) != text)
            fail();
        return CItemId(id);
    }
    QByteArray uid()
    {
        const CLockCredential credential = CLockCredential::fromUidLabel(text("uid", 24));
        if (!credential.isUid())
            fail();
        return credential.uid();
    }
    /// Absent: none.
    CAccessReason reason()
    {
        const QString read = textOr("reason", 40);
        if (read.isEmpty())
            return CAccessReason::None;
        const CAccessReason reason = accessReasonFromString(read.toLatin1());
        if (QLatin1String(accessReasonToString(reason)) != read)
            fail();
        return reason;
    }

private:
    QJsonObject m_object;
    bool m_good = true;
};

/// Builds an object; what is nobody, nothing or empty is left out by the put…If functions.
class Writer
{
public:
    void put(const char* key, const QJsonValue& value) { m_object.insert(QLatin1String(key), value); }
    void put(const char* key, const QByteArray& ascii) { put(key, QString::fromLatin1(ascii)); }
    void put(const char* key, const char* ascii) { put(key, QString::fromLatin1(ascii)); }
    void put(const char* key, qint64 number) { put(key, QJsonValue(double(number))); }
    void put(const char* key, int number) { put(key, QJsonValue(number)); }
    void putIf(const char* key, CItemId id)
    {
        if (id.value() != 0)
            put(key, QString::number(id.value()));
    }
    void putIf(const char* key, const QString& text)
    {
        if (!text.isEmpty())
            put(key, QJsonValue(text));
    }
    void putIf(const char* key, const char* ascii) { putIf(key, QString::fromLatin1(ascii)); }
    void putUid(const QByteArray& uid) { putIf("uid", CLockCredential::fromUid(uid).toText()); }

    const QJsonObject& object() const { return m_object; }
    QByteArray toBytes() const { return QJsonDocument(m_object).toJson(QJsonDocument::Compact); }

private:
    QJsonObject m_object;
};

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

// --- From the lock -------------------------------------------------------------------------------------------------

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

// --- To the lock ---------------------------------------------------------------------------------------------------

void write(Writer& out, const CLockTime& time)
{
    QJsonArray periods;
    for (const CDeviceDstInfo& info : time.zone.dstPeriods) {
        Writer period;
        period.put("from", info.from.toMSecsSinceEpoch());
        if (info.to.isValid())
            period.put("to", info.to.toMSecsSinceEpoch());
        period.put("offset", int(info.offset));
        periods.append(period.object());
    }
    out.put("command", "time");
    out.put("utc", time.utc);
    out.put("offset", int(time.zone.getBaseOffset()));
    out.put("periods", QJsonValue(periods));
}

CLockTime readTime(Reader& in)
{
    CLockTime time;
    time.utc = in.number("utc", 0, CLockTime::latest);
    time.zone = CDeviceTimeZoneSettings(qint8(in.number("offset", -farthestOffset, farthestOffset)));
    const QJsonArray periods = in.value("periods").toArray();
    if (!in.value("periods").isArray() || periods.size() > CLockTime::mostPeriods)
        in.fail();
    for (const QJsonValue& value : periods) {
        if (!in.isGood())
            break;
        Reader period(value.toObject());
        CDeviceDstInfo info;
        info.from = QDateTime::fromMSecsSinceEpoch(period.time("from"), Qt::UTC);
        if (period.has("to"))
            info.to = QDateTime::fromMSecsSinceEpoch(period.time("to"), Qt::UTC);
        info.offset = qint8(period.number("offset", -farthestOffset, farthestOffset));
        if (!period.isGood())
            in.fail();
        time.zone.dstPeriods.append(info);
    }
    return time;
}

void write(Writer& out, const CLockBegin& begin)
{
    out.put("command", "begin");
    out.put("revision", begin.revision);
    out.put("base", begin.base);
    out.put("parts", begin.parts);
    out.put("size", begin.size);
}

CLockBegin readBegin(Reader& in)
{
    CLockBegin begin;
    begin.revision = in.revision("revision");
    begin.base = in.revision("base", true);
    begin.parts = int(in.number("parts", 1, mostParts));
    begin.size = int(in.number("size", 1, largestList));
    return begin;
}

void write(Writer& out, const CLockPart& part)
{
    out.put("command", "part");
    out.put("revision", part.revision);
    out.put("index", part.index);
    out.put("text", part.text);
}

CLockPart readPart(Reader& in)
{
    CLockPart part;
    part.revision = in.revision("revision");
    part.index = int(in.number("index", 0, mostParts - 1));
    const QString text = in.text("text", CLockPart::mostCharacters);
    part.text = text.toLatin1();
    const auto isPlain = [](QChar c) {
        return c == QLatin1Char('\n') || (c >= QLatin1Char(' ') && c <= QLatin1Char('~'));
    };
    if (text.isEmpty() || !std::all_of(text.begin(), text.end(), isPlain))
        in.fail();
    return part;
}

void write(Writer& out, const CLockCommit& commit)
{
    out.put("command", "commit");
    out.put("revision", commit.revision);
}

CLockCommit readCommit(Reader& in)
{
    return {in.revision("revision")};
}

void write(Writer& out, const CLockAcknowledge& acknowledge)
{
    out.put("command", "acknowledge");
    out.put("epoch", acknowledge.epoch);
    out.put("upTo", acknowledge.upTo);
}

CLockAcknowledge readAcknowledge(Reader& in)
{
    CLockAcknowledge acknowledge;
    acknowledge.epoch = in.epoch();
    acknowledge.upTo = in.number("upTo", 0, largest);
    return acknowledge;
}

void write(Writer& out, const CLockVerdict& verdict)
{
    out.put("command", "verdict");
    out.put("number", verdict.number);
    out.put("allowed", QJsonValue(verdict.isAllowed()));
    out.putIf("reason", accessReasonToString(verdict.reason));
    out.putIf("user", verdict.user);
    out.putIf("medium", verdict.medium);
}

CLockVerdict readVerdict(Reader& in)
{
    CLockVerdict verdict;
    verdict.number = in.number("number", 0, largest);
    verdict.reason = in.reason();
    verdict.user = in.id("user");
    verdict.medium = in.id("medium");
    const QJsonValue allowed = in.value("allowed");
    if (!allowed.isBool() || allowed.toBool() != verdict.isAllowed())
        in.fail();
    return verdict;
}

void write(Writer& out, const CLockOpen& open)
{
    out.put("command", "open");
    out.put("seconds", open.seconds);
    out.putIf("operator", open.operatorName.left(CLockOpen::longestText));
    out.putIf("user", open.user);
    out.putIf("comment", open.comment.left(CLockOpen::longestText));
}

CLockOpen readOpen(Reader& in)
{
    CLockOpen open;
    open.seconds = int(in.numberOr("seconds", CLockOpen::defaultSeconds, 1, CLockOpen::mostSeconds));
    open.operatorName = in.textOr("operator", CLockOpen::longestText);
    open.user = in.id("user");
    open.comment = in.textOr("comment", CLockOpen::longestText);
    return open;
}

void write(Writer& out, const CLockWait& wait)
{
    out.put("command", "wait");
    out.put("seconds", wait.seconds);
}

CLockWait readWait(Reader& in)
{
    return {int(in.number("seconds", 0, CLockWait::mostSeconds))};
}

void write(Writer& out, const CLockSimulate& simulate)
{
    out.put("command", "simulate");
    out.putUid(simulate.uid);
}

CLockSimulate readSimulate(Reader& in)
{
    return {in.uid()};
}

void write(Writer&, std::monostate) {}

template<typename Result, typename Message>
Result checked(Reader& in, Message message)
{
    return in.isGood() ? Result(std::move(message)) : Result();
}

CLockToDevice readCommand(Reader& in)
{
    const QString command = in.value("command").toString();
    const auto is = [&command](const char* name) { return command == QLatin1String(name); };
    if (is("time"))
        return checked<CLockToDevice>(in, readTime(in));
    if (is("begin"))
        return checked<CLockToDevice>(in, readBegin(in));
    if (is("part"))
        return checked<CLockToDevice>(in, readPart(in));
    if (is("commit"))
        return checked<CLockToDevice>(in, readCommit(in));
    if (is("acknowledge"))
        return checked<CLockToDevice>(in, readAcknowledge(in));
    if (is("verdict"))
        return checked<CLockToDevice>(in, readVerdict(in));
    if (is("open"))
        return checked<CLockToDevice>(in, readOpen(in));
    if (is("wait"))
        return checked<CLockToDevice>(in, readWait(in));
    if (is("simulate"))
        return checked<CLockToDevice>(in, readSimulate(in));
    return std::monostate();
}

QJsonObject readObject(const QByteArray& message)
{
    return message.size() <= CLockMessage::longest ? CJsonText::read(message).object() : QJsonObject();
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

CLockCommand CLockMessage::toDevice(const QByteArray& message)
{
    Reader in(readObject(message));
    CLockCommand command;
    command.id = in.numberOr("id", 0, 0, largest);
    if (in.isGood())
        command.body = readCommand(in);
    return command;
}

QByteArray CLockMessage::toBytes(const CLockCommand& command)
{
    Writer out;
    out.put("id", command.id);
    std::visit([&out](const auto& body) { write(out, body); }, command.body);
    return out.toBytes();
}

QVector<QByteArray> CLockMessage::cut(const QByteArray& text)
{
    QVector<QByteArray> parts;
    parts.reserve(text.size() / CLockPart::mostCharacters + 1);
    for (int from = 0; from < text.size(); from += CLockPart::mostCharacters)
        parts.append(text.mid(from, CLockPart::mostCharacters));
    return parts;
}

bool CLockMessage::isRevision(const QByteArray& text)
{
    return isHex(text, 64);
}

bool CLockMessage::isEpoch(const QByteArray& text)
{
    return isHex(text, 32);
}

QByteArray CLockMessage::eventToBytes(const CLockEvent& event)
{
    return QJsonDocument(toJson(event)).toJson(QJsonDocument::Compact);
}

std::optional<CLockEvent> CLockMessage::eventFromBytes(const QByteArray& bytes)
{
    return eventFromJson(readObject(bytes));
}
