#include <foundation/network/listen_backlog_p.h>

#include <sys/socket.h>

bool setListenBacklog(std::intptr_t descriptor, int length)
{
    return listen(static_cast<int>(descriptor), length) == 0;
}
