#pragma once

#include <foundation/core/export.h>

#include <QtCore/QObject>

class QTcpSocket;

/// Looks after what waits for a stranger at the other end of a WebSocket, who is sent little: one that pings and does
/// not read the answers lets them pile up here.
class UnreadAnswers : public QObject
{
    Q_OBJECT

public:
    /// `socket` carries the WebSocket. Watches until it is destroyed, as a child of `parent`.
    UnreadAnswers(QTcpSocket* socket, QObject* parent);

Q_SIGNALS:
    /// More than ConnectionLimits::writeBacklog bytes wait. Once, and not from within the socket's own signals.
    void exceeded();
};
