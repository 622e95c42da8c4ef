#pragma once

#include <cstdint>

namespace platform
{
/// A clock that never goes back and that nobody sets.
std::uint64_t monotonicNanoseconds() noexcept;

/// Whole seconds of the wall clock since the Unix epoch.
std::int64_t wallClockSeconds() noexcept;

struct CalendarTime
{
    int year, month, day; ///< month and day from 1
    int hour, minute, second;
};

/// Breaks down seconds since the Unix epoch in the local time zone. False, with nothing written, when it can't.
bool localCalendarTime(std::int64_t seconds, CalendarTime& out) noexcept;
} // namespace platform
