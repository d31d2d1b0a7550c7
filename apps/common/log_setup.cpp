#include "log_setup.h"

#include <foundation/core/circular_log_buffer.h>
#include <foundation/core/debug.h>

#include <atomic>

namespace {

constexpr int mostTalkative = 5; // of the log levels
constexpr const char* newDay = "A new day: ";

std::atomic<int> wantedLevel{mostTalkative};
// Of the last line, as a Julian day; 0: there is none.
std::atomic<qint64> lastDay{0};

// Whatever the level is.
void writeAnyway(const QString& text)
{
    CDebug::setLogLevel(mostTalkative);
    CDebug::messageOutput(QtInfoMsg, {}, text);
    CDebug::setLogLevel(wantedLevel);
}

bool isWritten(QtMsgType type)
{
    const int level = wantedLevel;
    return type == QtDebugMsg ? level >= 5 : type == QtInfoMsg ? level >= 4 : type != QtWarningMsg || level >= 3;
}

void onMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (!isWritten(type))
        return;
    const QDate today = QDate::currentDate();
    const qint64 before = lastDay.exchange(today.toJulianDay());
    if (before != 0 && before != today.toJulianDay())
        writeAnyway(QLatin1String(newDay)
                    + QStringLiteral("%1 after %2")
                          .arg(today.toString(Qt::ISODate), QDate::fromJulianDay(before).toString(Qt::ISODate)));
    CDebug::messageOutput(type, context, message);
}

// Without a day for the time, and that only where the line begins with one.
LogLine readLine(const QString& line, QTime& time)
{
    constexpr int timeLength = 12;
    constexpr int prefixLength = 17;
    time = line.size() >= prefixLength ? QTime::fromString(line.left(timeLength), QStringLiteral("HH:mm:ss.zzz"))
                                       : QTime();
    if (!time.isValid())
        return {line, {}, {}, line};
    return {line, {}, line.mid(timeLength + 1, 3), line.mid(prefixLength)};
}

} // namespace

void addLogOptions(AppOptions& options, const QString& defaultLevel, const QString& defaultFile)
{
    options.addValue(QStringLiteral("log-level"), QStringLiteral("LEVEL"),
                     QStringLiteral("DBG, INF, WRN, CRT, FTL or a number from 0 to 5"), defaultLevel);
    options.addValue(QStringLiteral("log-file"), QStringLiteral("FILE"),
                     QStringLiteral("a file (\">>\" before its name appends), stderr, stdout or none"), defaultFile);
    options.addValue(QStringLiteral("log-format"), QStringLiteral("FORM"),
                     QStringLiteral("text, or json: one object per line"), QStringLiteral("text"));
}

bool applyLogOptions(AppOptions& options)
{
    bool ok = false;
    const QString level = options.value(QStringLiteral("log-level"));
    const int number = CDebug::logLevelStringToInt(level, &ok);
    if (!ok) {
        options.setError(
            QStringLiteral("--log-level takes DBG, INF, WRN, CRT, FTL or a number, not \"%1\"").arg(level));
        return false;
    }
    const QString form = options.value(QStringLiteral("log-format"));
    if (form != QLatin1String("text") && form != QLatin1String("json")) {
        options.setError(QStringLiteral("--log-format takes text or json, not \"%1\"").arg(form));
        return false;
    }
    CDebug::setJsonLines(form == QLatin1String("json"));
    qInstallMessageHandler(&onMessage);
    const QString file = options.value(QStringLiteral("log-file"));
    if (!CDebug::setMessageOutputFile(file)) {
        options.setError(QStringLiteral("cannot write the log file \"%1\"").arg(file));
        return false;
    }
    wantedLevel = number;
    CDebug::setLogLevel(number);
    const QString target = file.startsWith(QLatin1String(">>")) ? file.mid(2) : file;
    if (!QStringList{QStringLiteral("none"), QStringLiteral("stderr"), QStringLiteral("stdout"), QStringLiteral("-")}
             .contains(target)) {
        const QDateTime now = QDateTime::currentDateTime();
        lastDay = now.date().toJulianDay();
        writeAnyway(
            QStringLiteral("The log begins at %1").arg(now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate)));
    }
    return true;
}

QVector<LogLine> keptLog()
{
    CCircularLogBuffer* buffer = CCircularLogBuffer::getInstanceUsedAsMessageHandler();
    QStringList lines = QString::fromUtf8(buffer ? buffer->readAll() : QByteArray()).split(QLatin1Char('\n'));
    lines.removeLast(); // behind the last line feed
    QVector<LogLine> kept(lines.size());
    QDate day = QDate::fromJulianDay(lastDay);
    for (int i = int(lines.size()); i-- > 0;) {
        QTime time;
        LogLine& line = kept[i] = readLine(lines.at(i), time);
        if (!time.isValid())
            continue;
        line.time = QDateTime(day, time);
        const QString before = line.text.startsWith(QLatin1String(newDay)) ? line.text.right(10) : QString();
        const QDate dayBefore = QDate::fromString(before, Qt::ISODate);
        if (dayBefore.isValid())
            day = dayBefore;
    }
    return kept;
}
