#include <foundation/core/wall_clock_p.h>

#include <atomic>
#include <cstdint>
#include <ctime>

namespace {

// A second since 1970 (upper bits) and the time of day in seconds that belongs to it (lower 17 bits).
std::atomic<uint64_t> cachedSecond{0};

} // namespace

WallClock WallClock::now()
{
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    const auto second = static_cast<uint64_t>(time.tv_sec);

    uint64_t cached = cachedSecond.load(std::memory_order_relaxed);
    if (cached >> 17 != second) {
        // Once a second the zone is looked at anew, so that a process that runs for years follows its changes.
        tzset();
        tm local{};
        localtime_r(&time.tv_sec, &local);
        cached = second << 17 | static_cast<uint64_t>((local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec);
        cachedSecond.store(cached, std::memory_order_relaxed);
    }
    const auto secondOfDay = static_cast<int>(cached & 0x1FFFF);
    return {secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60, static_cast<int>(time.tv_nsec / 1000000)};
}
