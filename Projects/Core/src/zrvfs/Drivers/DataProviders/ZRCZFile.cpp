#include <zrvfs/Drivers/DataProviders/ZRCZFile.h>

#include <algorithm>
#include <cstring>

#include <zr/tasks/ProcessPool.h>

namespace zrvfs
{
namespace
{
constinit zr::ProcessPool pool{sizeof(ZRCZFile), 512, "Projects/Core/src/zrvfs/Drivers/DataProviders/ZRCZFile"};
} // namespace

ZRCZFile::ZRCZFile(const DriverRef& owner, const ByteSource& source, const ZRCZRecord& member, std::string_view name,
                   std::string_view realName)
    : driver(owner),
      archive(source),
      record(member),
      fileName(name),
      fileRealName(realName)
{
}

FilePtr ZRCZFile::create(const DriverRef& driver, const ByteSource& archive, const ZRCZRecord& record,
                         std::string_view name, std::string_view realName)
{
    return FilePtr(pool.create<ZRCZFile>(driver, archive, record, name, realName));
}

void ZRCZFile::destroy() noexcept
{
    pool.destroy(this);
}

zr::BufferRef ZRCZFile::toBuffer()
{
    if (!isExtracted) buffer = extract(archive, record, fileName);
    isExtracted = true;
    return buffer;
}

zr::u64 ZRCZFile::read(void* destination, zr::u64 count)
{
    const zr::BufferRef content = toBuffer();
    if (!content) return 0;
    const zr::u64 given = std::min(count, record.size - position);
    if (given != 0) std::memcpy(destination, content->data() + position, given);
    position += given;
    return given;
}

bool ZRCZFile::seek(zr::u64 wanted)
{
    if (wanted > record.size) return false;
    position = wanted;
    return true;
}

bool ZRCZFile::skip(zr::u64 count)
{
    return count <= record.size - position && seek(position + count);
}
} // namespace zrvfs
