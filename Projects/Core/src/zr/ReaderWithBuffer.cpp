#include <zr/ReaderWithBuffer.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include <zr/memory.h>
#include <zr/threads/IdleCache.h>

namespace zr
{
struct ReaderBlock
{
    static constexpr u64 kCapacity = 0x800000;

    u64 position = 0;
    u64 end = 0;
    std::array<u8, kCapacity> data;
};

namespace
{
/// Smaller reads are worth a block.
constexpr u64 kSmallRead = 0x20000;
/// Of this much and more, a second copy would cost more than a call to the source.
constexpr u64 kLargeRest = ReaderBlock::kCapacity / 2;

constinit IdleCache<ReaderBlock, 16> idle;

void end(ReaderBlock* block) noexcept
{
    std::free(block);
}

const IdleCacheDrain<idle, end> drain;
} // namespace

ReaderWithBuffer::~ReaderWithBuffer()
{
    if (block && !idle.give(block)) end(block);
}

u64 ReaderWithBuffer::read(void* destination, u64 count)
{
    if (!block && count > 0 && count < kSmallRead) takeBlock();
    const u64 fromBlock = readBlock(destination, count);
    const u64 rest = count - fromBlock;
    if (rest == 0) return count;
    u8* const behind = static_cast<u8*>(destination) + fromBlock;
    if (!block || rest >= kLargeRest) return fromBlock + readRaw(behind, rest);
    refill();
    return fromBlock + readBlock(behind, rest);
}

u64 ReaderWithBuffer::skip(u64 count)
{
    const u64 fromBlock = std::min<u64>(count, unread().size());
    if (fromBlock > 0) block->position += fromBlock;
    const u64 rest = count - fromBlock;
    return rest > 0 ? fromBlock + skipRaw(rest) : count;
}

u64 ReaderWithBuffer::remaining() const
{
    return unread().size() + remainingRaw();
}

std::span<const u8> ReaderWithBuffer::peek()
{
    if (unread().empty())
    {
        if (!block) takeBlock();
        refill();
    }
    return unread();
}

std::span<u8> ReaderWithBuffer::freeBlock() noexcept
{
    return block && unread().empty() ? std::span<u8>(block->data) : std::span<u8>();
}

std::span<const u8> ReaderWithBuffer::unread() const noexcept
{
    if (!block) return {};
    return {block->data.data() + block->position, static_cast<std::size_t>(block->end - block->position)};
}

u64 ReaderWithBuffer::readBlock(void* destination, u64 count) noexcept
{
    const u64 amount = std::min<u64>(count, unread().size());
    if (amount == 0) return 0;
    std::memcpy(destination, unread().data(), amount);
    block->position += amount;
    return amount;
}

void ReaderWithBuffer::takeBlock()
{
    block = idle.take();
    if (!block) block = static_cast<ReaderBlock*>(zr_malloc(sizeof(ReaderBlock)));
    new (block) ReaderBlock; // empty; the data stay as they are
}

void ReaderWithBuffer::refill()
{
    block->position = block->end = 0;
    block->end = readRaw(block->data.data(), ReaderBlock::kCapacity);
}
} // namespace zr
