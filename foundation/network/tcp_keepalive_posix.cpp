#include <foundation/network/tcp_keepalive_p.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>

namespace {

constexpr int probeIntervalSeconds = 3;
constexpr int longestIdleSeconds = 32767; // the most that Linux takes

#if defined(TCP_KEEPIDLE)
constexpr int idleOption = TCP_KEEPIDLE;
#else
constexpr int idleOption = TCP_KEEPALIVE; // its name on macOS
#endif

bool setOption(std::intptr_t descriptor, int level, int option, int value)
{
    return setsockopt(static_cast<int>(descriptor), level, option, &value, sizeof value) == 0;
}

} // namespace

bool setTcpKeepalive(std::intptr_t descriptor, int idleSeconds)
{
    if (idleSeconds <= 0)
        return setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 0);
    return setOption(descriptor, IPPROTO_TCP, idleOption, std::min(idleSeconds, longestIdleSeconds))
           && setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, probeIntervalSeconds)
           && setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
}
