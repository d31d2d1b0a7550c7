#include <server/database/socket_wait_p.h>

#include <cerrno>
#include <poll.h>

bool waitForSocket(long long socket, bool forWriting, int milliseconds)
{
    pollfd entry{static_cast<int>(socket), static_cast<short>(forWriting ? POLLIN | POLLOUT : POLLIN), 0};
    // An interrupted wait is answered as a ready one: who asked looks again anyway, and keeps the time.
    const int ready = ::poll(&entry, 1, milliseconds);
    return ready > 0 || (ready < 0 && errno == EINTR);
}
