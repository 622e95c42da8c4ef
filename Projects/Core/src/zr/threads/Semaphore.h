#pragma once

#include <atomic>

#include <platform/waiting.h>
#include <zr/types.h>

namespace zr
{
/// A counting semaphore. Any thread may call anything at any time; nothing throws or allocates.
///
/// The state is one word of 64 bits: the value in the lower half, the number of sleepers in the upper. Release adds to
/// the value, acquire takes from it, a thread that finds 0 counts itself as a sleeper and sleeps on the lower half.
///
/// Why no wake-up is lost: value and sleepers are one word, so every release either sees the sleeper in the very step
/// that adds to the value, and wakes it, or comes before the sleeper counted itself, and then the sleeper, which tests
/// the value once more when it falls asleep, stays awake. And why a semaphore may end as soon as its last acquire has
/// come back: release touches the word once; what it does afterwards needs the address alone.
///
/// Orders: release releases, a successful acquire acquires, and every change in between is a read-modify-write, which
/// continues the release sequence. So what a thread did before a release is there for the thread that acquires it.
class Semaphore
{
public:
    explicit Semaphore(u32 initial = 0) noexcept : state(initial) {}
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Takes one; sleeps while there is none.
    void acquire() noexcept { acquireFor(platform::kForever); }

    /// Takes one if there is one now.
    bool tryAcquire() noexcept;

    /// Takes one; sleeps for it at most `nanoseconds`. False when the time ran out.
    bool acquireFor(i64 nanoseconds) noexcept;

    /// Adds `count` and wakes as many sleepers. The value must stay below 2^32.
    void release(u32 count = 1) noexcept;

    u32 value() const noexcept { return static_cast<u32>(state.load(std::memory_order_relaxed)); }
    /// Threads asleep in acquire, or about to be.
    u32 sleepers() const noexcept { return static_cast<u32>(state.load(std::memory_order_relaxed) >> 32); }

private:
    const u32* valueWord() const noexcept;

    std::atomic<u64> state;
};
} // namespace zr
