#include <foundation/core/signal_throttler.h>

CSignalThrottler::CSignalThrottler(QObject* parent)
    : QObject(parent)
    , m_timer(this)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &CSignalThrottler::maybeEmitTriggered);
}

void CSignalThrottler::setTimeout(int milliseconds)
{
    // A timer that is set restarts its period, even to the interval it has.
    if (milliseconds != m_timer.interval())
        m_timer.setInterval(milliseconds);
}

int CSignalThrottler::timeout() const
{
    return m_timer.interval();
}

bool CSignalThrottler::stopCurrentThrottle()
{
    const bool running = m_timer.isActive();
    m_timer.stop();
    return running;
}

void CSignalThrottler::throttle()
{
    m_pending = true;
    if (!m_timer.isActive())
        m_timer.start();
}

void CSignalThrottler::maybeEmitTriggered()
{
    if (m_pending)
        emitTriggered();
}

void CSignalThrottler::emitTriggered()
{
    m_pending = false;
    Q_EMIT triggered();
}
