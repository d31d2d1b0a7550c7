#pragma once

#include <foundation/core/export.h>

class QAbstractSocket;
class QWebSocket;

/// Small writes leave at once instead of waiting for the peer's delayed acknowledgement (40 ms each). Takes effect now
/// on a connected socket and as soon as it connects on any other; null pointers are ignored.
KYR_FOUNDATION_TEST_EXPORT void setLowDelay(QAbstractSocket* socket);

/// The same for a WebSocket that connects by itself. Of one that a server accepted, the server's owner must set it on
/// the TCP socket: it cannot be reached from the WebSocket.
KYR_FOUNDATION_TEST_EXPORT void setLowDelay(QWebSocket* webSocket);

/// Gives back the buffers that Qt keeps for a WebSocket's next bytes: 98 kB over TLS, which an idle link does not need
/// and which come back by themselves. Nothing happens while there is anything in them. From the event loop only: a
/// socket that emits a signal is in the middle of something.
KYR_FOUNDATION_TEST_EXPORT void releaseBuffers(QWebSocket* webSocket);
