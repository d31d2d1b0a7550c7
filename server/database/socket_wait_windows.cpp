#include <server/database/socket_wait_p.h>

#include <winsock2.h>

bool waitForSocket(long long socket, bool forWriting, int milliseconds)
{
    WSAPOLLFD entry{static_cast<SOCKET>(socket), static_cast<short>(forWriting ? POLLIN | POLLOUT : POLLIN), 0};
    return ::WSAPoll(&entry, 1, milliseconds) > 0;
}
