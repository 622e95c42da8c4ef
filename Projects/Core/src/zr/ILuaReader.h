#pragma once

#include <cstddef>

namespace zr
{
/// Gives the chunks of one script to a loader in the manner of Lua's.
class ILuaReader
{
public:
    virtual ~ILuaReader() = default;
    /// The next chunk and its size, valid until the next call; null and 0 behind the last. `context` is the loader's
    /// own.
    virtual const char* read(void* context, std::size_t* size) = 0;
    /// Whether there is nothing to read at all.
    virtual bool isEnd() const = 0;
};
} // namespace zr
