#pragma once

#include <zr/containers.h>
#include <zr/tasks/ObjectPool.h>
#include <zrvfs/Drivers/ZRCZArchive.h>
#include <zrvfs/IDriver.h>

namespace zrvfs
{
/// A member of a ZRCZ archive. Its content is extracted when it is first asked for, and once.
class ZRCZFile final : public IFile
{
public:
    /// archive   open, and alive as long as `driver`
    /// realName  the member's name in the archive
    static FilePtr create(const DriverRef& driver, const ByteSource& archive, const ZRCZRecord& record,
                          std::string_view name, std::string_view realName);

    const char* name() const noexcept override { return fileName.c_str(); }
    const char* realName() const noexcept override { return fileRealName.c_str(); }
    zr::u64 read(void* destination, zr::u64 count) override;
    zr::u64 write(const void*, zr::u64) override { return 0; }
    zr::u64 tell() override { return position; }
    /// False, with nothing moved, for a position behind the end.
    bool seek(zr::u64 wanted) override;
    zr::u64 size() override { return record.size; }
    zr::BufferRef toBuffer() override;
    void destroy() noexcept override;
    /// False, with nothing moved, if fewer bytes are left.
    bool skip(zr::u64 count) override;

private:
    friend class zr::ObjectPool;
    ZRCZFile(const DriverRef& owner, const ByteSource& source, const ZRCZRecord& member, std::string_view name,
             std::string_view realName);

    const DriverRef driver;
    const ByteSource& archive;
    const ZRCZRecord record;
    const zr::string fileName;
    const zr::string fileRealName;
    zr::u64 position = 0;
    zr::BufferRef buffer; ///< null until it is needed
    bool isExtracted = false;
};
} // namespace zrvfs
