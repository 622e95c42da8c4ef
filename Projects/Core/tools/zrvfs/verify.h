#pragma once

#include <cstdio>
#include <string_view>

#include <zrvfs/VFSManager.h>

namespace zrvfs
{
struct Verified
{
    zr::u64 files = 0;
    zr::u64 damaged = 0;
};

/// Reads every file of every mount at or below `path`, shadowed versions too, compares its size and, where the source
/// has one, its CRC-32, and prints a line to `out` for each that is damaged.
Verified verify(Manager& tree, std::string_view path, std::FILE* out);
} // namespace zrvfs
