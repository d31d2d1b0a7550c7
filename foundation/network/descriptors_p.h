#pragma once

#include <cstdint>

// What Qt has no word for, or only for a whole socket with its buffers: sockets by their descriptors. One source a
// platform stands beside this header, which uses no Qt type so that each of them can be compiled on its own.

/// Sets how many connections wait at a listening socket that were not accepted yet. Qt 5 asks for 50, and a peer that
/// finds no room tries again only after a second: an installation whose devices all return at once needs more. The
/// system may have a smaller limit of its own. False when the system refuses.
bool setListenBacklog(std::intptr_t descriptor, int length);

/// A sockaddr of any family.
struct SocketAddress
{
    alignas(8) unsigned char bytes[128];
};

/// The address of the other end. False when there is none any more.
bool peerAddress(std::intptr_t descriptor, SocketAddress& address);

/// Whether the other end has closed the connection, what it sent before apart. False where the system does not tell.
bool hasLeft(std::intptr_t descriptor);

/// Whether the newest descriptor of this process is one of the last it may have: no more than `spare`, nor more than a
/// quarter of all, are left.
bool isAmongLast(std::intptr_t descriptor, int spare);

/// Ends the connection.
void closeDescriptor(std::intptr_t descriptor);
