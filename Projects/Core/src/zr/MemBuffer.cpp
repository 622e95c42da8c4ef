#include <zr/MemBuffer.h>

#include <algorithm>
#include <limits>

#include <platform/memory.h>
#include <zr/memory.h>
#include <zr/tasks/ProcessPool.h>
#include <zr/threads/IdleCache.h>

namespace zr
{
namespace
{
constexpr u64 kSmallestCapacity = 1024;
constexpr u64 kLargestSize = std::numeric_limits<std::ptrdiff_t>::max();

static_assert(alignof(std::max_align_t) >= 16, "the heap aligns blocks as buffers promise");
static_assert(sizeof(std::size_t) == sizeof(u64), "sizes are handed to the heap as they are");

/// A count with the highest value that it had.
struct Watched
{
    void add(u64 change) noexcept
    {
        const u64 value = now.fetch_add(change, std::memory_order_relaxed) + change;
        u64 seen = most.load(std::memory_order_relaxed);
        while (seen < value && !most.compare_exchange_weak(seen, value, std::memory_order_relaxed))
            ;
    }
    void subtract(u64 change) noexcept { now.fetch_sub(change, std::memory_order_relaxed); }

    std::atomic<u64> now{0};
    std::atomic<u64> most{0};
};

constinit Watched live, liveBytes;
constinit std::atomic<u64> idleCount{0};
constinit ProcessPool pool{sizeof(MemBuffer), 256, "Projects/Core/src/zr/MemBuffer"};
constinit IdleCache<MemBuffer, 128> idle;

void end(MemBuffer* buffer) noexcept
{
    pool.destroy(buffer);
}

const IdleCacheDrain<idle, end> drain;
} // namespace

RefPtr<MemBuffer> MemBuffer::acquire(u64 size)
{
    RefPtr<MemBuffer> buffer = tryAcquire(size);
    if (!buffer) outOfMemoryHandler("zr_realloc", static_cast<i64>(size));
    return buffer;
}

RefPtr<MemBuffer> MemBuffer::tryAcquire(u64 size)
{
    if (size > kLargestSize) return nullptr;
    MemBuffer* const known = idle.take();
    if (known) idleCount.fetch_sub(1, std::memory_order_relaxed);
    RefPtr<MemBuffer> buffer(known ? known : pool.create<MemBuffer>());
    const bool isProvided = buffer->provide(known ? size : std::max(size, kSmallestCapacity));
    live.add(1);
    liveBytes.add(buffer->capacity);
    if (!isProvided) return nullptr;
    buffer->used = size;
    return buffer;
}

MemBuffer::~MemBuffer()
{
    std::free(block);
}

bool MemBuffer::provide(u64 size)
{
    if (size <= capacity) return true;
    std::free(block);
    block = static_cast<u8*>(std::malloc(size));
    capacity = block ? size : 0;
    if (block) platform::preferLargePages(block, size);
    return block;
}

void MemBuffer::setSize(u64 size)
{
    if (size > capacity)
    {
        block = static_cast<u8*>(zr_realloc(block, size));
        liveBytes.add(size - capacity);
        capacity = size;
    }
    used = size;
}

void MemBuffer::destroy() noexcept
{
    live.subtract(1);
    liveBytes.subtract(capacity);
    used = 0;
    // Counted first: once it is in the cache another thread may take it.
    idleCount.fetch_add(1, std::memory_order_relaxed);
    if (idle.give(this)) return;
    idleCount.fetch_sub(1, std::memory_order_relaxed);
    end(this);
}

MemBuffer::Statistics MemBuffer::statistics() noexcept
{
    return {live.now, liveBytes.now, live.most, liveBytes.most, idleCount};
}
} // namespace zr
