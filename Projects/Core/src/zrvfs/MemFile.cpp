#include <zrvfs/MemFile.h>

#include <algorithm>
#include <cstring>

#include <zr/tasks/ProcessPool.h>

namespace zrvfs
{
namespace
{
constinit zr::ProcessPool pool{sizeof(MemReader), 256, "Projects/Core/src/zrvfs/MemFile"};
} // namespace

MemReader::MemReader(const zr::BufferRef& content, std::string_view name, std::string_view realName)
    : buffer(content),
      fileName(name),
      fileRealName(realName)
{
}

FilePtr MemReader::create(const zr::BufferRef& content, std::string_view name, std::string_view realName)
{
    return FilePtr(pool.create<MemReader>(content, name, realName));
}

void MemReader::destroy() noexcept
{
    pool.destroy(this);
}

zr::u64 MemReader::read(void* destination, zr::u64 count)
{
    const zr::u64 given = std::min(count, buffer->size() - position);
    if (given != 0) std::memcpy(destination, buffer->data() + position, given);
    position += given;
    return given;
}

bool MemReader::seek(zr::u64 wanted)
{
    position = std::min(wanted, buffer->size());
    return true;
}

bool MemReader::skip(zr::u64 count)
{
    if (count > buffer->size() - position) return false;
    position += count;
    return true;
}
} // namespace zrvfs
