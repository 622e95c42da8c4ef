#include "io/ByteBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <zr/memory.h>

namespace model
{
namespace
{
/// The room kept free in front. It costs address space only: pages that nobody writes to take no memory.
constexpr std::size_t kRoomInFront = 256 * 1024;
constexpr std::size_t kFirstCapacity = 4096;
} // namespace

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
{
    *this = std::move(other);
}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept
{
    std::swap(block, other.block);
    std::swap(first, other.first);
    std::swap(last, other.last);
    std::swap(capacity, other.capacity);
    return *this;
}

ByteBuffer::~ByteBuffer()
{
    std::free(block);
}

u8* ByteBuffer::insert(std::size_t position, std::size_t count)
{
    const std::size_t behind = size() - position;
    if (position < behind && count <= first)
    {
        std::memmove(block + first - count, block + first, position);
        first -= count;
    }
    else
    {
        makeRoomBehind(count);
        u8* const place = data() + position;
        std::memmove(place + count, place, behind);
        last += count;
    }
    return data() + position;
}

void ByteBuffer::makeRoomBehind(std::size_t count)
{
    if (capacity - last >= count && block) return;
    if (!block)
    {
        first = last = kRoomInFront;
        capacity = kRoomInFront + kFirstCapacity;
    }
    const std::size_t used = capacity - first;
    capacity = first + std::max(used + used / 2, last - first + count);
    block = static_cast<u8*>(zr_realloc(block, capacity));
}
} // namespace model
