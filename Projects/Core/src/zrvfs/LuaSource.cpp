#include <zrvfs/LuaSource.h>

#include <utility>

#include <zrvfs/VFSManager.h>

namespace zrvfs
{
const char* LuaBufferReader::read(void*, std::size_t* size)
{
    const bool hasChunk = buffer && !std::exchange(isRead, true);
    *size = hasChunk ? static_cast<std::size_t>(buffer->size()) : 0;
    return hasChunk ? reinterpret_cast<const char*>(buffer->data()) : nullptr;
}

void LuaSource::open(std::unique_ptr<zr::ILuaReader>& reader, const char* path)
{
    const zr::BufferRef script = loadBuffer(path, true);
    reader = script ? std::make_unique<LuaBufferReader>(script) : nullptr;
}
} // namespace zrvfs
