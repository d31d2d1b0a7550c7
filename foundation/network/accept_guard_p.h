#pragma once

#include <foundation/network/descriptors_p.h>

#include <QtCore/QEvent>
#include <QtCore/QSocketNotifier>
#include <QtNetwork/QTcpServer>

#include <functional>
#include <utility>

/// Tells that a server has no file descriptor left for the next one who has come, before it tries to accept. By itself
/// a server that has ever accepted somebody takes that failure for "nobody is there", and tries again at once, for as
/// long as it lasts.
class AcceptGuard : public QObject
{
public:
    /// The server outlives it; `onScarcity` is to pause it.
    AcceptGuard(QTcpServer* server, std::function<void()> onScarcity)
        : m_server(server)
        , m_onScarcity(std::move(onScarcity))
    {
    }

    /// To be called after each QTcpServer::listen().
    void watch()
    {
        const auto notifiers = m_server->findChildren<QSocketNotifier*>();
        for (QSocketNotifier* notifier : notifiers) {
            if (notifier->socket() == m_server->socketDescriptor())
                notifier->installEventFilter(this);
        }
    }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() != QEvent::SockAct || isDescriptorFree(m_server->socketDescriptor()))
            return false;
        m_onScarcity();
        return true;
    }

private:
    QTcpServer* m_server;
    std::function<void()> m_onScarcity;
};
