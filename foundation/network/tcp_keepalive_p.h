#pragma once

#include <cstdint>

// Keep-alive of one TCP socket, by the system's own socket options: one source a platform stands beside this header,
// which uses no Qt type so that each of them can be compiled on its own.

/// After `idleSeconds` without traffic the system probes the peer, then every 3 s, and breaks the connection when
/// nothing comes back. 0 or less switches that off. False when the system refuses.
bool setTcpKeepalive(std::intptr_t descriptor, int idleSeconds);
