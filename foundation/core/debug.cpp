#include <foundation/core/debug.h>

#include <foundation/core/circular_log_buffer.h>
#include <foundation/core/wall_clock_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QVarLengthArray>
#include <QtCore/QtGlobal>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstring>

namespace {

// The lowest level at which messages of a type are written.
constexpr int thresholdOf(QtMsgType type)
{
    return type == QtDebugMsg ? 5 : type == QtInfoMsg ? 4 : type == QtWarningMsg ? 3 : INT_MIN;
}

// One bit for each type that is not written at a level, so that to look is all that a suppressed message costs.
constexpr uint suppressedAt(int level)
{
    uint types = 0;
    for (const QtMsgType type : {QtDebugMsg, QtWarningMsg, QtInfoMsg})
        types |= level < thresholdOf(type) ? 1U << type : 0U;
    return types;
}

constexpr const char* tagOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "DBG";
    case QtInfoMsg:
        return "INF";
    case QtWarningMsg:
        return "WRN";
    case QtCriticalMsg:
        return "CRT";
    case QtFatalMsg:
        return "FTL";
    }
    return "UNK";
}

constexpr int circularBufferSize = 0x100000;

// Set at start-up and read by every thread that logs: atomic so that late changes are no data race, relaxed because
// nothing else depends on them.
std::atomic<uint> suppressedTypes{suppressedAt(4)};
std::atomic<FILE*> stream{stderr};
// Not owned by a smart pointer: messages come until the very end of the process.
std::atomic<CCircularLogBuffer*> circularBuffer{nullptr};

// Where the last line that was written whole ends in the stream: what stands behind it after a failure is a line that
// was cut. -1 in a stream that has no positions, where a line goes whole or not at all.
constexpr long unknownPosition = -2;
std::atomic<long> wholeLinesEnd{unknownPosition};
std::atomic<bool> lineIsCut{false};
std::atomic<bool> jsonLines{false};
thread_local const CLogFields* currentFields = nullptr;

using Line = QVarLengthArray<char, 512>;

char* writeNumber(char* to, int number, int digits)
{
    for (int i = digits; i-- > 0; number /= 10)
        to[i] = static_cast<char>('0' + number % 10);
    return to + digits;
}

// "12:34:56.789 INF text" and a NUL.
void formatLine(Line& line, const char* tag, const QString& message)
{
    constexpr int prefixLength = 17;
    line.resize(prefixLength + static_cast<int>(message.size()) + 1);
    const WallClock time = WallClock::now();
    char* to = writeNumber(line.data(), time.hour, 2);
    *to++ = ':';
    to = writeNumber(to, time.minute, 2);
    *to++ = ':';
    to = writeNumber(to, time.second, 2);
    *to++ = '.';
    to = writeNumber(to, time.millisecond, 3);
    *to++ = ' ';
    to = std::copy(tag, tag + 3, to);
    *to++ = ' ';

    // Most messages are plain ASCII, which needs no codec.
    const QChar* from = message.constData();
    const QChar* const end = from + message.size();
    while (from != end && from->unicode() < 0x80)
        *to++ = static_cast<char>((from++)->unicode());
    if (from != end) {
        const QByteArray utf8 = message.toUtf8();
        line.resize(prefixLength + static_cast<int>(utf8.size()) + 1);
        std::memcpy(line.data() + prefixLength, utf8.constData(), static_cast<size_t>(utf8.size()));
    }
    line.last() = '\0';
}

// A line there was no room for, as on a full disk, may be cut: then the next one does not continue it.
void writeLine(FILE* output, const char* line)
{
    long end = wholeLinesEnd.load(std::memory_order_relaxed);
    if (end == unknownPosition)
        end = std::ftell(output);
    if (lineIsCut.exchange(false, std::memory_order_relaxed)) {
        std::fputc('\n', output);
        end = std::ftell(output);
    }
    std::fputs(line, output);
    std::fputc('\n', output);
    if (std::fflush(output) == 0 && !std::ferror(output)) {
        wholeLinesEnd.store(end < 0 ? end : end + static_cast<long>(std::strlen(line)) + 1, std::memory_order_relaxed);
        return;
    }
    std::clearerr(output);
    wholeLinesEnd.store(end, std::memory_order_relaxed);
    lineIsCut.store(end >= 0 && std::ftell(output) != end, std::memory_order_relaxed);
}

QByteArray jsonLine(const char* tag, const QString& message)
{
    QJsonObject object;
    for (const CLogFields* fields = currentFields; fields; fields = fields->outer()) {
        for (auto field = fields->fields().cbegin(); field != fields->fields().cend(); ++field) {
            if (!object.contains(field.key()))
                object.insert(field.key(), QJsonValue::fromVariant(*field));
        }
    }
    const QDateTime now = QDateTime::currentDateTime();
    object.insert(QStringLiteral("time"), now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODateWithMs));
    object.insert(QStringLiteral("level"), QLatin1String(tag));
    object.insert(QStringLiteral("text"), message);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// Kept apart from the test of the level, so that a suppressed message does not even set up the line's memory.
Q_NEVER_INLINE void writeMessage(QtMsgType type, const QString& message)
{
    Line line;
    formatLine(line, tagOf(type), message);
    if (CCircularLogBuffer* buffer = circularBuffer.load(std::memory_order_relaxed))
        buffer->append(QByteArray::fromRawData(line.constData(), static_cast<int>(line.size())));
    if (FILE* output = stream.load(std::memory_order_relaxed)) {
        if (jsonLines.load(std::memory_order_relaxed))
            writeLine(output, jsonLine(tagOf(type), message).constData());
        else
            writeLine(output, line.constData());
    }
}

} // namespace

CLogFields::CLogFields(const QVariantMap& fields)
    : m_fields(fields)
    , m_outer(currentFields)
{
    currentFields = this;
}

CLogFields::~CLogFields()
{
    currentFields = m_outer;
}

void CDebug::setJsonLines(bool on)
{
    jsonLines = on;
}

void CDebug::messageOutput(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    const uint index = type; // of a type that Qt does not know no bit is looked at
    if (Q_LIKELY(index <= QtInfoMsg && (suppressedTypes.load(std::memory_order_relaxed) >> index & 1U) != 0))
        return;
    writeMessage(type, message);
}

void CDebug::setLogLevel(int level)
{
    suppressedTypes.store(suppressedAt(level), std::memory_order_relaxed);
}

int CDebug::logLevelStringToInt(const QString& text, bool* ok)
{
    static constexpr QtMsgType types[] = {QtFatalMsg, QtCriticalMsg, QtWarningMsg, QtInfoMsg, QtDebugMsg};
    for (int i = 0; i < 5; ++i) {
        if (text == QLatin1String(tagOf(types[i]))) {
            if (ok)
                *ok = true;
            return i + 1;
        }
    }
    return text.toInt(ok, 10);
}

bool CDebug::setMessageOutputFile(const QString& name)
{
    const bool append = name.startsWith(QLatin1String(">>"));
    const QString target = append ? name.mid(2) : name;

    FILE* const current = stream.exchange(nullptr);
    if (current && current != stdout && current != stderr)
        std::fclose(current);

    FILE* chosen = nullptr;
    bool ok = true;
    if (target == QLatin1String("stderr")) {
        chosen = stderr;
    } else if (target == QLatin1String("stdout") || target == QLatin1String("-")) {
        chosen = stdout;
    } else if (target != QLatin1String("none")) {
        chosen = std::fopen(target.toLocal8Bit().constData(), append ? "a" : "w");
        ok = chosen != nullptr;
        if (!ok)
            chosen = stderr;
        else if (append)
            std::fseek(chosen, 0, SEEK_END);
    }
    wholeLinesEnd = unknownPosition;
    lineIsCut = false;
    stream = chosen;
    if (!ok)
        qWarning("Debug: Could not open message output file %s", qUtf8Printable(target));
    return ok;
}

void CDebug::enableCircularBuffer(bool enable)
{
    if (enable == (circularBuffer.load() != nullptr))
        return;
    if (enable) {
        circularBuffer = new CCircularLogBuffer(circularBufferSize);
        CCircularLogBuffer::setInstanceUsedAsMessageHandler(circularBuffer);
    } else {
        CCircularLogBuffer::setInstanceUsedAsMessageHandler(nullptr);
        delete circularBuffer.exchange(nullptr);
    }
}
