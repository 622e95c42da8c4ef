#pragma once

#include <span>

#include <zr/RefCounted.h>

namespace zr
{
/// A whole content in memory. Shared between threads by references; what it holds doesn't change once it is handed out.
class IBuffer : public RefCounted
{
public:
    /// The first byte; null is possible for an empty content alone.
    virtual const u8* data() const noexcept = 0;
    /// Bytes in use.
    virtual u64 size() const noexcept = 0;

    std::span<const u8> bytes() const noexcept { return {data(), static_cast<std::size_t>(size())}; }

    virtual ~IBuffer() = default;
};

using BufferRef = RefPtr<IBuffer>;
} // namespace zr
