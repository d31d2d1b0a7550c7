#pragma once

#include <cstdint>

// The queue of connections that a listening socket has not accepted yet. Qt 5 asks for 50, and whoever finds the queue
// full tries again only after a second: an installation whose devices all return at once needs more. One source a
// platform stands beside this header, which uses no Qt type so that each of them can be compiled on its own.

/// Sets the length of the queue; the system may have a smaller limit of its own. False when the system refuses.
bool setListenBacklog(std::intptr_t descriptor, int length);
