#pragma once

#include <cstdint>

/// Sleeping on a word of memory until another thread changes it: what semaphores and gates are built of.
namespace platform
{
constexpr std::int64_t kForever = -1;

/// Sleeps while `*word == expected`, at most `nanoseconds` (`kForever`: without limit). It may come back early for no
/// reason, so callers test and call again. The comparison and the falling asleep are one step: a thread that changes
/// the word first and wakes afterwards is never missed.
///
/// returns false exactly when the time ran out
bool waitOnWord(const std::uint32_t* word, std::uint32_t expected, std::int64_t nanoseconds) noexcept;

/// Wakes at most `count` threads that sleep on `word`. The memory may be gone already: then nobody wakes, or somebody
/// for no reason.
void wakeOnWord(const std::uint32_t* word, std::uint32_t count) noexcept;
} // namespace platform
