#include "monitoring/service_manager.h"

#include <QtCore/QTimer>
#include <QtCore/QtGlobal>

#ifdef Q_OS_LINUX
#    include <cstddef>
#    include <cstring>
#    include <ctime>
#    include <sys/socket.h>
#    include <sys/un.h>
#    include <unistd.h>
#endif

namespace {

QByteArray socketName;     // NOLINT: of this process, like the variable that it comes from
qint64 watchdogMicros = 0; // NOLINT

} // namespace

void ServiceManager::begin()
{
    socketName = qgetenv("NOTIFY_SOCKET");
    watchdogMicros = qgetenv("WATCHDOG_USEC").toLongLong();
#ifdef Q_OS_LINUX
    const QByteArray process = qgetenv("WATCHDOG_PID");
    if (!process.isEmpty() && process.toLongLong() != qint64(::getpid()))
        watchdogMicros = 0;
#endif
    for (const char* variable : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
        qunsetenv(variable);
}

void ServiceManager::ready()
{
    tell("READY=1");
}

void ServiceManager::reloading()
{
#ifdef Q_OS_LINUX
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    tell("RELOADING=1\nMONOTONIC_USEC=" + QByteArray::number(qint64(now.tv_sec) * 1000000 + now.tv_nsec / 1000));
#endif
}

void ServiceManager::stopping()
{
    tell("STOPPING=1");
}

void ServiceManager::tell(const QByteArray& text)
{
#ifdef Q_OS_LINUX
    sockaddr_un address{};
    if (socketName.size() < 2 || std::size_t(socketName.size()) >= sizeof(address.sun_path)
        || (socketName.at(0) != '/' && socketName.at(0) != '@'))
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socketName.constData(), std::size_t(socketName.size()));
    if (socketName.at(0) == '@') // a name that is in no file system
        address.sun_path[0] = '\0';
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0)
        return;
    const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(socketName.size()));
    if (::sendto(descriptor, text.constData(), std::size_t(text.size()), MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr*>(&address), length)
        < 0)
        qWarning("The service manager does not accept \"%s\"", text.constData());
    ::close(descriptor);
#else
    Q_UNUSED(text)
#endif
}

void ServiceManager::watch(QObject* context)
{
    if (socketName.isEmpty() || watchdogMicros <= 0)
        return;
    auto* timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [] { tell("WATCHDOG=1"); });
    timer->start(int(qBound(qint64(1), watchdogMicros / 2000, qint64(86400000))));
    tell("WATCHDOG=1");
}
