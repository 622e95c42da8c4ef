#include <zr/SharedGroupBarrier.h>

#include <algorithm>
#include <mutex>

#include <zr/tasks/ProcessPool.h>

namespace zr
{
namespace
{
/// The longest single wait; a system's timer need not reach further.
constexpr std::chrono::milliseconds kSlice{86400000};

constinit ProcessPool pool{sizeof(SharedGroupBarrier), 2048, "Projects/Core/src/zr/SharedGroupBarrier"};
} // namespace

SharedGroupBarrier::SharedGroupBarrier(std::string_view text) noexcept
{
    text.remove_prefix(text.size() - std::min(text.size(), kMaxName));
    nameLength = static_cast<u8>(text.copy(name.data(), kMaxName));
}

BarrierPtr SharedGroupBarrier::create(std::string_view name)
{
    return BarrierPtr(pool.create<SharedGroupBarrier>(name));
}

void SharedGroupBarrier::Deleter::operator()(SharedGroupBarrier* barrier) const
{
    barrier->wait();
    pool.destroy(barrier);
}

void SharedGroupBarrier::done()
{
    // Release: what the task did is seen by whoever sees the count go down. All but the last need no lock.
    u32 seen = pending.load(std::memory_order_relaxed);
    while (seen > 1)
        if (pending.compare_exchange_weak(seen, seen - 1, std::memory_order_release, std::memory_order_relaxed)) return;
    // A waiter looks at the count under the lock, so it can't see zero before this thread is through with the barrier,
    // and can't miss the broadcast.
    const std::lock_guard guard(lock);
    if (pending.fetch_sub(1, std::memory_order_acq_rel) == 1) isDone.notify_all();
}

void SharedGroupBarrier::wait()
{
    std::unique_lock guard(lock);
    while (getPending() != 0)
        isDone.wait(guard);
}

bool SharedGroupBarrier::waitUntil(std::chrono::steady_clock::time_point limit)
{
    using Clock = std::chrono::steady_clock;
    std::unique_lock guard(lock);
    for (Clock::time_point now; getPending() != 0 && (now = Clock::now()) < limit;)
        isDone.wait_until(guard, limit - now > kSlice ? now + kSlice : limit);
    return getPending() == 0;
}
} // namespace zr
