#include <zrvfs/MappedFileBuffer.h>

#include <zr/log/Log.h>
#include <zr/tasks/ProcessPool.h>

namespace zrvfs
{
namespace
{
constinit zr::ProcessPool pool{sizeof(MappedFileBuffer), 512, "Projects/Core/src/zrvfs/MappedFileBuffer"};
} // namespace

zr::RefPtr<MappedFileBuffer> MappedFileBuffer::create(platform::FileHandle file, zr::u64 size)
{
    zr::RefPtr<MappedFileBuffer> buffer(pool.create<MappedFileBuffer>());
    if (size != 0) static_cast<void>(platform::mapFile(file, size, buffer->mapping)); // else it stays empty
    static_cast<void>(platform::closeFile(file));
    return buffer;
}

void MappedFileBuffer::destroy() noexcept
{
    if (mapping.size != 0 && !platform::unmapFile(mapping))
        ZR_LOG(zr::log::kCoreTag, zr::log::kError, "A mapped file has shrunk; what it lost was read as zeros.");
    pool.destroy(this);
}
} // namespace zrvfs
