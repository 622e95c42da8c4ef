#include <zr/threads/Semaphore.h>

#include <bit>

#include <platform/clock.h>

namespace zr
{
namespace
{
constexpr u64 kSleeper = u64{1} << 32;

u32 valueOf(u64 state) noexcept
{
    return static_cast<u32>(state);
}
} // namespace

bool Semaphore::tryAcquire() noexcept
{
    u64 old = state.load(std::memory_order_relaxed);
    while (valueOf(old) != 0)
        if (state.compare_exchange_weak(old, old - 1, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
}

bool Semaphore::acquireFor(i64 nanoseconds) noexcept
{
    if (tryAcquire()) return true;
    if (nanoseconds == 0) return false;
    const u64 start = nanoseconds > 0 ? platform::monotonicNanoseconds() : 0;
    i64 left = nanoseconds;
    u64 old = state.fetch_add(kSleeper, std::memory_order_relaxed) + kSleeper;
    for (;;)
    {
        while (valueOf(old) != 0) // one taken, one sleeper less
            if (state.compare_exchange_weak(old, old - 1 - kSleeper, std::memory_order_acquire,
                                            std::memory_order_relaxed))
                return true;
        if (nanoseconds > 0)
        {
            left = nanoseconds - static_cast<i64>(platform::monotonicNanoseconds() - start);
            if (left <= 0) break;
        }
        platform::waitOnWord(valueWord(), 0, left);
        old = state.load(std::memory_order_relaxed);
    }
    state.fetch_sub(kSleeper, std::memory_order_relaxed);
    return tryAcquire(); // a release may have counted on this sleeper
}

void Semaphore::release(u32 count) noexcept
{
    const u32* const word = valueWord();
    const u64 old = state.fetch_add(count, std::memory_order_release);
    if (old >= kSleeper) platform::wakeOnWord(word, count);
}

const u32* Semaphore::valueWord() const noexcept
{
    const auto* const halves = reinterpret_cast<const u32*>(&state);
    return std::endian::native == std::endian::little ? halves : halves + 1;
}
} // namespace zr
