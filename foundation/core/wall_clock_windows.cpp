#include <foundation/core/wall_clock_p.h>

#include <windows.h>

WallClock WallClock::now()
{
    SYSTEMTIME time;
    GetLocalTime(&time);
    return {time.wHour, time.wMinute, time.wSecond, time.wMilliseconds};
}
