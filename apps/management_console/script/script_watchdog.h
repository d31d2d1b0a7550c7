#pragma once

#include <QtCore/QMutex>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include <functional>

/// Ends a script that takes too long, also one that never returns to the event loop.
class ScriptWatchdog : public QThread
{
public:
    /// Between `late` and `stuck`; ms.
    static constexpr int grace = 5000;

    /// After `seconds` `late` is called, and `stuck` when this is still there after the grace: from a thread of its
    /// own, both.
    ScriptWatchdog(int seconds, std::function<void()> late, std::function<void()> stuck);
    ~ScriptWatchdog() override;

private:
    void run() override;
    /// True when it was stopped before that time had passed.
    bool sleepsUntilStopped(unsigned long ms);

    const int m_seconds;
    const std::function<void()> m_late;
    const std::function<void()> m_stuck;
    QMutex m_mutex;
    QWaitCondition m_stopped;
    bool m_isStopped = false;
};
