#include <foundation/network/descriptors_p.h>

#include <winsock2.h>

static_assert(sizeof(SocketAddress) >= sizeof(SOCKADDR_STORAGE));

bool setListenBacklog(std::intptr_t descriptor, int length)
{
    return listen(static_cast<SOCKET>(descriptor), length) == 0;
}

bool peerAddress(std::intptr_t descriptor, SocketAddress& address)
{
    int size = sizeof address;
    return getpeername(static_cast<SOCKET>(descriptor), reinterpret_cast<sockaddr*>(address.bytes), &size) == 0;
}

bool hasLeft(std::intptr_t)
{
    return false;
}

// Memory is the limit there.
bool isAmongLast(std::intptr_t, int)
{
    return false;
}

void closeDescriptor(std::intptr_t descriptor)
{
    closesocket(static_cast<SOCKET>(descriptor));
}
