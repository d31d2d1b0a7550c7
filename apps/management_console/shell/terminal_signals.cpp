#include "shell/terminal_signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtCore/QSocketNotifier>

#include <algorithm>

#ifndef Q_OS_WIN
#    include <cerrno>
#    include <csignal>
#    include <fcntl.h>
#    include <unistd.h>
#endif

TerminalSignals* TerminalSignals::instance()
{
    static QPointer<TerminalSignals> only;
    if (!only)
        only = new TerminalSignals(QCoreApplication::instance());
    return only;
}

#ifdef Q_OS_WIN

TerminalSignals::TerminalSignals(QObject* parent)
    : QObject(parent)
{
}

void TerminalSignals::onReadable() {}

#else

namespace {

constexpr char windowChanged = 'w';
constexpr char wentOn = 'c';

// Written to by the signal handler.
int signalPipe[2] = {-1, -1};

void onTerminalSignal(int number)
{
    const int error = errno;
    const char byte = number == SIGWINCH ? windowChanged : wentOn;
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = error;
}

bool catchTerminalSignals()
{
    if (signalPipe[0] >= 0)
        return true;
    if (::pipe(signalPipe) != 0)
        return false;
    for (const int descriptor : signalPipe) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        ::fcntl(descriptor, F_SETFL, O_NONBLOCK);
    }
    struct sigaction action = {};
    action.sa_handler = onTerminalSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGWINCH, &action, nullptr);
    ::sigaction(SIGCONT, &action, nullptr);
    return true;
}

} // namespace

TerminalSignals::TerminalSignals(QObject* parent)
    : QObject(parent)
{
    if (!catchTerminalSignals())
        return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &TerminalSignals::onReadable);
}

void TerminalSignals::onReadable()
{
    char bytes[64];
    const ssize_t count = ::read(signalPipe[0], bytes, sizeof bytes);
    if (count <= 0)
        return;
    const auto has = [&](char byte) { return std::find(bytes, bytes + count, byte) != bytes + count; };
    if (has(wentOn))
        Q_EMIT continued();
    if (has(windowChanged))
        Q_EMIT resized();
}

#endif
