#pragma once

#include <platform/mapping.h>
#include <zr/IBuffer.h>
#include <zr/tasks/ObjectPool.h>

namespace zrvfs
{
/// A file's content that is read where the system keeps it, without a copy. Where the file shrinks meanwhile, what it
/// lost reads as zeros; the end of the buffer logs that.
class MappedFileBuffer final : public zr::RefCountedImpl<zr::IBuffer>
{
public:
    /// Maps the first `size` bytes of an open file, which it takes over. A file that can't be mapped gives an empty
    /// buffer.
    static zr::RefPtr<MappedFileBuffer> create(platform::FileHandle file, zr::u64 size);

    const zr::u8* data() const noexcept override { return mapping.data; }
    zr::u64 size() const noexcept override { return mapping.size; }
    void destroy() noexcept override;

private:
    friend class zr::ObjectPool;
    MappedFileBuffer() = default;

    platform::Mapping mapping;
};
} // namespace zrvfs
