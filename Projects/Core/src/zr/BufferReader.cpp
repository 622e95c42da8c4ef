#include <zr/BufferReader.h>

#include <algorithm>
#include <cstring>

#include <zr/EmptyBuffer.h>

namespace zr
{
BufferReader::BufferReader(BufferRef content) noexcept : buffer(content ? std::move(content) : EmptyBuffer::get()) {}

u64 BufferReader::read(void* destination, u64 count)
{
    const u64 amount = std::min(count, remaining());
    if (amount > 0) std::memcpy(destination, buffer->data() + position, amount);
    position += amount;
    return amount;
}

u64 BufferReader::skip(u64 count)
{
    const u64 amount = std::min(count, remaining());
    position += amount;
    return amount;
}
} // namespace zr
