#pragma once

#include <zr/IBuffer.h>
#include <zr/ILuaSource.h>

namespace zrvfs
{
/// A script in memory, which comes as one chunk.
class LuaBufferReader final : public zr::ILuaReader
{
public:
    explicit LuaBufferReader(const zr::BufferRef& script) : buffer(script) {}

    const char* read(void* context, std::size_t* size) override;
    bool isEnd() const override { return !buffer; }

private:
    const zr::BufferRef buffer;
    bool isRead = false;
};

/// Loads scripts as `loadBuffer` does, quietly.
class LuaSource final : public zr::ILuaSourceImpl
{
public:
    void open(std::unique_ptr<zr::ILuaReader>& reader, const char* path) override;
};
} // namespace zrvfs
