#pragma once

#include "fuzz_support.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>

/// Runs the event loop until the condition holds; that it does not within ten seconds is a finding.
template<typename Condition>
void fuzzWait(Condition condition)
{
    QElapsedTimer time;
    time.start();
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        FUZZ_CHECK(time.elapsed() < 10000);
    }
}
