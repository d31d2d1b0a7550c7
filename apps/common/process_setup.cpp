#include "process_setup.h"

#include "common/peer_user.h"

#include <QtCore/QDir>
#include <QtCore/QSocketNotifier>
#include <QtCore/QThread>

#ifndef Q_OS_WIN
#    include <csignal>
#    include <cstdio>
#    include <fcntl.h>
#    include <unistd.h>
#endif

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
