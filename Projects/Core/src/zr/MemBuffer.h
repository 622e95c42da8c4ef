#pragma once

#include <zr/IBuffer.h>
#include <zr/tasks/ObjectPool.h>

namespace zr
{
/// Bytes in a block of their own, at an address that 16 divides. Objects and their blocks are used again: up to 128 of
/// them wait in a cache, which is free of locks.
class MemBuffer final : public RefCountedImpl<IBuffer>
{
public:
    /// A buffer of `size` bytes, whose content is arbitrary. Exhaustion of memory ends the process, as "zr_realloc".
    static RefPtr<MemBuffer> acquire(u64 size);
    /// The same for a size that somebody else states: null if the heap has no such block.
    static RefPtr<MemBuffer> tryAcquire(u64 size);

    u8* data() noexcept { return block; }
    const u8* data() const noexcept override { return block; }
    u64 size() const noexcept override { return used; }

    /// Sets the size. The block grows to exactly `size` bytes if it is smaller, and keeps its content.
    void setSize(u64 size);

    /// Puts the buffer into the cache, or gives its memory back if that is full.
    void destroy() noexcept override;

    /// Of the process, for whoever watches it. "Live" are the buffers that somebody holds, with the capacity of their
    /// blocks.
    struct Statistics
    {
        u64 live, liveBytes;
        u64 mostLive, mostLiveBytes;
        u64 idle;
    };
    static Statistics statistics() noexcept;

private:
    friend class ObjectPool;

    MemBuffer() = default;
    ~MemBuffer() override;

    /// Takes another block if this one is smaller; its content goes. False, and there is no block, if the heap has
    /// none.
    bool provide(u64 size);

    u8* block = nullptr;
    u64 used = 0;
    u64 capacity = 0;
};
} // namespace zr
