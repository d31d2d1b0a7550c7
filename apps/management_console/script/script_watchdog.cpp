#include "script/script_watchdog.h"

#include <QtCore/QtGlobal>

#include <system_error>
#include <utility>

ScriptWatchdog::ScriptWatchdog(int seconds, std::function<void()> late, std::function<void()> stuck)
    : m_seconds(seconds)
    , m_late(std::move(late))
    , m_stuck(std::move(stuck))
{
    try {
        m_thread = std::thread(&ScriptWatchdog::run, this);
    } catch (const std::system_error& fault) {
        qWarning("Script: nothing watches how long it takes: %s", fault.what());
    }
}

ScriptWatchdog::~ScriptWatchdog()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStopped = true;
    }
    m_stopped.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void ScriptWatchdog::run()
{
    if (sleepsUntilStopped(std::chrono::seconds(m_seconds)))
        return;
    m_late();
    if (!sleepsUntilStopped(std::chrono::milliseconds(grace)))
        m_stuck();
}

bool ScriptWatchdog::sleepsUntilStopped(std::chrono::milliseconds time)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_stopped.wait_for(lock, time, [this] { return m_isStopped; });
}
