#include <foundation/network/listen_backlog_p.h>

#include <winsock2.h>

bool setListenBacklog(std::intptr_t descriptor, int length)
{
    return listen(static_cast<SOCKET>(descriptor), length) == 0;
}
