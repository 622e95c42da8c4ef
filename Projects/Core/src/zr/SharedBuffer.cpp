#include <zr/SharedBuffer.h>

#include <limits>
#include <new>

#include <zr/memory.h>

namespace zr
{
namespace
{
constinit std::atomic<u64> live{0}, liveBytes{0};
} // namespace

SharedBuffer::SharedBuffer(u64 size) noexcept : length(size)
{
    live.fetch_add(1, std::memory_order_relaxed);
    liveBytes.fetch_add(size, std::memory_order_relaxed);
}

SharedBuffer::~SharedBuffer()
{
    live.fetch_sub(1, std::memory_order_relaxed);
    liveBytes.fetch_sub(length, std::memory_order_relaxed);
}

RefPtr<SharedBuffer> SharedBuffer::create(u64 size)
{
    // With the object in front the sum could wrap.
    if (size > std::numeric_limits<u64>::max() - sizeof(SharedBuffer))
        outOfMemoryHandler("SharedBuffer", static_cast<i64>(size));
    void* const memory = zr_malloc(sizeof(SharedBuffer) + size);
    return RefPtr<SharedBuffer>(new (memory) SharedBuffer(size));
}

RefPtr<SharedBuffer> SharedBuffer::tryCreate(u64 size)
{
    if (size > std::numeric_limits<u64>::max() - sizeof(SharedBuffer)) return nullptr;
    void* const memory = std::malloc(sizeof(SharedBuffer) + size);
    return memory ? RefPtr<SharedBuffer>(new (memory) SharedBuffer(size)) : nullptr;
}

void SharedBuffer::destroy() noexcept
{
    this->~SharedBuffer();
    std::free(this);
}

SharedBuffer::Statistics SharedBuffer::statistics() noexcept
{
    return {live, liveBytes};
}
} // namespace zr
