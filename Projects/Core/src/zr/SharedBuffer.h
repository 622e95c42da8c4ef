#pragma once

#include <zr/IBuffer.h>

namespace zr
{
/// Bytes that lie directly behind the object, in one block of the heap with it. The size is final.
class SharedBuffer final : public RefCountedImpl<IBuffer>
{
public:
    /// The content is arbitrary. Exhaustion of memory ends the process.
    static RefPtr<SharedBuffer> create(u64 size);
    /// The same for a size that somebody else states: null if the heap has no such block.
    static RefPtr<SharedBuffer> tryCreate(u64 size);

    u8* data() noexcept { return reinterpret_cast<u8*>(this + 1); }
    const u8* data() const noexcept override { return reinterpret_cast<const u8*>(this + 1); }
    u64 size() const noexcept override { return length; }

    void destroy() noexcept override;

    /// Of the process: buffers that exist, and their bytes.
    struct Statistics
    {
        u64 live, liveBytes;
    };
    static Statistics statistics() noexcept;

private:
    explicit SharedBuffer(u64 size) noexcept;
    ~SharedBuffer() override;

    const u64 length;
};
} // namespace zr
