// What a server says to a lock.
#include "lock_messages.h"

#include <foundation/access/lock_message_text_p.h>

#include <QtCore/QJsonArray>

using namespace LockMessageText;

namespace {

constexpr int mostParts = 1000;
constexpr int largestList = 32 * 1024 * 1024;
// A day is 96 quarter hours; offsets from UTC are at most 14 hours.
constexpr qint64 farthestOffset = 56;

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

} // namespace

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
