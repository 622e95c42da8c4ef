#pragma once

#include <zr/Reader.h>

namespace zr
{
struct ReaderBlock;

/// A reader whose source is read in blocks of 8 MiB. It takes a block when a small read or a peek first needs one, and
/// keeps it to its end; up to 16 of them wait for the next reader. Large reads go straight to their destination.
class ReaderWithBuffer : public Reader
{
public:
    ~ReaderWithBuffer() override;

    u64 read(void* destination, u64 count) final;
    u64 skip(u64 count) final;
    u64 remaining() const final;
    std::span<const u8> peek() final;

protected:
    ReaderWithBuffer() = default;

    /// Bytes delivered; fewer than `count` at the end of the source alone. `count` is never 0.
    virtual u64 readRaw(void* destination, u64 count) = 0;
    /// Bytes that the source still holds, without those of the block.
    virtual u64 remainingRaw() const = 0;
    /// Bytes skipped.
    virtual u64 skipRaw(u64 count) = 0;

    /// The memory of a block that is held and has nothing to read, for `skipRaw` to write what nobody wants; else
    /// empty.
    std::span<u8> freeBlock() noexcept;

private:
    std::span<const u8> unread() const noexcept;
    /// Takes bytes off the block.
    u64 readBlock(void* destination, u64 count) noexcept;
    void takeBlock();
    /// Only for a block without unread bytes. It stays empty if the source raises.
    void refill();

    ReaderBlock* block = nullptr;
};
} // namespace zr
