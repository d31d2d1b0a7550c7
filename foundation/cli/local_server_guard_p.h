#pragma once

#include <QtCore/QEvent>
#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <QtNetwork/QLocalServer>

/// Keeps a local server listening while the process has no file descriptor left. By itself the server takes a failure
/// to accept for the end: it closes its socket, for good, and goes on to say that it listens. Here it does not try to
/// accept meanwhile, and those who connect wait in the system's queue. Elsewhere than on Unix there is nothing to keep.
class LocalServerGuard : public QObject
{
public:
    /// A child of the server.
    explicit LocalServerGuard(QLocalServer* server)
        : QObject(server)
    {
        m_pause.setSingleShot(true);
        m_pause.setInterval(pauseMs);
        connect(&m_pause, &QTimer::timeout, this, [this] {
            if (m_notifier)
                m_notifier->setEnabled(true);
        });
    }

    /// To be called after each QLocalServer::listen().
    void watch()
    {
        // The last one: that of an earlier listen() may still wait for its deletion.
        const auto notifiers = parent()->findChildren<QSocketNotifier*>(QString(), Qt::FindDirectChildrenOnly);
        m_notifier = notifiers.isEmpty() ? nullptr : notifiers.last();
        if (m_notifier)
            m_notifier->installEventFilter(this);
    }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() != QEvent::SockAct || QFile(QStringLiteral("/dev/null")).open(QIODevice::ReadOnly))
            return false;
        if (m_notifier)
            m_notifier->setEnabled(false);
        m_pause.start();
        return true;
    }

private:
    static constexpr int pauseMs = 200;

    QPointer<QSocketNotifier> m_notifier;
    QTimer m_pause;
};
