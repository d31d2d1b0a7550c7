#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/// Ends a script that takes too long, also one that never returns to the event loop.
class ScriptWatchdog
{
public:
    /// Between `late` and `stuck`; ms.
    static constexpr int grace = 5000;

    /// After `seconds` `late` is called, and `stuck` when this is still there after the grace: from a thread of its
    /// own, both.
    ScriptWatchdog(int seconds, std::function<void()> late, std::function<void()> stuck);
    ~ScriptWatchdog();
    ScriptWatchdog(const ScriptWatchdog&) = delete;
    ScriptWatchdog& operator=(const ScriptWatchdog&) = delete;

private:
    void run();
    /// True when it was stopped before that time had passed.
    bool sleepsUntilStopped(std::chrono::milliseconds time);

    const int m_seconds;
    const std::function<void()> m_late;
    const std::function<void()> m_stuck;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_isStopped = false;
    std::thread m_thread;
};
