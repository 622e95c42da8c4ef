#pragma once

#include <memory>

#include <zr/ILuaReader.h>

namespace zr
{
/// Opens scripts by path.
class ILuaSource
{
public:
    /// Sets `reader`, to null if there is no such script. `path` is zero-terminated.
    virtual void open(std::unique_ptr<ILuaReader>& reader, const char* path) = 0;

protected:
    ~ILuaSource() = default;
};

/// The base of the sources that there are: one that can be deleted.
class ILuaSourceImpl : public ILuaSource
{
public:
    virtual ~ILuaSourceImpl() = default;
};
} // namespace zr
