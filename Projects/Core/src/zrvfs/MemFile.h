#pragma once

#include <zr/containers.h>
#include <zr/tasks/ObjectPool.h>
#include <zrvfs/IFile.h>

namespace zrvfs
{
/// A file whose whole content is in memory.
class MemReader final : public IFile
{
public:
    static FilePtr create(const zr::BufferRef& content, std::string_view name, std::string_view realName);

    const char* name() const noexcept override { return fileName.c_str(); }
    const char* realName() const noexcept override { return fileRealName.c_str(); }
    zr::u64 read(void* destination, zr::u64 count) override;
    zr::u64 write(const void*, zr::u64) override { return 0; }
    zr::u64 tell() override { return position; }
    /// A position behind the end counts as the end.
    bool seek(zr::u64 wanted) override;
    zr::u64 size() override { return buffer->size(); }
    zr::BufferRef toBuffer() override { return buffer; }
    void destroy() noexcept override;
    /// False, with nothing moved, if fewer bytes are left.
    bool skip(zr::u64 count) override;

private:
    friend class zr::ObjectPool;
    MemReader(const zr::BufferRef& content, std::string_view name, std::string_view realName);

    zr::BufferRef buffer;
    zr::u64 position = 0;
    zr::string fileName;
    zr::string fileRealName;
};
} // namespace zrvfs
