#pragma once

#include <QtCore/QEvent>
#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>

#include <functional>
#include <utility>

/// Keeps a server from trying to accept while the process has no file descriptor left: those who connect wait in the
/// system's queue. By itself a local server takes that failure for the end: it closes its socket, for good, and goes on
/// to say that it listens. A TCP server that has ever accepted somebody takes it for "nobody is there", and tries again
/// at once, for as long as it lasts. Elsewhere than on Unix there is nothing to keep.
class AcceptGuard : public QObject
{
public:
    /// The server outlives it. `onScarcity` is to pause the server; without it that is done here, for `pauseMs`.
    explicit AcceptGuard(QObject* server, std::function<void()> onScarcity = {}, QObject* parent = nullptr)
        : QObject(parent)
        , m_server(server)
        , m_onScarcity(std::move(onScarcity))
    {
        m_pause.setSingleShot(true);
        m_pause.setInterval(pauseMs);
        connect(&m_pause, &QTimer::timeout, this, [this] {
            if (m_notifier)
                m_notifier->setEnabled(true);
        });
    }

    /// To be called after each listen().
    void watch()
    {
        // The last one: those of an earlier listen() may still wait for their deletion, or be of who was accepted.
        const auto notifiers = m_server->findChildren<QSocketNotifier*>();
        m_notifier = notifiers.isEmpty() ? nullptr : notifiers.last();
        if (m_notifier)
            m_notifier->installEventFilter(this);
    }

    bool eventFilter(QObject* notifier, QEvent* event) override
    {
        if (notifier != m_notifier || event->type() != QEvent::SockAct
            || QFile(QStringLiteral("/dev/null")).open(QIODevice::ReadOnly))
            return false;
        if (m_onScarcity) {
            m_onScarcity();
            return true;
        }
        m_notifier->setEnabled(false);
        m_pause.start();
        return true;
    }

private:
    static constexpr int pauseMs = 200;

    QObject* m_server;
    std::function<void()> m_onScarcity;
    QPointer<QSocketNotifier> m_notifier;
    QTimer m_pause{this};
};
