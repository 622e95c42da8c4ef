#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <zr/log/Control.h>
#include <zrvfs/ByteSource.h>
#include <zrvfs/EntryPaths.h>

/// What the fuzz targets share. Each hands arbitrary bytes to one function; a promise that is broken stops the program.
namespace fuzz
{
inline void check(bool holds)
{
    if (!holds) std::abort();
}

/// Refusals are logged; millions of them say nothing.
inline const bool isQuiet = (zr::log::setDebuggerOnly(true), true);

class Bytes final : public zrvfs::ByteSource
{
public:
    Bytes(const std::uint8_t* first, std::size_t count) : data(first), bytes(count) {}

    zr::u64 size() const override { return bytes; }
    zr::u64 readAt(zr::u64 offset, void* destination, zr::u64 count) const override
    {
        const zr::u64 given = offset < bytes ? std::min(count, bytes - offset) : 0;
        if (given != 0) std::memcpy(destination, data + offset, given);
        return given;
    }

private:
    const std::uint8_t* data;
    zr::u64 bytes;
};

/// No name of an archive may lead out of its mount point.
inline void checkPaths(std::string_view name, bool isDirectory)
{
    zrvfs::TextPool texts;
    zrvfs::EntryPaths paths;
    if (!zrvfs::addEntryPaths(texts, "/mount/", name, name, isDirectory, paths)) return;
    for (const zrvfs::TextPool::Place place : {paths.path, paths.lowerPath})
    {
        const std::string_view path = texts.at(place);
        check(path.starts_with("/mount/") || (isDirectory && path == "/mount"));
        check(path.find("/../") == path.npos && !path.ends_with("/.."));
        check(!isDirectory || !path.ends_with('/'));
    }
    check(texts.at(paths.sourcePath) == name);
}
} // namespace fuzz
