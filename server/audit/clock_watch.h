#pragma once

#include <server/database/export.h>

#include <QtCore/QtGlobal>

/// Sees when the clock of this machine is set: it moves against one that only runs. Both are in milliseconds.
///
///     CClockWatch watch(QDateTime::currentMSecsSinceEpoch(), CClockWatch::steady());
///     const qint64 moved = watch.look(QDateTime::currentMSecsSinceEpoch(), CClockWatch::steady());
class CClockWatch
{
public:
    /// In milliseconds. What is less is kept in mind, and added up.
    static constexpr qint64 tolerance = 2000;

    CClockWatch(qint64 wall, qint64 steadyNow)
        : m_base(wall - steadyNow)
    {
    }

    /// By how many milliseconds the clock was set forward (negative: back) since this was told last; 0 while that is
    /// within the tolerance.
    qint64 look(qint64 wall, qint64 steadyNow)
    {
        const qint64 moved = wall - steadyNow - m_base;
        if (qAbs(moved) <= tolerance)
            return 0;
        m_base += moved;
        return moved;
    }

    /// A clock that nobody sets; it runs while the machine sleeps, too.
    KYR_SERVER_EXPORT static qint64 steady();

private:
    qint64 m_base;
};
