#include "io/MemBinaryFileW.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace model
{
namespace
{
constexpr std::size_t kPageSize = 4096;

/// From so many bytes on, a copy costs more than a write of its own to the disk.
constexpr std::size_t kLong = std::size_t{32} << 10;
} // namespace

MemBinaryFileW::MemBinaryFileW() : strings(kPageSize)
{
    bytes.insert(0, 0);
    moveToEnd();
}

std::size_t MemBinaryFileW::write(const void* data, std::size_t size)
{
    if (size > 0) std::memcpy(append(size), data, size);
    return size;
}

u8* MemBinaryFileW::append(std::size_t size)
{
    const bool wasAtEnd = isAtEnd();
    settle();
    const std::size_t place = std::min(cursor, bytes.size());
    u8* const room = bytes.insert(place, size);
    if (!wasAtEnd)
        for (Reference& reference : references)
            if (reference.position >= place) reference.position += size;
    cursor = place + size;
    if (wasAtEnd || cursor == bytes.size()) moveToEnd();
    return room;
}

void MemBinaryFileW::writeLasting(const void* data, std::size_t size)
{
    if (size < kLong || !isAtEnd())
        write(data, size);
    else
        references.push_back({tell(), {static_cast<const u8*>(data), size}});
}

void MemBinaryFileW::reserve(std::size_t count)
{
    const bool wasAtEnd = isAtEnd();
    settle();
    bytes.reserve(count);
    if (wasAtEnd) moveToEnd();
}

void MemBinaryFileW::seek(std::size_t position)
{
    settle();
    cursor = position;
    if (position == bytes.size()) moveToEnd();
}

std::size_t MemBinaryFileW::tell() const
{
    return isAtEnd() ? static_cast<std::size_t>(next - bytes.data()) : cursor;
}

void MemBinaryFileW::writeString(std::string_view text)
{
    writeU32(strings.indexOf(text));
}

const ByteBuffer& MemBinaryFileW::getBytes()
{
    if (isAtEnd()) bytes.setEnd(next);
    return bytes;
}

FileParts MemBinaryFileW::takeParts()
{
    settle();
    FileParts taken;
    std::size_t done = 0;
    const auto takeOwn = [&](std::size_t end)
    {
        if (end > done) taken.parts.emplace_back(bytes.data() + done, end - done);
        done = end;
    };
    for (const Reference& reference : references)
    {
        takeOwn(reference.position);
        taken.parts.push_back(reference.bytes);
    }
    takeOwn(bytes.size());
    taken.own = std::move(bytes);
    bytes = ByteBuffer();
    references.clear();
    seek(0);
    return taken;
}

void MemBinaryFileW::settle()
{
    if (!isAtEnd()) return;
    bytes.setEnd(next);
    cursor = bytes.size();
    next = limit = nullptr;
}

void MemBinaryFileW::moveToEnd()
{
    next = bytes.end();
    limit = bytes.endOfRoom();
}
} // namespace model
