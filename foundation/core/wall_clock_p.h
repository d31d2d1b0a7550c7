#pragma once

/// The local time of day, without looking at the zone's file each time it is asked for.
struct WallClock
{
    int hour;
    int minute;
    int second;
    int millisecond;

    static WallClock now();
};
