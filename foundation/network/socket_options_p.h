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
