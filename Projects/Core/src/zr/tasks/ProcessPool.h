#pragma once

#include <atomic>

#include <zr/tasks/ObjectPool.h>

namespace zr
{
/// A pool that the whole process shares: `constinit` where it is defined, made at its first use on any thread, and
/// never destroyed, so that a static destructor may still give an object back.
///
/// In the child of a fork the parent's pool may be in the middle of a step of a thread that isn't there. It is left
/// alone, and a new one takes its place at the first use; objects of the old one may go to it.
class ProcessPool
{
public:
    /// As the constructor of `ObjectPool`.
    constexpr ProcessPool(u32 size, u32 perChunk, const char* poolLabel) noexcept
        : elementSize(size),
          elementsPerChunk(perChunk),
          label(poolLabel)
    {
    }

    ObjectPool& get()
    {
        Made* const known = made.load(std::memory_order_acquire);
        return known && known->fork == forks.load(std::memory_order_relaxed) ? known->pool : make(known);
    }

    template <class T, class... Args>
    T* create(Args&&... args)
    {
        return get().create<T>(std::forward<Args>(args)...);
    }
    template <class T>
    void destroy(T* object) noexcept
    {
        get().destroy(object);
    }

private:
    struct Made
    {
        ObjectPool pool;
        u32 fork;     ///< of which fork's child, of all that led to this process
        Made* before; ///< the parent's: kept, as objects of it may be in use
    };

    ObjectPool& make(Made* known);

    static std::atomic<u32> forks;
    static const bool countsForks;

    const u32 elementSize;
    const u32 elementsPerChunk;
    const char* const label;
    std::atomic<Made*> made{nullptr};
};
} // namespace zr
