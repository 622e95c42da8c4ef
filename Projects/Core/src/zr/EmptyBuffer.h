#pragma once

#include <zr/IBuffer.h>

namespace zr
{
/// The buffer of an empty content. The process has one, which is never destroyed.
class EmptyBuffer final : public RefCountedImpl<IBuffer>
{
public:
    static BufferRef get();

    const u8* data() const noexcept override { return nullptr; }
    u64 size() const noexcept override { return 0; }
    void destroy() noexcept override {}
};
} // namespace zr
