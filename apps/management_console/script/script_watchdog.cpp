#include "script/script_watchdog.h"

#include <QtCore/QDeadlineTimer>

#include <utility>

ScriptWatchdog::ScriptWatchdog(int seconds, std::function<void()> late, std::function<void()> stuck)
    : m_seconds(seconds)
    , m_late(std::move(late))
    , m_stuck(std::move(stuck))
{
    start();
}

ScriptWatchdog::~ScriptWatchdog()
{
    {
        const QMutexLocker lock(&m_mutex);
        m_isStopped = true;
        m_stopped.wakeAll();
    }
    wait();
}

void ScriptWatchdog::run()
{
    if (sleepsUntilStopped(ulong(m_seconds) * 1000))
        return;
    m_late();
    if (!sleepsUntilStopped(grace))
        m_stuck();
}

bool ScriptWatchdog::sleepsUntilStopped(unsigned long ms)
{
    const QDeadlineTimer end(qint64(ms), Qt::PreciseTimer);
    const QMutexLocker lock(&m_mutex);
    while (!m_isStopped && m_stopped.wait(&m_mutex, end)) {
    }
    return m_isStopped;
}
