#include "process_setup.h"

#include "common/peer_user.h"

#include <foundation/core/debug.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QSocketNotifier>
#include <QtCore/QThread>

#ifndef Q_OS_WIN
#    include <csignal>
#    include <cstdio>
#    include <fcntl.h>
#    include <unistd.h>
#endif

namespace {

constexpr int mostTalkative = 5; // of the log levels

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
    qInstallMessageHandler(&CDebug::messageOutput);
    const QString file = options.value(QStringLiteral("log-file"));
    if (!CDebug::setMessageOutputFile(file)) {
        options.setError(QStringLiteral("cannot write the log file \"%1\"").arg(file));
        return false;
    }
    // The lines of a file have the time of day alone. The date is said whatever the level is.
    const QString target = file.startsWith(QLatin1String(">>")) ? file.mid(2) : file;
    if (!QStringList{QStringLiteral("none"), QStringLiteral("stderr"), QStringLiteral("stdout"), QStringLiteral("-")}
             .contains(target)) {
        const QDateTime now = QDateTime::currentDateTime();
        CDebug::setLogLevel(mostTalkative);
        qInfo("The log begins at %s", qUtf8Printable(now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate)));
    }
    CDebug::setLogLevel(number);
    return true;
}

#ifdef Q_OS_WIN

void onTerminationRequest(QObject*, const std::function<void(Termination)>&) {}

void openStandardDescriptors() {}

void endSoon(int) {}

QString processUserName()
{
    return {};
}

#else

namespace {

constexpr unsigned int LongestEndSeconds = 2;

int signalPipe[2] = {-1, -1};
volatile std::sig_atomic_t endCode = 0;
constexpr int terminationSignals[] = {SIGINT, SIGTERM, SIGHUP};

void onSignal(int number)
{
    const Termination request = number == SIGINT   ? Termination::Interrupt
                                : number == SIGHUP ? Termination::Hangup
                                                   : Termination::End;
    const char byte = char(request);
    // Asked again before the event loop has taken notice, the process ends at once.
    if (number != SIGHUP)
        std::signal(number, SIG_DFL);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
}

void catchSignals()
{
    for (int number : terminationSignals) {
        // Ignored from the start: begun in the background, or with nohup.
        if (std::signal(number, onSignal) == SIG_IGN)
            std::signal(number, SIG_IGN);
    }
}

} // namespace

void onTerminationRequest(QObject* context, const std::function<void(Termination)>& handler)
{
    if (::pipe(signalPipe) != 0)
        return;
    for (int descriptor : signalPipe)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, context);
    QObject::connect(notifier, &QSocketNotifier::activated, context, [handler] {
        char byte = 0;
        if (::read(signalPipe[0], &byte, 1) == 1) {
            handler(Termination(byte));
            catchSignals();
        }
    });
    catchSignals();
}

void openStandardDescriptors()
{
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) < 0)
            ::open("/dev/null", descriptor == 0 ? O_RDONLY : O_WRONLY);
    }
}

QString processUserName()
{
    return userName(getuid());
}

void endSoon(int code)
{
    endCode = code;
    std::fflush(nullptr);
    std::signal(SIGALRM, [](int) { ::_exit(endCode); });
    ::alarm(LongestEndSeconds);
}

#endif

void waitForOtherThreads()
{
#ifdef Q_OS_LINUX
    ::alarm(0); // endSoon() has done its work
    for (int turn = 0; turn < 500; ++turn) {
        if (QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() <= 1)
            return;
        QThread::msleep(1);
    }
#endif
}
