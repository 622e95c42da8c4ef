#pragma once

#include <array>
#include <atomic>
#include <new>
#include <utility>

#include <zr/threads/HeldList.h>
#include <zr/threads/threadIndex.h>
#include <zr/types.h>

namespace zr
{
/// Memory for objects of one size that come and go often, on any thread. It grows by chunks and gives none back while
/// it lives.
///
///     slot of thread 0   loaded: element ─ element          spare: a whole batch      Each thread has a slot of its
///     own, slot of thread 1   loaded: element                    spare: none               which no other thread
///     touches.
///     ...
///     shared             batch ─ batch ─ batch              each a chain of elements
///     chunks             chunk ─ chunk
///
/// Most calls are a few plain reads and writes in the slot. A slot without elements takes a batch from the shared list,
/// one with two full batches gives one back; either is a single step on the list, whatever the batch's length. Threads
/// without a slot use the shared list alone.
///
/// An element may be released by another thread than the one that acquired it. What lies in the slot of a thread that
/// ended serves the next thread with its number; `threadIndex` orders the accesses of the two.
class ObjectPool
{
public:
    /// elementSize  in bytes; rounded up to hold a free element's links, and to the alignment
    /// label        kept, not copied: for whoever looks at a memory dump
    ObjectPool(u32 elementSize, u32 elementsPerChunk, const char* label, u32 alignmentMask = 7);
    ObjectPool(const ObjectPool&) = delete;
    ObjectPool& operator=(const ObjectPool&) = delete;
    /// Marks the free elements and frees all chunks. Nothing may be in use, on no thread.
    ~ObjectPool();

    /// Memory for one element, never null. Its content is arbitrary.
    void* acquire();
    /// Gives back what `acquire` gave, on any thread.
    void release(void* memory) noexcept;

    /// An object in an element; what its constructor raises leaves the pool as it was.
    template <class T, class... Args>
    T* create(Args&&... args)
    {
        void* const memory = acquire();
        try
        {
            return new (memory) T(std::forward<Args>(args)...);
        }
        catch (...)
        {
            release(memory);
            throw;
        }
    }
    template <class T>
    void destroy(T* object) noexcept
    {
        object->~T();
        release(object);
    }

    u32 getChunkCount() const noexcept { return chunkCount.load(std::memory_order_relaxed); }
    /// Exact while no other thread uses the pool.
    u32 getInUseCount() const noexcept;
    const char* getLabel() const noexcept { return label; }

private:
    static constexpr u32 kBatch = 32;

    /// A free element. `next` and `size` mean something for the first one of a batch alone.
    struct Element
    {
        Element* next = nullptr;    ///< the next batch on the shared list
        Element* inBatch = nullptr; ///< the next element of the same batch
        u32 size = 1;
    };
    struct Chunk
    {
        Chunk* next = nullptr;
    };
    struct alignas(64) Slot
    {
        Element* loaded = nullptr;
        u32 loadedCount = 0;
        /// Acquired less released on this slot. Its owner alone writes it; only the sum of all slots means something.
        std::atomic<u32> inUse{0};
        /// A full batch or null.
        Element* spare = nullptr;
    };

    void refill(Slot& slot);
    Element* popBatch();
    void pushBatch(Element* first, u32 size) noexcept;
    /// Adds a chunk: one batch of it for the caller, the others on the shared list.
    Element* grow();
    static void mark(Element* first) noexcept;

    const u32 alignmentMask;
    const u32 elementSize;
    const u32 elementsPerChunk;
    std::atomic<u32> chunkCount{0};
    HeldList<Chunk> chunks;
    HeldList<Element> batches;
    /// Acquired less released by threads without a slot.
    std::atomic<u32> inUseWithoutSlot{0};
    const char* const label;
    std::array<Slot, kMaxThreadIndices> slots;
};
} // namespace zr
