#pragma once

#include <foundation/core/export.h>

#include <QtCore/QObject>
#include <QtCore/QTimer>

/// Turns a burst of requests into one signal.
///
///     CSignalThrottler throttler;
///     throttler.setTimeout(200);
///     connect(&throttler, &CSignalThrottler::triggered, this, &View::refresh);
///     connect(model, &Model::changed, &throttler, &CSignalThrottler::throttle);
///
/// The first request after a quiet spell starts a period; however many follow, triggered() comes once, at its end. A
/// receiver may delete the throttler.
class KYR_FOUNDATION_EXPORT CSignalThrottler : public QObject
{
    Q_OBJECT

public:
    explicit CSignalThrottler(QObject* parent = nullptr);

    /// The period in milliseconds, 0 at first: the signal then comes with the next turn of the event loop.
    void setTimeout(int milliseconds);
    int timeout() const;

    /// Ends a running period without its signal; false when none was running. The request itself is not forgotten: a
    /// call of maybeEmitTriggered() still serves it.
    bool stopCurrentThrottle();

public Q_SLOTS:
    void throttle();
    /// Emits triggered() when a request waits for it.
    void maybeEmitTriggered();
    /// Emits triggered() at once; no request waits afterwards.
    void emitTriggered();

Q_SIGNALS:
    void triggered();

private:
    QTimer m_timer;
    bool m_pending = false;
};
