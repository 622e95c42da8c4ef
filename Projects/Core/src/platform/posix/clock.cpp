#include <platform/clock.h>

#include <time.h>

namespace platform
{
std::uint64_t monotonicNanoseconds() noexcept
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
}

std::int64_t wallClockSeconds() noexcept
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

bool localCalendarTime(std::int64_t seconds, CalendarTime& out) noexcept
{
    const time_t time = seconds;
    tm parts;
    if (!localtime_r(&time, &parts)) return false;
    out = {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
    return true;
}
} // namespace platform
