#pragma once

#include <cstddef>

#include "base/types.h"

namespace model
{
/// Bytes on the heap with free room on both sides, so that they can grow at the end and take a few more near their
/// start without moving. Movable, not copyable: a file's bytes exist once.
class ByteBuffer
{
public:
    ByteBuffer() = default;
    ByteBuffer(ByteBuffer&& other) noexcept;
    ByteBuffer& operator=(ByteBuffer&& other) noexcept;
    ~ByteBuffer();

    const u8* data() const { return block + first; }
    u8* data() { return block + first; }
    std::size_t size() const { return last - first; }

    /// Makes room for `count` more bytes behind the end at once; they cost memory only when they are filled.
    void reserve(std::size_t count) { makeRoomBehind(count); }

    /// Room for `count` bytes before `position` (at most `size()`); what is shorter of the two sides moves away. The
    /// caller fills the room.
    u8* insert(std::size_t position, std::size_t count);

    /// The free bytes behind the end, for a caller that fills some and then calls `setEnd`.
    u8* end() { return block + last; }
    u8* endOfRoom() { return block + capacity; }
    void setEnd(const u8* end) { last = static_cast<std::size_t>(end - block); }

private:
    void makeRoomBehind(std::size_t count);

    u8* block = nullptr;
    std::size_t first = 0;
    std::size_t last = 0;
    std::size_t capacity = 0;
};
} // namespace model
