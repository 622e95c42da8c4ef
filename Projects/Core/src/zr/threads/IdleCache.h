#pragma once

#include <array>
#include <atomic>
#include <utility>

#include <zr/types.h>

namespace zr
{
/// Up to `kCount` idle objects that wait for their next use. Free of locks; any thread may call anything at any time.
///
/// Two stacks lie over one array of entries: one of the entries that are free, one of those that hold an object. An
/// entry is always on one of them, or in the hands of the thread that took it off.
///
///     head    | tag 16 | index 16 |    kCount as the index: empty
///     entry   next index, object
///
/// The tag rises with every change of a head: a pop that read its entry's `next` before the entry was popped and pushed
/// again by others sees another tag and tries again.
///
/// Orders: a push releases what its thread wrote into the entry, a pop acquires it, and all other changes of the head
/// are read-modify-writes, which continue the release sequence. `next` alone is read by threads that don't own the
/// entry; the tag decides whether what they read counts.
///
/// It needs no destructor, so a static destructor may still give objects to one; `IdleCacheDrain` empties it before.
template <class T, u16 kCount>
class alignas(64) IdleCache
{
public:
    constexpr IdleCache() noexcept : IdleCache(std::make_index_sequence<kCount>{}) {}

    /// An idle object, which is the caller's now; null if there is none.
    T* take() noexcept
    {
        const u16 index = pop(filled);
        if (index == kCount) return nullptr;
        T* const object = entries[index].object;
        push(free, index);
        return object;
    }

    /// Keeps an object; false, and it stays the caller's, if there are `kCount` already.
    bool give(T* object) noexcept
    {
        const u16 index = pop(free);
        if (index == kCount) return false;
        entries[index].object = object;
        push(filled, index);
        return true;
    }

private:
    struct Entry
    {
        std::atomic<u16> next;
        T* object = nullptr;
    };
    using Head = std::atomic<u32>;

    /// All entries are free, in their order.
    template <std::size_t... kIndex>
    constexpr explicit IdleCache(std::index_sequence<kIndex...>) noexcept
        : entries{{Entry{static_cast<u16>(kIndex + 1)}...}}
    {
    }

    static u32 word(u32 old, u16 index) noexcept { return (((old >> 16) + 1) << 16) | index; }

    u16 pop(Head& head) noexcept
    {
        u32 old = head.load(std::memory_order_acquire);
        while (static_cast<u16>(old) != kCount)
        {
            const auto index = static_cast<u16>(old);
            const u16 next = entries[index].next.load(std::memory_order_relaxed);
            if (head.compare_exchange_weak(old, word(old, next), std::memory_order_acq_rel, std::memory_order_acquire))
                return index;
        }
        return kCount;
    }

    void push(Head& head, u16 index) noexcept
    {
        u32 old = head.load(std::memory_order_relaxed);
        do
            entries[index].next.store(static_cast<u16>(old), std::memory_order_relaxed);
        while (
            !head.compare_exchange_weak(old, word(old, index), std::memory_order_acq_rel, std::memory_order_relaxed));
    }

    Head free{0};
    Head filled{kCount};
    std::array<Entry, kCount> entries;
};

/// A static object of this type ends what is idle in a cache when the process ends.
template <auto& cache, auto end>
struct IdleCacheDrain
{
    ~IdleCacheDrain()
    {
        while (auto* const object = cache.take())
            end(object);
    }
};
} // namespace zr
