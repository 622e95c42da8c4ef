#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <string_view>

#include <zr/Ptr.h>
#include <zr/threads/CriticalSection.h>

namespace zr
{
/// Counts what is outstanding in a group of tasks, and lets threads wait until nothing is.
///
/// The last owner's release waits too, so a group never outlives its barrier: whoever drops the last reference blocks
/// until the last task of the group is done. All operations are safe on any thread.
class SharedGroupBarrier : public SharedLite
{
public:
    /// Waits for the group, then ends the barrier and gives its memory back to the pool of barriers.
    struct Deleter
    {
        void operator()(SharedGroupBarrier* barrier) const;
    };
    using BarrierPtr = Ptr<SharedGroupBarrier, Deleter>;

    /// A longer name keeps its last characters.
    static constexpr std::size_t kMaxName = 62;

    static BarrierPtr create(std::string_view name);

    /// One more is outstanding.
    void add() noexcept { pending.fetch_add(1, std::memory_order_relaxed); }
    /// One less. The caller holds a reference, or is counted by somebody who does.
    void done();
    /// Returns when nothing is outstanding.
    void wait();
    /// The same until a point of time at most; tells whether nothing is outstanding.
    bool waitUntil(std::chrono::steady_clock::time_point limit);

    u32 getPending() const noexcept { return pending.load(std::memory_order_acquire); }
    std::string_view getName() const noexcept { return {name.data(), nameLength}; }

private:
    friend class ObjectPool;

    explicit SharedGroupBarrier(std::string_view text) noexcept;
    ~SharedGroupBarrier() = default;

    CriticalSection lock;
    std::condition_variable_any isDone;
    /// Only the step to zero and the test for it are under the lock.
    std::atomic<u32> pending{0};
    u8 nameLength = 0;
    std::array<char, kMaxName> name;
};

using BarrierPtr = SharedGroupBarrier::BarrierPtr;
} // namespace zr
