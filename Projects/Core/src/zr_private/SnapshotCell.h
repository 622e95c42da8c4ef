#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include <platform/waiting.h>
#include <zr/types.h>

namespace zr
{
/// A lock for the few instructions that it takes to copy or swap a pointer: one word, which waiters sleep on.
///
///     0 free ─lock─> 1 locked ─wait─> 2 locked, with waiters        unlock: 1 or 2 ─> 0, waking whoever waits at 2
class WordLock
{
public:
    void lock() noexcept
    {
        u32 seen = 0;
        if (word.compare_exchange_strong(seen, 1, std::memory_order_acquire, std::memory_order_relaxed)) return;
        // Whoever had to wait takes the lock in state 2: there may be more waiters, and one wake-up too many does no
        // harm.
        while (word.exchange(2, std::memory_order_acquire) != 0)
            word.wait(2, std::memory_order_relaxed);
    }
    void unlock() noexcept
    {
        if (word.exchange(0, std::memory_order_release) == 2) word.notify_all();
    }

private:
    std::atomic<u32> word{0};
};

/// A shared pointer to something that is never changed but replaced as a whole. Readers take a snapshot, which stays as
/// it is for as long as they hold it; writers copy, change the copy and put it in, unless somebody else was faster.
///
/// Why not the standard's atomic shared pointer: its load ends with a relaxed store in the releases that this is built
/// with, which leaves the copy of the pointer unordered with the next writer's change.
template <class T>
class SnapshotCell
{
public:
    using Snapshot = std::shared_ptr<const T>;

    explicit SnapshotCell(Snapshot first) : value(std::move(first)) {}

    Snapshot load() const
    {
        const std::lock_guard guard(lock);
        return value;
    }

    /// Brings a snapshot up to date. Costs one load when it is.
    void refresh(Snapshot& snapshot, u64& snapshotVersion) const
    {
        if (snapshot && version.load(std::memory_order_acquire) == snapshotVersion) return;
        Snapshot old;
        const std::lock_guard guard(lock);
        old.swap(snapshot); // it may be the last owner, and goes behind the lock
        snapshot = value;
        snapshotVersion = version.load(std::memory_order_relaxed);
    }

    /// Puts `next` in the place of `expected`; false, with nothing changed, when something else stands there by now.
    bool replace(const Snapshot& expected, Snapshot next)
    {
        const std::lock_guard guard(lock);
        if (value != expected) return false;
        value.swap(next);
        version.fetch_add(1, std::memory_order_release);
        return true;
    }

private:
    mutable WordLock lock;
    Snapshot value;
    std::atomic<u64> version{0};
};
} // namespace zr
