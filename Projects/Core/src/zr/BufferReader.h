#pragma once

#include <zr/IBuffer.h>
#include <zr/Reader.h>

namespace zr
{
/// Reads a buffer, of which it holds a reference; null reads as an empty one. It lends all that is left.
class BufferReader final : public Reader
{
public:
    explicit BufferReader(BufferRef content) noexcept;

    u64 read(void* destination, u64 count) override;
    u64 skip(u64 count) override;
    u64 remaining() const override { return buffer->size() - position; }
    std::span<const u8> peek() override { return buffer->bytes().subspan(position); }

private:
    const BufferRef buffer;
    u64 position = 0;
};
} // namespace zr
