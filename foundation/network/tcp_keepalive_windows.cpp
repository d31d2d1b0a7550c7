#include <foundation/network/tcp_keepalive_p.h>

// winsock2.h must come before the headers that build on it.
#include <winsock2.h>

#include <mstcpip.h>

#include <algorithm>

namespace {

constexpr ULONG probeIntervalMilliseconds = 3000;
constexpr int longestIdleSeconds = 0x7FFFFFFF / 1000;

} // namespace

bool setTcpKeepalive(std::intptr_t descriptor, int idleSeconds)
{
    tcp_keepalive values = {};
    values.onoff = idleSeconds > 0 ? 1 : 0;
    values.keepalivetime = static_cast<ULONG>(std::clamp(idleSeconds, 0, longestIdleSeconds)) * 1000;
    values.keepaliveinterval = probeIntervalMilliseconds;
    DWORD returned = 0;
    return WSAIoctl(static_cast<SOCKET>(descriptor), SIO_KEEPALIVE_VALS, &values, sizeof values, nullptr, 0, &returned,
                    nullptr, nullptr)
           == 0;
}
