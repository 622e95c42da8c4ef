#include <zr/log/LogClock.h>

#include <atomic>

#include <platform/clock.h>

namespace zr::log
{
f64 clockSeconds() noexcept
{
    static std::atomic<u64> first{0};
    const u64 now = platform::monotonicNanoseconds();
    u64 start = first.load(std::memory_order_relaxed);
    // Of several first readings one stays; a later one on another thread may have been taken before it.
    if (start == 0 && first.compare_exchange_strong(start, now, std::memory_order_relaxed)) start = now;
    return now > start ? static_cast<f64>(now - start) * 1e-9 : 0.0;
}
} // namespace zr::log
